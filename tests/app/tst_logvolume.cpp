// What the whole program writes to its logs when the device misbehaves for a while: a silent
// device, a device that sends lines nobody knows, and which debug traces --verbose and
// QT_LOGGING_RULES switch on. Each run is the real velutra-xp against the real velutra-sim,
// in a private home of its own, so its daily log file holds only its own lines.

#include "simulatorsession.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <memory>

namespace {

static constexpr int SilentRunMs = 60 * 1000;
static constexpr int StartTimeoutMs = 20000;

// One program with its own virtual laser.
struct Run
{
    QTemporaryDir home;
    QProcess simulator;
    QProcess program;
    QString port;

    ~Run()
    {
        for (QProcess *process : {&program, &simulator}) {
            if (process->state() != QProcess::NotRunning) {
                process->kill();
                process->waitForFinished(10000);
            }
        }
    }

    QString path(const QString &relative) const { return home.filePath(relative); }

    QProcessEnvironment environment(const QString &loggingRules) const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), path(QStringLiteral("runtime")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), path(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.remove(QStringLiteral("QT_LOGGING_RULES"));
        if (!loggingRules.isEmpty()) {
            env.insert(QStringLiteral("QT_LOGGING_RULES"), loggingRules);
        }
        return env;
    }

    bool startSimulator(const QStringList &faults)
    {
        if (!home.isValid() || !QDir().mkpath(path(QStringLiteral("runtime")))) {
            return false;
        }
        QFile::setPermissions(path(QStringLiteral("runtime")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        simulator.setProcessEnvironment(environment(QString()));
        return startSimulatorProcess(simulator,
                                     QStringList{QStringLiteral("--module"), QStringLiteral("0x93"),
                                                 QStringLiteral("--trace"),
                                                 path(QStringLiteral("trace.txt"))}
                                             + faults,
                                     &port)
               && port.startsWith(QLatin1Char('/'));
    }

    bool startProgram(const QStringList &options, const QString &loggingRules = QString())
    {
        program.setProcessEnvironment(environment(loggingRules));
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(QStringLiteral(VELUTRA_XP_BINARY),
                      options + QStringList{QStringLiteral("--connect"), port});
        return program.waitForStarted(StartTimeoutMs);
    }

    // The commands the program wrote, as the device recorded them.
    int commandCount(const QByteArray &command = QByteArray()) const
    {
        QFile file(path(QStringLiteral("trace.txt")));
        if (!file.open(QIODevice::ReadOnly)) {
            return 0;
        }
        const QByteArray record = " CMD \"" + command;
        return file.readAll().count(record);
    }

    QByteArray traceText() const
    {
        QFile file(path(QStringLiteral("trace.txt")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    bool stopProgram()
    {
        ::kill(pid_t(program.processId()), SIGTERM);
        return program.waitForFinished(30000) && program.exitStatus() == QProcess::NormalExit
               && program.exitCode() == 0;
    }

    void stopSimulator()
    {
        if (simulator.state() != QProcess::NotRunning) {
            simulator.terminate();
            simulator.waitForFinished(10000);
        }
    }

    QString dataFolder() const { return path(QStringLiteral("data/Zelmar/VELUTRA-XP")); }

    // The daily developer log: every applog_*.log of the run, line by line.
    QStringList dailyLog() const
    {
        QStringList lines;
        const QDir folder(dataFolder());
        const QStringList files = folder.entryList({QStringLiteral("applog_*.log")}, QDir::Files);
        for (const QString &name : files) {
            QFile file(folder.filePath(name));
            if (file.open(QIODevice::ReadOnly)) {
                lines += QString::fromUtf8(file.readAll())
                                 .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            }
        }
        return lines;
    }

    // The operator's log as saved when the program ended.
    QStringList operatorLog() const
    {
        QFile file(dataFolder() + QStringLiteral("/ApplicationLog.txt"));
        if (!file.open(QIODevice::ReadOnly)) {
            return {};
        }
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
};

QString joined(const QStringList &lines)
{
    return lines.join(QLatin1Char('\n'));
}

} // namespace

class TestLogVolume : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void defaultRunHasNoDebugTraces();
    void tracesCanBeSwitchedOn_data();
    void tracesCanBeSwitchedOn();
    void floodOfUnknownLinesIsBounded();
    // Runs last: the silent device has then been silent for most of its minute.
    void silentDeviceForAMinuteAddsFewLines();

private:
    // Waits until the program is polling, i.e. the handshake is over.
    static bool waitForPolling(Run &run);

    std::unique_ptr<Run> m_silent;
    QElapsedTimer m_silentClock;
};

void TestLogVolume::initTestCase()
{
    // The silent minute runs beside the other tests rather than after them.
    m_silent = std::make_unique<Run>();
    QVERIFY(m_silent->startSimulator({QStringLiteral("--silent")}));
    QVERIFY(m_silent->startProgram({QStringLiteral("--verbose")}));
    m_silentClock.start();
}

void TestLogVolume::cleanupTestCase()
{
    m_silent.reset();
}

bool TestLogVolume::waitForPolling(Run &run)
{
    // The status word is asked in the handshake; the polling list follows.
    const auto polling = [&run] {
        return run.commandCount("ly_vtx2_dev_status?") >= 1 && run.commandCount() >= 30;
    };
    QElapsedTimer clock;
    clock.start();
    while (!polling() && clock.elapsed() < 30000) {
        QTest::qWait(50);
    }
    return polling();
}

void TestLogVolume::defaultRunHasNoDebugTraces()
{
    Run run;
    QVERIFY(run.startSimulator({QStringLiteral("--no-pacing")}));
    QVERIFY(run.startProgram({}));
    QVERIFY(waitForPolling(run));
    QVERIFY(run.stopProgram());
    run.stopSimulator();

    const QStringList daily = run.dailyLog();
    QVERIFY2(!daily.isEmpty(), "no daily log file");
    QVERIFY(daily.first().contains(QStringLiteral("***** Application startup *****")));
    for (const QString &line : daily) {
        QVERIFY2(!line.contains(QStringLiteral("[Debug  ]")), qPrintable(line));
    }
    const QString text = joined(daily);
    QVERIFY(!text.contains(QStringLiteral("stSendConnectCmd")));
    QVERIFY(!text.contains(QStringLiteral("stWaitReadyCmd")));
    // A clean connection leaves the log short.
    QVERIFY2(daily.size() < 20, qPrintable(text));
}

void TestLogVolume::tracesCanBeSwitchedOn_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("rules");
    QTest::addColumn<bool>("traced");
    QTest::newRow("--verbose") << QStringList{QStringLiteral("--verbose")} << QString() << true;
    QTest::newRow("QT_LOGGING_RULES")
            << QStringList() << QStringLiteral("velutra.serial.debug=true") << true;
    // The operator's own rules win over the option.
    QTest::newRow("QT_LOGGING_RULES over --verbose")
            << QStringList{QStringLiteral("--verbose")}
            << QStringLiteral("velutra.serial.debug=false") << false;
}

void TestLogVolume::tracesCanBeSwitchedOn()
{
    QFETCH(QStringList, options);
    QFETCH(QString, rules);
    QFETCH(bool, traced);

    Run run;
    QVERIFY(run.startSimulator({QStringLiteral("--no-pacing")}));
    QVERIFY(run.startProgram(options, rules));
    QVERIFY(waitForPolling(run));
    QVERIFY(run.stopProgram());
    run.stopSimulator();

    const QStringList daily = run.dailyLog();
    const QString text = joined(daily);
    const int connectTraces
            = daily.filter(QStringLiteral("(velutra.serial) stSendConnectCmd")).size();
    const int readyTraces = daily.filter(QStringLiteral("(velutra.serial) stWaitReadyCmd")).size();
    if (!traced) {
        QCOMPARE(connectTraces, 0);
        QCOMPARE(readyTraces, 0);
        return;
    }
    // One handshake: each state entered once, traced once, however many ticks it lasted.
    QVERIFY2(connectTraces == 1, qPrintable(text));
    QVERIFY2(readyTraces == 1, qPrintable(text));
    QVERIFY(daily.filter(QStringLiteral("[Debug  ]")).size() >= 2);
}

void TestLogVolume::floodOfUnknownLinesIsBounded()
{
    static constexpr int FloodLines = 300;
    static constexpr int QuietWaitMs = 13 * 1000;

    Run run;
    QVERIFY(run.startSimulator({QStringLiteral("--no-pacing"), QStringLiteral("--unknown-lines")}));
    QVERIFY(run.startProgram({}));
    QTRY_VERIFY_WITH_TIMEOUT(run.traceText().count("Unexpected status report") >= FloodLines,
                             60000);
    run.simulator.readAllStandardError();
    run.simulator.write("unknown-each off\n");
    QByteArray answer;
    QTRY_VERIFY_WITH_TIMEOUT((answer += run.simulator.readAllStandardError()).startsWith("ok"),
                             5000);
    const int sent = run.traceText().count("Unexpected status report");

    // The episode ends once no such line came for ten seconds; only time can show that.
    QElapsedTimer quiet;
    quiet.start();
    QTRY_VERIFY_WITH_TIMEOUT(quiet.elapsed() >= QuietWaitMs, QuietWaitMs + 5000);
    QVERIFY(run.stopProgram());
    run.stopSimulator();

    const QStringList messages = run.operatorLog().filter(QStringLiteral("Velutra message: "));
    const QStringList summaries = messages.filter(QStringLiteral("more suppressed)"));
    const int shown = messages.size() - summaries.size();
    QVERIFY2(shown == 10, qPrintable(joined(messages)));
    QVERIFY2(summaries.size() == 1, qPrintable(joined(messages)));
    const QRegularExpression summary(
            QStringLiteral("Velutra message: … \\((\\d+) more suppressed\\)$"));
    const QRegularExpressionMatch match = summary.match(summaries.first());
    QVERIFY2(match.hasMatch(), qPrintable(summaries.first()));
    // Every line the device sent is either shown or counted (with any other line the
    // program does not know).
    QVERIFY2(shown + match.captured(1).toInt() >= sent, qPrintable(summaries.first()));

    QVERIFY2(run.dailyLog().size() < 100, qPrintable(joined(run.dailyLog())));
}

void TestLogVolume::silentDeviceForAMinuteAddsFewLines()
{
    QVERIFY(m_silent);
    QTRY_VERIFY_WITH_TIMEOUT(m_silentClock.elapsed() >= SilentRunMs, SilentRunMs + 5000);
    QVERIFY(m_silent->program.state() == QProcess::Running);
    // The handshake kept asking all along (every two seconds, after the first two).
    QVERIFY2(m_silent->commandCount("ly_system_info") >= 20,
             qPrintable(QString::number(m_silent->commandCount("ly_system_info"))));
    QVERIFY(m_silent->stopProgram());
    m_silent->stopSimulator();

    // Every trace was on (--verbose), and still the minute left only a few lines.
    const QStringList daily = m_silent->dailyLog();
    QVERIFY2(daily.size() < 100, qPrintable(joined(daily)));
    const int connectTraces = daily.filter(QStringLiteral("stSendConnectCmd")).size();
    QVERIFY2(connectTraces >= 1 && connectTraces <= 20, qPrintable(joined(daily)));

    const QStringList operatorLog = m_silent->operatorLog();
    QVERIFY2(operatorLog.size() < 100, qPrintable(joined(operatorLog)));
    QCOMPARE(operatorLog.filter(QStringLiteral("no answer from the device")).size(), 1);
}

QTEST_GUILESS_MAIN(TestLogVolume)
#include "tst_logvolume.moc"
