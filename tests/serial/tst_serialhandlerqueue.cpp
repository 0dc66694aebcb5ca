// The settings queue when the link is lost and when it fills up: settings that
// can no longer be trusted to reach the right laser at the right time are
// dropped, queries are kept, and the operator is told once.

#include "handlerrig.h"
#include "ptydevice.h"

#include <QLoggingCategory>
#include <QtTest>

namespace {

QByteArray silence(const QByteArray &)
{
    return {};
}

// The commands the device received after the handshake, without the monitor
// list's own query.
QList<QByteArray> settingsTraffic(const PtyDevice &device)
{
    QList<QByteArray> commands;
    for (const PtyDevice::Line &line : device.lines()) {
        if (line.text != "ly_system_info\n" && line.text != "ly_vtx2_dev_status?\n"
            && line.text != "a?\n") {
            commands.append(line.text);
        }
    }
    return commands;
}

QString discardedMessage(int count)
{
    return QStringLiteral("%1 queued command(s) discarded: link lost").arg(count);
}

QStringList messagesStartingWith(HandlerRig &rig, const QString &start)
{
    QStringList found;
    for (const QString &message : rig.recorder().statusMessages) {
        if (message.startsWith(start)) {
            found.append(message);
        }
    }
    return found;
}

} // namespace

class TestSerialHandlerQueue : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void silentDeviceDiscardsSettings();
    void closeDiscardsSettings_data();
    void closeDiscardsSettings();
    void queriesOnlyAreNotReported();
    void fullQueueDropsOldestSetting();
    void fullQueueOfQueriesDropsOldestQuery();
};

void TestSerialHandlerQueue::initTestCase()
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
}

void TestSerialHandlerQueue::silentDeviceDiscardsSettings()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.addMonitorCommand(QStringLiteral("a?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(device.countLines("a?\n") >= 2);

    // The laser stops answering while a poll is outstanding; the settings queued
    // behind it cannot go out.
    device.setResponder(silence);
    device.clearLog();
    QTRY_VERIFY(device.lineCount() >= 1);
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=1"));
    rig.appendSettingsCommand(QStringLiteral("ls_wavelength?"));
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=2\n"));
    rig.appendSettingsCommand(QStringLiteral("held=1"), true);

    QTRY_VERIFY_WITH_TIMEOUT(!rig.recorder().lastConnected(), 8000);
    QCOMPARE(rig.recorder().statusMessages.filter(QStringLiteral("discarded")),
             QStringList{discardedMessage(2)});

    // The laser is back: the query is answered, the settings never arrive.
    device.setResponder(readyLaserReply);
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().lastConnected(), 8000);
    QTRY_VERIFY_WITH_TIMEOUT(device.countLines("ls_wavelength?\n") == 1, 5000);
    QTRY_VERIFY(device.countLines("a?\n") >= 4);
    QCOMPARE(device.countLines("ly_vtx2_power=1\n"), 0);
    QCOMPARE(device.countLines("ly_vtx2_power=2\n"), 0);
    QCOMPARE(device.countLines("held=1\n"), 0);
    QCOMPARE(rig.recorder().statusMessages.filter(QStringLiteral("discarded")).size(), 1);
}

void TestSerialHandlerQueue::closeDiscardsSettings_data()
{
    QTest::addColumn<bool>("deviceGone");
    QTest::newRow("operator closes") << false;
    QTest::newRow("device goes away") << true;
}

void TestSerialHandlerQueue::closeDiscardsSettings()
{
    QFETCH(bool, deviceGone);

    // Connected with an empty monitor list: queued settings stay queued.
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    QVERIFY(connectToReadyLaser(rig, device));
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=1"));
    rig.appendSettingsCommand(QStringLiteral("ls_wavelength?"));
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_output=1"));
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power?"));
    rig.appendSettingsCommand(QStringLiteral("held=1"), true);
    QTest::qWait(200);
    QCOMPARE(settingsTraffic(device), QList<QByteArray>());

    if (deviceGone) {
        device.closeMaster();
    } else {
        rig.close();
    }
    QTRY_COMPARE_WITH_TIMEOUT(rig.recorder().closed.size(), 1, 5000);
    QTRY_VERIFY(rig.recorder().statusMessages.contains(
            QStringLiteral("Communication port %1 closed.").arg(device.slavePath())));
    QCOMPARE(rig.recorder().statusMessages.filter(QStringLiteral("discarded")),
             QStringList{discardedMessage(2)});
    if (deviceGone) {
        return;
    }

    // The same port again, now polled: only the queries are still waiting.
    rig.open(device.slavePath());
    rig.addMonitorCommand(QStringLiteral("a?"));
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().countConnected(true) == 2, 8000);
    QTRY_VERIFY(device.countLines("a?\n") >= 3);
    QCOMPARE(settingsTraffic(device), (QList<QByteArray>{"ls_wavelength?\n", "ly_vtx2_power?\n"}));
}

void TestSerialHandlerQueue::queriesOnlyAreNotReported()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    QVERIFY(connectToReadyLaser(rig, device));
    rig.appendSettingsCommand(QStringLiteral("ls_wavelength?"));
    rig.close();
    QTRY_COMPARE(rig.recorder().closed.size(), 1);
    QTRY_COMPARE(rig.recorder().statusMessages.last(),
                 QStringLiteral("Communication port %1 closed.").arg(device.slavePath()));
    QCOMPARE(rig.recorder().statusMessages.filter(QStringLiteral("discarded")), QStringList());
}

void TestSerialHandlerQueue::fullQueueDropsOldestSetting()
{
    // With no monitor list nothing leaves the queue, so it fills: 10 queries, then
    // 290 settings. The oldest 44 settings make way; the queries stay.
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    QVERIFY(connectToReadyLaser(rig, device));
    QList<QByteArray> expected;
    for (int index = 0; index < 10; ++index) {
        rig.appendSettingsCommand(QStringLiteral("q%1?").arg(index));
        expected.append(QStringLiteral("q%1?\n").arg(index).toLatin1());
    }
    for (int index = 0; index < 290; ++index) {
        rig.appendSettingsCommand(QStringLiteral("s=%1").arg(index));
        if (index >= 44) {
            expected.append(QStringLiteral("s=%1\n").arg(index).toLatin1());
        }
    }
    QTRY_COMPARE(messagesStartingWith(rig, QStringLiteral("Settings queue full")),
                 QStringList{QStringLiteral("Settings queue full (256): dropped s=0")});

    rig.addMonitorCommand(QStringLiteral("a?"));
    QTRY_VERIFY_WITH_TIMEOUT(settingsTraffic(device).size() >= 256, 60000);
    QTRY_VERIFY(device.countLines("a?\n") >= 3);
    QCOMPARE(settingsTraffic(device), expected);
    // One report for the whole episode.
    QCOMPARE(messagesStartingWith(rig, QStringLiteral("Settings queue full")).size(), 1);
}

void TestSerialHandlerQueue::fullQueueOfQueriesDropsOldestQuery()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    QVERIFY(connectToReadyLaser(rig, device));
    for (int index = 0; index < 258; ++index) {
        rig.appendSettingsCommand(QStringLiteral("q%1?").arg(index));
    }
    QTRY_COMPARE(messagesStartingWith(rig, QStringLiteral("Settings queue full")),
                 QStringList{QStringLiteral("Settings queue full (256): dropped q0?")});

    rig.addMonitorCommand(QStringLiteral("a?"));
    QTRY_VERIFY_WITH_TIMEOUT(settingsTraffic(device).size() >= 256, 60000);
    QTRY_VERIFY(device.countLines("a?\n") >= 3);
    const QList<QByteArray> received = settingsTraffic(device);
    QCOMPARE(received.size(), 256);
    QCOMPARE(received.first(), QByteArray("q2?\n"));
    QCOMPARE(received.last(), QByteArray("q257?\n"));

    // The queue emptied, so the next overflow is a new episode with its own report.
    // A poll left unanswered keeps the new commands waiting.
    device.setResponder(silence);
    device.clearLog();
    QTRY_VERIFY(device.lineCount() >= 1);
    for (int index = 0; index < 257; ++index) {
        rig.appendSettingsCommand(QStringLiteral("r=%1").arg(index));
    }
    QTRY_COMPARE(messagesStartingWith(rig, QStringLiteral("Settings queue full")).size(), 2);
    QCOMPARE(messagesStartingWith(rig, QStringLiteral("Settings queue full")).last(),
             QStringLiteral("Settings queue full (256): dropped r=0"));
}

QTEST_GUILESS_MAIN(TestSerialHandlerQueue)
#include "tst_serialhandlerqueue.moc"
