// velutra-sim: a virtual Velutra laser on a pseudo-terminal.

#include "velutrasimadvert.h"
#include "velutrasimcontrol.h"
#include "velutrasimoptions.h"
#include "velutrasimulator.h"

#include <QCoreApplication>
#include <QDir>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

int s_signalPipe[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    const ssize_t ignored = ::write(s_signalPipe[1], &byte, 1);
    static_cast<void>(ignored);
}

void printLine(FILE *stream, const QString &text)
{
    std::fprintf(stream, "%s\n", text.toLocal8Bit().constData());
    std::fflush(stream);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velutra-sim"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0.25.680"));

    VelutraSimOptions options;
    QString message;
    bool helpRequested = false;
    if (!VelutraSimOptions::parse(QCoreApplication::arguments(), &options, &message,
                                  &helpRequested)) {
        printLine(stderr, QStringLiteral("velutra-sim: %1 (see --help)").arg(message));
        return 2;
    }
    if (helpRequested) {
        std::fputs(message.toLocal8Bit().constData(), stdout);
        return 0;
    }

    // SIGINT and SIGTERM end the event loop through a pipe, so that cleaning up happens
    // in ordinary code; a background simulator must not stop when it touches the terminal.
    if (::pipe2(s_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        printLine(stderr, QStringLiteral("velutra-sim: cannot create the signal pipe"));
        return 1;
    }
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGHUP, &action, nullptr);
    std::signal(SIGTTIN, SIG_IGN);
    std::signal(SIGTTOU, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    QSocketNotifier signalNotifier(s_signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&signalNotifier, &QSocketNotifier::activated, &app, []() {
        char buffer[16];
        while (::read(s_signalPipe[0], buffer, sizeof buffer) > 0) {
        }
        QCoreApplication::quit();
    });

    int status = 0;
    {
        VelutraSimulator simulator(options);
        QObject::connect(&simulator, &VelutraSimulator::sigPlugged,
                         [](const QString &port) { printLine(stdout, port); });
        QObject::connect(&simulator, &VelutraSimulator::sigUnplugged,
                         []() { printLine(stderr, QStringLiteral("velutra-sim: unplugged")); });
        QObject::connect(&simulator, &VelutraSimulator::sigQuitRequested, &app,
                         &QCoreApplication::quit, Qt::QueuedConnection);

        // The control channels are ready before the port name is printed, so whoever
        // reads the first line can use them at once.
        QString error;
        VelutraSimControl control(&simulator);
        control.listenOnStandardInput();
        if (options.controlSocket) {
            const QString socket = VelutraSimAdvert::runtimeFolder()
                                   + QStringLiteral("/velutra-sim-%1.sock").arg(::getpid());
            QDir().mkpath(VelutraSimAdvert::runtimeFolder());
            if (control.listenOnSocket(socket, &error)) {
                printLine(stderr, QStringLiteral("velutra-sim: control socket %1").arg(socket));
            } else {
                printLine(stderr, QStringLiteral("velutra-sim: no control socket: %1").arg(error));
            }
        }
        if (!simulator.plugIn(&error)) {
            printLine(stderr, QStringLiteral("velutra-sim: %1").arg(error));
            return 1;
        }
        printLine(stderr, QStringLiteral("velutra-sim: %1 on %2, advertised in %3")
                                  .arg(simulator.description(), simulator.port()->slavePath(),
                                       simulator.advertisementPath()));
        status = app.exec();
    }
    ::close(s_signalPipe[0]);
    ::close(s_signalPipe[1]);
    return status;
}
