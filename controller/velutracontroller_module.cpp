#include "velutracontroller.h"

#include "velutracommands.h"
#include "velutracontrollercategory.h"
#include "velutraresponsedecoder.h"

#include <QDebug>

#include <cmath>

namespace {

// Model "Velutra-2" has its own wavelength command.
constexpr int s_systemTypeVelutra2 = 3;
// The laser's wavelength register knows entries 0, 1 and 2 (see enableWavelengths).
constexpr int s_laserWavelengthCount = 3;
constexpr double s_milliwattsPerWatt = 1000.0;

// The module's outputs in the order of its selector (ls_wavelength index), and the laser's
// wavelength register entries in the order of the side panel's box, as the log names them.
const char *const s_moduleOutputNames[] = {
        QT_TRANSLATE_NOOP("VelutraController", "IR 1030 nm"),
        QT_TRANSLATE_NOOP("VelutraController", "Green 515 nm"),
        QT_TRANSLATE_NOOP("VelutraController", "UV 343 nm"),
        QT_TRANSLATE_NOOP("VelutraController", "DUV"),
};
const char *const s_laserWavelengthNames[] = {"1030 nm", "515 nm", "343 nm"};

template<size_t N>
QString nameOf(const char *const (&names)[N], int index)
{
    if (index < 0 || index >= int(N)) {
        return VelutraController::tr("entry %1").arg(index);
    }
    return VelutraController::tr(names[index]);
}

// Dynamic wavelength switching, one row per wavelength index of the module (the index of
// "ls_dwls_default=%1,%2" and of the device's "Wavelength Index:" lines).
struct DynamicWavelengthRow
{
    // The decoder group whose published copy the reply to "ls_dwls_default?" feeds.
    void (VelutraResponseDecoder::*markStale)();
    void (VelutraController::*energy)(double);
    void (VelutraController::*percent)(double);
};

constexpr DynamicWavelengthRow s_dynamicWavelengths[] = {
        {&VelutraResponseDecoder::markStale_DynamicWLS_IR, &VelutraController::setDynamicWLS_IR_uJ,
         &VelutraController::setDynamicWLS_IR_Percent},
        {&VelutraResponseDecoder::markStale_DynamicWLS_Green,
         &VelutraController::setDynamicWLS_Green_uJ,
         &VelutraController::setDynamicWLS_Green_Percent},
        {&VelutraResponseDecoder::markStale_DynamicWLS_UV, &VelutraController::setDynamicWLS_UV_uJ,
         &VelutraController::setDynamicWLS_UV_Percent},
        {&VelutraResponseDecoder::markStale_DynamicWLS_DUV,
         &VelutraController::setDynamicWLS_DUV_uJ, &VelutraController::setDynamicWLS_DUV_Percent},
};
constexpr int s_dynamicWavelengthCount = 4;
static_assert(sizeof(s_dynamicWavelengths) / sizeof(s_dynamicWavelengths[0])
                      == s_dynamicWavelengthCount,
              "one row per wavelength index");

} // namespace

// ---- Wavelength ------------------------------------------------------------------------------

void VelutraController::wavelengthSelectorComboChanged(int index)
{
    // The module answers with the position of its piezo stage, which is the output selected.
    sendOperatorCommand(tr("select the module output %1").arg(nameOf(s_moduleOutputNames, index)),
                        VelutraCommands::moduleWavelength(index),
                        &VelutraResponseDecoder::markStale_PiezoPositionSetting);
}

void VelutraController::wavelengthChanged(int index)
{
    // No reply reports the laser's wavelength register, so there is no published copy to
    // mark stale.
    const QString command = m_systemType == s_systemTypeVelutra2
                                    ? VelutraCommands::laserWavelengthVelutra2(index)
                                    : VelutraCommands::laserWavelength(index);
    sendOperatorCommand(
            tr("set the laser wavelength to %1").arg(nameOf(s_laserWavelengthNames, index)),
            command, nullptr);
}

void VelutraController::slotiWavelenghtVTXChanged(int value)
{
    // An entry the program does not know is still shown: the device is right about itself,
    // and the trace tells a developer that the selector needs another entry.
    if (value < 0 || value >= s_laserWavelengthCount) {
        qCDebug(lcController) << "VelutraController::slotiWavelenghtVTXChanged"
                              << "Wavelength unknown:" << value;
    }
    emit setWavelengthSelector(value);
}

// ---- Ovens -----------------------------------------------------------------------------------

void VelutraController::slotOvenModeChanged(int value)
{
    // Device modes 3 and 4 are the ovens heating or at temperature: combo item 1 ("on").
    // Everything else, mode 2 (off) included, shows item 0.
    emit setOvenMode(value == 3 || value == 4 ? 1 : 0);
}

void VelutraController::ovenModeComboChanged(int index)
{
    sendOperatorCommand(index != 0 ? tr("switch the ovens on") : tr("switch the ovens off"),
                        VelutraCommands::ovenMode(index),
                        &VelutraResponseDecoder::markStale_OvenMode);
}

// A set-point that is not a number is never sent: "ls_temp_setpoint=nan" means nothing to
// the module, and an oven is not a control to probe with garbage.
void VelutraController::oven1SetpointChanged(double celsius)
{
    if (!std::isfinite(celsius)) {
        return;
    }
    sendOperatorCommand(tr("set the SHG oven set-point to %1 °C").arg(celsius, 0, 'f', 1),
                        VelutraCommands::oven1Setpoint(celsius, m_hgModuleType),
                        &VelutraResponseDecoder::markStale_Oven1TemperatureSetpoint);
}

void VelutraController::oven2SetpointChanged(double celsius)
{
    sendOperatorValue(tr("set the THG oven set-point to %1 °C"), celsius, 1,
                      &VelutraCommands::oven2Setpoint,
                      &VelutraResponseDecoder::markStale_Oven2TemperatureSetpoint);
}

// ---- Crystal -------------------------------------------------------------------------------

void VelutraController::crystalSpotSliderChanged(double spot)
{
    // A spot that is not a number is dropped there: truncated, it would be spot 0.
    sendOperatorValue(tr("move the crystal to spot %1"), spot, s_wholePart,
                      &VelutraCommands::setCrystalSpot,
                      &VelutraResponseDecoder::markStale_HGCrystalCurSpot);
}

void VelutraController::slotHGCrystalAllRuntimesChanged(const QMap<int, quint64> &runtimes)
{
    // The slider spans exactly the spots the module reports, so it is set before the
    // runtimes it labels. An empty map has no spots to span: the slider keeps its range.
    if (!runtimes.isEmpty()) {
        emit setCrystalPositionRange(runtimes.firstKey(), runtimes.lastKey());
    }
    emit setCrystalAllRuntimes(runtimes);
}

// ---- Humidity and digital gate ---------------------------------------------------------------

void VelutraController::digitalGateModeChanged(int mode)
{
    // The gate answers at once; unlike a rate change there is nothing to wait for.
    sendOperatorCommand(tr("set the digital gate logic to %1").arg(mode),
                        VelutraCommands::setDigitalGate(mode),
                        &VelutraResponseDecoder::markStale_DigitalGateSetting);
    queueSettings(VelutraCommands::digitalGateQuery());
}

// ---- Dynamic wavelength switching ----------------------------------------------------------

void VelutraController::dynamicWavelengthFeatureChanged(int enabled)
{
    sendOperatorCommand(enabled != 0 ? tr("enable dynamic wavelength switching")
                                     : tr("disable dynamic wavelength switching"),
                        VelutraCommands::setDynamicWavelengthEnabled(enabled),
                        &VelutraResponseDecoder::markStale_DynamicWavelengthEnabled);
}

void VelutraController::dynamicWLS_SaveSetpoint(int wavelength, double microjoules)
{
    if (!std::isfinite(microjoules)) {
        return;
    }
    // A wavelength index the program has no row for still goes out (the module decides), but
    // no published copy belongs to it.
    const auto markStale = wavelength >= 0 && wavelength < s_dynamicWavelengthCount
                                   ? s_dynamicWavelengths[wavelength].markStale
                                   : nullptr;
    sendOperatorCommand(tr("set the AOM energy level of %1 to %2 µJ")
                                .arg(nameOf(s_moduleOutputNames, wavelength))
                                .arg(microjoules, 0, 'f', 2),
                        VelutraCommands::setDynamicWavelengthDefault(wavelength, microjoules),
                        markStale);
    queueSettings(VelutraCommands::dynamicWavelengthDefaultQuery());
}

void VelutraController::showDynamicWavelengthEnergy(int wavelength, double microjoules)
{
    const DynamicWavelengthRow &row = s_dynamicWavelengths[wavelength];
    emit(this->*row.energy)(microjoules);
    // Relative to the upper end of the power range in µJ. Before any range report that end
    // is 0 and the percentage infinite (NaN for an energy of 0): it is passed on as it is,
    // and the next value after a range report is right.
    emit(this->*row.percent)(100.0 * microjoules
                             / (m_powerRangeSecond_nJ / VelutraCommands::NanojoulesPerMicrojoule));
}

// ---- Measured harmonic power -----------------------------------------------------------------
// The module reports mW; mW over the rate in kHz is the pulse energy in µJ. Zero, negative and
// NaN read as nothing measured. With an output rate of 0 the energy is infinite and shown as
// such. The deep-UV power has no reply that feeds it: its rows stay empty.

void VelutraController::slotSHGOutputPowerChanged(double value)
{
    const bool measured = value > 0.0;
    emit setPowerMeasuredGreen_uJ(measured ? value / m_outputFrequency : 0.0);
    emit setOutputPowerGreenMeasuredW(measured ? value / s_milliwattsPerWatt : 0.0);
}

void VelutraController::slotTHGOutputPowerChanged(double value)
{
    const bool measured = value > 0.0;
    emit setPowerMeasuredUV_uJ(measured ? value / m_outputFrequency : 0.0);
    emit setOutputPowerUVMeasuredW(measured ? value / s_milliwattsPerWatt : 0.0);
}
