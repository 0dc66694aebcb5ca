#include "unixsignalwatcher.h"

#include "velutraappcategory.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// The handler may only do async-signal-safe work: it writes the number to a socket.
int s_signalSockets[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const unsigned char number = static_cast<unsigned char>(signalNumber);
    const ssize_t written = ::write(s_signalSockets[0], &number, 1);
    (void)written;
}

} // namespace

UnixSignalWatcher::UnixSignalWatcher(QObject *parent)
    : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, s_signalSockets) != 0) {
        qCWarning(lcApp,
                  "Cannot watch for termination signals; Ctrl+C will end the program abruptly.");
        return;
    }
    ::fcntl(s_signalSockets[0], F_SETFL, O_NONBLOCK);
    m_notifier = new QSocketNotifier(s_signalSockets[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignalWatcher::readSignal);

    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(signalNumber, &action, nullptr);
    }
}

UnixSignalWatcher::~UnixSignalWatcher()
{
    if (s_signalSockets[0] < 0) {
        return;
    }
    for (int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        ::signal(signalNumber, SIG_DFL);
    }
    delete m_notifier;
    m_notifier = nullptr;
    ::close(s_signalSockets[0]);
    ::close(s_signalSockets[1]);
    s_signalSockets[0] = s_signalSockets[1] = -1;
}

void UnixSignalWatcher::readSignal()
{
    unsigned char number = 0;
    if (::read(s_signalSockets[1], &number, 1) == 1) {
        emit terminationRequested(number);
    }
}
