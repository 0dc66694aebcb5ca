#include "velutrasimcontrol.h"

#include "velutrasimulator.h"

#include <QFile>
#include <QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

void writeAll(int fd, const QByteArray &bytes)
{
    qint64 done = 0;
    int attempts = 0;
    while (done < bytes.size() && attempts < 100) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written > 0) {
            done += written;
        } else if (written < 0 && errno != EAGAIN && errno != EINTR) {
            return;
        } else {
            ++attempts; // a client that does not read loses its answer rather than stall us
            ::usleep(1000);
        }
    }
}

} // namespace

VelutraSimControl::VelutraSimControl(VelutraSimulator *simulator, QObject *parent)
    : QObject(parent)
    , m_simulator(simulator)
{ }

VelutraSimControl::~VelutraSimControl()
{
    const QList<Client> clients = m_clients;
    for (const Client &client : clients) {
        dropClient(client.fd);
    }
    if (m_server >= 0) {
        delete m_serverNotifier;
        ::close(m_server);
        ::unlink(QFile::encodeName(m_socketPath).constData());
    }
}

void VelutraSimControl::listenOnStandardInput()
{
    m_stdinNotifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(m_stdinNotifier, &QSocketNotifier::activated, this,
            &VelutraSimControl::readStandardInput);
}

void VelutraSimControl::readStandardInput()
{
    char buffer[1024];
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count <= 0) {
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            // End of input (or a terminal we may not read): stay up, stop listening there.
            m_stdinNotifier->setEnabled(false);
        }
        return;
    }
    const QByteArray reply = answer(m_stdinBuffer, QByteArray(buffer, int(count)));
    writeAll(STDERR_FILENO, reply);
}

QByteArray VelutraSimControl::answer(QByteArray &buffer, const QByteArray &bytes)
{
    QByteArray reply;
    for (char c : bytes) {
        if (c == '\n') {
            const QString text = m_simulator->executeControl(QString::fromLatin1(buffer).trimmed());
            if (!text.isEmpty()) {
                reply += text.toLatin1() + '\n';
            }
            buffer.clear();
        } else if (buffer.size() < s_maxLineLength) {
            buffer += c;
        }
    }
    return reply;
}

bool VelutraSimControl::listenOnSocket(const QString &path, QString *error)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address{};
    if (name.size() >= int(sizeof address.sun_path)) {
        *error = QStringLiteral("socket path too long: %1").arg(path);
        return false;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    const int server = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (server < 0) {
        *error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    ::unlink(name.constData()); // the pid in the name makes an existing file a stale one
    if (::bind(server, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0
        || ::listen(server, 4) != 0) {
        *error = QStringLiteral("cannot listen on %1: %2")
                         .arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        ::close(server);
        return false;
    }
    m_server = server;
    m_socketPath = path;
    m_serverNotifier = new QSocketNotifier(m_server, QSocketNotifier::Read, this);
    connect(m_serverNotifier, &QSocketNotifier::activated, this, &VelutraSimControl::acceptClient);
    return true;
}

void VelutraSimControl::acceptClient()
{
    const int fd = ::accept4(m_server, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
        return;
    }
    if (m_clients.size() >= 16) {
        ::close(fd);
        return;
    }
    Client client;
    client.fd = fd;
    client.notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(client.notifier, &QSocketNotifier::activated, this, [this, fd]() { readClient(fd); });
    m_clients.append(client);
}

void VelutraSimControl::readClient(int fd)
{
    for (Client &client : m_clients) {
        if (client.fd != fd) {
            continue;
        }
        char buffer[1024];
        const ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) {
            dropClient(fd);
            return;
        }
        if (count > 0) {
            const QByteArray reply = answer(client.buffer, QByteArray(buffer, int(count)));
            writeAll(fd, reply);
        }
        return;
    }
}

void VelutraSimControl::dropClient(int fd)
{
    for (int i = 0; i < m_clients.size(); ++i) {
        if (m_clients.at(i).fd == fd) {
            m_clients.at(i).notifier->deleteLater();
            m_clients.at(i).notifier->setEnabled(false);
            ::close(fd);
            m_clients.removeAt(i);
            return;
        }
    }
}
