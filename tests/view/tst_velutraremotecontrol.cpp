#include "indicatorbutton.h"
#include "signalrecorder.h"
#include "velutraremotecontrol.h"

#include <QBoxLayout>
#include <QElapsedTimer>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

constexpr quint32 s_red = 0xffff0000;
constexpr quint32 s_grey = 0xff555555;
constexpr quint32 s_orange = 0xfff58b2e;

using Slot = std::function<void(VelutraRemoteControl &, bool)>;

} // namespace

Q_DECLARE_METATYPE(Slot)

class TestVelutraRemoteControl : public QObject
{
    Q_OBJECT

private:
    static std::unique_ptr<VelutraRemoteControl> makeShown()
    {
        auto remote = std::make_unique<VelutraRemoteControl>();
        remote->resize(160, 320);
        remote->show();
        remote->activateWindow();
        if (!QTest::qWaitForWindowExposed(remote.get())) {
            qWarning("remote control window was not exposed");
        }
        return remote;
    }

    static IndicatorButton *button(const VelutraRemoteControl &remote, const QString &name)
    {
        return remote.findChild<IndicatorButton *>(name);
    }

    static QStringList buttonNames()
    {
        return {QStringLiteral("outEnableButton"), QStringLiteral("laserOnButton"),
                QStringLiteral("standbyButton"), QStringLiteral("listenButton")};
    }

private slots:
    void buttonsStandInOrderWithTextsAndColours()
    {
        VelutraRemoteControl remote;
        auto *layout = qobject_cast<QVBoxLayout *>(remote.layout());
        QVERIFY(layout);
        QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(layout->count(), 5);
        const QStringList texts = {QStringLiteral("Output\nenable"), QStringLiteral("Laser On"),
                                   QStringLiteral("Standby"), QStringLiteral("Listen")};
        for (int index = 0; index < 4; ++index) {
            auto *lamp = qobject_cast<IndicatorButton *>(layout->itemAt(index)->widget());
            QVERIFY(lamp);
            QCOMPARE(lamp->objectName(), buttonNames().at(index));
            QCOMPARE(lamp->text(), texts.at(index));
            QCOMPARE(lamp->position(), 1);
            QCOMPARE(lamp->litColor(), s_red);
            QCOMPARE(lamp->unlitColor(), s_grey);
            QCOMPARE(lamp->buttonColor(), 2);
            QCOMPARE(lamp->parentWidget(), &remote);
            QVERIFY(!lamp->isActive());
        }
        QVERIFY(layout->itemAt(4)->spacerItem());
    }

    void outEnableTextNamesTheNextAction_data()
    {
        QTest::addColumn<bool>("on");
        QTest::addColumn<QString>("text");
        QTest::newRow("enabled") << true << QStringLiteral("Output\ndisable");
        QTest::newRow("disabled") << false << QStringLiteral("Output\nenable");
    }

    void outEnableTextNamesTheNextAction()
    {
        QFETCH(bool, on);
        QFETCH(QString, text);
        VelutraRemoteControl remote;
        IndicatorButton *outEnable = button(remote, QStringLiteral("outEnableButton"));
        remote.setOutEnable(!on);
        remote.setOutEnable(on);
        QCOMPARE(outEnable->text(), text);
        QCOMPARE(outEnable->isActive(), on);
        QCOMPARE(outEnable->indicatorColor(), on ? s_red : s_grey);
    }

    void otherStatesLightTheLampAndKeepTheText_data()
    {
        QTest::addColumn<Slot>("slot");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::newRow("laser on") << Slot(&VelutraRemoteControl::setLaserOn)
                                  << QStringLiteral("laserOnButton") << QStringLiteral("Laser On");
        QTest::newRow("standby") << Slot(&VelutraRemoteControl::setStandby)
                                 << QStringLiteral("standbyButton") << QStringLiteral("Standby");
        QTest::newRow("listen") << Slot(&VelutraRemoteControl::setListen)
                                << QStringLiteral("listenButton") << QStringLiteral("Listen");
    }

    void otherStatesLightTheLampAndKeepTheText()
    {
        QFETCH(Slot, slot);
        QFETCH(QString, name);
        QFETCH(QString, text);
        VelutraRemoteControl remote;
        IndicatorButton *lamp = button(remote, name);
        slot(remote, true);
        QVERIFY(lamp->isActive());
        QCOMPARE(lamp->indicatorColor(), s_red);
        QCOMPARE(lamp->text(), text);
        slot(remote, false);
        QVERIFY(!lamp->isActive());
        QCOMPARE(lamp->indicatorColor(), s_grey);
        QCOMPARE(lamp->text(), text);
    }

    void valuesPushedInNeverComeBackOut()
    {
        auto remote = makeShown();
        SignalRecorder recorder(remote.get());
        const QList<Slot> setters = {
                &VelutraRemoteControl::enableOutEnable,
                &VelutraRemoteControl::enableLaserOn,
                &VelutraRemoteControl::enableStandby,
                &VelutraRemoteControl::enableListen,
                &VelutraRemoteControl::setOutEnable,
                &VelutraRemoteControl::setLaserOn,
                &VelutraRemoteControl::setStandby,
                &VelutraRemoteControl::setListen,
                &VelutraRemoteControl::setOutEnableFlashing,
                &VelutraRemoteControl::setLaserOnFlashing,
                &VelutraRemoteControl::setStandbyFlashing,
                &VelutraRemoteControl::setOutEnableVisible,
        };
        for (int round = 0; round < 4; ++round) {
            for (const Slot &slot : setters) {
                slot(*remote, round % 2 == 0);
            }
        }
        for (const Slot &slot : setters) {
            slot(*remote, true);
        }
        QTest::qWait(50);
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void operatorClickEmitsExactlyItsSignal_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("signal");
        QTest::newRow("output enable")
                << QStringLiteral("outEnableButton") << QStringLiteral("outEnableChanged");
        QTest::newRow("laser on") << QStringLiteral("laserOnButton")
                                  << QStringLiteral("laserOnChanged");
        QTest::newRow("standby") << QStringLiteral("standbyButton")
                                 << QStringLiteral("standbyChanged");
        QTest::newRow("listen") << QStringLiteral("listenButton")
                                << QStringLiteral("listenChanged");
    }

    void operatorClickEmitsExactlyItsSignal()
    {
        QFETCH(QString, name);
        QFETCH(QString, signal);
        auto remote = makeShown();
        SignalRecorder recorder(remote.get());
        IndicatorButton *pressed = button(*remote, name);
        QTest::mouseClick(pressed, Qt::LeftButton);
        QTest::mouseClick(pressed, Qt::LeftButton);
        QCOMPARE(recorder.takeAll(), QStringList({signal + QStringLiteral("(true)"),
                                                  signal + QStringLiteral("(false)")}));

        // A click toggles from what the device last reported, not from the last click.
        pressed->setFocus();
        QTest::mouseClick(pressed, Qt::LeftButton);
        recorder.takeAll();
        QMetaObject::invokeMethod(remote.get(), "setOutEnable", Q_ARG(bool, false));
        QMetaObject::invokeMethod(remote.get(), "setLaserOn", Q_ARG(bool, false));
        QMetaObject::invokeMethod(remote.get(), "setStandby", Q_ARG(bool, false));
        QMetaObject::invokeMethod(remote.get(), "setListen", Q_ARG(bool, false));
        QTest::keyClick(pressed, Qt::Key_Space);
        QCOMPARE(recorder.takeAll(), QStringList({signal + QStringLiteral("(true)")}));
    }

    void disabledButtonsIgnoreTheOperator_data()
    {
        QTest::addColumn<Slot>("enable");
        QTest::addColumn<QString>("name");
        QTest::newRow("output enable") << Slot(&VelutraRemoteControl::enableOutEnable)
                                       << QStringLiteral("outEnableButton");
        QTest::newRow("laser on") << Slot(&VelutraRemoteControl::enableLaserOn)
                                  << QStringLiteral("laserOnButton");
        QTest::newRow("standby") << Slot(&VelutraRemoteControl::enableStandby)
                                 << QStringLiteral("standbyButton");
        QTest::newRow("listen") << Slot(&VelutraRemoteControl::enableListen)
                                << QStringLiteral("listenButton");
    }

    void disabledButtonsIgnoreTheOperator()
    {
        QFETCH(Slot, enable);
        QFETCH(QString, name);
        auto remote = makeShown();
        SignalRecorder recorder(remote.get());
        IndicatorButton *target = button(*remote, name);
        enable(*remote, false);
        QVERIFY(!target->isEnabled());
        for (const QString &other : buttonNames()) {
            QCOMPARE(button(*remote, other)->isEnabled(), other != name);
        }
        QTest::mouseClick(target, Qt::LeftButton);
        QCOMPARE(recorder.takeAll(), QStringList());
        enable(*remote, true);
        QVERIFY(target->isEnabled());
        QTest::mouseClick(target, Qt::LeftButton);
        QCOMPARE(recorder.takeAll().size(), 1);
    }

    void outEnableButtonCanBeHidden()
    {
        auto remote = makeShown();
        IndicatorButton *outEnable = button(*remote, QStringLiteral("outEnableButton"));
        QVERIFY(outEnable->isVisible());
        remote->setOutEnableVisible(false);
        QVERIFY(!outEnable->isVisible());
        QVERIFY(button(*remote, QStringLiteral("laserOnButton"))->isVisible());
        remote->setOutEnableVisible(true);
        QVERIFY(outEnable->isVisible());
    }

    void flashingSettings_data()
    {
        QTest::addColumn<Slot>("flash");
        QTest::addColumn<QString>("name");
        QTest::addColumn<quint32>("colour");
        QTest::newRow("output enable") << Slot(&VelutraRemoteControl::setOutEnableFlashing)
                                       << QStringLiteral("outEnableButton") << s_red;
        QTest::newRow("laser on") << Slot(&VelutraRemoteControl::setLaserOnFlashing)
                                  << QStringLiteral("laserOnButton") << s_red;
        QTest::newRow("standby") << Slot(&VelutraRemoteControl::setStandbyFlashing)
                                 << QStringLiteral("standbyButton") << s_orange;
    }

    void flashingSettings()
    {
        QFETCH(Slot, flash);
        QFETCH(QString, name);
        QFETCH(quint32, colour);
        VelutraRemoteControl remote;
        IndicatorButton *lamp = button(remote, name);
        flash(remote, true);
        QVERIFY(lamp->isBlinking());
        QCOMPARE(lamp->blinkInterval(), 500);
        QCOMPARE(lamp->blinkColor(), colour);
        for (const QString &other : buttonNames()) {
            QCOMPARE(button(remote, other)->isBlinking(), other == name);
        }
        flash(remote, false);
        QVERIFY(!lamp->isBlinking());
    }

    void lampsBlinkAtTheirPaceAndListenNeverBlinks()
    {
        auto remote = makeShown();
        SignalRecorder recorder(remote.get());
        remote->setListen(true);
        remote->setOutEnableFlashing(true);
        remote->setLaserOnFlashing(true);
        remote->setStandbyFlashing(true);
        struct Watched
        {
            IndicatorButton *lamp;
            quint32 colour;
            int risingEdges = 0;
            bool wasOn = true;
            bool sawOff = false;
        };
        QList<Watched> watched = {
                {button(*remote, QStringLiteral("outEnableButton")), s_red},
                {button(*remote, QStringLiteral("laserOnButton")), s_red},
                {button(*remote, QStringLiteral("standbyButton")), s_orange},
        };
        IndicatorButton *listen = button(*remote, QStringLiteral("listenButton"));
        int listenChanges = 0;
        quint32 listenColour = listen->indicatorColor();
        QCOMPARE(listenColour, s_red);

        // A late sample can only miss an edge, never invent one: the upper bound says the
        // lamps are not faster than 500 ms on, 500 ms off; the lower bound that they blink.
        static constexpr int s_watchMs = 2600;
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < s_watchMs) {
            for (Watched &entry : watched) {
                const quint32 now = entry.lamp->indicatorColor();
                const bool on = now == entry.colour;
                entry.sawOff = entry.sawOff || now == s_grey;
                if (on && !entry.wasOn) {
                    ++entry.risingEdges;
                }
                entry.wasOn = on;
            }
            if (listen->indicatorColor() != listenColour) {
                ++listenChanges;
                listenColour = listen->indicatorColor();
            }
            QTest::qWait(5);
        }
        for (const Watched &entry : qAsConst(watched)) {
            QVERIFY2(entry.sawOff, qPrintable(entry.lamp->objectName()));
            QVERIFY2(entry.risingEdges >= 1 && entry.risingEdges <= s_watchMs / 1000 + 1,
                     qPrintable(QStringLiteral("%1: %2 rising edges")
                                        .arg(entry.lamp->objectName())
                                        .arg(entry.risingEdges)));
        }
        QCOMPARE(listenChanges, 0);
        QVERIFY(!listen->isBlinking());

        // Stopping returns at once to the steady lamp.
        remote->setOutEnable(true);
        remote->setOutEnableFlashing(false);
        remote->setLaserOnFlashing(false);
        remote->setStandbyFlashing(false);
        QCOMPARE(watched.at(0).lamp->indicatorColor(), s_red);
        QCOMPARE(watched.at(1).lamp->indicatorColor(), s_grey);
        QCOMPARE(watched.at(2).lamp->indicatorColor(), s_grey);
        QCOMPARE(recorder.takeAll(), QStringList());
    }
};

QTEST_MAIN(TestVelutraRemoteControl)
#include "tst_velutraremotecontrol.moc"
