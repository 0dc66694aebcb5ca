// The panel's sliders under the operator's hand, the whole program in one process against the
// virtual laser: the handle held through several polling cycles while the device keeps
// answering, and a click on the groove. What reaches the device is read from the simulator's
// trace of the commands it received.

#include "_applog.h"
#include "applicationidentity.h"
#include "comboslider.h"
#include "guiwidget.h"
#include "lineedit.h"
#include "mainwindow.h"
#include "reconnecttesthome.h"
#include "scaleslider.h"
#include "serialportlist.h"
#include "simulatorsession.h"
#include "velutracontroller.h"
#include "velutraview.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QtTest>

#include <cmath>
#include <memory>

namespace {

constexpr int s_connectTimeoutMs = 30000;
constexpr int s_valueTimeoutMs = 20000;
// Longer than two polling cycles of the real device (about one second each).
constexpr int s_holdMs = 2500;
const QSize s_screenSize(1366, 768);
const QByteArray s_powerSet("ly_vtx2_power=");
const QByteArray s_powerPoll("ly_vtx2_power?");

// The commands the simulator received, in order, as its trace's CMD records hold them (the
// commands of this program are plain ASCII, so the escapes need no undoing here).
QList<QByteArray> tracedCommands(const QString &traceFile)
{
    QList<QByteArray> commands;
    QFile file(traceFile);
    if (!file.open(QIODevice::ReadOnly)) {
        return commands;
    }
    static const QByteArray s_marker(" CMD \"");
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        const int start = line.indexOf(s_marker);
        if (line.startsWith('#') || start < 0 || !line.endsWith('"')) {
            continue;
        }
        commands.append(
                line.mid(start + s_marker.size(), line.size() - start - s_marker.size() - 1));
    }
    return commands;
}

QList<QByteArray> startingWith(const QList<QByteArray> &commands, const QByteArray &start)
{
    QList<QByteArray> found;
    for (const QByteArray &command : commands) {
        if (command.startsWith(start)) {
            found.append(command);
        }
    }
    return found;
}

// A command that changes something on the device, as opposed to one that only reads.
bool isSetCommand(const QByteArray &command)
{
    static const QList<QByteArray> s_plainReads = {"s6", "s7", "s8", "s9", "ly_system_info"};
    return !command.endsWith('?') && !s_plainReads.contains(command);
}

// The hand moving with the left button held down: QTest's own mouseMove carries no button.
void moveHeld(QWidget *widget, QPoint to)
{
    QMouseEvent event(QEvent::MouseMove, to, widget->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

} // namespace

class TestOperatorControls : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void energyHeldThroughPollsSendsOnlyTheReleasedValue();
    void energyHeldAndRefusedEndsOnTheDevicesValue();
    void energyGrooveClickSendsOneStep();

private:
    void start(const QStringList &extra = {});
    double pickUpAndHoldEnergy();
    QList<QByteArray> commands() const { return tracedCommands(m_traceFile); }
    int powerPolls() const { return commands().count(s_powerPoll); }
    VelutraView *view() const;
    ComboSlider *energySlider() const;
    static ScaleSlider *handleOf(ComboSlider *slider);
    static QString textOf(ComboSlider *slider);

    QTemporaryDir m_home;
    std::unique_ptr<QProcess> m_simulator;
    std::unique_ptr<MainWindow> m_window;
    QString m_traceFile;
    QPoint m_heldAt;
};

void TestOperatorControls::initTestCase()
{
    QVERIFY(makeTestHome(m_home));
}

void TestOperatorControls::cleanup()
{
    m_window.reset();
    if (m_simulator) {
        stopSimulatorProcess(*m_simulator);
    }
    m_simulator.reset();
}

// The program connected to a virtual laser with a THG module, its panel showing the device's
// energy set-point (5 µJ) inside the limits at its rate (0.5 to 50 µJ).
void TestOperatorControls::start(const QStringList &extra)
{
    _AppLog::getLogDocument()->clear();
    m_traceFile = m_home.filePath(QStringLiteral("trace-%1.txt").arg(QTest::currentTestFunction()));
    QFile::remove(m_traceFile);
    m_simulator = std::make_unique<QProcess>();
    QString port;
    QVERIFY(startSimulatorProcess(*m_simulator,
                                  QStringList{"--module", "0x93", "--no-pacing", "--speed", "50",
                                              "--no-control-socket", "--trace", m_traceFile}
                                          + extra,
                                  &port));
    m_window = std::make_unique<MainWindow>();
    m_window->resize(s_screenSize);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_window->connectToPort(port);
    QTRY_COMPARE(m_window->openPortName(), port);
    QTRY_VERIFY_WITH_TIMEOUT(view() && energySlider(), s_connectTimeoutMs);
    ComboSlider *energy = energySlider();
    QTRY_COMPARE_WITH_TIMEOUT(textOf(energy), QStringLiteral("5.00"), s_valueTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(energy->currentUnit()->minimum(), 0.5, s_valueTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(energy->currentUnit()->maximum(), 50.0, s_valueTimeoutMs);
    view()->setControlPage(VelutraView::ControlPage);
    QTRY_VERIFY(handleOf(energy)->isVisible() && handleOf(energy)->isEnabled());
}

VelutraView *TestOperatorControls::view() const
{
    auto *controller = m_window->findChild<VelutraController *>();
    return controller ? controller->view() : nullptr;
}

ComboSlider *TestOperatorControls::energySlider() const
{
    VelutraView *panelView = view();
    return panelView ? panelView->findChild<ComboSlider *>(QStringLiteral("energySlider"))
                     : nullptr;
}

ScaleSlider *TestOperatorControls::handleOf(ComboSlider *slider)
{
    return slider->findChild<ScaleSlider *>(QStringLiteral("slider"));
}

QString TestOperatorControls::textOf(ComboSlider *slider)
{
    auto *edit = slider->findChild<LineEdit *>(QStringLiteral("valueEdit"));
    return edit ? edit->text() : QString();
}

// Picks the energy handle up, moves it right in a few steps and holds it there through at
// least two polls of the set-point, checking all along that the hold survives, that the
// handle and its read-out stay under the hand and that nothing is sent. Returns the value
// under the hand, still held.
double TestOperatorControls::pickUpAndHoldEnergy()
{
    ComboSlider *energy = energySlider();
    ScaleSlider *handle = handleOf(energy);
    const QPoint grip = handle->handleRect().center();
    // Halfway to the top of the range: well away from 5 µJ whatever width the layout gives.
    const int target = grip.x() + (handle->width() - grip.x()) / 2;
    m_heldAt = QPoint(target, grip.y());

    QTest::mousePress(handle, Qt::LeftButton, {}, grip);
    if (!handle->isDragging()) {
        qWarning("the handle was not picked up");
        return -1.0;
    }
    for (int i = 1; i <= 6; ++i) {
        moveHeld(handle, QPoint(grip.x() + (target - grip.x()) * i / 6, grip.y()));
        QTest::qWait(50);
    }
    const double held = handle->handleValue();
    const QString heldText = textOf(energy);
    const int setsBefore = startingWith(commands(), s_powerSet).size();

    // The device keeps reporting its own set-point meanwhile.
    const int pollsBefore = powerPolls();
    QElapsedTimer holding;
    holding.start();
    while (holding.elapsed() < s_holdMs || powerPolls() < pollsBefore + 2) {
        if (holding.elapsed() > s_valueTimeoutMs) {
            qWarning("the device was not polled while the handle was held");
            return -1.0;
        }
        QTest::qWait(100);
        moveHeld(handle, m_heldAt);
        if (!handle->isDragging() || handle->handleValue() != held || textOf(energy) != heldText) {
            qWarning("the drag was dropped or moved while held: %s, %g, %s",
                     handle->isDragging() ? "dragging" : "dropped", handle->handleValue(),
                     qPrintable(textOf(energy)));
            return -1.0;
        }
        if (startingWith(commands(), s_powerSet).size() != setsBefore) {
            qWarning("a value went out while the handle was held");
            return -1.0;
        }
    }
    return held;
}

void TestOperatorControls::energyHeldThroughPollsSendsOnlyTheReleasedValue()
{
    start();
    if (QTest::currentTestFailed()) {
        return;
    }
    ComboSlider *energy = energySlider();
    ScaleSlider *handle = handleOf(energy);
    const double held = pickUpAndHoldEnergy();
    QVERIFY2(held > 10.0 && held < 40.0, qPrintable(QString::number(held)));
    const QString heldText = textOf(energy);
    QCOMPARE(heldText, QString::number(held, 'f', 2));

    // Letting go sends the released value, once.
    QTest::mouseRelease(handle, Qt::LeftButton, {}, m_heldAt);
    QVERIFY(!handle->isDragging());
    const QByteArray expected = s_powerSet + QByteArray::number(held * 1000.0, 'f', 0);
    QTRY_COMPARE_WITH_TIMEOUT(startingWith(commands(), s_powerSet), QList<QByteArray>{expected},
                              s_valueTimeoutMs);

    // The device took it: its read-back is what shows, and nothing more goes out.
    const int pollsAfter = powerPolls();
    QTRY_VERIFY_WITH_TIMEOUT(powerPolls() >= pollsAfter + 2, s_valueTimeoutMs);
    QCOMPARE(textOf(energy), heldText);
    QCOMPARE(energy->value(), held);
    QCOMPARE(handle->value(), held);
    QList<QByteArray> setCommands;
    for (const QByteArray &command : commands()) {
        if (isSetCommand(command)) {
            setCommands.append(command);
        }
    }
    QCOMPARE(setCommands, QList<QByteArray>{expected});
}

void TestOperatorControls::energyHeldAndRefusedEndsOnTheDevicesValue()
{
    start({"--refuse", "ly_vtx2_power"});
    if (QTest::currentTestFailed()) {
        return;
    }
    ComboSlider *energy = energySlider();
    ScaleSlider *handle = handleOf(energy);
    const double held = pickUpAndHoldEnergy();
    QVERIFY2(held > 10.0 && held < 40.0, qPrintable(QString::number(held)));
    QTest::mouseRelease(handle, Qt::LeftButton, {}, m_heldAt);
    const QByteArray expected = s_powerSet + QByteArray::number(held * 1000.0, 'f', 0);
    QTRY_COMPARE_WITH_TIMEOUT(startingWith(commands(), s_powerSet), QList<QByteArray>{expected},
                              s_valueTimeoutMs);

    // The device kept 5 µJ: the slider ends on that, not on the released value.
    QTRY_COMPARE_WITH_TIMEOUT(textOf(energy), QStringLiteral("5.00"), s_valueTimeoutMs);
    QCOMPARE(handle->value(), 5.0);
    const int pollsAfter = powerPolls();
    QTRY_VERIFY_WITH_TIMEOUT(powerPolls() >= pollsAfter + 2, s_valueTimeoutMs);
    QCOMPARE(textOf(energy), QStringLiteral("5.00"));
    QCOMPARE(startingWith(commands(), s_powerSet), QList<QByteArray>{expected});
}

void TestOperatorControls::energyGrooveClickSendsOneStep()
{
    start();
    if (QTest::currentTestFailed()) {
        return;
    }
    ComboSlider *energy = energySlider();
    ScaleSlider *handle = handleOf(energy);
    const QRect grip = handle->handleRect();
    // Far to the right of the handle, on the groove.
    const QPoint onGroove(grip.right() + (handle->width() - grip.right()) / 2, grip.center().y());
    QTest::mouseClick(handle, Qt::LeftButton, {}, onGroove);

    // One step of a 0.5 to 50 µJ scale: 0.05 µJ up, never a page or the point clicked.
    QTRY_COMPARE_WITH_TIMEOUT(startingWith(commands(), s_powerSet),
                              QList<QByteArray>{"ly_vtx2_power=5050"}, s_valueTimeoutMs);
    const int pollsAfter = powerPolls();
    QTRY_VERIFY_WITH_TIMEOUT(powerPolls() >= pollsAfter + 2, s_valueTimeoutMs);
    QCOMPARE(textOf(energy), QStringLiteral("5.05"));
    QCOMPARE(startingWith(commands(), s_powerSet), QList<QByteArray>{"ly_vtx2_power=5050"});

    // And to the left of it, one step down.
    const QPoint leftOfHandle(handle->handleRect().left() / 2, grip.center().y());
    QTest::mouseClick(handle, Qt::LeftButton, {}, leftOfHandle);
    QTRY_COMPARE_WITH_TIMEOUT(startingWith(commands(), s_powerSet).size(), 2, s_valueTimeoutMs);
    QCOMPARE(startingWith(commands(), s_powerSet).last(), QByteArray("ly_vtx2_power=5000"));
    QTRY_COMPARE_WITH_TIMEOUT(textOf(energy), QStringLiteral("5.00"), s_valueTimeoutMs);
}

QTEST_MAIN(TestOperatorControls)
#include "tst_operatorcontrols.moc"
