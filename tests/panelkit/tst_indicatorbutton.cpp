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

        // Full on, then full off, then full on again: one period is two intervals.
        QVERIFY(waitForLamp(*button, s_grey, 3000));
        QVERIFY(waitForLamp(*button, s_orange, 3000));
        QElapsedTimer period;
        period.start();
        QVERIFY(waitForLamp(*button, s_grey, 3000));
        const qint64 onFor = period.elapsed();
        QVERIFY(waitForLamp(*button, s_orange, 3000));
        const qint64 full = period.elapsed();
        QVERIFY2(onFor >= s_interval * 0.7, qPrintable(QString::number(onFor)));
        QVERIFY2(full >= s_interval * 2 * 0.9, qPrintable(QString::number(full)));
        QVERIFY2(full < 3000, qPrintable(QString::number(full)));

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
