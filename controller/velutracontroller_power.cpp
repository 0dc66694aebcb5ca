#include "velutracontroller.h"

#include "velutraresponsedecoder.h"

void VelutraController::slotfMeasuredLaserPowerChanged(double) { }
void VelutraController::slotPowerSetting_nJ_Changed(double) { }
void VelutraController::slotPowerSetting_percent_Changed(double) { }
void VelutraController::slotPowerSetting_nJ_RangeChanged(double, double) { }
void VelutraController::slotPowerSettingPercentRangeChanged(double, double) { }
void VelutraController::slotFrequencyIndexChanged(int) { }
void VelutraController::slotFrequencyDivListChanged(const QMap<int, double> &) { }
void VelutraController::slotDivisionFactorChanged(int) { }
void VelutraController::slotOutputFrequencyChanged(double) { }
void VelutraController::power_uJ_Changed(double) { }
void VelutraController::powerPercentChanged(double) { }
void VelutraController::powerIndexChanged(int) { }
void VelutraController::repRateChanged(double) { }
void VelutraController::repRateDividerChanged(double) { }
void VelutraController::repRateScaleIndexChanged(int) { }
void VelutraController::divisionChanged(double) { }
void VelutraController::recomputeOutputRate() { }
