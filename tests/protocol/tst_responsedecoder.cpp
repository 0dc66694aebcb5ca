#include "signalrecorder.h"
#include "velutraresponsedecoder.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QtTest>

namespace {

QByteArray bytes(const QString &text)
{
    return text.toLatin1();
}

QStringList feed(VelutraResponseDecoder &decoder, SignalRecorder &recorder,
                 const QStringList &lines)
{
    recorder.takeAll();
    for (const QString &line : lines) {
        decoder.slotLineReceived(bytes(line));
    }
    return recorder.takeAll();
}

QString parsingError(const QString &line)
{
    return QStringLiteral("sigParsingError(\"%1\")").arg(line);
}

QString unhandled(const QString &line)
{
    return QStringLiteral("sigUnhandledLineData(\"%1\")").arg(line);
}

QString s9Line(int tokens)
{
    QStringList parts{QStringLiteral("s9")};
    for (int i = 1; i < tokens - 1; ++i) {
        parts.append(QString::number(20.0 + (i - 1) * 0.5, 'f', 1));
    }
    parts.append(QStringLiteral("0\n"));
    return parts.join(QLatin1Char(' '));
}

QStringList s9Signals()
{
    QStringList expected;
    static const char *const s_kinds[] = {"set", "actual", "min", "max"};
    for (int i = 0; i < 40; ++i) {
        expected.append(
                QStringLiteral("sigfTemperature_%1_%2Changed(%3)")
                        .arg(QLatin1String(s_kinds[i % 4]))
                        .arg(i / 4 + 1)
                        .arg(QString::number(20.0 + i * 0.5, 'g', QLocale::FloatingPointShortest)));
    }
    return expected;
}

const QStringList s_s6Signals = {
        QStringLiteral("sigiCounterLaserOnOff_hChanged(1234)"),
        QStringLiteral("sigiCounterLaserOnOff_mChanged(56)"),
        QStringLiteral("sigiCounterLaserEmmisionOnOff_hChanged(789)"),
        QStringLiteral("sigiCounterLaserEmmisionOnOff_mChanged(12)"),
        QStringLiteral("sigiTEC_initialisationChanged(1)"),
        QStringLiteral("sigiLDD_initialisationChanged(1)"),
        QStringLiteral("sigiDownload_lin12b_status_TBChanged(0)"),
        QStringLiteral("sigiDownload_wrnmin_status_TBChanged(0)"),
        QStringLiteral("sigiDownload_errmax_status_TBChanged(0)"),
        QStringLiteral("sigiDownload_errmin_status_TBChanged(0)"),
        QStringLiteral("sigiDownload_wrnmax_status_TBChanged(0)"),
};

const QStringList s_s7Signals = {
        QStringLiteral("sigiLaserEmmisionChanged(1)"),
        QStringLiteral("sigiModeOfOperationAOMChanged(2)"),
        QStringLiteral("sigiShutterOnOffChanged(1)"),
        QStringLiteral("sigiVelutraXPReadyChanged(1)"),
        QStringLiteral("sigiLaserPowerSetAOMChanged(2048)"),
        QStringLiteral("sigiFrequencyDividerAOMChanged(1)"),
        QStringLiteral("sigiFrequencyIndexPCAOMinitChanged(3)"),
        QStringLiteral("sigfMeasuredLaserPowerChanged(1.25)"),
        QStringLiteral("sigiNoOfPulsesSingleBurstChanged(0)"),
        QStringLiteral("sigiGeneral_temperature_statusChanged(0)"),
        QStringLiteral("sigiTemperature_status_1Changed(0)"),
        QStringLiteral("sigiTemperature_status_8Changed(0)"),
        QStringLiteral("sigiDELAY_BOARD_ERRORChanged(0)"),
        QStringLiteral("sigiErrorStatusTECChanged(0)"),
        QStringLiteral("sigiErrorStatusLDDChanged(0)"),
        // The status word 385, low 8 bits.
        QStringLiteral("siguiTmpChar2Changed(129)"),
};

const QStringList s_s8Signals = {
        QStringLiteral("sigiLpcl_en_statusChanged(1)"),
        QStringLiteral("sigiLpcl_boost_timeChanged(100)"),
        QStringLiteral("sigfLpcl_currentChanged(2.5)"),
        QStringLiteral("sigfLpcl_current_boostChanged(3)"),
        QStringLiteral("sigfLpcl_temperatureChanged(25.1)"),
        QStringLiteral("sigfTmpFloatValueAChanged(0)"),
        QStringLiteral("sigfTmpFloatValueBChanged(0)"),
        QStringLiteral("sigfTmpFloatValueCChanged(0)"),
        QStringLiteral("sigiComm_device_1_RS485Changed(1)"),
        QStringLiteral("sigiComm_device_2_RS485Changed(1)"),
        QStringLiteral("sigiActualCurrentLDDChanged(1500)"),
        QStringLiteral("sigfLdd1_om2_MaxCurrentChanged(4.5)"),
};

const QString s_s6Line = QStringLiteral("s6 1234 56 789 12 1 1 0 0 0 0 0 0\n");
const QString s_s7Line = QStringLiteral("s7 1 2 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 385\n");
const QString s_s8Line = QStringLiteral("s8 1 100 2.50 3.00 25.1 0.00 0.00 0.00 1 1 1500 4.50\n");

// An s7 record like s_s7Line with the given laser emission (first field) and status word.
QString s7Line(int emission, const QString &statusWord)
{
    return QStringLiteral("s7 %1 2 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 %2\n")
            .arg(emission)
            .arg(statusWord);
}

// The module information block; the type text decides the module kind.
QStringList moduleBlock(const QString &type)
{
    return {QStringLiteral("ZEL harmonic generation module (address: 0x21 / type: %1)\n").arg(type),
            QStringLiteral("Firmware version:\t1.3.0\n"),
            QStringLiteral("Bootloader version:\t0.9\n"),
            QStringLiteral("Module serial number:\tHG-7781\n"),
            QStringLiteral("PCB serial number:\tPCB-0042\n")};
}

QStringList moduleBlockSignals(const QString &type)
{
    return {QStringLiteral("sigsHGModuleAddress(\"0x21\")"),
            QStringLiteral("sigsHGModuleType(\"%1\")").arg(type),
            QStringLiteral("sigsHGModuleFirwareVersion(\"1.3.0\")"),
            QStringLiteral("sigsHGModuleBootloaderVersion(\"0.9\")"),
            QStringLiteral("sigsHGModuleSerialNumber(\"HG-7781\")"),
            QStringLiteral("sigsHGModulePCBSerialNumber(\"PCB-0042\")")};
}

// The known-but-ignored lines, each of which must end processing without a signal.
const QStringList s_ignoredLines = {
        QStringLiteral("ly_system_info"),
        QStringLiteral("ly_vtx2_wvl"),
        QStringLiteral("s6"),
        QStringLiteral("s7"),
        QStringLiteral("s8"),
        QStringLiteral("s9"),
        QStringLiteral("e_div?"),
        QStringLiteral("e_freq?"),
        QStringLiteral("ezra"),
        QStringLiteral("eira"),
        QStringLiteral("o7m:AOMEN"),
        QStringLiteral("o7m:AOMINH"),
        QStringLiteral("o7m:?AOMEN"),
        QStringLiteral("ly_vtx2_disabled"),
        QStringLiteral("ly_vtx2_enabled"),
        QStringLiteral("ly_vtx2_standby"),
        QStringLiteral("ly_vtx2_listen"),
        QStringLiteral("ly_vtx2_output"),
        QStringLiteral("ly_vtx2_digiop"),
        QStringLiteral("ly_vtx2_dev_status"),
        QStringLiteral("ls?"),
        QStringLiteral("ls_enable"),
        QStringLiteral("ls_temp_setpoint"),
        QStringLiteral("ls_temp_setpoint_SHG"),
        QStringLiteral("ls_temp_setpoint_THG"),
        QStringLiteral("ls_temp_oven"),
        QStringLiteral("ls_humidity"),
        QStringLiteral("ls_wavelength"),
        QStringLiteral("ls_output_power"),
        QStringLiteral("ls_status"),
        QStringLiteral("ls_errorcode"),
        QStringLiteral("ls_output_config"),
        QStringLiteral("ls_module_runtime"),
        QStringLiteral("ls_crystal_curSpot"),
        QStringLiteral("ls_crystal_curRuntime"),
        QStringLiteral("ls_crystal_maxRuntime"),
        QStringLiteral("ls_crystal_allRuntimes"),
        QStringLiteral("ly_vtx_wvl"),
        QStringLiteral("e_mode"),
        QStringLiteral("e_div"),
        QStringLiteral("e_freq"),
        QStringLiteral("AOM max frequency fields number is:"),
        QStringLiteral("e_mode of AOM:"),
        QStringLiteral("Switching OFF Seeder Laser diode: Laser_OnOff_value_Seeder="),
        QStringLiteral("?AVGENGY"),
        QStringLiteral("?ENERGY"),
        QStringLiteral(">"),
        QStringLiteral("New digital gate logic:"),
        QStringLiteral("Dynamic wavelength switching data in memory:"),
        QStringLiteral("ls_dwls_enable"),
        QStringLiteral("ls_dwls_default"),
        QStringLiteral("ls_dwls_feature"),
        QStringLiteral("New oven temperature setpoint:"),
        // The harmonic module's own lines without value.
        QStringLiteral("ZEL HG\tChanging wavelength complete."),
        QStringLiteral("ZEL HG:\tDisabling AOM."),
        QStringLiteral("ZEL SHG\tMoved piezo stage to"),
        QStringLiteral("ZEL SHG\tNew polarization:"),
        // The module's help text, in its own spelling.
        QStringLiteral("Available commands:"),
        QStringLiteral("----------------------------------------"),
        QStringLiteral("\tSets the module oven temperature setpoint in degrees C"),
        QStringLiteral("\tSets the module's SHG oven temperature setpoint in degrees C"),
        QStringLiteral("\tSets the module's THG oven temperature setpoint in degrees C"),
        QStringLiteral("\tDisplays the module oven setpoint(s) in degrees C"),
        QStringLiteral("\tDisplays the module oven(s) temperature in degrees C"),
        QStringLiteral("\tDisplays the relative humidity in % within the module."),
        QStringLiteral("\tSets the output wavelength [x range: 0-3]"),
        QStringLiteral("\twhere:"),
        QStringLiteral("\t\t0 sets"),
        QStringLiteral("\t\t1 sets"),
        QStringLiteral("\t\t2 sets"),
        QStringLiteral("\t\t3 sets"),
        QStringLiteral("\t\t0 IR not available."),
        QStringLiteral("\t\t1 SHG not available."),
        QStringLiteral("\t\t2 THG not available."),
        QStringLiteral("\t\t3 FHG not available."),
        QStringLiteral("\tDisplays the configured wavelength of the module"),
        QStringLiteral("\tDisplays the module status - ZELM support"),
        QStringLiteral("\tDisplays the current output power"),
        QStringLiteral("\tDisplays the modules total runtime in seconds"),
        QStringLiteral("\tDisplays the crystal spot currently active"),
        QStringLiteral("\tDisplays the maximun runtime in seconds"),
        QStringLiteral("\tDisplays the total runtime in hours"),
        QStringLiteral("\tDisplays the current total runtime in seconds"),
        QStringLiteral("\tSets the crystal spot the module will use for conversion"),
        // Command echoes swallowed with the power lines; the first two with a literal "^".
        QStringLiteral("^?AVGENGY = 12"),
        QStringLiteral("^?ENERGY = 3"),
        QStringLiteral("ly_vtx2_power=500"),
        QStringLiteral("e_power=2000"),
        // Debug output acknowledgement and the calibration block's header lines.
        QStringLiteral("Ok write 0 to debug Communication value to eeprom"),
        QStringLiteral("Coefficients for converting setted laser power to AOM value"),
        QStringLiteral("y=k*x + a; where k is index 0 and a is index 1"),
        QStringLiteral("y is AOM value 0-4095 and x is input laser power in nJ"),
};

} // namespace

class TestResponseDecoder : public QObject
{
    Q_OBJECT

private slots:
    void signalsAreDeclaredInOrder();
    void publishSlotsAreDeclaredInOrder();
    void metaTypesAreRegistered();
    void lineKinds_data();
    void lineKinds();
    void ignoredLines_data();
    void ignoredLines();
    void knownSpellingsOnly_data();
    void knownSpellingsOnly();
    void forcedPublishEmitsEverything();
    void publishWithoutForceEmitsNothingNew();
    void reconnectionRepublishesModuleBlock();
    void systemStateAfterReconnection();
    void divisionTableRestartsAtIndexZero();
    void calibrationFollowsFrequencyIndex();
    void registerDumpModeSwallowsRows();
    void allRuntimesTakesAtMost32Spots();
    void nullAndEmbeddedNulBytes();
    void hostileLinesDoNotHang();
    void tablesAreBounded();
    void statusWord_data();
    void statusWord();
    void statusWordComesLastAndFollowsChanges();
    void everyPublishGroupHasAStaleMark();
    void markStaleRepublishesOneGroup_data();
    void markStaleRepublishesOneGroup();
    void markStaleKeepsLatestValues();
};

void TestResponseDecoder::signalsAreDeclaredInOrder()
{
    QStringList expected = {
            "sigsVelutraTypeChanged(QString)",
            "sigsHardwareVersionChanged(QString)",
            "sigsFirmwareVersionChanged(QString)",
            "sigsApplicationNameChanged(QString)",
            "sigsCompilationDateTimeChanged(QString)",
            "sigsSerialNumberChanged(QString)",
            "sigsLDDDeviceHardwareChanged(QString)",
            "sigsLDDDeviceSoftwareChanged(QString)",
            "sigsLDDDeviceRevisionChanged(QString)",
            "sigsTECDeviceHardwareChanged(QString)",
            "sigsTECDeviceSoftwareChanged(QString)",
            "sigsTECDeviceRevisionChanged(QString)",
            "sigsTimingBoardSerialChanged(QString)",
            "sigsTimingBoardMCUChanged(QString)",
            "sigsTimingBoardFPGAChanged(QString)",
            "sigsDeviceOnHoursChanged(QString)",
            "sigsDeviceOnMinutesChanged(QString)",
            "sigsDeviceEmissionHoursChanged(QString)",
            "sigsDeviceEmissionMinutesChanged(QString)",
            "sigsHGModuleAddress(QString)",
            "sigsHGModuleType(QString)",
            "sigsHGModuleFirwareVersion(QString)",
            "sigsHGModuleBootloaderVersion(QString)",
            "sigsHGModuleSerialNumber(QString)",
            "sigsHGModulePCBSerialNumber(QString)",
            "sigsHGModuleRuntime(QString)",
            "sigsHGModuleWarning(QString)",
            "sigiCounterLaserOnOff_hChanged(int)",
            "sigiCounterLaserOnOff_mChanged(int)",
            "sigiCounterLaserEmmisionOnOff_hChanged(int)",
            "sigiCounterLaserEmmisionOnOff_mChanged(int)",
            "sigiTEC_initialisationChanged(int)",
            "sigiLDD_initialisationChanged(int)",
            "sigiDownload_lin12b_status_TBChanged(int)",
            "sigiDownload_wrnmin_status_TBChanged(int)",
            "sigiDownload_errmax_status_TBChanged(int)",
            "sigiDownload_errmin_status_TBChanged(int)",
            "sigiDownload_wrnmax_status_TBChanged(int)",
            "sigiOperationModeChanged(int)",
            "sigiLaserEmmisionChanged(int)",
            "sigiModeOfOperationAOMChanged(int)",
            "sigiShutterOnOffChanged(int)",
            "sigiVelutraXPReadyChanged(int)",
            "sigiLaserPowerSetAOMChanged(int)",
            "sigiFrequencyDividerAOMChanged(int)",
            "sigiFrequencyIndexPCAOMinitChanged(int)",
            "sigfMeasuredLaserPowerChanged(double)",
            "sigiNoOfPulsesSingleBurstChanged(int)",
            "sigiGeneral_temperature_statusChanged(int)",
            "sigiTemperature_status_1Changed(int)",
            "sigiTemperature_status_8Changed(int)",
            "sigiDELAY_BOARD_ERRORChanged(int)",
            "sigiErrorStatusTECChanged(int)",
            "sigiErrorStatusLDDChanged(int)",
            "sigiWavelenghtVTXChanged(int)",
            "sigiLpcl_en_statusChanged(int)",
            "sigiLpcl_boost_timeChanged(int)",
            "sigfLpcl_currentChanged(double)",
            "sigfLpcl_current_boostChanged(double)",
            "sigfLpcl_temperatureChanged(double)",
            "sigfTmpFloatValueAChanged(double)",
            "sigfTmpFloatValueBChanged(double)",
            "sigfTmpFloatValueCChanged(double)",
            "sigiComm_device_1_RS485Changed(int)",
            "sigiComm_device_2_RS485Changed(int)",
            "sigiActualCurrentLDDChanged(int)",
            "sigfLdd1_om2_MaxCurrentChanged(double)",
    };
    for (int channel = 1; channel <= 10; ++channel) {
        for (const char *kind : {"set", "actual", "min", "max"}) {
            expected.append(QStringLiteral("sigfTemperature_%1_%2Changed(double)")
                                    .arg(QLatin1String(kind))
                                    .arg(channel));
        }
    }
    expected += QStringList{
            "siguiTmpChar2Changed(uchar)",
            "sigDebuggingStatusChanged(bool)",
            "sigSystemStateChanged(SystemState)",
            "sigPowerSetting_nJ_Changed(double)",
            "sigPowerSetting_percent_Changed(double)",
            "sigPowerSetting_nJ_RangeChanged(double,double)",
            "sigPowerSettingPercentRangeChanged(double,double)",
            "sigFrequencyIndexChanged(int)",
            "sigFrequencyDivListChanged(QMap<int,double>)",
            "sigDivisionFactorChanged(int)",
            "sigOutputFrequencyChanged(double)",
            "sigAOMChanged(bool)",
            "sigExistsSHGModule(bool)",
            "sigExistsSHGgModule(bool)",
            "sigExistsTHGModule(bool)",
            "sigExistsTHGiModule(bool)",
            "sigOvenModeChanged(int)",
            "sigOven1TempSettingChanged(double)",
            "sigOven1TempSettingRangeChanged(double,double)",
            "sigOven1TempActualChanged(double)",
            "sigOven2TempSettingChanged(double)",
            "sigOven2TempSettingRangeChanged(double,double)",
            "sigOven2TempActualChanged(double)",
            "sigHumidityActualChanged(int)",
            "sigPiezoPositionChanged(int)",
            "sigDigitalGateChanged(int)",
            "sigDigitalGateNotSupported()",
            "sigDynamicWavelengthFeatureChanged(int)",
            "sigDynamicWavelengthFeatureSupported(bool)",
            "sigDynamicWLS_IRChanged(double)",
            "sigDynamicWLS_GreenChanged(double)",
            "sigDynamicWLS_UVChanged(double)",
            "sigDynamicWLS_DUVChanged(double)",
            "sigSHGOutputPowerChanged(double)",
            "sigTHGOutputPowerChanged(double)",
            "sigHGStatusFlagsChanged(quint16)",
            "sigHGErrorcodeChanged(uchar)",
            "sigHGOutputConfigChanged(uchar)",
            "sigHGCrystalCurSpotChanged(int)",
            "sigHGCrystalCurRuntimeChanged(quint64)",
            "sigHGCrystalMaxRuntimeChanged(quint64)",
            "sigHGCrystalAllRuntimesChanged(QMap<int,quint64>)",
            "sigUnhandledLineData(QByteArray)",
            "sigParsingError(QByteArray)",
    };
    QCOMPARE(expected.size(), 151);

    QVector<int> declared;
    const QMetaObject &meta = VelutraResponseDecoder::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal) {
            declared.append(i);
        }
    }
    QCOMPARE(declared.size(), 151);
    // Found under the signature a SIGNAL() connection of the controller uses, in order.
    for (int n = 0; n < expected.size(); ++n) {
        const QByteArray signature = QMetaObject::normalizedSignature(expected.at(n).toLatin1());
        QVERIFY2(meta.indexOfSignal(signature) == declared.at(n), signature.constData());
        const QMetaMethod method = meta.method(declared.at(n));
        QCOMPARE(method.name(), signature.left(signature.indexOf('(')));
    }
}

void TestResponseDecoder::publishSlotsAreDeclaredInOrder()
{
    const QStringList names = {
            "publish_ly_system_info_Velutra",
            "publish_ly_system_info_SW_MAIN",
            "publish_ly_system_info_Compiled_on",
            "publish_ly_system_info_Serial_number",
            "publish_ly_system_info_LLD_device",
            "publish_ly_system_info_TEC_device",
            "publish_ly_system_info_Timing_Board",
            "publish_ly_system_info_DeviceOnTime",
            "publish_ly_system_info_EmissionTime",
            "publish_ls_info_ModuleAddrType",
            "publish_ls_info_FirmwareVersion",
            "publish_ls_info_BootladerVersion",
            "publish_ls_info_ModuleSerialNumber",
            "publish_ls_info_PCBSerialNumber",
            "publish_s6",
            "publish_s7",
            "publish_s8",
            "publish_s9",
            "publish_DebuggingStatus",
            "publish_SystemState",
            "publish_PowerSetpoint_nJ",
            "publish_PowerSetpoint_Percent",
            "publish_PowerSetpoint_nJ_Range",
            "publish_FrequencyIndex",
            "publish_FrequencyDivList",
            "publish_DivisionFactor",
            "publish_AOMStatus",
            "publish_OvenMode",
            "publish_Oven1TemperatureSetpoint",
            "publish_Oven2TemperatureSetpoint",
            "publish_Oven1TemperatureActual",
            "publish_Oven2TemperatureActual",
            "publish_HumidityActual",
            "publish_PiezoPositionSetting",
            "publish_DigitalGateSetting",
            "publish_DynamicWavelengthEnabled",
            "publish_DynamicWavelengthSupport",
            "publish_DynamicWLS_IR",
            "publish_DynamicWLS_Green",
            "publish_DynamicWLS_UV",
            "publish_DynamicWLS_DUV",
            "publish_SHGOutputPower",
            "publish_THGOutputPower",
            "publish_HGStatusFlags",
            "publish_HGErrorcode",
            "publish_HGOutputConfig",
            "publish_HGRuntime",
            "publish_HGCrystalCurSpot",
            "publish_HGCrystalCurRuntime",
            "publish_HGCrystalMaxRuntime",
            "publish_HGCrystalAllRuntimes",
    };
    QStringList expected;
    for (const QString &name : names) {
        expected << name + QStringLiteral("(bool)") << name + QStringLiteral("()");
    }
    expected << QStringLiteral("slotLineReceived(QByteArray)")
             << QStringLiteral("slotConnectedStatus(bool)");
    for (const QString &name : names) {
        expected << QString(name).replace(QLatin1String("publish_"), QLatin1String("markStale_"))
                            + QStringLiteral("()");
    }

    QStringList declared;
    const QMetaObject &meta = VelutraResponseDecoder::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() == QMetaMethod::Slot) {
            QCOMPARE(method.access(), QMetaMethod::Public);
            declared.append(QString::fromLatin1(method.methodSignature()));
        }
    }
    QCOMPARE(declared, expected);
}

void TestResponseDecoder::metaTypesAreRegistered()
{
    VelutraResponseDecoder decoder;
    QVERIFY(QMetaType::type("SystemState") != QMetaType::UnknownType);
    QVERIFY(QMetaType::type("QMap<int,double>") != QMetaType::UnknownType);
    QVERIFY(QMetaType::type("QMap<int,quint64>") != QMetaType::UnknownType);
    QCOMPARE(QMetaType::type("SystemState"), qMetaTypeId<SystemState>());

    // A queued connection carries the state and both maps.
    QSignalSpy stateSpy(&decoder, &VelutraResponseDecoder::sigSystemStateChanged);
    QSignalSpy mapSpy(&decoder, &VelutraResponseDecoder::sigHGCrystalAllRuntimesChanged);
    SystemState received = SystemStateUnknown;
    connect(
            &decoder, &VelutraResponseDecoder::sigSystemStateChanged, this,
            [&received](SystemState state) { received = state; }, Qt::QueuedConnection);
    decoder.slotLineReceived("Standby = ok\n");
    decoder.slotLineReceived("ZEL THG\tAll runtimes=1 2 \n");
    QCOMPARE(stateSpy.count(), 1);
    QCOMPARE(mapSpy.count(), 1);
    QTRY_COMPARE(received, SystemStateStandby);
}

// Each row: lines fed into a fresh decoder, every signal they give (and nothing else), and
// what feeding the last line once more gives (the change filter: usually nothing). After
// slotConnectedStatus(false) the same lines must give the same signals again.
void TestResponseDecoder::lineKinds_data()
{
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QStringList>("repeated");

    auto row = [](const char *name, const QStringList &lines, const QStringList &expected,
                  const QStringList &repeated = {}) {
        QTest::newRow(name) << lines << expected << repeated;
    };
    auto error = [&row](const char *name, const QStringList &lines) {
        const QString bad = lines.last();
        QTest::newRow(name) << lines << QStringList{parsingError(bad)}
                            << QStringList{parsingError(bad)};
    };

    // System information block.
    row("model", {"Velutra-3 Hardware:1.2 Firmware:V5.0.2\n"},
        {"sigsVelutraTypeChanged(\"Velutra-3\")", "sigsHardwareVersionChanged(\"1.2\")",
         "sigsFirmwareVersionChanged(\"V5.0.2\")"});
    row("model with carriage return", {"Velutra-10 Hardware:2.0 Firmware:V6.1.0\r\n"},
        {"sigsVelutraTypeChanged(\"Velutra-10\")", "sigsHardwareVersionChanged(\"2.0\")",
         "sigsFirmwareVersionChanged(\"V6.1.0\r\")"});
    row("application with dots", {"SW.MAIN.VTX.MR.V5.3.1\n"},
        {"sigsApplicationNameChanged(\"SW.MAIN.VTX.MR.V5.3.1\")"});
    row("application with underscores", {"SW_MAIN_006_VTX\n"},
        {"sigsApplicationNameChanged(\"SW_MAIN_006_VTX\")"});
    row("compiled on", {"Compiled on: Mar 12 2021 10:11:12\n"},
        {"sigsCompilationDateTimeChanged(\"Mar 12 2021 10:11:12\")"});
    row("serial number", {"Serial number: VX3-000123\n"},
        {"sigsSerialNumberChanged(\"VX3-000123\")"});
    row("laser diode driver", {"LDD device - Hardware: 2.0, Software version: 1.7, Revision: 3\n"},
        {"sigsLDDDeviceHardwareChanged(\"2.0\")", "sigsLDDDeviceSoftwareChanged(\"1.7\")",
         "sigsLDDDeviceRevisionChanged(\"3\")"});
    row("temperature controller",
        {"TEC device - Hardware: 1.1, Software version: 2.2, Revision: 5\n"},
        {"sigsTECDeviceHardwareChanged(\"1.1\")", "sigsTECDeviceSoftwareChanged(\"2.2\")",
         "sigsTECDeviceRevisionChanged(\"5\")"});
    row("timing board", {"Timing Board S/N: TB-42; MCU T/B: 1.4; FPGA T/B: 2.8\n"},
        {"sigsTimingBoardSerialChanged(\"TB-42\")", "sigsTimingBoardMCUChanged(\"1.4\")",
         "sigsTimingBoardFPGAChanged(\"2.8\")"});
    row("switch-on time", {"Device switch on time (Standby and up): 12 hours 5 minutes\n"},
        {"sigsDeviceOnHoursChanged(\"12\")", "sigsDeviceOnMinutesChanged(\"5\")"});
    row("emission time", {"Laser Emission switch on time: 7 hours 59 minutes\n"},
        {"sigsDeviceEmissionHoursChanged(\"7\")", "sigsDeviceEmissionMinutesChanged(\"59\")"});
    row("texts are not trimmed", {"Serial number:  VX3 \n"},
        {"sigsSerialNumberChanged(\" VX3 \")"});

    // Module information block.
    row("module address and type",
        {"ZEL harmonic generation module (address: 0x21 / type: 0x8d THG)\n"},
        {"sigsHGModuleAddress(\"0x21\")", "sigsHGModuleType(\"0x8d THG\")"});
    row("module firmware", {"Firmware version:\t1.3.0\n"},
        {"sigsHGModuleFirwareVersion(\"1.3.0\")"});
    row("module bootloader", {"Bootloader version:\t0.9\n"},
        {"sigsHGModuleBootloaderVersion(\"0.9\")"});
    row("module serial", {"Module serial number:\tHG-7781\n"},
        {"sigsHGModuleSerialNumber(\"HG-7781\")"});
    row("pcb serial without module type", {"PCB serial number:\tPCB-0042\n"},
        {"sigsHGModulePCBSerialNumber(\"PCB-0042\")"});
    row("SHG module block", moduleBlock("0x86"),
        moduleBlockSignals("0x86") << "sigExistsSHGModule(true)");
    row("THG module block", moduleBlock("0x8d"),
        moduleBlockSignals("0x8d") << "sigExistsTHGModule(true)");
    row("SHGg module block", moduleBlock("0x90"),
        moduleBlockSignals("0x90") << "sigExistsSHGgModule(true)");
    row("THGi module block", moduleBlock("0x93"),
        moduleBlockSignals("0x93") << "sigExistsTHGiModule(true)");
    row("first type code wins", moduleBlock("0x93/0x86"),
        moduleBlockSignals("0x93/0x86") << "sigExistsSHGModule(true)");
    row("type codes are case-sensitive", moduleBlock("0x8D"), moduleBlockSignals("0x8D"));

    error("model without firmware", {"Velutra-3 Hardware:1.2\n"});
    error("application too short", {"SW.MAIN\n"});
    error("compiled on without blank", {"Compiled on:today\n"});
    error("serial number without blank", {"Serial number:VX3\n"});
    error("driver without fields", {"LDD device - broken\n"});
    error("controller without fields", {"TEC device - broken\n"});
    error("timing board without fields", {"Timing Board broken\n"});
    error("switch-on time without minutes", {"Device switch on time (Standby and up): 12 hours\n"});
    error("emission time without minutes", {"Laser Emission switch on time: 7 hours\n"});
    error("module address without type", {"ZEL harmonic generation module (address: 0x21)\n"});
    error("module firmware with blank", {"Firmware version: 1.3.0\n"});
    error("module bootloader with blank", {"Bootloader version: 0.9\n"});
    error("module serial with blank", {"Module serial number: HG\n"});
    error("pcb serial with blank", {"PCB serial number: PCB\n"});
    error("model without line feed", {"Velutra-3 Hardware:1.2 Firmware:V5.0.2"});

    // Status records.
    row("s6", {s_s6Line}, s_s6Signals);
    row("s7", {s_s7Line}, s_s7Signals);
    row("s8", {s_s8Line}, s_s8Signals);
    row("s9", {s9Line(42)}, s9Signals());
    row("s6 on old firmware tolerates a bad field",
        {"Velutra-3 Hardware:1.2 Firmware:V5.0.2\n", "s6 1234 56 789 12 1 x 0 0 0 0 0 0\n"},
        QStringList{"sigsVelutraTypeChanged(\"Velutra-3\")", "sigsHardwareVersionChanged(\"1.2\")",
                    "sigsFirmwareVersionChanged(\"V5.0.2\")"}
                + QStringList(s_s6Signals)
                          .replaceInStrings("LDD_initialisationChanged(1)",
                                            "LDD_initialisationChanged(0)"));
    row("s7 on old firmware tolerates a bad field",
        {"Velutra-3 Hardware:1.2 Firmware:V5.0.2\n", "s7 1 2 1 1 2048 1 3 n/a 0 0 0 0 0 0 0 385\n"},
        QStringList{"sigsVelutraTypeChanged(\"Velutra-3\")", "sigsHardwareVersionChanged(\"1.2\")",
                    "sigsFirmwareVersionChanged(\"V5.0.2\")"}
                + QStringList(s_s7Signals)
                          .replaceInStrings("PowerChanged(1.25)", "PowerChanged(0)"));
    row("s8 on old firmware tolerates a bad field",
        {"Velutra-3 Hardware:1.2 Firmware:V5.0.2\n",
         "s8 1 100 2.50 3.00 25.1 0.00 0.00 0.00 1 1 1500 -\n"},
        QStringList{"sigsVelutraTypeChanged(\"Velutra-3\")", "sigsHardwareVersionChanged(\"1.2\")",
                    "sigsFirmwareVersionChanged(\"V5.0.2\")"}
                + QStringList(s_s8Signals)
                          .replaceInStrings("MaxCurrentChanged(4.5)", "MaxCurrentChanged(0)"));
    error("s6 with 12 tokens", {"s6 1234 56 789 12 1 1 0 0 0 0 0\n"});
    error("s6 with 14 tokens", {"s6 1234 56 789 12 1 1 0 0 0 0 0 0 0\n"});
    error("s6 with a bad field", {"s6 1234 56 789 12 1 x 0 0 0 0 0 0\n"});
    error("s6 with a bad kept field", {"s6 1234 56 789 12 1 1 0 0 0 0 0 x\n"});
    error("s7 with 16 tokens", {"s7 1 2 1 1 2048 1 3 1.25 0 0 0 0 0 0 0\n"});
    error("s7 with a bad field", {"s7 1 2 1 1 2048 1 3 1.25.0 0 0 0 0 0 0 0 0\n"});
    error("s7 with a bad status word", {"s7 1 2 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 0x81\n"});
    error("s7 with a status word beyond int",
          {"s7 1 2 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 4294967296\n"});
    error("s8 with 12 tokens", {"s8 1 100 2.50 3.00 25.1 0.00 0.00 0.00 1 1 1500\n"});
    error("s8 with a bad field", {"s8 1 100 2.50 3.00 25.1 0.00 0.00 0.00 1 1 1500 x\n"});
    error("s9 with 41 tokens", {s9Line(41)});
    error("s9 with a bad field", {QString(s9Line(42)).replace(QStringLiteral(" 20.5 "), " x ")});
    error("s6 with double blanks", {"s6 1234  56 789 12 1 1 0 0 0 0 0\n"});
    row("s6 on new firmware with a bad field",
        {"Velutra-3 Hardware:1.2 Firmware:V6.0.0\n", "s6 1234 56 789 12 1 x 0 0 0 0 0 0\n"},
        {"sigsVelutraTypeChanged(\"Velutra-3\")", "sigsHardwareVersionChanged(\"1.2\")",
         "sigsFirmwareVersionChanged(\"V6.0.0\")",
         parsingError("s6 1234 56 789 12 1 x 0 0 0 0 0 0\n")},
        {parsingError("s6 1234 56 789 12 1 x 0 0 0 0 0 0\n")});
    row("s9 on old firmware has no leniency",
        {"Velutra-3 Hardware:1.2 Firmware:V5.0.2\n",
         QString(s9Line(42)).replace(QStringLiteral(" 20.5 "), " x ")},
        {"sigsVelutraTypeChanged(\"Velutra-3\")", "sigsHardwareVersionChanged(\"1.2\")",
         "sigsFirmwareVersionChanged(\"V5.0.2\")",
         parsingError(QString(s9Line(42)).replace(QStringLiteral(" 20.5 "), " x "))},
        {parsingError(QString(s9Line(42)).replace(QStringLiteral(" 20.5 "), " x "))});

    // Debug output and operating state.
    row("debugging disabled", {"Debugging on communication channel 2 disabled\n"},
        {"sigDebuggingStatusChanged(false)"});
    row("debugging enabled", {"Debugging on communication channel 2 enabled\n"},
        {"sigDebuggingStatusChanged(true)"});
    row("debug value written", {"Ok write 1 to debug Communication value to eeprom\n"}, {});
    row("listen ok", {"Listen = ok\n"}, {"sigSystemStateChanged(1)"});
    row("already listen", {"Already in Listen\n"}, {"sigSystemStateChanged(1)"});
    row("listen to standby", {"Listen -> Standby\n"}, {"sigSystemStateChanged(2)"});
    row("standby ok", {"Standby = ok\n"}, {"sigSystemStateChanged(3)"});
    row("already standby", {"Already Standby\n"}, {"sigSystemStateChanged(3)"});
    row("already standby then standby ok", {"Already Standby\n", "Standby = ok\n"},
        {"sigSystemStateChanged(3)"});
    row("standby to listen", {"Standby -> Listen\n"}, {"sigSystemStateChanged(4)"});
    row("standby to disabled", {"Standby -> disabled\n"}, {"sigSystemStateChanged(5)"});
    row("standby to enabled", {"Standby -> enabled\n"}, {"sigSystemStateChanged(6)"});
    row("disabled ok", {"Output disabled = ok\n"}, {"sigSystemStateChanged(7)"});
    row("already disabled", {"Already Disabled\n"}, {"sigSystemStateChanged(7)"});
    row("enabled ok", {"Output enabled = ok\n"}, {"sigSystemStateChanged(8)"});
    row("already enabled", {"Already Enabled\n"}, {"sigSystemStateChanged(8)"});
    row("disabled to standby", {"Output disabled -> Standby\n"}, {"sigSystemStateChanged(9)"});
    row("enabled to standby", {"Output enabled -> Standby\n"}, {"sigSystemStateChanged(10)"});
    row("disabled to listen", {"Output disabled -> Listen\n"}, {"sigSystemStateChanged(11)"});
    row("enabled to listen", {"Output enabled -> Listen\n"}, {"sigSystemStateChanged(12)"});
    row("state words are case-sensitive", {"Already disabled\n"}, {unhandled("Already disabled\n")},
        {unhandled("Already disabled\n")});

    // Power and repetition rate.
    row("power set-point in nJ", {"Setted laser power: 500nJ\n"},
        {"sigPowerSetting_nJ_Changed(500)"});
    row("power set-point in percent", {"Setted laser power in relative unit: 50.00\n"},
        {"sigPowerSetting_percent_Changed(50)"});
    row("power set-point texts are compared",
        {"Setted laser power in relative unit: 50.00\n",
         "Setted laser power in relative unit: 50.0\n"},
        {"sigPowerSetting_percent_Changed(50)", "sigPowerSetting_percent_Changed(50)"});
    row("frequency index", {"Frequency index parameter: 3\n"}, {"sigFrequencyIndexChanged(3)"});
    row("division factor for PCAOM", {"Notice: Division factor for PCAOM is 4\n"},
        {"sigDivisionFactorChanged(4)"});
    row("division factor", {"Notice: Division factor is 2\n"}, {"sigDivisionFactorChanged(2)"});
    row("output disabled", {"Laser output disabled\n"}, {"sigAOMChanged(false)"});
    row("output enabled", {"Laser output enabled\n"}, {"sigAOMChanged(true)"});
    error("power set-point not a number", {"Setted laser power: lots nJ\n"});
    error("percent set-point not a number", {"Setted laser power in relative unit: x\n"});
    error("frequency index not a number", {"Frequency index parameter: x\n"});
    error("division factor not a number", {"Notice: Division factor is four\n"});
    error("division factor for PCAOM not a number", {"Notice: Division factor for PCAOM is\n"});

    // Frequency-division table and power calibration.
    row("division row", {"0 3 PCPER 40\n"}, {"sigFrequencyDivListChanged({0:40})"});
    row("division rows", {"0 3 PCPER 40\n", "1 3 PCPER 20\n"},
        {"sigFrequencyDivListChanged({0:40})", "sigFrequencyDivListChanged({0:40,1:20})"});
    row("division row without divider", {"0 3 PCPER\n"}, {});
    row("division row with bad divider", {"0 3 PCPER x\n"}, {});
    row("division row without index", {" 3 PCPER 40\n"}, {});
    row("register dump row", {"ezra\n", "0 12 ERRRST 0x0000\n", "5 0 PCPER 40\n", "eira\n"}, {});
    row("calibration block",
        {"Coefficients for converting setted laser power to AOM value\n",
         "y=k*x + a; where k is index 0 and a is index 1\n",
         "y is AOM value 0-4095 and x is input laser power in nJ\n", "0 0 0.125\n", "0 1 12.5\n"},
        {"sigPowerSetting_nJ_RangeChanged(0.125,0)", "sigPowerSettingPercentRangeChanged(0,100)",
         "sigPowerSetting_nJ_RangeChanged(0.125,12.5)",
         "sigPowerSettingPercentRangeChanged(0,100)"});
    row("calibration row with other selector", {"0 2 0.5\n"}, {});
    row("calibration row with four tokens", {"0 0 0.5 1\n"}, {});
    row("calibration row with bad value", {"0 0 x\n"}, {});

    // Harmonic module.
    row("module state", {"ZEL HG\tCurrent FSM state=4\n"}, {"sigOvenModeChanged(4)"});
    row("SHG oven set-point", {"ZEL SHG\tOven Setpoint=150.0 C\tMin=20.0 C\tMax=200.0 C\n"},
        {"sigOven1TempSettingChanged(150)", "sigOven1TempSettingRangeChanged(20,200)"});
    row("SHG oven temperature", {"ZEL SHG\tOven Temperature=149.8 C\n"},
        {"sigOven1TempActualChanged(149.8)"});
    row("THG module SHG oven set-point",
        {"ZEL THG\tSHG Oven Setpoint=150.5 C\tMin=20.0 C\tMax=200.0 C\n"},
        {"sigOven1TempSettingChanged(150.5)", "sigOven1TempSettingRangeChanged(20,200)"});
    row("THG module SHG oven temperature", {"ZEL THG\tSHG Oven Temperature=149.9 C\n"},
        {"sigOven1TempActualChanged(149.9)"});
    row("THG oven set-point", {"ZEL THG\tTHG Oven Setpoint=60.5 C\tMin=20.0 C\tMax=90.0 C\n"},
        {"sigOven2TempSettingChanged(60.5)", "sigOven2TempSettingRangeChanged(20,90)"});
    row("THG oven temperature", {"ZEL THG\tTHG Oven Temperature=60.4 C\n"},
        {"sigOven2TempActualChanged(60.4)"});
    row("oven range changes alone",
        {"ZEL SHG\tOven Setpoint=150.0 C\tMin=20.0 C\tMax=200.0 C\n",
         "ZEL SHG\tOven Setpoint=150.0 C\tMin=20.0 C\tMax=190.0 C\n"},
        {"sigOven1TempSettingChanged(150)", "sigOven1TempSettingRangeChanged(20,200)",
         "sigOven1TempSettingRangeChanged(20,190)"});
    row("SHG humidity", {"ZEL SHG\tHumidity=30%\n"}, {"sigHumidityActualChanged(30)"});
    row("THG humidity truncated", {"ZEL THG\tHumidity=12.9%\n"}, {"sigHumidityActualChanged(12)"});
    row("position UV", {"ZEL SHG\tCurrent position=UV\n"}, {"sigPiezoPositionChanged(2)"});
    row("position IR", {"ZEL THG\tCurrent position=IR\n"}, {"sigPiezoPositionChanged(0)"});
    row("position GREEN", {"ZEL SHG\tCurrent position=GREEN\n"}, {"sigPiezoPositionChanged(1)"});
    row("position other", {"ZEL THG\tCurrent position=PARK\n"}, {"sigPiezoPositionChanged(2)"});
    row("gate open", {"Active digital gate logic:\tlogic LOW (no connection) = AOM OPEN\n"},
        {"sigDigitalGateChanged(0)"});
    row("gate closed", {"Active digital gate logic:\tlogic LOW (no connection) = AOM CLOSED\n"},
        {"sigDigitalGateChanged(1)"});
    row("switching disabled", {"ZEL HG\tDynamic wavelength switching disabled\n"},
        {"sigDynamicWavelengthFeatureChanged(0)"});
    row("switching enabled", {"ZEL HG\tDynamic wavelength switching enabled\n"},
        {"sigDynamicWavelengthFeatureChanged(1)"});
    row("switching not supported", {"ZEL HG\tDynamic wavelength switching feature disabled\n"},
        {"sigDynamicWavelengthFeatureSupported(false)"});
    row("switching supported", {"ZEL HG\tDynamic wavelength switching feature enabled\n"},
        {"sigDynamicWavelengthFeatureSupported(true)"});
    row("energy IR", {"   IR  Wavelength Index: 0  IR pulse energy = 2500\n"},
        {"sigDynamicWLS_IRChanged(2.5)"});
    row("energy green", {"  SHG  Wavelength Index: 1  IR pulse energy = 2500\n"},
        {"sigDynamicWLS_GreenChanged(2.5)"});
    row("energy UV", {"  THG  Wavelength Index: 2  IR pulse energy = 2300\n"},
        {"sigDynamicWLS_UVChanged(2.3)"});
    row("energy DUV", {"\tFHG\tWavelength\tIndex:\t3\tIR\tpulse\tenergy\t=\t2200\n"},
        {"sigDynamicWLS_DUVChanged(2.2)"});
    row("energy of unknown index", {"  FHG  Wavelength Index: 7  IR pulse energy = 2200\n"}, {});
    row("THG output power in W", {"ZEL THG Output power = 1.5W\n"},
        {"sigTHGOutputPowerChanged(1500)"});
    row("SHG output power in mW", {"ZEL SHG\tOutput power = 250 mW\n"},
        {"sigSHGOutputPowerChanged(250)"});
    row("status flags", {"ZEL HG\tStatus flags=1A\n"}, {"sigHGStatusFlagsChanged(26)"});
    row("status flags, all 16 set", {"ZEL HG\tStatus flags=FFFF\n"},
        {"sigHGStatusFlagsChanged(65535)"});
    row("error code", {"ZEL HG\tErrorcode=12\n"}, {"sigHGErrorcodeChanged(12)"});
    row("error code 255", {"ZEL HG\tErrorcode=255\n"}, {"sigHGErrorcodeChanged(255)"});
    row("output config", {"ZEL HG\tWL output config:\t0x0F\n"}, {"sigHGOutputConfigChanged(15)"});
    row("output config with blanks", {"ZELHG WL output config: 0x3\n"},
        {"sigHGOutputConfigChanged(3)"});
    row("SHG runtime", {"ZEL SHG\tRuntime=3600s\n"},
        {"sigsHGModuleRuntime(\"1 hours 0 minutes\")"});
    row("THG runtime", {"ZEL THG\tRuntime=123456s\n"},
        {"sigsHGModuleRuntime(\"34 hours 17 minutes\")"});
    row("crystal spot", {"ZEL THG\tCurrent crystal spot=1\n"}, {"sigHGCrystalCurSpotChanged(1)"});
    row("crystal runtime", {"ZEL THG\tCurrent runtime=7200s\n"},
        {"sigHGCrystalCurRuntimeChanged(7200)"});
    row("crystal max runtime", {"ZEL THG\tMax runtime=360000s\n"},
        {"sigHGCrystalMaxRuntimeChanged(360000)"});
    row("all runtimes", {"ZEL THG\tAll runtimes=10 20 30 \n"},
        {"sigHGCrystalAllRuntimesChanged({0:10,1:20,2:30})"});
    row("all runtimes without trailing blank", {"ZEL THG\tAll runtimes=10 20 30\n"},
        {"sigHGCrystalAllRuntimesChanged({0:10,1:20,2:30})"});
    row("shutter warning", {"ZEL HG\tShutter in wrong position.\n"},
        {"sigsHGModuleWarning(\"Shutter in wrong position\")"},
        {"sigsHGModuleWarning(\"Shutter in wrong position\")"});
    error("module state not a number", {"ZEL HG\tCurrent FSM state=idle\n"});
    error("module state without line feed", {"ZEL HG\tCurrent FSM state=4"});
    error("SHG set-point without max", {"ZEL SHG\tOven Setpoint=150.0 C\tMin=20.0 C\n"});
    error("SHG set-point not a number",
          {"ZEL SHG\tOven Setpoint=hot C\tMin=20.0 C\tMax=200.0 C\n"});
    error("SHG temperature without unit", {"ZEL SHG\tOven Temperature=149.8\n"});
    error("SHG temperature not a number", {"ZEL SHG\tOven Temperature=warm C\n"});
    error("THG module SHG set-point broken", {"ZEL THG\tSHG Oven Setpoint=1 C\n"});
    error("THG module SHG temperature broken", {"ZEL THG\tSHG Oven Temperature=x C\n"});
    error("THG set-point broken", {"ZEL THG\tTHG Oven Setpoint=1 C\n"});
    error("THG temperature broken", {"ZEL THG\tTHG Oven Temperature=x C\n"});
    error("SHG humidity without percent", {"ZEL SHG\tHumidity=30\n"});
    error("THG humidity not a number", {"ZEL THG\tHumidity=wet%\n"});
    error("humidity beyond int", {"ZEL THG\tHumidity=1e300%\n"});
    error("position without line feed", {"ZEL SHG\tCurrent position=UV"});
    error("energy line broken", {"  SHG  Wavelength Index: x\n"});
    error("output power not a number", {"ZEL SHG Output power = lots\n"});
    error("output power empty", {"ZEL SHG Output power =\n"});
    error("status flags not hexadecimal", {"ZEL HG\tStatus flags=zz\n"});
    error("error code not decimal", {"ZEL HG\tErrorcode=0x1\n"});
    // Never cut to 8 or 16 bits: error code 256 must not read as "no error".
    error("error code 256", {"ZEL HG\tErrorcode=256\n"});
    error("error code 258", {"ZEL HG\tErrorcode=258\n"});
    error("error code negative", {"ZEL HG\tErrorcode=-1\n"});
    error("status flags 10000", {"ZEL HG\tStatus flags=10000\n"});
    error("status flags 1FFFF", {"ZEL HG\tStatus flags=1FFFF\n"});
    error("status flags negative", {"ZEL HG\tStatus flags=-1\n"});
    error("output config without 0x", {"ZEL HG WL output config: 15\n"});
    error("output config not hexadecimal", {"ZEL HG WL output config: 0xZZ\n"});
    error("runtime without unit", {"ZEL SHG\tRuntime=12\n"});
    error("runtime not a number", {"ZEL THG\tRuntime=longs\n"});
    error("crystal spot not a number", {"ZEL THG\tCurrent crystal spot=one\n"});
    error("crystal spot negative", {"ZEL THG\tCurrent crystal spot=-1\n"});
    error("crystal runtime without unit", {"ZEL THG\tCurrent runtime=7200\n"});
    error("crystal max runtime not a number", {"ZEL THG\tMax runtime=xs\n"});
    error("all runtimes with bad token", {"ZEL THG\tAll runtimes=10 x 30 \n"});
    error("all runtimes empty", {"ZEL THG\tAll runtimes= \n"});

    // Lines nobody knows.
    row("unknown text", {"unknown text from the device\n"},
        {unhandled("unknown text from the device\n")},
        {unhandled("unknown text from the device\n")});
    row("empty line", {"\n"}, {unhandled("\n")}, {unhandled("\n")});
    row("nothing at all", {""}, {unhandled("")}, {unhandled("")});
    row("prefix that only looks like one", {"?AVGENGY = 12\n"}, {});

    // Echoes of commands that are on no list of known lines reach the operator's log like any
    // other line the decoder cannot place, each time they come.
    for (const char *echo : {"d2?\n", "d2=0\n", "ls_crystal_setSpot=3\n"}) {
        const QByteArray name = QByteArray("echo ") + QByteArray(echo).trimmed();
        row(name.constData(), {QString::fromLatin1(echo)}, {unhandled(QString::fromLatin1(echo))},
            {unhandled(QString::fromLatin1(echo))});
    }
}

void TestResponseDecoder::lineKinds()
{
    QFETCH(QStringList, lines);
    QFETCH(QStringList, expected);
    QFETCH(QStringList, repeated);

    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder, lines), expected);
    QCOMPARE(feed(decoder, recorder, {lines.last()}), repeated);

    // After a disconnection everything is news again.
    decoder.slotConnectedStatus(false);
    QCOMPARE(feed(decoder, recorder, lines), expected);
    // A connection report changes nothing.
    decoder.slotConnectedStatus(true);
    QCOMPARE(feed(decoder, recorder, {lines.last()}), repeated);
}

void TestResponseDecoder::ignoredLines_data()
{
    QTest::addColumn<QString>("line");
    for (const QString &line : s_ignoredLines) {
        QTest::newRow(qPrintable(line)) << line + QLatin1Char('\n');
        QTest::newRow(qPrintable(line + QStringLiteral(" with more"))) << line + "x\n";
    }
}

void TestResponseDecoder::ignoredLines()
{
    QFETCH(QString, line);
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder, {line, line}), QStringList());
}

// Near misses of known lines are not taken for them.
void TestResponseDecoder::knownSpellingsOnly_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("maximum spelt right") << "\tDisplays the maximum runtime in seconds\n";
    QTest::newRow("help text without tab") << "Displays the current output power\n";
    QTest::newRow("lower case model") << "velutra-3 Hardware:1.2 Firmware:V5.0.2\n";
    QTest::newRow("s9 tag inside a word") << "xs9 1 2\n";
    QTest::newRow("ZEL with blank") << "ZEL  HG\tStatus flags=1A\n";
    QTest::newRow("gate with other text")
            << "Active digital gate logic:\tlogic HIGH (no connection) = AOM OPEN\n";
}

void TestResponseDecoder::knownSpellingsOnly()
{
    QFETCH(QString, line);
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder, {line}), QStringList{unhandled(line)});
}

void TestResponseDecoder::forcedPublishEmitsEverything()
{
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    feed(decoder, recorder,
         {"Velutra-3 Hardware:1.2 Firmware:V5.0.2\n", s_s6Line,
          "ZEL SHG\tOven Setpoint=150.0 C\tMin=20.0 C\tMax=200.0 C\n",
          "Setted laser power: 500nJ\n", "ZEL THG\tRuntime=3600s\n"});

    decoder.publish_ly_system_info_Velutra(true);
    decoder.publish_s6(true);
    decoder.publish_Oven1TemperatureSetpoint(true);
    decoder.publish_PowerSetpoint_nJ(true);
    decoder.publish_HGRuntime(true);
    const QStringList expected = QStringList({"sigsVelutraTypeChanged(\"Velutra-3\")",
                                              "sigsHardwareVersionChanged(\"1.2\")",
                                              "sigsFirmwareVersionChanged(\"V5.0.2\")"})
                                 + s_s6Signals
                                 + QStringList({"sigOven1TempSettingChanged(150)",
                                                "sigOven1TempSettingRangeChanged(20,200)",
                                                "sigPowerSetting_nJ_Changed(500)",
                                                "sigsHGModuleRuntime(\"1 hours 0 minutes\")"});
    QCOMPARE(recorder.takeAll(), expected);

    // The invokable form without argument is the unforced one.
    QVERIFY(QMetaObject::invokeMethod(&decoder, "publish_s6"));
    QVERIFY(QMetaObject::invokeMethod(&decoder, "publish_s6", Q_ARG(bool, false)));
    QCOMPARE(recorder.takeAll(), QStringList());
    QVERIFY(QMetaObject::invokeMethod(&decoder, "publish_s6", Q_ARG(bool, true)));
    QCOMPARE(recorder.takeAll(), s_s6Signals);
}

void TestResponseDecoder::publishWithoutForceEmitsNothingNew()
{
    // Nothing parsed yet: publishing the power set-point text (empty) emits nothing, the
    // never-published values emit their start values once.
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    decoder.publish_PowerSetpoint_nJ();
    decoder.publish_PowerSetpoint_Percent(true);
    QCOMPARE(recorder.takeAll(), QStringList());
    decoder.publish_HGErrorcode();
    decoder.publish_HGErrorcode();
    decoder.publish_SystemState();
    QCOMPARE(recorder.takeAll(), QStringList({"sigHGErrorcodeChanged(0)"}));
}

void TestResponseDecoder::reconnectionRepublishesModuleBlock()
{
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    const QStringList expected = moduleBlockSignals("0x8d") << "sigExistsTHGModule(true)";
    QCOMPARE(feed(decoder, recorder, moduleBlock("0x8d")), expected);
    // The same block again on the same connection: nothing has changed.
    QCOMPARE(feed(decoder, recorder, moduleBlock("0x8d")), QStringList());
    decoder.slotConnectedStatus(false);
    QCOMPARE(feed(decoder, recorder, moduleBlock("0x8d")), expected);
}

void TestResponseDecoder::systemStateAfterReconnection()
{
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder, {"Listen = ok\n", "Listen = ok\n"}),
             QStringList{"sigSystemStateChanged(1)"});
    decoder.slotConnectedStatus(false);
    QCOMPARE(feed(decoder, recorder, {"Listen = ok\n"}), QStringList{"sigSystemStateChanged(1)"});
    // The debug flag republishes too, whatever it was.
    QCOMPARE(feed(decoder, recorder, {"Debugging on communication channel 2 enabled\n"}),
             QStringList{"sigDebuggingStatusChanged(true)"});
    decoder.slotConnectedStatus(false);
    QCOMPARE(feed(decoder, recorder, {"Debugging on communication channel 2 enabled\n"}),
             QStringList{"sigDebuggingStatusChanged(true)"});
}

void TestResponseDecoder::divisionTableRestartsAtIndexZero()
{
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    feed(decoder, recorder, {"0 3 PCPER 40\n", "1 3 PCPER 20\n", "2 3 PCPER 10\n"});
    QCOMPARE(feed(decoder, recorder, {"0 3 PCPER 40\n"}),
             QStringList{"sigFrequencyDivListChanged({0:40})"});
    QCOMPARE(feed(decoder, recorder, {"1 3 PCPER 20\n"}),
             QStringList{"sigFrequencyDivListChanged({0:40,1:20})"});
}

void TestResponseDecoder::calibrationFollowsFrequencyIndex()
{
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder,
                  {"Frequency index parameter: 3\n", "0 0 0.125\n", "0 1 12.5\n", "3 0 0.25\n",
                   "3 1 7.5\n"}),
             QStringList({"sigFrequencyIndexChanged(3)", "sigPowerSetting_nJ_RangeChanged(0,0)",
                          "sigPowerSettingPercentRangeChanged(0,100)",
                          "sigPowerSetting_nJ_RangeChanged(0,0)",
                          "sigPowerSettingPercentRangeChanged(0,100)",
                          "sigPowerSetting_nJ_RangeChanged(0.25,0)",
                          "sigPowerSettingPercentRangeChanged(0,100)",
                          "sigPowerSetting_nJ_RangeChanged(0.25,7.5)",
                          "sigPowerSettingPercentRangeChanged(0,100)"}));
    // The same rows again change nothing; a new table starts with key 0 selector 0.
    QCOMPARE(feed(decoder, recorder, {"3 1 7.5\n"}), QStringList());
    QCOMPARE(feed(decoder, recorder, {"0 0 0.125\n"}),
             QStringList({"sigPowerSetting_nJ_RangeChanged(0,0)",
                          "sigPowerSettingPercentRangeChanged(0,100)"}));
}

void TestResponseDecoder::registerDumpModeSwallowsRows()
{
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder, {"ezra\n", "0 3 PCPER 40\n", "1 4 AOMMODE 2\n"}),
             QStringList());
    QCOMPARE(feed(decoder, recorder, {"eira\n", "0 3 PCPER 40\n"}),
             QStringList{"sigFrequencyDivListChanged({0:40})"});
    // The echo of the query sets and clears the flag too.
    QCOMPARE(feed(decoder, recorder, {"ezra?\n", "1 3 PCPER 20\n", "eira?\n"}), QStringList());
}

void TestResponseDecoder::allRuntimesTakesAtMost32Spots()
{
    QStringList tokens;
    QStringList expected;
    for (int i = 0; i < 40; ++i) {
        tokens.append(QString::number(1000 + i));
        if (i < 32) {
            expected.append(QStringLiteral("%1:%2").arg(i).arg(1000 + i));
        }
    }
    tokens[35] = QStringLiteral("not-a-number"); // beyond spot 31: never read
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder,
                  {QStringLiteral("ZEL THG\tAll runtimes=") + tokens.join(' ') + " \n"}),
             QStringList{QStringLiteral("sigHGCrystalAllRuntimesChanged({%1})")
                                 .arg(expected.join(','))});
}

void TestResponseDecoder::nullAndEmbeddedNulBytes()
{
    VelutraResponseDecoder decoder;
    QSignalSpy unhandledSpy(&decoder, &VelutraResponseDecoder::sigUnhandledLineData);
    QSignalSpy serialSpy(&decoder, &VelutraResponseDecoder::sigsSerialNumberChanged);
    decoder.slotLineReceived(QByteArray());
    QCOMPARE(unhandledSpy.count(), 1);
    QVERIFY(unhandledSpy.at(0).at(0).toByteArray().isNull());
    // The text ends at a NUL byte, so the pattern misses its line feed.
    const QByteArray withNul("Serial number: A\0B\n", 19);
    QSignalSpy errorSpy(&decoder, &VelutraResponseDecoder::sigParsingError);
    decoder.slotLineReceived(withNul);
    QCOMPARE(errorSpy.count(), 1);
    QCOMPARE(errorSpy.at(0).at(0).toByteArray(), withNul);
    QCOMPARE(serialSpy.count(), 0);
}

void TestResponseDecoder::hostileLinesDoNotHang()
{
    // Long lines full of the patterns' own delimiters, every byte value, no line ends.
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QElapsedTimer timer;
    timer.start();
    const QByteArray hostile[] = {
            QByteArray(100000, 'x'),
            QByteArray("Listen") + QByteArray(20000, '=') + "ok",
            QByteArray("Output ") + QByteArray(5000, 'd') + "disabled -> " + QByteArray(5000, '-'),
            QByteArray("ZEL SHG\tOven Setpoint=") + QByteArray(20000, ' ') + " C\tMin=",
            QByteArray("s9") + QByteArray(50000, ' '),
            QByteArray(30000, ' ') + "IR Wavelength Index: 1",
            QByteArray("0 0 ") + QByteArray(50000, '0'),
    };
    for (const QByteArray &line : hostile) {
        decoder.slotLineReceived(line);
    }
    QByteArray every;
    for (int c = 0; c < 256; ++c) {
        every.append(char(c));
    }
    decoder.slotLineReceived(every);
    QVERIFY2(timer.elapsed() < 20000, "hostile lines took too long");
    // Every line was answered (unhandled, parsing error or a value), none was lost.
    QVERIFY(recorder.recorded().size() >= int(sizeof(hostile) / sizeof(hostile[0])) + 1);
}

void TestResponseDecoder::tablesAreBounded()
{
    // A device counting rows up forever must not make the tables grow forever.
    VelutraResponseDecoder decoder;
    QSignalSpy divisionSpy(&decoder, &VelutraResponseDecoder::sigFrequencyDivListChanged);
    QSignalSpy rangeSpy(&decoder, &VelutraResponseDecoder::sigPowerSetting_nJ_RangeChanged);
    for (int row = 1; row <= 3000; ++row) {
        decoder.slotLineReceived(QByteArray::number(row) + " 3 PCPER 40\n");
        decoder.slotLineReceived(QByteArray::number(row) + " 1 0.5\n");
    }
    QCOMPARE(divisionSpy.count(), 1024);
    using DivisionList = QMap<int, double>;
    QCOMPARE(divisionSpy.last().at(0).value<DivisionList>().size(), 1024);
    QCOMPARE(rangeSpy.count(), 1024);
    // Known rows still update, and row 0 starts a new table.
    decoder.slotLineReceived("5 3 PCPER 20\n");
    QCOMPARE(divisionSpy.last().at(0).value<DivisionList>().value(5), 20.0);
    decoder.slotLineReceived("0 3 PCPER 40\n");
    QCOMPARE(divisionSpy.last().at(0).value<DivisionList>().size(), 1);
}

// The status word is the last token of s7; the controller gets its low 8 bits.
void TestResponseDecoder::statusWord_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<int>("published");
    QTest::newRow("zero") << "0" << 0;
    QTest::newRow("ready bits") << "232" << 232;
    QTest::newRow("255") << "255" << 255;
    QTest::newRow("256 keeps its low byte") << "256" << 0;
    QTest::newRow("385 keeps its low byte") << "385" << 129;
    QTest::newRow("negative") << "-1" << 255;
    QTest::newRow("largest int") << "2147483647" << 255;
}

void TestResponseDecoder::statusWord()
{
    QFETCH(QString, word);
    QFETCH(int, published);
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    const QStringList emitted = feed(decoder, recorder, {s7Line(1, word)});
    QCOMPARE(emitted.size(), s_s7Signals.size());
    QCOMPARE(emitted.last(), QStringLiteral("siguiTmpChar2Changed(%1)").arg(published));
}

void TestResponseDecoder::statusWordComesLastAndFollowsChanges()
{
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder, {s7Line(1, "385")}), s_s7Signals);
    QCOMPARE(feed(decoder, recorder, {s7Line(1, "385")}), QStringList());
    QCOMPARE(feed(decoder, recorder, {s7Line(1, "386")}), QStringList{"siguiTmpChar2Changed(130)"});
    // The same low byte is no news.
    QCOMPARE(feed(decoder, recorder, {s7Line(1, "130")}), QStringList());
    // With another member changing, the status word still comes last.
    QCOMPARE(feed(decoder, recorder, {s7Line(0, "3")}),
             QStringList({"sigiLaserEmmisionChanged(0)", "siguiTmpChar2Changed(3)"}));
    QCOMPARE(feed(decoder, recorder, {s7Line(1, "3")}), QStringList{"sigiLaserEmmisionChanged(1)"});

    // Forced, and after a reconnection, the whole record again with the status word last.
    decoder.publish_s7(true);
    QCOMPARE(recorder.takeAll(), QStringList(s_s7Signals).replaceInStrings("(129)", "(3)"));
    decoder.slotConnectedStatus(false);
    QCOMPARE(feed(decoder, recorder, {s7Line(1, "3")}),
             QStringList(s_s7Signals).replaceInStrings("(129)", "(3)"));
    QCOMPARE(feed(decoder, recorder, {s7Line(1, "3")}), QStringList());
}

void TestResponseDecoder::everyPublishGroupHasAStaleMark()
{
    QStringList groups;
    QStringList marks;
    const QMetaObject &meta = VelutraResponseDecoder::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        const QString signature = QString::fromLatin1(method.methodSignature());
        if (signature.startsWith(QLatin1String("publish_")) && signature.endsWith("(bool)")) {
            groups.append(signature.mid(8).chopped(6));
        } else if (signature.startsWith(QLatin1String("markStale_"))) {
            QCOMPARE(method.methodType(), QMetaMethod::Slot);
            QCOMPARE(method.access(), QMetaMethod::Public);
            QVERIFY(signature.endsWith(QLatin1String("()")));
            marks.append(signature.mid(10).chopped(2));
        }
    }
    QCOMPARE(groups.size(), 51);
    QCOMPARE(marks, groups);

    // A stale mark only changes what counts as news; it never says anything itself.
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    feed(decoder, recorder,
         QStringList{"Velutra-3 Hardware:1.2 Firmware:V6.0.0\n", s_s6Line, s_s7Line, s_s8Line,
                     s9Line(42), "Standby = ok\n", "Frequency index parameter: 3\n",
                     "ZEL THG\tAll runtimes=10 20 30 \n", "ZEL HG\tErrorcode=12\n"}
                 + moduleBlock("0x8d"));
    for (const QString &group : groups) {
        const QByteArray slot = "markStale_" + group.toLatin1();
        QVERIFY(QMetaObject::invokeMethod(&decoder, slot.constData()));
    }
    QCOMPARE(recorder.takeAll(), QStringList());
}

// Each row: a group, the lines of its reply, what they give the first time and what they
// give again after the group was marked stale. In between, the same lines again give
// nothing, and a reply of another group (s6) is not republished by the mark.
void TestResponseDecoder::markStaleRepublishesOneGroup_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QStringList>("first");
    QTest::addColumn<QStringList>("afterMark");

    auto row = [](const char *group, const QStringList &lines, const QStringList &first,
                  const QStringList &afterMark) {
        QTest::newRow(group) << QString::fromLatin1(group) << lines << first << afterMark;
    };
    auto same = [&row](const char *group, const QStringList &lines, const QStringList &first) {
        row(group, lines, first, first);
    };

    same("ly_system_info_Velutra", {"Velutra-10 Hardware:2.0 Firmware:V6.1.0\n"},
         {"sigsVelutraTypeChanged(\"Velutra-10\")", "sigsHardwareVersionChanged(\"2.0\")",
          "sigsFirmwareVersionChanged(\"V6.1.0\")"});
    same("ly_system_info_DeviceOnTime",
         {"Device switch on time (Standby and up): 12 hours 5 minutes\n"},
         {"sigsDeviceOnHoursChanged(\"12\")", "sigsDeviceOnMinutesChanged(\"5\")"});
    // The module kind is published with the last line of the module block, so it comes
    // again with that line.
    row("ls_info_PCBSerialNumber", moduleBlock("0x8d"),
        moduleBlockSignals("0x8d") << "sigExistsTHGModule(true)",
        {"sigsHGModulePCBSerialNumber(\"PCB-0042\")", "sigExistsTHGModule(true)"});
    row("ls_info_ModuleAddrType", moduleBlock("0x8d"),
        moduleBlockSignals("0x8d") << "sigExistsTHGModule(true)",
        {"sigsHGModuleAddress(\"0x21\")", "sigsHGModuleType(\"0x8d\")"});
    same("s7", {s_s7Line}, s_s7Signals);
    same("s9", {s9Line(42)}, s9Signals());
    same("DebuggingStatus", {"Debugging on communication channel 2 enabled\n"},
         {"sigDebuggingStatusChanged(true)"});
    same("SystemState", {"Standby = ok\n"}, {"sigSystemStateChanged(3)"});
    same("PowerSetpoint_nJ", {"Setted laser power: 500nJ\n"}, {"sigPowerSetting_nJ_Changed(500)"});
    same("PowerSetpoint_Percent", {"Setted laser power in relative unit:42.5\n"},
         {"sigPowerSetting_percent_Changed(42.5)"});
    same("FrequencyIndex", {"Frequency index parameter: 3\n"}, {"sigFrequencyIndexChanged(3)"});
    same("FrequencyDivList", {"0 0 PCPER 4\n"}, {"sigFrequencyDivListChanged({0:4})"});
    same("Oven1TemperatureSetpoint", {"ZEL SHG\tOven Setpoint=150.0 C\tMin=20.0 C\tMax=200.0 C\n"},
         {"sigOven1TempSettingChanged(150)", "sigOven1TempSettingRangeChanged(20,200)"});
    same("Oven2TemperatureSetpoint",
         {"ZEL THG\tTHG Oven Setpoint=90.5 C\tMin=30.0 C\tMax=120.0 C\n"},
         {"sigOven2TempSettingChanged(90.5)", "sigOven2TempSettingRangeChanged(30,120)"});
    same("DynamicWLS_Green", {"  SHG  Wavelength Index: 1  IR pulse energy = 2500\n"},
         {"sigDynamicWLS_GreenChanged(2.5)"});
    same("HGStatusFlags", {"ZEL HG\tStatus flags=1A\n"}, {"sigHGStatusFlagsChanged(26)"});
    same("HGErrorcode", {"ZEL HG\tErrorcode=12\n"}, {"sigHGErrorcodeChanged(12)"});
    same("HGRuntime", {"ZEL THG\tRuntime=3600s\n"}, {"sigsHGModuleRuntime(\"1 hours 0 minutes\")"});
    same("HGCrystalCurSpot", {"ZEL THG\tCurrent crystal spot=1\n"},
         {"sigHGCrystalCurSpotChanged(1)"});
    same("HGCrystalAllRuntimes", {"ZEL THG\tAll runtimes=10 20 30 \n"},
         {"sigHGCrystalAllRuntimesChanged({0:10,1:20,2:30})"});
}

void TestResponseDecoder::markStaleRepublishesOneGroup()
{
    QFETCH(QString, group);
    QFETCH(QStringList, lines);
    QFETCH(QStringList, first);
    QFETCH(QStringList, afterMark);

    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    QCOMPARE(feed(decoder, recorder, {s_s6Line}), s_s6Signals);
    QCOMPARE(feed(decoder, recorder, lines), first);
    QCOMPARE(feed(decoder, recorder, lines), QStringList());

    const QByteArray slot = "markStale_" + group.toLatin1();
    QVERIFY(QMetaObject::invokeMethod(&decoder, slot.constData()));
    QCOMPARE(recorder.takeAll(), QStringList());
    QCOMPARE(feed(decoder, recorder, {s_s6Line}), QStringList());
    QCOMPARE(feed(decoder, recorder, lines), afterMark);
    // Published again; the change filter is back.
    QCOMPARE(feed(decoder, recorder, lines), QStringList());
}

void TestResponseDecoder::markStaleKeepsLatestValues()
{
    // A mark followed by an unforced publish gives the last values received.
    VelutraResponseDecoder decoder;
    SignalRecorder recorder(&decoder);
    feed(decoder, recorder,
         {s_s7Line, "Frequency index parameter: 3\n", "ZEL THG\tAll runtimes=10 20 \n",
          "Setted laser power: 500nJ\n", "Standby = ok\n"});

    decoder.markStale_s7();
    decoder.markStale_FrequencyIndex();
    decoder.markStale_HGCrystalAllRuntimes();
    decoder.markStale_PowerSetpoint_nJ();
    QCOMPARE(recorder.takeAll(), QStringList());
    decoder.publish_s7();
    decoder.publish_FrequencyIndex();
    decoder.publish_HGCrystalAllRuntimes();
    decoder.publish_PowerSetpoint_nJ();
    QCOMPARE(recorder.takeAll(),
             s_s7Signals
                     + QStringList({"sigFrequencyIndexChanged(3)",
                                    "sigHGCrystalAllRuntimesChanged({0:10,1:20})",
                                    "sigPowerSetting_nJ_Changed(500)"}));
    // Groups not marked stay quiet.
    decoder.publish_SystemState();
    decoder.publish_FrequencyIndex();
    QCOMPARE(recorder.takeAll(), QStringList());
}

QTEST_GUILESS_MAIN(TestResponseDecoder)

#include "tst_responsedecoder.moc"
