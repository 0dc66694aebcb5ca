#ifndef VELUTRASIMULATOR_H
#define VELUTRASIMULATOR_H

#include "velutrasimadvert.h"
#include "velutrasimlaser.h"
#include "velutrasimoptions.h"
#include "velutrasimport.h"

#include <QObject>
#include <QString>

// The whole virtual laser: the device model behind its port, the advertisement of
// that port, and the fault switches that the control channel flips.
class VelutraSimulator : public QObject
{
    Q_OBJECT

public:
    explicit VelutraSimulator(const VelutraSimOptions &options, QObject *parent = nullptr);
    ~VelutraSimulator() override;

    // Plugs the device in: creates the port and advertises it.
    bool plugIn(QString *error);
    // Closes the port and withdraws the advertisement, as if the cable were pulled.
    void unplug();
    bool isPlugged() const { return m_port.isOpen(); }
    QString portName() const { return m_port.portName(); }
    QString description() const;
    QString advertisementPath() const { return m_advert.filePath(); }

    // One control command ("help" lists them); returns the answer, without a final line feed.
    QString executeControl(const QString &command);

    VelutraSimLaser *laser() { return &m_laser; }
    VelutraSimPort *port() { return &m_port; }

signals:
    void sigPlugged(const QString &portName);
    void sigUnplugged();
    void sigQuitRequested();

private:
    QString statusText();

    VelutraSimOptions m_options;
    VelutraSimLaser m_laser;
    VelutraSimPort m_port;
    VelutraSimAdvert m_advert;
};

#endif // VELUTRASIMULATOR_H
