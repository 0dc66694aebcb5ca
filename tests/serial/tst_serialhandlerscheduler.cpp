// The polling scheduler of the serial handler once the link is up: the cyclic
// monitor list, the one-shot settings queue, the gaps between writes.

#include "handlerrig.h"
#include "ptydevice.h"

#include <QLoggingCategory>
#include <QtTest>

#include <atomic>
#include <memory>
#include <vector>

namespace {

static constexpr qint64 NsPerMs = 1000000;

// The commands the device received after the handshake, in order.
QList<QByteArray> pollingTraffic(const PtyDevice &device)
{
    QList<QByteArray> commands;
    for (const PtyDevice::Line &line : device.lines()) {
        if (line.text != "ly_system_info\n" && line.text != "ly_vtx2_dev_status?\n") {
            commands.append(line.text);
        }
    }
    return commands;
}

// The last device write that started before the given instant.
const PtyDevice::Write *lastWriteBefore(const std::vector<PtyDevice::Write> &writes, qint64 ns)
{
    const PtyDevice::Write *found = nullptr;
    for (const PtyDevice::Write &write : writes) {
        if (write.beforeNs < ns) {
            found = &write;
        }
    }
    return found;
}

} // namespace

class TestSerialHandlerScheduler : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void monitorListIsWalkedInOrder();
    void addingSlotsNormaliseCommands();
    void sixteenMillisecondsBetweenWrites();
    void settingsOnlyAfterFullMonitorCycle();
    void settingsWithoutMonitorListAreNotSent();
    void heldCommandsAreNeverWritten();
    void partialReplyHoldsSendingFor60Ms();
    void closingEmitsNoDisconnectedStatus();
};

void TestSerialHandlerScheduler::initTestCase()
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
}

void TestSerialHandlerScheduler::monitorListIsWalkedInOrder()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("b?"));
    rig.addMonitorCommand(QStringLiteral("c?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(pollingTraffic(device).size() >= 9);

    const QList<QByteArray> expected{"a?\n", "b?\n", "c?\n"};
    const QList<QByteArray> seen = pollingTraffic(device);
    for (int index = 0; index < seen.size(); ++index) {
        QCOMPARE(seen.at(index), expected.at(index % 3));
    }
    // Every command written is also shown to the monitor.
    rig.close();
    QTRY_COMPARE(rig.recorder().closed.size(), 1);
    QTRY_COMPARE(rig.recorder().transmitted.size(), device.lineCount());
}

void TestSerialHandlerScheduler::addingSlotsNormaliseCommands()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.addMonitorCommand(QString());
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("b?\n"));
    // Already there, with or without its line end: one entry, first position.
    rig.addMonitorCommand(QStringLiteral("a?\n"));
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("c?"));
    rig.appendSettingsCommand(QString());
    rig.appendSettingsCommand(QString(), false);
    rig.appendSettingsCommand(QString(), true);
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(pollingTraffic(device).size() >= 6);
    QCOMPARE(pollingTraffic(device).mid(0, 6),
             (QList<QByteArray>{"a?\n", "b?\n", "c?\n", "a?\n", "b?\n", "c?\n"}));

    // Removing works with or without the line end; removing the unknown does nothing.
    rig.delMonitorCommand(QStringLiteral("b?"));
    rig.delMonitorCommand(QStringLiteral("x?"));
    QTest::qWait(100);
    device.clearLog();
    QTRY_VERIFY(pollingTraffic(device).size() >= 6);
    const QList<QByteArray> after = pollingTraffic(device);
    QVERIFY(!after.contains("b?\n"));
    QVERIFY(after.contains("a?\n"));
    QVERIFY(after.contains("c?\n"));
    // An empty text never reaches the wire.
    for (const PtyDevice::Line &line : device.lines()) {
        QVERIFY(line.text != "\n");
    }

    // A cleared list stops the polling.
    rig.clearMonitorCommands();
    QTest::qWait(100);
    device.clearLog();
    QTest::qWait(300);
    QCOMPARE(device.lineCount(), 0);
}

void TestSerialHandlerScheduler::sixteenMillisecondsBetweenWrites()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("b?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY_WITH_TIMEOUT(device.lineCount() >= 40, 10000);

    const std::vector<PtyDevice::Line> lines = device.lines();
    const std::vector<PtyDevice::Write> writes = device.writes();
    std::vector<qint64> gapsMs;
    for (size_t index = 1; index < lines.size(); ++index) {
        // The device answers each command at once; the next command must keep
        // 16 ms clear of the answer's last byte.
        const PtyDevice::Write *reply = lastWriteBefore(writes, lines.at(index).arrivalNs);
        QVERIFY(reply);
        const qint64 gapNs = lines.at(index).arrivalNs - reply->beforeNs;
        QVERIFY2(gapNs >= 16 * NsPerMs, qPrintable(QString::number(gapNs)));
        gapsMs.push_back(gapNs / NsPerMs);
    }
    // Between two writes, measured on the handler's own stamps: the device's arrival
    // times are late by its thread's wake-up, which differs from line to line under
    // load. A stamp follows its write's clock restart by the write itself.
    static constexpr qint64 StampSlackNs = NsPerMs / 2;
    const std::vector<qint64> written = rig.recorder().writtenNs();
    QVERIFY(written.size() >= 40);
    for (size_t index = 1; index < written.size(); ++index) {
        const qint64 betweenNs = written.at(index) - written.at(index - 1);
        QVERIFY2(betweenNs >= 16 * NsPerMs - StampSlackNs,
                 qPrintable(QStringLiteral("write %1: %2 ns").arg(index).arg(betweenNs)));
    }
    // Generous: a loaded machine may miss ticks, but polling must go on.
    std::sort(gapsMs.begin(), gapsMs.end());
    const qint64 medianMs = gapsMs.at(gapsMs.size() / 2);
    QVERIFY2(medianMs < 100, qPrintable(QString::number(medianMs)));
}

void TestSerialHandlerScheduler::settingsOnlyAfterFullMonitorCycle()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=1"));
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=2"), false);
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("b?"));
    rig.addMonitorCommand(QStringLiteral("c?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(pollingTraffic(device).size() >= 8);
    QCOMPARE(pollingTraffic(device).mid(0, 8),
             (QList<QByteArray>{"a?\n", "b?\n", "c?\n", "ly_vtx2_power=1\n", "ly_vtx2_power=2\n",
                                "a?\n", "b?\n", "c?\n"}));

    // Once a cycle has completed, a new setting goes out at the next opportunity.
    device.clearLog();
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=3"));
    QTRY_VERIFY(pollingTraffic(device).size() >= 3);
    QVERIFY(pollingTraffic(device).mid(0, 3).contains("ly_vtx2_power=3\n"));
    QCOMPARE(device.countLines("ly_vtx2_power=3\n"), 1);
}

void TestSerialHandlerScheduler::settingsWithoutMonitorListAreNotSent()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    QVERIFY(connectToReadyLaser(rig, device));
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=1"));
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=2"), false);
    QTest::qWait(500);
    QCOMPARE(pollingTraffic(device), QList<QByteArray>());

    // They were kept: a monitor list lets them out after its first cycle.
    rig.addMonitorCommand(QStringLiteral("a?"));
    QTRY_VERIFY(pollingTraffic(device).size() >= 4);
    QCOMPARE(pollingTraffic(device).mid(0, 4),
             (QList<QByteArray>{"a?\n", "ly_vtx2_power=1\n", "ly_vtx2_power=2\n", "a?\n"}));
}

void TestSerialHandlerScheduler::heldCommandsAreNeverWritten()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.appendSettingsCommand(QStringLiteral("held=1"), true);
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("b?"));
    QVERIFY(connectToReadyLaser(rig, device));
    rig.appendSettingsCommand(QStringLiteral("held=2"), true);
    rig.appendSettingsCommand(QStringLiteral("sent=1"));
    QTRY_VERIFY(device.countLines("sent=1\n") == 1);
    QTRY_VERIFY(pollingTraffic(device).size() >= 12);
    for (const QByteArray &command : pollingTraffic(device)) {
        QVERIFY2(!command.startsWith("held"), command.constData());
    }
    for (const auto &traffic : rig.recorder().transmitted) {
        QVERIFY(!traffic.second.startsWith("held"));
    }
}

void TestSerialHandlerScheduler::partialReplyHoldsSendingFor60Ms()
{
    // The answer to "a?" arrives once without its line end.
    auto partials = std::make_shared<std::atomic<int>>(0);
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("b?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(device.countLines("b?\n") >= 1);
    device.setResponder([partials](const QByteArray &line) {
        if (line == "a?\n" && partials->fetch_add(1) == 0) {
            return line + "a=12";
        }
        return readyLaserReply(line);
    });
    QTRY_VERIFY(partials->load() >= 1);

    // The next command must wait for the read pause, not just the 16 ms gap.
    const auto findPartialWrite = [&device]() -> std::unique_ptr<PtyDevice::Write> {
        for (const PtyDevice::Write &write : device.writes()) {
            if (write.bytes == "a?\na=12") {
                return std::make_unique<PtyDevice::Write>(write);
            }
        }
        return nullptr;
    };
    QTRY_VERIFY(findPartialWrite());
    const std::unique_ptr<PtyDevice::Write> partialWrite = findPartialWrite();
    const auto findNext = [&device, &partialWrite]() -> std::unique_ptr<PtyDevice::Line> {
        for (const PtyDevice::Line &line : device.lines()) {
            if (line.arrivalNs > partialWrite->afterNs) {
                return std::make_unique<PtyDevice::Line>(line);
            }
        }
        return nullptr;
    };
    QTRY_VERIFY(findNext());
    const std::unique_ptr<PtyDevice::Line> next = findNext();
    QCOMPARE(next->text, QByteArray("b?\n"));
    const qint64 waitedMs = (next->arrivalNs - partialWrite->beforeNs) / NsPerMs;
    QVERIFY2(waitedMs >= 60, qPrintable(QString::number(waitedMs)));

    // The partial answer stays in the buffer: the next bytes complete it, here
    // the echo of the next command, which then acknowledges nothing.
    QVERIFY(!rig.recorder().lines.contains("a=12"));
    QTRY_VERIFY(rig.recorder().lines.contains("a=12b?\n"));
}

void TestSerialHandlerScheduler::closingEmitsNoDisconnectedStatus()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    rig.addMonitorCommand(QStringLiteral("a?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(device.countLines("a?\n") >= 2);
    const int statusCount = rig.recorder().connectedStatus.size();

    rig.close();
    QTRY_COMPARE(rig.recorder().closed, QStringList{device.slavePath()});
    QTRY_COMPARE(rig.recorder().statusMessages.last(),
                 QStringLiteral("Communication port %1 closed.").arg(device.slavePath()));
    QTest::qWait(300);
    QCOMPARE(rig.recorder().connectedStatus.size(), statusCount);

    // The monitor list went with the port: a new connection polls nothing until
    // the list is filled again.
    device.clearLog();
    rig.open(device.slavePath());
    QTRY_COMPARE_WITH_TIMEOUT(rig.recorder().opened.size(), 2, 3000);
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().countConnected(true) == 2, 8000);
    QTest::qWait(300);
    QCOMPARE(device.countLines("a?\n"), 0);
}

QTEST_GUILESS_MAIN(TestSerialHandlerScheduler)
#include "tst_serialhandlerscheduler.moc"
