#include "_applog.h"
#include "applicationidentity.h"
#include "applicationlog.h"
#include "mainwindow.h"
#include "serialportlist.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include <memory>

class TestApplicationLog : public QObject
{
    Q_OBJECT

private:
    static QPlainTextEdit *view(ApplicationLog &page) { return page.findChild<QPlainTextEdit *>(); }
    static QToolButton *button(ApplicationLog &page, const char *name)
    {
        return page.findChild<QToolButton *>(QString::fromLatin1(name));
    }
    static void writeLines(int count)
    {
        for (int i = 0; i < count; ++i) {
            _AppLog::WriteLogLine(QStringLiteral("line %1").arg(i));
        }
    }

    // The program's window on a screen of the given size, as the operator first sees it.
    static std::unique_ptr<MainWindow> shownWindow(const QSize &screen)
    {
        auto window = std::make_unique<MainWindow>();
        window->resize(screen);
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get())) {
            return nullptr;
        }
        return window;
    }

    static QDockWidget *logDock(MainWindow &window)
    {
        auto *page = window.findChild<ApplicationLog *>();
        return page ? qobject_cast<QDockWidget *>(page->parentWidget()) : nullptr;
    }

    QTemporaryDir m_home;

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
        qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
        ApplicationIdentity::apply(QCoreApplication::instance());
        SerialportList::setIncludeSystemPorts(false);
    }

    void init() { _AppLog::getLogDocument()->clear(); }

    void wholeMessageIsReadableInTheWindow_data()
    {
        QTest::addColumn<QSize>("screen");
        QTest::newRow("1366x768") << QSize(1366, 768);
        QTest::newRow("1920x1080") << QSize(1920, 1080);
    }

    void wholeMessageIsReadableInTheWindow()
    {
        QFETCH(QSize, screen);
        QDir(m_home.filePath(QStringLiteral("config"))).removeRecursively();
        const auto window = shownWindow(screen);
        QVERIFY(window);
        auto *page = window->findChild<ApplicationLog *>();
        QVERIFY(page && page->isVisible());
        QPlainTextEdit *edit = view(*page);
        const QString message
                = QStringLiteral("Operator: set the AOM energy level of Green 515 nm to 12.50 µJ "
                                 "(\"ls_dwls_default=1,12500\")");
        _AppLog::WriteLogLine(message);
        QCoreApplication::processEvents();

        // Nothing of the line lies beyond the right edge: no sideways scrolling is needed, and
        // each of its screen lines fits the visible width.
        QCOMPARE(edit->horizontalScrollBar()->maximum(), 0);
        const QTextBlock block = _AppLog::getLogDocument()->lastBlock();
        QVERIFY(block.text().endsWith(message));
        QTextLayout *layout = block.layout();
        QVERIFY(layout && layout->lineCount() > 0);
        for (int i = 0; i < layout->lineCount(); ++i) {
            QVERIFY2(layout->lineAt(i).naturalTextWidth() <= edit->viewport()->width(),
                     qPrintable(QStringLiteral("line %1 is %2 px wide in %3 px")
                                        .arg(i)
                                        .arg(layout->lineAt(i).naturalTextWidth())
                                        .arg(edit->viewport()->width())));
        }
        // The newest line is in sight.
        const QRectF shown = edit->viewport()->rect();
        QTRY_VERIFY(shown.contains(
                edit->cursorRect(QTextCursor(_AppLog::getLogDocument()->lastBlock())).center()));
    }

    void dockKeepsItsWidthWhenClosedAndReopened()
    {
        QDir(m_home.filePath(QStringLiteral("config"))).removeRecursively();
        const auto window = shownWindow(QSize(1366, 768));
        QVERIFY(window);
        QDockWidget *dock = logDock(*window);
        QVERIFY(dock);
        QMenu *windowMenu = nullptr;
        for (QAction *menu : window->menuBar()->actions()) {
            if (menu->text() == QLatin1String("&Window")) {
                windowMenu = menu->menu();
            }
        }
        QVERIFY(windowMenu);
        // Opens the Window menu and clicks the log's entry, as the operator does.
        const auto clickLogEntry = [&] {
            windowMenu->popup(window->mapToGlobal(QPoint(40, 40)));
            QTRY_VERIFY(windowMenu->isVisible());
            QAction *entry = nullptr;
            for (QAction *action : windowMenu->actions()) {
                if (action->text() == QLatin1String("Application Log")) {
                    entry = action;
                }
            }
            QVERIFY2(entry, "the log is not on the Window menu");
            QTest::mouseClick(windowMenu, Qt::LeftButton, {},
                              windowMenu->actionGeometry(entry).center());
            QTRY_VERIFY(!windowMenu->isVisible());
        };

        // The operator widens the log to read it, closes it, and opens it again.
        window->resizeDocks({dock}, {420}, Qt::Horizontal);
        QTRY_VERIFY(qAbs(dock->width() - 420) <= 8);
        const int widened = dock->width();
        clickLogEntry();
        QTRY_VERIFY(!dock->isVisible());
        clickLogEntry();
        QTRY_VERIFY(dock->isVisible());
        QTest::qWait(50);
        QVERIFY2(qAbs(dock->width() - widened) <= 8,
                 qPrintable(QStringLiteral("%1 px after reopening, %2 px before")
                                    .arg(dock->width())
                                    .arg(widened)));
    }

    void showsTheSharedLogReadOnly()
    {
        ApplicationLog page;
        QCOMPARE(view(page)->document(), _AppLog::getLogDocument());
        QVERIFY(view(page)->isReadOnly());
        _AppLog::WriteLogLine(QStringLiteral("visible on the page"));
        QVERIFY(view(page)->toPlainText().endsWith(QStringLiteral("visible on the page")));
    }

    void followsNewLinesOnlyAtTheBottom()
    {
        ApplicationLog page;
        page.resize(400, 200);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        QScrollBar *bar = view(page)->verticalScrollBar();
        writeLines(200);
        QTRY_VERIFY(bar->maximum() > 0);
        QTRY_COMPARE(bar->value(), bar->maximum());

        // Scrolled up by the operator: new lines must not pull the view away.
        bar->setValue(bar->maximum() / 2);
        const int held = bar->value();
        writeLines(50);
        QCoreApplication::processEvents();
        QCOMPARE(bar->value(), held);

        // Back at the bottom: following resumes.
        bar->setValue(bar->maximum());
        writeLines(50);
        QTRY_COMPARE(bar->value(), bar->maximum());
    }

    void clearButtonEmptiesTheLog()
    {
        ApplicationLog page;
        writeLines(3);
        button(page, "toolButtonClear")->click();
        QVERIFY(_AppLog::getLogDocument()->isEmpty());
    }

    void saveButtonWritesTheChosenFile()
    {
        QTemporaryDir dir;
        ApplicationLog page;
        writeLines(3);
        bool dialogSeen = false;
        QString target;
        QTimer::singleShot(200, this, [&] {
            auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            if (dialog) {
                dialogSeen = true;
                // Keep the proposed name, in a folder of our own.
                dialog->setDirectory(dir.path());
                target = dialog->selectedFiles().value(0);
                QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
            }
        });
        button(page, "toolButtonSave")->click();
        QVERIFY(dialogSeen);
        QVERIFY2(target.startsWith(dir.path()), qPrintable(target));
        QVERIFY(target.endsWith(QStringLiteral(".txt")));
        QFile file(target);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY(text.contains("line 0"));
        QVERIFY(text.contains("line 2"));
    }
};

QTEST_MAIN(TestApplicationLog)
#include "tst_applicationlog.moc"
