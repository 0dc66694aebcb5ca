#include "combobox.h"
#include "comboslider.h"
#include "lineedit.h"
#include "testinput.h"

#include <QLabel>
#include <QSignalSpy>
#include <QtTest>

#include <cmath>
#include <limits>

// The slider of a panel: what the operator's hand does is sent, what the program does is not.
class TestComboSlider : public QObject
{
    Q_OBJECT

private:
    static void showActive(QWidget *widget)
    {
        widget->resize(640, 90);
        widget->show();
        QApplication::setActiveWindow(widget);
        if (!QTest::qWaitForWindowActive(widget)) {
            qWarning("The test window did not become active");
        }
    }

    struct Spies
    {
        explicit Spies(ComboSlider *slider)
            : value(slider, &ComboSlider::valueChanged)
            , unit(slider, &ComboSlider::unitIndexChanged)
            , scale(slider, &ComboSlider::scaleIndexChanged)
        { }
        int total() const { return value.count() + unit.count() + scale.count(); }
        QSignalSpy value;
        QSignalSpy unit;
        QSignalSpy scale;
    };

    // An energy slider: one scale, µJ and %; shown and laid out so the mouse can reach it.
    std::unique_ptr<ComboSlider> makeEnergySlider()
    {
        auto slider = std::make_unique<ComboSlider>(25);
        auto *scale = new ComboSliderScale(QStringLiteral("IR Energy control"));
        scale->addUnit(QStringLiteral("µJ"), 0, 60, 2);
        scale->addUnit(QStringLiteral("%"), 0, 100, 2);
        slider->addScale(scale);
        showActive(slider.get());
        return slider;
    }

    std::unique_ptr<ComboSlider> makeSteppedSlider(const QList<double> &steps)
    {
        auto slider = std::make_unique<ComboSlider>(25);
        auto *scale
                = new ComboSliderScale(QStringLiteral("Rep rate control"), ScaleSlider::Stepped);
        scale->addUnit(QStringLiteral("kHz"), 0, 100, 3);
        slider->addScale(scale);
        scale->unit(0)->setStepList(steps);
        showActive(slider.get());
        return slider;
    }

    static ScaleSlider *handleOf(ComboSlider *slider)
    {
        return slider->findChild<ScaleSlider *>(QStringLiteral("slider"));
    }
    static LineEdit *editOf(ComboSlider *slider)
    {
        return slider->findChild<LineEdit *>(QStringLiteral("valueEdit"));
    }
    static ComboBox *unitsOf(ComboSlider *slider)
    {
        return slider->findChild<ComboBox *>(QStringLiteral("unitSelector"));
    }
    static ComboBox *scalesOf(ComboSlider *slider)
    {
        return slider->findChild<ComboBox *>(QStringLiteral("scaleSelector"));
    }

    static void type(ComboSlider *slider, const QString &text)
    {
        LineEdit *edit = editOf(slider);
        edit->setFocus();
        QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Return);
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
    }

    void stepListIsSortedCleanedAndBecomesTheRange()
    {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double inf = std::numeric_limits<double>::infinity();
        auto slider = makeSteppedSlider({50, 10, nan, 20, inf, 10, 25});
        ComboSliderUnit *unit = slider->currentUnit();
        QCOMPARE(unit->stepList(), (QList<double>{10, 20, 25, 50}));
        QCOMPARE(unit->minimum(), 10.0);
        QCOMPARE(unit->maximum(), 50.0);

        // Either order gives the same list.
        unit->setStepList({50, 25, 20, 10});
        QCOMPARE(unit->stepList(), (QList<double>{10, 20, 25, 50}));
    }

    void repeatedValueDrawsNothing()
    {
        // The device reports the same set value every polling cycle.
        auto slider = makeSteppedSlider({10, 20, 25, 50});
        slider->setValue(20);
        QTest::qWait(50);
        ScaleSlider *handle = handleOf(slider.get());
        TestInput::PaintCounter paints(handle);
        for (int cycle = 0; cycle < 20; ++cycle) {
            slider->setValue(20);
            QTest::qWait(5);
        }
        QCOMPARE(paints.count, 0);
        slider->setValue(25);
        QTRY_VERIFY(paints.count > 0);
    }

    void stepListStopsOnlyOnListedValues()
    {
        auto slider = makeSteppedSlider({10, 20, 25, 50});
        Spies spies(slider.get());
        slider->setValue(10);
        ScaleSlider *handle = handleOf(slider.get());
        handle->setFocus();
        QList<double> visited;
        for (int i = 0; i < 5; ++i) {
            QTest::keyClick(handle, Qt::Key_Right);
        }
        for (const QList<QVariant> &emitted : qAsConst(spies.value)) {
            visited.append(emitted.at(0).toDouble());
        }
        // One signal per key press that changed the value; the fifth press hit the end.
        QCOMPARE(visited, (QList<double>{20, 25, 50}));
        QCOMPARE(slider->value(), 50.0);

        // A drag anywhere ends on a listed value.
        spies.value.clear();
        TestInput::drag(handle, QPoint(handle->width() - 5, 10),
                        QPoint(handle->width() * 40 / 100, 10), 12);
        QCOMPARE(spies.value.count(), 1);
        const double dropped = spies.value.at(0).at(0).toDouble();
        QVERIFY2(QList<double>({10, 20, 25}).contains(dropped),
                 qPrintable(QString::number(dropped)));

        // A device value between two steps: each key goes to the step on its side.
        spies.value.clear();
        slider->setValue(22);
        handle->setFocus();
        QTest::keyClick(handle, Qt::Key_Left);
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 20.0);
        slider->setValue(22);
        QTest::keyClick(handle, Qt::Key_Right);
        QCOMPARE(spies.value.count(), 2);
        QCOMPARE(spies.value.at(1).at(0).toDouble(), 25.0);

        // A typed value snaps to the nearest step.
        spies.value.clear();
        type(slider.get(), QStringLiteral("13"));
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 10.0);
        type(slider.get(), QStringLiteral("37"));
        QCOMPARE(spies.value.count(), 2);
        QCOMPARE(spies.value.at(1).at(0).toDouble(), 25.0);
    }

    void unitSwitchingKeepsEachUnitsRangeAndValue()
    {
        auto slider = makeEnergySlider();
        Spies spies(slider.get());
        slider->setValue(41.25);
        slider->setUnitRange(0, 1, 80, 10); // reversed on purpose
        slider->setCurrentUnitIndex(1);
        QCOMPARE(slider->currentUnitIndex(), 1);
        QCOMPARE(slider->currentUnit()->minimum(), 10.0);
        QCOMPARE(slider->currentUnit()->maximum(), 80.0);
        slider->setValue(55.5);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("55.50"));

        slider->setCurrentUnitIndex(0);
        QCOMPARE(slider->value(), 41.25);
        QCOMPARE(slider->currentUnit()->maximum(), 60.0);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("41.25"));
        slider->setCurrentUnitIndex(1);
        QCOMPARE(slider->value(), 55.5);
        QCOMPARE(spies.total(), 0);

        // The operator's unit choice is one unitIndexChanged and no value signal.
        ComboBox *units = unitsOf(slider.get());
        QVERIFY(units->isVisible());
        units->setFocus();
        QTest::keyClick(units, Qt::Key_Up);
        QCOMPARE(spies.unit.count(), 1);
        QCOMPARE(spies.unit.at(0).at(0).toInt(), 0);
        QCOMPARE(spies.value.count(), 0);
        QCOMPARE(slider->currentUnitIndex(), 0);
        QCOMPARE(slider->value(), 41.25);
    }

    void scaleSwitching()
    {
        auto slider = std::make_unique<ComboSlider>(25);
        auto *rate = slider->addScale(QStringLiteral("Rep rate control"));
        rate->addUnit(QStringLiteral("kHz"), 0, 100, 3);
        auto *divider = slider->addScale(QStringLiteral("Rep rate divider control"));
        divider->addUnit(QString(), 0, 100, 0);
        showActive(slider.get());
        Spies spies(slider.get());

        slider->setValue(40);
        slider->setCurrentScaleIndex(1);
        QCOMPARE(slider->currentScaleIndex(), 1);
        QCOMPARE(slider->currentUnit(), divider->unit(0));
        slider->setValue(7);
        slider->setCurrentScaleIndex(0);
        QCOMPARE(slider->value(), 40.0);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("40.000"));
        QCOMPARE(spies.total(), 0);

        ComboBox *scales = scalesOf(slider.get());
        QVERIFY(scales->isVisible());
        scales->setFocus();
        QTest::keyClick(scales, Qt::Key_Down);
        QCOMPARE(spies.scale.count(), 1);
        QCOMPARE(spies.scale.at(0).at(0).toInt(), 1);
        QCOMPARE(spies.value.count(), 0);
        QCOMPARE(slider->value(), 7.0);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("7"));
    }

    void hiddenUnitCannotBeChosen()
    {
        auto slider = std::make_unique<ComboSlider>(25);
        auto *scale = slider->addScale(QStringLiteral("three units"));
        scale->addUnit(QStringLiteral("a"), 0, 10, 0);
        scale->addUnit(QStringLiteral("b"), 0, 10, 0);
        scale->addUnit(QStringLiteral("c"), 0, 10, 0);
        showActive(slider.get());
        Spies spies(slider.get());
        slider->setUnitVisibility(1, false);
        ComboBox *units = unitsOf(slider.get());
        QVERIFY(!units->isItemVisible(1));
        units->setFocus();
        QTest::keyClick(units, Qt::Key_Down);
        QCOMPARE(spies.unit.count(), 1);
        QCOMPARE(spies.unit.at(0).at(0).toInt(), 2);
        QTest::keyClick(units, Qt::Key_Up);
        QCOMPARE(spies.unit.count(), 2);
        QCOMPARE(spies.unit.at(1).at(0).toInt(), 0);

        // With one unit left visible the selector goes and the unit is just named.
        slider->setUnitVisibility(2, false);
        QVERIFY(!units->isVisible());
        auto *label = slider->findChild<QLabel *>(QStringLiteral("unitLabel"));
        QVERIFY(label->isVisible());
        QCOMPARE(label->text(), QStringLiteral("a"));
        QCOMPARE(spies.value.count(), 0);
    }

    void typedValueIsClampedAndSentOnce()
    {
        auto slider = makeEnergySlider();
        Spies spies(slider.get());
        type(slider.get(), QStringLiteral("999"));
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 60.0);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("60.00"));

        type(slider.get(), QStringLiteral("-5"));
        QCOMPARE(spies.value.count(), 2);
        QCOMPARE(spies.value.at(1).at(0).toDouble(), 0.0);

        type(slider.get(), QStringLiteral("12.345"));
        QCOMPARE(spies.value.count(), 3);
        QCOMPARE(spies.value.at(2).at(0).toDouble(), 12.35);

        // The same value again is no change; garbage is refused and the value stays.
        type(slider.get(), QStringLiteral("12.35"));
        type(slider.get(), QStringLiteral("abc"));
        QCOMPARE(spies.value.count(), 3);
        QCOMPARE(slider->value(), 12.35);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("12.35"));
    }

    void typingIsOnlySentWithEnter()
    {
        auto slider = makeEnergySlider();
        Spies spies(slider.get());
        LineEdit *edit = editOf(slider.get());
        edit->setFocus();
        QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(edit, QStringLiteral("33"));
        // A program update while typing does not wipe what the operator typed.
        slider->setValue(5);
        QCOMPARE(edit->text(), QStringLiteral("33"));
        QTest::keyClick(edit, Qt::Key_Escape);
        QCOMPARE(edit->text(), QStringLiteral("5.00"));
        QCOMPARE(spies.total(), 0);
    }

    void dragEmitsOnceOnRelease()
    {
        auto slider = makeEnergySlider();
        Spies spies(slider.get());
        ScaleSlider *handle = handleOf(slider.get());
        QSignalSpy moved(handle, &ScaleSlider::sliderMoved);
        // From the low end across the whole track: many steps, one command. Only the handle
        // itself can be picked up.
        const int low = handle->handleRect().center().x();
        const int high = handle->width() - low;
        TestInput::drag(handle, QPoint(low, 10), QPoint(high + 10, 10), 20);
        QVERIFY(moved.count() >= 10);
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 60.0);
        QCOMPARE(slider->value(), 60.0);

        // A drag that ends where it began changes nothing and sends nothing.
        TestInput::drag(handle, QPoint(high, 10), QPoint(handle->width() / 2, 10), 5);
        QCOMPARE(spies.value.count(), 2);
        TestInput::drag(handle, QPoint(handle->width() / 2, 10), QPoint(handle->width() / 2, 10),
                        3);
        QCOMPARE(spies.value.count(), 2);

        // Escape during a drag abandons it.
        const QPoint grip = handle->handleRect().center();
        TestInput::press(handle, grip);
        TestInput::moveHeld(handle, grip + QPoint(40, 0));
        QTest::keyClick(handle, Qt::Key_Escape);
        TestInput::release(handle, grip + QPoint(40, 0));
        QCOMPARE(spies.value.count(), 2);
        QCOMPARE(spies.total(), 2);
    }

    void programValueDuringDragDoesNotJumpTheHandle()
    {
        auto slider = makeEnergySlider();
        ScaleSlider *handle = handleOf(slider.get());
        Spies spies(slider.get());
        TestInput::press(handle, handle->handleRect().center());
        TestInput::moveHeld(handle, QPoint(handle->width() - 1, 10));
        slider->setValue(30); // the device reports while the operator holds the handle
        QCOMPARE(handle->handleValue(), 60.0);
        TestInput::release(handle, QPoint(handle->width() - 1, 10));
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 60.0);
    }

    void keyPressEmitsOncePerChange()
    {
        auto slider = makeEnergySlider();
        slider->currentUnit()->setDecimals(0);
        Spies spies(slider.get());
        ScaleSlider *handle = handleOf(slider.get());
        handle->setFocus();
        QTest::keyClick(handle, Qt::Key_Right);
        QTest::keyClick(handle, Qt::Key_Right);
        QTest::keyClick(handle, Qt::Key_Left);
        QCOMPARE(spies.value.count(), 3);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 1.0);
        QCOMPARE(spies.value.at(1).at(0).toDouble(), 2.0);
        QCOMPARE(spies.value.at(2).at(0).toDouble(), 1.0);
        QTest::keyClick(handle, Qt::Key_End);
        QTest::keyClick(handle, Qt::Key_End);
        QCOMPARE(spies.value.count(), 4);
        QCOMPARE(slider->value(), 60.0);
        QTest::keyClick(handle, Qt::Key_Home);
        QCOMPARE(spies.value.count(), 5);
        QCOMPARE(slider->value(), 0.0);
    }

    void logarithmicKeysAlwaysReachANewValue()
    {
        auto slider = std::make_unique<ComboSlider>(25);
        auto *scale = slider->addScale(QStringLiteral("Division factor control"));
        scale->addUnit(QString(), 1, 10000000, 0);
        scale->setScaleType(ScaleSlider::Logarithmic);
        showActive(slider.get());
        Spies spies(slider.get());
        slider->setValue(1);
        ScaleSlider *handle = handleOf(slider.get());
        handle->setFocus();
        QTest::keyClick(handle, Qt::Key_Right);
        QTest::keyClick(handle, Qt::Key_Right);
        QCOMPARE(spies.value.count(), 2);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 2.0);
        QCOMPARE(spies.value.at(1).at(0).toDouble(), 3.0);
    }

    void programCallsNeverEmit()
    {
        auto slider = makeEnergySlider();
        Spies spies(slider.get());
        slider->setValue(50);
        // A range that clamps the value, a step list that moves it, unit and scale switches.
        slider->setUnitRange(0, 0, 0, 10);
        QCOMPARE(slider->value(), 10.0);
        slider->currentUnit()->setStepList({2, 4, 6});
        QCOMPARE(slider->value(), 6.0);
        slider->currentUnit()->setStepList({});
        slider->setCurrentUnitIndex(1);
        slider->setCurrentUnitIndex(0);
        slider->setCurrentScaleIndex(0);
        slider->setUnitVisibility(0, false);
        slider->setUnitVisibility(0, true);
        slider->updateSlider();
        slider->currentUnit()->setDecimals(4);
        slider->setValue(std::numeric_limits<double>::quiet_NaN());
        slider->setUnitRange(7, 7, 0, 1);
        slider->setCurrentUnitIndex(-3);
        slider->setEnabled(false);
        slider->setEnabled(true);
        QCOMPARE(spies.total(), 0);
    }

    void outOfRangeValueIsRememberedUntilARangeContainsIt()
    {
        auto slider = makeEnergySlider();
        Spies spies(slider.get());
        slider->setUnitRange(0, 0, 0, 10);
        slider->setValue(15);
        QCOMPARE(slider->value(), 10.0);
        QCOMPARE(slider->currentUnit()->storedValue(), 15.0);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("10.00"));
        slider->setUnitRange(0, 0, 20, 0);
        QCOMPARE(slider->value(), 15.0);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("15.00"));
        QCOMPARE(spies.total(), 0);
    }

    void wheelOverUnfocusedSliderChangesNothing()
    {
        auto slider = makeEnergySlider();
        Spies spies(slider.get());
        slider->setValue(20);
        ScaleSlider *handle = handleOf(slider.get());
        // The window gives its first control focus; the operator's focus is elsewhere.
        handle->clearFocus();
        QVERIFY(!handle->hasFocus());
        QVERIFY(!TestInput::wheel(handle, 3));
        QVERIFY(!TestInput::wheel(unitsOf(slider.get()), -1));
        QCOMPARE(slider->value(), 20.0);
        QCOMPARE(slider->currentUnitIndex(), 0);
        QCOMPARE(spies.total(), 0);

        // With focus, each notch is one step and one command.
        handle->setFocus();
        QVERIFY(TestInput::wheel(handle, 2));
        QCOMPARE(spies.value.count(), 2);
        QVERIFY(slider->value() > 20.0);
    }
};

QTEST_MAIN(TestComboSlider)
#include "tst_comboslider.moc"
