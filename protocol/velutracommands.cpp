#include "velutracommands.h"

#include <cmath>
#include <limits>

namespace VelutraCommands {

namespace {

// An int as it is; a value from a continuous control truncated toward zero.
QString wholeNumber(int value)
{
    return formatInt(value);
}

QString wholeNumber(double value)
{
    return formatInt(truncateToInt(value));
}

QString oneDecimal(double value)
{
    return formatFixed(value, 1);
}

} // namespace

// Commands without an argument: function, text as sent.
#define VELUTRA_FIXED_COMMANDS(X) \
    X(deviceStatusQuery, "ly_vtx2_dev_status?\n") \
    X(systemInfoRequest, "ly_system_info\n") \
    X(statusRecord6Query, "s6\n") \
    X(statusRecord7Query, "s7\n") \
    X(statusRecord8Query, "s8\n") \
    X(statusRecord9Query, "s9\n") \
    X(powerQuery, "ly_vtx2_power?\n") \
    X(powerPercentQuery, "e_power?\n") \
    X(frequencyQuery, "e_freq?\n") \
    X(divisionQuery, "e_div?\n") \
    X(humidityQuery, "ls_humidity?\n") \
    X(shgModuleEnableQuery, "ls_enable?\n") \
    X(thgModuleEnableQuery, "ls_enable?") \
    X(ovenSetpointQuery, "ls_temp_setpoint?\n") \
    X(ovenTemperatureQuery, "ls_temp_oven?\n") \
    X(outputQuery, "ly_vtx2_output?\n") \
    X(crystalAllRuntimesQuery, "ls_crystal_allRuntimes?\n") \
    X(crystalCurrentSpotQuery, "ls_crystal_curSpot?\n") \
    X(crystalCurrentRuntimeQuery, "ls_crystal_curRuntime?\n") \
    X(crystalMaxRuntimeQuery, "ls_crystal_maxRuntime?\n") \
    X(moduleWavelengthQuery, "ls_wavelength?\n") \
    X(moduleStatusQuery, "ls_status?\n") \
    X(moduleErrorcodeQuery, "ls_errorcode?\n") \
    X(moduleOutputPowerQuery, "ls_output_power?\n") \
    X(moduleRuntimeQuery, "ls_module_runtime?\n") \
    X(dynamicWavelengthEnableQuery, "ls_dwls_enable?\n") \
    X(dynamicWavelengthDefaultQuery, "ls_dwls_default?\n") \
    X(debugOutputQuery, "d2?\n") \
    X(registerDumpStartQuery, "ezra?\n") \
    X(registerDumpEndQuery, "eira?\n") \
    X(moduleOutputConfigQuery, "ls_output_config?\n") \
    X(dynamicWavelengthFeatureQuery, "ls_dwls_feature?") \
    X(digitalGateQuery, "ly_vtx2_digiop?\n") \
    X(moduleInfoQuery, "ls?\n") \
    X(outputEnable, "ly_vtx2_output_enable\n") \
    X(outputDisable, "ly_vtx2_output_disable\n") \
    X(laserDisabled, "ly_vtx2_disabled\n") \
    X(standby, "ly_vtx2_standby\n") \
    X(listen, "ly_vtx2_listen\n") \
    X(ovenEnable, "ls_enable=4") \
    X(ovenDisable, "ls_enable=2") \
    X(debugOutputOff, "d2=0\n")

// Commands with one number: function, parameter type, how the number is written, text.
#define VELUTRA_NUMBER_COMMANDS(X) \
    X(moduleWavelength, int, wholeNumber, "ls_wavelength=%1\n") \
    X(setDivision, double, wholeNumber, "e_div %1\n") \
    X(setFrequencyIndex, int, wholeNumber, "e_freq %1\n") \
    X(laserWavelength, int, wholeNumber, "ly_vtx_wvl %1\n") \
    X(laserWavelengthVelutra2, int, wholeNumber, "ly_vtx2_wvl %1\n") \
    X(singleOvenSetpoint, double, oneDecimal, "ls_temp_setpoint=%1\n") \
    X(shgOvenSetpoint, double, oneDecimal, "ls_temp_setpoint_SHG=%1\n") \
    X(oven2Setpoint, double, oneDecimal, "ls_temp_setpoint_THG=%1\n") \
    X(setCrystalSpot, double, wholeNumber, "ls_crystal_setSpot=%1\n") \
    X(setDynamicWavelengthEnabled, int, wholeNumber, "ls_dwls_enable=%1\n") \
    X(setDigitalGate, int, wholeNumber, "ly_vtx2_digiop=%1\n")

#define VELUTRA_FIXED_COMMAND(function, text) \
    QString function() \
    { \
        return QStringLiteral(text); \
    }

#define VELUTRA_NUMBER_COMMAND(function, type, written, text) \
    QString function(type value) \
    { \
        return QStringLiteral(text).arg(written(value)); \
    }

VELUTRA_FIXED_COMMANDS(VELUTRA_FIXED_COMMAND)
VELUTRA_NUMBER_COMMANDS(VELUTRA_NUMBER_COMMAND)

#undef VELUTRA_FIXED_COMMAND
#undef VELUTRA_NUMBER_COMMAND

QString operatingMode(int comboIndex)
{
    // Combo index to the device's AOM mode; the view's combo only has the first two items.
    static constexpr const char *s_commands[] = {"e_mode 2\n", "e_mode 3\n", "e_mode 8\n"};
    static constexpr int s_count = int(sizeof(s_commands) / sizeof(s_commands[0]));
    if (comboIndex < 0 || comboIndex >= s_count) {
        return QString();
    }
    return QString::fromLatin1(s_commands[comboIndex]);
}

QString setPower_uJ(double microjoules)
{
    return QStringLiteral("ly_vtx2_power=%1\n")
            .arg(formatFixed(microjoules * NanojoulesPerMicrojoule, 0));
}

QString setPowerPercent(double percent)
{
    static constexpr double s_unitsPerPercent = 40.0;
    return QStringLiteral("e_power=%1\n").arg(wholeNumber(percent * s_unitsPerPercent));
}

QString ovenMode(int comboIndex)
{
    return comboIndex != 0 ? ovenEnable() : ovenDisable();
}

QString oven1Setpoint(double celsius, const QString &moduleType)
{
    // Modules with one oven only ("0x86", "0x90") take the plain set-point command.
    if (moduleType.contains(QLatin1String("0x86")) || moduleType.contains(QLatin1String("0x90"))) {
        return singleOvenSetpoint(celsius);
    }
    return shgOvenSetpoint(celsius);
}

QString setDynamicWavelengthDefault(int wavelengthIndex, double microjoules)
{
    const double nanojoules = microjoules * NanojoulesPerMicrojoule;
    // The laser reads the energy as a plain decimal number and cannot parse "6e+07". General
    // notation keeps the short form of ordinary values ("2500", "1234.57"); where it would
    // switch to an exponent, whole nanojoules are exact enough.
    QString energy = formatGeneral(nanojoules);
    if (energy.contains(QLatin1Char('e'))) {
        energy = formatFixed(nanojoules, 0);
    }
    return QStringLiteral("ls_dwls_default=%1,%2\n").arg(formatInt(wavelengthIndex), energy);
}

QString formatInt(int value)
{
    return QString::number(value, 10);
}

int truncateToInt(double value)
{
    // A plain cast is undefined outside the int range; the operator's controls never get
    // there, but a value from elsewhere must not make the program misbehave.
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) {
        return std::numeric_limits<int>::min();
    }
    return static_cast<int>(value);
}

QString formatFixed(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

QString formatGeneral(double value)
{
    return QStringLiteral("%1").arg(value, 0, 'g', -1);
}

} // namespace VelutraCommands
