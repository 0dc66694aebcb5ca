#include "ptydevice.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <termios.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

PtyDevice::PtyDevice()
{
    // Another program may open a new pseudo-terminal before its lock is taken here;
    // that one is left to it and another is made. The lost ones stay open meanwhile,
    // or their numbers would come straight back.
    std::vector<int> lost;
    for (int attempt = 0; attempt < 8 && m_masterFd < 0; ++attempt) {
        const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        char name[128] = {};
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0
            || ptsname_r(master, name, sizeof(name)) != 0) {
            m_errorText = QString::fromLocal8Bit(std::strerror(errno));
            if (master >= 0) {
                ::close(master);
            }
            break;
        }
        const QString path = QString::fromLocal8Bit(name);
        auto guard = std::make_unique<QLockFile>(serialLockPath(path));
        guard->setStaleLockTime(0);
        if (!guard->tryLock()) {
            lost.push_back(master);
            continue;
        }
        m_masterFd = master;
        m_slavePath = path;
        m_lockPath = serialLockPath(path);
        m_foreignOpenGuard = std::move(guard);
    }
    for (const int master : lost) {
        ::close(master);
    }
    if (m_masterFd < 0) {
        if (m_errorText.isEmpty()) {
            m_errorText = QStringLiteral("every new pseudo-terminal was taken by another program");
        }
        return;
    }

    const QByteArray name = QFile::encodeName(m_slavePath);
    m_slaveFd = ::open(name.constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_slaveFd >= 0) {
        // The default line discipline is canonical with echo; a serial line is neither.
        termios settings{};
        if (tcgetattr(m_slaveFd, &settings) == 0) {
            cfmakeraw(&settings);
            tcsetattr(m_slaveFd, TCSANOW, &settings);
        }
    }
    const int flags = fcntl(m_masterFd, F_GETFL);
    fcntl(m_masterFd, F_SETFL, flags | O_NONBLOCK);

    m_linkFolder = std::make_unique<QTemporaryDir>();
    m_linkPath = m_linkFolder->filePath(QStringLiteral("laser"));
    if (!m_linkFolder->isValid()
        || ::symlink(name.constData(), QFile::encodeName(m_linkPath).constData()) != 0) {
        m_errorText = QStringLiteral("cannot link %1 to %2").arg(m_linkPath, m_slavePath);
        ::close(m_masterFd);
        m_masterFd = -1;
    }
}

QString PtyDevice::serialLockPath(const QString &devicePath)
{
    // Where and under which name a serial port takes its lock: "LCK.." and the name
    // below /dev with its slashes made underscores, in the first of the usual lock
    // folders that can be written.
    static const char *const folders[]
            = {"/var/lock", "/etc/locks", "/var/spool/locks",  "/var/spool/uucp",
               "/tmp",      "/var/tmp",   "/var/lock/lockdev", "/run/lock"};
    QString name = devicePath;
    if (name.startsWith(QLatin1String("/dev/"))) {
        name = name.mid(5);
    }
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    for (const char *folder : folders) {
        const QFileInfo info(QString::fromLatin1(folder));
        if (info.isDir() && info.isReadable() && info.isWritable()) {
            return info.filePath() + QStringLiteral("/LCK..") + name;
        }
    }
    return QDir::tempPath() + QStringLiteral("/LCK..") + name;
}

int PtyDevice::unreadByProgram() const
{
    // The kept slave descriptor shares the program's input queue.
    int count = 0;
    if (m_slaveFd < 0 || ::ioctl(m_slaveFd, FIONREAD, &count) != 0) {
        return -1;
    }
    return count;
}

PtyDevice::~PtyDevice()
{
    stop();
    if (m_masterFd >= 0) {
        ::close(m_masterFd);
    }
    if (m_slaveFd >= 0) {
        ::close(m_slaveFd);
    }
}

void PtyDevice::setResponder(Responder responder)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_responder = std::move(responder);
}

void PtyDevice::start()
{
    if (m_running.exchange(true)) {
        return;
    }
    m_thread = std::thread([this] { run(); });
}

void PtyDevice::stop()
{
    m_running = false;
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void PtyDevice::run()
{
    // Other programs take a lock older than 30 s for a forgotten one; keep it young.
    const QByteArray lockPath = QFile::encodeName(m_lockPath);
    qint64 touchedNs = nowNs();
    while (m_running) {
        if (!pump(20)) {
            break;
        }
        if (!lockPath.isEmpty() && nowNs() - touchedNs > qint64(5) * 1000 * 1000 * 1000) {
            touchedNs = nowNs();
            ::utimes(lockPath.constData(), nullptr);
        }
    }
}

bool PtyDevice::pump(int timeoutMs)
{
    if (m_masterFd < 0) {
        return false;
    }
    pollfd descriptor{m_masterFd, POLLIN, 0};
    const int ready = ::poll(&descriptor, 1, timeoutMs);
    if (ready < 0) {
        return errno == EINTR;
    }
    if (ready == 0) {
        return true;
    }
    char buffer[4096];
    const ssize_t count = ::read(m_masterFd, buffer, sizeof(buffer));
    const qint64 arrival = nowNs();
    if (count < 0) {
        return errno == EAGAIN || errno == EINTR;
    }
    if (count == 0) {
        return false;
    }

    std::vector<QByteArray> complete;
    Responder responder;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_partial.append(buffer, static_cast<int>(count));
        int end = m_partial.indexOf('\n');
        while (end >= 0) {
            const QByteArray line = m_partial.left(end + 1);
            m_partial.remove(0, end + 1);
            m_lines.push_back(Line{line, arrival});
            complete.push_back(line);
            end = m_partial.indexOf('\n');
        }
        responder = m_responder;
    }
    if (responder) {
        for (const QByteArray &line : complete) {
            const QByteArray reply = responder(line);
            if (!reply.isEmpty()) {
                write(reply);
            }
        }
    }
    return true;
}

void PtyDevice::write(const QByteArray &bytes)
{
    if (m_masterFd < 0) {
        return;
    }
    Write entry{bytes, nowNs(), 0};
    const char *data = bytes.constData();
    qint64 left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(m_masterFd, data, static_cast<size_t>(left));
        if (written < 0) {
            if (errno == EAGAIN || errno == EINTR) {
                pollfd descriptor{m_masterFd, POLLOUT, 0};
                ::poll(&descriptor, 1, 100);
                continue;
            }
            break;
        }
        data += written;
        left -= written;
    }
    entry.afterNs = nowNs();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_writes.push_back(entry);
}

void PtyDevice::closeMaster()
{
    stop();
    if (m_masterFd >= 0) {
        ::close(m_masterFd);
        m_masterFd = -1;
    }
    closeSlaveKeepAlive();
}

void PtyDevice::closeSlaveKeepAlive()
{
    if (m_slaveFd >= 0) {
        ::close(m_slaveFd);
        m_slaveFd = -1;
    }
}

std::vector<PtyDevice::Line> PtyDevice::lines() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

std::vector<PtyDevice::Write> PtyDevice::writes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_writes;
}

int PtyDevice::lineCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_lines.size());
}

int PtyDevice::countLines(const QByteArray &text) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    int count = 0;
    for (const Line &line : m_lines) {
        if (line.text == text) {
            ++count;
        }
    }
    return count;
}

QByteArray PtyDevice::pendingBytes() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_partial;
}

void PtyDevice::clearLog()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
    m_writes.clear();
}

qint64 PtyDevice::nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
}

QByteArray readyLaserReply(const QByteArray &line)
{
    if (line == "ly_system_info\n") {
        return line + "Velutra-10 test unit\r\n";
    }
    if (line == "ly_vtx2_dev_status?\n") {
        return line + "ly_vtx2_dev_status 8\r\n";
    }
    return line + "ok\r\n";
}
