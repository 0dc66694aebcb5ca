// The connect handshake of the serial handler: the settle after opening, the
// identification and ready-status exchange, refused and missing replies.

#include "handlerrig.h"
#include "ptydevice.h"

#include <QLoggingCategory>
#include <QtTest>

#include <atomic>
#include <memory>
#include <vector>

namespace {

static constexpr qint64 NsPerMs = 1000000;
static constexpr char IdentifyCommand[] = "ly_system_info\n";
static constexpr char StatusCommand[] = "ly_vtx2_dev_status?\n";

// Timeouts are measured on the handler's own write stamps (the device's arrival
// times are late by its thread's wake-up, which on a loaded machine differs from
// line to line). A stamp follows the start of the command timer by the write
// itself; this much room is left below the nominal length for that.
static constexpr qint64 StampSlackMs = 10;

} // namespace

class TestSerialHandlerHandshake : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void settlesTwoSecondsBeforeIdentifying();
    void handshakeConnects();
    void handshakeInGuiThread();
    void readyBitsMakeReady();
    void silentDeviceGetsOneResendThenDisconnects();
    void crLfEchoDoesNotAcknowledge();
};

void TestSerialHandlerHandshake::initTestCase()
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
}

void TestSerialHandlerHandshake::settlesTwoSecondsBeforeIdentifying()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    device.setResponder(readyLaserReply);
    device.start();
    HandlerRig rig;
    // The open happens after this instant, so the settle must show in full.
    const qint64 requestedNs = PtyDevice::nowNs();
    rig.open(device.slavePath());

    QTRY_VERIFY_WITH_TIMEOUT(device.lineCount() >= 1, 6000);
    const PtyDevice::Line first = device.lines().front();
    QCOMPARE(first.text, QByteArray(IdentifyCommand));
    const qint64 waitedMs = (first.arrivalNs - requestedNs) / NsPerMs;
    QVERIFY2(waitedMs >= 2000, qPrintable(QString::number(waitedMs)));
    QVERIFY2(waitedMs < 4000, qPrintable(QString::number(waitedMs)));

    // The first tick reports "not connected" before anything else happens.
    QVERIFY(!rig.recorder().connectedStatus.isEmpty());
    QCOMPARE(rig.recorder().connectedStatus.first().value, false);
}

void TestSerialHandlerHandshake::handshakeConnects()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig;
    // Settings queued while the list is empty wait for a monitor cycle that never comes.
    rig.appendSettingsCommand(QStringLiteral("ly_vtx2_power=1.5"));
    QVERIFY(connectToReadyLaser(rig, device));

    const std::vector<PtyDevice::Line> lines = device.lines();
    QCOMPARE(lines.size(), size_t(2));
    QCOMPARE(lines.at(0).text, QByteArray(IdentifyCommand));
    QCOMPARE(lines.at(1).text, QByteArray(StatusCommand));
    QCOMPARE(rig.recorder().countConnected(true), 1);
    QCOMPARE(rig.recorder().transmitted.size(), 2);

    // Connected with an empty monitor list: nothing at all is written.
    QTest::qWait(600);
    QCOMPARE(device.lineCount(), 2);
    QCOMPARE(rig.recorder().countConnected(false), 1);

    // Echoes and answers all reach the decoder, terminators attached.
    const QList<QByteArray> expected{"ly_system_info\n", "Velutra-10 test unit\r",
                                     "ly_vtx2_dev_status?\n", "ly_vtx2_dev_status 8\r"};
    QCOMPARE(rig.recorder().lines, expected);
}

void TestSerialHandlerHandshake::handshakeInGuiThread()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig(HandlerRig::Thread::Main);
    rig.addMonitorCommand(QStringLiteral("ls_wavelength?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(device.countLines("ls_wavelength?\n") >= 3);
}

void TestSerialHandlerHandshake::readyBitsMakeReady()
{
    // Each of the ready bits alone is enough. The devices run side by side so
    // that their settles overlap.
    const std::vector<int> readyValues{8, 32, 64, 128, 0xE8, 0x108, 12};
    std::vector<std::unique_ptr<PtyDevice>> devices;
    std::vector<std::unique_ptr<HandlerRig>> rigs;
    for (const int value : readyValues) {
        devices.push_back(std::make_unique<PtyDevice>());
        rigs.push_back(std::make_unique<HandlerRig>());
        PtyDevice &device = *devices.back();
        QVERIFY(device.isValid());
        const QByteArray reply = "ly_vtx2_dev_status " + QByteArray::number(value) + "\r\n";
        device.setResponder([reply](const QByteArray &line) {
            return line == StatusCommand ? line + reply : readyLaserReply(line);
        });
        device.start();
        rigs.back()->open(device.slavePath());
    }
    for (size_t index = 0; index < readyValues.size(); ++index) {
        HandlerRig &rig = *rigs.at(index);
        QVERIFY2(waitFor([&rig] { return rig.recorder().lastConnected(); }, 8000),
                 qPrintable(QString::number(readyValues.at(index))));
        QCOMPARE(devices.at(index)->countLines(IdentifyCommand), 1);
        QCOMPARE(devices.at(index)->countLines(StatusCommand), 1);
    }
}

void TestSerialHandlerHandshake::silentDeviceGetsOneResendThenDisconnects()
{
    // The device answers the first three polls, then ignores the fourth poll
    // and its resend; everything else it answers.
    static constexpr int AnsweredPolls = 3;
    auto polls = std::make_shared<std::atomic<int>>(0);
    PtyDevice device;
    QVERIFY(device.isValid());
    device.setResponder([polls](const QByteArray &line) {
        if (line == "ls_wavelength?\n") {
            const int index = polls->fetch_add(1);
            if (index >= AnsweredPolls && index < AnsweredPolls + 2) {
                return QByteArray();
            }
        }
        return readyLaserReply(line);
    });
    device.start();
    HandlerRig rig;
    rig.addMonitorCommand(QStringLiteral("ls_wavelength?"));
    rig.open(device.slavePath());
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().lastConnected(), 8000);
    const int falseBefore = rig.recorder().countConnected(false);

    QTRY_VERIFY_WITH_TIMEOUT(device.countLines("ls_wavelength?\n") >= AnsweredPolls + 2, 7000);
    const std::vector<qint64> sent = rig.recorder().writtenNs("ls_wavelength?\n");
    QVERIFY(sent.size() >= size_t(AnsweredPolls + 2));
    const qint64 resendMs = (sent.at(AnsweredPolls + 1) - sent.at(AnsweredPolls)) / NsPerMs;
    QVERIFY2(resendMs >= 2000 - StampSlackMs, qPrintable(QString::number(resendMs)));
    QVERIFY2(resendMs < 3000, qPrintable(QString::number(resendMs)));

    // The second chance runs out: the link counts as lost, and as the handshake
    // starts over at once (no settle) it comes back quickly.
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().countConnected(true) == 2, 7000);
    const QList<HandlerRecorder::Timed> status = rig.recorder().connectedStatus;
    QCOMPARE(status.size(), falseBefore + 3);
    QCOMPARE(status.at(falseBefore).value, true);
    QCOMPARE(status.at(falseBefore + 1).value, false);
    QCOMPARE(status.at(falseBefore + 2).value, true);
    const std::vector<qint64> lost = rig.recorder().connectedStatusNs(false);
    QCOMPARE(lost.size(), size_t(falseBefore + 1));
    const qint64 lostMs = (lost.back() - sent.at(AnsweredPolls + 1)) / NsPerMs;
    QVERIFY2(lostMs >= 2000 - StampSlackMs, qPrintable(QString::number(lostMs)));
    QVERIFY2(lostMs < 3000, qPrintable(QString::number(lostMs)));

    const std::vector<qint64> identified = rig.recorder().writtenNs(IdentifyCommand);
    QCOMPARE(identified.size(), size_t(2));
    const qint64 restartMs = (identified.at(1) - sent.at(AnsweredPolls + 1)) / NsPerMs;
    QVERIFY2(restartMs < 2000 + 1000, qPrintable(QString::number(restartMs)));

    // The lost command was dropped, not written a third time, and polling resumes.
    QTRY_VERIFY(device.countLines("ls_wavelength?\n") >= AnsweredPolls + 4);
    const std::vector<PtyDevice::Line> lines = device.lines();
    size_t identifyIndex = 0;
    for (size_t index = 1; index < lines.size(); ++index) {
        if (lines.at(index).text == IdentifyCommand) {
            identifyIndex = index;
        }
    }
    QVERIFY(identifyIndex > 1);
    QCOMPARE(lines.at(identifyIndex - 1).text, QByteArray("ls_wavelength?\n"));
    QCOMPARE(lines.at(identifyIndex - 2).text, QByteArray("ls_wavelength?\n"));
    QCOMPARE(lines.at(identifyIndex + 1).text, QByteArray(StatusCommand));
    QCOMPARE(lines.at(identifyIndex + 2).text, QByteArray("ls_wavelength?\n"));
}

void TestSerialHandlerHandshake::crLfEchoDoesNotAcknowledge()
{
    // A device that ends its echo with CR LF delivers "ly_system_info\r", which
    // is not the command as sent.
    PtyDevice device;
    QVERIFY(device.isValid());
    device.setResponder([](const QByteArray &line) {
        return line.left(line.size() - 1) + "\r\nVelutra-10 test unit\r\n";
    });
    device.start();
    HandlerRig rig;
    rig.open(device.slavePath());

    QTRY_VERIFY_WITH_TIMEOUT(device.countLines(IdentifyCommand) >= 2, 8000);
    const std::vector<qint64> sent = rig.recorder().writtenNs(IdentifyCommand);
    QVERIFY(sent.size() >= 2);
    const qint64 resendMs = (sent.at(1) - sent.at(0)) / NsPerMs;
    QVERIFY2(resendMs >= 2000 - StampSlackMs, qPrintable(QString::number(resendMs)));
    QCOMPARE(device.countLines(StatusCommand), 0);
    QCOMPARE(rig.recorder().countConnected(true), 0);
    QVERIFY(rig.recorder().lines.contains("ly_system_info\r"));
}

QTEST_GUILESS_MAIN(TestSerialHandlerHandshake)
#include "tst_serialhandlerhandshake.moc"
