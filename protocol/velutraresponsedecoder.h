#ifndef VELUTRARESPONSEDECODER_H
#define VELUTRARESPONSEDECODER_H

#include "velutrasystemstate.h"

#include <QByteArray>
#include <QMap>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

// Turns the laser's reply lines into typed values, one signal per value.
//
// Every value is kept twice: the latest value parsed and the value last published. A
// publish slot emits only when the two differ, unless forced, so the controller hears of a
// value only when it changes. slotConnectedStatus(false) puts every published copy back to
// a value no reply produces, so that everything is published again after a reconnection;
// markStale_<group>() does the same for one publish group.
//
// A line is dispatched through one ordered table of line kinds; the first kind that matches
// ends the processing of the line. A recognised line whose pattern or numbers do not parse
// gives sigParsingError() and changes nothing; a line nobody knows gives
// sigUnhandledLineData().
class VelutraResponseDecoder : public QObject
{
    Q_OBJECT

public:
    explicit VelutraResponseDecoder(QObject *parent = nullptr);
    ~VelutraResponseDecoder() override;

    /// Every regular expression the decoder matches lines with, in dispatch order: the
    /// selectors of the kinds recognised by a pattern and the patterns that extract fields.
    static QStringList linePatterns();

public slots:
    // System information block (reply to "ly_system_info") and module block (reply to "ls?").
    void publish_ly_system_info_Velutra(bool force = false);
    void publish_ly_system_info_SW_MAIN(bool force = false);
    void publish_ly_system_info_Compiled_on(bool force = false);
    void publish_ly_system_info_Serial_number(bool force = false);
    void publish_ly_system_info_LLD_device(bool force = false);
    void publish_ly_system_info_TEC_device(bool force = false);
    void publish_ly_system_info_Timing_Board(bool force = false);
    void publish_ly_system_info_DeviceOnTime(bool force = false);
    void publish_ly_system_info_EmissionTime(bool force = false);
    void publish_ls_info_ModuleAddrType(bool force = false);
    void publish_ls_info_FirmwareVersion(bool force = false);
    void publish_ls_info_BootladerVersion(bool force = false);
    void publish_ls_info_ModuleSerialNumber(bool force = false);
    void publish_ls_info_PCBSerialNumber(bool force = false);
    // Status records.
    void publish_s6(bool force = false);
    void publish_s7(bool force = false);
    void publish_s8(bool force = false);
    void publish_s9(bool force = false);
    // Laser state, power and repetition rate.
    void publish_DebuggingStatus(bool force = false);
    void publish_SystemState(bool force = false);
    void publish_PowerSetpoint_nJ(bool force = false);
    void publish_PowerSetpoint_Percent(bool force = false);
    void publish_PowerSetpoint_nJ_Range(bool force = false);
    void publish_FrequencyIndex(bool force = false);
    void publish_FrequencyDivList(bool force = false);
    void publish_DivisionFactor(bool force = false);
    void publish_AOMStatus(bool force = false);
    // Harmonic module.
    void publish_OvenMode(bool force = false);
    void publish_Oven1TemperatureSetpoint(bool force = false);
    void publish_Oven2TemperatureSetpoint(bool force = false);
    void publish_Oven1TemperatureActual(bool force = false);
    void publish_Oven2TemperatureActual(bool force = false);
    void publish_HumidityActual(bool force = false);
    void publish_PiezoPositionSetting(bool force = false);
    void publish_DigitalGateSetting(bool force = false);
    void publish_DynamicWavelengthEnabled(bool force = false);
    void publish_DynamicWavelengthSupport(bool force = false);
    void publish_DynamicWLS_IR(bool force = false);
    void publish_DynamicWLS_Green(bool force = false);
    void publish_DynamicWLS_UV(bool force = false);
    void publish_DynamicWLS_DUV(bool force = false);
    void publish_SHGOutputPower(bool force = false);
    void publish_THGOutputPower(bool force = false);
    void publish_HGStatusFlags(bool force = false);
    void publish_HGErrorcode(bool force = false);
    void publish_HGOutputConfig(bool force = false);
    void publish_HGRuntime(bool force = false);
    void publish_HGCrystalCurSpot(bool force = false);
    void publish_HGCrystalCurRuntime(bool force = false);
    void publish_HGCrystalMaxRuntime(bool force = false);
    void publish_HGCrystalAllRuntimes(bool force = false);

    /// One received line, with its line terminator still attached.
    void slotLineReceived(const QByteArray &line);
    /// false: everything is published again from the next line on; true: nothing to do.
    void slotConnectedStatus(bool connected);

    // Stale marks, one per publish group: the group's published copy goes back to the value
    // slotConnectedStatus(false) gives it, so that the group's next reply is published even
    // if its value did not change. Nothing is emitted and the latest values stay as they are.
    // For a controller that has reason to doubt that what it last heard of a group is current.
    void markStale_ly_system_info_Velutra();
    void markStale_ly_system_info_SW_MAIN();
    void markStale_ly_system_info_Compiled_on();
    void markStale_ly_system_info_Serial_number();
    void markStale_ly_system_info_LLD_device();
    void markStale_ly_system_info_TEC_device();
    void markStale_ly_system_info_Timing_Board();
    void markStale_ly_system_info_DeviceOnTime();
    void markStale_ly_system_info_EmissionTime();
    void markStale_ls_info_ModuleAddrType();
    void markStale_ls_info_FirmwareVersion();
    void markStale_ls_info_BootladerVersion();
    void markStale_ls_info_ModuleSerialNumber();
    void markStale_ls_info_PCBSerialNumber();
    void markStale_s6();
    void markStale_s7();
    void markStale_s8();
    void markStale_s9();
    void markStale_DebuggingStatus();
    void markStale_SystemState();
    void markStale_PowerSetpoint_nJ();
    void markStale_PowerSetpoint_Percent();
    void markStale_PowerSetpoint_nJ_Range();
    void markStale_FrequencyIndex();
    void markStale_FrequencyDivList();
    void markStale_DivisionFactor();
    void markStale_AOMStatus();
    void markStale_OvenMode();
    void markStale_Oven1TemperatureSetpoint();
    void markStale_Oven2TemperatureSetpoint();
    void markStale_Oven1TemperatureActual();
    void markStale_Oven2TemperatureActual();
    void markStale_HumidityActual();
    void markStale_PiezoPositionSetting();
    void markStale_DigitalGateSetting();
    void markStale_DynamicWavelengthEnabled();
    void markStale_DynamicWavelengthSupport();
    void markStale_DynamicWLS_IR();
    void markStale_DynamicWLS_Green();
    void markStale_DynamicWLS_UV();
    void markStale_DynamicWLS_DUV();
    void markStale_SHGOutputPower();
    void markStale_THGOutputPower();
    void markStale_HGStatusFlags();
    void markStale_HGErrorcode();
    void markStale_HGOutputConfig();
    void markStale_HGRuntime();
    void markStale_HGCrystalCurSpot();
    void markStale_HGCrystalCurRuntime();
    void markStale_HGCrystalMaxRuntime();
    void markStale_HGCrystalAllRuntimes();

signals:
    // System information, as received (not trimmed).
    void sigsVelutraTypeChanged(QString);
    void sigsHardwareVersionChanged(QString);
    void sigsFirmwareVersionChanged(QString);
    void sigsApplicationNameChanged(QString);
    void sigsCompilationDateTimeChanged(QString);
    void sigsSerialNumberChanged(QString);
    void sigsLDDDeviceHardwareChanged(QString);
    void sigsLDDDeviceSoftwareChanged(QString);
    void sigsLDDDeviceRevisionChanged(QString);
    void sigsTECDeviceHardwareChanged(QString);
    void sigsTECDeviceSoftwareChanged(QString);
    void sigsTECDeviceRevisionChanged(QString);
    void sigsTimingBoardSerialChanged(QString);
    void sigsTimingBoardMCUChanged(QString);
    void sigsTimingBoardFPGAChanged(QString);
    void sigsDeviceOnHoursChanged(QString);
    void sigsDeviceOnMinutesChanged(QString);
    void sigsDeviceEmissionHoursChanged(QString);
    void sigsDeviceEmissionMinutesChanged(QString);
    void sigsHGModuleAddress(QString);
    void sigsHGModuleType(QString);
    void sigsHGModuleFirwareVersion(QString);
    void sigsHGModuleBootloaderVersion(QString);
    void sigsHGModuleSerialNumber(QString);
    void sigsHGModulePCBSerialNumber(QString);
    /// Module runtime as "%1 hours %2 minutes".
    void sigsHGModuleRuntime(QString);
    /// A warning of the module; emitted every time it is received.
    void sigsHGModuleWarning(QString);

    // Status record s6: counters and initialisation status.
    void sigiCounterLaserOnOff_hChanged(int);
    void sigiCounterLaserOnOff_mChanged(int);
    void sigiCounterLaserEmmisionOnOff_hChanged(int);
    void sigiCounterLaserEmmisionOnOff_mChanged(int);
    void sigiTEC_initialisationChanged(int);
    void sigiLDD_initialisationChanged(int);
    void sigiDownload_lin12b_status_TBChanged(int);
    void sigiDownload_wrnmin_status_TBChanged(int);
    void sigiDownload_errmax_status_TBChanged(int);
    void sigiDownload_errmin_status_TBChanged(int);
    void sigiDownload_wrnmax_status_TBChanged(int);

    // Status record s7.
    /// Declared for the controller; no reply drives it.
    void sigiOperationModeChanged(int);
    void sigiLaserEmmisionChanged(int);
    void sigiModeOfOperationAOMChanged(int);
    void sigiShutterOnOffChanged(int);
    void sigiVelutraXPReadyChanged(int);
    void sigiLaserPowerSetAOMChanged(int);
    void sigiFrequencyDividerAOMChanged(int);
    void sigiFrequencyIndexPCAOMinitChanged(int);
    void sigfMeasuredLaserPowerChanged(double);
    void sigiNoOfPulsesSingleBurstChanged(int);
    void sigiGeneral_temperature_statusChanged(int);
    void sigiTemperature_status_1Changed(int);
    void sigiTemperature_status_8Changed(int);
    void sigiDELAY_BOARD_ERRORChanged(int);
    void sigiErrorStatusTECChanged(int);
    void sigiErrorStatusLDDChanged(int);
    /// Declared for the controller; no reply drives it.
    void sigiWavelenghtVTXChanged(int);

    // Status record s8.
    void sigiLpcl_en_statusChanged(int);
    void sigiLpcl_boost_timeChanged(int);
    void sigfLpcl_currentChanged(double);
    void sigfLpcl_current_boostChanged(double);
    void sigfLpcl_temperatureChanged(double);
    void sigfTmpFloatValueAChanged(double);
    void sigfTmpFloatValueBChanged(double);
    void sigfTmpFloatValueCChanged(double);
    void sigiComm_device_1_RS485Changed(int);
    void sigiComm_device_2_RS485Changed(int);
    void sigiActualCurrentLDDChanged(int);
    void sigfLdd1_om2_MaxCurrentChanged(double);

    // Status record s9: set, actual, min and max of the ten temperature channels.
    void sigfTemperature_set_1Changed(double);
    void sigfTemperature_actual_1Changed(double);
    void sigfTemperature_min_1Changed(double);
    void sigfTemperature_max_1Changed(double);
    void sigfTemperature_set_2Changed(double);
    void sigfTemperature_actual_2Changed(double);
    void sigfTemperature_min_2Changed(double);
    void sigfTemperature_max_2Changed(double);
    void sigfTemperature_set_3Changed(double);
    void sigfTemperature_actual_3Changed(double);
    void sigfTemperature_min_3Changed(double);
    void sigfTemperature_max_3Changed(double);
    void sigfTemperature_set_4Changed(double);
    void sigfTemperature_actual_4Changed(double);
    void sigfTemperature_min_4Changed(double);
    void sigfTemperature_max_4Changed(double);
    void sigfTemperature_set_5Changed(double);
    void sigfTemperature_actual_5Changed(double);
    void sigfTemperature_min_5Changed(double);
    void sigfTemperature_max_5Changed(double);
    void sigfTemperature_set_6Changed(double);
    void sigfTemperature_actual_6Changed(double);
    void sigfTemperature_min_6Changed(double);
    void sigfTemperature_max_6Changed(double);
    void sigfTemperature_set_7Changed(double);
    void sigfTemperature_actual_7Changed(double);
    void sigfTemperature_min_7Changed(double);
    void sigfTemperature_max_7Changed(double);
    void sigfTemperature_set_8Changed(double);
    void sigfTemperature_actual_8Changed(double);
    void sigfTemperature_min_8Changed(double);
    void sigfTemperature_max_8Changed(double);
    void sigfTemperature_set_9Changed(double);
    void sigfTemperature_actual_9Changed(double);
    void sigfTemperature_min_9Changed(double);
    void sigfTemperature_max_9Changed(double);
    void sigfTemperature_set_10Changed(double);
    void sigfTemperature_actual_10Changed(double);
    void sigfTemperature_min_10Changed(double);
    void sigfTemperature_max_10Changed(double);

    // Laser state, power and repetition rate.
    /// The laser's status word (the last field of the s7 record), its low 8 bits; published
    /// by publish_s7 after the record's other members.
    void siguiTmpChar2Changed(uchar);
    void sigDebuggingStatusChanged(bool);
    void sigSystemStateChanged(SystemState);
    void sigPowerSetting_nJ_Changed(double);
    void sigPowerSetting_percent_Changed(double);
    /// Power calibration coefficients (index 0, index 1) at the current frequency index.
    void sigPowerSetting_nJ_RangeChanged(double, double);
    void sigPowerSettingPercentRangeChanged(double, double);
    void sigFrequencyIndexChanged(int);
    void sigFrequencyDivListChanged(QMap<int, double>);
    void sigDivisionFactorChanged(int);
    /// Declared for the controller; no reply drives it.
    void sigOutputFrequencyChanged(double);
    void sigAOMChanged(bool);
    /// Module kind, decided at the end of each module information block; only ever true.
    void sigExistsSHGModule(bool);
    void sigExistsSHGgModule(bool);
    void sigExistsTHGModule(bool);
    void sigExistsTHGiModule(bool);

    // Harmonic module.
    void sigOvenModeChanged(int);
    void sigOven1TempSettingChanged(double);
    void sigOven1TempSettingRangeChanged(double, double);
    void sigOven1TempActualChanged(double);
    void sigOven2TempSettingChanged(double);
    void sigOven2TempSettingRangeChanged(double, double);
    void sigOven2TempActualChanged(double);
    void sigHumidityActualChanged(int);
    /// Crystal position: 0 IR, 1 green, 2 UV.
    void sigPiezoPositionChanged(int);
    void sigDigitalGateChanged(int);
    /// Declared for the controller; no reply drives it.
    void sigDigitalGateNotSupported();
    void sigDynamicWavelengthFeatureChanged(int);
    void sigDynamicWavelengthFeatureSupported(bool);
    /// Default pulse energies of dynamic wavelength switching, received value / 1000.
    void sigDynamicWLS_IRChanged(double);
    void sigDynamicWLS_GreenChanged(double);
    void sigDynamicWLS_UVChanged(double);
    void sigDynamicWLS_DUVChanged(double);
    /// Output powers in mW.
    void sigSHGOutputPowerChanged(double);
    void sigTHGOutputPowerChanged(double);
    /// A reply that does not fit 16 bits (flags) or 8 bits (code) is a parsing error, never
    /// cut down: error code 256 must not read as "no error".
    void sigHGStatusFlagsChanged(quint16);
    void sigHGErrorcodeChanged(uchar);
    void sigHGOutputConfigChanged(uchar);
    void sigHGCrystalCurSpotChanged(int);
    /// Crystal runtimes in seconds.
    void sigHGCrystalCurRuntimeChanged(quint64);
    void sigHGCrystalMaxRuntimeChanged(quint64);
    void sigHGCrystalAllRuntimesChanged(QMap<int, quint64>);

    /// A line that no rule knows, as received.
    void sigUnhandledLineData(QByteArray);
    /// A recognised line whose pattern or numbers did not parse, as received.
    void sigParsingError(QByteArray);

private:
    struct Values;
    struct LineRule;
    // The steps a reply with a value takes (read, refuse, keep, publish), for the line table.
    struct Steps;
    enum class Outcome;
    using Handler = Outcome (*)(VelutraResponseDecoder &decoder, const QString &line, int rule);

    static const LineRule *lineRules(int *count);
    static void registerMetaTypes();

    void resetPublishedValues();
    Outcome decodeStatusRecord(const QString &line, int record);
    Outcome decodeNumberedRow(const QString &line, int rule);
    Outcome decodeCalibrationRow(const QString &line);
    void publishTexts(int first, int count, bool force);
    void markTextsStale(int first, int count);
    void publishModuleKind();
    void publishOvenSetpoint(int oven, bool force);

    std::unique_ptr<Values> m_values;
};

#endif // VELUTRARESPONSEDECODER_H
