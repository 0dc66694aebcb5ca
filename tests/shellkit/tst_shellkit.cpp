#include "centertabwidget.h"
#include "guioverlay.h"
#include "guiwidget.h"
#include "maincontrolpanel.h"
#include "zelmmainwindow.h"

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
