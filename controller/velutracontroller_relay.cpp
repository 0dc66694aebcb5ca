#include "velutracontroller.h"

// The decoder's values that reach the panel as they come, or only turned into text: one row a
// slot, so that the controller's other files hold what it decides. A value that needs a
// decision (a unit, a lock, a command, a log line) has its slot there, not here.

namespace {

template<typename T>
const T &asIs(const T &value)
{
    return value;
}

bool isOn(int value)
{
    return value != 0;
}

QString temperatureText(double celsius)
{
    return QString::number(celsius, 'f', 2);
}

QString counterText(int value)
{
    return QString::number(value);
}

} // namespace

// A relay slot: the slot, its parameter, the signal it emits and how the value is shown.
#define VELUTRA_RELAY(Slot, Parameter, Signal, shown) \
    void VelutraController::Slot(Parameter value) \
    { \
        emit Signal(shown(value)); \
    }

// clang-format off

// ---- Wavelength, ovens, crystal, humidity, gate -------------------------------------------------
// The module's piezo position is the harmonic output selected: the combo follows it.
VELUTRA_RELAY(slotPiezoPositionChanged,            int,     setWavelengthSelectorCombo,  asIs)
VELUTRA_RELAY(slotOven1TempSettingChanged,         double,  setOven1TempSetpoint,        asIs)
VELUTRA_RELAY(slotOven1TempActualChanged,          double,  setOven1TempActual,          asIs)
VELUTRA_RELAY(slotOven2TempSettingChanged,         double,  setOven2TempSetpoint,        asIs)
VELUTRA_RELAY(slotOven2TempActualChanged,          double,  setOven2TempActual,          asIs)
VELUTRA_RELAY(slotHGCrystalCurSpotChanged,         int,     setCrystalPosition,          asIs)
VELUTRA_RELAY(slotHGCrystalCurRuntimeChanged,      quint64, setCrystalCurRuntime,        asIs)
VELUTRA_RELAY(slotHGCrystalMaxRuntimeChanged,      quint64, setCrystalMaxRuntime,        asIs)
VELUTRA_RELAY(slotHumidityActualChanged,           int,     setHumidityMonitor,          asIs)
VELUTRA_RELAY(slotDigitalGateChanged,              int,     setDigitalGate,              asIs)
VELUTRA_RELAY(slotDynamicWavelengthFeatureChanged, int,     setDynamicWavelengthFeature, asIs)
VELUTRA_RELAY(slotiShutterOnOffChanged,            int,     setShutterIndicator,         isOn)

// ---- System information -------------------------------------------------------------------------
VELUTRA_RELAY(slotsHardwareVersionChanged,       const QString &, setHardwareVersion,       asIs)
VELUTRA_RELAY(slotsFirmwareVersionChanged,       const QString &, setFirmwareVersion,       asIs)
VELUTRA_RELAY(slotsCompilationDateTimeChanged,   const QString &, setCompilationDateTime,   asIs)
VELUTRA_RELAY(slotsSerialNumberChanged,          const QString &, setSerialNumber,          asIs)
VELUTRA_RELAY(slotsLDDDeviceHardwareChanged,     const QString &, setLDDDeviceHardware,     asIs)
VELUTRA_RELAY(slotsLDDDeviceSoftwareChanged,     const QString &, setLDDDeviceSoftware,     asIs)
VELUTRA_RELAY(slotsLDDDeviceRevisionChanged,     const QString &, setLDDDeviceRevision,     asIs)
VELUTRA_RELAY(slotsTECDeviceHardwareChanged,     const QString &, setTECDeviceHardware,     asIs)
VELUTRA_RELAY(slotsTECDeviceSoftwareChanged,     const QString &, setTECDeviceSoftware,     asIs)
VELUTRA_RELAY(slotsTECDeviceRevisionChanged,     const QString &, setTECDeviceRevision,     asIs)
VELUTRA_RELAY(slotsTimingBoardSerialChanged,     const QString &, setTimingBoardSerial,     asIs)
VELUTRA_RELAY(slotsTimingBoardMCUChanged,        const QString &, setTimingBoardMCU,        asIs)
VELUTRA_RELAY(slotsTimingBoardFPGAChanged,       const QString &, setTimingBoardFPGA,       asIs)
VELUTRA_RELAY(slotsDeviceOnHoursChanged,         const QString &, setDeviceOnHours,         asIs)
VELUTRA_RELAY(slotsDeviceOnMinutesChanged,       const QString &, setDeviceOnMinutes,       asIs)
VELUTRA_RELAY(slotsDeviceEmissionHoursChanged,   const QString &, setDeviceEmissionHours,   asIs)
VELUTRA_RELAY(slotsDeviceEmissionMinutesChanged, const QString &, setDeviceEmissionMinutes, asIs)
// The s6 record counts the same hours and minutes as the information block; whichever arrives
// last is shown.
VELUTRA_RELAY(slotiCounterLaserOnOff_hChanged,         int, setDeviceOnHours,         counterText)
VELUTRA_RELAY(slotiCounterLaserOnOff_mChanged,         int, setDeviceOnMinutes,       counterText)
VELUTRA_RELAY(slotiCounterLaserEmmisionOnOff_hChanged, int, setDeviceEmissionHours,   counterText)
VELUTRA_RELAY(slotiCounterLaserEmmisionOnOff_mChanged, int, setDeviceEmissionMinutes, counterText)

// ---- Harmonic module information (its type and warning are decided on in the status file) -------
VELUTRA_RELAY(slotsHGModuleAddress,           const QString &, setHGModuleAddress,           asIs)
VELUTRA_RELAY(slotsHGModuleFirwareVersion,    const QString &, setHGModuleFirwareVersion,    asIs)
VELUTRA_RELAY(slotsHGModuleBootloaderVersion, const QString &, setHGModuleBootloaderVersion, asIs)
VELUTRA_RELAY(slotsHGModuleSerialNumber,      const QString &, setHGModuleSerialNumber,      asIs)
VELUTRA_RELAY(slotsHGModulePCBSerialNumber,   const QString &, setHGModulePCBSerialNumber,   asIs)
VELUTRA_RELAY(slotsHGModuleRuntime,           const QString &, setHGModuleRuntime,           asIs)

// ---- Temperature channels -----------------------------------------------------------------------
VELUTRA_RELAY(slotfTemperature_actual_1Changed,  double, setTemperatureActual1,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_2Changed,  double, setTemperatureActual2,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_3Changed,  double, setTemperatureActual3,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_4Changed,  double, setTemperatureActual4,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_5Changed,  double, setTemperatureActual5,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_6Changed,  double, setTemperatureActual6,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_7Changed,  double, setTemperatureActual7,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_8Changed,  double, setTemperatureActual8,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_9Changed,  double, setTemperatureActual9,  temperatureText)
VELUTRA_RELAY(slotfTemperature_actual_10Changed, double, setTemperatureActual10, temperatureText)

// clang-format on

#undef VELUTRA_RELAY

// A range passes both of its ends.
void VelutraController::slotOven1TempSettingRangeChanged(double first, double second)
{
    emit setOven1TempSetpointRange(first, second);
}

void VelutraController::slotOven2TempSettingRangeChanged(double first, double second)
{
    emit setOven2TempSetpointRange(first, second);
}

// Each dynamic-wavelength default shows its energy and its share of the power range.
void VelutraController::slotDynamicWLS_IRChanged(double value)
{
    showDynamicWavelengthEnergy(0, value);
}

void VelutraController::slotDynamicWLS_GreenChanged(double value)
{
    showDynamicWavelengthEnergy(1, value);
}

void VelutraController::slotDynamicWLS_UVChanged(double value)
{
    showDynamicWavelengthEnergy(2, value);
}

void VelutraController::slotDynamicWLS_DUVChanged(double value)
{
    showDynamicWavelengthEnergy(3, value);
}

// ---- Values the panel does not show -------------------------------------------------------------
// The decoder publishes them and the name-driven wiring gives each its slot of the same stem;
// these deliberately do nothing.

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
