// The real program left alone with a rich virtual laser for a long time: a THGi module, the
// device changing something on its own every few seconds (state, module errors coming and
// going, flags, shutter warnings, temperatures, power), its debug output switched on at
// start, and the cable pulled and put back every few minutes. Nobody touches the program.
// Reports what it wrote, how much it polled, whether it came back after each re-plug, and
// what it cost: resident memory over time and CPU share.
//
//   bench_soak [seconds] [--replug-every S] [--churn S] [--latency MS] [--hidden] [--xp PATH]
//              [--sim PATH]
//
// Defaults: 3600 s, a re-plug every 180 s (0: never), a churn step every 2 s, the virtual
// laser behind an adapter with a 16 ms latency timer (0: bytes as the line carries them). The program
// runs on the offscreen platform unless DISPLAY is set, with its window shown. With --hidden
// (which needs an X display, e.g. xvfb-run) its window is minimized as a window manager would
// do it, a few seconds after start and again for any window it opens later.

#include "windowiconifier.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

static constexpr int DefaultSeconds = 3600;
static constexpr int DefaultReplugSeconds = 180;
static constexpr double DefaultChurnSeconds = 2.0;
static constexpr int DefaultLatencyMs = 16;
static constexpr int SampleSeconds = 10;
static constexpr int UnpluggedSeconds = 2;
static constexpr int ReconnectGraceSeconds = 12;
static constexpr double FirstIconifySeconds = 5;
static constexpr double IconifyCheckSeconds = 1;

struct Sample
{
    double seconds = 0;
    qint64 rssKiB = 0;
    qint64 cpuTicks = 0;
};

struct TraceSummary
{
    int cycles = 0;
    int commands = 0;
    int handshakes = 0;
    QList<QByteArray> setCommands;
    int debugOff = 0;
    // Seconds from each "plugged in" note after the first to the next status record.
    QList<double> reconnectSeconds;
    int replugsWithoutReconnect = 0;
};

bool isReadOnly(const QByteArray &command)
{
    static const QList<QByteArray> plainReads = {"s6", "s7", "s8", "s9", "ly_system_info"};
    return command.endsWith('?') || plainReads.contains(command);
}

qint64 residentKiB(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').first().toLongLong();
        }
    }
    return -1;
}

// User plus system time of a process, in clock ticks (fields 14 and 15 of its stat line).
qint64 cpuTicks(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    // Index 0 is field 3.
    if (fields.size() < 13) {
        return -1;
    }
    return fields.at(11).toLongLong() + fields.at(12).toLongLong();
}

struct ThreadTicks
{
    QByteArray name;
    qint64 ticks = 0;
};

// The same for each thread of the process, by thread id, with the thread's name.
QMap<qint64, ThreadTicks> threadTicks(qint64 pid)
{
    QMap<qint64, ThreadTicks> threads;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString &tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks.filePath(tid + QStringLiteral("/stat")));
        QFile comm(tasks.filePath(tid + QStringLiteral("/comm")));
        if (!stat.open(QIODevice::ReadOnly) || !comm.open(QIODevice::ReadOnly)) {
            continue;
        }
        const QByteArray text = stat.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        if (fields.size() < 13) {
            continue;
        }
        threads.insert(tid.toLongLong(), {comm.readAll().trimmed(),
                                          fields.at(11).toLongLong() + fields.at(12).toLongLong()});
    }
    return threads;
}

TraceSummary summarise(const QString &path)
{
    TraceSummary summary;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return summary;
    }
    static const QByteArray commandMarker = " CMD \"";
    static const QByteArray plugMarker = " --- \"plugged in as ";
    int plugs = 0;
    double pluggedAt = -1;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        const double at = line.left(12).trimmed().toDouble();
        if (line.contains(plugMarker)) {
            if (++plugs > 1) {
                if (pluggedAt >= 0) {
                    ++summary.replugsWithoutReconnect;
                }
                pluggedAt = at;
            }
            continue;
        }
        const int marker = line.indexOf(commandMarker);
        if (marker < 0 || !line.endsWith("\"\n")) {
            continue;
        }
        const int from = marker + commandMarker.size();
        const QByteArray command = line.mid(from, line.size() - from - 2);
        ++summary.commands;
        if (command == "s6") {
            ++summary.cycles;
            if (pluggedAt >= 0) {
                summary.reconnectSeconds.append(at - pluggedAt);
                pluggedAt = -1;
            }
        } else if (command == "ly_system_info") {
            ++summary.handshakes;
        } else if (command == "d2=0") {
            ++summary.debugOff;
        } else if (!isReadOnly(command)) {
            summary.setCommands.append(command);
        }
    }
    if (pluggedAt >= 0) {
        ++summary.replugsWithoutReconnect;
    }
    return summary;
}

// The value below which the given fraction of values lie.
double quantile(QList<double> values, double fraction)
{
    if (values.isEmpty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values.at(qMin(int(values.size() * fraction), values.size() - 1));
}

// Least-squares slope of RSS over time, in KiB per hour.
double growthKiBPerHour(const QList<Sample> &samples)
{
    if (samples.size() < 2) {
        return 0;
    }
    double meanT = 0;
    double meanR = 0;
    for (const Sample &s : samples) {
        meanT += s.seconds;
        meanR += double(s.rssKiB);
    }
    meanT /= samples.size();
    meanR /= samples.size();
    double covariance = 0;
    double variance = 0;
    for (const Sample &s : samples) {
        covariance += (s.seconds - meanT) * (double(s.rssKiB) - meanR);
        variance += (s.seconds - meanT) * (s.seconds - meanT);
    }
    return variance > 0 ? covariance / variance * 3600.0 : 0;
}

// Sends one control command on the simulator's standard input; the answer goes to its
// standard error, which is left to pass through.
void control(QProcess &simulator, const char *command)
{
    simulator.write(QByteArray(command) + '\n');
    simulator.waitForBytesWritten(1000);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments();
    arguments.removeFirst();
    int seconds = DefaultSeconds;
    int replugSeconds = DefaultReplugSeconds;
    double churnSeconds = DefaultChurnSeconds;
    int latencyMs = DefaultLatencyMs;
    bool hidden = false;
    QString programPath = QStringLiteral(VELUTRA_XP_BINARY);
    QString simulatorPath = QStringLiteral(VELUTRA_SIM_BINARY);
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        const QString value = i + 1 < arguments.size() ? arguments.at(i + 1) : QString();
        if (argument == QLatin1String("--replug-every")) {
            replugSeconds = value.toInt();
            ++i;
        } else if (argument == QLatin1String("--churn")) {
            churnSeconds = value.toDouble();
            ++i;
        } else if (argument == QLatin1String("--latency")) {
            latencyMs = value.toInt();
            ++i;
        } else if (argument == QLatin1String("--hidden")) {
            hidden = true;
        } else if (argument == QLatin1String("--xp")) {
            programPath = value;
            ++i;
        } else if (argument == QLatin1String("--sim")) {
            simulatorPath = value;
            ++i;
        } else if (argument.toInt() > 0) {
            seconds = argument.toInt();
        } else {
            std::fprintf(stderr, "usage: bench_soak [seconds] [--replug-every S] [--churn S] "
                                 "[--latency MS] [--hidden] [--xp PATH] [--sim PATH]\n");
            return 2;
        }
    }

    if (hidden && (!WindowIconifier::isAvailable() || !qEnvironmentVariableIsSet("DISPLAY"))) {
        std::fprintf(stderr, "bench_soak: --hidden needs an X display and a build with libxcb; "
                             "run it under xvfb-run\n");
        return 2;
    }

    QTemporaryDir home;
    QDir().mkpath(home.filePath(QStringLiteral("runtime")));
    QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("runtime")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    if (!environment.contains(QStringLiteral("DISPLAY"))) {
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
    const QString tracePath = home.filePath(QStringLiteral("trace.txt"));
    // The link keeps its name across re-plugs, as a USB adapter's port does when it comes
    // back; the pseudo-terminal behind it changes.
    const QString link = home.filePath(QStringLiteral("laser"));

    QProcess simulator;
    simulator.setProcessEnvironment(environment);
    simulator.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    simulator.start(simulatorPath,
                    {QStringLiteral("--module"), QStringLiteral("0x93"), QStringLiteral("--churn"),
                     QString::number(churnSeconds), QStringLiteral("--latency"),
                     QString::number(latencyMs), QStringLiteral("--debug-output"),
                     QStringLiteral("--link"), link, QStringLiteral("--trace"), tracePath});
    if (!simulator.waitForStarted(10000) || !simulator.waitForReadyRead(10000)) {
        std::fprintf(stderr, "bench_soak: the virtual laser did not start\n");
        return 1;
    }

    QProcess program;
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    QElapsedTimer clock;
    clock.start();
    program.start(programPath, {QStringLiteral("--connect"), link});
    if (!program.waitForStarted(10000)) {
        std::fprintf(stderr, "bench_soak: velutra-xp did not start\n");
        return 1;
    }
    const qint64 pid = program.processId();
    const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    std::printf("bench_soak: %d s, re-plug every %d s, churn every %.3g s, adapter latency %d ms, "
                "window %s, program %s\n",
                seconds, replugSeconds, churnSeconds, latencyMs, hidden ? "minimized" : "shown",
                qPrintable(programPath));
    std::fflush(stdout);

    QList<Sample> samples;
    // Where the time goes after the first minute, thread by thread.
    QMap<qint64, ThreadTicks> threadsAtMinute;
    int replugs = 0;
    double nextReplug = replugSeconds > 0 ? replugSeconds : -1;
    double nextSample = 0;
    // The window needs a moment to appear; after that, any new one (a warning) goes too.
    double nextIconify = FirstIconifySeconds;
    int iconified = 0;
    while (clock.elapsed() < qint64(seconds) * 1000) {
        const double now = clock.elapsed() / 1000.0;
        if (program.state() != QProcess::Running) {
            std::printf("bench_soak: velutra-xp ended after %.0f s (exit code %d)\n", now,
                        program.exitCode());
            break;
        }
        if (hidden && now >= nextIconify) {
            QString error;
            const int count = WindowIconifier::iconifyWindowsOf(pid, &error);
            if (count < 0) {
                std::fprintf(stderr, "bench_soak: %s\n", qPrintable(error));
            } else if (count > 0) {
                iconified += count;
                std::printf("  %6.0f s  minimized %d window(s)\n", now, count);
            }
            nextIconify += IconifyCheckSeconds;
        }
        if (now >= nextSample) {
            samples.append(Sample{now, residentKiB(pid), cpuTicks(pid)});
            if (threadsAtMinute.isEmpty() && now >= 60) {
                threadsAtMinute = threadTicks(pid);
            }
            std::printf("  %6.0f s  RSS %lld KiB  CPU %.2f s\n", now, samples.last().rssKiB,
                        double(samples.last().cpuTicks) / ticksPerSecond);
            std::fflush(stdout);
            nextSample += SampleSeconds;
        }
        // A replug needs time to be followed by a reconnect before the run ends.
        if (nextReplug > 0 && now >= nextReplug && now + ReconnectGraceSeconds < seconds) {
            control(simulator, "unplug");
            QThread::sleep(UnpluggedSeconds);
            control(simulator, "replug");
            ++replugs;
            nextReplug += replugSeconds;
        }
        // Nobody reads the simulator's port names; keep its pipe from filling.
        simulator.waitForReadyRead(200);
        simulator.readAllStandardOutput();
    }
    const double elapsed = clock.elapsed() / 1000.0;
    const Sample last{elapsed, residentKiB(pid), cpuTicks(pid)};
    const QMap<qint64, ThreadTicks> threadsAtEnd = threadTicks(pid);
    const bool alive = program.state() == QProcess::Running;

    if (alive) {
        ::kill(pid_t(pid), SIGTERM);
        if (!program.waitForFinished(15000)) {
            program.kill();
            program.waitForFinished(5000);
        }
    }
    control(simulator, "quit");
    if (!simulator.waitForFinished(10000)) {
        simulator.kill();
        simulator.waitForFinished(5000);
    }

    const TraceSummary trace = summarise(tracePath);
    // The start is the first sample after the program's own start-up (the window and the
    // handshake's quiet seconds); the minute is the first sample at or after one minute.
    Sample atStart = last;
    for (const Sample &sample : qAsConst(samples)) {
        if (sample.seconds >= SampleSeconds) {
            atStart = sample;
            break;
        }
    }
    Sample atMinute = last;
    for (const Sample &sample : qAsConst(samples)) {
        if (sample.seconds >= 60) {
            atMinute = sample;
            break;
        }
    }
    QList<Sample> afterMinute;
    for (const Sample &sample : qAsConst(samples)) {
        if (sample.seconds >= atMinute.seconds) {
            afterMinute.append(sample);
        }
    }
    afterMinute.append(last);
    const double span = last.seconds - atMinute.seconds;
    const double cpuShare
            = span > 0 ? double(last.cpuTicks - atMinute.cpuTicks) / ticksPerSecond / span * 100.0
                       : 0;
    const double cpuShareAll
            = double(last.cpuTicks) / ticksPerSecond / qMax(elapsed, 0.001) * 100.0;
    const double endToMinute = span > 0 ? double(last.rssKiB - atMinute.rssKiB) / span * 3600.0 : 0;

    std::printf("\nbench_soak results after %.0f s\n", elapsed);
    std::printf("  program alive at the end      %s\n", alive ? "yes" : "NO");
    if (hidden) {
        std::printf("  windows minimized             %d\n", iconified);
    }
    std::printf("  set commands written          %d (plus d2=0 %d time(s))\n",
                int(trace.setCommands.size()), trace.debugOff);
    for (const QByteArray &command : trace.setCommands.mid(0, 10)) {
        std::printf("      %s\n", command.constData());
    }
    std::printf("  commands written              %d\n", trace.commands);
    std::printf("  polling cycles (s6)           %d\n", trace.cycles);
    std::printf("  handshakes (ly_system_info)   %d\n", trace.handshakes);
    std::printf("  re-plugs                      %d, reconnected after %d, not after %d\n", replugs,
                int(trace.reconnectSeconds.size()), trace.replugsWithoutReconnect);
    if (!trace.reconnectSeconds.isEmpty()) {
        std::printf(
                "  reconnect time (plug to s6)   median %.2f s, 90 %% within %.2f s, worst %.2f "
                "s\n",
                quantile(trace.reconnectSeconds, 0.5), quantile(trace.reconnectSeconds, 0.9),
                *std::max_element(trace.reconnectSeconds.cbegin(), trace.reconnectSeconds.cend()));
    }
    std::printf("  RSS at start (%.0f s)          %lld KiB\n", atStart.seconds, atStart.rssKiB);
    std::printf("  RSS at first minute (%.0f s)   %lld KiB\n", atMinute.seconds, atMinute.rssKiB);
    std::printf("  RSS at the end (%.0f s)      %lld KiB\n", last.seconds, last.rssKiB);
    std::printf("  RSS growth per hour           %.0f KiB (end vs. first minute), %.0f KiB "
                "(least squares after the first minute)\n",
                endToMinute, growthKiBPerHour(afterMinute));
    std::printf("  CPU share of one core         %.2f %% after the first minute, %.2f %% overall\n",
                cpuShare, cpuShareAll);
    if (!threadsAtMinute.isEmpty() && span > 0) {
        for (auto it = threadsAtEnd.cbegin(); it != threadsAtEnd.cend(); ++it) {
            const qint64 before = threadsAtMinute.value(it.key()).ticks;
            const double share = double(it.value().ticks - before) / ticksPerSecond / span * 100.0;
            if (share >= 0.005) {
                std::printf("      thread %-16s %.2f %%\n", it.value().name.constData(), share);
            }
        }
    }
    return alive && trace.setCommands.isEmpty() ? 0 : 1;
}
