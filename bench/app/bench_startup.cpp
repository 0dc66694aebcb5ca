// Time from starting velutra-xp to the first expose of its main window, over several runs.
// The program reports the expose itself ("first-expose-ms <n>" on standard error, counted
// from its start as the kernel recorded it) when VELUTRA_STARTUP_PROBE is set; this bench
// also times it from just before the exec to the moment that line arrives.
//
//   bench_startup [runs] [--xp PATH]        (defaults: 11 runs, the program of this tree)
//
// Offscreen unless DISPLAY is set. All runs share one home, so settings and the stored log
// exist from the second run on, as on a lab machine; the first run is reported apart.

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <cstdio>

namespace {

static constexpr int DefaultRuns = 11;
static constexpr int ExposeTimeoutMs = 30000;

double median(QList<double> values)
{
    if (values.isEmpty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QStringList arguments = application.arguments();
    arguments.removeFirst();
    int runs = DefaultRuns;
    QString programPath = QStringLiteral(VELUTRA_XP_BINARY);
    for (int i = 0; i < arguments.size(); ++i) {
        if (arguments.at(i) == QLatin1String("--xp") && i + 1 < arguments.size()) {
            programPath = arguments.at(++i);
        } else if (arguments.at(i).toInt() > 0) {
            runs = arguments.at(i).toInt();
        } else {
            std::fprintf(stderr, "usage: bench_startup [runs] [--xp PATH]\n");
            return 2;
        }
    }

    QTemporaryDir home;
    QDir().mkpath(home.filePath(QStringLiteral("runtime")));
    QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("runtime")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("VELUTRA_STARTUP_PROBE"), QStringLiteral("1"));
    const bool offscreen = !environment.contains(QStringLiteral("DISPLAY"));
    if (offscreen) {
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
    std::printf("bench_startup: %d runs of %s (%s)\n", runs, qPrintable(programPath),
                offscreen ? "offscreen" : "display");

    QList<double> byProgram;
    QList<double> byBench;
    for (int run = 0; run < runs; ++run) {
        QProcess program;
        program.setProcessEnvironment(environment);
        // The probe's line comes on standard error; wait on that channel.
        program.setReadChannel(QProcess::StandardError);
        QElapsedTimer clock;
        clock.start();
        program.start(programPath, QStringList());
        double reported = -1;
        double observed = -1;
        QByteArray errors;
        while (reported < 0 && clock.elapsed() < ExposeTimeoutMs
               && program.state() != QProcess::NotRunning) {
            program.waitForReadyRead(100);
            errors += program.readAllStandardError();
            const int at = errors.indexOf("first-expose-ms ");
            const int end = at < 0 ? -1 : errors.indexOf('\n', at);
            if (end > at) {
                observed = clock.nsecsElapsed() / 1e6;
                reported = errors.mid(at + 16, end - at - 16).trimmed().toDouble();
            }
        }
        if (program.state() != QProcess::NotRunning) {
            ::kill(pid_t(program.processId()), SIGTERM);
            if (!program.waitForFinished(15000)) {
                program.kill();
                program.waitForFinished(5000);
            }
        }
        if (reported < 0) {
            std::fprintf(stderr, "run %d: no expose reported; standard error:\n%s\n", run + 1,
                         errors.constData());
            return 1;
        }
        std::printf("  run %2d: %6.0f ms (program), %6.1f ms (exec to line)%s\n", run + 1, reported,
                    observed, run == 0 ? "  [first run, fresh home]" : "");
        if (run > 0 || runs == 1) {
            byProgram.append(reported);
            byBench.append(observed);
        }
    }
    std::printf("median of runs 2..%d: %.0f ms (program), %.1f ms (exec to line); goal 500 ms\n",
                runs, median(byProgram), median(byBench));
    return median(byBench) <= 500 ? 0 : 1;
}
