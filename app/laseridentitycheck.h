#ifndef LASERIDENTITYCHECK_H
#define LASERIDENTITYCHECK_H

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class QTimer;
class VelutraController;
class VelutraSerialHandler;

// Who answered on a port: the model and serial number from the system information that
// the laser sends during the handshake.
struct LaserIdentity
{
    QString model;
    QString serialNumber;

    bool isKnown() const { return !model.isEmpty(); }
    // What the operator knows the laser by: its serial number, or its model without one.
    QString name() const { return serialNumber.isEmpty() ? model : serialNumber; }
    bool operator==(const LaserIdentity &other) const
    {
        return model == other.model && serialNumber == other.serialNumber;
    }
    bool operator!=(const LaserIdentity &other) const { return !(*this == other); }
};

// Decides whether the device on a port just opened is a laser, and, when the port was
// opened again after a loss, whether it is the laser that was connected before.
//
// Anything can sit behind a device path: another program may have taken the
// pseudo-terminal of a laser that went away, a USB adapter may lead to another device. So
// until the check is over, the commands of the port's controller wait here instead of
// reaching the serial handler, and the handler, its monitor list empty, writes nothing but
// the handshake. A confirmed check passes the waiting commands on in their order and lets
// every later one through; a failed one drops them.
//
// The verdict on a laser comes when the handshake is through: the handshake asks for the
// system information first and waits for its answer, so by then the model and serial
// number lines have been decoded. A device that sends lines but no "Velutra-" model line
// within IdentifyTimeoutMs is not a laser. One that stays silent is given no verdict: a
// laser that is powered off or busy is silent too, and the link recovery deals with that.
class LaserIdentityCheck : public QObject
{
    Q_OBJECT

public:
    enum class Outcome {
        Pending,
        Confirmed,
        // Lines came, but nothing a laser says about itself.
        NotALaser,
        // A laser, but not the one that was expected.
        AnotherLaser,
    };
    Q_ENUM(Outcome)

    // Settle time, then two rounds of the identification command and its resend.
    static constexpr int IdentifyTimeoutMs = 10000;

    LaserIdentityCheck(VelutraSerialHandler *handler, QObject *parent = nullptr);

    // Starts the check of a port just opened, its controller already made. With `expected`
    // known, the device must be that laser. The four commands of the controller to the
    // handler are routed through this object for the controller's whole life.
    void begin(VelutraController *controller, const LaserIdentity &expected);
    // The port is going: no verdict, and nothing more from the controller reaches the port.
    void end();

    bool isRunning() const;
    bool expectsKnownLaser() const;
    LaserIdentity expected() const;
    // What the device has said about itself so far.
    LaserIdentity identity() const;

    // The handshake is through: judges what has been received. Not Pending once running.
    Outcome concludeHandshake();

signals:
    // The check ran out of time on a device that talks but is not the laser looked for.
    void failed(LaserIdentityCheck::Outcome outcome);

    // The controller's commands, passed on to the serial handler once the gate is open.
    void sigAddMonitorCommand(const QString &command);
    void sigDelMonitorCommand(const QString &command);
    void sigClrAllMonitorCommands();
    void sigAppendSettingsCommand(const QString &command);

private:
    enum class Gate {
        // Nothing is attached, or the check failed: commands are dropped.
        Closed,
        // Commands are kept until the verdict.
        Holding,
        Open,
    };
    enum class CommandKind {
        AddMonitor,
        DelMonitor,
        ClearMonitor,
        Settings,
    };
    struct Command
    {
        CommandKind kind;
        QString text;
    };

    void route(CommandKind kind, const QString &text);
    void pass(const Command &command);
    void onModel(const QString &model);
    void onSerialNumber(const QString &serialNumber);
    void onLineReceived();
    void onDeadline();
    Outcome judge(bool handshakeComplete) const;
    void finish(Outcome outcome);

    VelutraSerialHandler *m_handler = nullptr;
    QPointer<VelutraController> m_controller;
    QTimer *m_deadline = nullptr;
    Gate m_gate = Gate::Closed;
    bool m_running = false;
    LaserIdentity m_expected;
    LaserIdentity m_received;
    int m_linesReceived = 0;
    QList<Command> m_held;
};

#endif // LASERIDENTITYCHECK_H
