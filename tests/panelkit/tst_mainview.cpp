#include "mainview.h"
#include "panelkit.h"
#include "testinput.h"

#include <QLabel>
#include <QPointer>
#include <QTabBar>
#include <QtTest>

class TestMainView : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<MainView> makeView()
    {
        auto view = std::make_unique<MainView>();
        for (const char *title : {"Control", "View", "Temperature Details", "System Details",
                                  "System settings", "Harmonic Generator"}) {
            view->addControlPage(QString::fromLatin1(title));
        }
        TestInput::showActive(view.get(), QSize(1000, 600));
        return view;
    }

    static QTabBar *tabsOf(MainView *view)
    {
        return view->findChild<QTabBar *>(QStringLiteral("panelTabs"));
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
    }

    void pagesInOrder()
    {
        auto view = makeView();
        QCOMPARE(view->controlPageCount(), 6);
        QCOMPARE(view->currentControlPage(), 0);
        view->setControlPage(3);
        QCOMPARE(view->currentControlPage(), 3);
        QVERIFY(view->controlPage(3)->isVisible());
        QVERIFY(!view->controlPage(0)->isVisible());
        view->setControlPage(17);
        QCOMPARE(view->currentControlPage(), 3);
    }

    void pageWithoutAccessCannotBeReached()
    {
        auto view = makeView();
        view->setControlPage(4);
        view->setSettingsPageAccess(4, false);
        view->setSettingsPageAccess(5, false);
        QVERIFY(!view->hasSettingsPageAccess(4));
        // The page on display lost its access: the panel falls back to the first page.
        QCOMPARE(view->currentControlPage(), 0);
        view->setControlPage(5);
        QCOMPARE(view->currentControlPage(), 0);

        QTabBar *tabs = tabsOf(view.get());
        QVERIFY(!tabs->isTabVisible(4));
        QVERIFY(!tabs->isTabEnabled(5));
        // Stepping through pages with the keyboard skips them.
        view->setControlPage(3);
        QTest::keyClick(tabs, Qt::Key_PageDown, Qt::ControlModifier);
        QCOMPARE(view->currentControlPage(), 0);

        view->setSettingsPageAccess(5, true);
        QVERIFY(tabs->isTabVisible(5));
        view->setControlPage(5);
        QCOMPARE(view->currentControlPage(), 5);
    }

    void operatorNavigatesWithTheTabs()
    {
        auto view = makeView();
        QTabBar *tabs = tabsOf(view.get());
        QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(2).center());
        QCOMPARE(view->currentControlPage(), 2);
        QVERIFY(view->controlPage(2)->isVisible());
    }

    // The panel inside the main window: 1140 px is what a 1366 px screen leaves beside the
    // docked log, 1700 px what a 1920 px screen leaves; 700 px is a window made narrow. The
    // remote-control column is as wide as the program's. Every title is read whole, and
    // where there is room for all of them, all are in sight.
    void tabTitlesAreReadWhole_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<bool>("allInSight");
        QTest::newRow("1366 px screen") << 1140 << true;
        QTest::newRow("1920 px screen") << 1700 << true;
        QTest::newRow("narrow window") << 700 << false;
    }

    void tabTitlesAreReadWhole()
    {
        QFETCH(int, width);
        QFETCH(bool, allInSight);
        PanelKit::loadApplicationFonts();
        qApp->setStyleSheet(PanelKit::getApplicationStylesheet());
        auto view = std::make_unique<MainView>();
        for (const char *title : {"Control", "View", "Temperature Details", "System Details",
                                  "System settings", "Harmonic Generator"}) {
            view->addControlPage(QString::fromLatin1(title));
        }
        auto *remote = new QWidget;
        remote->setFixedWidth(140);
        view->setRemoteControlWidget(remote);
        TestInput::showActive(view.get(), QSize(width, 700));
        QTabBar *tabs = tabsOf(view.get());
        QTRY_COMPARE(view->width(), width);
        QCoreApplication::processEvents();
        QPixmap shot = view->grab();
        QVERIFY(!shot.isNull());
        const QString folder = qEnvironmentVariable("VELUTRA_SCREENSHOT_DIR");
        if (!folder.isEmpty()) {
            shot.save(QStringLiteral("%1/mainview-%2.png").arg(folder).arg(width));
        }
        // The style's padding and borders around a title.
        static constexpr int TitleMargins = 26;
        for (int index = 0; index < tabs->count(); ++index) {
            const QString title = tabs->tabText(index);
            const QRect rect = tabs->tabRect(index);
            const int textWidth = tabs->fontMetrics().horizontalAdvance(title);
            QVERIFY2(rect.width() >= textWidth + TitleMargins,
                     qPrintable(QStringLiteral("\"%1\": %2 px for %3 px of text")
                                        .arg(title)
                                        .arg(rect.width())
                                        .arg(textWidth)));
            if (allInSight) {
                QVERIFY2(tabs->rect().contains(rect),
                         qPrintable(QStringLiteral("\"%1\" ends at %2 of %3 px")
                                            .arg(title)
                                            .arg(rect.right())
                                            .arg(tabs->width())));
            }
        }
        qApp->setStyleSheet(QString());
    }

    void headersAndRemoteControl()
    {
        auto view = makeView();
        view->setHeader(5);
        QCOMPARE(view->header(), QStringLiteral("5"));
        view->setTinyHeader(QStringLiteral("Velutra XP\n"));
        QCOMPARE(view->tinyHeader(), QStringLiteral("Velutra XP\n"));
        auto *tiny = view->findChild<QLabel *>(QStringLiteral("panelTinyHeader"));
        QCOMPARE(tiny->text(), QStringLiteral("Velutra XP"));

        QVERIFY(view->sidePanel());
        QVERIFY(view->isAncestorOf(view->sidePanel()));

        QPointer<QWidget> first = new QLabel(QStringLiteral("remote"));
        view->setRemoteControlWidget(first);
        QCOMPARE(view->remoteControlWidget(), first.data());
        QVERIFY(view->isAncestorOf(first));
        QVERIFY(first->isVisible());
        QPointer<QWidget> second = new QLabel(QStringLiteral("other"));
        view->setRemoteControlWidget(second);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(first.isNull());
        QCOMPARE(view->remoteControlWidget(), second.data());
    }
};

QTEST_MAIN(TestMainView)
#include "tst_mainview.moc"
