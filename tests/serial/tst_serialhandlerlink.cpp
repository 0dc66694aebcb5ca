// A device that goes away: the far end of the pseudo-terminal closes while the
// handler has the port open. The port must be closed once, with one report,
// and the process must not spin.

#include "handlerrig.h"
#include "ptydevice.h"

#include <QLoggingCategory>
#include <QtTest>

#include <sys/resource.h>

namespace {

qint64 processCpuMs()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return (static_cast<qint64>(usage.ru_utime.tv_sec) + usage.ru_stime.tv_sec) * 1000
           + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
}

} // namespace

class TestSerialHandlerLink : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void deviceGoneWhilePolling();
    void deviceGoneWhileSettling();
    void newPortAfterDeviceGone();

private:
    // Waits for the close and checks what the operator is told and that the
    // process stays quiet afterwards.
    static void checkClosedQuietly(HandlerRig &rig, const QString &portName, int messagesBefore);
};

void TestSerialHandlerLink::initTestCase()
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
}

void TestSerialHandlerLink::checkClosedQuietly(HandlerRig &rig, const QString &portName,
                                               int messagesBefore)
{
    QTRY_COMPARE_WITH_TIMEOUT(rig.recorder().closed, QStringList{portName}, 5000);
    const QString closedMessage = QStringLiteral("Communication port %1 closed.").arg(portName);
    QTRY_VERIFY(rig.recorder().statusMessages.contains(closedMessage));

    // Measure a quiet second: the handler keeps ticking, nothing else may run.
    const qint64 cpuBefore = processCpuMs();
    QElapsedTimer wall;
    wall.start();
    QTest::qWait(1000);
    const qint64 cpuMs = processCpuMs() - cpuBefore;
    const qint64 wallMs = wall.elapsed();
    QVERIFY2(cpuMs * 4 < wallMs,
             qPrintable(QStringLiteral("%1 ms CPU in %2 ms").arg(cpuMs).arg(wallMs)));

    // Each report at most once, then the close: never a flood. A storm of read errors
    // is recognised within one scheduler tick; on a loaded machine a tick may fall
    // inside it, and the errors before the tick then close their episode with a count
    // line of their own, or Qt gets to report the resource error before the storm is
    // recognised.
    const QStringList after = rig.recorder().statusMessages.mid(messagesBefore);
    QStringList distinct = after;
    distinct.removeDuplicates();
    QVERIFY2(after.size() <= 3 && distinct.size() == after.size(),
             qPrintable(after.join(QLatin1Char('|'))));
    QCOMPARE(after.last(), closedMessage);
    QCOMPARE(after.count(closedMessage), 1);
    QCOMPARE(rig.recorder().closed.size(), 1);
}

void TestSerialHandlerLink::deviceGoneWhilePolling()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    const QString portName = device.slavePath();
    HandlerRig rig;
    rig.addMonitorCommand(QStringLiteral("a?"));
    rig.addMonitorCommand(QStringLiteral("b?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(device.lineCount() >= 6);
    const int messagesBefore = rig.recorder().statusMessages.size();
    const int connectedBefore = rig.recorder().connectedStatus.size();

    device.closeMaster();
    checkClosedQuietly(rig, portName, messagesBefore);
    // Closing is not a lost handshake.
    QCOMPARE(rig.recorder().connectedStatus.size(), connectedBefore);
}

void TestSerialHandlerLink::deviceGoneWhileSettling()
{
    PtyDevice device;
    QVERIFY(device.isValid());
    const QString portName = device.slavePath();
    HandlerRig rig;
    rig.open(portName);
    QTRY_COMPARE(rig.recorder().opened.size(), 1);
    const int messagesBefore = rig.recorder().statusMessages.size();

    device.closeMaster();
    checkClosedQuietly(rig, portName, messagesBefore);
}

void TestSerialHandlerLink::newPortAfterDeviceGone()
{
    HandlerRig rig;
    {
        PtyDevice device;
        QVERIFY(device.isValid());
        rig.open(device.slavePath());
        QTRY_COMPARE(rig.recorder().opened.size(), 1);
        device.closeMaster();
        QTRY_COMPARE_WITH_TIMEOUT(rig.recorder().closed.size(), 1, 5000);
    }

    PtyDevice device;
    QVERIFY(device.isValid());
    rig.addMonitorCommand(QStringLiteral("a?"));
    QVERIFY(connectToReadyLaser(rig, device));
    QTRY_VERIFY(device.countLines("a?\n") >= 2);
}

QTEST_GUILESS_MAIN(TestSerialHandlerLink)
#include "tst_serialhandlerlink.moc"
