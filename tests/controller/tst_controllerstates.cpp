// The operator's four state buttons and the operating mode as commands, and the device's state
// back onto the buttons: on/off from the status byte, flashing from the system state.

#include "signalrecorder.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QtTest>

#include <climits>
#include <functional>

namespace {

QString command(const char *text)
{
    return QStringLiteral("sigAppendSettingsCommand(\"%1\")").arg(QLatin1String(text));
}

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString call(const char *signal, bool value)
{
    return QStringLiteral("%1(%2)").arg(QLatin1String(signal), boolText(value));
}

// A reply of each publish group a state command marks, and a decoder signal of that group.
struct GroupProbe
{
    QByteArray reply;
    const char *signal;
};

GroupProbe probeFor(const QByteArray &group)
{
    if (group == "s7") {
        return {"s7 1 2 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 8\n", SIGNAL(siguiTmpChar2Changed(uchar))};
    }
    if (group == "AOMStatus") {
        return {"Laser output disabled\n", SIGNAL(sigAOMChanged(bool))};
    }
    return {};
}

// Runs `act` between two identical replies of `group` and tells whether the second one was
// published again: it is only when the command marked that group stale, since the decoder
// otherwise publishes a value only when it changes.
bool republishedAfter(VelutraController &controller, const QByteArray &group,
                      const std::function<void()> &act)
{
    const GroupProbe probe = probeFor(group);
    if (probe.reply.isEmpty()) {
        qWarning("no probe for the group %s", group.constData());
        return false;
    }
    VelutraResponseDecoder *decoder = controller.decoder();
    QSignalSpy published(decoder, probe.signal);
    decoder->slotLineReceived(probe.reply);
    decoder->slotLineReceived(probe.reply);
    if (published.count() != 1) {
        qWarning("the probe of %s published %d times", group.constData(), published.count());
        return false;
    }
    act();
    decoder->slotLineReceived(probe.reply);
    return published.count() == 2;
}

// What one indicator update emits for a status byte whose state bits are as given, before the
// flashing part. The row values are written out by the callers.
struct ButtonRow
{
    bool listen;
    bool standby;
    bool laserOn;
};

QStringList remoteButtons(const ButtonRow &row)
{
    return {call("enableListen", true),  call("setListen", row.listen),
            call("enableStandby", true), call("setStandby", row.standby),
            call("enableLaserOn", true), call("setLaserOn", row.laserOn)};
}

// The indicator update for a status byte without power, error, warning or setup bits.
QStringList indicatorUpdate(const ButtonRow &row, bool ovenReadOnly)
{
    const bool unlocked = row.listen || row.standby;
    QStringList list{call("setPowerOnIndicator", false),
                     call("setErrorIndicator", false),
                     call("setWarningIndicator", false),
                     call("setDeviceSetupIndicator", false),
                     call("setRepRateSliderDisabled", !unlocked),
                     call("setCrystalPositionReadOnly", !unlocked),
                     call("setWavelengthSelectorEnabled", unlocked)};
    list += remoteButtons(row);
    list.append(call("setOvenModeReadOnly", ovenReadOnly));
    return list;
}

const QStringList s_idleUpdate = indicatorUpdate({false, false, false}, true);

} // namespace

class TestControllerStates : public QObject
{
    Q_OBJECT

private slots:
    void buttons_data();
    void buttons();
    void laserOnWhileOnStillSendsDisabled();
    void operatingMode_data();
    void operatingMode();
    void outEnableFollowsAOM_data();
    void outEnableFollowsAOM();
    void buttonsFromStatusByte_data();
    void buttonsFromStatusByte();
    void flashingBySystemState_data();
    void flashingBySystemState();
    void flashingSequences_data();
    void flashingSequences();
    void aomMode8HidesSlidersWithoutCommand();
    void refusedButtonSnapsBack();
    void refusedOutputEnableSnapsBack();
};

void TestControllerStates::buttons_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<bool>("on");
    QTest::addColumn<QByteArray>("staleGroup");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("output enable on")
            << QByteArray("outEnableChanged") << true << QByteArray("AOMStatus")
            << QStringList{command("ly_vtx2_output_enable\n")};
    QTest::newRow("output enable off")
            << QByteArray("outEnableChanged") << false << QByteArray("AOMStatus")
            << QStringList{command("ly_vtx2_output_disable\n")};
    QTest::newRow("laser on pressed") << QByteArray("laserOnChanged") << true << QByteArray("s7")
                                      << QStringList{command("ly_vtx2_disabled\n")};
    QTest::newRow("laser on released") << QByteArray("laserOnChanged") << false << QByteArray("s7")
                                       << QStringList{command("ly_vtx2_disabled\n")};
    QTest::newRow("standby pressed") << QByteArray("standbyChanged") << true << QByteArray("s7")
                                     << QStringList{command("ly_vtx2_standby\n")};
    QTest::newRow("standby released") << QByteArray("standbyChanged") << false << QByteArray("s7")
                                      << QStringList{command("ly_vtx2_standby\n")};
    QTest::newRow("listen pressed") << QByteArray("listenChanged") << true << QByteArray("s7")
                                    << QStringList{command("ly_vtx2_listen\n")};
    QTest::newRow("listen released") << QByteArray("listenChanged") << false << QByteArray("s7")
                                     << QStringList{command("ly_vtx2_listen\n")};
}

void TestControllerStates::buttons()
{
    QFETCH(QByteArray, slot);
    QFETCH(bool, on);
    QFETCH(QByteArray, staleGroup);
    QFETCH(QStringList, expected);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    QVERIFY(republishedAfter(c, staleGroup, [&] {
        recorder.takeAll();
        QVERIFY(QMetaObject::invokeMethod(&c, slot.constData(), Q_ARG(bool, on)));
        QCOMPARE(recorder.takeAll(), expected);
    }));
}

void TestControllerStates::laserOnWhileOnStillSendsDisabled()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotuiTmpChar2Changed(0x80);
    QCOMPARE(recorder.takeAll(), indicatorUpdate({false, false, true}, true));

    c.laserOnChanged(true);
    c.laserOnChanged(false);
    QCOMPARE(recorder.takeAll(),
             QStringList({command("ly_vtx2_disabled\n"), command("ly_vtx2_disabled\n")}));
    QVERIFY(republishedAfter(c, "s7", [&] { c.laserOnChanged(true); }));
}

void TestControllerStates::operatingMode_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("0 internal") << 0 << QStringList{command("e_mode 2\n")};
    QTest::newRow("1 external") << 1 << QStringList{command("e_mode 3\n")};
    QTest::newRow("2") << 2 << QStringList{command("e_mode 8\n")};
    QTest::newRow("3") << 3 << QStringList{};
    QTest::newRow("-1 (combo emptied)") << -1 << QStringList{};
    QTest::newRow("INT_MIN") << INT_MIN << QStringList{};
    QTest::newRow("INT_MAX") << INT_MAX << QStringList{};
}

void TestControllerStates::operatingMode()
{
    QFETCH(int, index);
    QFETCH(QStringList, expected);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    // A mode the device is told about marks the status record; an index with no mode sends
    // nothing and marks nothing.
    const bool republished = republishedAfter(c, "s7", [&] {
        recorder.takeAll();
        c.slotOperatingModeChanged(index);
        QCOMPARE(recorder.takeAll(), expected);
    });
    QCOMPARE(republished, !expected.isEmpty());
}

void TestControllerStates::outEnableFollowsAOM_data()
{
    QTest::addColumn<bool>("value");
    QTest::newRow("enabled") << true;
    QTest::newRow("disabled") << false;
}

void TestControllerStates::outEnableFollowsAOM()
{
    QFETCH(bool, value);
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotAOMChanged(value);
    QCOMPARE(recorder.takeAll(), QStringList{call("setOutEnableOn", value)});
}

void TestControllerStates::buttonsFromStatusByte_data()
{
    QTest::addColumn<int>("statusByte");
    QTest::addColumn<QStringList>("expected");

    // Only the state bits (3, 5, 6, 7) here; the lamps have their own test.
    QTest::newRow("0x00 nothing") << 0x00 << indicatorUpdate({false, false, false}, true);
    QTest::newRow("0x08 listen") << 0x08 << indicatorUpdate({true, false, false}, false);
    QTest::newRow("0x20 standby") << 0x20 << indicatorUpdate({false, true, false}, true);
    QTest::newRow("0x28 listen+standby") << 0x28 << indicatorUpdate({true, true, false}, true);
    QTest::newRow("0x40 laser on") << 0x40 << indicatorUpdate({false, false, true}, true);
    QTest::newRow("0x80 laser on") << 0x80 << indicatorUpdate({false, false, true}, true);
    QTest::newRow("0xC0 laser on") << 0xC0 << indicatorUpdate({false, false, true}, true);
    QTest::newRow("0x48 listen+laser") << 0x48 << indicatorUpdate({true, false, true}, true);
    QTest::newRow("0xE8 all states") << 0xE8 << indicatorUpdate({true, true, true}, true);
}

void TestControllerStates::buttonsFromStatusByte()
{
    QFETCH(int, statusByte);
    QFETCH(QStringList, expected);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotuiTmpChar2Changed(uchar(statusByte));
    QCOMPARE(recorder.takeAll(), expected);
}

void TestControllerStates::flashingBySystemState_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QStringList>("flashing");

    const QString laserOff = call("setLaserOnFlash", false);
    const QString laserOn = call("setLaserOnFlash", true);
    const QString standbyOff = call("setStandbyFlash", false);
    const QString standbyOn = call("setStandbyFlash", true);

    QTest::newRow("0 unknown") << 0 << QStringList{};
    QTest::newRow("1 listen") << 1 << QStringList{laserOff, standbyOff};
    QTest::newRow("2 listen->standby") << 2 << QStringList{standbyOn};
    QTest::newRow("3 standby") << 3 << QStringList{standbyOff};
    QTest::newRow("4 standby->listen") << 4 << QStringList{standbyOff};
    QTest::newRow("5 standby->disabled") << 5 << QStringList{laserOn};
    QTest::newRow("6 standby->enabled") << 6 << QStringList{laserOn};
    QTest::newRow("7 disabled") << 7 << QStringList{laserOff};
    QTest::newRow("8 enabled") << 8 << QStringList{laserOff};
    QTest::newRow("9 disabled->standby") << 9 << QStringList{laserOff, standbyOff};
    QTest::newRow("10 enabled->standby") << 10 << QStringList{laserOff, standbyOff};
    QTest::newRow("11 disabled->listen") << 11 << QStringList{laserOff, standbyOff};
    QTest::newRow("12 enabled->listen") << 12 << QStringList{laserOff, standbyOff};
    QTest::newRow("13 beyond the table") << 13 << QStringList{};
    QTest::newRow("-1") << -1 << QStringList{};
    QTest::newRow("INT_MIN") << INT_MIN << QStringList{};
    QTest::newRow("INT_MAX") << INT_MAX << QStringList{};
    QTest::newRow("huge") << 1000000 << QStringList{};
}

void TestControllerStates::flashingBySystemState()
{
    QFETCH(int, state);
    QFETCH(QStringList, flashing);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotSystemStateChanged(static_cast<SystemState>(state));
    // The status-byte part of the update runs too, from the byte stored so far (none: 0).
    QCOMPARE(recorder.takeAll(), s_idleUpdate + flashing);
}

void TestControllerStates::flashingSequences_data()
{
    QTest::addColumn<QList<int>>("states");
    QTest::addColumn<QStringList>("expected");

    const QString laserOn = call("setLaserOnFlash", true);
    const QString standbyOff = call("setStandbyFlash", false);
    const QString standbyOn = call("setStandbyFlash", true);

    // Standby flashes while the device is on its way there, and stops when it has arrived.
    QTest::newRow("2 then 3") << QList<int>{
            2, 3} << s_idleUpdate + QStringList{standbyOn} + s_idleUpdate + QStringList{standbyOff};
    // 0 says nothing about flashing: laser on keeps flashing.
    QTest::newRow("5 then 0") << QList<int>{5, 0}
                              << s_idleUpdate + QStringList{laserOn} + s_idleUpdate;
    QTest::newRow("5 then 13") << QList<int>{5, 13}
                               << s_idleUpdate + QStringList{laserOn} + s_idleUpdate;
}

void TestControllerStates::flashingSequences()
{
    QFETCH(QList<int>, states);
    QFETCH(QStringList, expected);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    for (int state : states) {
        c.slotSystemStateChanged(static_cast<SystemState>(state));
    }
    QCOMPARE(recorder.takeAll(), expected);
}

void TestControllerStates::aomMode8HidesSlidersWithoutCommand()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotiModeOfOperationAOMChanged(8);
    const QStringList recorded = recorder.takeAll();
    // No firmware reported yet: the plain layout, then mode 8's presentation. The only text
    // queued is the digital-output query; no e_mode goes out.
    const QStringList expected{
            call("setPowerMeasuredIR_uJVisibility", true),
            call("setPowerMeasuredGreen_uJVisibility", false),
            call("setPowerMeasuredUV_uJVisibility", false),
            call("setPowerMeasuredDUV_uJVisibility", false),
            call("setWavelengthSelectorComboVisibility", false),
            QStringLiteral("enableWavelengths(false,false,false)"),
            call("setHGModuleInfoVisibility", false),
            call("setHGSettingsPageVisibility", false),
            call("setOvenFaultIndicatorVisibility", false),
            call("setHumidityFaultIndicatorVisibility", false),
            call("setErrorcodeHGIndicatorVisible", false),
            call("setDigitalGateVisible", true),
            command("ly_vtx2_digiop?\n"),
            call("setDynamicWavelengthFeatureVisibility", false),
            call("setOutEnableOnVisible", false),
            QStringLiteral("enableWavelengths(false,false,false)"),
            QStringLiteral("setOperatingMode(2)"),
            call("setPowerSliderVisibility", false),
            call("setRepRateSliderVisibility", false),
            call("setDivisionSliderVisibility", false),
    };
    QCOMPARE(recorded, expected);
}

// A state command the device ignores must not leave the button showing what the operator
// pressed: the next status record repaints it even though the status byte did not change.
void TestControllerStates::refusedButtonSnapsBack()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    VelutraResponseDecoder *decoder = c.decoder();
    decoder->slotConnectedStatus(true);

    SignalRecorder recorder(&c);
    const QByteArray listenRecord = "s7 1 2 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 8\n";
    const auto buttonStates = [&recorder]() {
        QStringList states;
        for (const QString &entry : recorder.takeAll()) {
            if (entry.startsWith(QLatin1String("setListen("))
                || entry.startsWith(QLatin1String("setStandby("))
                || entry == command("ly_vtx2_standby\n")) {
                states.append(entry);
            }
        }
        return states;
    };

    decoder->slotLineReceived(listenRecord);
    QCOMPARE(buttonStates(), QStringList({call("setListen", true), call("setStandby", false)}));
    decoder->slotLineReceived(listenRecord);
    QCOMPARE(buttonStates(), QStringList{});

    c.standbyChanged(true);
    decoder->slotLineReceived(listenRecord);
    QCOMPARE(buttonStates(), QStringList({command("ly_vtx2_standby\n"), call("setListen", true),
                                          call("setStandby", false)}));
}

void TestControllerStates::refusedOutputEnableSnapsBack()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    VelutraResponseDecoder *decoder = c.decoder();
    decoder->slotConnectedStatus(true);

    SignalRecorder recorder(&c);
    decoder->slotLineReceived("Laser output disabled\n");
    QCOMPARE(recorder.takeAll(), QStringList{call("setOutEnableOn", false)});
    decoder->slotLineReceived("Laser output disabled\n");
    QCOMPARE(recorder.takeAll(), QStringList{});

    c.outEnableChanged(true);
    decoder->slotLineReceived("Laser output disabled\n");
    QCOMPARE(recorder.takeAll(),
             QStringList({command("ly_vtx2_output_enable\n"), call("setOutEnableOn", false)}));
}

QTEST_MAIN(TestControllerStates)
#include "tst_controllerstates.moc"
