// The serial monitor page: the traffic line format, following the newest
// traffic unless the operator scrolled up, and the manual command line; lines
// shown in batches, nothing built while the page is hidden, a bounded view and
// very long lines cut on display.

#include "serialmonitor.h"
#include "traffictag.h"

#include <QAbstractTextDocumentLayout>
#include <QCheckBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTextBlock>
#include <QTextFragment>
#include <QToolButton>
#include <QtTest>

#include <cstdio>

#if defined(__SANITIZE_ADDRESS__)
// From the sanitizer runtime; gcc does not install the header that declares it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace {

// The heap the process holds, without what the allocator keeps for reuse (under
// AddressSanitizer, without its quarantine of freed blocks).
qint64 liveHeapBytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return qint64(__sanitizer_get_current_allocated_bytes());
#else
    return qint64(mallinfo2().uordblks);
#endif
}

// A line's text and its runs of one colour each (uncoloured runs with an invalid colour),
// neighbouring runs of the same colour merged.
struct ShownLine
{
    QString text;
    QList<QPair<QString, QColor>> runs;
};

ShownLine shownLine(const QTextBlock &block)
{
    ShownLine line{block.text(), {}};
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        const QTextCharFormat format = fragment.charFormat();
        const QColor colour = format.hasProperty(QTextFormat::ForegroundBrush)
                                      ? format.foreground().color()
                                      : QColor();
        if (!line.runs.isEmpty() && line.runs.last().second == colour) {
            line.runs.last().first += fragment.text();
        } else {
            line.runs.append({fragment.text(), colour});
        }
    }
    return line;
}

} // namespace

class TestSerialMonitor : public QObject
{
    Q_OBJECT

private slots:
    void lineFormat_data();
    void lineFormat();
    void viewShowsColouredFragments();
    void viewShowsDeviceTextAsSent();
    void viewLooksLikeRichTextLine_data();
    void viewLooksLikeRichTextLine();
    void linesArriveInBatches();
    void tricklingLinesShareEdits();
    void hiddenMonitorKeepsRawBacklog();
    void unseenMonitorBuildsNothing_data();
    void unseenMonitorBuildsNothing();
    void longLineIsCutOnDisplay();
    void sendEmitsCommandWithLineFeed();
    void emptyCommandSendsNothing();
    void returnKeySends();
    void sendOnlyWhilePortOpen();
    void scrolledUpViewDoesNotFollow();
    void clearEmptiesTheView();
    void viewIsBounded();
    void timeOfDayIsPutBack_data();
    void timeOfDayIsPutBack();
    void pauseHoldsTheViewAndResumeShowsEverything();
    void typedCommandsOnlyHidesThePolling();
    void scrolledUpViewStaysOnItsLineWhileTheTopIsCut();

private:
    static QPlainTextEdit *view(SerialMonitor &monitor);
    static bool showMonitor(SerialMonitor &monitor);
};

QPlainTextEdit *TestSerialMonitor::view(SerialMonitor &monitor)
{
    return monitor.findChild<QPlainTextEdit *>();
}

// Traffic is laid out only while the page can be seen.
bool TestSerialMonitor::showMonitor(SerialMonitor &monitor)
{
    monitor.resize(800, 300);
    monitor.show();
    return QTest::qWaitForWindowExposed(&monitor);
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
    QVERIFY(showMonitor(monitor));
    monitor.slotBytesTransmitted(QStringLiteral("COM3:07-042"), "ab\n");
    monitor.slotBytesReceived(QStringLiteral("COM3:07-050"), "cd\r");

    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QTRY_COMPARE(edit->document()->blockCount(), 2);

    struct Expected
    {
        QString text;
        QColor colour;
    };
    // The tag shows the time of day of the line to the millisecond.
    const QList<QList<Expected>> expected{
            {{"^COM3:\\d\\d:\\d\\d:07\\.042: $", QColor(0x00, 0x00, 0x00)},
             {"^TX:$", QColor(0x00, 0x00, 0xff)},
             {"^61h 62h 0Ah $", QColor(0xff, 0x00, 0xff)}},
            {{"^COM3:\\d\\d:\\d\\d:07\\.050: $", QColor(0x00, 0x00, 0x00)},
             {"^RX:$", QColor(0x00, 0xaa, 0xff)},
             {"^63h 64h 0Dh $", QColor(0xff, 0x00, 0xff)}},
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
            QVERIFY2(QRegularExpression(line.at(index).text)
                             .match(coloured.at(index).text)
                             .hasMatch(),
                     qPrintable(coloured.at(index).text));
            QCOMPARE(coloured.at(index).colour, line.at(index).colour);
        }
        block = block.next();
    }
    QVERIFY(edit->document()->firstBlock().text().contains(QLatin1String(" ab")));
}

void TestSerialMonitor::viewShowsDeviceTextAsSent()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    monitor.slotBytesReceived(QStringLiteral("COM3:07-042"), "<b>x</b> & <i>y &amp; z\r");
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QTRY_VERIFY(!edit->document()->isEmpty());
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
    QTRY_COMPARE(edit->document()->blockCount(), 200);
    QCoreApplication::processEvents();
    QVERIFY(bar->maximum() > 0);
    QCOMPARE(bar->value(), bar->maximum());

    // The operator scrolls up to read: new traffic leaves the view where it is.
    bar->setValue(10);
    for (int index = 0; index < 50; ++index) {
        monitor.slotBytesTransmitted(QStringLiteral("COM3:00-001"), "a?\n");
    }
    QTRY_COMPARE(edit->document()->blockCount(), 250);
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), 10);
    QVERIFY(bar->maximum() > 10);

    // Back at the bottom, the view follows again.
    bar->setValue(bar->maximum());
    for (int index = 0; index < 50; ++index) {
        monitor.slotBytesTransmitted(QStringLiteral("COM3:00-002"), "b?\n");
    }
    QTRY_COMPARE(edit->document()->blockCount(), 300);
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), bar->maximum());
}

void TestSerialMonitor::clearEmptiesTheView()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    monitor.slotBytesReceived(QStringLiteral("COM3:00-000"), "line\r");
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QTRY_VERIFY(!edit->toPlainText().isEmpty());
    QToolButton *clear = monitor.findChild<QToolButton *>(QStringLiteral("toolButtonClear"));
    QVERIFY(clear);
    QTest::mouseClick(clear, Qt::LeftButton);
    QVERIFY(edit->toPlainText().isEmpty());

    // Lines that came before the click and were not shown yet go with the rest.
    monitor.slotBytesReceived(QStringLiteral("COM3:00-001"), "old\r");
    QTest::mouseClick(clear, Qt::LeftButton);
    monitor.slotBytesReceived(QStringLiteral("COM3:00-002"), "new\r");
    QTRY_VERIFY(!edit->toPlainText().isEmpty());
    QCOMPARE(edit->document()->blockCount(), 1);
    QVERIFY(edit->toPlainText().contains(QLatin1String("new")));
}

void TestSerialMonitor::viewLooksLikeRichTextLine_data()
{
    QTest::addColumn<QString>("direction");
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("command") << "TX:" << QByteArray("ls_wavelength?\n");
    QTest::newRow("reply") << "RX:" << QByteArray("ok\r");
    QTest::newRow("markup and entities") << "RX:" << QByteArray("<b>x</b> & <i>y &amp; \"z\"'");
    QTest::newRow("runs of white space") << "RX:" << QByteArray("  a \t\t b\r\n\r\nc  \x0b\x0c d ");
    QTest::newRow("only white space") << "RX:" << QByteArray(" \r\n\t ");
    QTest::newRow("control and high bytes")
            << "RX:" << QByteArray("\x01\x1b[0m\x7f\x80\x85\x9f\xa0\xa0x\xe9\xff");
    QTest::newRow("zero byte") << "RX:" << QByteArray("ab\0 cd\r", 7);
    QTest::newRow("empty") << "TX:" << QByteArray();
}

// The view shows a line exactly as the rich-text line of formatTrafficLine() reads when
// appended to a plain-text view: the same text, the same runs in the same colours, with the
// tag's time of day put back.
void TestSerialMonitor::viewLooksLikeRichTextLine()
{
    QFETCH(QString, direction);
    QFETCH(QByteArray, bytes);
    const QString tag = QStringLiteral("COM3:07-042");

    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    const QTime before = QTime::currentTime();
    if (direction == QLatin1String("TX:")) {
        monitor.slotBytesTransmitted(tag, bytes);
    } else {
        monitor.slotBytesReceived(tag, bytes);
    }
    const QTime after = QTime::currentTime();
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QTRY_VERIFY(!edit->document()->isEmpty());
    QCOMPARE(edit->document()->blockCount(), 1);
    const ShownLine shown = shownLine(edit->document()->firstBlock());

    // The line arrived between the two readings of the clock; only a minute turning over at
    // 07.042 between them makes the two differ.
    ShownLine expected;
    for (const QTime &arrival : {before, after}) {
        QPlainTextEdit reference;
        reference.appendHtml(SerialMonitor::formatTrafficLine(
                TrafficTag::withTimeOfDay(tag, arrival), direction, bytes));
        expected = shownLine(reference.document()->firstBlock());
        if (expected.text == shown.text) {
            break;
        }
    }
    QCOMPARE(shown.text, expected.text);
    QCOMPARE(shown.runs, expected.runs);
}

void TestSerialMonitor::linesArriveInBatches()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QSignalSpy edits(edit->document(), &QTextDocument::contentsChange);

    static constexpr int Lines = 120;
    for (int index = 0; index < Lines; ++index) {
        monitor.slotBytesReceived(QStringLiteral("COM3:00-%1").arg(index, 3, 10, QLatin1Char('0')),
                                  "line\r");
    }
    // Nothing is laid out line by line; all of them come in one edit, in order.
    QCOMPARE(edits.count(), 0);
    QTRY_VERIFY(edits.count() > 0);
    QCOMPARE(edits.count(), 1);
    QCOMPARE(edit->document()->blockCount(), Lines);
    QTextBlock block = edit->document()->firstBlock();
    for (int index = 0; index < Lines; ++index) {
        QVERIFY(block.isValid());
        const QRegularExpression line(QStringLiteral("^COM3:\\d\\d:\\d\\d:00\\.%1: RX: line ")
                                              .arg(index, 3, 10, QLatin1Char('0')));
        QVERIFY2(line.match(block.text()).hasMatch(), qPrintable(block.text()));
        block = block.next();
    }
}

// Lines that come one by one at the polling rate are shown a few at a time.
void TestSerialMonitor::tricklingLinesShareEdits()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QSignalSpy edits(edit->document(), &QTextDocument::contentsChange);

    static constexpr int Lines = 60;
    QElapsedTimer clock;
    clock.start();
    for (int index = 0; index < Lines; ++index) {
        monitor.slotBytesTransmitted(QStringLiteral("COM3:00-000"), "s7\n");
        QTest::qWait(10);
    }
    QTRY_COMPARE(edit->document()->blockCount(), Lines);
    // A slow machine spreads the lines over more time, and the time allows more edits; at
    // most one edit per tenth of a second, and never one per line.
    const int allowed = int(clock.elapsed() / 100) + 2;
    QVERIFY2(edits.count() <= allowed && edits.count() < Lines / 2,
             qPrintable(QStringLiteral("%1 edits for %2 lines in %3 ms")
                                .arg(edits.count())
                                .arg(Lines)
                                .arg(clock.elapsed())));
}

void TestSerialMonitor::hiddenMonitorKeepsRawBacklog()
{
    SerialMonitor monitor;
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QSignalSpy edits(edit->document(), &QTextDocument::contentsChange);

    static constexpr int Lines = 5000;
    for (int index = 0; index < Lines; ++index) {
        monitor.slotBytesReceived(QStringLiteral("COM3:%1").arg(index), "line\r");
    }
    // Time for any timer to run (two renderings' worth): a hidden page lays out nothing.
    QTest::qWait(1000);
    QCOMPARE(edits.count(), 0);
    QVERIFY(edit->document()->isEmpty());

    // Shown, it catches up with the newest lines, says how many it left out, and ends with
    // the newest line.
    QVERIFY(showMonitor(monitor));
    QTRY_VERIFY(!edit->document()->isEmpty());
    QTRY_VERIFY(edit->document()->lastBlock().text().startsWith(
            QStringLiteral("COM3:%1: ").arg(Lines - 1)));
    const int shown = edit->document()->blockCount() - 1;
    QVERIFY(shown >= 1000);
    QVERIFY(shown < Lines);
    const QString note = edit->document()->firstBlock().text();
    QVERIFY2(note.contains(QString::number(Lines - shown)), qPrintable(note));
    QVERIFY2(edit->document()->findBlockByNumber(1).text().startsWith(
                     QStringLiteral("COM3:%1: ").arg(Lines - shown)),
             qPrintable(edit->document()->findBlockByNumber(1).text()));
}

// A dock closed or tabbed away hides the page; a minimized window keeps its pages "visible".
// Either way nobody can see the view, and a night of polling must not be laid out for
// nobody: the page only collects, and catches up once it is seen again.
void TestSerialMonitor::unseenMonitorBuildsNothing_data()
{
    QTest::addColumn<bool>("minimize");
    QTest::newRow("page hidden") << false;
    QTest::newRow("window minimized") << true;
}

void TestSerialMonitor::unseenMonitorBuildsNothing()
{
    QFETCH(bool, minimize);
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    monitor.slotBytesReceived(QStringLiteral("COM3:00-000"), "first\r");
    QTRY_COMPARE(edit->document()->isEmpty(), false);

    if (minimize) {
        monitor.showMinimized();
        QTRY_VERIFY(monitor.isMinimized());
        QVERIFY(monitor.isVisible());
    } else {
        monitor.hide();
    }
    QSignalSpy edits(edit->document(), &QTextDocument::contentsChange);
    monitor.slotBytesReceived(QStringLiteral("COM3:00-001"), "second\r");
    monitor.slotBytesTransmitted(QStringLiteral("COM3:00-002"), "third\n");
    // Two renderings' worth of time.
    QTest::qWait(1000);
    QCOMPARE(edits.count(), 0);
    QCOMPARE(edit->document()->blockCount(), 1);

    // Seen again, it catches up without waiting for more traffic.
    if (minimize) {
        monitor.showNormal();
    } else {
        monitor.show();
    }
    QTRY_COMPARE(edit->document()->blockCount(), 3);
    QVERIFY(edit->document()->findBlockByNumber(1).text().contains(QLatin1String("second")));
    QVERIFY(edit->document()->findBlockByNumber(2).text().contains(QLatin1String("third")));
}

void TestSerialMonitor::longLineIsCutOnDisplay()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    static constexpr int Bytes = 1024 * 1024;
    const QByteArray line = QByteArray(Bytes, 'a') + '\r';

    // The GUI thread's longest absence while the line is taken, laid out and painted.
    QElapsedTimer sinceBeat;
    qint64 longestGapMs = 0;
    QTimer heartbeat;
    heartbeat.setTimerType(Qt::PreciseTimer);
    heartbeat.setInterval(5);
    connect(&heartbeat, &QTimer::timeout, this,
            [&] { longestGapMs = qMax(longestGapMs, sinceBeat.restart()); });
    sinceBeat.start();
    heartbeat.start();

    QElapsedTimer appending;
    appending.start();
    monitor.slotBytesReceived(QStringLiteral("COM3:00-000"), line);
    const qint64 appendMs = appending.elapsed();
    longestGapMs = qMax(longestGapMs, sinceBeat.restart());
    QTRY_VERIFY(!edit->document()->isEmpty());
    edit->viewport()->repaint();
    QTest::qWait(50);
    heartbeat.stop();
    longestGapMs = qMax(longestGapMs, sinceBeat.elapsed());

    const QString text = edit->document()->firstBlock().text();
    QVERIFY2(text.contains(QStringLiteral("\u2026 (%1 bytes)").arg(Bytes + 1)), qPrintable(text));
    QVERIFY2(text.size() < 2000, qPrintable(QString::number(text.size())));
    QVERIFY(text.contains(QLatin1String("61h 61h")));
    // Well under 100 ms in a release build; the bound leaves room for the sanitizers and
    // a loaded machine, and is still far below the second the whole line used to take.
    QVERIFY2(appendMs < 20, qPrintable(QString::number(appendMs)));
    QVERIFY2(longestGapMs < 100, qPrintable(QString::number(longestGapMs)));
}

void TestSerialMonitor::viewIsBounded()
{
    // Weeks of traffic must not exhaust memory: the oldest lines make way, and what the
    // view holds stays the same once it is full.
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    const QByteArray reply("ly_vtx2_power=1234.5 W\r");

    static constexpr int Lines = 100000;
    static constexpr int LinesPerBurst = 2000;
    qint64 heapWhenFull = 0;
    const qint64 heapBefore = liveHeapBytes();
    for (int sent = 0; sent < Lines; sent += LinesPerBurst) {
        for (int index = sent; index < sent + LinesPerBurst; ++index) {
            monitor.slotBytesReceived(QStringLiteral("COM3:%1").arg(index), reply);
        }
        const QString newest = QStringLiteral("COM3:%1: ").arg(sent + LinesPerBurst - 1);
        QTRY_VERIFY(edit->document()->lastBlock().text().startsWith(newest));
        QVERIFY2(edit->document()->blockCount() <= SerialMonitor::MaximumLines,
                 qPrintable(QString::number(edit->document()->blockCount())));
        if (sent + LinesPerBurst == 4 * SerialMonitor::MaximumLines) {
            heapWhenFull = liveHeapBytes();
        }
    }
    const qint64 heapAfter = liveHeapBytes();
    const int blocks = edit->document()->blockCount();
    std::printf("QINFO  : %d blocks; heap %.1f MB more than before, %.2f MB more than at %d "
                "lines\n",
                blocks, (heapAfter - heapBefore) / 1e6, (heapAfter - heapWhenFull) / 1e6,
                4 * SerialMonitor::MaximumLines);
    QVERIFY(blocks <= SerialMonitor::MaximumLines);
    QVERIFY(blocks >= SerialMonitor::MaximumLines / 2);
    // The newest lines stay, in order.
    QVERIFY(edit->document()
                    ->findBlockByNumber(blocks - 2)
                    .text()
                    .startsWith(QStringLiteral("COM3:%1: ").arg(Lines - 2)));
    // Flat once full, and small.
    QVERIFY2(heapAfter - heapWhenFull < 2 * 1000 * 1000,
             qPrintable(QString::number(heapAfter - heapWhenFull)));
    QVERIFY2(heapAfter - heapBefore < 10 * 1000 * 1000,
             qPrintable(QString::number(heapAfter - heapBefore)));
}

void TestSerialMonitor::timeOfDayIsPutBack_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QTime>("arrival");
    QTest::addColumn<QString>("shown");

    QTest::newRow("same minute") << "COM3:07-042" << QTime(14, 31, 7, 50) << "COM3:14:31:07.042";
    QTest::newRow("arrived at the same millisecond")
            << "COM3:07-042" << QTime(14, 31, 7, 42) << "COM3:14:31:07.042";
    QTest::newRow("tagged in the minute before")
            << "COM3:59-990" << QTime(14, 32, 0, 5) << "COM3:14:31:59.990";
    QTest::newRow("tagged before midnight")
            << "COM3:59-999" << QTime(0, 0, 0, 10) << "COM3:23:59:59.999";
    QTest::newRow("partial line") << "/dev/pts/3_07-190" << QTime(9, 0, 7, 200)
                                  << "/dev/pts/3_09:00:07.190";
    QTest::newRow("not a traffic tag") << "COM3:4999" << QTime(9, 0, 7) << "COM3:4999";
    QTest::newRow("seconds out of range") << "COM3:60-000" << QTime(9, 0, 7) << "COM3:60-000";
    QTest::newRow("no port") << "07-042" << QTime(9, 0, 7) << "07-042";
    QTest::newRow("short") << "t" << QTime(9, 0, 7) << "t";
}

void TestSerialMonitor::timeOfDayIsPutBack()
{
    QFETCH(QString, tag);
    QFETCH(QTime, arrival);
    QFETCH(QString, shown);
    QCOMPARE(TrafficTag::withTimeOfDay(tag, arrival), shown);
}

// The operator pauses to read, traffic goes on for longer than a polling cycle, and all of
// it shows once the view is resumed.
void TestSerialMonitor::pauseHoldsTheViewAndResumeShowsEverything()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    auto *pause = monitor.findChild<QToolButton *>(QStringLiteral("toolButtonPause"));
    QVERIFY(pause);
    QVERIFY(pause->isCheckable());
    for (int index = 0; index < 10; ++index) {
        monitor.slotBytesReceived(QStringLiteral("COM3:00-000"),
                                  QByteArray("before ") + QByteArray::number(index) + '\r');
    }
    QTRY_COMPARE(edit->document()->blockCount(), 10);

    QTest::mouseClick(pause, Qt::LeftButton);
    QVERIFY(pause->isChecked());
    // More than a hidden page keeps, fewer than the view holds.
    static constexpr int PausedLines = 3000;
    for (int index = 0; index < PausedLines; ++index) {
        monitor.slotBytesReceived(QStringLiteral("COM3:00-001"),
                                  QByteArray("during ") + QByteArray::number(index) + '\r');
    }
    // Several renderings' worth, more than a polling cycle: the view stands still.
    QTest::qWait(1500);
    QCOMPARE(edit->document()->blockCount(), 10);
    QVERIFY(edit->document()->lastBlock().text().contains(QLatin1String("before 9")));

    QTest::mouseClick(pause, Qt::LeftButton);
    QVERIFY(!pause->isChecked());
    QTRY_COMPARE_WITH_TIMEOUT(edit->document()->blockCount(), 10 + PausedLines, 20000);
    // Every line, in order, nothing left out.
    QVERIFY(!edit->toPlainText().contains(QLatin1String("not shown")));
    QVERIFY(edit->document()->findBlockByNumber(10).text().contains(QLatin1String("during 0 ")));
    QVERIFY(edit->document()->lastBlock().text().contains(
            QStringLiteral("during %1 ").arg(PausedLines - 1)));
}

// Polling before, between and after a command typed by the operator: with the filter on,
// only the typed command and what the device answered to it stay on screen.
void TestSerialMonitor::typedCommandsOnlyHidesThePolling()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    monitor.setPortOpen(true);
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QLineEdit *line = monitor.findChild<QLineEdit *>(QStringLiteral("lineEditCommand"));
    QVERIFY(line);
    auto *typedOnly = monitor.findChild<QCheckBox *>(QStringLiteral("checkBoxTypedOnly"));
    QVERIFY(typedOnly);
    QSignalSpy sent(&monitor, &SerialMonitor::sigSendCommand);

    const auto poll = [&monitor](const QByteArray &command, const QByteArray &reply) {
        monitor.slotBytesTransmitted(QStringLiteral("COM3:01-000"), command + '\n');
        monitor.slotBytesReceived(QStringLiteral("COM3:01-010"), command + '\r');
        monitor.slotBytesReceived(QStringLiteral("COM3:01-020"), reply + '\r');
    };
    poll("s7", "s7 1 2 3");
    QTest::keyClicks(line, QStringLiteral("ls_wavelength?"));
    QTest::keyClick(line, Qt::Key_Return);
    QCOMPARE(sent.count(), 1);
    // The controller queues the typed command behind a polling turn.
    poll("s8", "s8 4 5 6");
    poll("ls_wavelength?", "ZEL HG\tWavelength=1");
    poll("s9", "s9 7 8 9");
    QTRY_COMPARE(edit->document()->blockCount(), 12);

    const auto shownTexts = [edit] {
        QStringList texts;
        for (QTextBlock block = edit->document()->begin(); block.isValid(); block = block.next()) {
            if (block.isVisible()) {
                texts << block.text().section(QStringLiteral(": "), 1);
            }
        }
        return texts;
    };
    const auto shownLineCount = [edit] {
        return qRound(edit->document()->documentLayout()->documentSize().height());
    };
    QCOMPARE(shownTexts().size(), 12);

    QTest::mouseClick(typedOnly, Qt::LeftButton, {}, QPoint(8, typedOnly->height() / 2));
    QVERIFY(typedOnly->isChecked());
    const QStringList typedExchange{QStringLiteral("TX: ls_wavelength?"),
                                    QStringLiteral("RX: ls_wavelength?"),
                                    QStringLiteral("RX: ZEL HG Wavelength=1")};
    QStringList shown = shownTexts();
    QCOMPARE(shown.size(), typedExchange.size());
    for (int index = 0; index < shown.size(); ++index) {
        QVERIFY2(shown.at(index).startsWith(typedExchange.at(index)), qPrintable(shown.at(index)));
    }
    // What the view lays out and draws is those three lines.
    QCOMPARE(shownLineCount(), typedExchange.size());
    QVERIFY(edit->cursorForPosition(QPoint(4, 4))
                    .block()
                    .text()
                    .contains(QLatin1String("TX: ls_wavelength?")));

    // Polling that comes while the filter is on stays out of sight; the next typed exchange
    // joins the first.
    QTest::keyClicks(line, QStringLiteral("ls_humidity?"));
    QTest::keyClick(line, Qt::Key_Return);
    poll("s6", "s6 1");
    poll("ls_humidity?", "ZEL HG\tHumidity=8 %");
    QTRY_COMPARE(edit->document()->blockCount(), 18);
    shown = shownTexts();
    QCOMPARE(shown.size(), 6);
    QVERIFY2(shown.at(3).startsWith(QLatin1String("TX: ls_humidity?")), qPrintable(shown.at(3)));
    QVERIFY2(shown.at(5).startsWith(QLatin1String("RX: ZEL HG Humidity=8 %")),
             qPrintable(shown.at(5)));

    // Off again, everything is back.
    QTest::mouseClick(typedOnly, Qt::LeftButton, {}, QPoint(8, typedOnly->height() / 2));
    QVERIFY(!typedOnly->isChecked());
    QCOMPARE(shownTexts().size(), 18);
    QCOMPARE(shownLineCount(), 18);
}

// The operator reads older lines while the traffic goes on and the view cuts its oldest
// lines: the line at the top of the view stays there.
void TestSerialMonitor::scrolledUpViewStaysOnItsLineWhileTheTopIsCut()
{
    SerialMonitor monitor;
    QVERIFY(showMonitor(monitor));
    QPlainTextEdit *edit = view(monitor);
    QVERIFY(edit);
    QScrollBar *bar = edit->verticalScrollBar();
    int sent = 0;
    // In bursts that the view takes whole, as it takes the polling.
    const auto feed = [&](int count) {
        static constexpr int Burst = 1000;
        for (int end = sent + count; sent < end;) {
            for (const int burstEnd = qMin(sent + Burst, end); sent < burstEnd; ++sent) {
                monitor.slotBytesReceived(QStringLiteral("COM3:00-000"),
                                          QByteArray("line ") + QByteArray::number(sent) + '\r');
            }
            const QString newest = QStringLiteral("RX: line %1 ").arg(sent - 1);
            if (!QTest::qWaitFor(
                        [&] { return edit->document()->lastBlock().text().contains(newest); },
                        30000)) {
                return false;
            }
        }
        return true;
    };
    QVERIFY(feed(SerialMonitor::MaximumLines));
    QCOMPARE(edit->document()->blockCount(), SerialMonitor::MaximumLines);

    // Up to the middle of what the view holds.
    bar->setValue(bar->maximum() / 2);
    QCoreApplication::processEvents();
    const QString reading = edit->cursorForPosition(QPoint(4, 4)).block().text();
    QVERIFY(reading.contains(QLatin1String("RX: line ")));

    // More than the view holds comes meanwhile: the oldest lines are cut, at the top.
    QVERIFY(feed(SerialMonitor::MaximumLines / 2 + 100));
    QVERIFY(feed(SerialMonitor::MaximumLines / 2 + 100));
    QCoreApplication::processEvents();
    QVERIFY2(!edit->document()->firstBlock().text().contains(QLatin1String("RX: line 0 ")),
             qPrintable(edit->document()->firstBlock().text()));
    QCOMPARE(edit->cursorForPosition(QPoint(4, 4)).block().text(), reading);
    QVERIFY(edit->document()->blockCount() <= SerialMonitor::MaximumHeldLines);

    // Back at the bottom, the view follows and keeps to its size again.
    bar->setValue(bar->maximum());
    QVERIFY(feed(100));
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), bar->maximum());
    QVERIFY(edit->document()->blockCount() <= SerialMonitor::MaximumLines);
}

QTEST_MAIN(TestSerialMonitor)
#include "tst_serialmonitor.moc"
