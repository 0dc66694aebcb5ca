// One full polling cycle of the program against the paced virtual laser (3840 bytes/s, the
// rate of 38400 baud 8N1), compared with the least time the line and the scheduler allow:
// the bytes on the wire at 3840 bytes/s, plus the 16 ms quiet gap before each command, plus
// the one idle tick that closes each turn of the list. On a real line the command itself
// takes wire time too; the pseudo-terminal delivers it at once, so the bound is given both
// with and without it. The virtual laser runs without an adapter latency (--latency 0): the
// bound is the line's, and a latency timer would add up to a period to every reply.
//
//   bench_pollingcycle [cycles] [module]        (defaults: 20 cycles, 0x93)

#include "velutracontroller.h"
#include "velutraserialhandler.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr double s_bytesPerSecond = 3840.0;
constexpr double s_quietGapSeconds = 0.016;
constexpr double s_idleTickSeconds = 0.010;

struct Cycle
{
    qint64 startNs = 0;
    int commands = 0;
    qint64 receivedBytes = 0;
    qint64 transmittedBytes = 0;
};

} // namespace

int main(int argc, char *argv[])
{
    // The controller builds its panel even when nothing shows it.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int wanted = arguments.size() > 1 ? arguments.at(1).toInt() : 20;
    const QString module = arguments.size() > 2 ? arguments.at(2) : QStringLiteral("0x93");

    QProcess simulator;
    simulator.start(QStringLiteral(VELUTRA_SIM_EXECUTABLE),
                    {QStringLiteral("--module"), module, QStringLiteral("--no-control-socket"),
                     QStringLiteral("--latency"), QStringLiteral("0")});
    if (!simulator.waitForStarted(5000) || !simulator.waitForReadyRead(10000)) {
        std::fprintf(stderr, "the virtual laser did not start\n");
        return 1;
    }
    const QString port = QString::fromLocal8Bit(simulator.readLine()).trimmed();

    auto *handler = new VelutraSerialHandler;
    QThread thread;
    handler->moveToThread(&thread);
    QObject::connect(&thread, &QThread::started, handler, &VelutraSerialHandler::slotMainLoop);
    QObject::connect(&thread, &QThread::finished, handler, &QObject::deleteLater);
    VelutraController controller(nullptr, nullptr, handler, nullptr);

    // Times are taken in the handler's thread, where the bytes are written and read.
    QElapsedTimer clock;
    clock.start();
    // Filled in the handler's thread, read here.
    QMutex lock;
    QVector<Cycle> cycles;
    bool moduleListComplete = false;
    // Where the time between commands goes: from a command to its echo (the device and the
    // line), and from the last line of a reply to the next command (the quiet gap and the
    // scheduler's tick).
    QVector<qint64> echoDelaysNs;
    QVector<qint64> gapsNs;
    qint64 lastTransmitNs = -1;
    qint64 lastReceiveNs = -1;
    bool awaitingEcho = false;
    QObject::connect(
            handler, &VelutraSerialHandler::sigBytesTransmitted, handler,
            [&](const QString &, const QByteArray &bytes) {
                QMutexLocker locker(&lock);
                const qint64 now = clock.nsecsElapsed();
                if (moduleListComplete && lastReceiveNs > lastTransmitNs) {
                    gapsNs.append(now - lastReceiveNs);
                }
                lastTransmitNs = now;
                awaitingEcho = true;
                if (bytes == "s6\n") {
                    cycles.append(Cycle{now, 0, 0, 0});
                }
                if (!cycles.isEmpty()) {
                    ++cycles.last().commands;
                    cycles.last().transmittedBytes += bytes.size();
                }
                if (bytes == "ls_module_runtime?\n") {
                    moduleListComplete = true;
                }
            },
            Qt::DirectConnection);
    QObject::connect(
            handler, &VelutraSerialHandler::sigBytesReceived, handler,
            [&](const QString &, const QByteArray &bytes) {
                QMutexLocker locker(&lock);
                lastReceiveNs = clock.nsecsElapsed();
                if (awaitingEcho && moduleListComplete) {
                    echoDelaysNs.append(lastReceiveNs - lastTransmitNs);
                }
                awaitingEcho = false;
                if (!cycles.isEmpty()) {
                    cycles.last().receivedBytes += bytes.size();
                }
            },
            Qt::DirectConnection);

    thread.start();
    QTimer::singleShot(10, &controller, &VelutraController::slotMainLoop);
    QMetaObject::invokeMethod(handler, "slotOpenCommunication", Qt::QueuedConnection,
                              Q_ARG(QString, port));

    // Wait for the module's list, then for the cycles to measure; one-shot commands of the
    // connection are over by then.
    QElapsedTimer wait;
    wait.start();
    int firstMeasured = -1;
    while (wait.elapsed() < 600000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(5);
        QMutexLocker locker(&lock);
        if (firstMeasured < 0 && moduleListComplete) {
            firstMeasured = cycles.size() + 1;
        }
        if (firstMeasured >= 0 && cycles.size() > firstMeasured + wanted) {
            break;
        }
    }
    thread.quit();
    thread.wait(5000);
    simulator.terminate();
    simulator.waitForFinished(5000);
    if (firstMeasured < 0 || cycles.size() <= firstMeasured + wanted) {
        std::fprintf(stderr, "not enough cycles\n");
        return 1;
    }

    QVector<double> measured;
    QVector<double> bounds;
    QVector<double> fullBounds;
    for (int i = firstMeasured; i < firstMeasured + wanted; ++i) {
        const Cycle &cycle = cycles.at(i);
        measured.append(double(cycles.at(i + 1).startNs - cycle.startNs) / 1e9);
        bounds.append(double(cycle.receivedBytes) / s_bytesPerSecond
                      + cycle.commands * s_quietGapSeconds + s_idleTickSeconds);
        fullBounds.append(bounds.last() + double(cycle.transmittedBytes) / s_bytesPerSecond);
    }
    std::sort(measured.begin(), measured.end());
    double boundSum = 0;
    for (double bound : qAsConst(bounds)) {
        boundSum += bound;
    }
    const double bound = boundSum / bounds.size();
    double fullBoundSum = 0;
    for (double fullBound : qAsConst(fullBounds)) {
        fullBoundSum += fullBound;
    }
    const double fullBound = fullBoundSum / fullBounds.size();
    const double median = measured.at(measured.size() / 2);
    const Cycle &sample = cycles.at(firstMeasured);
    std::printf("module %s, %d cycles measured\n", qPrintable(module), wanted);
    std::printf("commands per cycle:      %d\n", sample.commands);
    std::printf("bytes per cycle:         %lld sent, %lld received\n", sample.transmittedBytes,
                sample.receivedBytes);
    std::printf("bound, replies only:     %.3f s (received bytes + gaps)\n", bound);
    std::printf("bound, both directions:  %.3f s (as on a real line)\n", fullBound);
    std::printf("cycle time:              median %.3f s, min %.3f s, max %.3f s\n", median,
                measured.first(), measured.last());
    std::printf("median over bounds:      %+.1f %% (replies only), %+.1f %% (both)\n",
                (median / bound - 1.0) * 100.0, (median / fullBound - 1.0) * 100.0);
    const auto medianMs = [](QVector<qint64> values) {
        std::sort(values.begin(), values.end());
        return values.isEmpty() ? 0.0 : double(values.at(values.size() / 2)) / 1e6;
    };
    std::printf("command to its echo:     median %.2f ms\n", medianMs(echoDelaysNs));
    std::printf("reply end to next write: median %.2f ms (16 ms quiet gap)\n", medianMs(gapsNs));
    return 0;
}
