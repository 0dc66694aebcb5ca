#include "simulatorsession.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

class TestProgramWithSimulator : public QObject
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

    QByteArray trace() const
    {
        QFile file(m_home.filePath(QStringLiteral("trace.txt")));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        QVERIFY(QDir().mkpath(m_home.filePath(QStringLiteral("runtime"))));
        QFile::setPermissions(m_home.filePath(QStringLiteral("runtime")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        m_simulator.setProcessEnvironment(environment());
        QVERIFY(startSimulatorProcess(m_simulator,
                                      {QStringLiteral("--module"), QStringLiteral("0x93"),
                                       QStringLiteral("--trace"),
                                       m_home.filePath(QStringLiteral("trace.txt"))},
                                      &m_port));
        QVERIFY(m_port.startsWith(QLatin1Char('/')));
    }

    void cleanupTestCase()
    {
        if (m_simulator.state() != QProcess::NotRunning) {
            m_simulator.terminate();
            QVERIFY(m_simulator.waitForFinished(10000));
        }
    }

    void listPortsShowsTheVirtualLaser()
    {
        QProcess list;
        QProcessEnvironment env = environment();
        env.remove(QStringLiteral("QT_QPA_PLATFORM"));
        env.remove(QStringLiteral("DISPLAY"));
        list.setProcessEnvironment(env);
        list.start(QStringLiteral(VELUTRA_XP_BINARY), {QStringLiteral("--list-ports")});
        QVERIFY(list.waitForFinished(30000));
        QCOMPARE(list.exitCode(), 0);
        const QString text = QString::fromLocal8Bit(list.readAllStandardOutput());
        QVERIFY2(text.contains(m_port + QLatin1Char('\t')), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("Virtual laser")), qPrintable(text));
    }

    void programConnectsAndShutsDownCleanly()
    {
        QProcess program;
        program.setProcessEnvironment(environment());
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QStringLiteral(VELUTRA_XP_BINARY),
                      {QStringLiteral("--verbose"), QStringLiteral("--connect"), m_port});
        QVERIFY(program.waitForStarted(10000));

        // The real handshake, after the two quiet seconds: identification, then the ready query.
        QTRY_VERIFY_WITH_TIMEOUT(trace().contains("IN  \"ly_system_info\\n\""), 20000);
        QTRY_VERIFY_WITH_TIMEOUT(trace().contains("IN  \"ly_vtx2_dev_status?\\n\""), 20000);
        QVERIFY(program.state() == QProcess::Running);

        ::kill(pid_t(program.processId()), SIGTERM);
        QVERIFY(program.waitForFinished(15000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);

        QFile log(m_home.filePath(QStringLiteral("data/Zelmar/VELUTRA-XP/ApplicationLog.txt")));
        QVERIFY2(log.open(QIODevice::ReadOnly), qPrintable(program.readAll()));
        const QString text = QString::fromUtf8(log.readAll());
        QVERIFY2(text.contains(
                         QStringLiteral("Communication port %1 successfully opened.").arg(m_port)),
                 qPrintable(text));
        QVERIFY(text.contains(QStringLiteral("Signal 15 received: closing.")));
        QVERIFY(text.contains(QStringLiteral("***** Application shutdown")));

        // The daily developer log has the start-up line and, asked for, the handshake traces.
        const QStringList daily = QDir(m_home.filePath(QStringLiteral("data/Zelmar/VELUTRA-XP")))
                                          .entryList({QStringLiteral("applog_*.log")}, QDir::Files);
        QCOMPARE(daily.size(), 1);
        QFile dailyFile(m_home.filePath(QStringLiteral("data/Zelmar/VELUTRA-XP/")) + daily.first());
        QVERIFY(dailyFile.open(QIODevice::ReadOnly));
        const QByteArray dailyText = dailyFile.readAll();
        QVERIFY(dailyText.contains("***** Application startup *****"));
        QVERIFY(dailyText.contains("stSendConnectCmd"));
        QVERIFY(dailyText.contains("stWaitReadyCmd"));
    }

private:
    QTemporaryDir m_home;
    QProcess m_simulator;
    QString m_port;
};

QTEST_GUILESS_MAIN(TestProgramWithSimulator)
#include "tst_programwithsimulator.moc"
