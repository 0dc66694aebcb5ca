#ifndef SIMULATORSESSION_H
#define SIMULATORSESSION_H

#include <QByteArray>
#include <QByteArrayList>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QtTest>

// One velutra-sim process for a test of the whole program: started with a trace, driven by
// control commands on its standard input, its CMD records read back from the trace.
// Waits run the event loop, so the program under test keeps working meanwhile.
// Tests that use it define VELUTRA_SIM_BINARY.
class SimulatorSession
{
public:
    SimulatorSession() = default;
    ~SimulatorSession() { stop(); }
    SimulatorSession(const SimulatorSession &) = delete;
    SimulatorSession &operator=(const SimulatorSession &) = delete;

    // Starts the simulator with --trace tracePath and the given arguments; the first line
    // of its standard output is the port to open.
    bool start(const QString &tracePath, const QStringList &arguments)
    {
        m_tracePath = tracePath;
        m_process.setProgram(QStringLiteral(VELUTRA_SIM_BINARY));
        m_process.setArguments(QStringList{QStringLiteral("--trace"), tracePath} + arguments);
        m_process.start();
        if (!m_process.waitForStarted(10000)) {
            return false;
        }
        const QDeadlineTimer deadline(20000);
        while (!m_process.canReadLine() && !deadline.hasExpired()
               && m_process.state() == QProcess::Running) {
            QTest::qWait(10);
        }
        if (!m_process.canReadLine()) {
            return false;
        }
        m_port = QString::fromLocal8Bit(m_process.readLine()).trimmed();
        return !m_port.isEmpty();
    }

    QString port() const { return m_port; }
    qint64 processId() const { return m_process.processId(); }

    // Sends one control command and returns its answer ("ok …", "error: …", or the report
    // of "status"), empty when none came in time.
    QByteArray control(const QByteArray &command, int timeoutMs = 10000)
    {
        m_process.write(command + '\n');
        const QDeadlineTimer deadline(timeoutMs);
        while (!deadline.hasExpired()) {
            m_errors += m_process.readAllStandardError();
            int end = 0;
            while ((end = m_errors.indexOf('\n')) >= 0) {
                const QByteArray line = m_errors.left(end);
                m_errors.remove(0, end + 1);
                // "status" answers with its report alone.
                if (line.startsWith("ok") || line.startsWith("error")
                    || line.startsWith("state=")) {
                    return line;
                }
            }
            QTest::qWait(5);
        }
        return QByteArray();
    }

    QByteArray trace() const
    {
        QFile file(m_tracePath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    // Every line the program wrote, in order, as the trace's CMD records hold them (escapes
    // left as they are: the commands of this program are plain ASCII).
    QByteArrayList commands() const
    {
        QByteArrayList result;
        const QByteArrayList lines = trace().split('\n');
        for (const QByteArray &line : lines) {
            const int start = line.indexOf(" CMD \"");
            if (start < 0 || !line.endsWith('"')) {
                continue;
            }
            result << line.mid(start + 6, line.size() - start - 7);
        }
        return result;
    }

    void stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(10000)) {
                m_process.kill();
                m_process.waitForFinished(5000);
            }
        }
    }

private:
    QProcess m_process;
    QString m_port;
    QString m_tracePath;
    QByteArray m_errors;
};

// The commands the program may send on its own: queries and the status records. Anything
// else written without the operator is a setting made behind the operator's back.
inline bool isReadOnlyCommand(const QByteArray &command)
{
    static const QByteArrayList s_records{"s6", "s7", "s8", "s9", "ly_system_info"};
    return command.endsWith('?') || s_records.contains(command);
}

#endif // SIMULATORSESSION_H
