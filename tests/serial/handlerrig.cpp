#include "handlerrig.h"

#include <QMetaObject>

HandlerRig::HandlerRig(Thread where)
{
    m_handler = new VelutraSerialHandler;
    m_recorder = std::make_unique<HandlerRecorder>(m_handler);
    if (where == Thread::Worker) {
        m_thread = new QThread;
        m_handler->moveToThread(m_thread);
        QObject::connect(m_thread, &QThread::started, m_handler,
                         &VelutraSerialHandler::slotMainLoop);
        QObject::connect(m_thread, &QThread::finished, m_handler, &QObject::deleteLater);
        m_thread->start(QThread::InheritPriority);
    } else {
        queue([](VelutraSerialHandler *handler) { handler->slotMainLoop(); });
    }
}

HandlerRig::~HandlerRig()
{
    if (m_thread) {
        m_thread->quit();
        m_thread->wait();
        delete m_thread;
    } else {
        delete m_handler;
    }
}

void HandlerRig::open(const QString &portName)
{
    queue([portName](VelutraSerialHandler *handler) { handler->slotOpenCommunication(portName); });
}

void HandlerRig::close()
{
    queue([](VelutraSerialHandler *handler) { handler->slotCloseCommunication(); });
}

void HandlerRig::addMonitorCommand(const QString &command)
{
    queue([command](VelutraSerialHandler *handler) { handler->slotAddMonitorCommand(command); });
}

void HandlerRig::delMonitorCommand(const QString &command)
{
    queue([command](VelutraSerialHandler *handler) { handler->slotDelMonitorCommand(command); });
}

void HandlerRig::clearMonitorCommands()
{
    queue([](VelutraSerialHandler *handler) { handler->slotClrAllMonitorCommands(); });
}

void HandlerRig::appendSettingsCommand(const QString &command)
{
    queue([command](VelutraSerialHandler *handler) {
        handler->slotAppendSettingsCommand(command);
    });
}

void HandlerRig::appendSettingsCommand(const QString &command, bool hold)
{
    queue([command, hold](VelutraSerialHandler *handler) {
        handler->slotAppendSettingsCommand(command, hold);
    });
}

void HandlerRig::flushPartialLine()
{
    queue([](VelutraSerialHandler *handler) { handler->slotReadyReadEnded(); });
}

void HandlerRig::queue(const std::function<void(VelutraSerialHandler *)> &call)
{
    // Run in the handler's thread, after what is already queued there, as a signal's call would.
    QMetaObject::invokeMethod(
            m_handler, [handler = m_handler, call] { call(handler); }, Qt::QueuedConnection);
}

bool connectToReadyLaser(HandlerRig &rig, PtyDevice &device, int timeoutMs)
{
    device.setResponder(readyLaserReply);
    device.start();
    rig.open(device.slavePath());
    return waitFor([&rig] { return rig.recorder().lastConnected(); }, timeoutMs);
}
