// The main window on the screens operators have, a 1366x768 laptop and a 1920x1080 lab
// screen: connected to the virtual laser and laid out as at its first start, drawn off-screen
// and measured. The panel's tab titles are whole, the serial monitor shows enough lines to
// read a reply, and every trend plot is tall enough to read, with no axis text cut short.
//
// With VELUTRA_SCREENSHOT_DIR set, the pictures measured are saved there.

#include "applicationidentity.h"
#include "guiwidget.h"
#include "mainwindow.h"
#include "optionsdialog.h"
#include "recordingservice.h"
#include "serialportlist.h"
#include "simulatorsession.h"
#include "trendchartview.h"
#include "trendsmodel.h"
#include "trendspage.h"
#include "velutracontroller.h"

#include <QAction>
#include <QDockWidget>
#include <QGraphicsScene>
#include <QGraphicsTextItem>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTabBar>
#include <QTemporaryDir>
#include <QtCharts/QChart>
#include <QtTest>

namespace {

constexpr int ConnectTimeoutMs = 30000;
// A plot lower than this shows its axis labels on top of each other or not at all.
constexpr int MinimumPlotHeight = 120;
// Enough of the monitor to read a typed command and its reply between the polling lines.
constexpr int MinimumMonitorLines = 8;

QString screenshotFolder()
{
    return qEnvironmentVariable("VELUTRA_SCREENSHOT_DIR");
}

void saveShot(const QPixmap &shot, const QString &name)
{
    const QString folder = screenshotFolder();
    if (!folder.isEmpty()) {
        QDir().mkpath(folder);
        shot.save(QDir(folder).filePath(name));
    }
}

QDockWidget *dockTitled(MainWindow &window, const QString &title)
{
    const QList<QDockWidget *> docks = window.accessoryDocks();
    for (QDockWidget *dock : docks) {
        if (dock->windowTitle() == title) {
            return dock;
        }
    }
    return nullptr;
}

// Axis labels and titles that Qt Charts had to shorten to make them fit.
QStringList elidedTexts(QGraphicsScene *scene)
{
    QStringList elided;
    const QList<QGraphicsItem *> items = scene->items();
    for (QGraphicsItem *item : items) {
        if (auto *text = dynamic_cast<QGraphicsTextItem *>(item)) {
            const QString plain = text->toPlainText();
            if (item->isVisible()
                && (plain.contains(QStringLiteral("...")) || plain.contains(QChar(0x2026)))) {
                elided << plain;
            }
        }
    }
    return elided;
}

} // namespace

class TestWindowSizes : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void firstStartFillsTheScreen();
    void connectedWindowFitsTheScreen_data();
    void connectedWindowFitsTheScreen();

private:
    QTemporaryDir m_home;
    SimulatorSession m_simulator;
};

void TestWindowSizes::initTestCase()
{
    QVERIFY(m_home.isValid());
    const QString runtime = m_home.filePath(QStringLiteral("runtime"));
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
    qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
    ApplicationIdentity::apply(QCoreApplication::instance());
    SerialportList::setIncludeSystemPorts(false);
    QVERIFY(m_simulator.start(m_home.filePath(QStringLiteral("trace.txt")),
                              {QStringLiteral("--module"), QStringLiteral("0x93"),
                               QStringLiteral("--no-pacing"), QStringLiteral("--speed"),
                               QStringLiteral("30")}));
}

void TestWindowSizes::init()
{
    // Every window here starts as on a machine it never ran on.
    QDir(m_home.filePath(QStringLiteral("config"))).removeRecursively();
}

void TestWindowSizes::firstStartFillsTheScreen()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QRect available = window.availableScreenArea();
    // The test platform's screen is small: the window is maximized on it, and fills it.
    QVERIFY(ZELMMainWindow::isSmallScreen(available.size()));
    QTRY_VERIFY(window.isMaximized());
    QTRY_COMPARE(window.frameGeometry().size(), available.size());
}

void TestWindowSizes::connectedWindowFitsTheScreen_data()
{
    QTest::addColumn<QSize>("screen");
    QTest::newRow("1366x768") << QSize(1366, 768);
    QTest::newRow("1920x1080") << QSize(1920, 1080);
}

void TestWindowSizes::connectedWindowFitsTheScreen()
{
    QFETCH(QSize, screen);
    const QString suffix = QStringLiteral("-%1x%2.png").arg(screen.width()).arg(screen.height());
    MainWindow window;
    // The first start on a screen of this size; the test platform's own screen is smaller
    // than either, and a maximized window would take that one's size.
    window.setWindowState(Qt::WindowNoState);
    window.fitToScreen(QRect(QPoint(0, 0), screen), MainWindow::firstStartSideDockWidth(screen),
                       MainWindow::firstStartBottomDockHeight(screen));
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_COMPARE(window.size(), screen);

    window.connectToPort(m_simulator.port());
    QTRY_VERIFY_WITH_TIMEOUT(
            window.findChild<VelutraController *>()
                    && window.findChild<VelutraController *>()->panelWidget()
                    && window.findChild<VelutraController *>()->panelWidget()->isEnabled(),
            ConnectTimeoutMs);
    auto *tabs = window.findChild<QTabBar *>(QStringLiteral("panelTabs"));
    QVERIFY(tabs);
    QTRY_VERIFY(tabs->isVisible());
    // Traffic for the monitor and a few rows for the trends.
    QTest::qWait(2500);
    saveShot(window.grab(), QStringLiteral("window") + suffix);

    // Every tab of the panel shows its whole title, inside the bar.
    int shownTabs = 0;
    for (int index = 0; index < tabs->count(); ++index) {
        if (!tabs->isTabVisible(index)) {
            continue;
        }
        ++shownTabs;
        const QString title = tabs->tabText(index);
        const QRect rect = tabs->tabRect(index);
        const int textWidth = tabs->fontMetrics().horizontalAdvance(title);
        // The style's padding and borders around a title.
        QVERIFY2(rect.width() >= textWidth + 26,
                 qPrintable(QStringLiteral("tab \"%1\" is %2 px for %3 px of text")
                                    .arg(title)
                                    .arg(rect.width())
                                    .arg(textWidth)));
        QVERIFY2(tabs->rect().contains(rect),
                 qPrintable(QStringLiteral("tab \"%1\" at %2,%3 %4 wide, bar %5 wide")
                                    .arg(title)
                                    .arg(rect.x())
                                    .arg(rect.y())
                                    .arg(rect.width())
                                    .arg(tabs->width())));
    }
    QCOMPARE(shownTabs, 6);

    // The serial monitor, in front of the trends at first.
    QDockWidget *monitorDock = dockTitled(window, QStringLiteral("Serial Monitor"));
    QVERIFY(monitorDock);
    auto *traffic
            = monitorDock->findChild<QPlainTextEdit *>(QStringLiteral("plainTextEditTraffic"));
    QVERIFY(traffic);
    QTRY_VERIFY(traffic->isVisible());
    const int lines = traffic->viewport()->height() / traffic->fontMetrics().lineSpacing();
    saveShot(monitorDock->grab(), QStringLiteral("monitor") + suffix);
    QVERIFY2(lines >= MinimumMonitorLines, qPrintable(QString::number(lines)));

    // The trends, brought to the front of the same place.
    QDockWidget *trendsDock = dockTitled(window, QStringLiteral("Trends"));
    QVERIFY(trendsDock);
    trendsDock->raise();
    QTRY_VERIFY(window.trendsPage()->isVisible());
    window.trendsPage()->redraw();
    QTest::qWait(300);
    saveShot(trendsDock->grab(), QStringLiteral("trends") + suffix);
    const QList<TrendChartView *> plots = window.trendsPage()->findChildren<TrendChartView *>();
    QCOMPARE(plots.size(), 3);
    for (TrendChartView *plot : plots) {
        QVERIFY2(plot->height() >= MinimumPlotHeight,
                 qPrintable(QStringLiteral("%1: %2 px")
                                    .arg(plot->chart()->toolTip())
                                    .arg(plot->height())));
        QVERIFY2(plot->width() >= 2 * MinimumPlotHeight,
                 qPrintable(QString::number(plot->width())));
        const QStringList elided = elidedTexts(plot->scene());
        QVERIFY2(elided.isEmpty(), qPrintable(elided.join(QStringLiteral(" | "))));
    }
    auto *windowLabel = window.trendsPage()->findChild<QLabel *>(QStringLiteral("windowLabel"));
    if (windowLabel) {
        QVERIFY(windowLabel->width() >= windowLabel->sizeHint().width());
    }
    monitorDock->raise();

    // File → Options…, as it opens over the window: it lists the program's own pages.
    QAction *optionsAction = nullptr;
    const QList<QAction *> actions = window.findChildren<QAction *>();
    for (QAction *action : actions) {
        if (action->text().startsWith(QStringLiteral("&Options"))) {
            optionsAction = action;
            break;
        }
    }
    QVERIFY(optionsAction);
    optionsAction->trigger();
    OptionsDialog *options = nullptr;
    QTRY_VERIFY((options = window.findChild<OptionsDialog *>()) && options->isVisible());
    saveShot(options->grab(), QStringLiteral("options") + suffix);
    options->reject();
}

QTEST_MAIN(TestWindowSizes)
#include "tst_windowsizes.moc"
