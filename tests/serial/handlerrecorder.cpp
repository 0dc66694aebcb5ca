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
