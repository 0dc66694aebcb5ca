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

// ---- Harmonic module information -------------------------------------------------------------

void VelutraController::slotsHGModuleType(const QString &text)
{
    // The type picks the error texts, the fault bits and the oven command variant.
    m_hgModuleType = text;
    emit setHGModuleType(text);
}

void VelutraController::slotsHGModuleWarning(const QString &text)
{
    auditModuleWarning(text);
    emit setHGModuleWarning(text);
}
