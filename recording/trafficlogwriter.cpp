#include "trafficlogwriter.h"

#include "traffictag.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

namespace {

static constexpr char TransmitMark[] = "TX:";
static constexpr char ReceiveMark[] = "RX:";
static constexpr char EscapeOpen = '[';
static constexpr char EscapeClose = ']';
// The size beside the file name is refreshed at most this often: the monitor's label is
// not worth a repaint per line.
static constexpr qint64 SizeAnnounceIntervalMs = 500;

bool standsAsItIs(char byte)
{
    return byte >= 0x20 && byte <= 0x7e && byte != EscapeOpen;
}

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    return -1;
}

} // namespace

TrafficLogWriter::TrafficLogWriter(QObject *parent)
    : QObject(parent)
{ }

TrafficLogWriter::~TrafficLogWriter()
{
    m_file.close();
}

bool TrafficLogWriter::start(const QString &path)
{
    stop();
    const QFileInfo info(path);
    QDir().mkpath(info.absolutePath());
    m_file.setFileName(info.absoluteFilePath());
    // Unbuffered: every write goes straight to the system, so that a crash of this program
    // loses nothing already written.
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        const QString reason = m_file.errorString();
        m_file.setFileName(QString());
        emit sigStatusMessage(tr("Traffic log: cannot write to %1: %2. Traffic is not recorded.")
                                      .arg(info.absoluteFilePath(), reason));
        emit sigStatusChanged(false, QString());
        return false;
    }
    emit sigStatusMessage(tr("Traffic log: recording to %1.").arg(m_file.fileName()));
    m_lastAnnouncedMs = 0;
    announceSize();
    return true;
}

void TrafficLogWriter::stop()
{
    const QString name = m_file.stop();
    if (name.isEmpty()) {
        return;
    }
    emit sigStatusMessage(tr("Traffic log: recording to %1 stopped.").arg(name));
    emit sigStatusChanged(false, QString());
}

bool TrafficLogWriter::isRecording() const
{
    return m_file.isRecording();
}

QString TrafficLogWriter::fileName() const
{
    return m_file.recordingName();
}

qint64 TrafficLogWriter::fileSize() const
{
    return m_file.isOpen() ? m_file.size() : 0;
}

QString TrafficLogWriter::statusText() const
{
    if (!m_file.isOpen()) {
        return QString();
    }
    return QStringLiteral("%1 (%2)").arg(QFileInfo(m_file.fileName()).fileName(),
                                         QLocale::c().formattedDataSize(m_file.size()));
}

QByteArray TrafficLogWriter::escaped(const QByteArray &bytes)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    QByteArray text;
    text.reserve(bytes.size() + 16);
    for (const char byte : bytes) {
        if (standsAsItIs(byte)) {
            text.append(byte);
        } else {
            const auto value = static_cast<unsigned char>(byte);
            const char escape[]
                    = {EscapeOpen, digits[value >> 4], digits[value & 0x0f], 'h', EscapeClose};
            text.append(escape, sizeof(escape));
        }
    }
    return text;
}

QByteArray TrafficLogWriter::unescaped(const QByteArray &text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == EscapeOpen && i + 4 < text.size() && text.at(i + 3) == 'h'
            && text.at(i + 4) == EscapeClose) {
            const int high = hexValue(text.at(i + 1));
            const int low = hexValue(text.at(i + 2));
            if (high >= 0 && low >= 0) {
                bytes.append(static_cast<char>(high * 16 + low));
                i += 4;
                continue;
            }
        }
        bytes.append(text.at(i));
    }
    return bytes;
}

void TrafficLogWriter::slotBytesReceived(const QString &tag, const QByteArray &bytes)
{
    writeLine(tag, ReceiveMark, bytes);
}

void TrafficLogWriter::slotBytesTransmitted(const QString &tag, const QByteArray &bytes)
{
    writeLine(tag, TransmitMark, bytes);
}

void TrafficLogWriter::writeLine(const QString &tag, const char *direction, const QByteArray &bytes)
{
    if (!m_file.isOpen()) {
        return;
    }
    QByteArray line = TrafficTag::withTimeOfDay(tag, QTime::currentTime()).toLatin1();
    line += ": ";
    line += direction;
    line += ' ';
    line += escaped(bytes);
    line += '\n';
    if (m_file.write(line) != line.size()) {
        // A full disk or a vanished folder: say so once and stop, rather than once a line.
        const QString name = m_file.fileName();
        const QString reason = m_file.errorString();
        m_file.close();
        emit sigStatusMessage(
                tr("Traffic log: writing to %1 failed: %2. Recording stopped.").arg(name, reason));
        emit sigStatusChanged(false, QString());
        return;
    }
    announceSize();
}

void TrafficLogWriter::announceSize()
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    if (now - m_lastAnnouncedMs < SizeAnnounceIntervalMs) {
        return;
    }
    m_lastAnnouncedMs = now;
    emit sigStatusChanged(true, statusText());
}
