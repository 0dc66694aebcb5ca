#ifndef SIMULATORSESSION_H
#define SIMULATORSESSION_H

#include <QByteArray>
#include <QByteArrayList>
#include <QProcess>
#include <QString>
#include <QStringList>

// The velutra-sim executable of this build, for end-to-end tests: one way to start it, to
// learn its port, to drive it and to stop it. Waits run the event loop, so a program under
// test in the same process keeps working meanwhile.
class SimulatorSession
{
public:
    SimulatorSession() = default;
    ~SimulatorSession();
    SimulatorSession(const SimulatorSession &) = delete;
    SimulatorSession &operator=(const SimulatorSession &) = delete;

    // The executable as this build made it.
    static QString executable();
    // Where a simulator with this process id puts its control socket and its advertisement.
    static QString runtimeFolder();
    static QString socketPath(qint64 processId);
    static QString advertPath(qint64 processId);

    // Starts the simulator with these arguments and waits until it is ready; the first line
    // of its standard output is the port to open.
    bool start(const QStringList &arguments);
    // The same with --trace tracePath first, for trace() and commands().
    bool start(const QString &tracePath, const QStringList &arguments);
    // A laser that can be unplugged and plugged back in under one device name, `link` (a
    // path the test owns): harmonic module `module`, ten times the device's speed, unpaced.
    bool startOnLink(const QString &tracePath, const QString &link, const QString &module);

    QString port() const { return m_port; }
    qint64 processId() const { return m_process.processId(); }
    // For what a test reads or checks of the process itself (its exit, its standard error).
    QProcess &process() { return m_process; }

    // Sends one control command on its standard input and returns its answer ("ok …",
    // "error: …", or the report of "status"), empty when none came in time.
    QByteArray control(const QByteArray &command, int timeoutMs = 10000);
    // The same through its control socket; the answer line without its end.
    QByteArray controlBySocket(const QByteArray &command) const;

    QByteArray trace() const;
    // Every line the program wrote, in order, as the trace's CMD records hold them (escapes
    // left as they are: the commands of this program are plain ASCII).
    QByteArrayList commands() const;

    // Asks it to end, and makes it if it does not.
    void stop();

private:
    QProcess m_process;
    QString m_port;
    QString m_tracePath;
    QByteArray m_errors;
};

// For a test that keeps its own QProcess: starts the simulator in it and reads its port.
bool startSimulatorProcess(QProcess &process, const QStringList &arguments, QString *port);
void stopSimulatorProcess(QProcess &process);
// One control command through the control socket at socketPath; returns the answer line.
QByteArray controlSimulatorSocket(const QString &socketPath, const QByteArray &command);

// Never leaves a simulator behind, whatever a failed check skipped.
struct SimulatorProcessGuard
{
    QProcess &process;
    ~SimulatorProcessGuard() { stopSimulatorProcess(process); }
};

// The commands the program may send on its own: queries and the status records. Anything
// else written without the operator is a setting made behind the operator's back.
bool isReadOnlyCommand(const QByteArray &command);

#endif // SIMULATORSESSION_H
