// The serial monitor page: the traffic line format, following the newest
// traffic unless the operator scrolled up, and the manual command line.

#include "serialmonitor.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextFragment>
#include <QToolButton>
#include <QtTest>

class TestSerialMonitor : public QObject
{
    Q_OBJECT

private slots:
    void lineFormat_data();
    void lineFormat();
    void viewShowsColouredFragments();
    void viewShowsDeviceTextAsSent();
    void sendEmitsCommandWithLineFeed();
    void emptyCommandSendsNothing();
    void returnKeySends();
    void sendOnlyWhilePortOpen();
    void scrolledUpViewDoesNotFollow();
    void clearEmptiesTheView();
    void viewIsBounded();

private:
    static QPlainTextEdit *view(SerialMonitor &monitor);
};

QPlainTextEdit *TestSerialMonitor::view(SerialMonitor &monitor)
{
    return monitor.findChild<QPlainTextEdit *>();
}

void TestSerialMonitor::lineFormat_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("direction");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("html");

    QTest::newRow("transmitted")
            << "COM3:07-042"
            << "TX:" << QByteArray("ls_wavelength?\n")
            << "<font color=#000000>COM3:07-042: </font><font color=#0000ff>TX:</font> "
               "ls_wavelength?\n <font color=#ff00ff>6Ch 73h 5Fh 77h 61h 76h 65h 6Ch 65h 6Eh 67h "
               "74h 68h 3Fh 0Ah </font>";
    QTest::newRow("received with carriage return")
            << "COM3:07-042"
            << "RX:" << QByteArray("ok\r")
            << "<font color=#000000>COM3:07-042: </font><font color=#00aaff>RX:</font> ok\r "
               "<font color=#ff00ff>6Fh 6Bh 0Dh </font>";
    QTest::newRow("other mark")
            << "/dev/pts/3_59-999"
            << "RX" << QByteArray("x")
            << "<font color=#000000>/dev/pts/3_59-999: </font><font color=#ff0000>RX</font> x "
               "<font color=#ff00ff>78h </font>";
    QTest::newRow("text stops at zero byte")
            << "t"
            << "RX:" << QByteArray("ab\0cd", 5)
            << "<font color=#000000>t: </font><font color=#00aaff>RX:</font> ab "
               "<font color=#ff00ff>61h 62h 00h 63h 64h </font>";
    QTest::newRow("escaped, high bytes as Latin-1")
            << "t"
            << "RX:" << QByteArray("<b>&\xE9\xFF")
            << QString::fromLatin1("<font color=#000000>t: </font><font color=#00aaff>RX:</font> "
                                   "&lt;b&gt;&amp;\xE9\xFF <font color=#ff00ff>3Ch 62h 3Eh 26h E9h "
                                   "FFh </font>");
    QTest::newRow("escaped tag") << "a<b>&c:00-000"
                                 << "TX:" << QByteArray("x")
                                 << "<font color=#000000>a&lt;b&gt;&amp;c:00-000: </font><font "
                                    "color=#0000ff>TX:</font> x "
                                    "<font color=#ff00ff>78h </font>";
    QTest::newRow("null bytes") << "t"
                                << "TX:" << QByteArray()
                                << "<font color=#000000>t: </font><font color=#0000ff>TX:</font>  "
                                   "<font color=#ff00ff></font>";
}

void TestSerialMonitor::lineFormat()
{
    QFETCH(QString, tag);
    QFETCH(QString, direction);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, html);
    QCOMPARE(SerialMonitor::formatTrafficLine(tag, direction, bytes), html);
}

void TestSerialMonitor::viewShowsColouredFragments()
{
    SerialMonitor monitor;
    monitor.slotBytesTransmitted(QStringLiteral("COM3:07-042"), "ab\n");
    monitor.slotBytesReceived(QStringLiteral("COM3:07-050"), "cd\r");

    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QCOMPARE(edit->document()->blockCount(), 2);

    struct Expected
    {
        QString text;
        QColor colour;
    };
    const QList<QList<Expected>> expected{
            {{"COM3:07-042: ", QColor(0x00, 0x00, 0x00)},
             {"TX:", QColor(0x00, 0x00, 0xff)},
             {"61h 62h 0Ah ", QColor(0xff, 0x00, 0xff)}},
            {{"COM3:07-050: ", QColor(0x00, 0x00, 0x00)},
             {"RX:", QColor(0x00, 0xaa, 0xff)},
             {"63h 64h 0Dh ", QColor(0xff, 0x00, 0xff)}},
    };
    QTextBlock block = edit->document()->firstBlock();
    for (const QList<Expected> &line : expected) {
        QVERIFY(block.isValid());
        QList<Expected> coloured;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.charFormat().hasProperty(QTextFormat::ForegroundBrush)) {
                coloured.append({fragment.text(), fragment.charFormat().foreground().color()});
            }
        }
        QCOMPARE(coloured.size(), line.size());
        for (int index = 0; index < line.size(); ++index) {
            QCOMPARE(coloured.at(index).text, line.at(index).text);
            QCOMPARE(coloured.at(index).colour, line.at(index).colour);
        }
        block = block.next();
    }
    QVERIFY(edit->document()->firstBlock().text().contains(QLatin1String(" ab")));
}

void TestSerialMonitor::viewShowsDeviceTextAsSent()
{
    SerialMonitor monitor;
    monitor.slotBytesReceived(QStringLiteral("COM3:07-042"), "<b>x</b> & <i>y &amp; z\r");
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QCOMPARE(edit->document()->blockCount(), 1);
    const QTextBlock block = edit->document()->firstBlock();
    QVERIFY2(block.text().contains(QLatin1String("RX: <b>x</b> & <i>y &amp; z ")),
             qPrintable(block.text()));
    // Nothing of it became formatting.
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextCharFormat format = it.fragment().charFormat();
        QVERIFY(format.fontWeight() <= QFont::Normal);
        QVERIFY(!format.fontItalic());
    }
}

void TestSerialMonitor::sendEmitsCommandWithLineFeed()
{
    SerialMonitor monitor;
    monitor.setPortOpen(true);
    QSignalSpy spy(&monitor, &SerialMonitor::sigSendCommand);
    QLineEdit *line = monitor.findChild<QLineEdit *>();
    QVERIFY(line);
    QToolButton *send = monitor.findChild<QToolButton *>(QStringLiteral("toolButtonSend"));
    QVERIFY(send);

    line->setText(QStringLiteral("ls_wavelength?"));
    QTest::mouseClick(send, Qt::LeftButton);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toByteArray(), QByteArray("ls_wavelength?\n"));
    QVERIFY(line->text().isEmpty());
}

void TestSerialMonitor::emptyCommandSendsNothing()
{
    SerialMonitor monitor;
    monitor.setPortOpen(true);
    QSignalSpy spy(&monitor, &SerialMonitor::sigSendCommand);
    QToolButton *send = monitor.findChild<QToolButton *>(QStringLiteral("toolButtonSend"));
    QVERIFY(send);
    QTest::mouseClick(send, Qt::LeftButton);
    QCOMPARE(spy.count(), 0);
}

void TestSerialMonitor::returnKeySends()
{
    SerialMonitor monitor;
    monitor.setPortOpen(true);
    QSignalSpy spy(&monitor, &SerialMonitor::sigSendCommand);
    QLineEdit *line = monitor.findChild<QLineEdit *>();
    QVERIFY(line);
    QTest::keyClicks(line, QStringLiteral("ly_vtx2_power?"));
    // Typing alone sends nothing.
    QCOMPARE(spy.count(), 0);
    QTest::keyClick(line, Qt::Key_Return);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toByteArray(), QByteArray("ly_vtx2_power?\n"));
}

void TestSerialMonitor::sendOnlyWhilePortOpen()
{
    SerialMonitor monitor;
    monitor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&monitor));
    QSignalSpy spy(&monitor, &SerialMonitor::sigSendCommand);
    QLineEdit *line = monitor.findChild<QLineEdit *>();
    QVERIFY(line);
    QToolButton *send = monitor.findChild<QToolButton *>(QStringLiteral("toolButtonSend"));
    QVERIFY(send);

    // No port yet: neither the button nor the return key sends, and the text stays.
    QVERIFY(!send->isEnabled());
    QTest::keyClicks(line, QStringLiteral("ly_vtx2_power=1"));
    QTest::mouseClick(send, Qt::LeftButton);
    QTest::keyClick(line, Qt::Key_Return);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(line->text(), QStringLiteral("ly_vtx2_power=1"));

    monitor.setPortOpen(true);
    QVERIFY(send->isEnabled());
    QTest::keyClick(line, Qt::Key_Return);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toByteArray(), QByteArray("ly_vtx2_power=1\n"));

    monitor.setPortOpen(false);
    QVERIFY(!send->isEnabled());
    QTest::keyClicks(line, QStringLiteral("ls_wavelength?"));
    QTest::keyClick(line, Qt::Key_Return);
    QTest::mouseClick(send, Qt::LeftButton);
    QCOMPARE(spy.count(), 1);
}

void TestSerialMonitor::scrolledUpViewDoesNotFollow()
{
    SerialMonitor monitor;
    monitor.resize(600, 200);
    monitor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QScrollBar *bar = edit->verticalScrollBar();

    for (int index = 0; index < 200; ++index) {
        monitor.slotBytesReceived(QStringLiteral("COM3:00-000"), "line\r");
    }
    QCoreApplication::processEvents();
    QVERIFY(bar->maximum() > 0);
    QCOMPARE(bar->value(), bar->maximum());

    // The operator scrolls up to read: new traffic leaves the view where it is.
    bar->setValue(10);
    for (int index = 0; index < 50; ++index) {
        monitor.slotBytesTransmitted(QStringLiteral("COM3:00-001"), "a?\n");
    }
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), 10);
    QVERIFY(bar->maximum() > 10);

    // Back at the bottom, the view follows again.
    bar->setValue(bar->maximum());
    for (int index = 0; index < 50; ++index) {
        monitor.slotBytesTransmitted(QStringLiteral("COM3:00-002"), "b?\n");
    }
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), bar->maximum());
}

void TestSerialMonitor::clearEmptiesTheView()
{
    SerialMonitor monitor;
    monitor.slotBytesReceived(QStringLiteral("COM3:00-000"), "line\r");
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QVERIFY(!edit->toPlainText().isEmpty());
    QToolButton *clear = monitor.findChild<QToolButton *>(QStringLiteral("toolButtonClear"));
    QVERIFY(clear);
    QTest::mouseClick(clear, Qt::LeftButton);
    QVERIFY(edit->toPlainText().isEmpty());
}

void TestSerialMonitor::viewIsBounded()
{
    // Weeks of traffic must not exhaust memory: the oldest lines make way.
    SerialMonitor monitor;
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QCOMPARE(edit->maximumBlockCount(), SerialMonitor::MaximumLines);
    QCOMPARE(SerialMonitor::MaximumLines, 100000);
}

QTEST_MAIN(TestSerialMonitor)
#include "tst_serialmonitor.moc"
