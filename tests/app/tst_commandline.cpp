#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

class TestCommandLine : public QObject
{
    Q_OBJECT

private:
    // Runs the program as a user would on a machine without a display.
    QProcess *run(const QStringList &arguments)
    {
        auto *process = new QProcess(this);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path());
        process->setProcessEnvironment(environment);
        process->start(QStringLiteral(VELUTRA_XP_BINARY), arguments);
        return process;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_runtime.isValid());
        QFile::setPermissions(m_runtime.path(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    void versionNeedsNoDisplay()
    {
        QProcess *process = run({QStringLiteral("--version")});
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitCode(), 0);
        QCOMPARE(process->readAllStandardOutput().trimmed(), QByteArray("VELUTRA-XP 1.0.25.680"));
    }

    void helpListsTheOptions()
    {
        QProcess *process = run({QStringLiteral("--help")});
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitCode(), 0);
        const QByteArray text = process->readAllStandardOutput();
        QVERIFY(text.contains("--list-ports"));
        QVERIFY(text.contains("--connect <port>"));
        QVERIFY(text.contains("--version"));
        QVERIFY(text.contains("--verbose"));
        QVERIFY(text.contains("QT_LOGGING_RULES"));
    }

    void listPortsPrintsAnnouncedPorts()
    {
        const QString folder = m_runtime.path() + QStringLiteral("/velutra-xp/ports");
        QVERIFY(QDir().mkpath(folder));
        const QString device = m_runtime.filePath(QStringLiteral("fake-device"));
        QFile(device).open(QIODevice::WriteOnly);
        QFile file(folder + QStringLiteral("/test.port"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QStringLiteral("path=%1\ndescription=Virtual laser under test\npid=%2\n")
                           .arg(device)
                           .arg(::getpid())
                           .toUtf8());
        file.close();

        QProcess *process = run({QStringLiteral("--list-ports")});
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitCode(), 0);
        const QByteArray text = process->readAllStandardOutput();
        QVERIFY2(text.contains((device + QStringLiteral("\tVirtual laser under test\n")).toUtf8()),
                 text.constData());
    }

    void windowWithoutDisplayExplainsInsteadOfAborting()
    {
        QProcess *process = run({});
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitStatus(), QProcess::NormalExit);
        QCOMPARE(process->exitCode(), 2);
        QVERIFY(process->readAllStandardError().contains("no display"));
    }

    void unknownOptionIsRefused()
    {
        QProcess *process = run({QStringLiteral("--list-ports"), QStringLiteral("--bogus")});
        QVERIFY(process->waitForFinished(30000));
        QCOMPARE(process->exitCode(), 1);
        QVERIFY(process->readAllStandardError().contains("bogus"));
    }

private:
    QTemporaryDir m_runtime;
};

QTEST_GUILESS_MAIN(TestCommandLine)
#include "tst_commandline.moc"
