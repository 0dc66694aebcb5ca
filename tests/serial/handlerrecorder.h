#ifndef HANDLERRECORDER_H
#define HANDLERRECORDER_H

#include "ptydevice.h"
#include "velutraserialhandler.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPair>
#include <QString>
#include <QStringList>

#include <mutex>
#include <vector>

// Collects everything a serial handler emits, in the thread the recorder lives
// in. Across threads the connections are queued, so the lists are only ever
// touched by the test's own thread (a QSignalSpy would be filled from the
// handler's thread).
class HandlerRecorder : public QObject
{
    Q_OBJECT

public:
    struct Timed
    {
        bool value = false;
        qint64 ns = 0;
    };

    explicit HandlerRecorder(VelutraSerialHandler *handler, QObject *parent = nullptr);

    QList<QByteArray> lines;
    QStringList statusMessages;
    QList<Timed> connectedStatus;
    QStringList opened;
    QList<qint64> openedNs;
    QStringList closed;
    QList<QPair<QString, QByteArray>> received;
    QList<QPair<QString, QByteArray>> transmitted;

    int countConnected(bool value) const;
    bool lastConnected() const;

    // When the handler wrote these bytes, stamped in its own thread as it signalled the
    // write. The device's arrival times are later by however long its thread took to
    // wake, which on a loaded machine differs from line to line; a bound on the
    // handler's own timing is checked on these.
    // Without bytes: every write, in order.
    std::vector<qint64> writtenNs(const QByteArray &bytes = QByteArray()) const;
    // When the handler signalled the connected status, stamped the same way.
    std::vector<qint64> connectedStatusNs(bool value) const;

private:
    struct Stamp
    {
        QByteArray bytes;
        qint64 ns = 0;
    };
    mutable std::mutex m_stampMutex;
    std::vector<Stamp> m_writeStamps;
    std::vector<Timed> m_connectedStamps;

private slots:
    void onLineReceived(const QByteArray &line);
    void onStatusMessage(const QString &message);
    void onConnectedStatus(bool connected);
    void onCommunicationOpened(const QString &name);
    void onCommunicationClosed(const QString &name);
    void onBytesReceived(const QString &tag, const QByteArray &bytes);
    void onBytesTransmitted(const QString &tag, const QByteArray &bytes);
};

#endif // HANDLERRECORDER_H
