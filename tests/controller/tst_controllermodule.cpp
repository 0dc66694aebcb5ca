#include "signalrecorder.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QMetaMethod>
#include <QLoggingCategory>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

// The harmonic module side of the controller: wavelength, ovens, crystal spots, humidity, the
// digital gate, dynamic wavelength switching and the measured green and UV power. Each row is
// the complete ordered list of what comes out, commands included.

using Step = std::function<void(VelutraController &)>;
Q_DECLARE_METATYPE(Step)

namespace {

const double s_nan = std::numeric_limits<double>::quiet_NaN();
const double s_inf = std::numeric_limits<double>::infinity();
constexpr int s_intMax = std::numeric_limits<int>::max();
constexpr int s_intMin = std::numeric_limits<int>::min();
constexpr quint64 s_runtimeMax = std::numeric_limits<quint64>::max();

QString command(const char *text)
{
    return QStringLiteral("sigAppendSettingsCommand(\"%1\")").arg(QString::fromLatin1(text));
}

void feed(VelutraController &controller, const QStringList &lines)
{
    for (const QString &line : lines) {
        controller.decoder()->slotLineReceived(line.toLatin1());
    }
}

// Debug output of the code under test, as "<category>: <text>".
QStringList s_messages;

void collectMessage(QtMsgType, const QMessageLogContext &context, const QString &text)
{
    s_messages.append(QString::fromLatin1(context.category) + QStringLiteral(": ") + text);
}

// A runtime map of the spots first to last, spot n having run n hours.
QMap<int, quint64> runtimes(int first, int last)
{
    QMap<int, quint64> map;
    for (int spot = first; spot <= last; ++spot) {
        map.insert(spot, quint64(spot) * 3600);
    }
    return map;
}

QString runtimesText(int first, int last)
{
    QStringList items;
    for (int spot = first; spot <= last; ++spot) {
        items.append(QStringLiteral("%1:%2").arg(spot).arg(quint64(spot) * 3600));
    }
    return QLatin1Char('{') + items.join(QLatin1Char(',')) + QLatin1Char('}');
}

} // namespace

class TestControllerModule : public QObject
{
    Q_OBJECT

private slots:
    void decodedValues_data();
    void decodedValues();
    void operatorCommands_data();
    void operatorCommands();

    void unknownLaserWavelengthIsTraced_data();
    void unknownLaserWavelengthIsTraced();
    void oven1CommandFollowsModuleType_data();
    void oven1CommandFollowsModuleType();
    void wavelengthCommandFollowsSystemType_data();
    void wavelengthCommandFollowsSystemType();
    void hugeRuntimeMap();
    void digitalGateIsReadOnceOnly();
    void noSlotShowsDeepUvPower();

    void refusedChangesSnapBack_data();
    void refusedChangesSnapBack();
};

// ---- Decoded values ------------------------------------------------------------------------

void TestControllerModule::decodedValues_data()
{
    QTest::addColumn<Step>("prepare");
    QTest::addColumn<Step>("act");
    QTest::addColumn<QStringList>("expected");
    const Step nothing = [](VelutraController &) {
    };
    auto rate50kHz = Step([](VelutraController &c) { c.slotOutputFrequencyChanged(50); });
    // Upper end of the power range: 4000 / 4 = 1000 nJ, so 1 µJ is 100 %.
    auto rangeTo1uJ = Step([](VelutraController &c) { c.slotPowerSetting_nJ_RangeChanged(2, 4); });

    // Wavelength register and piezo position.
    for (int value : {0, 1, 2}) {
        QTest::newRow(qPrintable(QStringLiteral("wavelength register %1").arg(value)))
                << nothing
                << Step([value](VelutraController &c) { c.slotiWavelenghtVTXChanged(value); })
                << QStringList{QStringLiteral("setWavelengthSelector(%1)").arg(value)};
    }
    QTest::newRow("wavelength register 5 still selected")
            << nothing << Step([](VelutraController &c) { c.slotiWavelenghtVTXChanged(5); })
            << QStringList{"setWavelengthSelector(5)"};
    QTest::newRow("wavelength register int min")
            << nothing << Step([](VelutraController &c) { c.slotiWavelenghtVTXChanged(s_intMin); })
            << QStringList{"setWavelengthSelector(-2147483648)"};
    for (int value : {0, 2, -1, s_intMax}) {
        QTest::newRow(qPrintable(QStringLiteral("piezo position %1").arg(value)))
                << nothing
                << Step([value](VelutraController &c) { c.slotPiezoPositionChanged(value); })
                << QStringList{QStringLiteral("setWavelengthSelectorCombo(%1)").arg(value)};
    }

    // Oven mode: 3 and 4 read back as item 1, everything else as item 0.
    const std::pair<int, int> ovenModes[]
            = {{4, 1}, {3, 1}, {2, 0}, {5, 0}, {0, 0}, {-1, 0}, {s_intMax, 0}, {s_intMin, 0}};
    for (const auto &mode : ovenModes) {
        const int device = mode.first;
        QTest::newRow(qPrintable(QStringLiteral("oven mode %1").arg(device)))
                << nothing
                << Step([device](VelutraController &c) { c.slotOvenModeChanged(device); })
                << QStringList{QStringLiteral("setOvenMode(%1)").arg(mode.second)};
    }

    // Oven values pass through unchanged, hostile ones included.
    QTest::newRow("oven 1 set-point")
            << nothing << Step([](VelutraController &c) { c.slotOven1TempSettingChanged(35.5); })
            << QStringList{"setOven1TempSetpoint(35.5)"};
    QTest::newRow("oven 1 set-point NaN")
            << nothing << Step([](VelutraController &c) { c.slotOven1TempSettingChanged(s_nan); })
            << QStringList{"setOven1TempSetpoint(nan)"};
    QTest::newRow("oven 1 range") << nothing << Step([](VelutraController &c) {
        c.slotOven1TempSettingRangeChanged(20, 60);
    }) << QStringList{"setOven1TempSetpointRange(20,60)"};
    QTest::newRow("oven 1 range reversed and hostile") << nothing << Step([](VelutraController &c) {
        c.slotOven1TempSettingRangeChanged(s_inf, -s_inf);
    }) << QStringList{"setOven1TempSetpointRange(inf,-inf)"};
    QTest::newRow("oven 1 actual")
            << nothing << Step([](VelutraController &c) { c.slotOven1TempActualChanged(-12.25); })
            << QStringList{"setOven1TempActual(-12.25)"};
    QTest::newRow("oven 2 set-point")
            << nothing << Step([](VelutraController &c) { c.slotOven2TempSettingChanged(140); })
            << QStringList{"setOven2TempSetpoint(140)"};
    QTest::newRow("oven 2 range") << nothing << Step([](VelutraController &c) {
        c.slotOven2TempSettingRangeChanged(60, 20);
    }) << QStringList{"setOven2TempSetpointRange(60,20)"};
    QTest::newRow("oven 2 actual NaN")
            << nothing << Step([](VelutraController &c) { c.slotOven2TempActualChanged(s_nan); })
            << QStringList{"setOven2TempActual(nan)"};

    // Crystal.
    QTest::newRow("crystal spot") << nothing << Step([](VelutraController &c) {
        c.slotHGCrystalCurSpotChanged(3);
    }) << QStringList{"setCrystalPosition(3)"};
    QTest::newRow("crystal spot negative")
            << nothing << Step([](VelutraController &c) { c.slotHGCrystalCurSpotChanged(-1); })
            << QStringList{"setCrystalPosition(-1)"};
    QTest::newRow("crystal current runtime")
            << nothing << Step([](VelutraController &c) { c.slotHGCrystalCurRuntimeChanged(0); })
            << QStringList{"setCrystalCurRuntime(0)"};
    QTest::newRow("crystal max runtime largest") << nothing << Step([](VelutraController &c) {
        c.slotHGCrystalMaxRuntimeChanged(s_runtimeMax);
    }) << QStringList{"setCrystalMaxRuntime(18446744073709551615)"};
    QTest::newRow("runtimes of spots 1 to 12: range first")
            << nothing << Step([](VelutraController &c) {
                   c.slotHGCrystalAllRuntimesChanged(runtimes(1, 12));
               })
            << QStringList{"setCrystalPositionRange(1,12)",
                           "setCrystalAllRuntimes(" + runtimesText(1, 12) + ")"};
    QTest::newRow("runtimes of one spot")
            << nothing << Step([](VelutraController &c) {
                   c.slotHGCrystalAllRuntimesChanged({{5, s_runtimeMax}});
               })
            << QStringList{"setCrystalPositionRange(5,5)",
                           "setCrystalAllRuntimes({5:18446744073709551615})"};
    QTest::newRow("runtimes at extreme spots")
            << nothing << Step([](VelutraController &c) {
                   c.slotHGCrystalAllRuntimesChanged({{s_intMin, 1}, {s_intMax, 2}});
               })
            << QStringList{"setCrystalPositionRange(-2147483648,2147483647)",
                           "setCrystalAllRuntimes({-2147483648:1,2147483647:2})"};
    // No spots: the slider keeps its range; the empty list is still shown.
    QTest::newRow("empty runtime map")
            << nothing << Step([](VelutraController &c) { c.slotHGCrystalAllRuntimesChanged({}); })
            << QStringList{"setCrystalAllRuntimes({})"};

    // Humidity, gate, dynamic wavelength switching.
    for (int value : {45, 0, -5, s_intMin}) {
        QTest::newRow(qPrintable(QStringLiteral("humidity %1").arg(value)))
                << nothing
                << Step([value](VelutraController &c) { c.slotHumidityActualChanged(value); })
                << QStringList{QStringLiteral("setHumidityMonitor(%1)").arg(value)};
    }
    for (int value : {0, 1, -7}) {
        QTest::newRow(qPrintable(QStringLiteral("digital gate %1").arg(value)))
                << nothing
                << Step([value](VelutraController &c) { c.slotDigitalGateChanged(value); })
                << QStringList{QStringLiteral("setDigitalGate(%1)").arg(value)};
        QTest::newRow(qPrintable(QStringLiteral("dynamic wavelength enabled %1").arg(value)))
                << nothing << Step([value](VelutraController &c) {
                       c.slotDynamicWavelengthFeatureChanged(value);
                   })
                << QStringList{QStringLiteral("setDynamicWavelengthFeature(%1)").arg(value)};
    }

    // Dynamic wavelength defaults: µJ, then percent of the range's upper end in µJ.
    QTest::newRow("default IR") << rangeTo1uJ << Step([](VelutraController &c) {
        c.slotDynamicWLS_IRChanged(0.5);
    }) << QStringList{"setDynamicWLS_IR_uJ(0.5)", "setDynamicWLS_IR_Percent(50)"};
    QTest::newRow("default green")
            << rangeTo1uJ << Step([](VelutraController &c) { c.slotDynamicWLS_GreenChanged(0.25); })
            << QStringList{"setDynamicWLS_Green_uJ(0.25)", "setDynamicWLS_Green_Percent(25)"};
    QTest::newRow("default UV") << rangeTo1uJ << Step([](VelutraController &c) {
        c.slotDynamicWLS_UVChanged(2);
    }) << QStringList{"setDynamicWLS_UV_uJ(2)", "setDynamicWLS_UV_Percent(200)"};
    QTest::newRow("default DUV") << rangeTo1uJ << Step([](VelutraController &c) {
        c.slotDynamicWLS_DUVChanged(0.125);
    }) << QStringList{"setDynamicWLS_DUV_uJ(0.125)", "setDynamicWLS_DUV_Percent(12.5)"};
    // Before any range the end is 0: infinite percentage, no guard.
    QTest::newRow("default before any range")
            << nothing << Step([](VelutraController &c) { c.slotDynamicWLS_IRChanged(5); })
            << QStringList{"setDynamicWLS_IR_uJ(5)", "setDynamicWLS_IR_Percent(inf)"};
    QTest::newRow("default 0 before any range")
            << nothing << Step([](VelutraController &c) { c.slotDynamicWLS_GreenChanged(0); })
            << QStringList{"setDynamicWLS_Green_uJ(0)", "setDynamicWLS_Green_Percent(nan)"};
    QTest::newRow("default negative before any range")
            << nothing << Step([](VelutraController &c) { c.slotDynamicWLS_UVChanged(-1); })
            << QStringList{"setDynamicWLS_UV_uJ(-1)", "setDynamicWLS_UV_Percent(-inf)"};
    QTest::newRow("default NaN") << rangeTo1uJ << Step([](VelutraController &c) {
        c.slotDynamicWLS_DUVChanged(s_nan);
    }) << QStringList{"setDynamicWLS_DUV_uJ(nan)", "setDynamicWLS_DUV_Percent(nan)"};
    // A range report of 0, 0 is ignored: the percentage stays relative to the last good one.
    QTest::newRow("default after an ignored range") << Step([](VelutraController &c) {
        c.slotPowerSetting_nJ_RangeChanged(2, 4);
        c.slotPowerSetting_nJ_RangeChanged(0, 0);
    }) << Step([](VelutraController &c) {
        c.slotDynamicWLS_IRChanged(0.5);
    }) << QStringList{"setDynamicWLS_IR_uJ(0.5)", "setDynamicWLS_IR_Percent(50)"};

    // Measured green and UV: mW in; mW / kHz is µJ, mW / 1000 is W.
    QTest::newRow("green 500 mW at 50 kHz")
            << rate50kHz << Step([](VelutraController &c) { c.slotSHGOutputPowerChanged(500); })
            << QStringList{"setPowerMeasuredGreen_uJ(10)", "setOutputPowerGreenMeasuredW(0.5)"};
    QTest::newRow("green 500 mW at the computed 50 kHz") << Step([](VelutraController &c) {
        c.slotFrequencyDivListChanged({{0, 1600.0}});
        c.slotFrequencyIndexChanged(0);
    }) << Step([](VelutraController &c) {
        c.slotSHGOutputPowerChanged(500);
    }) << QStringList{"setPowerMeasuredGreen_uJ(10)", "setOutputPowerGreenMeasuredW(0.5)"};
    QTest::newRow("green at rate 0 is infinite")
            << nothing << Step([](VelutraController &c) { c.slotSHGOutputPowerChanged(500); })
            << QStringList{"setPowerMeasuredGreen_uJ(inf)", "setOutputPowerGreenMeasuredW(0.5)"};
    QTest::newRow("green 0") << rate50kHz << Step([](VelutraController &c) {
        c.slotSHGOutputPowerChanged(0);
    }) << QStringList{"setPowerMeasuredGreen_uJ(0)", "setOutputPowerGreenMeasuredW(0)"};
    QTest::newRow("green negative")
            << rate50kHz << Step([](VelutraController &c) { c.slotSHGOutputPowerChanged(-20); })
            << QStringList{"setPowerMeasuredGreen_uJ(0)", "setOutputPowerGreenMeasuredW(0)"};
    QTest::newRow("green NaN") << rate50kHz << Step([](VelutraController &c) {
        c.slotSHGOutputPowerChanged(s_nan);
    }) << QStringList{"setPowerMeasuredGreen_uJ(0)", "setOutputPowerGreenMeasuredW(0)"};
    QTest::newRow("green infinite")
            << rate50kHz << Step([](VelutraController &c) { c.slotSHGOutputPowerChanged(s_inf); })
            << QStringList{"setPowerMeasuredGreen_uJ(inf)", "setOutputPowerGreenMeasuredW(inf)"};
    QTest::newRow("UV 500 mW at 50 kHz")
            << rate50kHz << Step([](VelutraController &c) { c.slotTHGOutputPowerChanged(500); })
            << QStringList{"setPowerMeasuredUV_uJ(10)", "setOutputPowerUVMeasuredW(0.5)"};
    QTest::newRow("UV at rate 0 is infinite")
            << nothing << Step([](VelutraController &c) { c.slotTHGOutputPowerChanged(250); })
            << QStringList{"setPowerMeasuredUV_uJ(inf)", "setOutputPowerUVMeasuredW(0.25)"};
    QTest::newRow("UV 0") << rate50kHz << Step([](VelutraController &c) {
        c.slotTHGOutputPowerChanged(0);
    }) << QStringList{"setPowerMeasuredUV_uJ(0)", "setOutputPowerUVMeasuredW(0)"};
    QTest::newRow("UV NaN") << rate50kHz << Step([](VelutraController &c) {
        c.slotTHGOutputPowerChanged(s_nan);
    }) << QStringList{"setPowerMeasuredUV_uJ(0)", "setOutputPowerUVMeasuredW(0)"};
    QTest::newRow("UV at a NaN rate")
            << Step([](VelutraController &c) { c.slotOutputFrequencyChanged(s_nan); })
            << Step([](VelutraController &c) { c.slotTHGOutputPowerChanged(100); })
            << QStringList{"setPowerMeasuredUV_uJ(nan)", "setOutputPowerUVMeasuredW(0.1)"};
}

void TestControllerModule::decodedValues()
{
    QFETCH(Step, prepare);
    QFETCH(Step, act);
    QFETCH(QStringList, expected);
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    prepare(controller);
    recorder.takeAll();
    s_messages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(collectMessage);
    act(controller);
    qInstallMessageHandler(previous);
    QCOMPARE(recorder.takeAll(), expected);
}

// ---- Operator changes ------------------------------------------------------------------------

void TestControllerModule::operatorCommands_data()
{
    QTest::addColumn<Step>("act");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("output selector 2")
            << Step([](VelutraController &c) { c.wavelengthSelectorComboChanged(2); })
            << QStringList{command("ls_wavelength=2\n")};
    QTest::newRow("output selector negative")
            << Step([](VelutraController &c) { c.wavelengthSelectorComboChanged(-1); })
            << QStringList{command("ls_wavelength=-1\n")};
    QTest::newRow("laser wavelength, unknown system")
            << Step([](VelutraController &c) { c.wavelengthChanged(1); })
            << QStringList{command("ly_vtx_wvl 1\n")};
    QTest::newRow("laser wavelength int min")
            << Step([](VelutraController &c) { c.wavelengthChanged(s_intMin); })
            << QStringList{command("ly_vtx_wvl -2147483648\n")};

    // Oven mode: eleven characters, no line feed (the handler adds it).
    QTest::newRow("oven mode on") << Step([](VelutraController &c) { c.ovenModeComboChanged(1); })
                                  << QStringList{command("ls_enable=4")};
    QTest::newRow("oven mode off") << Step([](VelutraController &c) { c.ovenModeComboChanged(0); })
                                   << QStringList{command("ls_enable=2")};
    QTest::newRow("oven mode negative index")
            << Step([](VelutraController &c) { c.ovenModeComboChanged(-1); })
            << QStringList{command("ls_enable=4")};

    // Oven set-points: one decimal, rounded. Without a module type oven 1 is the SHG oven.
    QTest::newRow("oven 1 35.26") << Step([](VelutraController &c) {
        c.oven1SetpointChanged(35.26);
    }) << QStringList{command("ls_temp_setpoint_SHG=35.3\n")};
    QTest::newRow("oven 2 35.26") << Step([](VelutraController &c) {
        c.oven2SetpointChanged(35.26);
    }) << QStringList{command("ls_temp_setpoint_THG=35.3\n")};
    QTest::newRow("oven 2 negative")
            << Step([](VelutraController &c) { c.oven2SetpointChanged(-5.26); })
            << QStringList{command("ls_temp_setpoint_THG=-5.3\n")};
    QTest::newRow("oven 1 NaN sends nothing")
            << Step([](VelutraController &c) { c.oven1SetpointChanged(s_nan); }) << QStringList{};
    QTest::newRow("oven 1 infinite sends nothing")
            << Step([](VelutraController &c) { c.oven1SetpointChanged(s_inf); }) << QStringList{};
    QTest::newRow("oven 2 -infinite sends nothing")
            << Step([](VelutraController &c) { c.oven2SetpointChanged(-s_inf); }) << QStringList{};

    // Crystal spot: truncated toward zero, saturating.
    QTest::newRow("crystal 3.9") << Step([](VelutraController &c) {
        c.crystalSpotSliderChanged(3.9);
    }) << QStringList{command("ls_crystal_setSpot=3\n")};
    QTest::newRow("crystal -0.5") << Step([](VelutraController &c) {
        c.crystalSpotSliderChanged(-0.5);
    }) << QStringList{command("ls_crystal_setSpot=0\n")};
    QTest::newRow("crystal huge saturates")
            << Step([](VelutraController &c) { c.crystalSpotSliderChanged(1e10); })
            << QStringList{command("ls_crystal_setSpot=2147483647\n")};
    QTest::newRow("crystal -huge saturates")
            << Step([](VelutraController &c) { c.crystalSpotSliderChanged(-1e10); })
            << QStringList{command("ls_crystal_setSpot=-2147483648\n")};
    QTest::newRow("crystal NaN sends nothing")
            << Step([](VelutraController &c) { c.crystalSpotSliderChanged(s_nan); })
            << QStringList{};
    QTest::newRow("crystal infinite sends nothing")
            << Step([](VelutraController &c) { c.crystalSpotSliderChanged(s_inf); })
            << QStringList{};

    // Digital gate: set, then read back at once.
    QTest::newRow("gate 1") << Step([](VelutraController &c) {
        c.digitalGateModeChanged(1);
    }) << QStringList{command("ly_vtx2_digiop=1\n"), command("ly_vtx2_digiop?\n")};
    QTest::newRow("gate negative")
            << Step([](VelutraController &c) { c.digitalGateModeChanged(-3); })
            << QStringList{command("ly_vtx2_digiop=-3\n"), command("ly_vtx2_digiop?\n")};

    // Dynamic wavelength switching.
    QTest::newRow("switching on") << Step([](VelutraController &c) {
        c.dynamicWavelengthFeatureChanged(1);
    }) << QStringList{command("ls_dwls_enable=1\n")};
    QTest::newRow("switching off")
            << Step([](VelutraController &c) { c.dynamicWavelengthFeatureChanged(0); })
            << QStringList{command("ls_dwls_enable=0\n")};
    QTest::newRow("default 2.5 uJ")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(1, 2.5); })
            << QStringList{command("ls_dwls_default=1,2500\n"), command("ls_dwls_default?\n")};
    QTest::newRow("default six digits")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(3, 1.2345678); })
            << QStringList{command("ls_dwls_default=3,1234.57\n"), command("ls_dwls_default?\n")};
    QTest::newRow("default 999.9999 uJ without exponent")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(0, 999.9999); })
            << QStringList{command("ls_dwls_default=0,1000000\n"), command("ls_dwls_default?\n")};
    QTest::newRow("default 60000 uJ without exponent")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(2, 60000); })
            << QStringList{command("ls_dwls_default=2,60000000\n"), command("ls_dwls_default?\n")};
    QTest::newRow("default for an unknown wavelength")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(7, 1); })
            << QStringList{command("ls_dwls_default=7,1000\n"), command("ls_dwls_default?\n")};
    QTest::newRow("default negative")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(-1, -1); })
            << QStringList{command("ls_dwls_default=-1,-1000\n"), command("ls_dwls_default?\n")};
    QTest::newRow("default NaN sends nothing")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(0, s_nan); })
            << QStringList{};
    QTest::newRow("default infinite sends nothing")
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(0, s_inf); })
            << QStringList{};
}

void TestControllerModule::operatorCommands()
{
    QFETCH(Step, act);
    QFETCH(QStringList, expected);
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    act(controller);
    QCOMPARE(recorder.takeAll(), expected);
}

// ---- Wavelength register trace ------------------------------------------------------------------

void TestControllerModule::unknownLaserWavelengthIsTraced_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QStringList>("messages");
    const QString trace = QStringLiteral(
            "velutra.controller: VelutraController::slotiWavelenghtVTXChanged Wavelength unknown: %1");
    QTest::newRow("0") << 0 << QStringList{};
    QTest::newRow("2") << 2 << QStringList{};
    QTest::newRow("5") << 5 << QStringList{trace.arg(5)};
    QTest::newRow("3") << 3 << QStringList{trace.arg(3)};
    QTest::newRow("-1") << -1 << QStringList{trace.arg(-1)};
}

void TestControllerModule::unknownLaserWavelengthIsTraced()
{
    QFETCH(int, value);
    QFETCH(QStringList, messages);
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    s_messages.clear();
    // The controller's traces are off unless a service engineer asks for them.
    QLoggingCategory::setFilterRules(QStringLiteral("velutra.controller.debug=true"));
    const QtMessageHandler previous = qInstallMessageHandler(collectMessage);
    controller.slotiWavelenghtVTXChanged(value);
    qInstallMessageHandler(previous);
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(s_messages, messages);
    QCOMPARE(recorder.takeAll(),
             QStringList{QStringLiteral("setWavelengthSelector(%1)").arg(value)});
}

// ---- Commands that depend on what the device reported ---------------------------------------

void TestControllerModule::oven1CommandFollowsModuleType_data()
{
    QTest::addColumn<QString>("moduleType");
    QTest::addColumn<QString>("expected");
    QTest::newRow("0x93: SHG oven") << "0x93 THGi" << command("ls_temp_setpoint_SHG=35.3\n");
    QTest::newRow("0x8d: SHG oven") << "0x8d" << command("ls_temp_setpoint_SHG=35.3\n");
    QTest::newRow("0x90: single oven") << "0x90" << command("ls_temp_setpoint=35.3\n");
    QTest::newRow("0x86: single oven") << "type 0x86 SHG" << command("ls_temp_setpoint=35.3\n");
    QTest::newRow("0X90 is not 0x90") << "0X90" << command("ls_temp_setpoint_SHG=35.3\n");
}

void TestControllerModule::oven1CommandFollowsModuleType()
{
    QFETCH(QString, moduleType);
    QFETCH(QString, expected);
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    controller.slotsHGModuleType(moduleType);
    recorder.takeAll();
    controller.oven1SetpointChanged(35.26);
    QCOMPARE(recorder.takeAll(), QStringList{expected});
}

void TestControllerModule::wavelengthCommandFollowsSystemType_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("expected");
    QTest::newRow("Velutra-2") << "Velutra-2" << command("ly_vtx2_wvl 1\n");
    QTest::newRow("velutra-2 in lower case") << "velutra-2" << command("ly_vtx2_wvl 1\n");
    QTest::newRow("Velutra-10 XP") << "Velutra-10 XP" << command("ly_vtx_wvl 1\n");
    QTest::newRow("Velutra-3") << "Velutra-3" << command("ly_vtx_wvl 1\n");
    QTest::newRow("unknown") << "Other" << command("ly_vtx_wvl 1\n");
}

void TestControllerModule::wavelengthCommandFollowsSystemType()
{
    QFETCH(QString, type);
    QFETCH(QString, expected);
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    controller.slotsVelutraTypeChanged(type);
    recorder.takeAll();
    controller.wavelengthChanged(1);
    QCOMPARE(recorder.takeAll(), QStringList{expected});
}

// ---- Hostile sizes and values ----------------------------------------------------------------

void TestControllerModule::hugeRuntimeMap()
{
    static constexpr int s_spots = 100000;
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    controller.slotHGCrystalAllRuntimesChanged(runtimes(-7, s_spots));
    const QStringList expected{
            QStringLiteral("setCrystalPositionRange(-7,%1)").arg(s_spots),
            "setCrystalAllRuntimes(" + runtimesText(-7, s_spots) + ")",
    };
    QCOMPARE(recorder.takeAll(), expected);
}

void TestControllerModule::digitalGateIsReadOnceOnly()
{
    // The gate answers at once: no second, delayed query is queued after the first.
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    controller.digitalGateModeChanged(0);
    const QStringList expected{command("ly_vtx2_digiop=0\n"), command("ly_vtx2_digiop?\n")};
    QCOMPARE(recorder.recorded(), expected);
    // Longer than the delay the rate controls wait before they re-read the gate.
    QTest::qWait(1500);
    QCOMPARE(recorder.takeAll(), expected);
}

void TestControllerModule::noSlotShowsDeepUvPower()
{
    // No reply carries a deep-UV power: whatever the slots of this side of the controller are
    // given, the deep-UV read-outs never get a value.
    static const char *const s_slots[] = {
            "slotfMeasuredLaserPowerChanged(double)", "slotPowerSetting_nJ_Changed(double)",
            "slotOutputFrequencyChanged(double)",     "slotSHGOutputPowerChanged(double)",
            "slotTHGOutputPowerChanged(double)",      "slotDynamicWLS_DUVChanged(double)",
            "slotDynamicWLS_UVChanged(double)",       "slotOven1TempActualChanged(double)",
            "slotOven2TempActualChanged(double)",     "slotiWavelenghtVTXChanged(int)",
            "slotPiezoPositionChanged(int)",          "slotFrequencyIndexChanged(int)",
            "slotDivisionFactorChanged(int)",         "wavelengthSelectorComboChanged(int)",
    };
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    controller.slotFrequencyDivListChanged({{0, 0.0}, {3, 1600.0}});
    SignalRecorder recorder(&controller);
    const QtMessageHandler previous = qInstallMessageHandler(collectMessage);
    for (const char *signature : s_slots) {
        const QMetaMethod slot
                = controller.metaObject()->method(controller.metaObject()->indexOfSlot(signature));
        QVERIFY2(slot.isValid(), signature);
        for (double value : {0.0, 3.0, 500.0, -1.0, 1e300, s_nan, s_inf, -s_inf}) {
            if (slot.parameterType(0) == QMetaType::Double) {
                QVERIFY(slot.invoke(&controller, Qt::DirectConnection, Q_ARG(double, value)));
            } else {
                const int integer = std::isfinite(value) && std::abs(value) < 1e9
                                            ? int(value)
                                            : (value > 0 ? s_intMax : s_intMin);
                QVERIFY(slot.invoke(&controller, Qt::DirectConnection, Q_ARG(int, integer)));
            }
        }
    }
    qInstallMessageHandler(previous);
    const QStringList all = recorder.takeAll();
    QVERIFY(!all.isEmpty());
    for (const QString &emission : all) {
        QVERIFY2(!emission.startsWith(QLatin1String("setPowerMeasuredDUV_uJ("))
                         && !emission.startsWith(QLatin1String("setOutputPowerDUVMeasuredW(")),
                 qPrintable(emission));
    }
}

// ---- A value the device refused or clamped snaps back ---------------------------------------

void TestControllerModule::refusedChangesSnapBack_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<Step>("act");
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("output selector")
            << "PiezoPositionSetting"
            << Step([](VelutraController &c) { c.wavelengthSelectorComboChanged(2); })
            << "ZEL SHG\tCurrent position=GREEN\n"
            << QStringList{command("ls_wavelength=2\n"), "setWavelengthSelectorCombo(1)"};
    QTest::newRow("oven mode") << "OvenMode"
                               << Step([](VelutraController &c) { c.ovenModeComboChanged(1); })
                               << "ZEL HG\tCurrent FSM state=2\n"
                               << QStringList{command("ls_enable=4"), "setOvenMode(0)"};
    QTest::newRow("oven 1") << "Oven1TemperatureSetpoint"
                            << Step([](VelutraController &c) { c.oven1SetpointChanged(70); })
                            << "ZEL SHG\tOven Setpoint=35.0 C\tMin=20.0 C\tMax=60.0 C\n"
                            << QStringList{command("ls_temp_setpoint_SHG=70.0\n"),
                                           "setOven1TempSetpoint(35)",
                                           "setOven1TempSetpointRange(20,60)"};
    QTest::newRow("oven 2") << "Oven2TemperatureSetpoint"
                            << Step([](VelutraController &c) { c.oven2SetpointChanged(10); })
                            << "ZEL THG\tTHG Oven Setpoint=40.0 C\tMin=20.0 C\tMax=60.0 C\n"
                            << QStringList{command("ls_temp_setpoint_THG=10.0\n"),
                                           "setOven2TempSetpoint(40)",
                                           "setOven2TempSetpointRange(20,60)"};
    QTest::newRow("crystal spot") << "HGCrystalCurSpot" << Step([](VelutraController &c) {
        c.crystalSpotSliderChanged(5);
    }) << "ZEL THG\tCurrent crystal spot=3\n"
                                  << QStringList{command("ls_crystal_setSpot=5\n"),
                                                 "setCrystalPosition(3)"};
    QTest::newRow("digital gate") << "DigitalGateSetting" << Step([](VelutraController &c) {
        c.digitalGateModeChanged(1);
    }) << "Active digital gate logic:\tlogic LOW (no connection) = AOM OPEN\n"
                                  << QStringList{command("ly_vtx2_digiop=1\n"),
                                                 command("ly_vtx2_digiop?\n"), "setDigitalGate(0)"};
    QTest::newRow("dynamic wavelength switching")
            << "DynamicWavelengthEnabled"
            << Step([](VelutraController &c) { c.dynamicWavelengthFeatureChanged(1); })
            << "ZEL HG\tDynamic wavelength switching disabled\n"
            << QStringList{command("ls_dwls_enable=1\n"), "setDynamicWavelengthFeature(0)"};
    QTest::newRow("dynamic wavelength default")
            << "DynamicWLS_Green"
            << Step([](VelutraController &c) { c.dynamicWLS_SaveSetpoint(1, 7); })
            << "  SHG Wavelength Index: 1 IR pulse energy = 5000\n"
            << QStringList{command("ls_dwls_default=1,7000\n"), command("ls_dwls_default?\n"),
                           "setDynamicWLS_Green_uJ(5)", "setDynamicWLS_Green_Percent(inf)"};
}

void TestControllerModule::refusedChangesSnapBack()
{
    QFETCH(QString, group);
    QFETCH(Step, act);
    QFETCH(QString, reply);
    QFETCH(QStringList, expected);
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&controller);
    feed(controller, {reply});
    recorder.takeAll();
    // Unchanged, the same reply shows nothing new.
    feed(controller, {reply});
    QCOMPARE(recorder.takeAll(), QStringList{});
    // The group named is the one that repaints: marked by hand, the reply comes out again as
    // it does after the command.
    QVERIFY(QMetaObject::invokeMethod(controller.decoder(),
                                      qPrintable(QStringLiteral("markStale_") + group),
                                      Qt::DirectConnection));
    feed(controller, {reply});
    const QStringList republished = recorder.takeAll();
    QVERIFY(!republished.isEmpty());
    QStringList shown = expected;
    shown.erase(std::remove_if(shown.begin(), shown.end(),
                               [](const QString &entry) {
                                   return entry.startsWith(
                                           QLatin1String("sigAppendSettingsCommand("));
                               }),
                shown.end());
    QCOMPARE(republished, shown);
    // The device keeps its value and answers the next poll as before.
    act(controller);
    feed(controller, {reply});
    QCOMPARE(recorder.takeAll(), expected);
}

QTEST_MAIN(TestControllerModule)

#include "tst_controllermodule.moc"
