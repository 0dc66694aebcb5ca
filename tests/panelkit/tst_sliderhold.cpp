#include "comboslider.h"
#include "lineedit.h"
#include "testinput.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <memory>

// A slider held by the operator while the device keeps reporting: the hand wins until it lets
// go, and a click beside the handle is one small step.
class TestSliderHold : public QObject
{
    Q_OBJECT

private:
    // Longer than a polling cycle of the device (about one second).
    static constexpr int s_holdMs = 1300;
    static constexpr int s_pollMs = 100;

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

    static std::unique_ptr<ComboSlider> makeSlider(int type, double minimum, double maximum,
                                                   int decimals, const QList<double> &steps,
                                                   double value)
    {
        auto slider = std::make_unique<ComboSlider>(25);
        auto *scale = slider->addScale(QStringLiteral("Under test"));
        scale->addUnit(new ComboSliderUnit(QString(), minimum, maximum, decimals, type));
        if (!steps.isEmpty()) {
            scale->unit(0)->setStepList(steps);
        }
        slider->setValue(value);
        TestInput::showActive(slider.get(), QSize(640, 90));
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

    // What one polling cycle pushes into a panel slider: the set-point, and the limits as the
    // reply reports them line by line, passing through a range that is not yet complete.
    static void pollCycle(ComboSlider *slider, double deviceValue)
    {
        ComboSliderUnit *unit = slider->currentUnit();
        const double minimum = unit->minimum();
        const double maximum = unit->maximum();
        const QList<double> steps = unit->stepList();
        slider->setValue(deviceValue);
        slider->updateSlider();
        slider->setUnitRange(0, 0, 0.0, minimum);
        slider->setUnitRange(0, 0, minimum, maximum);
        if (!steps.isEmpty()) {
            unit->setStepList(steps);
        }
        slider->setValue(deviceValue);
        slider->updateSlider();
    }

    // Lets the event loop run for longer than a polling cycle, calling check every turn.
    static void holdFor(int milliseconds, const std::function<void(int)> &turn)
    {
        QElapsedTimer clock;
        clock.start();
        int count = 0;
        while (clock.elapsed() < milliseconds) {
            QTest::qWait(s_pollMs);
            turn(count++);
            if (QTest::currentTestFailed()) {
                return;
            }
        }
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
    }

    void heldHandleIgnoresTheDeviceUntilReleased_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QList<double>>("steps");
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("device");
        QTest::addColumn<double>("afterwards");

        QTest::newRow("energy µJ") << int(ScaleSlider::Linear) << 0.5 << 50.0 << 2
                                   << QList<double>{} << 5.0 << 7.5 << 12.0;
        QTest::newRow("repetition rate")
                << int(ScaleSlider::Stepped) << 0.0 << 100.0 << 3
                << QList<double>{50, 100, 200, 400, 800} << 200.0 << 100.0 << 50.0;
        QTest::newRow("division") << int(ScaleSlider::Logarithmic) << 1.0 << 100000.0 << 0
                                  << QList<double>{} << 1.0 << 2.0 << 10.0;
        QTest::newRow("oven set-point") << int(ScaleSlider::Linear) << 1.0 << 200.0 << 1
                                        << QList<double>{} << 150.0 << 149.0 << 60.0;
        QTest::newRow("crystal spot")
                << int(ScaleSlider::Stepped) << 1.0 << 100.0 << 0
                << QList<double>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12} << 3.0 << 4.0 << 12.0;
    }

    void heldHandleIgnoresTheDeviceUntilReleased()
    {
        QFETCH(int, type);
        QFETCH(double, minimum);
        QFETCH(double, maximum);
        QFETCH(int, decimals);
        QFETCH(QList<double>, steps);
        QFETCH(double, start);
        QFETCH(double, device);
        QFETCH(double, afterwards);

        auto slider = makeSlider(type, minimum, maximum, decimals, steps, start);
        Spies spies(slider.get());
        ScaleSlider *handle = handleOf(slider.get());
        LineEdit *edit = editOf(slider.get());
        const QPoint grip = handle->handleRect().center();
        const int y = grip.y();
        const int target = grip.x() + (handle->width() - grip.x()) * 2 / 3;

        QTest::mousePress(handle, Qt::LeftButton, {}, grip);
        QVERIFY(handle->isDragging());
        for (int i = 1; i <= 5; ++i) {
            TestInput::moveHeld(handle, QPoint(grip.x() + (target - grip.x()) * i / 5, y));
            QTest::qWait(30);
        }
        const double held = handle->handleValue();
        QVERIFY(held > start);
        const QString heldText = edit->text();
        const QRect heldRect = handle->handleRect();

        holdFor(s_holdMs, [&](int turn) {
            pollCycle(slider.get(), turn % 2 == 0 ? device : start);
            TestInput::moveHeld(handle, QPoint(target, y));
            QVERIFY2(handle->isDragging(), "the drag was dropped while the button was held");
            QCOMPARE(handle->handleValue(), held);
            QCOMPARE(handle->handleRect(), heldRect);
            QCOMPARE(edit->text(), heldText);
            QCOMPARE(spies.total(), 0);
        });
        if (QTest::currentTestFailed()) {
            return;
        }

        QTest::mouseRelease(handle, Qt::LeftButton, {}, QPoint(target, y));
        QVERIFY(!handle->isDragging());
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), held);
        QCOMPARE(spies.total(), 1);
        // Until the device answers, the released value is what shows.
        QCOMPARE(handle->value(), held);
        QCOMPARE(edit->text(), heldText);

        // Then the device has the say again, silently.
        slider->setValue(afterwards);
        slider->updateSlider();
        QCOMPARE(handle->value(), afterwards);
        QCOMPARE(slider->value(), afterwards);
        QVERIFY(handle->handleRect() != heldRect);
        QCOMPARE(edit->text(), QString::number(afterwards, 'f', decimals));
        QCOMPARE(spies.total(), 1);
    }

    void dragLetGoWhereItStartedShowsTheDeviceAtOnce()
    {
        auto slider = makeSlider(ScaleSlider::Linear, 0.5, 50.0, 2, {}, 5.0);
        Spies spies(slider.get());
        ScaleSlider *handle = handleOf(slider.get());
        const QPoint grip = handle->handleRect().center();
        QTest::mousePress(handle, Qt::LeftButton, {}, grip);
        TestInput::moveHeld(handle, grip + QPoint(60, 0));
        holdFor(s_holdMs, [&](int) { pollCycle(slider.get(), 7.5); });
        TestInput::moveHeld(handle, grip);
        QTest::mouseRelease(handle, Qt::LeftButton, {}, grip);
        // Nothing asked for: nothing sent, and what the device said last is shown.
        QCOMPARE(spies.total(), 0);
        QCOMPARE(handle->value(), 7.5);
        QCOMPARE(editOf(slider.get())->text(), QStringLiteral("7.50"));
    }

    void typedTextHoldsOffTheDevice()
    {
        auto slider = makeSlider(ScaleSlider::Linear, 0.5, 50.0, 2, {}, 5.0);
        Spies spies(slider.get());
        ScaleSlider *handle = handleOf(slider.get());
        LineEdit *edit = editOf(slider.get());
        const QRect startRect = handle->handleRect();

        QTest::mouseClick(edit, Qt::LeftButton);
        QTRY_VERIFY(edit->hasFocus());
        QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(edit, QStringLiteral("3"));
        holdFor(s_holdMs, [&](int turn) {
            pollCycle(slider.get(), turn % 2 == 0 ? 7.5 : 9.0);
            if (turn == 3) {
                QTest::keyClicks(edit, QStringLiteral("3."));
            }
            QVERIFY(edit->text().startsWith(QLatin1Char('3')));
            QCOMPARE(handle->value(), 5.0);
            QCOMPARE(handle->handleRect(), startRect);
            QCOMPARE(spies.total(), 0);
        });
        if (QTest::currentTestFailed()) {
            return;
        }
        QCOMPARE(edit->text(), QStringLiteral("33."));
        QTest::keyClicks(edit, QStringLiteral("5"));
        QTest::keyClick(edit, Qt::Key_Return);
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), 33.5);
        QCOMPARE(handle->value(), 33.5);
        QCOMPARE(edit->text(), QStringLiteral("33.50"));

        // Sent: the device is shown again, even while the field still has focus.
        QVERIFY(edit->hasFocus());
        slider->setValue(20.0);
        QCOMPARE(edit->text(), QStringLiteral("20.00"));
        QCOMPARE(handle->value(), 20.0);
        QCOMPARE(spies.total(), 1);
    }

    void abandonedTypingShowsTheDeviceAtOnce()
    {
        auto slider = makeSlider(ScaleSlider::Linear, 0.5, 50.0, 2, {}, 5.0);
        Spies spies(slider.get());
        ScaleSlider *handle = handleOf(slider.get());
        LineEdit *edit = editOf(slider.get());
        QTest::mouseClick(edit, Qt::LeftButton);
        QTRY_VERIFY(edit->hasFocus());
        QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(edit, QStringLiteral("41"));
        holdFor(s_holdMs, [&](int) { pollCycle(slider.get(), 9.0); });
        QCOMPARE(edit->text(), QStringLiteral("41"));
        QCOMPARE(handle->value(), 5.0);
        QTest::keyClick(edit, Qt::Key_Escape);
        QCOMPARE(edit->text(), QStringLiteral("9.00"));
        QCOMPARE(handle->value(), 9.0);

        // Leaving the field by a click on the handle abandons the typing the same way.
        QTest::keyClicks(edit, QStringLiteral("7"));
        slider->setValue(11.0);
        QCOMPARE(handle->value(), 9.0);
        handle->setFocus(Qt::MouseFocusReason);
        QCOMPARE(edit->text(), QStringLiteral("11.00"));
        QCOMPARE(handle->value(), 11.0);
        QCOMPARE(spies.total(), 0);
    }

    void grooveClickMovesOneStep_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QList<double>>("steps");
        QTest::addColumn<double>("start");
        QTest::addColumn<double>("up");
        QTest::addColumn<double>("down");

        // 0.5 to 50 µJ has more values than positions: a step is one of 1000 parts (0.0495).
        QTest::newRow("energy µJ") << int(ScaleSlider::Linear) << 0.5 << 50.0 << 2
                                   << QList<double>{} << 5.0 << 5.05 << 4.96;
        QTest::newRow("percent") << int(ScaleSlider::Linear) << 0.0 << 100.0 << 2 << QList<double>{}
                                 << 40.0 << 40.1 << 39.9;
        QTest::newRow("oven set-point") << int(ScaleSlider::Linear) << 1.0 << 200.0 << 1
                                        << QList<double>{} << 150.0 << 150.1 << 149.9;
        QTest::newRow("division") << int(ScaleSlider::Logarithmic) << 1.0 << 100000.0 << 0
                                  << QList<double>{} << 1.0 << 2.0 << 1.0;
        QTest::newRow("repetition rate")
                << int(ScaleSlider::Stepped) << 0.0 << 100.0 << 3
                << QList<double>{50, 100, 200, 400, 800} << 200.0 << 400.0 << 100.0;
        QTest::newRow("crystal spot")
                << int(ScaleSlider::Stepped) << 1.0 << 100.0 << 0
                << QList<double>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12} << 3.0 << 4.0 << 2.0;
    }

    void grooveClickMovesOneStep()
    {
        QFETCH(int, type);
        QFETCH(double, minimum);
        QFETCH(double, maximum);
        QFETCH(int, decimals);
        QFETCH(QList<double>, steps);
        QFETCH(double, start);
        QFETCH(double, up);
        QFETCH(double, down);

        auto slider = makeSlider(type, minimum, maximum, decimals, steps, start);
        Spies spies(slider.get());
        ScaleSlider *handle = handleOf(slider.get());
        const QRect grip = handle->handleRect();
        const int y = grip.center().y();

        // Far to the right of the handle: one step up, sent once.
        QTest::mouseClick(handle, Qt::LeftButton, {}, QPoint(handle->width() - 4, y));
        QCOMPARE(spies.value.count(), 1);
        QCOMPARE(spies.value.at(0).at(0).toDouble(), up);
        QCOMPARE(slider->value(), up);

        // Pressed beside the handle and moved while held: still the one step, no drag.
        slider->setValue(start);
        const QPoint right(handle->handleRect().right() + 20, y);
        QTest::mousePress(handle, Qt::LeftButton, {}, right);
        QVERIFY(!handle->isDragging());
        TestInput::moveHeld(handle, right + QPoint(80, 0));
        QTest::mouseRelease(handle, Qt::LeftButton, {}, right + QPoint(80, 0));
        QCOMPARE(spies.value.count(), 2);
        QCOMPARE(spies.value.at(1).at(0).toDouble(), up);

        // The same as the arrow key.
        slider->setValue(start);
        handle->setFocus();
        QTest::keyClick(handle, Qt::Key_Right);
        QCOMPARE(spies.value.count(), 3);
        QCOMPARE(spies.value.at(2).at(0).toDouble(), up);

        // To the left of the handle: one step down (or nothing at the bottom end).
        slider->setValue(start);
        QTest::mouseClick(handle, Qt::LeftButton, {}, QPoint(2, y));
        if (down == start) {
            QCOMPARE(spies.value.count(), 3);
        } else {
            QCOMPARE(spies.value.count(), 4);
            QCOMPARE(spies.value.at(3).at(0).toDouble(), down);
        }
        QCOMPARE(slider->value(), down);
        QCOMPARE(spies.unit.count() + spies.scale.count(), 0);
    }
};

QTEST_MAIN(TestSliderHold)
#include "tst_sliderhold.moc"
