// Measures the serial handler against a device played by a separate process
// on a pseudo-terminal, so that only the program's side is measured.
//
//   bench_serial turnaround [commands]   time from the last byte of a reply to
//                                         the next command (default 3000 commands)
//   bench_serial cpu [seconds]           CPU of the connected handler polling an
//                                         8-command list (default 60 s)
//
// Build without sanitizers (RelWithDebInfo) for figures worth quoting.

#include "ptydevice.h"
#include "velutraserialhandler.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

static constexpr qint64 NsPerMs = 1000000;

const QStringList PollingList{
        QStringLiteral("ly_vtx2_dev_status?"), QStringLiteral("ly_vtx2_power?"),
        QStringLiteral("ly_vtx2_frequency?"),  QStringLiteral("ls_wavelength?"),
        QStringLiteral("ly_vtx2_state?"),      QStringLiteral("ly_oven1_temp?"),
        QStringLiteral("ly_oven2_temp?"),      QStringLiteral("ly_error?"),
};

bool isHandshake(const QByteArray &line)
{
    return line == "ly_system_info\n";
}

// The device process: answers at once, forever or until it has seen enough
// polling commands; then reports the turnaround figures on the result pipe.
[[noreturn]] void runDevice(int pathPipe, int resultPipe, int commandsToMeasure)
{
    PtyDevice device;
    const QByteArray path = device.slavePath().toLocal8Bit() + '\n';
    if (::write(pathPipe, path.constData(), path.size()) != path.size()) {
        _exit(2);
    }
    ::close(pathPipe);
    device.setResponder([](const QByteArray &line) {
        if (line == "ly_system_info\n" || line == "ly_vtx2_dev_status?\n") {
            return readyLaserReply(line);
        }
        return line + "value 1234\r\n";
    });

    // Lines 0 and 1 are the handshake and line 2 the first poll, written on the
    // change to the running state; turnaround is measured from line 3 on.
    for (;;) {
        if (!device.pump(100)) {
            _exit(0);
        }
        if (commandsToMeasure > 0 && device.lineCount() >= commandsToMeasure + 3) {
            break;
        }
    }

    const std::vector<PtyDevice::Line> lines = device.lines();
    const std::vector<PtyDevice::Write> writes = device.writes();
    std::vector<double> turnaroundMs;
    size_t writeIndex = 0;
    for (size_t index = 3; index < lines.size(); ++index) {
        if (isHandshake(lines.at(index).text)) {
            continue;
        }
        // The last reply written before this command arrived.
        while (writeIndex + 1 < writes.size()
               && writes.at(writeIndex + 1).afterNs < lines.at(index).arrivalNs) {
            ++writeIndex;
        }
        turnaroundMs.push_back(double(lines.at(index).arrivalNs - writes.at(writeIndex).afterNs)
                               / NsPerMs);
    }
    std::sort(turnaroundMs.begin(), turnaroundMs.end());
    const auto percentile = [&turnaroundMs](double fraction) {
        const size_t index = std::min(turnaroundMs.size() - 1,
                                      size_t(fraction * double(turnaroundMs.size() - 1) + 0.5));
        return turnaroundMs.at(index);
    };
    char report[512];
    const int length = std::snprintf(
            report, sizeof(report),
            "turnaround over %zu commands: min %.2f ms, median %.2f ms, p90 %.2f ms, p99 %.2f ms, "
            "max %.2f ms\n",
            turnaroundMs.size(), turnaroundMs.front(), percentile(0.5), percentile(0.9),
            percentile(0.99), turnaroundMs.back());
    if (::write(resultPipe, report, size_t(length)) != length) {
        _exit(2);
    }
    _exit(0);
}

qint64 processCpuUs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return (qint64(usage.ru_utime.tv_sec) + usage.ru_stime.tv_sec) * 1000000
           + usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
}

int usage()
{
    std::fprintf(stderr, "usage: bench_serial turnaround [commands] | cpu [seconds]\n");
    return 1;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc < 2) {
        return usage();
    }
    const QByteArray mode(argv[1]);
    const bool turnaround = mode == "turnaround";
    if (!turnaround && mode != "cpu") {
        return usage();
    }
    const int amount = argc > 2 ? std::atoi(argv[2]) : (turnaround ? 3000 : 60);
    if (amount <= 0) {
        return usage();
    }

    // Fork before Qt starts any thread.
    int pathPipe[2];
    int resultPipe[2];
    if (pipe(pathPipe) != 0 || pipe(resultPipe) != 0) {
        std::perror("pipe");
        return 1;
    }
    const pid_t child = fork();
    if (child < 0) {
        std::perror("fork");
        return 1;
    }
    if (child == 0) {
        ::close(pathPipe[0]);
        ::close(resultPipe[0]);
        runDevice(pathPipe[1], resultPipe[1], turnaround ? amount : 0);
    }
    ::close(pathPipe[1]);
    ::close(resultPipe[1]);

    QByteArray portName;
    char byte = 0;
    while (::read(pathPipe[0], &byte, 1) == 1 && byte != '\n') {
        portName.append(byte);
    }
    ::close(pathPipe[0]);
    if (portName.isEmpty()) {
        std::fprintf(stderr, "the device process did not start\n");
        return 1;
    }

    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false\n*.info=false"));

    auto *handler = new VelutraSerialHandler;
    auto *thread = new QThread;
    handler->moveToThread(thread);
    QObject::connect(thread, &QThread::started, handler, &VelutraSerialHandler::slotMainLoop);
    QObject::connect(thread, &QThread::finished, handler, &QObject::deleteLater);

    // Counted in the handler's thread, so that counting wakes nobody.
    std::atomic<qint64> transmitted{0};
    QObject::connect(
            handler, &VelutraSerialHandler::sigBytesTransmitted, handler,
            [&transmitted] { ++transmitted; }, Qt::DirectConnection);
    QObject::connect(
            handler, &VelutraSerialHandler::sigStatusMessage, &app,
            [](const QString &message) { std::fprintf(stderr, "%s\n", qPrintable(message)); });

    qint64 cpuStartUs = 0;
    qint64 transmittedAtStart = 0;
    QElapsedTimer wall;
    QObject::connect(handler, &VelutraSerialHandler::sigConnectedStatus, &app,
                     [&, turnaround](bool connected) {
                         if (!connected || turnaround) {
                             return;
                         }
                         std::fprintf(stderr, "connected; measuring for %d s\n", amount);
                         // Let the first cycles settle before measuring.
                         QTimer::singleShot(1000, &app, [&] {
                             cpuStartUs = processCpuUs();
                             transmittedAtStart = transmitted.load();
                             wall.start();
                             QTimer::singleShot(amount * 1000, &app, [&] {
                                 const qint64 cpuUs = processCpuUs() - cpuStartUs;
                                 const qint64 wallUs = wall.nsecsElapsed() / 1000;
                                 const qint64 polled = transmitted.load() - transmittedAtStart;
                                 std::printf("cpu: %.3f s of CPU in %.1f s wall = %.2f %% of one "
                                             "core; %lld commands polled (%.1f per second)\n",
                                             double(cpuUs) / 1e6, double(wallUs) / 1e6,
                                             100.0 * double(cpuUs) / double(wallUs),
                                             static_cast<long long>(polled),
                                             double(polled) * 1e6 / double(wallUs));
                                 app.quit();
                             });
                         });
                     });

    QSocketNotifier results(resultPipe[0], QSocketNotifier::Read);
    QObject::connect(&results, &QSocketNotifier::activated, &app, [&] {
        char report[512] = {};
        const ssize_t length = ::read(resultPipe[0], report, sizeof(report) - 1);
        if (length > 0) {
            std::fputs(report, stdout);
        }
        results.setEnabled(false);
        app.quit();
    });

    thread->start(QThread::InheritPriority);
    for (const QString &command : PollingList) {
        QMetaObject::invokeMethod(handler, "slotAddMonitorCommand", Qt::QueuedConnection,
                                  Q_ARG(QString, command));
    }
    QMetaObject::invokeMethod(handler, "slotOpenCommunication", Qt::QueuedConnection,
                              Q_ARG(QString, QString::fromLocal8Bit(portName)));

    const int result = app.exec();

    thread->quit();
    thread->wait();
    delete thread;
    ::kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    ::close(resultPipe[0]);
    return result;
}
