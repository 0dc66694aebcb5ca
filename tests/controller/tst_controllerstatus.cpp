// Lamps, harmonic-module faults and error messages, the output configuration, temperatures,
// counters and information strings: each input and everything that comes out for it.

#include "signalrecorder.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QtTest>

#include <climits>
#include <cmath>
#include <limits>

namespace {

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString call(const char *signal, bool value)
{
    return QStringLiteral("%1(%2)").arg(QLatin1String(signal), boolText(value));
}

QString textCall(const QString &signal, const QString &text)
{
    return QStringLiteral("%1(\"%2\")").arg(signal, text);
}

// The module's error texts as the device manual lists them, written out by code; nullptr
// where a code has no text of its own.
constexpr const char *s_manualFirstGeneration[26] = {
        nullptr,
        nullptr,
        "Interlock Disconnected.",
        "Power Supply Low Voltage.",
        "FRAM Issues.",
        nullptr,
        nullptr,
        nullptr,
        "Module Disabled.",
        nullptr,
        "Board Temperature (Ambient).",
        nullptr,
        "Oven Temperature.",
        nullptr,
        nullptr,
        nullptr,
        "Output Power.",
        "Humidity High.",
        "12V Supply Out of Range.",
        "5V Supply Out of Range.",
        "2.048V Supply Out of Range.",
        "3.3V Supply Out of Range.",
        "Piezo Voltage Out of Range.",
        "ADCA State Machine.",
        "ADCB State Machine.",
        "Oven Fault.",
};

constexpr const char *s_manual0x90[20] = {
        nullptr,
        "TBD",
        nullptr,
        "Power Supply Low Voltage",
        "FRAM Issues",
        "Watchdog",
        nullptr,
        "Board Temperature (Ambient)",
        "Oven 1 Temperature",
        "Oven 2 Temperature",
        "Oven 1 NTC",
        "Oven 2 NTC",
        "Shutter pos sensor 1",
        "Shutter pos sensor 2",
        "Shutter pos sensor3",
        "Waveplate",
        "PD optical",
        "Humidity",
        "Shutter position in wrong state",
        "Laser on sys not ready",
};

constexpr const char *s_manual0x93[22] = {
        nullptr,
        nullptr,
        nullptr,
        "Power Supply Low Voltage",
        "FRAM Issues",
        nullptr,
        nullptr,
        "Board Temperature (Ambient)",
        "Oven 1 Temperature",
        "Oven 2 Temperature",
        "Oven 1 NTC",
        "Oven 2 NTC",
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        "PD optical",
        "Humidity",
        "Shutter position in wrong state",
        "Laser on sys not ready",
        nullptr,
        "3.3V Supply Out of Range.",
};

template<int N>
QString manualText(const char *const (&table)[N], int code)
{
    if (code < N && table[code]) {
        return QString::fromLatin1(table[code]);
    }
    return QStringLiteral("HG Unknown error code.");
}

enum class Variant { FirstGeneration, Type0x90, Type0x93 };

QString manualText(Variant variant, int code)
{
    switch (variant) {
    case Variant::FirstGeneration:
        return manualText(s_manualFirstGeneration, code);
    case Variant::Type0x90:
        return manualText(s_manual0x90, code);
    case Variant::Type0x93:
        return manualText(s_manual0x93, code);
    }
    return QString();
}

QStringList errorEmissions(Variant variant, int code)
{
    if (code == 0) {
        return {call("setErrorcodeHGIndicator", false),
                QStringLiteral("setErrorcodeHGMessage(\"\")")};
    }
    return {call("setErrorcodeHGIndicator", true),
            textCall(QStringLiteral("setErrorcodeHGMessage"),
                     QStringLiteral("HG Error code: %1 - %2")
                             .arg(code)
                             .arg(manualText(variant, code)))};
}

struct ModuleTypeRow
{
    const char *name;
    const char *type;
    Variant variant;
};

const ModuleTypeRow s_moduleTypes[] = {
        {"first generation (0x86)", "Type: 0x86", Variant::FirstGeneration},
        {"first generation (no type yet)", "", Variant::FirstGeneration},
        {"0x90", "Type: 0x90", Variant::Type0x90},
        {"0x93", "Type: 0x93", Variant::Type0x93},
        {"0x90 and 0x93", "0x93/0x90", Variant::Type0x90},
        {"upper-case 0X90 is no id", "Type: 0X90", Variant::FirstGeneration},
};

// The status byte's lamps by bit, as the device documents the byte.
struct LampBit
{
    const char *signal;
    int mask;
};

const LampBit s_lampBits[] = {
        {"setPowerOnIndicator", 0x01},
        {"setErrorIndicator", 0x02},
        {"setWarningIndicator", 0x04},
        {"setDeviceSetupIndicator", 0x10},
};

// Everything one status byte produces, from the documented meaning of each bit (system
// state 0, so no flashing).
QStringList statusByteEmissions(int b)
{
    QStringList list;
    for (const LampBit &lamp : s_lampBits) {
        list.append(call(lamp.signal, (b & lamp.mask) != 0));
    }
    const bool listen = (b & 0x08) != 0;
    const bool standby = (b & 0x20) != 0;
    const bool laserOn = (b & 0x40) != 0 || (b & 0x80) != 0;
    const bool opticsOpen = listen || standby;
    list << call("setRepRateSliderDisabled", !opticsOpen)
         << call("setCrystalPositionReadOnly", !opticsOpen)
         << call("setWavelengthSelectorEnabled", opticsOpen);
    list << call("enableListen", true) << call("setListen", listen) << call("enableStandby", true)
         << call("setStandby", standby) << call("enableLaserOn", true)
         << call("setLaserOn", laserOn);
    const bool ovenEditable = listen && !standby && !laserOn;
    list << call("setOvenModeReadOnly", !ovenEditable);
    return list;
}

// Installs the harmonic-module kind through the module-list handlers (the core's), which
// queue the module's polling list. Kind 0 is no module.
void driveModuleKind(VelutraController &c, SignalRecorder &recorder, int kind)
{
    recorder.takeAll();
    if (kind == 1) {
        c.slotExistsSHGModule(true);
    } else if (kind == 2) {
        c.slotExistsTHGModule(true);
    } else {
        return;
    }
    QVERIFY(recorder.takeAll().contains(QStringLiteral("sigAddMonitorCommand(\"ls_status?\n\")")));
}

} // namespace

class TestControllerStatus : public QObject
{
    Q_OBJECT

private slots:
    void statusByte_data();
    void statusByte();
    void statusByteEdgeCases_data();
    void statusByteEdgeCases();
    void systemStateRunsTheWholeUpdate();
    void shutter_data();
    void shutter();
    void statusFlags_data();
    void statusFlags();
    void statusFlagsEveryWord();
    void errorCodes_data();
    void errorCodes();
    void errorCodesBeyondTheTables();
    void errorCodeEdgeCases_data();
    void errorCodeEdgeCases();
    void errorCodeZeroClears();
    void outputConfig_data();
    void outputConfig();
    void temperatures_data();
    void temperatures();
    void counters_data();
    void counters();
    void informationStrings_data();
    void informationStrings();
    void moduleTypeIsStored();
    void silentSlots_data();
    void silentSlots();
    void readyFlagChangesNothing();
};

void TestControllerStatus::statusByte_data()
{
    QTest::addColumn<int>("statusByte");
    for (int b = 0; b <= 0xFF; ++b) {
        QTest::addRow("0x%02x", b) << b;
    }
}

void TestControllerStatus::statusByte()
{
    QFETCH(int, statusByte);
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotuiTmpChar2Changed(uchar(statusByte));
    QCOMPARE(recorder.takeAll(), statusByteEmissions(statusByte));
}

void TestControllerStatus::statusByteEdgeCases_data()
{
    QTest::addColumn<int>("statusByte");
    QTest::addColumn<QStringList>("expected");

    const QStringList lampsOff{call("setPowerOnIndicator", false), call("setErrorIndicator", false),
                               call("setWarningIndicator", false),
                               call("setDeviceSetupIndicator", false)};
    const QStringList opticsOpen{call("setRepRateSliderDisabled", false),
                                 call("setCrystalPositionReadOnly", false),
                                 call("setWavelengthSelectorEnabled", true)};
    const QStringList opticsLocked{call("setRepRateSliderDisabled", true),
                                   call("setCrystalPositionReadOnly", true),
                                   call("setWavelengthSelectorEnabled", false)};
    const auto buttons = [](bool listen, bool standby, bool laserOn) {
        return QStringList{call("enableListen", true),  call("setListen", listen),
                           call("enableStandby", true), call("setStandby", standby),
                           call("enableLaserOn", true), call("setLaserOn", laserOn)};
    };

    QTest::newRow("0x08 leaves the oven mode editable")
            << 0x08
            << lampsOff + opticsOpen + buttons(true, false, false)
                       + QStringList{call("setOvenModeReadOnly", false)};
    QTest::newRow("0x28 locks the oven mode")
            << 0x28
            << lampsOff + opticsOpen + buttons(true, true, false)
                       + QStringList{call("setOvenModeReadOnly", true)};
    QTest::newRow("0x00 locks rate, crystal and wavelength")
            << 0x00
            << lampsOff + opticsLocked + buttons(false, false, false)
                       + QStringList{call("setOvenModeReadOnly", true)};
    QTest::newRow("0x17 lamps on, nothing unlocked")
            << 0x17
            << QStringList{call("setPowerOnIndicator", true), call("setErrorIndicator", true),
                           call("setWarningIndicator", true), call("setDeviceSetupIndicator", true)}
                       + opticsLocked + buttons(false, false, false)
                       + QStringList{call("setOvenModeReadOnly", true)};
}

void TestControllerStatus::statusByteEdgeCases()
{
    QFETCH(int, statusByte);
    QFETCH(QStringList, expected);
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotuiTmpChar2Changed(uchar(statusByte));
    QCOMPARE(recorder.takeAll(), expected);
}

// A system state repaints the lamps and buttons from the last status byte too.
void TestControllerStatus::systemStateRunsTheWholeUpdate()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotuiTmpChar2Changed(0x29);
    QCOMPARE(recorder.takeAll(), statusByteEmissions(0x29));
    c.slotSystemStateChanged(SystemStateListenToStandby);
    QCOMPARE(recorder.takeAll(),
             statusByteEmissions(0x29) + QStringList{call("setStandbyFlash", true)});
    c.slotSystemStateChanged(static_cast<SystemState>(-7));
    QCOMPARE(recorder.takeAll(), statusByteEmissions(0x29));
}

void TestControllerStatus::shutter_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("on");
    QTest::newRow("0 closed") << 0 << false;
    QTest::newRow("1 open") << 1 << true;
    QTest::newRow("-1") << -1 << true;
    QTest::newRow("INT_MIN") << INT_MIN << true;
    QTest::newRow("INT_MAX") << INT_MAX << true;
}

void TestControllerStatus::shutter()
{
    QFETCH(int, value);
    QFETCH(bool, on);
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotiShutterOnOffChanged(value);
    QCOMPARE(recorder.takeAll(), QStringList{call("setShutterIndicator", on)});
}

void TestControllerStatus::statusFlags_data()
{
    QTest::addColumn<QString>("moduleType");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("flags");
    QTest::addColumn<bool>("ovenFault");
    QTest::addColumn<bool>("humidityFault");

    struct Row
    {
        const char *name;
        const char *type;
        bool laterGeneration;
    };
    const Row types[] = {
            {"first generation", "Type: 0x86", false},
            {"0x90", "Type: 0x90", true},
            {"0x93", "Type: 0x93", true},
            {"0x90 and 0x93", "0x90 0x93", true},
    };
    const int kinds[] = {0, 1, 2};
    QList<int> words{0x0000, 0xFFFF};
    for (int bit = 0; bit < 16; ++bit) {
        words.append(1 << bit);
    }
    for (const Row &type : types) {
        for (int kind : kinds) {
            for (int flags : words) {
                bool oven = false;
                bool humidity = false;
                if (type.laterGeneration) {
                    // Bit 3 oven 1, bit 4 oven 2 (only a module with two ovens), bit 8 humidity.
                    oven = (flags & 0x08) || (kind == 2 && (flags & 0x10));
                    humidity = flags & 0x100;
                } else {
                    // Bit 7 the oven, bit 9 humidity, whatever the kind.
                    oven = flags & 0x80;
                    humidity = flags & 0x200;
                }
                QTest::addRow("%s kind %d flags 0x%04x", type.name, kind, flags)
                        << QString::fromLatin1(type.type) << kind << flags << oven << humidity;
            }
        }
    }
}

void TestControllerStatus::statusFlags()
{
    QFETCH(QString, moduleType);
    QFETCH(int, kind);
    QFETCH(int, flags);
    QFETCH(bool, ovenFault);
    QFETCH(bool, humidityFault);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    driveModuleKind(c, recorder, kind);
    c.slotsHGModuleType(moduleType);
    recorder.takeAll();
    c.slotHGStatusFlagsChanged(quint16(flags));
    QCOMPARE(recorder.takeAll(), QStringList({call("setOvenFaultIndicator", ovenFault),
                                              call("setHumidityFaultIndicator", humidityFault)}));
}

// Every flag word once per generation, for a module whose list has not been installed yet: the
// lamps depend on their own bits only.
void TestControllerStatus::statusFlagsEveryWord()
{
    for (const ModuleTypeRow &row : s_moduleTypes) {
        VelutraController c(nullptr, nullptr, nullptr, nullptr);
        c.slotsHGModuleType(QString::fromLatin1(row.type));
        SignalRecorder recorder(&c);
        const bool firstGeneration = row.variant == Variant::FirstGeneration;
        const int ovenMask = firstGeneration ? 0x80 : 0x08;
        const int humidityMask = firstGeneration ? 0x200 : 0x100;
        for (int flags = 0; flags <= 0xFFFF; ++flags) {
            c.slotHGStatusFlagsChanged(quint16(flags));
            const QStringList expected{
                    call("setOvenFaultIndicator", (flags & ovenMask) != 0),
                    call("setHumidityFaultIndicator", (flags & humidityMask) != 0)};
            const QStringList recorded = recorder.takeAll();
            if (recorded != expected) {
                QCOMPARE(recorded, expected);
            }
        }
    }
}

void TestControllerStatus::errorCodes_data()
{
    QTest::addColumn<QString>("moduleType");
    QTest::addColumn<int>("code");
    QTest::addColumn<QStringList>("expected");
    for (const ModuleTypeRow &row : s_moduleTypes) {
        for (int code = 0; code <= 30; ++code) {
            QTest::addRow("%s code %d", row.name, code)
                    << QString::fromLatin1(row.type) << code << errorEmissions(row.variant, code);
        }
    }
}

void TestControllerStatus::errorCodes()
{
    QFETCH(QString, moduleType);
    QFETCH(int, code);
    QFETCH(QStringList, expected);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotsHGModuleType(moduleType);
    QCOMPARE(recorder.takeAll(),
             QStringList{textCall(QStringLiteral("setHGModuleType"), moduleType)});
    c.slotHGErrorcodeChanged(uchar(code));
    QCOMPARE(recorder.takeAll(), expected);
}

void TestControllerStatus::errorCodesBeyondTheTables()
{
    for (const ModuleTypeRow &row : s_moduleTypes) {
        VelutraController c(nullptr, nullptr, nullptr, nullptr);
        c.slotsHGModuleType(QString::fromLatin1(row.type));
        SignalRecorder recorder(&c);
        for (int code = 31; code <= 0xFF; ++code) {
            c.slotHGErrorcodeChanged(uchar(code));
            QCOMPARE(recorder.takeAll(),
                     QStringList({call("setErrorcodeHGIndicator", true),
                                  QStringLiteral("setErrorcodeHGMessage(\"HG Error code: %1 - HG "
                                                 "Unknown error code.\")")
                                          .arg(code)}));
        }
    }
}

void TestControllerStatus::errorCodeEdgeCases_data()
{
    QTest::addColumn<QString>("moduleType");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");

    QTest::newRow("14, first generation: unknown")
            << "0x86" << 14 << "HG Error code: 14 - HG Unknown error code.";
    QTest::newRow("21, first generation")
            << "0x86" << 21 << "HG Error code: 21 - 3.3V Supply Out of Range.";
    QTest::newRow("21, 0x93") << "0x93" << 21 << "HG Error code: 21 - 3.3V Supply Out of Range.";
    QTest::newRow("21, 0x90: unknown")
            << "0x90" << 21 << "HG Error code: 21 - HG Unknown error code.";
    QTest::newRow("both ids read as 0x90") << "0x93 0x90" << 1 << "HG Error code: 1 - TBD";
    QTest::newRow("0x90 keeps the missing blank")
            << "0x90" << 14 << "HG Error code: 14 - Shutter pos sensor3";
}

void TestControllerStatus::errorCodeEdgeCases()
{
    QFETCH(QString, moduleType);
    QFETCH(int, code);
    QFETCH(QString, message);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    c.slotsHGModuleType(moduleType);
    SignalRecorder recorder(&c);
    c.slotHGErrorcodeChanged(uchar(code));
    QCOMPARE(recorder.takeAll(),
             QStringList({call("setErrorcodeHGIndicator", true),
                          textCall(QStringLiteral("setErrorcodeHGMessage"), message)}));
}

void TestControllerStatus::errorCodeZeroClears()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    c.slotsHGModuleType(QStringLiteral("0x93"));
    SignalRecorder recorder(&c);
    c.slotHGErrorcodeChanged(17);
    c.slotHGErrorcodeChanged(0);
    QCOMPARE(recorder.takeAll(),
             QStringList({call("setErrorcodeHGIndicator", true),
                          QStringLiteral("setErrorcodeHGMessage(\"HG Error code: 17 - Humidity\")"),
                          call("setErrorcodeHGIndicator", false),
                          QStringLiteral("setErrorcodeHGMessage(\"\")")}));
}

void TestControllerStatus::outputConfig_data()
{
    QTest::addColumn<int>("config");
    QTest::addColumn<QStringList>("expected");

    const auto emissions = [](int config) {
        const bool ir = config & 1;
        const bool green = config & 2;
        const bool uv = config & 4;
        const bool duv = config & 8;
        const auto item = [](int index, bool visible) {
            return QStringLiteral("setWavelengthSelectorComboItemVisibility(%1,%2)")
                    .arg(index)
                    .arg(boolText(visible));
        };
        // The deep-UV rows follow the bit like the others; keeping them hidden while no reply
        // feeds them is the view's business.
        return QStringList{call("setPowerMeasuredGreen_uJVisibility", green),
                           call("setPowerMeasuredUV_uJVisibility", uv),
                           call("setPowerMeasuredDUV_uJVisibility", duv),
                           call("setDynamicWLS_IR_Visibility", ir),
                           call("setDynamicWLS_Green_Visibility", green),
                           call("setDynamicWLS_UV_Visibility", uv),
                           call("setDynamicWLS_DUV_Visibility", duv),
                           call("setOutputPowerIRMeasuredWVisibility", true),
                           call("setOutputPowerGreenMeasuredWVisibility", green),
                           call("setOutputPowerUVMeasuredWVisibility", uv),
                           call("setOutputPowerDUVMeasuredWVisibility", duv),
                           item(0, ir),
                           item(1, green),
                           item(2, uv),
                           item(3, duv)};
    };
    for (int config = 0; config < 16; ++config) {
        QTest::addRow("0x%02x", config) << config << emissions(config);
    }
    // Bits above the four outputs mean nothing.
    QTest::newRow("0x10") << 0x10 << emissions(0);
    QTest::newRow("0xf5") << 0xF5 << emissions(5);
    QTest::newRow("0xff") << 0xFF << emissions(15);
}

void TestControllerStatus::outputConfig()
{
    QFETCH(int, config);
    QFETCH(QStringList, expected);
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotHGOutputConfigChanged(uchar(config));
    QCOMPARE(recorder.takeAll(), expected);
}

void TestControllerStatus::temperatures_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<double>("celsius");
    QTest::addColumn<QString>("text");

    constexpr double inf = std::numeric_limits<double>::infinity();
    struct Value
    {
        const char *name;
        double celsius;
        const char *text;
    };
    const Value values[] = {
            {"25", 25.0, "25.00"},
            {"rounded", 23.456, "23.46"},
            {"negative", -3.14159, "-3.14"},
            {"tiny", 1e-9, "0.00"},
            {"big", 1e12, "1000000000000.00"},
            {"NaN", std::nan(""), "nan"},
            {"+inf", inf, "inf"},
            {"-inf", -inf, "-inf"},
    };
    for (int channel = 1; channel <= 10; ++channel) {
        for (const Value &value : values) {
            QTest::addRow("channel %d %s", channel, value.name)
                    << channel << value.celsius << QString::fromLatin1(value.text);
        }
    }
}

void TestControllerStatus::temperatures()
{
    QFETCH(int, channel);
    QFETCH(double, celsius);
    QFETCH(QString, text);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    const QByteArray slot
            = QStringLiteral("slotfTemperature_actual_%1Changed").arg(channel).toLatin1();
    QVERIFY(QMetaObject::invokeMethod(&c, slot.constData(), Q_ARG(double, celsius)));
    QCOMPARE(recorder.takeAll(),
             QStringList{textCall(QStringLiteral("setTemperatureActual%1").arg(channel), text)});
}

void TestControllerStatus::counters_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<QString>("signal");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("text");

    const char *const pairs[][2] = {
            {"slotiCounterLaserOnOff_hChanged", "setDeviceOnHours"},
            {"slotiCounterLaserOnOff_mChanged", "setDeviceOnMinutes"},
            {"slotiCounterLaserEmmisionOnOff_hChanged", "setDeviceEmissionHours"},
            {"slotiCounterLaserEmmisionOnOff_mChanged", "setDeviceEmissionMinutes"},
    };
    const QPair<int, const char *> values[] = {
            {0, "0"},
            {59, "59"},
            {12345, "12345"},
            {-1, "-1"},
            {INT_MAX, "2147483647"},
            {INT_MIN, "-2147483648"},
    };
    for (const auto &pair : pairs) {
        for (const auto &value : values) {
            QTest::addRow("%s %s", pair[1], value.second)
                    << QByteArray(pair[0]) << QString::fromLatin1(pair[1]) << value.first
                    << QString::fromLatin1(value.second);
        }
    }
}

void TestControllerStatus::counters()
{
    QFETCH(QByteArray, slot);
    QFETCH(QString, signal);
    QFETCH(int, value);
    QFETCH(QString, text);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    QVERIFY(QMetaObject::invokeMethod(&c, slot.constData(), Q_ARG(int, value)));
    QCOMPARE(recorder.takeAll(), QStringList{textCall(signal, text)});
}

void TestControllerStatus::informationStrings_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QString>("text");

    const char *const pairs[][2] = {
            {"slotsHardwareVersionChanged", "setHardwareVersion"},
            {"slotsFirmwareVersionChanged", "setFirmwareVersion"},
            {"slotsCompilationDateTimeChanged", "setCompilationDateTime"},
            {"slotsSerialNumberChanged", "setSerialNumber"},
            {"slotsLDDDeviceHardwareChanged", "setLDDDeviceHardware"},
            {"slotsLDDDeviceSoftwareChanged", "setLDDDeviceSoftware"},
            {"slotsLDDDeviceRevisionChanged", "setLDDDeviceRevision"},
            {"slotsTECDeviceHardwareChanged", "setTECDeviceHardware"},
            {"slotsTECDeviceSoftwareChanged", "setTECDeviceSoftware"},
            {"slotsTECDeviceRevisionChanged", "setTECDeviceRevision"},
            {"slotsTimingBoardSerialChanged", "setTimingBoardSerial"},
            {"slotsTimingBoardMCUChanged", "setTimingBoardMCU"},
            {"slotsTimingBoardFPGAChanged", "setTimingBoardFPGA"},
            {"slotsDeviceOnHoursChanged", "setDeviceOnHours"},
            {"slotsDeviceOnMinutesChanged", "setDeviceOnMinutes"},
            {"slotsDeviceEmissionHoursChanged", "setDeviceEmissionHours"},
            {"slotsDeviceEmissionMinutesChanged", "setDeviceEmissionMinutes"},
            {"slotsHGModuleAddress", "setHGModuleAddress"},
            {"slotsHGModuleType", "setHGModuleType"},
            {"slotsHGModuleFirwareVersion", "setHGModuleFirwareVersion"},
            {"slotsHGModuleBootloaderVersion", "setHGModuleBootloaderVersion"},
            {"slotsHGModuleSerialNumber", "setHGModuleSerialNumber"},
            {"slotsHGModulePCBSerialNumber", "setHGModulePCBSerialNumber"},
            {"slotsHGModuleRuntime", "setHGModuleRuntime"},
            {"slotsHGModuleWarning", "setHGModuleWarning"},
    };
    const QPair<const char *, QString> texts[] = {
            {"plain", QStringLiteral("V2.14 (2021-03-04)")},
            {"empty", QString()},
            {"blanks kept", QStringLiteral("  12 34  ")},
            {"non-Latin", QStringLiteral("hours \u00e4\u00f6\u00fc \u2126")},
            {"huge", QString(100000, QLatin1Char('x'))},
    };
    for (const auto &pair : pairs) {
        for (const auto &text : texts) {
            QTest::addRow("%s %s", pair[0], text.first)
                    << QByteArray(pair[0]) << QString::fromLatin1(pair[1]) << text.second;
        }
    }
}

void TestControllerStatus::informationStrings()
{
    QFETCH(QByteArray, slot);
    QFETCH(QString, signal);
    QFETCH(QString, text);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    QVERIFY(QMetaObject::invokeMethod(&c, slot.constData(), Q_ARG(QString, text)));
    QCOMPARE(recorder.takeAll(), QStringList{textCall(signal, text)});
}

// The module type decides the texts from then on; a later type replaces it.
void TestControllerStatus::moduleTypeIsStored()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    c.slotHGErrorcodeChanged(5);
    c.slotsHGModuleType(QStringLiteral("0x90"));
    c.slotHGErrorcodeChanged(5);
    c.slotsHGModuleType(QStringLiteral("0x93"));
    c.slotHGErrorcodeChanged(21);
    c.slotsHGModuleType(QString());
    c.slotHGErrorcodeChanged(2);
    QCOMPARE(recorder.takeAll(),
             QStringList({call("setErrorcodeHGIndicator", true),
                          QStringLiteral("setErrorcodeHGMessage(\"HG Error code: 5 - HG Unknown "
                                         "error code.\")"),
                          QStringLiteral("setHGModuleType(\"0x90\")"),
                          call("setErrorcodeHGIndicator", true),
                          QStringLiteral("setErrorcodeHGMessage(\"HG Error code: 5 - Watchdog\")"),
                          QStringLiteral("setHGModuleType(\"0x93\")"),
                          call("setErrorcodeHGIndicator", true),
                          QStringLiteral("setErrorcodeHGMessage(\"HG Error code: 21 - 3.3V Supply "
                                         "Out of Range.\")"),
                          QStringLiteral("setHGModuleType(\"\")"),
                          call("setErrorcodeHGIndicator", true),
                          QStringLiteral("setErrorcodeHGMessage(\"HG Error code: 2 - Interlock "
                                         "Disconnected.\")")}));
}

void TestControllerStatus::silentSlots_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<bool>("takesDouble");

    const char *const intSlots[] = {
            "slotiTEC_initialisationChanged",
            "slotiLDD_initialisationChanged",
            "slotiDownload_lin12b_status_TBChanged",
            "slotiDownload_wrnmin_status_TBChanged",
            "slotiDownload_errmax_status_TBChanged",
            "slotiDownload_errmin_status_TBChanged",
            "slotiDownload_wrnmax_status_TBChanged",
            "slotiOperationModeChanged",
            "slotiLaserEmmisionChanged",
            "slotiLaserPowerSetAOMChanged",
            "slotiFrequencyDividerAOMChanged",
            "slotiFrequencyIndexPCAOMinitChanged",
            "slotiNoOfPulsesSingleBurstChanged",
            "slotiGeneral_temperature_statusChanged",
            "slotiTemperature_status_1Changed",
            "slotiTemperature_status_8Changed",
            "slotiDELAY_BOARD_ERRORChanged",
            "slotiErrorStatusTECChanged",
            "slotiErrorStatusLDDChanged",
            "slotiLpcl_en_statusChanged",
            "slotiLpcl_boost_timeChanged",
            "slotiComm_device_1_RS485Changed",
            "slotiComm_device_2_RS485Changed",
            "slotiActualCurrentLDDChanged",
    };
    const char *const doubleSlots[] = {
            "slotfLpcl_currentChanged",        "slotfLpcl_current_boostChanged",
            "slotfLpcl_temperatureChanged",    "slotfTmpFloatValueAChanged",
            "slotfTmpFloatValueBChanged",      "slotfTmpFloatValueCChanged",
            "slotfLdd1_om2_MaxCurrentChanged",
    };
    for (const char *slot : intSlots) {
        QTest::newRow(slot) << QByteArray(slot) << false;
    }
    for (const char *slot : doubleSlots) {
        QTest::newRow(slot) << QByteArray(slot) << true;
    }
    static const char *const s_kinds[] = {"set", "min", "max"};
    for (int channel = 1; channel <= 10; ++channel) {
        for (const char *kind : s_kinds) {
            const QByteArray slot = QStringLiteral("slotfTemperature_%1_%2Changed")
                                            .arg(QLatin1String(kind))
                                            .arg(channel)
                                            .toLatin1();
            QTest::newRow(slot.constData()) << slot << true;
        }
    }
}

void TestControllerStatus::silentSlots()
{
    QFETCH(QByteArray, slot);
    QFETCH(bool, takesDouble);

    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    if (takesDouble) {
        constexpr double inf = std::numeric_limits<double>::infinity();
        for (double value : {0.0, -1.5, 1e300, std::nan(""), inf, -inf}) {
            QVERIFY(QMetaObject::invokeMethod(&c, slot.constData(), Q_ARG(double, value)));
        }
    } else {
        for (int value : {0, 1, -1, INT_MIN, INT_MAX}) {
            QVERIFY(QMetaObject::invokeMethod(&c, slot.constData(), Q_ARG(int, value)));
        }
    }
    QCOMPARE(recorder.takeAll(), QStringList{});
}

// The s7 record's ready flag has no slot of its own; the decoder's report of it reaches the
// controller and changes nothing there.
void TestControllerStatus::readyFlagChangesNothing()
{
    VelutraController c(nullptr, nullptr, nullptr, nullptr);
    SignalRecorder recorder(&c);
    for (int value : {0, 1, -1, INT_MIN, INT_MAX}) {
        emit c.decoder()->sigiVelutraXPReadyChanged(value);
    }
    QCOMPARE(recorder.takeAll(), QStringList{});
}

QTEST_MAIN(TestControllerStatus)
#include "tst_controllerstatus.moc"
