#ifndef VELUTRAVIEW_H
#define VELUTRAVIEW_H

#include "mainview.h"

#include <QList>
#include <QMap>
#include <QString>

class QAbstractButton;
class QLabel;

// The laser's control panel: every value the controller knows, and every operator action as
// one of the change signals below.
//
// The view holds no device logic. Values, ranges and visibility arrive through the public
// slots; a value pushed in through a slot never comes back out as a change signal, because
// each change signal is a command to the laser. The only logic kept here is local: unit and
// scale switching on the sliders, the two prompts before a wavelength change, the wait dialog
// while the crystal moves, and the formatting of read-outs.
//
// Page indices are fixed by construction order: 0 Control, 1 View, 2 Temperature Details,
// 3 System Details, 4 System settings, 5 Harmonic Generator.
class VelutraView : public MainView
{
    Q_OBJECT

public:
    explicit VelutraView(QWidget *parent = nullptr);
    ~VelutraView() override;

    enum Page {
        ControlPage = 0,
        ViewPage = 1,
        TemperatureDetailsPage = 2,
        SystemDetailsPage = 3,
        SystemSettingsPage = 4,
        HarmonicGeneratorPage = 5,
    };

public slots:
    // ---- Control page, side panel, settings pages (velutraview.cpp, velutraview_control.cpp)
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
    void setHGSettingsPageVisibility(bool visible);
    void setExternModulation(int index);
    void setExternModulationVisibility(bool visible);
    void setExternTrigger(int index);
    void setExternTriggerVisibility(bool visible);
    void setExternPowerlockInterval(double value);
    void setExternPowerlockIntervalVisibility(bool visible);
    void setAddress(int address);
    void newOperationMode(int mode);
    void newPowerValue(double value);
    void newPowerIndex(int index);
    void newWavelengthSelected(int index);
    void newRepRateSliderValue(double value);
    void newDigitalGateSelected(QAbstractButton *button);
    void newDynamicWavelengthFeatureChanged(QAbstractButton *button);
    void dynamicWLS_SaveButtonClicked();
    void newCrystalSpotSelected(double value);

    // ---- Temperature and system details, spot table, module warning (velutraview_details.cpp)
    void setCrystalAllRuntimes(const QMap<int, quint64> &runtimes);
    void setTemperatureVisibility1(bool visible);
    void setTemperatureVisibility2(bool visible);
    void setTemperatureVisibility3(bool visible);
    void setTemperatureVisibility4(bool visible);
    void setTemperatureVisibility5(bool visible);
    void setTemperatureVisibility6(bool visible);
    void setTemperatureVisibility7(bool visible);
    void setTemperatureVisibility8(bool visible);
    void setTemperatureVisibility9(bool visible);
    void setTemperatureVisibility10(bool visible);
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
    void showAllSpotsButtonClicked();

signals:
    void operatingModeChanged(int index);
    void wavelengthSelectorComboChanged(int index);
    void power_uJ_Changed(double microjoules);
    void powerPercentChanged(double percent);
    void powerIndexChanged(int index);
    void repRateChanged(double kilohertz);
    void repRateDividerChanged(double divider);
    void repRateScaleIndexChanged(int index);
    void divisionChanged(double factor);
    void systemInfoViewChanged(bool visible);
    void wavelengthChanged(int index);
    void ovenModeComboChanged(int index);
    void oven1SetpointChanged(double celsius);
    void oven2SetpointChanged(double celsius);
    void crystalSpotSliderChanged(double spot);
    void digitalGateModeChanged(int mode);
    void dynamicWavelengthFeature(int enabled);
    void dynamicWLS_SaveSetpoint(int wavelength, double microjoules);
    void closeCrystalSpotWarningWindow();

private:
    // The side panel's "System info" values: built with the side panel, filled by the
    // system-details slots.
    QLabel *m_sidePanelSerialNumber = nullptr;
    QLabel *m_sidePanelFirmwareVersion = nullptr;

    // What the header says until the laser names its model.
    static QString waitingHeader();
    // A status lamp is grey while its condition is off and shows its own colour while it holds.
    static void light(class Indicator *lamp, bool on, quint32 color);

    // ---- Control page, side panel, settings pages -------------------------------------------
    void createSidePanel();
    void createControlPage();
    void createViewPage();
    void createSystemSettingsPage();
    void createHarmonicGeneratorPage();
    void createCrystalSpotWaitDialog();

    // The unit and scale caches (see the slots): what each unit of a slider last showed or was
    // told, so that switching back shows the device's value and not a stale one.
    struct Range
    {
        double minimum = 0.0;
        double maximum = 0.0;
    };
    enum EnergyUnit { EnergyUnit_uJ = 0, EnergyUnitPercent = 1 };
    // The entries of the operating-mode combo; the last one is the device's AOM mode 8,
    // shown but never offered.
    enum OperatingMode {
        OperatingModeInternal = 0,
        OperatingModeExternal = 1,
        OperatingModeFixedProgram = 2
    };
    static bool energyControlShownForChoice(OperatingMode mode);
    enum RepRateScale { RepRateScaleRate = 0, RepRateScaleDivider = 1 };
    // The entries of the wavelength selector, and the rows of every per-wavelength read-out.
    enum Wavelength { WavelengthIR = 0, WavelengthGreen = 1, WavelengthUV = 2, WavelengthDUV = 3 };
    static constexpr int s_wavelengthCount = 4;

    // Whether the panel shows measured energy and power of a wavelength at all. It alone
    // decides to keep the deep-UV rows hidden, whatever visibility the controller passes on
    // from the module's output configuration.
    static bool isMeasured(int wavelength);
    void addMeasurementRows(class QGridLayout *grid, int *row,
                            const QString (&names)[s_wavelengthCount],
                            const QString (&objectNames)[s_wavelengthCount],
                            QLabel *(&readouts)[s_wavelengthCount]);
    void setMeasurementRowVisible(QLabel *const (&readouts)[s_wavelengthCount], int wavelength,
                                  bool visible);

    // Shows or hides a control together with the label that names it.
    void setRowVisible(QWidget *control, bool visible);
    // Gives a check box, radio button or push button the room its (multi-line) text needs
    // under the panel's style sheet, which sizes them from one line of plain text.
    static void fitToText(QAbstractButton *button);
    void addRow(class QGridLayout *grid, int row, QWidget *label, QWidget *control);
    void showEnergyOfCurrentUnit();
    void showRepRateOfCurrentScale();
    void showDigitalGateLevels(int mode);
    void updateSideWavelengthEnabled();
    void updateExternHeading();
    void updateDynamicWlsSaveEnabled();
    // Shows a wavelength on the selector, with the labels that name it.
    void showSelectedWavelength(int index);
    void updateWavelengthLabels();
    void onPendingWavelengthExpired();
    void showDynamicWlsReported(int wavelength, double microjoules);
    void showDynamicWlsEnergy(int wavelength, double microjoules);
    void showDynamicWlsPercent(int wavelength, double percent);
    // The side panel's box when the laser's wavelength is not known: with nothing to choose it
    // names the one wavelength the laser has, otherwise it asks for a choice.
    void updateSideWavelengthWhenUnknown();
    void showCrystalRunHours();
    void onCrystalSpotTimeElapsed();
    // Runs one modal prompt; false when the operator did not accept it or when the view went
    // away while it was open (then *alive is false and nothing of the view may be touched).
    bool runPrompt(const QString &objectName, const QString &header, const QString &text,
                   bool withCancel, bool *alive);

    // Side panel
    class Indicator *m_powerOnIndicator = nullptr;
    class Indicator *m_errorIndicator = nullptr;
    class Indicator *m_warningIndicator = nullptr;
    class Indicator *m_deviceSetupIndicator = nullptr;
    class Indicator *m_shutterIndicator = nullptr;
    class Indicator *m_ovenFaultIndicator = nullptr;
    class Indicator *m_humidityFaultIndicator = nullptr;
    class Indicator *m_errorcodeHGIndicator = nullptr;
    class Indicator *m_dynamicWlsIndicator = nullptr;
    QWidget *m_ovenFaultRow = nullptr;
    QWidget *m_humidityFaultRow = nullptr;
    QWidget *m_errorcodeHGRow = nullptr;
    QLabel *m_errorcodeHGMessage = nullptr;
    QWidget *m_dynamicWlsBox = nullptr;
    QWidget *m_dynamicWlsRows[s_wavelengthCount] = {};
    QLabel *m_dynamicWlsValues[s_wavelengthCount] = {};
    QWidget *m_sideWavelengthRow = nullptr;
    class ComboBox *m_sideWavelengthCombo = nullptr;
    // With one wavelength only there is nothing to choose: the side panel names it as a value.
    QLabel *m_sideWavelengthFixed = nullptr;
    QWidget *m_systemInfoBox = nullptr;
    QWidget *m_digitalGateBox = nullptr;
    QLabel *m_sideGateLevel0V = nullptr;
    QLabel *m_sideGateLevel3V3 = nullptr;

    // Control page
    class ComboBox *m_operatingModeCombo = nullptr;
    class ComboBox *m_wavelengthSelectorCombo = nullptr;
    QLabel *m_measuredEnergy[s_wavelengthCount] = {};
    class Button *m_dynamicWlsSaveButton = nullptr;
    class ComboSlider *m_energySlider = nullptr;
    QLabel *m_outputRepRate = nullptr;
    class ComboSlider *m_repRateSlider = nullptr;
    class ComboSlider *m_divisionSlider = nullptr;
    QLabel *m_externHeading = nullptr;
    class ComboBox *m_externModulationCombo = nullptr;
    class ComboBox *m_externTriggerCombo = nullptr;
    class ComboSlider *m_externPowerlockSlider = nullptr;

    // View page and System settings page
    class QCheckBox *m_systemInfoCheckBox = nullptr;
    class QButtonGroup *m_digitalGateGroup = nullptr;

    // Harmonic Generator page
    QWidget *m_dynamicWlsSection = nullptr;
    class QButtonGroup *m_dynamicWlsGroup = nullptr;
    QAbstractButton *m_dynamicWlsEnableRadio = nullptr;
    QAbstractButton *m_dynamicWlsDisableRadio = nullptr;
    QLabel *m_outputPower[s_wavelengthCount] = {};
    QLabel *m_humidity = nullptr;
    class ComboBox *m_ovenModeCombo = nullptr;
    QLabel *m_oven1Actual = nullptr;
    QLabel *m_oven2Actual = nullptr;
    class ComboSlider *m_oven1Slider = nullptr;
    class ComboSlider *m_oven2Slider = nullptr;
    QWidget *m_crystalSection = nullptr;
    class Button *m_showAllSpotsButton = nullptr;
    QLabel *m_crystalRunHours = nullptr;
    class ComboSlider *m_crystalSpotSlider = nullptr;

    // Crystal-spot wait dialog
    class Dialog *m_crystalSpotWaitDialog = nullptr;
    class VelutraProgressTicker *m_crystalSpotTicker = nullptr;

    // Labels that name a control, so that both leave and return together.
    QMap<QWidget *, QWidget *> m_rowLabels;

    double m_lastMeasuredIR_uJ = 0.0;
    double m_energySetpoint_uJ = 0.0;
    double m_energySetpointPercent = 0.0;
    Range m_energyRange_uJ{0.0, 60000.0};
    Range m_energyRangePercent{0.0, 100.0};
    double m_repRate = 0.0;
    double m_repRateDivider = 0.0;
    // The device's wavelength: -1 until it first reports one.
    int m_selectedWavelength = -1;
    // A wavelength the operator chose and confirmed is shown while the module is still on its
    // way there: reports of the old one meanwhile are kept aside, not shown (-1 none pending).
    int m_pendingWavelength = -1;
    int m_reportedWavelength = -1;
    bool m_wavelengthReported = false;
    class QTimer *m_pendingWavelengthTimer = nullptr;
    // The wavelength whose AOM energy level was sent last, until the module reports it.
    int m_dynamicWlsSavePending = -1;
    QLabel *m_dynamicWlsSaveStatus = nullptr;
    // Set once the laser's own wavelength is known: reported by the device or chosen.
    bool m_sideWavelengthKnown = false;
    int m_currentCrystalSpot = 0;
    bool m_crystalSpotKnown = false;
    quint64 m_crystalCurRuntime = 0;
    quint64 m_crystalMaxRuntime = 0;
    bool m_dynamicWavelengthFeatureOn = false;
    bool m_wavelengthLockOpen = true;
    // Set-points as the device reported them, re-applied when their range arrives later.
    double m_oven1Setpoint = 0.0;
    bool m_oven1SetpointKnown = false;
    double m_oven2Setpoint = 0.0;
    bool m_oven2SetpointKnown = false;

    // ---- Detail pages (velutraview_details.cpp) ----------------------------------------------
    void createTemperatureDetailsPage();
    void createSystemDetailsPage();

    // The "System Details" fields in page order; the table in velutraview_details.cpp holds
    // their sections, names and object names row for row.
    enum SystemDetailsField {
        HardwareVersionField,
        FirmwareVersionField,
        ApplicationNameField,
        CompilationDateTimeField,
        SerialNumberField,
        DeviceOnTimeField,
        DeviceEmissionTimeField,
        LDDDeviceHardwareField,
        LDDDeviceSoftwareField,
        LDDDeviceRevisionField,
        TECDeviceHardwareField,
        TECDeviceSoftwareField,
        TECDeviceRevisionField,
        TimingBoardSerialField,
        TimingBoardMCUField,
        TimingBoardFPGAField,
        HGModuleAddressField,
        HGModuleTypeField,
        HGModuleFirmwareVersionField,
        HGModuleBootloaderVersionField,
        HGModuleSerialNumberField,
        HGModulePCBSerialNumberField,
        HGModuleRuntimeField,
        SystemDetailsFieldCount
    };

    void setSystemDetailsField(SystemDetailsField field, const QString &text);
    void setTemperatureActual(int row, const QString &text);
    void setTemperatureRowVisibility(int row, bool visible);
    void showHGModuleWarningText();
    // The spot table's "Maximum runtime" column; setCrystalMaxRuntime hands its value here.
    void setSpotTableMaxRuntime(quint64 seconds);

    // The PanelKit classes are named through elaborated type names so that this header
    // keeps its includes and forward declarations as they are.
    QList<class LineEdit *> m_systemDetailsFields;
    QList<class LineEdit *> m_temperatureFields;
    QList<QLabel *> m_temperatureLabels;
    QWidget *m_hgModuleSection = nullptr;
    // Hours and minutes arrive separately; each field shows the latest pair.
    QString m_deviceOnHours = QStringLiteral("???");
    QString m_deviceOnMinutes = QStringLiteral("???");
    QString m_deviceEmissionHours = QStringLiteral("???");
    QString m_deviceEmissionMinutes = QStringLiteral("???");
    QMap<int, quint64> m_crystalAllRuntimes;
    quint64 m_spotTableMaxRuntime = 0;
    QPointer<class Dialog> m_spotTableDialog;
    // One warning dialog at a time: each distinct message once, with how often it came again.
    QPointer<class Dialog> m_hgModuleWarningDialog;
    QPointer<QLabel> m_hgModuleWarningText;
    QList<QString> m_hgModuleWarnings;
    QList<int> m_hgModuleWarningRepeats;
};

#endif // VELUTRAVIEW_H
