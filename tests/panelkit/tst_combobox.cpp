#include "combobox.h"
#include "testinput.h"

#include <QAbstractItemView>
#include <QListView>
#include <QSignalSpy>
#include <QtTest>

class TestComboBox : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<ComboBox> makeWavelengths()
    {
        auto box = std::make_unique<ComboBox>();
        box->addItems({QStringLiteral("1030 nm"), QStringLiteral("515 nm"),
                       QStringLiteral("343 nm"), QStringLiteral("257 nm")});
        TestInput::showActive(box.get(), QSize(200, 30));
        box->setFocus();
        return box;
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
    }

    void programSelectionIsSilent()
    {
        auto box = makeWavelengths();
        QSignalSpy spy(box.get(), &ComboBox::currentIndexChanged);
        // A connection by name finds the operator's signal too.
        QSignalSpy byName(box.get(), SIGNAL(currentIndexChanged(int)));
        box->setCurrentIndex(2);
        box->setCurrentIndex(0);
        box->setCurrentIndex(9);
        box->setItemVisibility(0, false);
        box->addItem(QStringLiteral("extra"));
        box->removeItem(4);
        QComboBox *base = box.get();
        base->setCurrentIndex(1); // even through the base class
        QCOMPARE(spy.count(), 0);
        QCOMPARE(byName.count(), 0);
        QTest::keyClick(box.get(), Qt::Key_Down);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(byName.count(), 1);
    }

    void keyboardEmitsOncePerChange()
    {
        auto box = makeWavelengths();
        QSignalSpy spy(box.get(), &ComboBox::currentIndexChanged);
        QTest::keyClick(box.get(), Qt::Key_Down);
        QTest::keyClick(box.get(), Qt::Key_Down);
        QTest::keyClick(box.get(), Qt::Key_Home);
        QTest::keyClick(box.get(), Qt::Key_Home);
        QCOMPARE(spy.count(), 3);
        QCOMPARE(spy.at(0).at(0).toInt(), 1);
        QCOMPARE(spy.at(1).at(0).toInt(), 2);
        QCOMPARE(spy.at(2).at(0).toInt(), 0);
    }

    void hiddenItemLeavesListAndKeyboard()
    {
        auto box = makeWavelengths();
        QSignalSpy spy(box.get(), &ComboBox::currentIndexChanged);
        box->setItemVisibility(1, false);
        box->setItemVisibility(3, false);
        QVERIFY(!box->isItemVisible(1));
        QCOMPARE(box->visibleItemCount(), 2);
        auto *list = qobject_cast<QListView *>(box->view());
        QVERIFY(list);
        QVERIFY(list->isRowHidden(1));
        QVERIFY(list->isRowHidden(3));

        QTest::keyClick(box.get(), Qt::Key_Down);
        QCOMPARE(box->currentIndex(), 2);
        QTest::keyClick(box.get(), Qt::Key_Down);
        QCOMPARE(box->currentIndex(), 2);
        QTest::keyClick(box.get(), Qt::Key_End);
        QCOMPARE(box->currentIndex(), 2);
        QTest::keyClick(box.get(), Qt::Key_Up);
        QCOMPARE(box->currentIndex(), 0);
        // Typing the first letter does not find a hidden item either.
        QTest::keyClick(box.get(), Qt::Key_5);
        QCOMPARE(box->currentIndex(), 0);
        QCOMPARE(spy.count(), 2);

        box->setItemVisibility(1, true);
        QTest::keyClick(box.get(), Qt::Key_Down);
        QCOMPARE(box->currentIndex(), 1);
        QCOMPARE(spy.count(), 3);
    }

    void hidingTheCurrentItemIsSilent()
    {
        auto box = makeWavelengths();
        QSignalSpy spy(box.get(), &ComboBox::currentIndexChanged);
        box->setCurrentIndex(1);
        box->setItemVisibility(1, false);
        QCOMPARE(box->currentIndex(), 1);
        QCOMPARE(spy.count(), 0);
        // The operator moves on to the next item they may pick.
        QTest::keyClick(box.get(), Qt::Key_Down);
        QCOMPARE(box->currentIndex(), 2);
        QCOMPARE(spy.count(), 1);
    }

    void popupChoiceEmitsOnce()
    {
        auto box = makeWavelengths();
        QSignalSpy spy(box.get(), &ComboBox::currentIndexChanged);
        box->showPopup();
        QAbstractItemView *view = box->view();
        QTRY_VERIFY(view->isVisible());
        const QRect row = view->visualRect(box->model()->index(2, 0));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, row.center());
        QTRY_VERIFY(!view->isVisible());
        QCOMPARE(box->currentIndex(), 2);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(0).toInt(), 2);

        // Choosing the item already shown is no change.
        box->showPopup();
        QTRY_VERIFY(view->isVisible());
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                          view->visualRect(box->model()->index(2, 0)).center());
        QTRY_VERIFY(!view->isVisible());
        QTest::qWait(20);
        QCOMPARE(spy.count(), 1);

        // The program moves the box, then the operator picks what the program had moved away from.
        box->setCurrentIndex(0);
        box->showPopup();
        QTRY_VERIFY(view->isVisible());
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
                          view->visualRect(box->model()->index(2, 0)).center());
        QTRY_VERIFY(!view->isVisible());
        QCOMPARE(spy.count(), 2);
    }

    void wheelNeedsFocus()
    {
        auto box = makeWavelengths();
        QSignalSpy spy(box.get(), &ComboBox::currentIndexChanged);
        box->clearFocus();
        QVERIFY(!box->hasFocus());
        QVERIFY(!TestInput::wheel(box.get(), -1));
        QCOMPARE(box->currentIndex(), 0);
        QCOMPARE(spy.count(), 0);
        box->setFocus();
        QVERIFY(box->hasFocus());
        QVERIFY(TestInput::wheel(box.get(), -1));
        QCOMPARE(box->currentIndex(), 1);
        QCOMPARE(spy.count(), 1);
    }
};

QTEST_MAIN(TestComboBox)
#include "tst_combobox.moc"
