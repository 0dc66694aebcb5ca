#include "handlerrecorder.h"

HandlerRecorder::HandlerRecorder(VelutraSerialHandler *handler, QObject *parent)
    : QObject(parent)
{
    connect(handler, &VelutraSerialHandler::sigLineReceived, this,
            &HandlerRecorder::onLineReceived);
    connect(handler, &VelutraSerialHandler::sigStatusMessage, this,
            &HandlerRecorder::onStatusMessage);
    connect(handler, &VelutraSerialHandler::sigConnectedStatus, this,
            &HandlerRecorder::onConnectedStatus);
    connect(handler, &VelutraSerialHandler::sigCommunicationOpened, this,
            &HandlerRecorder::onCommunicationOpened);
    connect(handler, &VelutraSerialHandler::sigCommunicationClosed, this,
            &HandlerRecorder::onCommunicationClosed);
    connect(handler, &VelutraSerialHandler::sigBytesReceived, this,
            &HandlerRecorder::onBytesReceived);
    connect(handler, &VelutraSerialHandler::sigBytesTransmitted, this,
            &HandlerRecorder::onBytesTransmitted);

    // These run in the handler's thread, at the moment it signals.
    connect(
            handler, &VelutraSerialHandler::sigBytesTransmitted, this,
            [this](const QString &, const QByteArray &bytes) {
                const qint64 now = PtyDevice::nowNs();
                std::lock_guard<std::mutex> lock(m_stampMutex);
                m_writeStamps.push_back(Stamp{bytes, now});
            },
            Qt::DirectConnection);
    connect(
            handler, &VelutraSerialHandler::sigConnectedStatus, this,
            [this](bool connected) {
                const qint64 now = PtyDevice::nowNs();
                std::lock_guard<std::mutex> lock(m_stampMutex);
                m_connectedStamps.push_back(Timed{connected, now});
            },
            Qt::DirectConnection);
}

std::vector<qint64> HandlerRecorder::writtenNs(const QByteArray &bytes) const
{
    std::lock_guard<std::mutex> lock(m_stampMutex);
    std::vector<qint64> times;
    for (const Stamp &stamp : m_writeStamps) {
        if (bytes.isEmpty() || stamp.bytes == bytes) {
            times.push_back(stamp.ns);
        }
    }
    return times;
}

std::vector<qint64> HandlerRecorder::connectedStatusNs(bool value) const
{
    std::lock_guard<std::mutex> lock(m_stampMutex);
    std::vector<qint64> times;
    for (const Timed &stamp : m_connectedStamps) {
        if (stamp.value == value) {
            times.push_back(stamp.ns);
        }
    }
    return times;
}

int HandlerRecorder::countConnected(bool value) const
{
    int count = 0;
    for (const Timed &entry : connectedStatus) {
        if (entry.value == value) {
            ++count;
        }
    }
    return count;
}

bool HandlerRecorder::lastConnected() const
{
    return !connectedStatus.isEmpty() && connectedStatus.last().value;
}

void HandlerRecorder::onLineReceived(const QByteArray &line)
{
    lines.append(line);
}

void HandlerRecorder::onStatusMessage(const QString &message)
{
    statusMessages.append(message);
}

void HandlerRecorder::onConnectedStatus(bool connected)
{
    connectedStatus.append(Timed{connected, PtyDevice::nowNs()});
}

void HandlerRecorder::onCommunicationOpened(const QString &name)
{
    opened.append(name);
    openedNs.append(PtyDevice::nowNs());
}

void HandlerRecorder::onCommunicationClosed(const QString &name)
{
    closed.append(name);
}

void HandlerRecorder::onBytesReceived(const QString &tag, const QByteArray &bytes)
{
    received.append({tag, bytes});
}

void HandlerRecorder::onBytesTransmitted(const QString &tag, const QByteArray &bytes)
{
    transmitted.append({tag, bytes});
}
