#include "fakeport.h"

#include <QFile>
#include <QSocketNotifier>

#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

FakePort::FakePort(QObject *parent)
    : QObject(parent)
{
    char name[256] = {};
    if (::openpty(&m_master, &m_slave, name, nullptr, nullptr) != 0) {
        return;
    }
    // Raw both ways, or the line discipline would echo and translate line ends.
    termios settings{};
    ::tcgetattr(m_slave, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(m_slave, TCSANOW, &settings);
    ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);
    m_path = QString::fromLocal8Bit(name);
    m_notifier = new QSocketNotifier(m_master, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &FakePort::readAvailable);
}

FakePort::~FakePort()
{
    unplug();
}

bool FakePort::isOpen() const
{
    return m_master >= 0;
}

QString FakePort::path() const
{
    return m_path;
}

QList<QByteArray> FakePort::receivedLines() const
{
    return m_lines;
}

int FakePort::bytesReceived() const
{
    return m_bytesReceived;
}

void FakePort::setAnswerHandshake(bool answer)
{
    m_answerHandshake = answer;
}

void FakePort::setIdentity(const QByteArray &model, const QByteArray &serialNumber)
{
    m_model = model;
    m_serialNumber = serialNumber;
}

void FakePort::setEchoCommands(bool echo)
{
    m_echoCommands = echo;
}

bool FakePort::makeLink(const QString &linkPath)
{
    if (m_path.isEmpty()) {
        return false;
    }
    QFile::remove(linkPath);
    if (!QFile::link(m_path, linkPath)) {
        return false;
    }
    m_link = linkPath;
    return true;
}

void FakePort::write(const QByteArray &bytes)
{
    if (m_master >= 0) {
        const ssize_t written = ::write(m_master, bytes.constData(), size_t(bytes.size()));
        Q_UNUSED(written)
    }
}

void FakePort::unplug()
{
    if (!m_link.isEmpty()) {
        QFile::remove(m_link);
        m_link.clear();
    }
    delete m_notifier;
    m_notifier = nullptr;
    if (m_master >= 0) {
        ::close(m_master);
        m_master = -1;
    }
    if (m_slave >= 0) {
        ::close(m_slave);
        m_slave = -1;
    }
}

void FakePort::readAvailable()
{
    char chunk[512];
    for (;;) {
        const ssize_t count = ::read(m_master, chunk, sizeof chunk);
        if (count <= 0) {
            break;
        }
        m_buffer.append(chunk, int(count));
        m_bytesReceived += int(count);
    }
    int end = -1;
    while ((end = m_buffer.indexOf('\n')) >= 0) {
        const QByteArray line = m_buffer.left(end + 1);
        m_buffer.remove(0, end + 1);
        m_lines.append(line);
        const bool handshake = line == "ly_system_info\n" || line == "ly_vtx2_dev_status?\n";
        if (m_answerHandshake && line == "ly_system_info\n") {
            QByteArray answer = line + m_model + " Hardware:1.0 Firmware:V5.1.0\n";
            if (!m_serialNumber.isEmpty()) {
                answer += "Serial number: " + m_serialNumber + '\n';
            }
            write(answer);
        } else if (m_answerHandshake && line == "ly_vtx2_dev_status?\n") {
            write("ly_vtx2_dev_status?\nly_vtx2_dev_status 8\n");
        } else if (m_echoCommands && !handshake) {
            write(line);
        }
        emit lineReceived(line);
    }
}
