#include "velutracontroller.h"

#include "velutracommands.h"
#include "velutrahgerrortable.h"
#include "velutrahgstatusflags.h"
#include "velutraresponsedecoder.h"

#include <iterator>

namespace {

// Bits of the device's status byte (the last token of the "s7" record). Bits 3, 5, 6 and 7 are
// the operating state: listen, standby and the two laser-on states.
constexpr int s_powerOnBit = 0x01;
constexpr int s_errorBit = 0x02;
constexpr int s_warningBit = 0x04;
constexpr int s_listenBit = 0x08;
constexpr int s_deviceSetupBit = 0x10;
constexpr int s_standbyBit = 0x20;
constexpr int s_laserOnBits = 0x40 | 0x80;
constexpr int s_stateBits = s_listenBit | s_standbyBit | s_laserOnBits;

// The optics (rate, crystal spot, module wavelength) may only be changed while the laser is
// not emitting, that is in listen or standby.
constexpr int s_opticsUnlockedBits = s_listenBit | s_standbyBit;

// A button flashes while the device is on its way to the state that button stands for. A row
// changes only the flags it names; the others keep what they showed.
enum class Flash { Keep, Off, On };

struct FlashRow
{
    Flash laserOn;
    Flash standby;
};

constexpr FlashRow s_flashBySystemState[] = {
        {Flash::Keep, Flash::Keep}, // 0 unknown: the device said nothing about its state
        {Flash::Off, Flash::Off}, // 1 listen
        {Flash::Keep, Flash::On}, // 2 listen -> standby
        {Flash::Keep, Flash::Off}, // 3 standby
        {Flash::Keep, Flash::Off}, // 4 standby -> listen
        {Flash::On, Flash::Keep}, // 5 standby -> laser on, output disabled
        {Flash::On, Flash::Keep}, // 6 standby -> laser on, output enabled
        {Flash::Off, Flash::Keep}, // 7 laser on, output disabled
        {Flash::Off, Flash::Keep}, // 8 laser on, output enabled
        {Flash::Off, Flash::Off}, // 9 output disabled -> standby
        {Flash::Off, Flash::Off}, // 10 output enabled -> standby
        {Flash::Off, Flash::Off}, // 11 output disabled -> listen
        {Flash::Off, Flash::Off}, // 12 output enabled -> listen
};

// Output configuration bits, one per wavelength the module can put out.
constexpr int s_outputIR = 0x01;
constexpr int s_outputGreen = 0x02;
constexpr int s_outputUV = 0x04;
constexpr int s_outputDUV = 0x08;

// The stale groups the state commands touch. The buttons' on/off comes from the status byte
// and the operating mode from the AOM mode, both in the "s7" record, which is polled
// continuously: marking it stale repaints the buttons and the mode from the next poll even
// when the device ignored the command. The output-enable button follows the device's
// "Laser output enabled/disabled" report.
constexpr auto s_statusRecordGroup = &VelutraResponseDecoder::markStale_s7;
constexpr auto s_outputEnableGroup = &VelutraResponseDecoder::markStale_AOMStatus;

QString temperatureText(double celsius)
{
    return QString::number(celsius, 'f', 2);
}

QString counterText(int value)
{
    return QString::number(value);
}

} // namespace

// ---- Remote control buttons and operating mode ----------------------------------------------

void VelutraController::outEnableChanged(bool on)
{
    sendOperatorCommand(on ? tr("output enable") : tr("output disable"),
                        on ? VelutraCommands::outputEnable() : VelutraCommands::outputDisable(),
                        s_outputEnableGroup);
}

// The three state buttons mean "go to this state": the button's own toggle is not looked at,
// the device's status byte decides what they show afterwards.
void VelutraController::laserOnChanged(bool)
{
    sendOperatorCommand(tr("laser on"), VelutraCommands::laserDisabled(), s_statusRecordGroup);
}

void VelutraController::standbyChanged(bool)
{
    sendOperatorCommand(tr("standby"), VelutraCommands::standby(), s_statusRecordGroup);
}

void VelutraController::listenChanged(bool)
{
    sendOperatorCommand(tr("listen"), VelutraCommands::listen(), s_statusRecordGroup);
}

void VelutraController::slotOperatingModeChanged(int index)
{
    const QString command = VelutraCommands::operatingMode(index);
    if (command.isNull()) {
        return;
    }
    static const char *const s_modeNames[]
            = {QT_TR_NOOP("Internal"), QT_TR_NOOP("External"), QT_TR_NOOP("AOM mode 8")};
    sendOperatorCommand(tr("operating mode %1").arg(tr(s_modeNames[index])), command,
                        s_statusRecordGroup);
}

void VelutraController::slotAOMChanged(bool value)
{
    auditOutputEnabled(value);
    emit setOutEnableOn(value);
}

// ---- Status byte and system state -----------------------------------------------------------

void VelutraController::slotuiTmpChar2Changed(uchar value)
{
    m_statusByte = value;
    auditStatusByte(value);
    updateIndicators();
}

void VelutraController::slotSystemStateChanged(SystemState state)
{
    m_systemState = int(state);
    updateIndicators();
}

void VelutraController::updateIndicators()
{
    const int b = m_statusByte;
    emit setPowerOnIndicator((b & s_powerOnBit) != 0);
    emit setErrorIndicator((b & s_errorBit) != 0);
    emit setWarningIndicator((b & s_warningBit) != 0);
    emit setDeviceSetupIndicator((b & s_deviceSetupBit) != 0);

    const bool opticsUnlocked = (b & s_opticsUnlockedBits) != 0;
    emit setRepRateSliderDisabled(!opticsUnlocked);
    emit setCrystalPositionReadOnly(!opticsUnlocked);
    emit setWavelengthSelectorEnabled(opticsUnlocked);

    updateRemoteButtons();

    // The oven mode switches the module's heaters: only in plain listen.
    emit setOvenModeReadOnly((b & s_stateBits) != s_listenBit);

    updateFlashing();
}

void VelutraController::updateRemoteButtons()
{
    const int b = m_statusByte;
    emit enableListen(true);
    emit setListen((b & s_listenBit) != 0);
    emit enableStandby(true);
    emit setStandby((b & s_standbyBit) != 0);
    emit enableLaserOn(true);
    emit setLaserOn((b & s_laserOnBits) != 0);
}

void VelutraController::updateFlashing()
{
    // States the table does not know (a newer firmware, a garbled report) change nothing.
    if (m_systemState < 0 || m_systemState >= int(std::size(s_flashBySystemState))) {
        return;
    }
    const FlashRow &row = s_flashBySystemState[m_systemState];
    if (row.laserOn != Flash::Keep) {
        emit setLaserOnFlash(row.laserOn == Flash::On);
    }
    if (row.standby != Flash::Keep) {
        emit setStandbyFlash(row.standby == Flash::On);
    }
}

void VelutraController::slotiShutterOnOffChanged(int value)
{
    emit setShutterIndicator(value != 0);
}

// ---- Harmonic module: fault flags, error code, output configuration -------------------------

void VelutraController::slotHGStatusFlagsChanged(quint16 flags)
{
    const VelutraHGStatusFlags::FaultBits bits
            = VelutraHGStatusFlags::faultBits(VelutraHGErrors::moduleVariant(m_hgModuleType));
    // Only the third-harmonic lists belong to a module with a second oven.
    const quint16 ovenBits = m_hgModuleKind == VelutraHgModuleKind::Thg ? bits.ovenFaultTwoOvens
                                                                        : bits.ovenFaultOneOven;
    emit setOvenFaultIndicator((flags & ovenBits) != 0);
    emit setHumidityFaultIndicator((flags & bits.humidityFault) != 0);
}

void VelutraController::slotHGErrorcodeChanged(uchar value)
{
    if (value == 0) {
        auditModuleError(QString());
        emit setErrorcodeHGIndicator(false);
        emit setErrorcodeHGMessage(QString());
        return;
    }
    const QString text
            = VelutraHGErrors::errorText(VelutraHGErrors::moduleVariant(m_hgModuleType), value);
    const QString message = QStringLiteral("HG Error code: %1 - %2").arg(int(value)).arg(text);
    auditModuleError(message);
    emit setErrorcodeHGIndicator(true);
    emit setErrorcodeHGMessage(message);
}

void VelutraController::slotHGOutputConfigChanged(uchar value)
{
    // Kept so that a later firmware-id check, which resets the layout, can show the rows again.
    m_lastOutputConfig = value;
    publishOutputConfig(value);
}

void VelutraController::publishOutputConfig(quint8 config)
{
    const bool ir = (config & s_outputIR) != 0;
    const bool green = (config & s_outputGreen) != 0;
    const bool uv = (config & s_outputUV) != 0;
    const bool duv = (config & s_outputDUV) != 0;

    emit setPowerMeasuredGreen_uJVisibility(green);
    emit setPowerMeasuredUV_uJVisibility(uv);
    emit setPowerMeasuredDUV_uJVisibility(duv);

    emit setDynamicWLS_IR_Visibility(ir);
    emit setDynamicWLS_Green_Visibility(green);
    emit setDynamicWLS_UV_Visibility(uv);
    emit setDynamicWLS_DUV_Visibility(duv);

    // The fundamental always leaves the laser, whatever the module converts.
    emit setOutputPowerIRMeasuredWVisibility(true);
    emit setOutputPowerGreenMeasuredWVisibility(green);
    emit setOutputPowerUVMeasuredWVisibility(uv);
    emit setOutputPowerDUVMeasuredWVisibility(duv);

    emit setWavelengthSelectorComboItemVisibility(0, ir);
    emit setWavelengthSelectorComboItemVisibility(1, green);
    emit setWavelengthSelectorComboItemVisibility(2, uv);
    emit setWavelengthSelectorComboItemVisibility(3, duv);
}

// ---- System information -----------------------------------------------------------------------

void VelutraController::slotsHardwareVersionChanged(const QString &text)
{
    emit setHardwareVersion(text);
}

void VelutraController::slotsFirmwareVersionChanged(const QString &text)
{
    emit setFirmwareVersion(text);
}

void VelutraController::slotsCompilationDateTimeChanged(const QString &text)
{
    emit setCompilationDateTime(text);
}

void VelutraController::slotsSerialNumberChanged(const QString &text)
{
    emit setSerialNumber(text);
}

void VelutraController::slotsLDDDeviceHardwareChanged(const QString &text)
{
    emit setLDDDeviceHardware(text);
}

void VelutraController::slotsLDDDeviceSoftwareChanged(const QString &text)
{
    emit setLDDDeviceSoftware(text);
}

void VelutraController::slotsLDDDeviceRevisionChanged(const QString &text)
{
    emit setLDDDeviceRevision(text);
}

void VelutraController::slotsTECDeviceHardwareChanged(const QString &text)
{
    emit setTECDeviceHardware(text);
}

void VelutraController::slotsTECDeviceSoftwareChanged(const QString &text)
{
    emit setTECDeviceSoftware(text);
}

void VelutraController::slotsTECDeviceRevisionChanged(const QString &text)
{
    emit setTECDeviceRevision(text);
}

void VelutraController::slotsTimingBoardSerialChanged(const QString &text)
{
    emit setTimingBoardSerial(text);
}

void VelutraController::slotsTimingBoardMCUChanged(const QString &text)
{
    emit setTimingBoardMCU(text);
}

void VelutraController::slotsTimingBoardFPGAChanged(const QString &text)
{
    emit setTimingBoardFPGA(text);
}

void VelutraController::slotsDeviceOnHoursChanged(const QString &text)
{
    emit setDeviceOnHours(text);
}

void VelutraController::slotsDeviceOnMinutesChanged(const QString &text)
{
    emit setDeviceOnMinutes(text);
}

void VelutraController::slotsDeviceEmissionHoursChanged(const QString &text)
{
    emit setDeviceEmissionHours(text);
}

void VelutraController::slotsDeviceEmissionMinutesChanged(const QString &text)
{
    emit setDeviceEmissionMinutes(text);
}

// The s6 record counts the same hours and minutes as the information block; whichever arrives
// last is shown.
void VelutraController::slotiCounterLaserOnOff_hChanged(int value)
{
    emit setDeviceOnHours(counterText(value));
}

void VelutraController::slotiCounterLaserOnOff_mChanged(int value)
{
    emit setDeviceOnMinutes(counterText(value));
}

void VelutraController::slotiCounterLaserEmmisionOnOff_hChanged(int value)
{
    emit setDeviceEmissionHours(counterText(value));
}

void VelutraController::slotiCounterLaserEmmisionOnOff_mChanged(int value)
{
    emit setDeviceEmissionMinutes(counterText(value));
}

// ---- Harmonic module information ----------------------------------------------------------

void VelutraController::slotsHGModuleAddress(const QString &text)
{
    emit setHGModuleAddress(text);
}

void VelutraController::slotsHGModuleType(const QString &text)
{
    // The type picks the error texts, the fault bits and the oven command variant.
    m_hgModuleType = text;
    emit setHGModuleType(text);
}

void VelutraController::slotsHGModuleFirwareVersion(const QString &text)
{
    emit setHGModuleFirwareVersion(text);
}

void VelutraController::slotsHGModuleBootloaderVersion(const QString &text)
{
    emit setHGModuleBootloaderVersion(text);
}

void VelutraController::slotsHGModuleSerialNumber(const QString &text)
{
    emit setHGModuleSerialNumber(text);
}

void VelutraController::slotsHGModulePCBSerialNumber(const QString &text)
{
    emit setHGModulePCBSerialNumber(text);
}

void VelutraController::slotsHGModuleRuntime(const QString &text)
{
    emit setHGModuleRuntime(text);
}

void VelutraController::slotsHGModuleWarning(const QString &text)
{
    auditModuleWarning(text);
    emit setHGModuleWarning(text);
}

// ---- Temperature channels -------------------------------------------------------------------

void VelutraController::slotfTemperature_actual_1Changed(double value)
{
    emit setTemperatureActual1(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_2Changed(double value)
{
    emit setTemperatureActual2(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_3Changed(double value)
{
    emit setTemperatureActual3(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_4Changed(double value)
{
    emit setTemperatureActual4(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_5Changed(double value)
{
    emit setTemperatureActual5(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_6Changed(double value)
{
    emit setTemperatureActual6(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_7Changed(double value)
{
    emit setTemperatureActual7(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_8Changed(double value)
{
    emit setTemperatureActual8(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_9Changed(double value)
{
    emit setTemperatureActual9(temperatureText(value));
}

void VelutraController::slotfTemperature_actual_10Changed(double value)
{
    emit setTemperatureActual10(temperatureText(value));
}

// ---- Values the panel does not show -------------------------------------------------------
// Every decoded value has a receiver, so that the name-driven wiring has no gaps; these
// deliberately do nothing.

void VelutraController::slotfTemperature_set_1Changed(double) { }
void VelutraController::slotfTemperature_min_1Changed(double) { }
void VelutraController::slotfTemperature_max_1Changed(double) { }
void VelutraController::slotfTemperature_set_2Changed(double) { }
void VelutraController::slotfTemperature_min_2Changed(double) { }
void VelutraController::slotfTemperature_max_2Changed(double) { }
void VelutraController::slotfTemperature_set_3Changed(double) { }
void VelutraController::slotfTemperature_min_3Changed(double) { }
void VelutraController::slotfTemperature_max_3Changed(double) { }
void VelutraController::slotfTemperature_set_4Changed(double) { }
void VelutraController::slotfTemperature_min_4Changed(double) { }
void VelutraController::slotfTemperature_max_4Changed(double) { }
void VelutraController::slotfTemperature_set_5Changed(double) { }
void VelutraController::slotfTemperature_min_5Changed(double) { }
void VelutraController::slotfTemperature_max_5Changed(double) { }
void VelutraController::slotfTemperature_set_6Changed(double) { }
void VelutraController::slotfTemperature_min_6Changed(double) { }
void VelutraController::slotfTemperature_max_6Changed(double) { }
void VelutraController::slotfTemperature_set_7Changed(double) { }
void VelutraController::slotfTemperature_min_7Changed(double) { }
void VelutraController::slotfTemperature_max_7Changed(double) { }
void VelutraController::slotfTemperature_set_8Changed(double) { }
void VelutraController::slotfTemperature_min_8Changed(double) { }
void VelutraController::slotfTemperature_max_8Changed(double) { }
void VelutraController::slotfTemperature_set_9Changed(double) { }
void VelutraController::slotfTemperature_min_9Changed(double) { }
void VelutraController::slotfTemperature_max_9Changed(double) { }
void VelutraController::slotfTemperature_set_10Changed(double) { }
void VelutraController::slotfTemperature_min_10Changed(double) { }
void VelutraController::slotfTemperature_max_10Changed(double) { }

void VelutraController::slotiTEC_initialisationChanged(int) { }
void VelutraController::slotiLDD_initialisationChanged(int) { }
void VelutraController::slotiDownload_lin12b_status_TBChanged(int) { }
void VelutraController::slotiDownload_wrnmin_status_TBChanged(int) { }
void VelutraController::slotiDownload_errmax_status_TBChanged(int) { }
void VelutraController::slotiDownload_errmin_status_TBChanged(int) { }
void VelutraController::slotiDownload_wrnmax_status_TBChanged(int) { }
void VelutraController::slotiOperationModeChanged(int) { }
void VelutraController::slotiLaserEmmisionChanged(int) { }
void VelutraController::slotiVelutraXPReadyChanged(int) { }
void VelutraController::slotiLaserPowerSetAOMChanged(int) { }
void VelutraController::slotiFrequencyDividerAOMChanged(int) { }
void VelutraController::slotiFrequencyIndexPCAOMinitChanged(int) { }
void VelutraController::slotiNoOfPulsesSingleBurstChanged(int) { }
void VelutraController::slotiGeneral_temperature_statusChanged(int) { }
void VelutraController::slotiTemperature_status_1Changed(int) { }
void VelutraController::slotiTemperature_status_8Changed(int) { }
void VelutraController::slotiDELAY_BOARD_ERRORChanged(int) { }
void VelutraController::slotiErrorStatusTECChanged(int) { }
void VelutraController::slotiErrorStatusLDDChanged(int) { }
void VelutraController::slotiLpcl_en_statusChanged(int) { }
void VelutraController::slotiLpcl_boost_timeChanged(int) { }
void VelutraController::slotfLpcl_currentChanged(double) { }
void VelutraController::slotfLpcl_current_boostChanged(double) { }
void VelutraController::slotfLpcl_temperatureChanged(double) { }
void VelutraController::slotfTmpFloatValueAChanged(double) { }
void VelutraController::slotfTmpFloatValueBChanged(double) { }
void VelutraController::slotfTmpFloatValueCChanged(double) { }
void VelutraController::slotiComm_device_1_RS485Changed(int) { }
void VelutraController::slotiComm_device_2_RS485Changed(int) { }
void VelutraController::slotiActualCurrentLDDChanged(int) { }
void VelutraController::slotfLdd1_om2_MaxCurrentChanged(double) { }
