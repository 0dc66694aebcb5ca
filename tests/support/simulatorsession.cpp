#include "simulatorsession.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Generous: a sanitizer build on a loaded machine starts slowly.
static constexpr int StartTimeoutMs = 10000;
static constexpr int ReadyTimeoutMs = 20000;
static constexpr int StopTimeoutMs = 10000;
static constexpr int SocketAnswerTimeoutMs = 5000;

} // namespace

SimulatorSession::~SimulatorSession()
{
    stop();
}

QString SimulatorSession::executable()
{
    return QStringLiteral(VELUTRA_SIM_EXECUTABLE);
}

QString SimulatorSession::runtimeFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)
           + QStringLiteral("/velutra-xp");
}

QString SimulatorSession::socketPath(qint64 processId)
{
    return runtimeFolder() + QStringLiteral("/velutra-sim-%1.sock").arg(processId);
}

QString SimulatorSession::advertPath(qint64 processId)
{
    return runtimeFolder() + QStringLiteral("/ports/velutra-sim-%1.port").arg(processId);
}

bool SimulatorSession::start(const QStringList &arguments)
{
    return startSimulatorProcess(m_process, arguments, &m_port);
}

bool SimulatorSession::start(const QString &tracePath, const QStringList &arguments)
{
    m_tracePath = tracePath;
    return start(QStringList{QStringLiteral("--trace"), tracePath} + arguments);
}

bool SimulatorSession::startOnLink(const QString &tracePath, const QString &link,
                                   const QString &module)
{
    return start(tracePath, {QStringLiteral("--module"), module, QStringLiteral("--speed"),
                             QStringLiteral("10"), QStringLiteral("--no-pacing"),
                             QStringLiteral("--link"), link});
}

QByteArray SimulatorSession::control(const QByteArray &command, int timeoutMs)
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
            if (line.startsWith("ok") || line.startsWith("error") || line.startsWith("state=")) {
                return line;
            }
        }
        QTest::qWait(5);
    }
    return QByteArray();
}

QByteArray SimulatorSession::controlBySocket(const QByteArray &command) const
{
    return controlSimulatorSocket(socketPath(processId()), command);
}

QByteArray SimulatorSession::trace() const
{
    QFile file(m_tracePath);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArrayList SimulatorSession::commands() const
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

void SimulatorSession::stop()
{
    stopSimulatorProcess(m_process);
}

bool startSimulatorProcess(QProcess &process, const QStringList &arguments, QString *port)
{
    process.start(SimulatorSession::executable(), arguments);
    if (!process.waitForStarted(StartTimeoutMs)) {
        return false;
    }
    const QDeadlineTimer deadline(ReadyTimeoutMs);
    while (!process.canReadLine() && !deadline.hasExpired()
           && process.state() == QProcess::Running) {
        QTest::qWait(10);
    }
    if (!process.canReadLine()) {
        return false;
    }
    *port = QString::fromLocal8Bit(process.readLine()).trimmed();
    return !port->isEmpty();
}

void stopSimulatorProcess(QProcess &process)
{
    if (process.state() == QProcess::NotRunning) {
        return;
    }
    process.terminate();
    if (!process.waitForFinished(StopTimeoutMs)) {
        process.kill();
        process.waitForFinished(StopTimeoutMs);
    }
}

QByteArray controlSimulatorSocket(const QString &socketPath, const QByteArray &command)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = QFile::encodeName(socketPath);
    std::memcpy(address.sun_path, path.constData(),
                size_t(qMin<int>(path.size(), sizeof address.sun_path - 1)));
    if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
        ::close(fd);
        return QByteArray("connect failed");
    }
    const QByteArray line = command + '\n';
    if (::write(fd, line.constData(), size_t(line.size())) != line.size()) {
        ::close(fd);
        return QByteArray("write failed");
    }
    QByteArray answer;
    QElapsedTimer timer;
    timer.start();
    while (!answer.endsWith('\n') && timer.elapsed() < SocketAnswerTimeoutMs) {
        pollfd poller{fd, POLLIN, 0};
        if (::poll(&poller, 1, 100) > 0) {
            char buffer[512];
            const ssize_t count = ::read(fd, buffer, sizeof buffer);
            if (count <= 0) {
                break;
            }
            answer += QByteArray(buffer, int(count));
        }
    }
    ::close(fd);
    return answer.trimmed();
}

bool isReadOnlyCommand(const QByteArray &command)
{
    static const QByteArrayList s_records{"s6", "s7", "s8", "s9", "ly_system_info"};
    return command.endsWith('?') || s_records.contains(command);
}
