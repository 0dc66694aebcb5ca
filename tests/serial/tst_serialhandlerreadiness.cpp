// How the serial handler reads the device's ready status during the
// handshake: a reply without a ready bit starts the handshake over, with its
// two-second settle, and ten refusals are as good as a ready reply.

#include "handlerrig.h"
#include "ptydevice.h"

#include <QLoggingCategory>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

namespace {

static constexpr qint64 NsPerMs = 1000000;
static constexpr char IdentifyCommand[] = "ly_system_info\n";
static constexpr char StatusCommand[] = "ly_vtx2_dev_status?\n";
// A refusal costs a settle of two seconds plus the exchange itself.
static constexpr int RoundTimeoutMs = 4000;

} // namespace

class TestSerialHandlerReadiness : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void notReadyStatusRestartsHandshake();
    void tenRefusedRepliesCountAsReady();
};

void TestSerialHandlerReadiness::initTestCase()
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
}

void TestSerialHandlerReadiness::notReadyStatusRestartsHandshake()
{
    // Replies without a ready bit (or without a number) send the handshake back
    // to identification; the fourth reply is ready.
    const QList<QByteArray> replies{"ly_vtx2_dev_status 4\r\n",
                                    "ly_vtx2_dev_status 0x08\r\n", // not a decimal number
                                    "ly_vtx2_dev_status   277\n", // 0x115: bits 0, 2, 4, 8
                                    "ly_vtx2_dev_status 8\r\n"};
    auto answered = std::make_shared<std::atomic<int>>(0);
    PtyDevice device;
    QVERIFY(device.isValid());
    device.setResponder([replies, answered](const QByteArray &line) {
        if (line == StatusCommand) {
            const int index = std::min(answered->fetch_add(1), int(replies.size()) - 1);
            return line + replies.at(index);
        }
        return readyLaserReply(line);
    });
    device.start();
    HandlerRig rig;
    rig.open(device.slavePath());

    // After the first refusal, identification is asked for again, after a new
    // settle counted from the refusal.
    QTRY_VERIFY_WITH_TIMEOUT(device.countLines(IdentifyCommand) >= 2, 2 * RoundTimeoutMs);
    QCOMPARE(rig.recorder().countConnected(true), 0);
    const std::vector<PtyDevice::Write> writes = device.writes();
    QVERIFY(writes.size() >= 2);
    const qint64 refusedNs = writes.at(1).beforeNs;
    const std::vector<PtyDevice::Line> firstLines = device.lines();
    const qint64 settleMs = (firstLines.at(2).arrivalNs - refusedNs) / NsPerMs;
    QVERIFY2(settleMs >= 2000, qPrintable(QString::number(settleMs)));

    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().lastConnected(), int(replies.size()) * RoundTimeoutMs);
    QCOMPARE(device.countLines(IdentifyCommand), int(replies.size()));
    QCOMPARE(device.countLines(StatusCommand), int(replies.size()));
    // The exchange alternates strictly.
    const std::vector<PtyDevice::Line> lines = device.lines();
    for (size_t index = 0; index < lines.size(); ++index) {
        QCOMPARE(lines.at(index).text,
                 QByteArray(index % 2 == 0 ? IdentifyCommand : StatusCommand));
    }
}

void TestSerialHandlerReadiness::tenRefusedRepliesCountAsReady()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    device.setResponder([](const QByteArray &line) {
        if (line == StatusCommand) {
            return line + "ly_vtx2_dev_status 4\r\n";
        }
        return readyLaserReply(line);
    });
    device.start();
    HandlerRig rig;
    rig.open(device.slavePath());

    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().lastConnected(), 11 * RoundTimeoutMs);
    // Ten refusals are believed; the eleventh reply is not even looked at.
    QCOMPARE(device.countLines(StatusCommand), 11);
    QCOMPARE(device.countLines(IdentifyCommand), 11);
    QCOMPARE(rig.recorder().countConnected(true), 1);
}

QTEST_GUILESS_MAIN(TestSerialHandlerReadiness)
#include "tst_serialhandlerreadiness.moc"
