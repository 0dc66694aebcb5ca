#include "handlerrig.h"

#include <QMetaObject>

HandlerRig::HandlerRig(Thread where)
{
    m_handler = new VelutraSerialHandler;
    m_recorder = std::make_unique<HandlerRecorder>(m_handler);
    if (where == Thread::Worker) {
        m_thread = new QThread;
        m_handler->moveToThread(m_thread);
        QObject::connect(m_thread, SIGNAL(started()), m_handler, SLOT(slotMainLoop()));
        QObject::connect(m_thread, &QThread::finished, m_handler, &QObject::deleteLater);
        m_thread->start(QThread::InheritPriority);
    } else {
        QMetaObject::invokeMethod(m_handler, "slotMainLoop", Qt::QueuedConnection);
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
    QMetaObject::invokeMethod(m_handler, "slotOpenCommunication", Qt::QueuedConnection,
                              Q_ARG(QString, portName));
}

void HandlerRig::close()
{
    QMetaObject::invokeMethod(m_handler, "slotCloseCommunication", Qt::QueuedConnection);
}

void HandlerRig::addMonitorCommand(const QString &command)
{
    QMetaObject::invokeMethod(m_handler, "slotAddMonitorCommand", Qt::QueuedConnection,
                              Q_ARG(QString, command));
}

void HandlerRig::delMonitorCommand(const QString &command)
{
    QMetaObject::invokeMethod(m_handler, "slotDelMonitorCommand", Qt::QueuedConnection,
                              Q_ARG(QString, command));
}

void HandlerRig::clearMonitorCommands()
{
    QMetaObject::invokeMethod(m_handler, "slotClrAllMonitorCommands", Qt::QueuedConnection);
}

void HandlerRig::appendSettingsCommand(const QString &command)
{
    QMetaObject::invokeMethod(m_handler, "slotAppendSettingsCommand", Qt::QueuedConnection,
                              Q_ARG(QString, command));
}

void HandlerRig::appendSettingsCommand(const QString &command, bool hold)
{
    QMetaObject::invokeMethod(m_handler, "slotAppendSettingsCommand", Qt::QueuedConnection,
                              Q_ARG(QString, command), Q_ARG(bool, hold));
}

void HandlerRig::flushPartialLine()
{
    QMetaObject::invokeMethod(m_handler, "slotReadyReadEnded", Qt::QueuedConnection);
}

bool connectToReadyLaser(HandlerRig &rig, PtyDevice &device, int timeoutMs)
{
    device.setResponder(readyLaserReply);
    device.start();
    rig.open(device.slavePath());
    return waitFor([&rig] { return rig.recorder().lastConnected(); }, timeoutMs);
}
