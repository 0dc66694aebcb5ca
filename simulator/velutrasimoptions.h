#ifndef VELUTRASIMOPTIONS_H
#define VELUTRASIMOPTIONS_H

#include "velutrasimlaser.h"
#include "velutrasimport.h"

#include <QString>
#include <QStringList>

// Everything the command line can choose: the laser, the port and the faults that
// are switched on from the start.
struct VelutraSimOptions
{
    VelutraSimLaser::Config laser;
    QString linkPath;
    // Advertised like a USB adapter's identity (empty / negative: not advertised).
    QString serialNumber;
    int usbVendorId = -1;
    int usbProductId = -1;
    QString tracePath;
    bool pacing = true;
    int latencyMs = VelutraSimPort::s_defaultLatencyMs;
    bool controlSocket = true;

    bool silent = false;
    bool noEcho = false;
    bool crlf = false;
    int fragmentBytes = 0;
    int fragmentPauseMs = 0;
    int garbageEach = 0;
    bool unknownEach = false;
    bool flood = false;
    int hgErrorcode = 0;
    quint16 hgStatusFlags = 0;
    bool shutterWarning = false;

    // Fills options from arguments (arguments[0] is the program). Returns false with
    // a message on bad input; helpRequested is set for --help and --version, with
    // the text to print in message.
    static bool parse(const QStringList &arguments, VelutraSimOptions *options, QString *message,
                      bool *helpRequested);
};

#endif // VELUTRASIMOPTIONS_H
