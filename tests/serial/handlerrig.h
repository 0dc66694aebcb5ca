#ifndef HANDLERRIG_H
#define HANDLERRIG_H

#include "handlerrecorder.h"
#include "ptydevice.h"
#include "velutraserialhandler.h"

#include <QString>
#include <QThread>

#include <functional>
#include <memory>

// A serial handler set up the way the main window sets it up: no parent, moved
// to a worker thread whose started() runs slotMainLoop(), deleted when the
// thread finishes. With Thread::Main it runs in the test's own thread instead.
// The slots are reached through queued calls, as signals would.
class HandlerRig
{
public:
    enum class Thread { Worker, Main };

    explicit HandlerRig(Thread where = Thread::Worker);
    ~HandlerRig();
    HandlerRig(const HandlerRig &) = delete;
    HandlerRig &operator=(const HandlerRig &) = delete;

    VelutraSerialHandler *handler() const { return m_handler; }
    HandlerRecorder &recorder() { return *m_recorder; }

    void open(const QString &portName);
    void close();
    void addMonitorCommand(const QString &command);
    void delMonitorCommand(const QString &command);
    void clearMonitorCommands();
    void appendSettingsCommand(const QString &command);
    void appendSettingsCommand(const QString &command, bool hold);
    void flushPartialLine();

private:
    void queue(const std::function<void(VelutraSerialHandler *)> &call);

    VelutraSerialHandler *m_handler = nullptr;
    QThread *m_thread = nullptr;
    std::unique_ptr<HandlerRecorder> m_recorder;
};

// Plays a ready laser, opens its port and waits for the handshake to finish.
// Returns false if the link did not come up in time.
bool connectToReadyLaser(HandlerRig &rig, PtyDevice &device, int timeoutMs = 8000);

// Keeps the test's event loop running until the condition holds or time is up.
template<typename Condition>
bool waitFor(Condition condition, int timeoutMs);

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTest>

template<typename Condition>
bool waitFor(Condition condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QTest::qSleep(2);
    }
    return true;
}

#endif // HANDLERRIG_H
