// File → Options… as the operator uses it: the menu opened with the mouse, the page picked
// in the list, the reconnect switch clicked, and OK, Apply and Cancel each doing what they
// say, with the choice kept in the program's settings.

#include "applicationidentity.h"
#include "mainwindow.h"
#include "reconnecttesthome.h"
#include "optionsdialog.h"
#include "reconnectoption.h"
#include "serialportlist.h"

#include <QAction>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>

namespace {

// What is stored, read the way a new start of the program reads it.
QVariant storedReconnect()
{
    QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Zelmar"),
                       QStringLiteral("VELUTRA-XP"));
    return settings.value(QStringLiteral("Connection/Reconnect"));
}

void clickCheckBox(QCheckBox *box)
{
    // On the box and its text, where a click toggles it.
    QTest::mouseClick(box, Qt::LeftButton, Qt::NoModifier,
                      QPoint(qMin(box->width(), box->sizeHint().width()) / 2, box->height() / 2));
}

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(makeTestHome(m_home));
    }

    void reconnectSwitchWithApplyCancelAndOk()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QVERIFY(ReconnectOption::isReconnectEnabled());

        // A change that is cancelled is not kept.
        OptionsDialog *dialog = openOptions(window);
        QVERIFY(dialog);
        QCheckBox *box = reconnectBox(dialog);
        QVERIFY(box);
        QVERIFY(box->isChecked());
        QPushButton *apply = dialog->buttonBox()->button(QDialogButtonBox::Apply);
        QVERIFY(!apply->isEnabled());
        clickCheckBox(box);
        QVERIFY(!box->isChecked());
        QVERIFY(apply->isEnabled());
        QVERIFY(ReconnectOption::isReconnectEnabled());
        QPointer<OptionsDialog> closed = dialog;
        QTest::mouseClick(dialog->buttonBox()->button(QDialogButtonBox::Cancel), Qt::LeftButton);
        QTRY_VERIFY(closed.isNull());
        QVERIFY(ReconnectOption::isReconnectEnabled());
        QCOMPARE(storedReconnect(), QVariant());

        // Apply stores and stays open; a later change cancelled goes, the applied one stays.
        dialog = openOptions(window);
        QVERIFY(dialog);
        box = reconnectBox(dialog);
        QVERIFY(box->isChecked());
        clickCheckBox(box);
        apply = dialog->buttonBox()->button(QDialogButtonBox::Apply);
        QTest::mouseClick(apply, Qt::LeftButton);
        QVERIFY(dialog->isVisible());
        QVERIFY(!apply->isEnabled());
        QCOMPARE(storedReconnect().toBool(), false);
        QVERIFY(!ReconnectOption::isReconnectEnabled());
        clickCheckBox(box);
        QVERIFY(box->isChecked());
        closed = dialog;
        QTest::mouseClick(dialog->buttonBox()->button(QDialogButtonBox::Cancel), Qt::LeftButton);
        QTRY_VERIFY(closed.isNull());
        QCOMPARE(storedReconnect().toBool(), false);

        // OK stores and closes; the dialog starts from what is stored.
        dialog = openOptions(window);
        QVERIFY(dialog);
        box = reconnectBox(dialog);
        QVERIFY(!box->isChecked());
        clickCheckBox(box);
        closed = dialog;
        QTest::mouseClick(dialog->buttonBox()->button(QDialogButtonBox::Ok), Qt::LeftButton);
        QTRY_VERIFY(closed.isNull());
        QCOMPARE(storedReconnect().toBool(), true);
        QVERIFY(ReconnectOption::isReconnectEnabled());

        // Escape is Cancel.
        dialog = openOptions(window);
        QVERIFY(dialog);
        clickCheckBox(reconnectBox(dialog));
        closed = dialog;
        QTest::keyClick(dialog, Qt::Key_Escape);
        QTRY_VERIFY(closed.isNull());
        QCOMPARE(storedReconnect().toBool(), true);
    }

private:
    // File → Options… with the mouse; the dialog once it is on screen.
    OptionsDialog *openOptions(MainWindow &window)
    {
        QMenuBar *bar = window.menuBar();
        auto *file = window.findChild<QMenu *>(QStringLiteral("fileMenu"));
        auto *options = window.findChild<QAction *>(QStringLiteral("optionsAction"));
        if (!file || !options) {
            return nullptr;
        }
        QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier,
                          bar->actionGeometry(file->menuAction()).center());
        if (!QTest::qWaitFor([file] { return file->isVisible(); }, 5000)) {
            qWarning("The File menu did not open");
            return nullptr;
        }
        QTest::mouseClick(file, Qt::LeftButton, Qt::NoModifier,
                          file->actionGeometry(options).center());
        OptionsDialog *dialog = nullptr;
        const bool shown = QTest::qWaitFor(
                [&] {
                    dialog = window.findChild<OptionsDialog *>();
                    return dialog && dialog->isVisible();
                },
                5000);
        if (!shown) {
            qWarning("No options dialog");
            return nullptr;
        }
        if (!QTest::qWaitForWindowExposed(dialog)) {
            return nullptr;
        }
        return dialog;
    }

    // Picks the page in the list with the mouse and returns its switch.
    QCheckBox *reconnectBox(OptionsDialog *dialog)
    {
        QTreeWidget *tree = dialog->pageTree();
        QStringList pages;
        for (int i = 0; i < tree->topLevelItemCount(); ++i) {
            pages << tree->topLevelItem(i)->text(0);
        }
        // The program's own pages only.
        if (pages != QStringList{QStringLiteral("Connection")}) {
            qWarning("Pages: %s", qPrintable(pages.join(QLatin1Char('|'))));
            return nullptr;
        }
        QTreeWidgetItem *item = tree->topLevelItem(0);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier,
                          tree->visualItemRect(item).center());
        QWidget *page = dialog->pageStack()->currentWidget();
        if (!page || page->objectName() != QLatin1String("reconnectOptionPage")) {
            return nullptr;
        }
        auto *box = page->findChild<QCheckBox *>(QStringLiteral("reconnectCheckBox"));
        return box && box->isVisible() ? box : nullptr;
    }

    QTemporaryDir m_home;
};

QTEST_MAIN(TestOptions)
#include "tst_options.moc"
