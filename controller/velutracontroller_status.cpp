#include "velutracontroller.h"

#include "velutraresponsedecoder.h"

void VelutraController::slotsHardwareVersionChanged(const QString &) { }
void VelutraController::slotsFirmwareVersionChanged(const QString &) { }
void VelutraController::slotsCompilationDateTimeChanged(const QString &) { }
void VelutraController::slotsSerialNumberChanged(const QString &) { }
void VelutraController::slotsLDDDeviceHardwareChanged(const QString &) { }
void VelutraController::slotsLDDDeviceSoftwareChanged(const QString &) { }
void VelutraController::slotsLDDDeviceRevisionChanged(const QString &) { }
void VelutraController::slotsTECDeviceHardwareChanged(const QString &) { }
void VelutraController::slotsTECDeviceSoftwareChanged(const QString &) { }
void VelutraController::slotsTECDeviceRevisionChanged(const QString &) { }
void VelutraController::slotsTimingBoardSerialChanged(const QString &) { }
void VelutraController::slotsTimingBoardMCUChanged(const QString &) { }
void VelutraController::slotsTimingBoardFPGAChanged(const QString &) { }
void VelutraController::slotsDeviceOnHoursChanged(const QString &) { }
void VelutraController::slotsDeviceOnMinutesChanged(const QString &) { }
void VelutraController::slotsDeviceEmissionHoursChanged(const QString &) { }
void VelutraController::slotsDeviceEmissionMinutesChanged(const QString &) { }
void VelutraController::slotsHGModuleAddress(const QString &) { }
void VelutraController::slotsHGModuleType(const QString &) { }
void VelutraController::slotsHGModuleFirwareVersion(const QString &) { }
void VelutraController::slotsHGModuleBootloaderVersion(const QString &) { }
void VelutraController::slotsHGModuleSerialNumber(const QString &) { }
void VelutraController::slotsHGModulePCBSerialNumber(const QString &) { }
void VelutraController::slotsHGModuleRuntime(const QString &) { }
void VelutraController::slotsHGModuleWarning(const QString &) { }
void VelutraController::slotiCounterLaserOnOff_hChanged(int) { }
void VelutraController::slotiCounterLaserOnOff_mChanged(int) { }
void VelutraController::slotiCounterLaserEmmisionOnOff_hChanged(int) { }
void VelutraController::slotiCounterLaserEmmisionOnOff_mChanged(int) { }
void VelutraController::slotiTEC_initialisationChanged(int) { }
void VelutraController::slotiLDD_initialisationChanged(int) { }
void VelutraController::slotiDownload_lin12b_status_TBChanged(int) { }
void VelutraController::slotiDownload_wrnmin_status_TBChanged(int) { }
void VelutraController::slotiDownload_errmax_status_TBChanged(int) { }
void VelutraController::slotiDownload_errmin_status_TBChanged(int) { }
void VelutraController::slotiDownload_wrnmax_status_TBChanged(int) { }
void VelutraController::slotiOperationModeChanged(int) { }
void VelutraController::slotiLaserEmmisionChanged(int) { }
void VelutraController::slotiShutterOnOffChanged(int) { }
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
void VelutraController::slotfTemperature_set_1Changed(double) { }
void VelutraController::slotfTemperature_actual_1Changed(double) { }
void VelutraController::slotfTemperature_min_1Changed(double) { }
void VelutraController::slotfTemperature_max_1Changed(double) { }
void VelutraController::slotfTemperature_set_2Changed(double) { }
void VelutraController::slotfTemperature_actual_2Changed(double) { }
void VelutraController::slotfTemperature_min_2Changed(double) { }
void VelutraController::slotfTemperature_max_2Changed(double) { }
void VelutraController::slotfTemperature_set_3Changed(double) { }
void VelutraController::slotfTemperature_actual_3Changed(double) { }
void VelutraController::slotfTemperature_min_3Changed(double) { }
void VelutraController::slotfTemperature_max_3Changed(double) { }
void VelutraController::slotfTemperature_set_4Changed(double) { }
void VelutraController::slotfTemperature_actual_4Changed(double) { }
void VelutraController::slotfTemperature_min_4Changed(double) { }
void VelutraController::slotfTemperature_max_4Changed(double) { }
void VelutraController::slotfTemperature_set_5Changed(double) { }
void VelutraController::slotfTemperature_actual_5Changed(double) { }
void VelutraController::slotfTemperature_min_5Changed(double) { }
void VelutraController::slotfTemperature_max_5Changed(double) { }
void VelutraController::slotfTemperature_set_6Changed(double) { }
void VelutraController::slotfTemperature_actual_6Changed(double) { }
void VelutraController::slotfTemperature_min_6Changed(double) { }
void VelutraController::slotfTemperature_max_6Changed(double) { }
void VelutraController::slotfTemperature_set_7Changed(double) { }
void VelutraController::slotfTemperature_actual_7Changed(double) { }
void VelutraController::slotfTemperature_min_7Changed(double) { }
void VelutraController::slotfTemperature_max_7Changed(double) { }
void VelutraController::slotfTemperature_set_8Changed(double) { }
void VelutraController::slotfTemperature_actual_8Changed(double) { }
void VelutraController::slotfTemperature_min_8Changed(double) { }
void VelutraController::slotfTemperature_max_8Changed(double) { }
void VelutraController::slotfTemperature_set_9Changed(double) { }
void VelutraController::slotfTemperature_actual_9Changed(double) { }
void VelutraController::slotfTemperature_min_9Changed(double) { }
void VelutraController::slotfTemperature_max_9Changed(double) { }
void VelutraController::slotfTemperature_set_10Changed(double) { }
void VelutraController::slotfTemperature_actual_10Changed(double) { }
void VelutraController::slotfTemperature_min_10Changed(double) { }
void VelutraController::slotfTemperature_max_10Changed(double) { }
void VelutraController::slotuiTmpChar2Changed(uchar) { }
void VelutraController::slotSystemStateChanged(SystemState) { }
void VelutraController::slotAOMChanged(bool) { }
void VelutraController::slotHGStatusFlagsChanged(quint16) { }
void VelutraController::slotHGErrorcodeChanged(uchar) { }
void VelutraController::slotHGOutputConfigChanged(uchar) { }
void VelutraController::slotOperatingModeChanged(int) { }
void VelutraController::outEnableChanged(bool) { }
void VelutraController::laserOnChanged(bool) { }
void VelutraController::standbyChanged(bool) { }
void VelutraController::listenChanged(bool) { }
void VelutraController::updateIndicators() { }
void VelutraController::publishOutputConfig(quint8) { }
