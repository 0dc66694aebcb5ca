#include "velutracommands.h"

#include <cmath>
#include <limits>

namespace VelutraCommands {

QString deviceStatusQuery()
{
    return QStringLiteral("ly_vtx2_dev_status?\n");
}

QString systemInfoRequest()
{
    return QStringLiteral("ly_system_info\n");
}

QString statusRecord6Query()
{
    return QStringLiteral("s6\n");
}

QString statusRecord7Query()
{
    return QStringLiteral("s7\n");
}

QString statusRecord8Query()
{
    return QStringLiteral("s8\n");
}

QString statusRecord9Query()
{
    return QStringLiteral("s9\n");
}

QString powerQuery()
{
    return QStringLiteral("ly_vtx2_power?\n");
}

QString powerPercentQuery()
{
    return QStringLiteral("e_power?\n");
}

QString frequencyQuery()
{
    return QStringLiteral("e_freq?\n");
}

QString divisionQuery()
{
    return QStringLiteral("e_div?\n");
}

QString humidityQuery()
{
    return QStringLiteral("ls_humidity?\n");
}

QString shgModuleEnableQuery()
{
    return QStringLiteral("ls_enable?\n");
}

QString thgModuleEnableQuery()
{
    return QStringLiteral("ls_enable?");
}

QString ovenSetpointQuery()
{
    return QStringLiteral("ls_temp_setpoint?\n");
}

QString ovenTemperatureQuery()
{
    return QStringLiteral("ls_temp_oven?\n");
}

QString outputQuery()
{
    return QStringLiteral("ly_vtx2_output?\n");
}

QString crystalAllRuntimesQuery()
{
    return QStringLiteral("ls_crystal_allRuntimes?\n");
}

QString crystalCurrentSpotQuery()
{
    return QStringLiteral("ls_crystal_curSpot?\n");
}

QString crystalCurrentRuntimeQuery()
{
    return QStringLiteral("ls_crystal_curRuntime?\n");
}

QString crystalMaxRuntimeQuery()
{
    return QStringLiteral("ls_crystal_maxRuntime?\n");
}

QString moduleWavelengthQuery()
{
    return QStringLiteral("ls_wavelength?\n");
}

QString moduleStatusQuery()
{
    return QStringLiteral("ls_status?\n");
}

QString moduleErrorcodeQuery()
{
    return QStringLiteral("ls_errorcode?\n");
}

QString moduleOutputPowerQuery()
{
    return QStringLiteral("ls_output_power?\n");
}

QString moduleRuntimeQuery()
{
    return QStringLiteral("ls_module_runtime?\n");
}

QString dynamicWavelengthEnableQuery()
{
    return QStringLiteral("ls_dwls_enable?\n");
}

QString dynamicWavelengthDefaultQuery()
{
    return QStringLiteral("ls_dwls_default?\n");
}

QString debugOutputQuery()
{
    return QStringLiteral("d2?\n");
}

QString registerDumpStartQuery()
{
    return QStringLiteral("ezra?\n");
}

QString registerDumpEndQuery()
{
    return QStringLiteral("eira?\n");
}

QString moduleOutputConfigQuery()
{
    return QStringLiteral("ls_output_config?\n");
}

QString dynamicWavelengthFeatureQuery()
{
    return QStringLiteral("ls_dwls_feature?");
}

QString digitalGateQuery()
{
    return QStringLiteral("ly_vtx2_digiop?\n");
}

QString moduleInfoQuery()
{
    return QStringLiteral("ls?\n");
}

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

QString moduleWavelength(int comboIndex)
{
    return QStringLiteral("ls_wavelength=%1\n").arg(formatInt(comboIndex));
}

QString setPower_uJ(double microjoules)
{
    return QStringLiteral("ly_vtx2_power=%1\n")
            .arg(formatFixed(microjoules * NanojoulesPerMicrojoule, 0));
}

QString setPowerPercent(double percent)
{
    static constexpr double s_unitsPerPercent = 40.0;
    return QStringLiteral("e_power=%1\n")
            .arg(formatInt(truncateToInt(percent * s_unitsPerPercent)));
}

QString setDivision(double factor)
{
    return QStringLiteral("e_div %1\n").arg(formatInt(truncateToInt(factor)));
}

QString setFrequencyIndex(int index)
{
    return QStringLiteral("e_freq %1\n").arg(formatInt(index));
}

QString outputEnable()
{
    return QStringLiteral("ly_vtx2_output_enable\n");
}

QString outputDisable()
{
    return QStringLiteral("ly_vtx2_output_disable\n");
}

QString laserDisabled()
{
    return QStringLiteral("ly_vtx2_disabled\n");
}

QString standby()
{
    return QStringLiteral("ly_vtx2_standby\n");
}

QString listen()
{
    return QStringLiteral("ly_vtx2_listen\n");
}

QString laserWavelength(int index)
{
    return QStringLiteral("ly_vtx_wvl %1\n").arg(formatInt(index));
}

QString laserWavelengthVelutra2(int index)
{
    return QStringLiteral("ly_vtx2_wvl %1\n").arg(formatInt(index));
}

QString ovenEnable()
{
    return QStringLiteral("ls_enable=4");
}

QString ovenDisable()
{
    return QStringLiteral("ls_enable=2");
}

QString ovenMode(int comboIndex)
{
    return comboIndex != 0 ? ovenEnable() : ovenDisable();
}

QString singleOvenSetpoint(double celsius)
{
    return QStringLiteral("ls_temp_setpoint=%1\n").arg(formatFixed(celsius, 1));
}

QString shgOvenSetpoint(double celsius)
{
    return QStringLiteral("ls_temp_setpoint_SHG=%1\n").arg(formatFixed(celsius, 1));
}

QString oven1Setpoint(double celsius, const QString &moduleType)
{
    // Modules with one oven only ("0x86", "0x90") take the plain set-point command.
    if (moduleType.contains(QLatin1String("0x86")) || moduleType.contains(QLatin1String("0x90"))) {
        return singleOvenSetpoint(celsius);
    }
    return shgOvenSetpoint(celsius);
}

QString oven2Setpoint(double celsius)
{
    return QStringLiteral("ls_temp_setpoint_THG=%1\n").arg(formatFixed(celsius, 1));
}

QString setCrystalSpot(double spot)
{
    return QStringLiteral("ls_crystal_setSpot=%1\n").arg(formatInt(truncateToInt(spot)));
}

QString setDynamicWavelengthEnabled(int enabled)
{
    return QStringLiteral("ls_dwls_enable=%1\n").arg(formatInt(enabled));
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

QString setDigitalGate(int mode)
{
    return QStringLiteral("ly_vtx2_digiop=%1\n").arg(formatInt(mode));
}

QString debugOutputOff()
{
    return QStringLiteral("d2=0\n");
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
