#ifndef PORTRECONNECTOR_H
#define PORTRECONNECTOR_H

#include "serialportlist.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>

class QFileSystemWatcher;
class QTimer;

// Finds a lost port again and asks for it to be opened.
//
// The port is known by its name and, when it is a USB adapter, by the serial number and
// vendor/product ids it reported while it was there: an adapter pulled out and put back is
// often given another device name (ttyUSB0 comes back as ttyUSB1), and only those tell that
// it is the same one. An adapter without a serial number is only found under its own name,
// since the ids alone cannot tell two adapters of the same make apart.
//
// The first look is made at once, then one every two seconds; in between, a change in the
// folders where ports appear triggers an early look, so a device that comes back is opened
// within moments rather than at the next tick.
class PortReconnector : public QObject
{
    Q_OBJECT

public:
    static constexpr int RetryIntervalMs = 2000;

    explicit PortReconnector(QObject *parent = nullptr);
    ~PortReconnector() override;

    // Remembers what identifies the port; call it while the port is there to describe.
    void rememberPort(const QString &name);
    QString portName() const;

    void start();
    void stop();
    bool isActive() const;

    // The name the operator knows the port by: "ttyUSB0" for /dev/ttyUSB0, "pts/3" for
    // /dev/pts/3, the file name for a link elsewhere.
    static QString shortName(const QString &name);

    // Where the remembered device is now: its own name when that is there, else the name of
    // a listed port with the same serial number and ids; empty when it is not to be found.
    QString locatePort() const;

signals:
    // Open this port: the device is there (perhaps under another name).
    void openRequested(const QString &name);

private:
    void lookNow();
    void lookSoon();
    void watchFolders();

    SerialportList::PortEntry m_identity;
    QTimer *m_retryTimer = nullptr;
    // Folder changes come in bursts (a link, then an advertisement): one look per burst, and
    // never two requests closer together than the handler needs to act on the first.
    QTimer *m_soonTimer = nullptr;
    QFileSystemWatcher *m_watcher = nullptr;
    QElapsedTimer m_sinceLastLook;
};

#endif // PORTRECONNECTOR_H
