#include "velutraview.h"

void VelutraView::setCrystalAllRuntimes(const QMap<int, quint64> &) { }
void VelutraView::setTemperatureVisibility1(bool) { }
void VelutraView::setTemperatureVisibility2(bool) { }
void VelutraView::setTemperatureVisibility3(bool) { }
void VelutraView::setTemperatureVisibility4(bool) { }
void VelutraView::setTemperatureVisibility5(bool) { }
void VelutraView::setTemperatureVisibility6(bool) { }
void VelutraView::setTemperatureVisibility7(bool) { }
void VelutraView::setTemperatureVisibility8(bool) { }
void VelutraView::setTemperatureVisibility9(bool) { }
void VelutraView::setTemperatureVisibility10(bool) { }
void VelutraView::setTemperatureActual1(const QString &) { }
void VelutraView::setTemperatureActual2(const QString &) { }
void VelutraView::setTemperatureActual3(const QString &) { }
void VelutraView::setTemperatureActual4(const QString &) { }
void VelutraView::setTemperatureActual5(const QString &) { }
void VelutraView::setTemperatureActual6(const QString &) { }
void VelutraView::setTemperatureActual7(const QString &) { }
void VelutraView::setTemperatureActual8(const QString &) { }
void VelutraView::setTemperatureActual9(const QString &) { }
void VelutraView::setTemperatureActual10(const QString &) { }
void VelutraView::setVelutraType(const QString &) { }
void VelutraView::setHardwareVersion(const QString &) { }
void VelutraView::setFirmwareVersion(const QString &) { }
void VelutraView::setApplicationName(const QString &) { }
void VelutraView::setCompilationDateTime(const QString &) { }
void VelutraView::setSerialNumber(const QString &) { }
void VelutraView::setLDDDeviceHardware(const QString &) { }
void VelutraView::setLDDDeviceSoftware(const QString &) { }
void VelutraView::setLDDDeviceRevision(const QString &) { }
void VelutraView::setTECDeviceHardware(const QString &) { }
void VelutraView::setTECDeviceSoftware(const QString &) { }
void VelutraView::setTECDeviceRevision(const QString &) { }
void VelutraView::setTimingBoardSerial(const QString &) { }
void VelutraView::setTimingBoardMCU(const QString &) { }
void VelutraView::setTimingBoardFPGA(const QString &) { }
void VelutraView::setDeviceOnHours(const QString &) { }
void VelutraView::setDeviceOnMinutes(const QString &) { }
void VelutraView::setDeviceEmissionHours(const QString &) { }
void VelutraView::setDeviceEmissionMinutes(const QString &) { }
void VelutraView::setHGModuleInfoVisibility(bool) { }
void VelutraView::setHGModuleAddress(const QString &) { }
void VelutraView::setHGModuleType(const QString &) { }
void VelutraView::setHGModuleFirwareVersion(const QString &) { }
void VelutraView::setHGModuleBootloaderVersion(const QString &) { }
void VelutraView::setHGModuleSerialNumber(const QString &) { }
void VelutraView::setHGModulePCBSerialNumber(const QString &) { }
void VelutraView::setHGModuleRuntime(const QString &) { }
void VelutraView::setHGModuleWarning(const QString &) { }
void VelutraView::showAllSpotsButtonClicked() { }
void VelutraView::createTemperatureDetailsPage() { }
void VelutraView::createSystemDetailsPage() { }
