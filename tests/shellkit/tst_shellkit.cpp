#include "centertabwidget.h"
#include "guioverlay.h"
#include "guiwidget.h"
#include "maincontrolpanel.h"
#include "zelmmainwindow.h"

#include <QAction>
#include <QDockWidget>
#include <QLabel>
#include <QPointer>
#include <QVBoxLayout>
#include <QtTest>

class TestShellKit : public QObject
{
    Q_OBJECT

private slots:
    void genericDockIsPlacedAndNamed()
    {
        ZELMMainWindow window;
        window.setCentralWidget(new CenterTabWidget(&window));
        auto *page = new QLabel(QStringLiteral("log"));
        QDockWidget *dock = window.createGenericDockWidget(page, QStringLiteral("Application Log"),
                                                           Qt::RightDockWidgetArea, false);
        QVERIFY(dock);
        QCOMPARE(dock->windowTitle(), QStringLiteral("Application Log"));
        QCOMPARE(dock->objectName(), QStringLiteral("Application Log"));
        QCOMPARE(dock->widget(), page);
        QCOMPARE(window.dockWidgetArea(dock), Qt::RightDockWidgetArea);
        QVERIFY(!dock->isFloating());
        QCOMPARE(window.accessoryDocks(), QList<QDockWidget *>{dock});
    }

    void pageRestsWhileItsDockIsOutOfSight()
    {
        // A dock behind another one's tab is only moved away by Qt; its page must be hidden
        // so that it stops drawing, and come back with its tab.
        ZELMMainWindow window;
        window.setCentralWidget(new CenterTabWidget(&window));
        auto *monitor = new QLabel(QStringLiteral("traffic"));
        auto *trends = new QLabel(QStringLiteral("trends"));
        QDockWidget *monitorDock = window.createGenericDockWidget(
                monitor, QStringLiteral("Monitor"), Qt::BottomDockWidgetArea, false);
        QDockWidget *trendsDock = window.createGenericDockWidget(trends, QStringLiteral("Trends"),
                                                                 Qt::BottomDockWidgetArea, false);
        window.tabifyDockWidget(monitorDock, trendsDock);
        monitorDock->raise();
        window.resize(800, 600);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_VERIFY(monitor->isVisible());
        QTRY_VERIFY(!trends->isVisible());

        trendsDock->raise();
        QTRY_VERIFY(trends->isVisible());
        QTRY_VERIFY(!monitor->isVisible());

        // A dock on its own comes back with its page.
        auto *log = new QLabel(QStringLiteral("log"));
        QDockWidget *logDock = window.createGenericDockWidget(log, QStringLiteral("Log"),
                                                              Qt::RightDockWidgetArea, false);
        QTRY_VERIFY(log->isVisible());
        logDock->close();
        QTRY_VERIFY(!log->isVisible());
        logDock->toggleViewAction()->trigger();
        QTRY_VERIFY(log->isVisible());

        // Closing a dock hides its page too; opening it again (behind the other tab) and
        // bringing it to the front shows the page.
        trendsDock->close();
        QTRY_VERIFY(!trends->isVisible());
        QTRY_VERIFY(monitor->isVisible());
        trendsDock->toggleViewAction()->trigger();
        QTRY_VERIFY(trendsDock->isVisible());
        trendsDock->raise();
        QTRY_VERIFY(trends->isVisible());
        QTRY_VERIFY(!monitor->isVisible());
    }

    void removeAllAccessoryDocksDeletesThem()
    {
        ZELMMainWindow window;
        QPointer<QDockWidget> first = window.createGenericDockWidget(
                new QLabel, QStringLiteral("one"), Qt::RightDockWidgetArea, false);
        QPointer<QDockWidget> second = window.createGenericDockWidget(
                new QLabel, QStringLiteral("two"), Qt::BottomDockWidgetArea, false);
        window.removeAllAccessoryDocks();
        QVERIFY(window.accessoryDocks().isEmpty());
        QTRY_VERIFY(!first && !second);
    }

    void systemWidgetsLiveInTheCentre()
    {
        ZELMMainWindow window;
        auto *tabs = new CenterTabWidget(&window);
        window.setCentralWidget(tabs);
        QCOMPARE(window.centerTabWidget(), tabs);
        auto *panel = new MainControlPanel(&window);
        QCOMPARE(window.createSystemWidget(panel, QStringLiteral("Control Panel")), panel);
        QCOMPARE(tabs->count(), 1);
        QCOMPARE(tabs->tabText(0), QStringLiteral("Control Panel"));
        QCOMPARE(window.systemWidgets(), QList<QWidget *>{panel});

        QPointer<MainControlPanel> guard(panel);
        window.removeAllSystemWidgets();
        QCOMPARE(tabs->count(), 0);
        QTRY_VERIFY(!guard);
    }

    void controlPanelOwnsAndReplacesItsControl()
    {
        MainControlPanel panel;
        QVERIFY(panel.mainControl() == nullptr);
        QPointer<QWidget> first = new QLabel(QStringLiteral("first"));
        panel.showMainControl(first, true);
        QCOMPARE(panel.mainControl(), first.data());
        panel.show();
        QVERIFY(first->isVisible());
        panel.showMainControl(first, false);
        QVERIFY(!first->isVisible());

        QPointer<QWidget> second = new QLabel(QStringLiteral("second"));
        panel.showMainControl(second, true);
        QCOMPARE(panel.mainControl(), second.data());
        QTRY_VERIFY(!first);
        QVERIFY(second);
    }

    void overlayVeilsADisabledWidget()
    {
        GUIWidget widget;
        QVERIFY(widget.boxLayout());
        widget.boxLayout()->addWidget(new QLabel(QStringLiteral("controls")));
        auto *overlay = new GUIOverlay(&widget);
        widget.resize(400, 300);
        widget.setEnabled(false);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QTRY_VERIFY(overlay->isVisible());
        QCOMPARE(overlay->geometry(), widget.rect());
        widget.setEnabled(true);
        QTRY_VERIFY(!overlay->isVisible());
        widget.resize(500, 350);
        QTRY_COMPARE(overlay->geometry(), widget.rect());
    }

    void emptyCentreShowsAHint()
    {
        CenterTabWidget tabs;
        QVERIFY(!tabs.placeholderText().isEmpty());
        tabs.addTab(new QLabel, QStringLiteral("one"));
        tabs.addTab(new QLabel, QStringLiteral("two"));
        QCOMPARE(tabs.count(), 2);
    }
};

QTEST_MAIN(TestShellKit)
#include "tst_shellkit.moc"
