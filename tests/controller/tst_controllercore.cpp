#include "_applog.h"
#include "guiwidget.h"
#include "maincontrolpanel.h"
#include "signalrecorder.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QMetaMethod>
#include <QPointer>
#include <QSettings>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

#include <climits>
#include <memory>

namespace {

QString flag(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString visibility(const char *signal, bool value)
{
    return QStringLiteral("%1(%2)").arg(QLatin1String(signal), flag(value));
}

QString settingsCommand(const QString &command)
{
    return QStringLiteral("sigAppendSettingsCommand(\"%1\")").arg(command);
}

QString monitorCommand(const QString &command)
{
    return QStringLiteral("sigAddMonitorCommand(\"%1\")").arg(command);
}

QString removedMonitorCommand(const QString &command)
{
    return QStringLiteral("sigDelMonitorCommand(\"%1\")").arg(command);
}

QString applicationName(const QString &name)
{
    return QStringLiteral("setApplicationName(\"%1\")").arg(name);
}

const QStringList s_baseList = {
        QStringLiteral("sigClrAllMonitorCommands()"),
        monitorCommand(QStringLiteral("s6\n")),
        monitorCommand(QStringLiteral("s7\n")),
        monitorCommand(QStringLiteral("s8\n")),
        monitorCommand(QStringLiteral("s9\n")),
        monitorCommand(QStringLiteral("ly_vtx2_power?\n")),
        monitorCommand(QStringLiteral("e_power?\n")),
        monitorCommand(QStringLiteral("e_freq?\n")),
        monitorCommand(QStringLiteral("e_div?\n")),
};

const QStringList s_connectQueries = {
        settingsCommand(QStringLiteral("d2?\n")),
        settingsCommand(QStringLiteral("ezra?\n")),
        settingsCommand(QStringLiteral("eira?\n")),
};

// What every firmware-id check emits: the plain-laser reset, the firmware's wavelengths
// (none in AOM mode 8) and the operating-mode presentation of the AOM mode.
QStringList firmwareCheck(bool queriesModuleInfo, bool entry0, bool entry1, bool entry2,
                          int aomMode)
{
    QStringList list = {
            visibility("setPowerMeasuredIR_uJVisibility", true),
            visibility("setPowerMeasuredGreen_uJVisibility", false),
            visibility("setPowerMeasuredUV_uJVisibility", false),
            visibility("setPowerMeasuredDUV_uJVisibility", false),
            visibility("setWavelengthSelectorComboVisibility", false),
            QStringLiteral("enableWavelengths(false,false,false)"),
            visibility("setHGModuleInfoVisibility", false),
            visibility("setHGSettingsPageVisibility", false),
            visibility("setOvenFaultIndicatorVisibility", false),
            visibility("setHumidityFaultIndicatorVisibility", false),
            visibility("setErrorcodeHGIndicatorVisible", false),
            visibility("setDigitalGateVisible", true),
            settingsCommand(QStringLiteral("ly_vtx2_digiop?\n")),
            visibility("setDynamicWavelengthFeatureVisibility", false),
            visibility("setOutEnableOnVisible", false),
    };
    if (queriesModuleInfo) {
        list << settingsCommand(QStringLiteral("ls?\n"));
    }
    if (aomMode == 8) {
        list << QStringLiteral("enableWavelengths(false,false,false)");
    } else {
        list << QStringLiteral("enableWavelengths(%1,%2,%3)")
                        .arg(flag(entry0), flag(entry1), flag(entry2));
    }
    const int index = aomMode == 3 ? 1 : aomMode == 8 ? 2 : 0;
    list << QStringLiteral("setOperatingMode(%1)").arg(index)
         << visibility("setPowerSliderVisibility", index == 0)
         << visibility("setRepRateSliderVisibility", index != 2)
         << visibility("setDivisionSliderVisibility", index != 2);
    return list;
}

// One column of the module table, step by step.
struct ModuleColumn
{
    bool humidity; // humidity monitor shown and polled
    QString enableQuery; // module enable polled
    bool oven2; // second oven shown
    bool crystal; // crystal position shown and polled
};

const ModuleColumn s_shgColumn = {true, QStringLiteral("ls_enable?\n"), false, false};
const ModuleColumn s_thgColumn = {false, QStringLiteral("ls_enable?"), true, true};
const ModuleColumn s_thgiColumn = {true, QStringLiteral("ls_enable?"), true, true};

QStringList moduleStep(int step, const ModuleColumn &column)
{
    switch (step) {
    case 1:
        return {settingsCommand(QStringLiteral("ls_output_config?\n"))};
    case 2:
        return {visibility("setWavelengthSelectorComboVisibility", true),
                visibility("setHGModuleInfoVisibility", true),
                visibility("setHGSettingsPageVisibility", true),
                visibility("setOvenFaultIndicatorVisibility", true),
                visibility("setHumidityFaultIndicatorVisibility", true),
                visibility("setErrorcodeHGIndicatorVisible", true)};
    case 3:
        return {visibility("setHumidityMonitorVisibility", column.humidity)};
    case 4:
        return column.humidity ? QStringList{monitorCommand(QStringLiteral("ls_humidity?\n"))}
                               : QStringList{};
    case 5:
        return {visibility("setOvenModeVisibility", false)};
    case 6:
        return {monitorCommand(column.enableQuery)};
    case 7:
        return {visibility("setOven1TempSetpointVisibility", true),
                visibility("setOven1TempActualVisibility", true)};
    case 8:
        return {visibility("setOven2TempSetpointVisibility", column.oven2),
                visibility("setOven2TempActualVisibility", column.oven2)};
    case 9:
        return {monitorCommand(QStringLiteral("ls_temp_setpoint?\n")),
                monitorCommand(QStringLiteral("ls_temp_oven?\n"))};
    case 10:
        return {settingsCommand(QStringLiteral("ls_dwls_feature?"))};
    case 11:
        return {visibility("setOutEnableOnVisible", true)};
    case 12:
        return {monitorCommand(QStringLiteral("ly_vtx2_output?\n"))};
    case 13:
        return {visibility("setCrystalPositionVisibility", column.crystal)};
    case 14:
        if (!column.crystal) {
            return {};
        }
        return {monitorCommand(QStringLiteral("ls_crystal_allRuntimes?\n")),
                monitorCommand(QStringLiteral("ls_crystal_curSpot?\n")),
                monitorCommand(QStringLiteral("ls_crystal_curRuntime?\n")),
                monitorCommand(QStringLiteral("ls_crystal_maxRuntime?\n"))};
    case 15:
        return {monitorCommand(QStringLiteral("ls_wavelength?\n")),
                monitorCommand(QStringLiteral("ls_status?\n")),
                monitorCommand(QStringLiteral("ls_errorcode?\n")),
                monitorCommand(QStringLiteral("ls_output_power?\n")),
                monitorCommand(QStringLiteral("ls_module_runtime?\n"))};
    default:
        return {};
    }
}

QStringList fullModuleList(const ModuleColumn &column)
{
    QStringList list;
    for (int step = 1; step <= 16; ++step) {
        list << moduleStep(step, column);
    }
    return list;
}

QStringList moduleVisibility(const ModuleColumn &column)
{
    QStringList list;
    for (int step : {2, 3, 5, 7, 8, 11, 13}) {
        list << moduleStep(step, column);
    }
    return list;
}

// The output-configuration visibilities, bit 0 IR ... bit 3 DUV.
QStringList outputConfigVisibility(int config)
{
    const bool ir = config & 1;
    const bool green = config & 2;
    const bool uv = config & 4;
    const bool duv = config & 8;
    return {visibility("setPowerMeasuredGreen_uJVisibility", green),
            visibility("setPowerMeasuredUV_uJVisibility", uv),
            visibility("setPowerMeasuredDUV_uJVisibility", duv),
            visibility("setDynamicWLS_IR_Visibility", ir),
            visibility("setDynamicWLS_Green_Visibility", green),
            visibility("setDynamicWLS_UV_Visibility", uv),
            visibility("setDynamicWLS_DUV_Visibility", duv),
            visibility("setOutputPowerIRMeasuredWVisibility", true),
            visibility("setOutputPowerGreenMeasuredWVisibility", green),
            visibility("setOutputPowerUVMeasuredWVisibility", uv),
            visibility("setOutputPowerDUVMeasuredWVisibility", duv),
            QStringLiteral("setWavelengthSelectorComboItemVisibility(0,%1)").arg(flag(ir)),
            QStringLiteral("setWavelengthSelectorComboItemVisibility(1,%1)").arg(flag(green)),
            QStringLiteral("setWavelengthSelectorComboItemVisibility(2,%1)").arg(flag(uv)),
            QStringLiteral("setWavelengthSelectorComboItemVisibility(3,%1)").arg(flag(duv))};
}

QSettings programSettings()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope,
                     QCoreApplication::organizationName(), QCoreApplication::applicationName());
}

// A controller with nothing attached, and everything it emits.
struct Rig
{
    Rig()
        : controller(new VelutraController(nullptr, nullptr, nullptr, nullptr))
        , recorder(controller.get())
    { }

    QStringList take() { return recorder.takeAll(); }

    std::unique_ptr<VelutraController> controller;
    SignalRecorder recorder;
};

QStringList loggedLines(const QSignalSpy &spy)
{
    QStringList lines;
    for (const QList<QVariant> &arguments : spy) {
        lines << arguments.at(0).toString();
    }
    return lines;
}

bool isSetCommand(const QString &emission)
{
    return emission.startsWith(QLatin1String("sigAppendSettingsCommand("))
           && !emission.endsWith(QLatin1String("?\n\")"))
           && !emission.endsWith(QLatin1String("?\")"));
}

// The handler's cyclic list as the recorded commands leave it.
QStringList applyMonitorCommands(QStringList list, const QStringList &emissions)
{
    static const QRegularExpression s_command(QStringLiteral("^(sig\\w+)\\(\"?(.*?)\"?\\)$"),
                                              QRegularExpression::DotMatchesEverythingOption);
    for (const QString &emission : emissions) {
        const QRegularExpressionMatch match = s_command.match(emission);
        if (!match.hasMatch()) {
            continue;
        }
        if (match.captured(1) == QLatin1String("sigClrAllMonitorCommands")) {
            list.clear();
        } else if (match.captured(1) == QLatin1String("sigAddMonitorCommand")) {
            list << match.captured(2);
        } else if (match.captured(1) == QLatin1String("sigDelMonitorCommand")) {
            list.removeAll(match.captured(2));
        }
    }
    return list;
}

} // namespace

class TestControllerCore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void systemType_data();
    void systemType();
    void firmwareId_data();
    void firmwareId();
    void aomModeReport_data();
    void aomModeReport();
    void aomModeEightSendsNoSetCommand();

    void moduleList_data();
    void moduleList();
    void moduleListTwiceAddsItTwice();
    void checkShowsTheModuleAgain_data();
    void checkShowsTheModuleAgain();
    void checkShowsTheOutputConfigurationAgain();
    void checkAfterReconnectionForgetsTheModule();
    void dynamicWavelengthFeature_data();
    void dynamicWavelengthFeature();

    void mainLoopStates();
    void mainLoopRestsWhileNothingChanges();
    void mainLoopTurnsByItself();
    void reconnectionKeepsOneCopyOfEachBaseCommand();
    void panelWidgetGoneIsRebuilt();
    void panelTakesTheWidget();
    void panelDeletedBeforeTheController();
    void panelDeletedBeforeTheFirstTurn();

    void manualCommand_data();
    void manualCommand();
    void delayedDigitalOutputQuery();
    void delayedQueryAfterTheDivisionChange();
    void logLines_data();
    void logLines();
    void debuggingStatus_data();
    void debuggingStatus();
    void debugOutputReportedTwiceIsSwitchedOffTwice();

    void settingsDefaults();
    void settingsRoundTrip_data();
    void settingsRoundTrip();
    void systemInfoViewIsPersisted();

    void nullPointersNeverCrash();
    void hostileValues();
};

void TestControllerCore::initTestCase()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Zelmar"));
    QCoreApplication::setApplicationName(QStringLiteral("VELUTRA-XP"));
    QVERIFY(_AppLog::instance());
}

void TestControllerCore::init()
{
    QSettings settings = programSettings();
    settings.clear();
    settings.sync();
}

// ---- Detection ----------------------------------------------------------------------------

void TestControllerCore::systemType_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<bool>("known");
    QTest::addColumn<QString>("wavelengthCommand");

    QTest::newRow("Velutra-10 XP is not a Velutra-2")
            << QStringLiteral("Velutra-10 XP") << true << QStringLiteral("ly_vtx_wvl 1\n");
    QTest::newRow("Velutra-10") << QStringLiteral("Velutra-10") << true
                                << QStringLiteral("ly_vtx_wvl 1\n");
    QTest::newRow("Velutra-3 upper case")
            << QStringLiteral("VELUTRA-3") << true << QStringLiteral("ly_vtx_wvl 1\n");
    QTest::newRow("Velutra-2") << QStringLiteral("Velutra-2 Hardware:1.0") << true
                               << QStringLiteral("ly_vtx2_wvl 1\n");
    QTest::newRow("velutra-2 lower case")
            << QStringLiteral("velutra-2") << true << QStringLiteral("ly_vtx2_wvl 1\n");
    QTest::newRow("unknown model")
            << QStringLiteral("Velutra-7") << false << QStringLiteral("ly_vtx_wvl 1\n");
    QTest::newRow("empty") << QString() << false << QStringLiteral("ly_vtx_wvl 1\n");
}

void TestControllerCore::systemType()
{
    QFETCH(QString, type);
    QFETCH(bool, known);
    QFETCH(QString, wavelengthCommand);

    Rig rig;
    QSignalSpy log(_AppLog::instance(), &_AppLog::lineWritten);
    rig.controller->slotsVelutraTypeChanged(type);
    QCOMPARE(rig.take(), QStringList{QStringLiteral("setVelutraType(\"%1\")").arg(type)});
    if (known) {
        QCOMPARE(loggedLines(log), QStringList{});
    } else {
        QCOMPARE(log.count(), 1);
        QVERIFY(loggedLines(log).first().endsWith(
                QStringLiteral("Unknown system type connected: %1").arg(type)));
    }

    // The system type shows in the wavelength command.
    rig.controller->wavelengthChanged(1);
    QCOMPARE(rig.take(), QStringList{settingsCommand(wavelengthCommand)});
}

namespace {

void firmwareRows()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("aomMode");
    QTest::addColumn<bool>("known");
    QTest::addColumn<QStringList>("check");

    struct Row
    {
        const char *label;
        const char *name;
        bool known;
        bool moduleInfo;
        bool entries[3];
    };
    // clang-format off
    const Row rows[] = {
        {"MR.V1",             "SW.MAIN.VTX.MR.V1",           true,  false, {false, false, false}},
        {"MR.V1 with build",  "SW.MAIN.VTX.MR.V1.0.3 build", true,  false, {false, false, false}},
        {"V1",                "SW.MAIN.VTX.V1",              true,  false, {false, false, false}},
        {"MR.MW2.V1",         "SW.MAIN.VTX.MR.MW2.V1",       true,  false, {false, true,  true}},
        {"MR.MW3.V1",         "SW.MAIN.VTX.MR.MW3.V1",       true,  false, {true,  true,  true}},
        {"MR.V5",             "SW.MAIN.VTX.MR.V5",           true,  true,  {false, false, false}},
        {"006",               "SW_MAIN_006_VTX 2.1",         true,  true,  {false, false, false}},
        {"unknown",           "SW.MAIN.OTHER.V1",            false, false, {true,  true,  true}},
        {"lower case",        "sw.main.vtx.mr.v1",           false, false, {true,  true,  true}},
        {"id not at start",   " SW.MAIN.VTX.V1",             false, false, {true,  true,  true}},
        {"empty",             "",                            false, false, {true,  true,  true}},
    };
    // clang-format on
    for (const Row &row : rows) {
        for (int mode : {0, 3, 8}) {
            QTest::addRow("%s, AOM mode %d", row.label, mode)
                    << QString::fromLatin1(row.name) << mode << row.known
                    << firmwareCheck(row.moduleInfo, row.entries[0], row.entries[1], row.entries[2],
                                     mode);
        }
    }
    for (int mode : {2, -1, INT_MAX, INT_MIN}) {
        QTest::addRow("MR.MW2.V1, AOM mode %d", mode)
                << QStringLiteral("SW.MAIN.VTX.MR.MW2.V1") << mode << true
                << firmwareCheck(false, false, true, true, mode);
    }
}

} // namespace

void TestControllerCore::firmwareId_data()
{
    firmwareRows();
}

void TestControllerCore::firmwareId()
{
    QFETCH(QString, name);
    QFETCH(int, aomMode);
    QFETCH(bool, known);
    QFETCH(QStringList, check);

    Rig rig;
    rig.controller->slotiModeOfOperationAOMChanged(aomMode);
    rig.take();
    QSignalSpy log(_AppLog::instance(), &_AppLog::lineWritten);
    rig.controller->slotsApplicationNameChanged(name);
    QCOMPARE(rig.take(), check + QStringList{applicationName(name)});
    if (known) {
        QCOMPARE(loggedLines(log), QStringList{});
    } else {
        QCOMPARE(log.count(), 1);
        QVERIFY(loggedLines(log).first().endsWith(
                QStringLiteral("Unknown application type connected: %1").arg(name)));
    }
}

void TestControllerCore::aomModeReport_data()
{
    firmwareRows();
}

void TestControllerCore::aomModeReport()
{
    QFETCH(QString, name);
    QFETCH(int, aomMode);
    QFETCH(QStringList, check);

    Rig rig;
    rig.controller->slotsApplicationNameChanged(name);
    rig.take();
    QSignalSpy log(_AppLog::instance(), &_AppLog::lineWritten);
    rig.controller->slotiModeOfOperationAOMChanged(aomMode);
    QCOMPARE(rig.take(), check);
    QCOMPARE(loggedLines(log), QStringList{});
}

void TestControllerCore::aomModeEightSendsNoSetCommand()
{
    Rig rig;
    rig.controller->slotsApplicationNameChanged(QStringLiteral("SW.MAIN.VTX.MR.MW3.V1"));
    rig.take();
    rig.controller->decoder()->slotLineReceived("s7 1 8 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 0\n");
    const QStringList emitted = rig.take();
    QVERIFY2(emitted.contains(QStringLiteral("setOperatingMode(2)")),
             qPrintable(emitted.join(u'|')));
    QVERIFY(emitted.contains(visibility("setPowerSliderVisibility", false)));
    QVERIFY(emitted.contains(visibility("setRepRateSliderVisibility", false)));
    QVERIFY(emitted.contains(visibility("setDivisionSliderVisibility", false)));
    for (const QString &emission : emitted) {
        QVERIFY2(!isSetCommand(emission), qPrintable(emission));
    }
}

// ---- Module lists -------------------------------------------------------------------------

void TestControllerCore::moduleList_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("SHG") << QByteArray("slotExistsSHGModule") << fullModuleList(s_shgColumn);
    QTest::newRow("SHGg") << QByteArray("slotExistsSHGgModule") << fullModuleList(s_shgColumn);
    QTest::newRow("THG") << QByteArray("slotExistsTHGModule") << fullModuleList(s_thgColumn);
    QTest::newRow("THGi") << QByteArray("slotExistsTHGiModule") << fullModuleList(s_thgiColumn);
}

void TestControllerCore::moduleList()
{
    QFETCH(QByteArray, slot);
    QFETCH(QStringList, expected);

    for (bool value : {true, false}) {
        Rig rig;
        QVERIFY(QMetaObject::invokeMethod(rig.controller.get(), slot.constData(),
                                          Q_ARG(bool, value)));
        QCOMPARE(rig.take(), expected);
    }
}

void TestControllerCore::moduleListTwiceAddsItTwice()
{
    Rig rig;
    rig.controller->slotExistsTHGiModule(true);
    rig.controller->slotExistsTHGiModule(true);
    QCOMPARE(rig.take(), fullModuleList(s_thgiColumn) + fullModuleList(s_thgiColumn));
}

void TestControllerCore::checkShowsTheModuleAgain_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<int>("supported"); // -1 never reported, 0 no, 1 yes, 2 yes then no
    QTest::addColumn<QStringList>("visibilitySteps");

    const struct
    {
        const char *label;
        const char *slot;
        const ModuleColumn *column;
    } modules[] = {
            {"SHG", "slotExistsSHGModule", &s_shgColumn},
            {"SHGg", "slotExistsSHGgModule", &s_shgColumn},
            {"THG", "slotExistsTHGModule", &s_thgColumn},
            {"THGi", "slotExistsTHGiModule", &s_thgiColumn},
    };
    for (const auto &module : modules) {
        for (int supported : {-1, 0, 1, 2}) {
            QTest::addRow("%s, dynamic wavelength %d", module.label, supported)
                    << QByteArray(module.slot) << supported << moduleVisibility(*module.column);
        }
    }
}

void TestControllerCore::checkShowsTheModuleAgain()
{
    QFETCH(QByteArray, slot);
    QFETCH(int, supported);
    QFETCH(QStringList, visibilitySteps);

    const QString name = QStringLiteral("SW.MAIN.VTX.MR.V5");
    Rig rig;
    rig.controller->slotsApplicationNameChanged(name);
    QVERIFY(QMetaObject::invokeMethod(rig.controller.get(), slot.constData(), Q_ARG(bool, true)));
    if (supported >= 0) {
        rig.controller->slotDynamicWavelengthFeatureSupported(supported != 0);
    }
    if (supported == 2) {
        rig.controller->slotDynamicWavelengthFeatureSupported(false);
    }
    rig.take();
    const QStringList dynamicWavelength
            = supported == 1
                      ? QStringList{visibility("setDynamicWavelengthFeatureVisibility", true)}
                      : QStringList{};

    for (int mode : {3, 8, 0}) {
        rig.controller->slotiModeOfOperationAOMChanged(mode);
        QCOMPARE(rig.take(), firmwareCheck(true, false, false, false, mode) + visibilitySteps
                                     + dynamicWavelength);
    }
    // A new application name does the same, all before the name reaches the view.
    rig.controller->slotsApplicationNameChanged(name);
    QCOMPARE(rig.take(), firmwareCheck(true, false, false, false, 0) + visibilitySteps
                                 + dynamicWavelength + QStringList{applicationName(name)});
}

void TestControllerCore::checkShowsTheOutputConfigurationAgain()
{
    Rig rig;
    rig.controller->slotsApplicationNameChanged(QStringLiteral("SW_MAIN_006_VTX"));
    rig.controller->slotExistsTHGModule(true);
    rig.controller->slotDynamicWavelengthFeatureSupported(true);
    rig.take();
    rig.controller->slotHGOutputConfigChanged(0x05);
    const QStringList configuration = outputConfigVisibility(0x05);
    QCOMPARE(rig.take(), configuration);

    rig.controller->slotiModeOfOperationAOMChanged(3);
    QCOMPARE(rig.take(),
             firmwareCheck(true, false, false, false, 3) + moduleVisibility(s_thgColumn)
                     + configuration
                     + QStringList{visibility("setDynamicWavelengthFeatureVisibility", true)});
}

void TestControllerCore::checkAfterReconnectionForgetsTheModule()
{
    Rig rig;
    VelutraController &controller = *rig.controller;
    controller.slotMainLoop();
    controller.slotConnectedStatus(true);
    controller.slotMainLoop();
    controller.slotsApplicationNameChanged(QStringLiteral("SW.MAIN.VTX.MR.V5"));
    controller.slotExistsSHGModule(true);
    controller.slotDynamicWavelengthFeatureSupported(true);
    controller.slotConnectedStatus(false);
    controller.slotMainLoop();
    controller.slotMainLoop();
    rig.take();
    // Whatever laser answers now reports its own module, if it has one.
    controller.slotiModeOfOperationAOMChanged(0);
    QCOMPARE(rig.take(), firmwareCheck(true, false, false, false, 0));
}

void TestControllerCore::dynamicWavelengthFeature_data()
{
    QTest::addColumn<bool>("supported");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("supported") << true
                               << QStringList{
                                          visibility("setDynamicWavelengthFeatureVisibility", true),
                                          monitorCommand(QStringLiteral("ls_dwls_enable?\n")),
                                          monitorCommand(QStringLiteral("ls_dwls_default?\n"))};
    QTest::newRow("not supported")
            << false
            << QStringList{visibility("setDynamicWavelengthFeatureVisibility", false),
                           removedMonitorCommand(QStringLiteral("ls_dwls_enable?\n")),
                           removedMonitorCommand(QStringLiteral("ls_dwls_default?\n"))};
}

void TestControllerCore::dynamicWavelengthFeature()
{
    QFETCH(bool, supported);
    QFETCH(QStringList, expected);

    Rig rig;
    rig.controller->slotDynamicWavelengthFeatureSupported(supported);
    QCOMPARE(rig.take(), expected);
}

// ---- Main loop and panel ------------------------------------------------------------------

void TestControllerCore::mainLoopStates()
{
    Rig rig;
    VelutraController &controller = *rig.controller;
    QVERIFY(!controller.panelWidget());

    // State 0: the panel and the base list, before the link is up.
    controller.slotMainLoop();
    QCOMPARE(rig.take(), QStringList{visibility("setSystemInfoView", false)} + s_baseList);
    QVERIFY(controller.panelWidget());
    QVERIFY(controller.view());
    QVERIFY(controller.remoteControl());
    QVERIFY(!controller.panelWidget()->isEnabled());

    // State 1 waits for the link.
    controller.slotMainLoop();
    controller.slotMainLoop();
    QCOMPARE(rig.take(), QStringList{});

    controller.slotConnectedStatus(true);
    QCOMPARE(rig.take(), QStringList{});
    controller.slotMainLoop();
    QCOMPARE(rig.take(), s_connectQueries);
    QVERIFY(controller.panelWidget()->isEnabled());

    // State 2 holds while connected.
    controller.slotMainLoop();
    QCOMPARE(rig.take(), QStringList{});

    controller.slotConnectedStatus(false);
    controller.slotMainLoop();
    QCOMPARE(rig.take(), QStringList{});
    QVERIFY(!controller.panelWidget()->isEnabled());

    // Back in state 0: the same widget, the base list again.
    QPointer<GUIWidget> widget = controller.panelWidget();
    controller.slotMainLoop();
    QCOMPARE(rig.take(), s_baseList);
    QCOMPARE(controller.panelWidget(), widget.data());

    controller.slotConnectedStatus(true);
    controller.slotMainLoop();
    QCOMPARE(rig.take(), s_connectQueries);
    QVERIFY(controller.panelWidget()->isEnabled());
}

namespace {

// How often the GUI thread's event loop wakes up during the next windowMs.
int wakeUpsWithin(int windowMs)
{
    int wakeUps = 0;
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    const QMetaObject::Connection counting = QObject::connect(
            dispatcher, &QAbstractEventDispatcher::awake, [&wakeUps] { ++wakeUps; });
    // The window is what is measured here, not a wait for something to happen. QTest::qWait
    // would not do: it wakes every 10 ms of its own accord.
    QEventLoop window;
    QTimer::singleShot(windowMs, &window, &QEventLoop::quit);
    window.exec();
    QObject::disconnect(counting);
    return wakeUps;
}

} // namespace

void TestControllerCore::mainLoopRestsWhileNothingChanges()
{
    // A turn of the loop that has nothing to do still wakes the GUI thread; a hundred of
    // them a second cost more than everything else the program does while it polls.
    static constexpr int WindowMs = 500;
    // Waking every 10 ms would give 50 in the window; the few left over belong to Qt.
    static constexpr int RestingWakeUps = 10;
    Rig rig;
    QTimer::singleShot(10, rig.controller.get(), &VelutraController::slotMainLoop);
    QTRY_COMPARE(rig.recorder.recorded().size(), 1 + s_baseList.size());
    rig.take();

    // Waiting for the link.
    int wakeUps = wakeUpsWithin(WindowMs);
    QVERIFY2(wakeUps < RestingWakeUps, qPrintable(QString::number(wakeUps)));

    // The link comes up: the loop wakes by itself, asks its questions once, then rests.
    rig.controller->slotConnectedStatus(true);
    QTRY_COMPARE(rig.recorder.recorded(), s_connectQueries);
    rig.take();
    QVERIFY(rig.controller->panelWidget()->isEnabled());
    wakeUps = wakeUpsWithin(WindowMs);
    QVERIFY2(wakeUps < RestingWakeUps, qPrintable(QString::number(wakeUps)));
    QCOMPARE(rig.take(), QStringList{});

    // A line nobody knows opens a log episode, and the loop turns until it can be summed up.
    rig.controller->slotUnhandledLineData("no such reply");
    wakeUps = wakeUpsWithin(WindowMs);
    QVERIFY2(wakeUps >= RestingWakeUps, qPrintable(QString::number(wakeUps)));

    // The link goes down: the loop notices without being asked.
    rig.controller->slotConnectedStatus(false);
    QTRY_VERIFY(!rig.controller->panelWidget()->isEnabled());
    QTRY_COMPARE(rig.recorder.recorded(), s_baseList);
}

void TestControllerCore::mainLoopTurnsByItself()
{
    Rig rig;
    QTimer::singleShot(10, rig.controller.get(), &VelutraController::slotMainLoop);
    QTRY_COMPARE(rig.recorder.recorded().size(), 1 + s_baseList.size());
    rig.take();
    rig.controller->slotConnectedStatus(true);
    QTRY_COMPARE(rig.recorder.recorded(), s_connectQueries);
    rig.take();
    rig.controller->slotConnectedStatus(false);
    QTRY_COMPARE(rig.recorder.recorded(), s_baseList);
    QVERIFY(!rig.controller->panelWidget()->isEnabled());
}

void TestControllerCore::reconnectionKeepsOneCopyOfEachBaseCommand()
{
    Rig rig;
    VelutraController &controller = *rig.controller;
    QStringList wire;
    QStringList polled;
    for (int connection = 0; connection < 3; ++connection) {
        controller.slotMainLoop(); // state 0
        controller.slotMainLoop(); // state 1, waiting
        controller.slotConnectedStatus(true);
        controller.slotMainLoop(); // state 2
        controller.slotExistsTHGiModule(true);
        controller.slotConnectedStatus(false);
        controller.slotMainLoop(); // back to 0
        const QStringList emitted = rig.take();
        polled = applyMonitorCommands(polled, emitted);
        wire << emitted.filter(QStringLiteral("sigAppendSettingsCommand(\""));
    }
    controller.slotMainLoop();
    polled = applyMonitorCommands(polled, rig.take());
    QCOMPARE(polled, (QStringList{QStringLiteral("s6\n"), QStringLiteral("s7\n"),
                                  QStringLiteral("s8\n"), QStringLiteral("s9\n"),
                                  QStringLiteral("ly_vtx2_power?\n"), QStringLiteral("e_power?\n"),
                                  QStringLiteral("e_freq?\n"), QStringLiteral("e_div?\n")}));
    for (const QString &query : s_connectQueries) {
        QCOMPARE(wire.count(query), 3);
    }
}

void TestControllerCore::panelWidgetGoneIsRebuilt()
{
    Rig rig;
    VelutraController &controller = *rig.controller;
    controller.slotMainLoop();
    rig.take();
    delete controller.panelWidget();
    QVERIFY(!controller.panelWidget());
    QVERIFY(!controller.view());
    QVERIFY(!controller.remoteControl());

    // Still in state 1: nothing is rebuilt until the loop is back in state 0.
    controller.slotConnectedStatus(true);
    controller.slotMainLoop();
    QCOMPARE(rig.take(), s_connectQueries);
    controller.slotConnectedStatus(false);
    controller.slotMainLoop();
    controller.slotMainLoop();
    QCOMPARE(rig.take(), QStringList{visibility("setSystemInfoView", false)} + s_baseList);
    QVERIFY(controller.panelWidget());
    QVERIFY(controller.view());
}

void TestControllerCore::panelTakesTheWidget()
{
    MainControlPanel panel;
    QPointer<GUIWidget> widget;
    {
        VelutraController controller(nullptr, &panel, nullptr, nullptr);
        controller.slotMainLoop();
        widget = controller.panelWidget();
        QVERIFY(widget);
        QCOMPARE(panel.mainControl(), widget.data());
        QVERIFY(panel.isAncestorOf(widget));
    }
    // The panel, not the controller, owns the widget.
    QVERIFY(widget);
    QCOMPARE(panel.mainControl(), widget.data());
}

void TestControllerCore::panelDeletedBeforeTheController()
{
    auto *panel = new MainControlPanel;
    VelutraController controller(nullptr, panel, nullptr, nullptr);
    controller.slotMainLoop();
    QVERIFY(controller.panelWidget());
    delete panel;
    QVERIFY(!controller.panelWidget());
    QVERIFY(!controller.view());

    // Back in state 0 the widget is rebuilt but shown nowhere: the controller keeps it.
    controller.slotConnectedStatus(true);
    controller.slotMainLoop();
    controller.slotConnectedStatus(false);
    controller.slotMainLoop();
    controller.slotMainLoop();
    QVERIFY(controller.panelWidget());
    QVERIFY(!controller.panelWidget()->parent());
}

void TestControllerCore::panelDeletedBeforeTheFirstTurn()
{
    auto *panel = new MainControlPanel;
    VelutraController controller(nullptr, panel, nullptr, nullptr);
    delete panel;
    controller.slotMainLoop();
    QVERIFY(controller.panelWidget());
    QVERIFY(!controller.panelWidget()->parent());
    // The leak checker watches that the controller deletes it.
}

// ---- Manual commands, delayed query, log, debugging ----------------------------------------

void TestControllerCore::manualCommand_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("NUL ends the text")
            << QByteArray("abc\0def", 7) << QStringList{settingsCommand(QStringLiteral("abc"))};
    QTest::newRow("query unchanged")
            << QByteArray("ly_vtx2_power?\n")
            << QStringList{settingsCommand(QStringLiteral("ly_vtx2_power?\n"))};
    QTest::newRow("no line feed added")
            << QByteArray("e_mode 3") << QStringList{settingsCommand(QStringLiteral("e_mode 3"))};
    QTest::newRow("carriage return kept")
            << QByteArray("s7\r\n") << QStringList{settingsCommand(QStringLiteral("s7\r\n"))};
    QTest::newRow("Latin-1") << QByteArray("\xb5J\n")
                             << QStringList{settingsCommand(QString::fromLatin1("\xb5J\n"))};
    // Nothing to send is still handed on: the handler ignores an empty text.
    QTest::newRow("empty") << QByteArray() << QStringList{settingsCommand(QString())};
    QTest::newRow("NUL first") << QByteArray("\0abc", 4) << QStringList{settingsCommand(QString())};
    const QByteArray huge(100000, 'a');
    QTest::newRow("huge") << huge << QStringList{settingsCommand(QString::fromLatin1(huge))};
}

void TestControllerCore::manualCommand()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QStringList, expected);

    Rig rig;
    rig.controller->slotSendManualCommand(bytes);
    QCOMPARE(rig.take(), expected);
}

void TestControllerCore::delayedDigitalOutputQuery()
{
    Rig rig;
    rig.controller->appendDelayed_digiop_Command();
    QCOMPARE(rig.take(), QStringList{settingsCommand(QStringLiteral("ly_vtx2_digiop?\n"))});
}

void TestControllerCore::delayedQueryAfterTheDivisionChange()
{
    Rig rig;
    QElapsedTimer clock;
    qint64 queryAt = -1;
    qint64 referenceAt = -1;
    connect(rig.controller.get(), &VelutraController::sigAppendSettingsCommand,
            rig.controller.get(), [&](const QString &command) {
                if (command == QLatin1String("ly_vtx2_digiop?\n") && queryAt < 0) {
                    queryAt = clock.elapsed();
                }
            });
    clock.start();
    rig.controller->divisionChanged(5.0);
    // A timer of the same length started alongside tells how late this machine runs.
    QTimer::singleShot(1000, rig.controller.get(), [&] { referenceAt = clock.elapsed(); });
    QCOMPARE(rig.take(), QStringList{settingsCommand(QStringLiteral("e_div 5\n"))});

    QSignalSpy queued(rig.controller.get(), &VelutraController::sigAppendSettingsCommand);
    QVERIFY(!queued.wait(800)); // 800 ms: not yet
    QTRY_VERIFY_WITH_TIMEOUT(queryAt >= 0 && referenceAt >= 0, 5000);
    QVERIFY2(queryAt >= 1000, qPrintable(QString::number(queryAt)));
    // 1300 ms: sent, give or take what the machine adds to any timer.
    QVERIFY2(queryAt <= qMax<qint64>(1300, referenceAt + 300),
             qPrintable(QStringLiteral("%1 ms, reference %2 ms").arg(queryAt).arg(referenceAt)));
    QCOMPARE(rig.take(), QStringList{settingsCommand(QStringLiteral("ly_vtx2_digiop?\n"))});
}

void TestControllerCore::logLines_data()
{
    QTest::addColumn<bool>("parsingError");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("expected");

    QTest::newRow("unhandled") << false << QByteArray("hello laser")
                               << QStringLiteral("Velutra message: hello laser");
    QTest::newRow("unhandled Latin-1") << false
                                       << QByteArray("\xb0"
                                                     "C")
                                       << QString::fromLatin1("Velutra message: \xb0"
                                                              "C");
    QTest::newRow("unhandled empty")
            << false << QByteArray() << QStringLiteral("Velutra message: ");
    QTest::newRow("parsing error")
            << true << QByteArray("s7 x y") << QStringLiteral("Parsing error: s7 x y");
    // A line cut from an endless stream would choke the log page: its start and its length.
    QTest::newRow("unhandled 64 KiB") << false << QByteArray(65536, 'x')
                                      << QStringLiteral("Velutra message: %1… (65536 bytes)")
                                                 .arg(QString(200, QLatin1Char('x')));
}

void TestControllerCore::logLines()
{
    QFETCH(bool, parsingError);
    QFETCH(QByteArray, line);
    QFETCH(QString, expected);

    Rig rig;
    QSignalSpy log(_AppLog::instance(), &_AppLog::lineWritten);
    if (parsingError) {
        rig.controller->slotParsingError(line);
    } else {
        rig.controller->slotUnhandledLineData(line);
    }
    QCOMPARE(log.count(), 1);
    QVERIFY2(loggedLines(log).first().endsWith(expected), qPrintable(loggedLines(log).first()));
    QCOMPARE(rig.take(), QStringList{});
}

void TestControllerCore::debuggingStatus_data()
{
    QTest::addColumn<bool>("on");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("on") << true << QStringList{settingsCommand(QStringLiteral("d2=0\n"))};
    QTest::newRow("off") << false << QStringList{};
}

void TestControllerCore::debuggingStatus()
{
    QFETCH(bool, on);
    QFETCH(QStringList, expected);

    Rig rig;
    rig.controller->slotDebuggingStatusChanged(on);
    QCOMPARE(rig.take(), expected);
}

void TestControllerCore::debugOutputReportedTwiceIsSwitchedOffTwice()
{
    Rig rig;
    VelutraResponseDecoder *decoder = rig.controller->decoder();
    const QByteArray report("Debugging on communication channel 1 enabled\n");
    decoder->slotLineReceived(report);
    QCOMPARE(rig.take(), QStringList{settingsCommand(QStringLiteral("d2=0\n"))});
    decoder->slotLineReceived("Debugging on communication channel 1 disabled\n");
    QCOMPARE(rig.take(), QStringList{});
    // The device kept its debug output on although it was told to stop: tell it again.
    decoder->slotLineReceived(report);
    QCOMPARE(rig.take(), QStringList{settingsCommand(QStringLiteral("d2=0\n"))});
    decoder->slotLineReceived(report);
    QCOMPARE(rig.take(), QStringList{settingsCommand(QStringLiteral("d2=0\n"))});
}

// ---- Settings -----------------------------------------------------------------------------

void TestControllerCore::settingsDefaults()
{
    {
        Rig rig;
        rig.controller->slotMainLoop();
        QCOMPARE(rig.take().first(), visibility("setSystemInfoView", false));
    }
    QSettings settings = programSettings();
    QCOMPARE(settings.childKeys(),
             (QStringList{QStringLiteral("powerSetIndex"), QStringLiteral("reprateScaleIndex"),
                          QStringLiteral("viewSystemInfo")}));
    QCOMPARE(settings.value(QStringLiteral("viewSystemInfo")).toBool(), false);
    QCOMPARE(settings.value(QStringLiteral("powerSetIndex")).toInt(), 0);
    QCOMPARE(settings.value(QStringLiteral("reprateScaleIndex")).toInt(), 0);
}

void TestControllerCore::settingsRoundTrip_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<bool>("systemInfoView");
    QTest::addColumn<int>("powerSetIndex");
    QTest::addColumn<int>("repRateScaleIndex");

    QTest::newRow("read key") << QVariantMap{{QStringLiteral("repRateScaleIndex"), 3}} << false << 0
                              << 3;
    QTest::newRow("written key") << QVariantMap{{QStringLiteral("reprateScaleIndex"), 2}} << false
                                 << 0 << 2;
    QTest::newRow("upper case key")
            << QVariantMap{{QStringLiteral("REPRATESCALEINDEX"), 4}} << false << 0 << 4;
    QTest::newRow("read key wins") << QVariantMap{{QStringLiteral("repRateScaleIndex"), 1},
                                                  {QStringLiteral("reprateScaleIndex"), 5}}
                                   << false << 0 << 1;
    QTest::newRow("other key is not it")
            << QVariantMap{{QStringLiteral("repRateScaleIndexOld"), 6}} << false << 0 << 0;
    QTest::newRow("not a number") << QVariantMap{{QStringLiteral("repRateScaleIndex"),
                                                  QStringLiteral("fast")}}
                                  << false << 0 << 0;
    QTest::newRow("all three") << QVariantMap{{QStringLiteral("viewSystemInfo"), true},
                                              {QStringLiteral("powerSetIndex"), 1},
                                              {QStringLiteral("reprateScaleIndex"), 2}}
                               << true << 1 << 2;
}

void TestControllerCore::settingsRoundTrip()
{
    QFETCH(QVariantMap, stored);
    QFETCH(bool, systemInfoView);
    QFETCH(int, powerSetIndex);
    QFETCH(int, repRateScaleIndex);

    {
        QSettings settings = programSettings();
        for (auto i = stored.cbegin(); i != stored.cend(); ++i) {
            settings.setValue(i.key(), i.value());
        }
        settings.sync();
    }
    {
        Rig rig;
        rig.controller->slotMainLoop();
        QCOMPARE(rig.take().first(), visibility("setSystemInfoView", systemInfoView));
    }
    QSettings settings = programSettings();
    QStringList keys = settings.childKeys();
    keys.removeAll(QStringLiteral("repRateScaleIndexOld"));
    QCOMPARE(keys,
             (QStringList{QStringLiteral("powerSetIndex"), QStringLiteral("reprateScaleIndex"),
                          QStringLiteral("viewSystemInfo")}));
    QCOMPARE(settings.value(QStringLiteral("viewSystemInfo")).toBool(), systemInfoView);
    QCOMPARE(settings.value(QStringLiteral("powerSetIndex")).toInt(), powerSetIndex);
    QCOMPARE(settings.value(QStringLiteral("reprateScaleIndex")).toInt(), repRateScaleIndex);
}

void TestControllerCore::systemInfoViewIsPersisted()
{
    for (bool visible : {true, false}) {
        {
            Rig rig;
            rig.controller->systemInfoViewChanged(visible);
            QCOMPARE(rig.take(), QStringList{});
        }
        Rig rig;
        rig.controller->slotMainLoop();
        QCOMPARE(rig.take().first(), visibility("setSystemInfoView", visible));
    }
}

// ---- Robustness ---------------------------------------------------------------------------

void TestControllerCore::nullPointersNeverCrash()
{
    auto controller = std::make_unique<VelutraController>(nullptr, nullptr, nullptr, nullptr);
    for (int turn = 0; turn < 6; ++turn) {
        controller->slotConnectedStatus(turn % 3 != 0);
        controller->slotMainLoop();
    }
    controller->slotsVelutraTypeChanged(QStringLiteral("Velutra-3"));
    controller->slotsApplicationNameChanged(QStringLiteral("SW.MAIN.VTX.MR.V5"));
    controller->slotExistsSHGgModule(true);
    controller->slotDynamicWavelengthFeatureSupported(true);
    controller->slotiModeOfOperationAOMChanged(8);
    controller->slotDebuggingStatusChanged(true);
    controller->slotSendManualCommand("s7\n");
    controller->appendDelayed_digiop_Command();
    controller->slotUnhandledLineData("?");
    controller->slotParsingError("?");
    controller->systemInfoViewChanged(true);
    // The whole decoder through the controller, lines of every kind.
    VelutraResponseDecoder *decoder = controller->decoder();
    decoder->slotConnectedStatus(true);
    for (const QByteArray &line :
         {QByteArray("ly_system_info\n"), QByteArray("Velutra-10 Hardware:1.0 Firmware:V5.1.0\n"),
          QByteArray("s7 1 3 1 1 2048 1 3 1.25 0 0 0 0 0 0 0 0\n"), QByteArray("s9 1 2 3\n"),
          QByteArray("garbage\n")}) {
        decoder->slotLineReceived(line);
    }
    decoder->slotConnectedStatus(false);
    QTest::qWait(30);
    controller.reset();
}

void TestControllerCore::hostileValues()
{
    Rig rig;
    const QString huge(1 << 20, QLatin1Char('V'));
    rig.controller->slotsVelutraTypeChanged(huge);
    QCOMPARE(rig.take(), QStringList{QStringLiteral("setVelutraType(\"%1\")").arg(huge)});
    rig.controller->slotsApplicationNameChanged(huge);
    QCOMPARE(rig.take(),
             firmwareCheck(false, true, true, true, 0) + QStringList{applicationName(huge)});
    const QString withNul = QStringLiteral("SW.MAIN.VTX.V1") + QChar(0) + QStringLiteral("x");
    rig.controller->slotsApplicationNameChanged(withNul);
    QCOMPARE(rig.take(),
             firmwareCheck(false, false, false, false, 0) + QStringList{applicationName(withNul)});
}

QTEST_MAIN(TestControllerCore)
#include "tst_controllercore.moc"
