// Whose port is it: the whole program in this process, a virtual laser as its own process.
// The laser goes away and something else takes its device name (another laser, a program
// that talks nonsense): the program must see that, say so, close the port and stop looking,
// having written nothing but the handshake to the newcomer. The same laser back is taken up
// as before. A first connect to something that never answers like a laser ends likewise.

#include "_applog.h"
#include "centertabwidget.h"
#include "fakeport.h"
#include "maincontrolpanel.h"
#include "portreconnector.h"
#include "reconnectoption.h"
#include "reconnecttesthome.h"
#include "serialmonitor.h"
#include "simulatorsession.h"

#include <QStatusBar>
#include <QTextDocument>
#include <QtTest>

namespace {

// The serial number velutra-sim gives its Velutra-10.
const QByteArray s_laserSerial = "VX10-2503-0042";

QString logSince(int mark)
{
    return _AppLog::getLogDocument()->toPlainText().mid(mark);
}

int logMark()
{
    return _AppLog::getLogDocument()->toPlainText().size();
}

int tabCount(MainWindow &window)
{
    return qobject_cast<CenterTabWidget *>(window.centralWidget())->count();
}

bool isHandshakeCommand(const QByteArray &line)
{
    return line == "ly_system_info\n" || line == "ly_vtx2_dev_status?\n";
}

enum class Newcomer {
    OtherSerialNumber,
    OtherModel,
    Nonsense,
};

} // namespace

Q_DECLARE_METATYPE(Newcomer)

class TestReconnectIdentity : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(makeTestHome(m_home)); }

    void init()
    {
        _AppLog::getLogDocument()->clear();
        ReconnectOption::setReconnectEnabled(true);
        ++m_round;
    }

    void anotherDeviceOnThePathIsRefused_data()
    {
        QTest::addColumn<Newcomer>("newcomer");
        QTest::newRow("laser with another serial number") << Newcomer::OtherSerialNumber;
        QTest::newRow("laser of another model") << Newcomer::OtherModel;
        QTest::newRow("program that never says Velutra-") << Newcomer::Nonsense;
    }

    void anotherDeviceOnThePathIsRefused()
    {
        QFETCH(Newcomer, newcomer);
        const QString link = path("ttyUSB0");
        MainWindow window;
        window.show();
        SimulatorSession laser;
        connectToLaser(window, laser, link);
        if (QTest::currentTestFailed()) {
            return;
        }

        QCOMPARE(laser.control("unplug"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(window.isReconnecting(), 5000);

        FakePort other;
        QVERIFY(other.isOpen());
        switch (newcomer) {
        case Newcomer::OtherSerialNumber:
            other.setIdentity("Velutra-10", "VX10-2503-0099");
            break;
        case Newcomer::OtherModel:
            other.setIdentity("Velutra-3", "VX3-2409-0007");
            break;
        case Newcomer::Nonsense:
            other.setAnswerHandshake(false);
            connect(&other, &FakePort::lineReceived, &other,
                    [&other](const QByteArray &) { other.write("?? unknown command\n"); });
            break;
        }
        other.setEchoCommands(true);
        const int mark = logMark();
        QVERIFY(other.makeLink(link));

        // Opened again, but held until the device has said who it is: no input taken, and a
        // setting asked for meanwhile never reaches it.
        QTRY_COMPARE_WITH_TIMEOUT(window.openPortName(), link, 10000);
        auto *panel = window.findChild<MainControlPanel *>();
        QVERIFY(panel);
        QVERIFY(panel->isHeld());
        QVERIFY(!panel->isEnabled());
        QCOMPARE(panel->holdNote(),
                 QStringLiteral("Checking that the device on ttyUSB0 is the laser VX10-2503-0042 "
                                "that was connected…"));
        auto *monitor = window.findChild<SerialMonitor *>();
        QVERIFY(monitor);
        emit monitor->sigSendCommand(QByteArray("ly_vtx2_power=1234\n"));

        const QString refusal
                = QStringLiteral("The device on ttyUSB0 is not the laser VX10-2503-0042 that was "
                                 "connected");
        QTRY_VERIFY_WITH_TIMEOUT(logSince(mark).contains(refusal),
                                 LaserIdentityCheck::IdentifyTimeoutMs + 10000);
        const int bytesAtRefusal = other.bytesReceived();
        QCOMPARE(window.statusBar()->currentMessage(), refusal);
        QVERIFY(!window.isReconnecting());
        QVERIFY(window.openPortName().isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(
                logSince(mark).contains(QStringLiteral("Communication port %1 closed.").arg(link)),
                5000);
        const int bytesAtClose = other.bytesReceived();
        QTRY_COMPARE(tabCount(window), 0);
        QTRY_VERIFY(!currentController(window));

        // Nothing more: not a poll, not a new open, for longer than a polling cycle and two
        // looks of the reconnector.
        QTest::qWait(2 * PortReconnector::RetryIntervalMs + 1000);
        QCOMPARE(other.bytesReceived(), bytesAtClose);
        if (newcomer != Newcomer::Nonsense) {
            // The handshake was through and the handler idle when the verdict came.
            QCOMPARE(bytesAtClose, bytesAtRefusal);
        }
        QVERIFY(window.openPortName().isEmpty());
        QVERIFY(!window.isReconnecting());
        QCOMPARE(window.statusBar()->currentMessage(), refusal);
        const QList<QByteArray> written = other.receivedLines();
        QVERIFY(written.contains("ly_system_info\n"));
        for (const QByteArray &line : written) {
            QVERIFY2(isHandshakeCommand(line), line.constData());
        }
        QCOMPARE(logSince(mark).count(refusal), 1);
        QVERIFY(!logSince(mark).contains(QStringLiteral("Reconnected to")));
    }

    void sameLaserIsTakenUpAgain()
    {
        const QString link = path("ttyUSB0");
        MainWindow window;
        window.show();
        SimulatorSession laser;
        connectToLaser(window, laser, link);
        if (QTest::currentTestFailed()) {
            return;
        }
        QCOMPARE(laser.control("unplug"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(window.isReconnecting(), 5000);

        // The same laser (model and serial number) answering through another device.
        FakePort same;
        same.setIdentity("Velutra-10", s_laserSerial);
        same.setEchoCommands(true);
        const int mark = logMark();
        QVERIFY(same.makeLink(link));
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 15000);
        QCOMPARE(window.openPortName(), link);
        auto *panel = window.findChild<MainControlPanel *>();
        QVERIFY(panel);
        QVERIFY(!panel->isHeld());
        QVERIFY(logSince(mark).contains(QStringLiteral("Reconnected to ttyUSB0 after")));
        QVERIFY(!logSince(mark).contains(QStringLiteral("is not the laser")));
        QVERIFY(window.statusBar()->currentMessage().isEmpty());
        // Polling goes on where it left off.
        QTRY_VERIFY_WITH_TIMEOUT(same.receivedLines().contains("s6\n"), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(same.receivedLines().contains("d2?\n"), 10000);
    }

    void firstConnectToSomethingElseIsGivenUp()
    {
        FakePort other;
        other.setAnswerHandshake(false);
        connect(&other, &FakePort::lineReceived, &other,
                [&other](const QByteArray &) { other.write("ERROR 17: syntax\n"); });
        MainWindow window;
        window.show();
        const int mark = logMark();
        window.connectToPort(other.path());
        QTRY_COMPARE(window.openPortName(), other.path());
        auto *panel = window.findChild<MainControlPanel *>();
        QVERIFY(panel);
        QVERIFY(panel->isHeld());
        QVERIFY(!panel->isEnabled());

        const QString message
                = QStringLiteral("The device on %1 does not answer like a Velutra laser; the port "
                                 "is closed.")
                          .arg(PortReconnector::shortName(other.path()));
        QTRY_VERIFY_WITH_TIMEOUT(logSince(mark).contains(message),
                                 LaserIdentityCheck::IdentifyTimeoutMs + 10000);
        QCOMPARE(window.statusBar()->currentMessage(), message);
        QVERIFY(window.openPortName().isEmpty());
        QVERIFY(!window.isReconnecting());
        QTRY_VERIFY_WITH_TIMEOUT(
                logSince(mark).contains(
                        QStringLiteral("Communication port %1 closed.").arg(other.path())),
                5000);
        QTRY_COMPARE(tabCount(window), 0);
        QTRY_VERIFY(!currentController(window));
        const int bytesAtClose = other.bytesReceived();
        QTest::qWait(2 * PortReconnector::RetryIntervalMs + 1000);
        QCOMPARE(other.bytesReceived(), bytesAtClose);
        for (const QByteArray &line : other.receivedLines()) {
            QVERIFY2(isHandshakeCommand(line), line.constData());
        }
    }

    void silentDeviceIsNotGivenUp()
    {
        // A laser that is switched off says nothing; the program keeps asking.
        FakePort silent;
        silent.setAnswerHandshake(false);
        MainWindow window;
        const int mark = logMark();
        window.connectToPort(silent.path());
        QTRY_COMPARE(window.openPortName(), silent.path());
        QTest::qWait(LaserIdentityCheck::IdentifyTimeoutMs + 2000);
        QCOMPARE(window.openPortName(), silent.path());
        QVERIFY(!logSince(mark).contains(QStringLiteral("does not answer like")));
        QVERIFY(silent.receivedLines().count("ly_system_info\n") >= 3);
    }

private:
    void connectToLaser(MainWindow &window, SimulatorSession &laser, const QString &link)
    {
        QVERIFY(laser.startOnLink(path("trace.txt"), link, QStringLiteral("none")));
        window.connectToPort(link);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 20000);
    }

    QString path(const char *name) const
    {
        const QString folder = m_home.filePath(QStringLiteral("round-%1").arg(m_round));
        QDir().mkpath(folder);
        return folder + QLatin1Char('/') + QLatin1String(name);
    }

    QTemporaryDir m_home;
    int m_round = 0;
};

QTEST_MAIN(TestReconnectIdentity)
#include "tst_reconnectidentity.moc"
