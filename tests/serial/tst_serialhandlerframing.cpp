// Line framing, traffic tags and port handling of the serial handler, with a
// pseudo-terminal playing the device. None of these needs the handshake.

#include "handlerrig.h"
#include "ptydevice.h"

#include <QLoggingCategory>
#include <QRegularExpression>
#include <QtTest>

class TestSerialHandlerFraming : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void crLfGivesOneLineEndingInCr();
    void bareTerminatorsAreNotDelivered();
    void promptAtLineStartIsDropped();
    void partialLineWaitsForItsEnd();
    void readyReadEndedFlushesPartialLine();
    void trafficTagsCarryPortAndTime();
    void endlessLineIsCutAt64KiB();
    void nonExistentPortGivesOpenFailed();
    void lineControlRefusalDoesNotFailOpen();
    void secondOpenClosesFirstPort();
    void closeWithoutPortIsHarmless();
    void requestsBeforeFirstTick();
    void anotherProgramCannotTakeTheDevicePort();
    void errorTexts_data();
    void errorTexts();
    void repeatedReadErrorsAreReportedOnce();

private:
    // Opens the device's port and waits until the handler reports it open.
    static bool openDevice(HandlerRig &rig, PtyDevice &device);
    // Waits until the handler has read what the device wrote (see there).
    static void waitUntilReadByHandler(const PtyDevice &device);
};

void TestSerialHandlerFraming::initTestCase()
{
    // The handshake traces every tick; they would drown the test output.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
}

void TestSerialHandlerFraming::waitUntilReadByHandler(const PtyDevice &device)
{
    // The kernel passes the bytes to the port's input queue a little after the write, and
    // the handler may empty it before this looks: the wait ends once the queue has been
    // seen holding them and then empty, and at the latest after half a second.
    bool seen = false;
    waitFor(
            [&device, &seen] {
                const int unread = device.unreadByProgram();
                seen = seen || unread > 0;
                return seen && unread == 0;
            },
            500);
}

bool TestSerialHandlerFraming::openDevice(HandlerRig &rig, PtyDevice &device)
{
    if (!device.isValid()) {
        return false;
    }
    device.start();
    rig.open(device.slavePath());
    // The "opened" report follows the signal; wait for both.
    return waitFor(
            [&rig] {
                return !rig.recorder().opened.isEmpty() && !rig.recorder().statusMessages.isEmpty();
            },
            5000);
}

void TestSerialHandlerFraming::crLfGivesOneLineEndingInCr()
{
    PtyDevice device;
    HandlerRig rig;
    QVERIFY(openDevice(rig, device));

    device.write("Velutra-10\r\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 1);
    QCOMPARE(rig.recorder().lines.at(0), QByteArray("Velutra-10\r"));

    device.write("second\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 2);
    QCOMPARE(rig.recorder().lines.at(1), QByteArray("second\n"));
}

void TestSerialHandlerFraming::bareTerminatorsAreNotDelivered()
{
    PtyDevice device;
    HandlerRig rig;
    QVERIFY(openDevice(rig, device));

    device.write("\n");
    device.write("\r\n");
    device.write("\r");
    device.write("\n\n\r\r");
    device.write("last\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 1);
    QCOMPARE(rig.recorder().lines.at(0), QByteArray("last\n"));
    QCOMPARE(rig.recorder().received.size(), 1);
}

void TestSerialHandlerFraming::promptAtLineStartIsDropped()
{
    PtyDevice device;
    HandlerRig rig;
    QVERIFY(openDevice(rig, device));

    device.write(">ly_system_info\n");
    device.write(">\n");
    device.write("a>b\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 2);
    QCOMPARE(rig.recorder().lines.at(0), QByteArray("ly_system_info\n"));
    // Only a prompt at the very start of a line goes.
    QCOMPARE(rig.recorder().lines.at(1), QByteArray("a>b\n"));
}

void TestSerialHandlerFraming::partialLineWaitsForItsEnd()
{
    PtyDevice device;
    HandlerRig rig;
    QVERIFY(openDevice(rig, device));

    device.write("Velu");
    // The handler sends no signal for a partial line: wait until it has read it.
    waitUntilReadByHandler(device);
    QVERIFY(rig.recorder().lines.isEmpty());
    device.write("tra-10\r");
    QTRY_COMPARE(rig.recorder().lines.size(), 1);
    QCOMPARE(rig.recorder().lines.at(0), QByteArray("Velutra-10\r"));
}

void TestSerialHandlerFraming::readyReadEndedFlushesPartialLine()
{
    PtyDevice device;
    HandlerRig rig;
    QVERIFY(openDevice(rig, device));

    // Nothing to flush yet.
    rig.flushPartialLine();
    QTest::qWait(50);
    QVERIFY(rig.recorder().lines.isEmpty());

    device.write("no end");
    // The flush must find the bytes in the handler's buffer, not still on the way: the
    // handler frames what it reads before it takes the queued call.
    waitUntilReadByHandler(device);
    rig.flushPartialLine();
    QTRY_COMPARE(rig.recorder().lines.size(), 1);
    QCOMPARE(rig.recorder().lines.at(0), QByteArray("no end"));
    QCOMPARE(rig.recorder().received.size(), 1);
    const QString tag = rig.recorder().received.at(0).first;
    QVERIFY2(QRegularExpression(QStringLiteral("^%1_\\d\\d-\\d\\d\\d$")
                                        .arg(QRegularExpression::escape(device.slavePath())))
                     .match(tag)
                     .hasMatch(),
             qPrintable(tag));

    // The buffer was emptied: the next line stands alone.
    device.write("next\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 2);
    QCOMPARE(rig.recorder().lines.at(1), QByteArray("next\n"));
}

void TestSerialHandlerFraming::trafficTagsCarryPortAndTime()
{
    PtyDevice device;
    HandlerRig rig;
    device.setResponder([](const QByteArray &line) { return line; });
    QVERIFY(openDevice(rig, device));

    device.write("hello\r\n");
    QTRY_COMPARE(rig.recorder().received.size(), 1);
    const QRegularExpression lineTag(QStringLiteral("^%1:\\d\\d-\\d\\d\\d$")
                                             .arg(QRegularExpression::escape(device.slavePath())));
    QVERIFY2(lineTag.match(rig.recorder().received.at(0).first).hasMatch(),
             qPrintable(rig.recorder().received.at(0).first));
    QCOMPARE(rig.recorder().received.at(0).second, QByteArray("hello\r"));

    // After the settle the handler writes its first command.
    QTRY_VERIFY_WITH_TIMEOUT(!rig.recorder().transmitted.isEmpty(), 5000);
    QVERIFY2(lineTag.match(rig.recorder().transmitted.at(0).first).hasMatch(),
             qPrintable(rig.recorder().transmitted.at(0).first));
    QCOMPARE(rig.recorder().transmitted.at(0).second, QByteArray("ly_system_info\n"));
}

void TestSerialHandlerFraming::endlessLineIsCutAt64KiB()
{
    static constexpr int Limit = 64 * 1024;
    PtyDevice device;
    HandlerRig rig;
    QVERIFY(openDevice(rig, device));
    const int messagesAfterOpen = rig.recorder().statusMessages.size();

    device.write(QByteArray(70000, 'x'));
    QTRY_COMPARE(rig.recorder().lines.size(), 1);
    QCOMPARE(rig.recorder().lines.at(0), QByteArray(Limit, 'x'));
    QTRY_COMPARE(rig.recorder().statusMessages.size(), messagesAfterOpen + 1);
    QVERIFY2(rig.recorder().statusMessages.last().contains(QLatin1String("cut")),
             qPrintable(rig.recorder().statusMessages.last()));
    QVERIFY(rig.recorder().statusMessages.last().contains(device.slavePath()));

    // What was left over stays and is completed by the line end.
    device.write("\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 2);
    QCOMPARE(rig.recorder().lines.at(1), QByteArray(70000 - Limit, 'x') + '\n');

    // A run of cut lines is reported once.
    device.write(QByteArray(3 * Limit, 'y'));
    QTRY_COMPARE_WITH_TIMEOUT(rig.recorder().lines.size(), 5, 10000);
    for (int index = 2; index < 5; ++index) {
        QCOMPARE(rig.recorder().lines.at(index).size(), Limit);
    }
    QTest::qWait(100);
    QCOMPARE(rig.recorder().statusMessages.size(), messagesAfterOpen + 2);
}

void TestSerialHandlerFraming::nonExistentPortGivesOpenFailed()
{
    const QString missing = QStringLiteral("/dev/velutra-no-such-port");
    HandlerRig rig;
    rig.open(missing);
    QTRY_COMPARE(rig.recorder().statusMessages.size(), 1);
    const QString message = rig.recorder().statusMessages.at(0);
    QVERIFY2(message.startsWith(
                     QStringLiteral("Communication port %1 open failed. Reason: ").arg(missing)),
             qPrintable(message));
    QVERIFY(message.size()
            > QStringLiteral("Communication port %1 open failed. Reason: ").arg(missing).size());
    QVERIFY(rig.recorder().opened.isEmpty());
    QVERIFY(rig.recorder().closed.isEmpty());

    // The handler keeps waiting for the next request.
    PtyDevice device;
    QVERIFY(openDevice(rig, device));
    QCOMPARE(rig.recorder().opened, QStringList{device.slavePath()});
}

void TestSerialHandlerFraming::lineControlRefusalDoesNotFailOpen()
{
    // A pseudo-terminal refuses DTR and RTS; that must neither fail the open nor
    // reach the operator's log.
    PtyDevice device;
    HandlerRig rig;
    QVERIFY(openDevice(rig, device));
    QTest::qWait(200);
    QCOMPARE(rig.recorder().statusMessages,
             QStringList{QStringLiteral("Communication port %1 successfully opened.")
                                 .arg(device.slavePath())});

    // And the port works both ways.
    device.write("Velutra-10\r\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(device.countLines("ly_system_info\n") >= 1, 5000);
}

void TestSerialHandlerFraming::secondOpenClosesFirstPort()
{
    PtyDevice first;
    PtyDevice second;
    HandlerRig rig;
    QVERIFY(openDevice(rig, first));
    second.start();
    rig.open(second.slavePath());
    QTRY_COMPARE(rig.recorder().opened.size(), 2);
    QCOMPARE(rig.recorder().closed, QStringList{first.slavePath()});
    QCOMPARE(rig.recorder().opened, (QStringList{first.slavePath(), second.slavePath()}));
    QTRY_COMPARE(
            rig.recorder().statusMessages,
            (QStringList{QStringLiteral("Communication port %1 successfully opened.")
                                 .arg(first.slavePath()),
                         QStringLiteral("Communication port %1 closed.").arg(first.slavePath()),
                         QStringLiteral("Communication port %1 successfully opened.")
                                 .arg(second.slavePath())}));

    second.write("on the second\n");
    QTRY_COMPARE(rig.recorder().lines.size(), 1);
}

void TestSerialHandlerFraming::closeWithoutPortIsHarmless()
{
    HandlerRig rig;
    rig.close();
    rig.close();
    QTest::qWait(100);
    QVERIFY(rig.recorder().closed.isEmpty());
    QVERIFY(rig.recorder().statusMessages.isEmpty());
    QCOMPARE(rig.recorder().connectedStatus.size(), 1);
    QCOMPARE(rig.recorder().connectedStatus.at(0).value, false);

    PtyDevice device;
    QVERIFY(openDevice(rig, device));
}

void TestSerialHandlerFraming::requestsBeforeFirstTick()
{
    // Requests may arrive before the scheduler has run at all.
    PtyDevice device;
    QVERIFY(device.isValid());
    HandlerRig rig(HandlerRig::Thread::Main);
    QVERIFY(QMetaObject::invokeMethod(rig.handler(), "slotCloseCommunication",
                                      Qt::DirectConnection));
    QVERIFY(QMetaObject::invokeMethod(rig.handler(), "slotOpenCommunication", Qt::DirectConnection,
                                      Q_ARG(QString, device.slavePath())));
    device.setResponder(readyLaserReply);
    device.start();
    QTRY_COMPARE(rig.recorder().opened, QStringList{device.slavePath()});
    QTRY_VERIFY_WITH_TIMEOUT(rig.recorder().lastConnected(), 8000);
    QVERIFY(rig.recorder().closed.isEmpty());
}

void TestSerialHandlerFraming::anotherProgramCannotTakeTheDevicePort()
{
    // A program elsewhere on the machine that lost its pseudo-terminal tries the old name
    // again every few seconds; by then the number may belong to this test's device. It
    // must not get in before the handler does.
    PtyDevice device;
    QVERIFY2(device.isValid(), qPrintable(device.errorText()));
    QSerialPort stranger(device.systemPath());
    QVERIFY(!stranger.open(QIODevice::ReadWrite));
    QCOMPARE(stranger.error(), QSerialPort::PermissionError);

    HandlerRig rig;
    QVERIFY(connectToReadyLaser(rig, device));
    QCOMPARE(rig.recorder().opened, QStringList{device.slavePath()});
    QVERIFY(!stranger.open(QIODevice::ReadWrite));
}

void TestSerialHandlerFraming::errorTexts_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("text");
    QTest::newRow("no error") << int(QSerialPort::NoError) << QString();
    QTest::newRow("device not found")
            << int(QSerialPort::DeviceNotFoundError)
            << QStringLiteral("An error occurred while attempting to open an non-existing device.");
    QTest::newRow("permission")
            << int(QSerialPort::PermissionError)
            << QStringLiteral("An error occurred while attempting to open an already opened device "
                              "by another process or a user not having enough permission and "
                              "credentials to open.");
    QTest::newRow("open")
            << int(QSerialPort::OpenError)
            << QStringLiteral("An error occurred while attempting to open an already opened device "
                              "in this object.");
    QTest::newRow("write") << int(QSerialPort::WriteError)
                           << QStringLiteral("An I/O error occurred while writing the data.");
    QTest::newRow("read") << int(QSerialPort::ReadError)
                          << QStringLiteral("An I/O error occurred while reading the data.");
    QTest::newRow("resource")
            << int(QSerialPort::ResourceError)
            << QStringLiteral(
                       "An I/O error occurred when a resource becomes unavailable, e.g. when "
                       "the device is unexpectedly removed from the system.");
    QTest::newRow("unsupported")
            << int(QSerialPort::UnsupportedOperationError)
            << QStringLiteral(
                       "The requested device operation is not supported or prohibited by the "
                       "running operating system.");
    QTest::newRow("timeout")
            << int(QSerialPort::TimeoutError)
            << QStringLiteral("A timeout error occurred. This value was introduced in QtSerialPort "
                              "5.2.");
    QTest::newRow("not open")
            << int(QSerialPort::NotOpenError)
            << QStringLiteral("This error occurs when an operation is executed that can only be "
                              "successfully performed if the device is open. This value was "
                              "introduced in QtSerialPort 5.2.");
    const QString unidentified = QStringLiteral("An unidentified error occurred.");
    QTest::newRow("parity") << int(QSerialPort::ParityError) << unidentified;
    QTest::newRow("framing") << int(QSerialPort::FramingError) << unidentified;
    QTest::newRow("break") << int(QSerialPort::BreakConditionError) << unidentified;
    QTest::newRow("unknown") << int(QSerialPort::UnknownError) << unidentified;
}

void TestSerialHandlerFraming::errorTexts()
{
    QFETCH(int, error);
    QFETCH(QString, text);

    // The error slot is reached through the meta-object system, as the port's
    // errorOccurred signal reaches it.
    VelutraSerialHandler handler;
    HandlerRecorder recorder(&handler);
    QVERIFY(QMetaObject::invokeMethod(
            &handler, "slotErrorOccurred", Qt::DirectConnection,
            Q_ARG(QSerialPort::SerialPortError, static_cast<QSerialPort::SerialPortError>(error))));
    QCOMPARE(recorder.statusMessages, QStringList{text});
}

void TestSerialHandlerFraming::repeatedReadErrorsAreReportedOnce()
{
    VelutraSerialHandler handler;
    HandlerRecorder recorder(&handler);
    for (int count = 0; count < 1000; ++count) {
        QVERIFY(QMetaObject::invokeMethod(
                &handler, "slotErrorOccurred", Qt::DirectConnection,
                Q_ARG(QSerialPort::SerialPortError, QSerialPort::ReadError)));
    }
    QCOMPARE(recorder.statusMessages,
             QStringList{QStringLiteral("An I/O error occurred while reading the data.")});
}

QTEST_GUILESS_MAIN(TestSerialHandlerFraming)
#include "tst_serialhandlerframing.moc"
