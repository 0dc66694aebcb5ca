#include "velutrasimport.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSocketNotifier>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr qint64 s_tickNs = 4 * 1000 * 1000;
// Credit a late timer may catch up on; keeps the average rate under load without
// letting an idle line release a burst.
constexpr double s_maxCredit = 128.0;
constexpr int s_floodChunk = 512;

QByteArray escaped(const QByteArray &bytes)
{
    QByteArray text;
    text.reserve(bytes.size() + 8);
    for (char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            text += "\\n";
        } else if (c == '\r') {
            text += "\\r";
        } else if (c == '\t') {
            text += "\\t";
        } else if (c == '\\') {
            text += "\\\\";
        } else if (byte < 0x20 || byte >= 0x7f || c == '"') {
            // A quote inside would make the record's end hard to find.
            char hex[5];
            std::snprintf(hex, sizeof hex, "\\x%02x", byte);
            text += hex;
        } else {
            text += c;
        }
    }
    return text;
}

} // namespace

VelutraSimPort::VelutraSimPort(QObject *parent)
    : QObject(parent)
{
    m_pumpTimer.setSingleShot(true);
    m_pumpTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_pumpTimer, &QTimer::timeout, this, &VelutraSimPort::pump);
    m_latencyTimer.setSingleShot(true);
    m_latencyTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_latencyTimer, &QTimer::timeout, this, [this]() {
        const qint64 now = m_clock.nsecsElapsed();
        if (now < m_deliveryDueNs) {
            // A timer rounded to milliseconds must not hand the buffer on early.
            m_latencyTimer.start(int((m_deliveryDueNs - now + 999999) / 1000000));
            return;
        }
        deliverHeld();
        pump();
    });
    m_clock.start();
}

VelutraSimPort::~VelutraSimPort()
{
    close();
}

bool VelutraSimPort::open(QString *error)
{
    close();
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) {
        *error = QStringLiteral("cannot create a pseudo-terminal: %1")
                         .arg(QString::fromLocal8Bit(std::strerror(errno)));
        if (master >= 0) {
            ::close(master);
        }
        return false;
    }
    char name[128] = {};
    if (::ptsname_r(master, name, sizeof name) != 0) {
        *error = QStringLiteral("cannot name the pseudo-terminal");
        ::close(master);
        return false;
    }
    const int slave = ::open(name, O_RDWR | O_NOCTTY);
    if (slave < 0) {
        *error = QStringLiteral("cannot open %1: %2")
                         .arg(QLatin1String(name), QString::fromLocal8Bit(std::strerror(errno)));
        ::close(master);
        return false;
    }
    ::fcntl(master, F_SETFL, ::fcntl(master, F_GETFL) | O_NONBLOCK);
    ::fcntl(master, F_SETFD, FD_CLOEXEC);
    ::fcntl(slave, F_SETFD, FD_CLOEXEC);

    // Raw at once: the default line discipline would echo the program's own commands.
    termios settings{};
    ::tcgetattr(slave, &settings);
    ::cfmakeraw(&settings);
    ::cfsetispeed(&settings, B38400);
    ::cfsetospeed(&settings, B38400);
    settings.c_cflag |= CLOCAL | CREAD;
    ::tcsetattr(slave, TCSANOW, &settings);

    if (!m_linkPath.isEmpty()) {
        const QByteArray link = QFile::encodeName(m_linkPath);
        const QFileInfo info(m_linkPath);
        if (info.isSymLink()) {
            ::unlink(link.constData());
        } else if (info.exists()) {
            *error = QStringLiteral("%1 exists and is not a symbolic link").arg(m_linkPath);
            ::close(slave);
            ::close(master);
            return false;
        }
        if (::symlink(name, link.constData()) != 0) {
            *error = QStringLiteral("cannot create the link %1: %2")
                             .arg(m_linkPath, QString::fromLocal8Bit(std::strerror(errno)));
            ::close(slave);
            ::close(master);
            return false;
        }
        m_linkCreated = true;
    }

    m_master = master;
    m_slave = slave;
    m_slavePath = QString::fromLatin1(name);
    m_readNotifier = new QSocketNotifier(m_master, QSocketNotifier::Read, this);
    connect(m_readNotifier, &QSocketNotifier::activated, this, &VelutraSimPort::readMaster);
    m_writeNotifier = new QSocketNotifier(m_master, QSocketNotifier::Write, this);
    m_writeNotifier->setEnabled(false);
    connect(m_writeNotifier, &QSocketNotifier::activated, this, &VelutraSimPort::onWritable);
    // The adapter's timer runs from the moment it is plugged in.
    m_lastDeliveryNs = m_clock.nsecsElapsed();
    trace("---", "plugged in as " + m_slavePath.toLatin1());
    return true;
}

void VelutraSimPort::close()
{
    if (m_master < 0) {
        return;
    }
    trace("---", "unplugged");
    delete m_readNotifier;
    m_readNotifier = nullptr;
    delete m_writeNotifier;
    m_writeNotifier = nullptr;
    ::close(m_master);
    ::close(m_slave);
    m_master = -1;
    m_slave = -1;
    removeLink();
    m_pumpTimer.stop();
    m_latencyTimer.stop();
    m_held.clear();
    m_queue.clear();
    m_floodLeft = 0;
    m_inbox.clear();
    m_discarding = false;
    m_pauseUntilNs = 0;
    m_slavePath.clear();
}

void VelutraSimPort::removeLink()
{
    if (!m_linkCreated) {
        return;
    }
    m_linkCreated = false;
    const QFileInfo info(m_linkPath);
    if (info.isSymLink() && info.symLinkTarget() == QFileInfo(m_slavePath).absoluteFilePath()) {
        ::unlink(QFile::encodeName(m_linkPath).constData());
    }
}

bool VelutraSimPort::setTraceFile(const QString &path, QString *error)
{
    m_trace.close();
    m_trace.setFileName(path);
    if (!m_trace.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        *error = QStringLiteral("cannot write the trace %1: %2").arg(path, m_trace.errorString());
        return false;
    }
    m_trace.write("# velutra-sim trace, started "
                  + QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toLatin1()
                  + "; seconds since start, record (IN bytes read, CMD one line the program "
                    "ended with a line feed, OUT bytes written, --- a note), bytes\n");
    m_trace.flush();
    return true;
}

void VelutraSimPort::trace(const char *direction, const QByteArray &bytes, qint64 atNs)
{
    if (!m_trace.isOpen()) {
        return;
    }
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, "%12.6f ",
                  double(atNs >= 0 ? atNs : m_clock.nsecsElapsed()) * 1e-9);
    m_trace.write(stamp);
    m_trace.write(direction);
    m_trace.write(" \"");
    m_trace.write(escaped(bytes));
    m_trace.write("\"\n");
    m_trace.flush();
}

void VelutraSimPort::setFragments(int bytes, int pauseMs)
{
    m_fragmentBytes = qMax(0, bytes);
    m_fragmentPauseMs = qMax(0, pauseMs);
}

QByteArray VelutraSimPort::garbage(int count)
{
    QByteArray bytes;
    bytes.reserve(count);
    while (bytes.size() < count) {
        const char c = char(m_random.bounded(256));
        // Line ends are left out so that the noise corrupts lines instead of adding some.
        if (c != '\n' && c != '\r') {
            bytes += c;
        }
    }
    return bytes;
}

void VelutraSimPort::sendLines(const QByteArray &lines)
{
    if (m_master < 0) {
        return;
    }
    QByteArray bytes;
    if (m_unknownEach) {
        bytes += "Unexpected status report " + QByteArray::number(++m_unknownCounter) + '\n';
    }
    bytes += lines;
    if (m_crlf) {
        bytes.replace("\n", "\r\n");
    }
    if (m_garbageEach > 0) {
        bytes.prepend(garbage(m_garbageEach));
    }
    if (m_fragmentBytes > 0) {
        for (int at = 0; at < bytes.size(); at += m_fragmentBytes) {
            const bool last = at + m_fragmentBytes >= bytes.size();
            enqueue(bytes.mid(at, m_fragmentBytes), last ? 0 : m_fragmentPauseMs);
        }
    } else {
        enqueue(bytes, 0);
    }
}

void VelutraSimPort::sendRaw(const QByteArray &bytes)
{
    if (m_master >= 0) {
        enqueue(bytes, 0);
    }
}

void VelutraSimPort::startFlood(qint64 count)
{
    if (m_master < 0 || count == 0) {
        return;
    }
    if (m_queue.isEmpty() && m_floodLeft == 0) {
        m_lastPumpNs = m_clock.nsecsElapsed();
        m_credit = 1.0;
    }
    m_floodLeft = count;
    pump();
}

void VelutraSimPort::stopFlood()
{
    m_floodLeft = 0;
}

qint64 VelutraSimPort::queuedBytes() const
{
    qint64 total = 0;
    for (const Chunk &chunk : m_queue) {
        total += chunk.bytes.size() - chunk.offset;
    }
    return total;
}

void VelutraSimPort::enqueue(const QByteArray &bytes, int pauseAfterMs)
{
    if (bytes.isEmpty()) {
        return;
    }
    // A program that never reads must not make the device grow without bound.
    if (queuedBytes() + bytes.size() > s_maxQueuedBytes) {
        m_bytesDropped += bytes.size();
        trace("---", "output dropped, queue full: " + QByteArray::number(bytes.size()) + " bytes");
        return;
    }
    const bool idle = m_queue.isEmpty() && m_floodLeft == 0;
    Chunk chunk;
    chunk.bytes = bytes;
    chunk.pauseAfterMs = pauseAfterMs;
    m_queue.append(chunk);
    if (idle) {
        // A line that has been idle starts with the first byte, not with a saved-up burst.
        m_lastPumpNs = m_clock.nsecsElapsed();
        m_credit = 1.0;
        pump();
    }
}

void VelutraSimPort::schedule(qint64 delayNs)
{
    const int ms = int((delayNs + 999999) / 1000000);
    if (!m_pumpTimer.isActive()) {
        m_pumpTimer.start(qMax(0, ms));
    }
}

void VelutraSimPort::pump()
{
    if (m_master < 0) {
        return;
    }
    const qint64 now = m_clock.nsecsElapsed();
    if (now < m_pauseUntilNs) {
        schedule(m_pauseUntilNs - now);
        return;
    }
    if (m_pacing) {
        m_credit = qMin(s_maxCredit,
                        m_credit + double(now - m_lastPumpNs) * 1e-9 * s_bytesPerSecond);
    }
    m_lastPumpNs = now;

    for (;;) {
        if (m_queue.isEmpty() && m_floodLeft != 0) {
            const qint64 size
                    = m_floodLeft < 0 ? s_floodChunk : qMin<qint64>(s_floodChunk, m_floodLeft);
            Chunk chunk;
            chunk.bytes.resize(int(size));
            for (int i = 0; i < int(size); ++i) {
                chunk.bytes[i] = char('A' + (m_floodCounter++ % 26));
            }
            if (m_floodLeft > 0) {
                m_floodLeft -= size;
            }
            m_queue.append(chunk);
        }
        if (m_queue.isEmpty()) {
            return;
        }
        Chunk &chunk = m_queue.first();
        qint64 count = chunk.bytes.size() - chunk.offset;
        if (m_pacing) {
            count = qMin<qint64>(count, qint64(m_credit));
        }
        if (count <= 0) {
            break;
        }
        const qint64 written = carry(chunk.bytes.constData() + chunk.offset, count);
        if (written < 0) {
            waitForDrainOrDrop();
            return;
        }
        if (written == 0) {
            // The adapter is full; handing it on starts the line again.
            return;
        }
        m_credit -= double(written);
        chunk.offset += int(written);
        if (chunk.offset >= chunk.bytes.size()) {
            const int pause = chunk.pauseAfterMs;
            m_queue.removeFirst();
            if (pause > 0) {
                m_pauseUntilNs = now + qint64(pause) * 1000000;
                m_credit = 1.0;
                schedule(m_pauseUntilNs - now);
                return;
            }
        }
    }
    if (!m_queue.isEmpty() || m_floodLeft != 0) {
        schedule(s_tickNs);
    }
}

void VelutraSimPort::setLatencyMs(int ms)
{
    m_latencyMs = qBound(0, ms, s_maxLatencyMs);
    if (!m_held.isEmpty()) {
        // Whatever is held goes by the new timer (at once without one).
        m_latencyTimer.stop();
        if (m_latencyMs == 0) {
            m_deliveryDueNs = m_clock.nsecsElapsed();
            m_latencyTimer.start(0);
        } else {
            scheduleDelivery();
        }
    }
}

qint64 VelutraSimPort::carry(const char *data, qint64 count)
{
    if (m_latencyMs == 0) {
        return writeToProgram(data, count, m_clock.nsecsElapsed());
    }
    const qint64 taken = qMin<qint64>(count, s_adapterBufferBytes - m_held.size());
    if (taken <= 0) {
        return 0;
    }
    m_held.append(data, int(taken));
    if (m_held.size() >= s_adapterBufferBytes) {
        // A full buffer does not wait for the timer. It goes from the event loop rather
        // than from here, because handing it on may fail and empty the queue that the
        // caller is walking.
        m_deliveryDueNs = m_clock.nsecsElapsed();
        m_latencyTimer.start(0);
    } else {
        scheduleDelivery();
    }
    return taken;
}

void VelutraSimPort::scheduleDelivery()
{
    if (m_latencyTimer.isActive()) {
        return;
    }
    // The timer keeps running whether or not anything is held, so a byte waits for its
    // next expiry, between nothing and one whole period, never less than a period after
    // the last hand-over.
    const qint64 now = m_clock.nsecsElapsed();
    const qint64 periodNs = qint64(m_latencyMs) * 1000000;
    const qint64 periods = (now - m_lastDeliveryNs) / periodNs + 1;
    m_deliveryDueNs = m_lastDeliveryNs + periods * periodNs;
    m_latencyTimer.start(int((m_deliveryDueNs - now + 999999) / 1000000));
}

void VelutraSimPort::deliverHeld()
{
    if (m_held.isEmpty() || m_master < 0) {
        return;
    }
    m_lastDeliveryNs = m_clock.nsecsElapsed();
    const qint64 written = writeToProgram(m_held.constData(), m_held.size(), m_lastDeliveryNs);
    if (written < 0) {
        if (!waitForDrainOrDrop()) {
            m_held.clear();
        }
        return;
    }
    m_held.remove(0, int(written));
    if (!m_held.isEmpty()) {
        // The program reads slower than the adapter hands on; the rest follows as it does.
        m_writeNotifier->setEnabled(true);
    }
}

qint64 VelutraSimPort::writeToProgram(const char *data, qint64 count, qint64 atNs)
{
    const ssize_t written = ::write(m_master, data, size_t(count));
    if (written > 0) {
        // Stamped with the moment the write was decided, so that the records show the
        // adapter's timing, not how long the process took to reach its trace.
        trace("OUT", QByteArray(data, int(written)), atNs);
        m_bytesWritten += written;
    }
    return written;
}

bool VelutraSimPort::waitForDrainOrDrop()
{
    if (errno == EAGAIN || errno == EINTR) {
        m_writeNotifier->setEnabled(true);
        return true;
    }
    trace("---", "write failed: " + QByteArray(std::strerror(errno)));
    m_queue.clear();
    m_floodLeft = 0;
    return false;
}

void VelutraSimPort::onWritable()
{
    m_writeNotifier->setEnabled(false);
    deliverHeld();
    pump();
}

void VelutraSimPort::readMaster()
{
    char buffer[4096];
    const ssize_t count = ::read(m_master, buffer, sizeof buffer);
    if (count < 0) {
        if (errno != EAGAIN && errno != EINTR) {
            // Should not happen while the device holds its own end open; avoid spinning on it.
            trace("---", "read failed: " + QByteArray(std::strerror(errno)));
            m_readNotifier->setEnabled(false);
        }
        return;
    }
    const QByteArray bytes(buffer, int(count));
    trace("IN ", bytes);
    // Reads split and join commands as the kernel pleases; the CMD records in the trace
    // are the framed lines, one per line feed, so a test can count what the program wrote.
    for (char c : bytes) {
        if (c == '\n') {
            if (!m_discarding) {
                const QByteArray line = m_inbox;
                m_inbox.clear();
                trace("CMD", line);
                if (m_silent) {
                    continue;
                }
                emit sigLineReceived(line);
                if (m_master < 0) {
                    return; // a reply may have unplugged the port
                }
            }
            m_inbox.clear();
            m_discarding = false;
        } else if (!m_discarding) {
            m_inbox += c;
            if (m_inbox.size() > s_maxLineLength) {
                trace("---", "input line too long, discarded up to the next line feed");
                m_inbox.clear();
                m_discarding = true;
            }
        }
    }
}
