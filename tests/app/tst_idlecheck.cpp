// The real program left alone for a minute with a laser that keeps changing on its own
// (state, module errors coming and going, flags, shutter warnings, temperatures, power) and
// whose debug output starts switched on: it must keep polling, stay alive, and write no
// setting but the one that switches the debug output off. bench_soak does the same for
// hours, with re-plugs.
//
// VELUTRA_IDLE_SECONDS changes the length (default 60).

#include "simulatorsession.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

namespace {

static constexpr int DefaultSeconds = 60;
// A paced cycle of the THGi list takes well under two seconds even under the sanitizers;
// one every six seconds is far below that and far above zero.
static constexpr int SecondsPerCycleAtWorst = 6;

bool isReadOnly(const QByteArray &command)
{
    static const QList<QByteArray> plainReads = {"s6", "s7", "s8", "s9", "ly_system_info"};
    return command.endsWith('?') || plainReads.contains(command);
}

// The resident set of a process, in KiB, from /proc; -1 once it is gone.
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

} // namespace

class TestIdleCheck : public QObject
{
    Q_OBJECT

private:
    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_home.filePath(QStringLiteral("runtime")));
        env.insert(QStringLiteral("XDG_DATA_HOME"), m_home.filePath(QStringLiteral("data")));
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home.filePath(QStringLiteral("config")));
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        return env;
    }

    QList<QByteArray> writtenCommands() const
    {
        QList<QByteArray> commands;
        QFile file(m_home.filePath(QStringLiteral("trace.txt")));
        if (!file.open(QIODevice::ReadOnly)) {
            return commands;
        }
        static const QByteArray marker = " CMD \"";
        while (!file.atEnd()) {
            const QByteArray line = file.readLine();
            const int at = line.indexOf(marker);
            if (at > 0 && line.endsWith("\"\n")) {
                const int from = at + marker.size();
                commands.append(line.mid(from, line.size() - from - 2));
            }
        }
        return commands;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        QVERIFY(QDir().mkpath(m_home.filePath(QStringLiteral("runtime"))));
        QFile::setPermissions(m_home.filePath(QStringLiteral("runtime")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void cleanup()
    {
        for (QProcess *process : {&m_program, &m_simulator}) {
            if (process->state() != QProcess::NotRunning) {
                process->kill();
                process->waitForFinished(5000);
            }
        }
    }

    void idleProgramOnlyReads()
    {
        const int seconds = qEnvironmentVariableIntValue("VELUTRA_IDLE_SECONDS") > 0
                                    ? qEnvironmentVariableIntValue("VELUTRA_IDLE_SECONDS")
                                    : DefaultSeconds;

        // Real time and the real byte rate: a churn step every second, so every kind of
        // change comes round ten times a minute.
        m_simulator.setProcessEnvironment(environment());
        QString port;
        QVERIFY(startSimulatorProcess(m_simulator,
                                      {QStringLiteral("--module"), QStringLiteral("0x93"),
                                       QStringLiteral("--churn"), QStringLiteral("1"),
                                       QStringLiteral("--debug-output"), QStringLiteral("--trace"),
                                       m_home.filePath(QStringLiteral("trace.txt"))},
                                      &port));
        QVERIFY(port.startsWith(QLatin1Char('/')));

        m_program.setProcessEnvironment(environment());
        m_program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_program.start(QStringLiteral(VELUTRA_XP_BINARY), {QStringLiteral("--connect"), port});
        QVERIFY(m_program.waitForStarted(10000));

        // Counted from the first status record, after the handshake's quiet seconds.
        QTRY_VERIFY_WITH_TIMEOUT(writtenCommands().contains("s6"), 30000);
        const qint64 rssAtStartKiB = residentKiB(m_program.processId());
        QTest::qWait(seconds * 1000);
        const qint64 rssAtEndKiB = residentKiB(m_program.processId());
        QCOMPARE(m_program.state(), QProcess::Running);

        const QList<QByteArray> written = writtenCommands();
        QList<QByteArray> setCommands;
        int debugOff = 0;
        for (const QByteArray &command : written) {
            if (command == "d2=0") {
                ++debugOff;
            } else if (!isReadOnly(command)) {
                setCommands.append(command);
            }
        }
        const int cycles = int(written.count("s6"));
        qInfo("%d s idle: %d polling cycles, %d commands, d2=0 written %d time(s), RSS %lld KiB "
              "at the first cycle, %lld KiB at the end",
              seconds, cycles, int(written.size()), debugOff, rssAtStartKiB, rssAtEndKiB);

        QCOMPARE(setCommands, QList<QByteArray>());
        // The device said its debug output was on: the program owes it exactly that one.
        QCOMPARE(debugOff, 1);
        QVERIFY2(cycles > seconds / SecondsPerCycleAtWorst, qPrintable(QString::number(cycles)));

        ::kill(pid_t(m_program.processId()), SIGTERM);
        QVERIFY(m_program.waitForFinished(15000));
        QCOMPARE(m_program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_program.exitCode(), 0);
    }

private:
    QTemporaryDir m_home;
    QProcess m_simulator;
    QProcess m_program;
};

QTEST_GUILESS_MAIN(TestIdleCheck)
#include "tst_idlecheck.moc"
