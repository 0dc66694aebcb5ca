#include "velutraview.h"

VelutraView::VelutraView(QWidget *parent)
    : MainView(parent)
{
    createSidePanel();
    createControlPage();
    createViewPage();
    createTemperatureDetailsPage();
    createSystemDetailsPage();
    createSystemSettingsPage();
    createHarmonicGeneratorPage();
    createCrystalSpotWaitDialog();
    setControlPage(ControlPage);
}

VelutraView::~VelutraView() = default;

void VelutraView::setOperatingMode(int) { }
void VelutraView::setWavelengthSelectorCombo(int) { }
void VelutraView::setWavelengthSelectorComboItemVisibility(int, bool) { }
void VelutraView::setWavelengthSelectorComboVisibility(bool) { }
void VelutraView::setPowerMeasuredGreen_uJ(double) { }
void VelutraView::setPowerMeasuredGreen_uJVisibility(bool) { }
void VelutraView::setPowerMeasuredUV_uJ(double) { }
void VelutraView::setPowerMeasuredUV_uJVisibility(bool) { }
void VelutraView::setPowerMeasuredDUV_uJ(double) { }
void VelutraView::setPowerMeasuredDUV_uJVisibility(bool) { }
void VelutraView::setPowerMeasuredIR_uJ(double) { }
void VelutraView::setPowerMeasuredIR_uJVisibility(bool) { }
void VelutraView::setPowerSetpoint_uJ(double) { }
void VelutraView::setPowerSetpoint_Percent(double) { }
void VelutraView::setPowerSetpointIndex(int) { }
void VelutraView::setPowerSetpointIndexVisibility(int, bool) { }
void VelutraView::setPowerRange_uJ(double, double) { }
void VelutraView::setPowerRangePercent(double, double) { }
void VelutraView::setPowerSliderVisibility(bool) { }
void VelutraView::setOutputRepRate(double) { }
void VelutraView::setOutputRepRateVisibility(bool) { }
void VelutraView::setRepRate(double) { }
void VelutraView::setRepRateDivider(double) { }
void VelutraView::setRepRateSteps(const QList<double> &) { }
void VelutraView::setRepRateDividerSteps(const QList<double> &) { }
void VelutraView::setRepRateSliderVisibility(bool) { }
void VelutraView::setRepRateSliderDisabled(bool) { }
void VelutraView::setRepRateScaleIndex(int) { }
void VelutraView::setDivision(double) { }
void VelutraView::setDivisionRange(double, double) { }
void VelutraView::setDivisionSliderVisibility(bool) { }
void VelutraView::setDivisionSliderDisabled(bool) { }
void VelutraView::setPowerOnIndicator(bool) { }
void VelutraView::setErrorIndicator(bool) { }
void VelutraView::setWarningIndicator(bool) { }
void VelutraView::setDeviceSetupIndicator(bool) { }
void VelutraView::setShutterIndicator(bool) { }
void VelutraView::setWavelengthSelector(int) { }
void VelutraView::setWavelengthSelectorEnabled(bool) { }
void VelutraView::enableWavelengths(bool, bool, bool) { }
void VelutraView::setOvenFaultIndicator(bool) { }
void VelutraView::setOvenFaultIndicatorVisibility(bool) { }
void VelutraView::setHumidityFaultIndicator(bool) { }
void VelutraView::setHumidityFaultIndicatorVisibility(bool) { }
void VelutraView::setErrorcodeHGIndicator(bool) { }
void VelutraView::setErrorcodeHGMessage(const QString &) { }
void VelutraView::setErrorcodeHGIndicatorVisible(bool) { }
void VelutraView::setOutputPowerIRMeasuredW(double) { }
void VelutraView::setOutputPowerIRMeasuredWVisibility(bool) { }
void VelutraView::setOutputPowerGreenMeasuredW(double) { }
void VelutraView::setOutputPowerGreenMeasuredWVisibility(bool) { }
void VelutraView::setOutputPowerUVMeasuredW(double) { }
void VelutraView::setOutputPowerUVMeasuredWVisibility(bool) { }
void VelutraView::setOutputPowerDUVMeasuredW(double) { }
void VelutraView::setOutputPowerDUVMeasuredWVisibility(bool) { }
void VelutraView::setOvenMode(int) { }
void VelutraView::setOvenModeVisibility(bool) { }
void VelutraView::setOvenModeReadOnly(bool) { }
void VelutraView::setOven1TempSetpoint(double) { }
void VelutraView::setOven1TempSetpointRange(double, double) { }
void VelutraView::setOven1TempSetpointVisibility(bool) { }
void VelutraView::setOven2TempSetpoint(double) { }
void VelutraView::setOven2TempSetpointRange(double, double) { }
void VelutraView::setOven2TempSetpointVisibility(bool) { }
void VelutraView::setOven1TempActual(double) { }
void VelutraView::setOven1TempActualVisibility(bool) { }
void VelutraView::setOven2TempActual(double) { }
void VelutraView::setOven2TempActualVisibility(bool) { }
void VelutraView::setCrystalPosition(int) { }
void VelutraView::setCrystalPositionRange(int, int) { }
void VelutraView::setCrystalPositionReadOnly(bool) { }
void VelutraView::setCrystalPositionVisibility(bool) { }
void VelutraView::setCrystalCurRuntime(quint64) { }
void VelutraView::setCrystalMaxRuntime(quint64) { }
void VelutraView::setHumidityMonitor(int) { }
void VelutraView::setHumidityMonitorVisibility(bool) { }
void VelutraView::setDigitalGate(int) { }
void VelutraView::setDigitalGateVisible(bool) { }
void VelutraView::setDynamicWavelengthFeature(int) { }
void VelutraView::setDynamicWavelengthFeatureVisibility(bool) { }
void VelutraView::setDynamicWLS_IR_uJ(double) { }
void VelutraView::setDynamicWLS_IR_Percent(double) { }
void VelutraView::setDynamicWLS_IR_Visibility(bool) { }
void VelutraView::setDynamicWLS_Green_uJ(double) { }
void VelutraView::setDynamicWLS_Green_Percent(double) { }
void VelutraView::setDynamicWLS_Green_Visibility(bool) { }
void VelutraView::setDynamicWLS_UV_uJ(double) { }
void VelutraView::setDynamicWLS_UV_Percent(double) { }
void VelutraView::setDynamicWLS_UV_Visibility(bool) { }
void VelutraView::setDynamicWLS_DUV_uJ(double) { }
void VelutraView::setDynamicWLS_DUV_Percent(double) { }
void VelutraView::setDynamicWLS_DUV_Visibility(bool) { }
void VelutraView::setSystemInfoView(bool) { }
void VelutraView::setHGSettingsPageVisibility(bool) { }
void VelutraView::setExternModulation(int) { }
void VelutraView::setExternModulationVisibility(bool) { }
void VelutraView::setExternTrigger(int) { }
void VelutraView::setExternTriggerVisibility(bool) { }
void VelutraView::setExternPowerlockInterval(double) { }
void VelutraView::setExternPowerlockIntervalVisibility(bool) { }
void VelutraView::setAddress(int) { }
void VelutraView::newOperationMode(int) { }
void VelutraView::newPowerValue(double) { }
void VelutraView::newPowerIndex(int) { }
void VelutraView::newWavelengthSelected(int) { }
void VelutraView::newRepRateSliderValue(double) { }
void VelutraView::newDigitalGateSelected(QAbstractButton *) { }
void VelutraView::newDynamicWavelengthFeatureChanged(QAbstractButton *) { }
void VelutraView::dynamicWLS_SaveButtonClicked() { }
void VelutraView::newCrystalSpotSelected(double) { }
void VelutraView::createSidePanel() { }
void VelutraView::createControlPage() { }
void VelutraView::createViewPage() { }
void VelutraView::createSystemSettingsPage() { }
void VelutraView::createHarmonicGeneratorPage() { }
void VelutraView::createCrystalSpotWaitDialog() { }
