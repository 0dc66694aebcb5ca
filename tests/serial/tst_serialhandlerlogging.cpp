// What the serial handler tells its logs while a fault lasts: a port error or a silent device
// is reported when it begins and once more, with a count, when it ends; a handshake state is
// traced once on entering it, not on every tick it lasts.
#include "handlerrig.h"

#include <QLoggingCategory>
#include <QMutex>
#include <QtTest>

namespace {

// Debug traces of the serial category, whichever thread writes them.
QMutex s_tracesMutex;
QStringList s_traces;
QtMessageHandler s_previousHandler = nullptr;

void collectTraces(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtDebugMsg && qstrcmp(context.category, "velutra.serial") == 0) {
        QMutexLocker locker(&s_tracesMutex);
        s_traces.append(message);
        return;
    }
    s_previousHandler(type, context, message);
}

int traceCount(const QString &text)
{
    QMutexLocker locker(&s_tracesMutex);
    return s_traces.count(text);
}

QByteArray silence(const QByteArray &)
{
    return QByteArray();
}

} // namespace

class TestSerialHandlerLogging : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.serial.debug=true"));
        s_previousHandler = qInstallMessageHandler(collectTraces);
    }
    void cleanupTestCase() { qInstallMessageHandler(s_previousHandler); }

    void repeatedPortErrorIsOneEpisode_data();
    void repeatedPortErrorIsOneEpisode();
    void silentDeviceIsToldOnceAndCounted();
};

void TestSerialHandlerLogging::repeatedPortErrorIsOneEpisode_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<int>("repeats");
    QTest::addColumn<QStringList>("expected");
    const QString write = QStringLiteral("An I/O error occurred while writing the data.");
    const QString timeout = QStringLiteral(
            "A timeout error occurred. This value was introduced in QtSerialPort 5.2.");
    QTest::newRow("one write error") << int(QSerialPort::WriteError) << 1 << QStringList{write};
    QTest::newRow("write errors") << int(QSerialPort::WriteError) << 500
                                  << QStringList{write,
                                                 write + QStringLiteral(" (499 more suppressed)")};
    QTest::newRow("time-outs") << int(QSerialPort::TimeoutError) << 3
                               << QStringList{timeout,
                                              timeout + QStringLiteral(" (2 more suppressed)")};
}

void TestSerialHandlerLogging::repeatedPortErrorIsOneEpisode()
{
    QFETCH(int, error);
    QFETCH(int, repeats);
    QFETCH(QStringList, expected);

    PtyDevice device;
    QVERIFY(device.isValid());
    device.setResponder(silence);
    device.start();
    HandlerRig rig;
    rig.open(device.slavePath());
    QTRY_COMPARE(rig.recorder().opened.size(), 1);
    QTRY_COMPARE(rig.recorder().statusMessages.size(), 1);

    for (int index = 0; index < repeats; ++index) {
        QVERIFY(QMetaObject::invokeMethod(rig.handler(), "slotErrorOccurred",
                                          Qt::BlockingQueuedConnection,
                                          Q_ARG(QSerialPort::SerialPortError,
                                                static_cast<QSerialPort::SerialPortError>(error))));
    }
    QTRY_COMPARE(rig.recorder().statusMessages.mid(1), expected.mid(0, 1));

    // The episode's count comes when the port closes, before the close itself.
    rig.close();
    expected.append(QStringLiteral("Communication port %1 closed.").arg(device.slavePath()));
    QTRY_COMPARE(rig.recorder().statusMessages.mid(1), expected);
}

void TestSerialHandlerLogging::silentDeviceIsToldOnceAndCounted()
{
    // Two quiet seconds, then the identification: unanswered twice at six seconds, again at
    // ten. Then the device answers.
    PtyDevice device;
    QVERIFY(device.isValid());
    device.setResponder(silence);
    device.start();
    HandlerRig rig;
    rig.open(device.slavePath());
    QTRY_COMPARE(rig.recorder().opened.size(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().countConnected(false) >= 3, 15000);

    const QString port = device.slavePath();
    const QString silent
            = QStringLiteral("Communication port %1: no answer from the device.").arg(port);
    QCOMPARE(rig.recorder().statusMessages,
             (QStringList{QStringLiteral("Communication port %1 successfully opened.").arg(port),
                          silent}));
    // Ten seconds in the same state, a thousand ticks: one trace.
    QCOMPARE(traceCount(QStringLiteral("stSendConnectCmd")), 1);
    QCOMPARE(traceCount(QStringLiteral("stWaitReadyCmd")), 0);

    device.setResponder(readyLaserReply);
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().lastConnected(), 10000);
    const QStringList after = rig.recorder().statusMessages.mid(2);
    QCOMPARE(after.size(), 1);
    QVERIFY2(after.first().startsWith(
                     QStringLiteral("Communication port %1: the device answers again (").arg(port)),
             qPrintable(after.first()));
    QVERIFY(after.first().endsWith(QStringLiteral(" command(s) went unanswered).")));
    QCOMPARE(traceCount(QStringLiteral("stSendConnectCmd")), 1);
    QCOMPARE(traceCount(QStringLiteral("stWaitReadyCmd")), 1);
}

QTEST_GUILESS_MAIN(TestSerialHandlerLogging)
#include "tst_serialhandlerlogging.moc"
