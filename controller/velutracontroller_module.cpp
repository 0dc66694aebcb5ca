#include "velutracontroller.h"

#include "velutraresponsedecoder.h"

void VelutraController::slotiWavelenghtVTXChanged(int) { }
void VelutraController::slotOvenModeChanged(int) { }
void VelutraController::slotOven1TempSettingChanged(double) { }
void VelutraController::slotOven1TempSettingRangeChanged(double, double) { }
void VelutraController::slotOven1TempActualChanged(double) { }
void VelutraController::slotOven2TempSettingChanged(double) { }
void VelutraController::slotOven2TempSettingRangeChanged(double, double) { }
void VelutraController::slotOven2TempActualChanged(double) { }
void VelutraController::slotHumidityActualChanged(int) { }
void VelutraController::slotPiezoPositionChanged(int) { }
void VelutraController::slotDigitalGateChanged(int) { }
void VelutraController::slotDynamicWavelengthFeatureChanged(int) { }
void VelutraController::slotDynamicWLS_IRChanged(double) { }
void VelutraController::slotDynamicWLS_GreenChanged(double) { }
void VelutraController::slotDynamicWLS_UVChanged(double) { }
void VelutraController::slotDynamicWLS_DUVChanged(double) { }
void VelutraController::slotSHGOutputPowerChanged(double) { }
void VelutraController::slotTHGOutputPowerChanged(double) { }
void VelutraController::slotHGCrystalCurSpotChanged(int) { }
void VelutraController::slotHGCrystalCurRuntimeChanged(quint64) { }
void VelutraController::slotHGCrystalMaxRuntimeChanged(quint64) { }
void VelutraController::slotHGCrystalAllRuntimesChanged(const QMap<int, quint64> &) { }
void VelutraController::wavelengthSelectorComboChanged(int) { }
void VelutraController::wavelengthChanged(int) { }
void VelutraController::ovenModeComboChanged(int) { }
void VelutraController::oven1SetpointChanged(double) { }
void VelutraController::oven2SetpointChanged(double) { }
void VelutraController::crystalSpotSliderChanged(double) { }
void VelutraController::digitalGateModeChanged(int) { }
void VelutraController::dynamicWavelengthFeatureChanged(int) { }
void VelutraController::dynamicWLS_SaveSetpoint(int, double) { }
