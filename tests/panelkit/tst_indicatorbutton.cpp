#include "indicator.h"
#include "indicatorbutton.h"
#include "testinput.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

class TestIndicatorButton : public QObject
{
    Q_OBJECT

private:
    static constexpr quint32 s_red = 0xffff0000;
    static constexpr quint32 s_grey = 0xff555555;
    static constexpr quint32 s_orange = 0xfff58b2e;

    std::unique_ptr<IndicatorButton> makeButton()
    {
        auto button = std::make_unique<IndicatorButton>(QStringLiteral("Output\nenable"),
                                                        IndicatorButton::Top);
        button->setColors(s_red, s_grey);
        button->setButtonColor(2);
        TestInput::showActive(button.get(), QSize(140, 70));
        return button;
    }

    // Waits until the lamp shows colour; returns false after timeoutMs.
    static bool waitForLamp(const IndicatorButton &button, quint32 colour, int timeoutMs)
    {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < timeoutMs) {
            if (button.indicatorColor() == colour) {
                return true;
            }
            QTest::qWait(2);
        }
        return false;
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
    }

    void textAndColours()
    {
        auto button = makeButton();
        QCOMPARE(button->text(), QStringLiteral("Output\nenable"));
        QCOMPARE(button->position(), int(IndicatorButton::Top));
        button->setText(QStringLiteral("Output\ndisable"));
        QCOMPARE(button->text(), QStringLiteral("Output\ndisable"));
        QCOMPARE(button->litColor(), s_red);
        QCOMPARE(button->unlitColor(), s_grey);
        QCOMPARE(button->buttonColor(), 2);
        QCOMPARE(button->indicatorColor(), s_grey);
        button->setActive(true);
        QCOMPARE(button->indicatorColor(), s_red);
        button->setColors(Indicator::Green, s_grey);
        QCOMPARE(button->indicatorColor(), Indicator::Green);
    }

    void setActiveIsSilentAndSetsTheCheckedState()
    {
        auto button = makeButton();
        QSignalSpy toggled(button.get(), &IndicatorButton::toggled);
        button->setActive(true);
        QVERIFY(button->isActive());
        QVERIFY(button->isChecked());
        button->setActive(true);
        button->setActive(false);
        QVERIFY(!button->isChecked());
        button->setActive(true);
        QCOMPARE(toggled.count(), 0);

        // The operator's click toggles from what the device reported: active, so off.
        QTest::mouseClick(button.get(), Qt::LeftButton);
        QCOMPARE(toggled.count(), 1);
        QCOMPARE(toggled.at(0).at(0).toBool(), false);
        // The lamp waits for the device.
        QVERIFY(button->isActive());
        QCOMPARE(button->indicatorColor(), s_red);
        QTest::mouseClick(button.get(), Qt::LeftButton);
        QCOMPARE(toggled.count(), 2);
        QCOMPARE(toggled.at(1).at(0).toBool(), true);
    }

    void keyboardToggles()
    {
        auto button = makeButton();
        button->setFocus();
        QSignalSpy toggled(button.get(), &IndicatorButton::toggled);
        QTest::keyClick(button.get(), Qt::Key_Space);
        QCOMPARE(toggled.count(), 1);
        QCOMPARE(toggled.at(0).at(0).toBool(), true);
    }

    void disabledButtonIgnoresTheOperator()
    {
        auto button = makeButton();
        QSignalSpy toggled(button.get(), &IndicatorButton::toggled);
        button->setEnabled(false);
        QTest::mouseClick(button.get(), Qt::LeftButton);
        QCOMPARE(toggled.count(), 0);
        button->setEnabled(true);
        QTest::mouseClick(button.get(), Qt::LeftButton);
        QCOMPARE(toggled.count(), 1);
    }

    void blinkingOnAndOffWithItsInterval()
    {
        auto button = makeButton();
        QSignalSpy toggled(button.get(), &IndicatorButton::toggled);
        button->setActive(true);
        static constexpr int s_interval = 200;
        button->setBlink(true, s_interval, s_orange);
        QVERIFY(button->isBlinking());
        QCOMPARE(button->blinkInterval(), s_interval);
        QCOMPARE(button->blinkColor(), s_orange);

        // Count the lamp's rising edges while watching it. Sampling late under load can only
        // miss edges, never invent them, so the upper bound holds on a busy machine and says
        // the lamp is not faster than its interval; the lower bound says it blinks at all.
        QVERIFY(waitForLamp(*button, s_grey, 3000));
        static constexpr int s_watchMs = 1600;
        int risingEdges = 0;
        bool wasOn = false;
        bool sawOff = false;
        QElapsedTimer watch;
        watch.start();
        while (watch.elapsed() < s_watchMs) {
            const bool on = button->indicatorColor() == s_orange;
            sawOff = sawOff || button->indicatorColor() == s_grey;
            if (on && !wasOn) {
                ++risingEdges;
            }
            wasOn = on;
            QTest::qWait(2);
        }
        QVERIFY(sawOff);
        QVERIFY2(risingEdges <= s_watchMs / (2 * s_interval) + 1,
                 qPrintable(QString::number(risingEdges)));
        QVERIFY2(risingEdges >= 2, qPrintable(QString::number(risingEdges)));

        // Stopping returns at once to the steady state, and it stays there.
        button->setBlink(false);
        QVERIFY(!button->isBlinking());
        QCOMPARE(button->indicatorColor(), s_red);
        QTest::qWait(s_interval * 2);
        QCOMPARE(button->indicatorColor(), s_red);
        button->setActive(false);
        QCOMPARE(button->indicatorColor(), s_grey);
        QCOMPARE(toggled.count(), 0);
    }

    void blinkingDrawsOnlyTheFades()
    {
        // The lamp changes only while it fades in or out (a fifth of each half period);
        // drawing at frame rate in between would repaint a steady lamp thirty times a second.
        auto button = makeButton();
        QTest::qWait(50);
        TestInput::PaintCounter paints(button.get());
        static constexpr int s_interval = 500;
        static constexpr int s_watchMs = 2000;
        button->setBlink(true, s_interval, s_red);
        QTest::qWait(s_watchMs);
        // Two periods with two fades each, about four frames a fade: some 16 paints. At 30
        // frames a second it would be 60; a late timer on a busy machine only gives fewer.
        QVERIFY2(paints.count <= 30, qPrintable(QString::number(paints.count)));
        QVERIFY2(paints.count >= 4, qPrintable(QString::number(paints.count)));
        button->setBlink(false);
    }

    void repeatedSettersDrawNothing()
    {
        auto button = makeButton();
        button->setActive(true);
        QTest::qWait(50);
        TestInput::PaintCounter paints(button.get());
        for (int cycle = 0; cycle < 20; ++cycle) {
            button->setColors(s_red, s_grey);
            button->setButtonColor(2);
            button->setActive(true);
            button->setText(QStringLiteral("Output\nenable"));
            QTest::qWait(5);
        }
        QCOMPARE(paints.count, 0);
        button->setButtonColor(3);
        QTRY_VERIFY(paints.count > 0);
    }

    void repeatedBlinkCallsKeepTheRhythm()
    {
        // A polling loop says "blink" every cycle; the lamp must still go on and off.
        auto button = makeButton();
        bool sawOn = false;
        bool sawOff = false;
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < 2000 && !(sawOn && sawOff)) {
            button->setBlink(true, 100, s_red);
            sawOn = sawOn || button->indicatorColor() == s_red;
            sawOff = sawOff || (sawOn && button->indicatorColor() == s_grey);
            QTest::qWait(10);
        }
        QVERIFY(sawOn);
        QVERIFY(sawOff);
    }

    void indicatorColour()
    {
        Indicator indicator;
        QCOMPARE(indicator.color(), Indicator::Off);
        indicator.setColor(0xff95d400);
        QCOMPARE(indicator.color(), quint32(0xff95d400));
        indicator.setDiameter(-4);
        QVERIFY(indicator.diameter() > 0);
    }
};

QTEST_MAIN(TestIndicatorButton)
#include "tst_indicatorbutton.moc"
