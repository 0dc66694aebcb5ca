#ifndef VELUTRACONTROLLER_H
#define VELUTRACONTROLLER_H

#include "logepisode.h"
#include "velutramodulecolumns.h"
#include "velutrasystemstate.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>

class GUIWidget;
class MainControlPanel;
class VelutraRemoteControl;
class VelutraResponseDecoder;
class VelutraSerialHandler;
class VelutraView;
class QWidget;

// The model of the connected laser, between the reply decoder and the control panel.
//
// Decoded values come in through the slot<Value> slots (one per decoder signal, wired by
// name), are converted and checked, and go out to the panel through set<Thing>/enable<Thing>
// signals named exactly like the panel slots they reach. The operator's changes come back
// through the <control>Changed slots and leave as command texts on the handler's queues. The
// controller never touches the port and never parses a reply itself.
//
// It lives in the GUI thread; the serial handler lives in its own thread, so every signal to
// or from the handler is a queued call. Any of the three constructor pointers may be null (a
// test drives the slots directly): nothing is then wired to it or shown in it.
class VelutraController : public QObject
{
    Q_OBJECT

public:
    VelutraController(QWidget *mainWindow, MainControlPanel *panel, VelutraSerialHandler *handler,
                      QObject *parent);
    ~VelutraController() override;

    // The decoder the controller owns; the handler's lines reach it.
    VelutraResponseDecoder *decoder() const;
    // The panel widget built on the first turn of the main loop; null before and after.
    GUIWidget *panelWidget() const;
    VelutraView *view() const;
    VelutraRemoteControl *remoteControl() const;

    // Controller signals that reach no view slot of the same name, each with the reason;
    // the name-driven wiring leaves them out, and a test keeps the list honest.
    static const QStringList &signalsWithoutViewSlot();

public slots:
    // Slots that only pass a value on to the panel, whichever group lists them here, are
    // defined in velutracontroller_relay.cpp; the files named below hold the decisions.

    // ---- Life cycle, detection, polling lists (velutracontroller.cpp) ----------------------
    void slotConnectedStatus(bool connected);
    void slotMainLoop();
    void slotSendManualCommand(const QByteArray &bytes);
    void appendDelayed_digiop_Command();

    void slotsVelutraTypeChanged(const QString &text);
    void slotsApplicationNameChanged(const QString &text);
    void slotiModeOfOperationAOMChanged(int value);
    void slotDebuggingStatusChanged(bool value);
    void slotExistsSHGModule(bool value);
    void slotExistsSHGgModule(bool value);
    void slotExistsTHGModule(bool value);
    void slotExistsTHGiModule(bool value);
    void slotDynamicWavelengthFeatureSupported(bool value);
    void slotUnhandledLineData(const QByteArray &line);
    void slotParsingError(const QByteArray &line);
    void systemInfoViewChanged(bool visible);

    // ---- Power and repetition rate (velutracontroller_power.cpp) --------------------------
    void slotfMeasuredLaserPowerChanged(double value);
    void slotPowerSetting_nJ_Changed(double value);
    void slotPowerSetting_percent_Changed(double value);
    void slotPowerSetting_nJ_RangeChanged(double first, double second);
    void slotPowerSettingPercentRangeChanged(double first, double second);
    void slotFrequencyIndexChanged(int value);
    void slotFrequencyDivListChanged(const QMap<int, double> &list);
    void slotDivisionFactorChanged(int value);
    void slotOutputFrequencyChanged(double value);
    void power_uJ_Changed(double microjoules);
    void powerPercentChanged(double percent);
    void powerIndexChanged(int index);
    void repRateChanged(double kilohertz);
    void repRateDividerChanged(double divider);
    void repRateScaleIndexChanged(int index);
    void divisionChanged(double factor);

    // ---- Wavelength, ovens, crystal, gate, dynamic wavelength (velutracontroller_module.cpp)
    void slotiWavelenghtVTXChanged(int value);
    void slotOvenModeChanged(int value);
    void slotOven1TempSettingChanged(double value);
    void slotOven1TempSettingRangeChanged(double first, double second);
    void slotOven1TempActualChanged(double value);
    void slotOven2TempSettingChanged(double value);
    void slotOven2TempSettingRangeChanged(double first, double second);
    void slotOven2TempActualChanged(double value);
    void slotHumidityActualChanged(int value);
    void slotPiezoPositionChanged(int value);
    void slotDigitalGateChanged(int value);
    void slotDynamicWavelengthFeatureChanged(int value);
    void slotDynamicWLS_IRChanged(double value);
    void slotDynamicWLS_GreenChanged(double value);
    void slotDynamicWLS_UVChanged(double value);
    void slotDynamicWLS_DUVChanged(double value);
    void slotSHGOutputPowerChanged(double value);
    void slotTHGOutputPowerChanged(double value);
    void slotHGCrystalCurSpotChanged(int value);
    void slotHGCrystalCurRuntimeChanged(quint64 seconds);
    void slotHGCrystalMaxRuntimeChanged(quint64 seconds);
    void slotHGCrystalAllRuntimesChanged(const QMap<int, quint64> &runtimes);
    void wavelengthSelectorComboChanged(int index);
    void wavelengthChanged(int index);
    void ovenModeComboChanged(int index);
    void oven1SetpointChanged(double celsius);
    void oven2SetpointChanged(double celsius);
    void crystalSpotSliderChanged(double spot);
    void digitalGateModeChanged(int mode);
    void dynamicWavelengthFeatureChanged(int enabled);
    void dynamicWLS_SaveSetpoint(int wavelength, double microjoules);

    // ---- Operating states, indicators, errors, information (velutracontroller_status.cpp) --
    void slotsHardwareVersionChanged(const QString &text);
    void slotsFirmwareVersionChanged(const QString &text);
    void slotsCompilationDateTimeChanged(const QString &text);
    void slotsSerialNumberChanged(const QString &text);
    void slotsLDDDeviceHardwareChanged(const QString &text);
    void slotsLDDDeviceSoftwareChanged(const QString &text);
    void slotsLDDDeviceRevisionChanged(const QString &text);
    void slotsTECDeviceHardwareChanged(const QString &text);
    void slotsTECDeviceSoftwareChanged(const QString &text);
    void slotsTECDeviceRevisionChanged(const QString &text);
    void slotsTimingBoardSerialChanged(const QString &text);
    void slotsTimingBoardMCUChanged(const QString &text);
    void slotsTimingBoardFPGAChanged(const QString &text);
    void slotsDeviceOnHoursChanged(const QString &text);
    void slotsDeviceOnMinutesChanged(const QString &text);
    void slotsDeviceEmissionHoursChanged(const QString &text);
    void slotsDeviceEmissionMinutesChanged(const QString &text);
    void slotsHGModuleAddress(const QString &text);
    void slotsHGModuleType(const QString &text);
    void slotsHGModuleFirwareVersion(const QString &text);
    void slotsHGModuleBootloaderVersion(const QString &text);
    void slotsHGModuleSerialNumber(const QString &text);
    void slotsHGModulePCBSerialNumber(const QString &text);
    void slotsHGModuleRuntime(const QString &text);
    void slotsHGModuleWarning(const QString &text);
    void slotiCounterLaserOnOff_hChanged(int value);
    void slotiCounterLaserOnOff_mChanged(int value);
    void slotiCounterLaserEmmisionOnOff_hChanged(int value);
    void slotiCounterLaserEmmisionOnOff_mChanged(int value);
    void slotiTEC_initialisationChanged(int value);
    void slotiLDD_initialisationChanged(int value);
    void slotiDownload_lin12b_status_TBChanged(int value);
    void slotiDownload_wrnmin_status_TBChanged(int value);
    void slotiDownload_errmax_status_TBChanged(int value);
    void slotiDownload_errmin_status_TBChanged(int value);
    void slotiDownload_wrnmax_status_TBChanged(int value);
    void slotiOperationModeChanged(int value);
    void slotiLaserEmmisionChanged(int value);
    void slotiShutterOnOffChanged(int value);
    void slotiLaserPowerSetAOMChanged(int value);
    void slotiFrequencyDividerAOMChanged(int value);
    void slotiFrequencyIndexPCAOMinitChanged(int value);
    void slotiNoOfPulsesSingleBurstChanged(int value);
    void slotiGeneral_temperature_statusChanged(int value);
    void slotiTemperature_status_1Changed(int value);
    void slotiTemperature_status_8Changed(int value);
    void slotiDELAY_BOARD_ERRORChanged(int value);
    void slotiErrorStatusTECChanged(int value);
    void slotiErrorStatusLDDChanged(int value);
    void slotiLpcl_en_statusChanged(int value);
    void slotiLpcl_boost_timeChanged(int value);
    void slotfLpcl_currentChanged(double value);
    void slotfLpcl_current_boostChanged(double value);
    void slotfLpcl_temperatureChanged(double value);
    void slotfTmpFloatValueAChanged(double value);
    void slotfTmpFloatValueBChanged(double value);
    void slotfTmpFloatValueCChanged(double value);
    void slotiComm_device_1_RS485Changed(int value);
    void slotiComm_device_2_RS485Changed(int value);
    void slotiActualCurrentLDDChanged(int value);
    void slotfLdd1_om2_MaxCurrentChanged(double value);
    void slotfTemperature_set_1Changed(double value);
    void slotfTemperature_actual_1Changed(double value);
    void slotfTemperature_min_1Changed(double value);
    void slotfTemperature_max_1Changed(double value);
    void slotfTemperature_set_2Changed(double value);
    void slotfTemperature_actual_2Changed(double value);
    void slotfTemperature_min_2Changed(double value);
    void slotfTemperature_max_2Changed(double value);
    void slotfTemperature_set_3Changed(double value);
    void slotfTemperature_actual_3Changed(double value);
    void slotfTemperature_min_3Changed(double value);
    void slotfTemperature_max_3Changed(double value);
    void slotfTemperature_set_4Changed(double value);
    void slotfTemperature_actual_4Changed(double value);
    void slotfTemperature_min_4Changed(double value);
    void slotfTemperature_max_4Changed(double value);
    void slotfTemperature_set_5Changed(double value);
    void slotfTemperature_actual_5Changed(double value);
    void slotfTemperature_min_5Changed(double value);
    void slotfTemperature_max_5Changed(double value);
    void slotfTemperature_set_6Changed(double value);
    void slotfTemperature_actual_6Changed(double value);
    void slotfTemperature_min_6Changed(double value);
    void slotfTemperature_max_6Changed(double value);
    void slotfTemperature_set_7Changed(double value);
    void slotfTemperature_actual_7Changed(double value);
    void slotfTemperature_min_7Changed(double value);
    void slotfTemperature_max_7Changed(double value);
    void slotfTemperature_set_8Changed(double value);
    void slotfTemperature_actual_8Changed(double value);
    void slotfTemperature_min_8Changed(double value);
    void slotfTemperature_max_8Changed(double value);
    void slotfTemperature_set_9Changed(double value);
    void slotfTemperature_actual_9Changed(double value);
    void slotfTemperature_min_9Changed(double value);
    void slotfTemperature_max_9Changed(double value);
    void slotfTemperature_set_10Changed(double value);
    void slotfTemperature_actual_10Changed(double value);
    void slotfTemperature_min_10Changed(double value);
    void slotfTemperature_max_10Changed(double value);
    void slotuiTmpChar2Changed(uchar value);
    void slotSystemStateChanged(SystemState state);
    void slotAOMChanged(bool value);
    void slotHGStatusFlagsChanged(quint16 flags);
    void slotHGErrorcodeChanged(uchar value);
    void slotHGOutputConfigChanged(uchar value);
    void slotOperatingModeChanged(int index);
    void outEnableChanged(bool on);
    void laserOnChanged(bool on);
    void standbyChanged(bool on);
    void listenChanged(bool on);

signals:
    // To the serial handler: the cyclic monitor list and the one-shot queue.
    void sigAddMonitorCommand(const QString &command);
    void sigDelMonitorCommand(const QString &command);
    void sigClrAllMonitorCommands();
    void sigAppendSettingsCommand(const QString &command);
    // To the view and the remote control, named like the slots they reach.
    void setOperatingMode(int index);
    void setWavelengthSelectorCombo(int index);
    void setWavelengthSelectorComboItemVisibility(int item, bool visible);
    void setWavelengthSelectorComboVisibility(bool visible);
    void setPowerMeasuredGreen_uJ(double microjoules);
    void setPowerMeasuredGreen_uJVisibility(bool visible);
    void setPowerMeasuredUV_uJ(double microjoules);
    void setPowerMeasuredUV_uJVisibility(bool visible);
    void setPowerMeasuredDUV_uJ(double microjoules);
    void setPowerMeasuredDUV_uJVisibility(bool visible);
    void setPowerMeasuredIR_uJ(double microjoules);
    void setPowerMeasuredIR_uJVisibility(bool visible);
    void setPowerSetpoint_uJ(double microjoules);
    void setPowerSetpoint_Percent(double percent);
    void setPowerSetpointIndex(int index);
    void setPowerSetpointIndexVisibility(int index, bool visible);
    void setPowerRange_uJ(double first, double second);
    void setPowerRangePercent(double first, double second);
    void setPowerSliderVisibility(bool visible);
    void setOutputRepRate(double kilohertz);
    void setOutputRepRateVisibility(bool visible);
    void setRepRate(double kilohertz);
    void setRepRateDivider(double divider);
    void setRepRateSteps(const QList<double> &steps);
    void setRepRateDividerSteps(const QList<double> &steps);
    void setRepRateSliderVisibility(bool visible);
    void setRepRateSliderDisabled(bool disabled);
    void setRepRateScaleIndex(int index);
    void setDivision(double factor);
    void setDivisionRange(double minimum, double maximum);
    void setDivisionSliderVisibility(bool visible);
    void setDivisionSliderDisabled(bool disabled);
    void enableOutEnable(bool enabled);
    void enableLaserOn(bool enabled);
    void enableStandby(bool enabled);
    void enableListen(bool enabled);
    void setOutEnableOn(bool on);
    void setOutEnableOnFlash(bool flash);
    void setOutEnableOnVisible(bool visible);
    void setLaserOn(bool on);
    void setLaserOnFlash(bool flash);
    void setStandby(bool on);
    void setStandbyFlash(bool flash);
    void setListen(bool on);
    void setPowerOnIndicator(bool on);
    void setErrorIndicator(bool on);
    void setWarningIndicator(bool on);
    void setDeviceSetupIndicator(bool on);
    void setShutterIndicator(bool on);
    void setWavelengthSelector(int index);
    void setWavelengthSelectorEnabled(bool enabled);
    void enableWavelengths(bool entry0, bool entry1, bool entry2);
    void setOvenFaultIndicator(bool on);
    void setOvenFaultIndicatorVisibility(bool visible);
    void setHumidityFaultIndicator(bool on);
    void setHumidityFaultIndicatorVisibility(bool visible);
    void setErrorcodeHGIndicator(bool on);
    void setErrorcodeHGMessage(const QString &message);
    void setErrorcodeHGIndicatorVisible(bool visible);
    void setOutputPowerIRMeasuredW(double watts);
    void setOutputPowerIRMeasuredWVisibility(bool visible);
    void setOutputPowerGreenMeasuredW(double watts);
    void setOutputPowerGreenMeasuredWVisibility(bool visible);
    void setOutputPowerUVMeasuredW(double watts);
    void setOutputPowerUVMeasuredWVisibility(bool visible);
    void setOutputPowerDUVMeasuredW(double watts);
    void setOutputPowerDUVMeasuredWVisibility(bool visible);
    void setOvenMode(int index);
    void setOvenModeVisibility(bool visible);
    void setOvenModeReadOnly(bool readOnly);
    void setOven1TempSetpoint(double celsius);
    void setOven1TempSetpointRange(double minimum, double maximum);
    void setOven1TempSetpointVisibility(bool visible);
    void setOven2TempSetpoint(double celsius);
    void setOven2TempSetpointRange(double minimum, double maximum);
    void setOven2TempSetpointVisibility(bool visible);
    void setOven1TempActual(double celsius);
    void setOven1TempActualVisibility(bool visible);
    void setOven2TempActual(double celsius);
    void setOven2TempActualVisibility(bool visible);
    void setCrystalPosition(int spot);
    void setCrystalPositionRange(int first, int last);
    void setCrystalPositionReadOnly(bool readOnly);
    void setCrystalPositionVisibility(bool visible);
    void setCrystalCurRuntime(quint64 seconds);
    void setCrystalMaxRuntime(quint64 seconds);
    void setCrystalAllRuntimes(const QMap<int, quint64> &runtimes);
    void setHumidityMonitor(int percent);
    void setHumidityMonitorVisibility(bool visible);
    void setDigitalGate(int mode);
    void setDigitalGateVisible(bool visible);
    void setDynamicWavelengthFeature(int enabled);
    void setDynamicWavelengthFeatureVisibility(bool visible);
    void setDynamicWLS_IR_uJ(double microjoules);
    void setDynamicWLS_IR_Percent(double percent);
    void setDynamicWLS_IR_Visibility(bool visible);
    void setDynamicWLS_Green_uJ(double microjoules);
    void setDynamicWLS_Green_Percent(double percent);
    void setDynamicWLS_Green_Visibility(bool visible);
    void setDynamicWLS_UV_uJ(double microjoules);
    void setDynamicWLS_UV_Percent(double percent);
    void setDynamicWLS_UV_Visibility(bool visible);
    void setDynamicWLS_DUV_uJ(double microjoules);
    void setDynamicWLS_DUV_Percent(double percent);
    void setDynamicWLS_DUV_Visibility(bool visible);
    void setSystemInfoView(bool visible);
    void setTemperatureVisibilty1(bool visible);
    void setTemperatureVisibilty2(bool visible);
    void setTemperatureVisibilty3(bool visible);
    void setTemperatureVisibilty4(bool visible);
    void setTemperatureVisibilty5(bool visible);
    void setTemperatureVisibilty6(bool visible);
    void setTemperatureVisibilty7(bool visible);
    void setTemperatureVisibilty8(bool visible);
    void setTemperatureVisibilty9(bool visible);
    void setTemperatureVisibilty10(bool visible);
    void setTemperatureActual1(const QString &text);
    void setTemperatureActual2(const QString &text);
    void setTemperatureActual3(const QString &text);
    void setTemperatureActual4(const QString &text);
    void setTemperatureActual5(const QString &text);
    void setTemperatureActual6(const QString &text);
    void setTemperatureActual7(const QString &text);
    void setTemperatureActual8(const QString &text);
    void setTemperatureActual9(const QString &text);
    void setTemperatureActual10(const QString &text);
    void setVelutraType(const QString &text);
    void setHardwareVersion(const QString &text);
    void setFirmwareVersion(const QString &text);
    void setApplicationName(const QString &text);
    void setCompilationDateTime(const QString &text);
    void setSerialNumber(const QString &text);
    void setLDDDeviceHardware(const QString &text);
    void setLDDDeviceSoftware(const QString &text);
    void setLDDDeviceRevision(const QString &text);
    void setTECDeviceHardware(const QString &text);
    void setTECDeviceSoftware(const QString &text);
    void setTECDeviceRevision(const QString &text);
    void setTimingBoardSerial(const QString &text);
    void setTimingBoardMCU(const QString &text);
    void setTimingBoardFPGA(const QString &text);
    void setDeviceOnHours(const QString &text);
    void setDeviceOnMinutes(const QString &text);
    void setDeviceEmissionHours(const QString &text);
    void setDeviceEmissionMinutes(const QString &text);
    void setHGModuleInfoVisibility(bool visible);
    void setHGModuleAddress(const QString &text);
    void setHGModuleType(const QString &text);
    void setHGModuleFirwareVersion(const QString &text);
    void setHGModuleBootloaderVersion(const QString &text);
    void setHGModuleSerialNumber(const QString &text);
    void setHGModulePCBSerialNumber(const QString &text);
    void setHGModuleRuntime(const QString &text);
    void setHGModuleWarning(const QString &text);
    void setHGSettingsPageVisibility(bool visible);

private:
    // ---- Shared state (velutracontroller.cpp) -----------------------------------------------
    // The main loop's turns: the base polling list goes in while the link is down, the
    // one-shot queries go out once it comes up, and a lost link starts over with the base list.
    enum class MainLoopState {
        InstallBaseList,
        WaitForLink,
        Connected,
    };

    static LogEpisode deviceLineEpisode(const QString &subject);
    static QString clippedLine(const QByteArray &line);
    void wireDecoder();
    void wireHandler();
    void buildPanel();
    void wirePanel();
    void installBaseMonitorList();
    // Schedules the loop's next turn unless one is already due.
    void wakeMainLoop();
    bool mainLoopIsSettled() const;
    void setPanelEnabled(bool enabled);
    void installModuleList(int column);
    void emitModuleVisibilitySteps(int column);
    void runModuleStep(VelutraModuleSetupStep step, int column);
    bool runFirmwareIdCheck();
    void loadSettings();
    void saveSettings() const;
    void queueSettings(const QString &command);
    void queueMonitor(const QString &command);
    // One of the decoder's markStale_<group>() slots: the publish group whose published copy
    // a set command makes doubtful.
    using StaleMark = void (VelutraResponseDecoder::*)();
    // Queues a set command and marks the decoder's published copy of a group stale, so that
    // the device's answer is shown even when it equals what was shown before the operator
    // moved the control. markStale may be null.
    void sendSetCommand(const QString &command, StaleMark markStale);

    QWidget *m_mainWindow = nullptr;
    // The main window deletes the panel when the port closes, possibly before this object.
    QPointer<MainControlPanel> m_controlPanel;
    VelutraSerialHandler *m_serialHandler = nullptr;
    QPointer<GUIWidget> m_panelWidget;
    QPointer<VelutraView> m_view;
    QPointer<VelutraRemoteControl> m_remoteControl;
    VelutraResponseDecoder *m_decoder = nullptr;
    bool m_connected = false;
    int m_systemType = 0;
    bool m_systemInfoView = false;
    int m_powerSetIndex = 0;
    int m_repRateScaleIndex = 0;
    QString m_applicationName;
    int m_aomOperatingMode = 0;
    MainLoopState m_mainLoopState = MainLoopState::InstallBaseList;
    // The loop's next turn. While the link stays as it is and no log episode waits to be
    // summed up, a turn has nothing to do; the loop then rests until the link changes or a
    // device line starts an episode, instead of waking the GUI thread a hundred times a second.
    QTimer m_mainLoopTimer;
    // A device that babbles must not fill the operator's log: lines it sends that the decoder
    // cannot place are shown for the first few of an episode and counted after that.
    LogEpisode m_unhandledLineEpisode = deviceLineEpisode(tr("Velutra message: …"));
    LogEpisode m_parsingErrorEpisode = deviceLineEpisode(tr("Parsing error: …"));
    int m_statusByte = 0;
    int m_systemState = 0;
    // Module column installed last (-1 none), so that a firmware-id check can show it again.
    int m_installedModuleColumn = -1;
    // Last output configuration reported (-1 none yet) and dynamic-wavelength support.
    int m_lastOutputConfig = -1;
    bool m_dynamicWavelengthSupported = false;

    // ---- Power and repetition rate (velutracontroller_power.cpp) -------------------------------
    void recomputeOutputRate();
    // Shows what a frequency index selects: its rate, its divider and the output rate.
    void applyFrequencyIndex(int index);
    // "e_freq" for the index whose entry in list (rates or dividers) matches wanted, said in
    // words in the log with the entry, then the delayed digital-output query; only a log line
    // when no entry matches. Both texts take the value, shown with the given decimals.
    void sendFrequencyIndexOf(const QMap<int, double> &list, double wanted, int decimals,
                              const QString &noneOffered, const QString &request);

    double m_powerSetting_nJ = 0.0;
    double m_powerSettingPercent = 0.0;
    // Range ends as 4000 / the device's value (0 where that value is not positive).
    double m_powerRangeFirst_nJ = 0.0;
    double m_powerRangeSecond_nJ = 0.0;
    double m_powerRangePercentMin = 0.0;
    double m_powerRangePercentMax = 0.0;
    QMap<int, double> m_frequencyList;
    QMap<int, double> m_divisionList;
    int m_frequencyIndex = -1;
    int m_divisionFactor = 1;
    double m_outputFrequency = 0.0;
    // Last index the device reported, even one the division table does not hold (yet).
    int m_reportedFrequencyIndex = -1;
    // Set by the first power range report: the decoder then holds calibration data.
    bool m_powerCalibrationKnown = false;

    // ---- Harmonic module (velutracontroller_module.cpp) -------------------------------------
    // Energy and percentage of one dynamic-wavelength default (0 IR, 1 green, 2 UV, 3 DUV).
    void showDynamicWavelengthEnergy(int wavelength, double microjoules);

    VelutraHgModuleKind m_hgModuleKind = VelutraHgModuleKind::None;
    QString m_hgModuleType;

    // ---- Audit trail (velutracontroller_audit.cpp) --------------------------------------------
    // What the operator asked for, in words with value and unit, and the command text that
    // carries it: one line in the operator's log, then the command on the queue.
    void sendOperatorCommand(const QString &request, const QString &command, StaleMark markStale);
    // The same for a value the operator set: request takes the value, shown with the given
    // decimals (or s_wholePart: the whole number the device takes from it), and command makes
    // the command text from it. A value that is not a number is neither logged nor sent;
    // returns whether it was sent.
    static constexpr int s_wholePart = -1;
    bool sendOperatorValue(const QString &request, double value, int decimals,
                           QString (*command)(double), StaleMark markStale);
    void logOperatorRequest(const QString &request, const QString &command = QString());
    // Changes of the operating state and of the error and warning lamps, of the output
    // enable, and of the module's error, as the device reports them.
    void auditStatusByte(int statusByte);
    void auditOutputEnabled(bool enabled);
    void auditModuleError(const QString &message);
    void auditModuleWarning(const QString &message);
    // After a disconnection the device reports everything again, and the log says it again.
    void forgetAuditedState();

    // The status byte last written to the log, -1 before the first report.
    int m_auditedStatusByte = -1;
    // 0 not reported, 1 disabled, 2 enabled.
    int m_auditedOutputEnable = 0;
    QString m_auditedModuleError;
    // A module that keeps repeating a warning gets a few lines and a count, not a line a poll.
    LogEpisode m_moduleWarningEpisode = moduleWarningEpisode();
    static LogEpisode moduleWarningEpisode();

    // ---- Status indication (velutracontroller_status.cpp) -----------------------------------
    void updateIndicators();
    // Visibility of the per-wavelength rows for an output configuration (bit 0 IR ... bit 3 DUV).
    void publishOutputConfig(quint8 config);
    // Parts of the indicator update: the remote control's buttons from the status byte, and
    // their flashing from the system state.
    void updateRemoteButtons();
    void updateFlashing();
};

#endif // VELUTRACONTROLLER_H
