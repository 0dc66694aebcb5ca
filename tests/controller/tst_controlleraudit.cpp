// The operator's log as an audit trail: every command the operator causes is written in words
// with its value and unit and the command text, every change of the operating state and of the
// error and warning lamps is written as the device reports it, and nothing the program sends by
// itself is written as if the operator had asked for it.

#include "_applog.h"
#include "velutracontroller.h"

#include <QtTest>

#include <functional>

using Action = std::function<void(VelutraController &)>;
Q_DECLARE_METATYPE(Action)

namespace {

// The log line without its time stamp.
QString message(const QString &stampedLine)
{
    const int gap = stampedLine.indexOf(QStringLiteral("  "));
    return gap < 0 ? stampedLine : stampedLine.mid(gap + 2);
}

// A controller with nothing attached, the lines it writes and the commands it queues.
struct Rig
{
    Rig()
    {
        QObject::connect(_AppLog::instance(), &_AppLog::lineWritten, &context,
                         [this](const QString &line) { lines.append(message(line)); });
        QObject::connect(&controller, &VelutraController::sigAppendSettingsCommand, &context,
                         [this](const QString &command) { commands.append(command); });
    }

    VelutraController controller{nullptr, nullptr, nullptr, nullptr};
    QObject context;
    QStringList lines;
    QStringList commands;
};

void divisionTable(VelutraController &c)
{
    c.slotFrequencyDivListChanged({{0, 1.0}, {1, 2.0}, {2, 4.0}});
}

} // namespace

class TestControllerAudit : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void operatorCommands_data();
    void operatorCommands();
    void deviceReports_data();
    void deviceReports();
    void stateIsWrittenAgainAfterAReconnection();
    void repeatedModuleWarningIsCounted();
};

void TestControllerAudit::operatorCommands_data()
{
    QTest::addColumn<Action>("setup");
    QTest::addColumn<Action>("action");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QStringList>("commands");

    const Action nothing = [](VelutraController &) {
    };
    const auto row = [&](const char *name, const Action &setup, const Action &action,
                         const QString &line, const QStringList &commands) {
        QTest::newRow(name) << setup << action << QStringList{line} << commands;
    };

    row("energy in µJ", nothing, [](VelutraController &c) { c.power_uJ_Changed(12.5); },
        "Operator: set energy to 12.50 µJ (\"ly_vtx2_power=12500\")", {"ly_vtx2_power=12500\n"});
    row("energy in %", nothing, [](VelutraController &c) { c.powerPercentChanged(25.0); },
        "Operator: set energy to 25.00 % (\"e_power=1000\")", {"e_power=1000\n"});
    row("repetition rate", divisionTable, [](VelutraController &c) { c.repRateChanged(40000.4); },
        "Operator: set repetition rate to 40000.000 kHz (\"e_freq 1\")", {"e_freq 1\n"});
    row("repetition rate the laser lacks", divisionTable,
        [](VelutraController &c) { c.repRateChanged(12345.0); },
        "Operator: repetition rate 12345.000 kHz is none the laser offers; nothing sent", {});
    row("rate divider", divisionTable, [](VelutraController &c) { c.repRateDividerChanged(4.0); },
        "Operator: set repetition rate divider to 4 (\"e_freq 2\")", {"e_freq 2\n"});
    row("division factor", nothing, [](VelutraController &c) { c.divisionChanged(7.9); },
        "Operator: set division factor to 7 (\"e_div 7\")", {"e_div 7\n"});
    row("output enable", nothing, [](VelutraController &c) { c.outEnableChanged(true); },
        "Operator: output enable (\"ly_vtx2_output_enable\")", {"ly_vtx2_output_enable\n"});
    row("output disable", nothing, [](VelutraController &c) { c.outEnableChanged(false); },
        "Operator: output disable (\"ly_vtx2_output_disable\")", {"ly_vtx2_output_disable\n"});
    row("laser on", nothing, [](VelutraController &c) { c.laserOnChanged(false); },
        "Operator: laser on (\"ly_vtx2_disabled\")", {"ly_vtx2_disabled\n"});
    row("standby", nothing, [](VelutraController &c) { c.standbyChanged(true); },
        "Operator: standby (\"ly_vtx2_standby\")", {"ly_vtx2_standby\n"});
    row("listen", nothing, [](VelutraController &c) { c.listenChanged(true); },
        "Operator: listen (\"ly_vtx2_listen\")", {"ly_vtx2_listen\n"});
    row("operating mode", nothing, [](VelutraController &c) { c.slotOperatingModeChanged(1); },
        "Operator: operating mode External (\"e_mode 3\")", {"e_mode 3\n"});
    row("module output", nothing, [](VelutraController &c) { c.wavelengthSelectorComboChanged(1); },
        "Operator: select the module output Green 515 nm (\"ls_wavelength=1\")",
        {"ls_wavelength=1\n"});
    row("laser wavelength", nothing, [](VelutraController &c) { c.wavelengthChanged(2); },
        "Operator: set the laser wavelength to 343 nm (\"ly_vtx_wvl 2\")", {"ly_vtx_wvl 2\n"});
    row("ovens on", nothing, [](VelutraController &c) { c.ovenModeComboChanged(1); },
        "Operator: switch the ovens on (\"ls_enable=4\")", {"ls_enable=4"});
    row("ovens off", nothing, [](VelutraController &c) { c.ovenModeComboChanged(0); },
        "Operator: switch the ovens off (\"ls_enable=2\")", {"ls_enable=2"});
    row("SHG oven", nothing, [](VelutraController &c) { c.oven1SetpointChanged(45.5); },
        "Operator: set the SHG oven set-point to 45.5 °C (\"ls_temp_setpoint_SHG=45.5\")",
        {"ls_temp_setpoint_SHG=45.5\n"});
    row("THG oven", nothing, [](VelutraController &c) { c.oven2SetpointChanged(120.0); },
        "Operator: set the THG oven set-point to 120.0 °C (\"ls_temp_setpoint_THG=120.0\")",
        {"ls_temp_setpoint_THG=120.0\n"});
    row("crystal spot", nothing, [](VelutraController &c) { c.crystalSpotSliderChanged(3.0); },
        "Operator: move the crystal to spot 3 (\"ls_crystal_setSpot=3\")",
        {"ls_crystal_setSpot=3\n"});
    // The read-back that follows at once is the program's, not the operator's.
    row("digital gate", nothing, [](VelutraController &c) { c.digitalGateModeChanged(1); },
        "Operator: set the digital gate logic to 1 (\"ly_vtx2_digiop=1\")",
        {"ly_vtx2_digiop=1\n", "ly_vtx2_digiop?\n"});
    row("dynamic wavelength on", nothing,
        [](VelutraController &c) { c.dynamicWavelengthFeatureChanged(1); },
        "Operator: enable dynamic wavelength switching (\"ls_dwls_enable=1\")",
        {"ls_dwls_enable=1\n"});
    row("AOM energy level", nothing,
        [](VelutraController &c) { c.dynamicWLS_SaveSetpoint(1, 12.5); },
        "Operator: set the AOM energy level of Green 515 nm to 12.50 µJ "
        "(\"ls_dwls_default=1,12500\")",
        {"ls_dwls_default=1,12500\n", "ls_dwls_default?\n"});
    row("manual command", nothing, [](VelutraController &c) { c.slotSendManualCommand("s7\n"); },
        "Operator: manual command (\"s7\")", {"s7\n"});

    // What the program sends by itself is no operator action.
    QTest::newRow("debug output switched off")
            << nothing << Action([](VelutraController &c) { c.slotDebuggingStatusChanged(true); })
            << QStringList() << QStringList{"d2=0\n"};
    QTest::newRow("delayed read-back")
            << nothing << Action([](VelutraController &c) { c.appendDelayed_digiop_Command(); })
            << QStringList() << QStringList{"ly_vtx2_digiop?\n"};
    QTest::newRow("module list") << nothing << Action([](VelutraController &c) {
        c.slotExistsSHGModule(true);
    }) << QStringList() << QStringList{"ls_output_config?\n", "ls_dwls_feature?"};
    QTest::newRow("empty manual command")
            << nothing << Action([](VelutraController &c) { c.slotSendManualCommand({}); })
            << QStringList() << QStringList{QString()};
}

void TestControllerAudit::operatorCommands()
{
    QFETCH(Action, setup);
    QFETCH(Action, action);
    Rig rig;
    setup(rig.controller);
    rig.lines.clear();
    rig.commands.clear();
    action(rig.controller);
    QTEST(rig.lines, "lines");
    QTEST(rig.commands, "commands");
}

void TestControllerAudit::deviceReports_data()
{
    QTest::addColumn<Action>("action");
    QTest::addColumn<QStringList>("lines");

    const auto statusBytes = [](std::initializer_list<int> bytes) {
        const QList<int> list(bytes);
        return Action([list](VelutraController &c) {
            for (int byte : list) {
                c.slotuiTmpChar2Changed(uchar(byte));
            }
        });
    };

    QTest::newRow("first report") << statusBytes({0x09}) << QStringList{"Laser state: listen"};
    QTest::newRow("state by state")
            << statusBytes({0x08, 0x28, 0x20, 0xA0, 0x20, 0x08, 0x00})
            << QStringList{"Laser state: listen",   "Laser state: standby",
                           "Laser state: laser on", "Laser state: standby",
                           "Laser state: listen",   "Laser state: none reported"};
    QTest::newRow("same byte twice")
            << statusBytes({0x20, 0x20}) << QStringList{"Laser state: standby"};
    QTest::newRow("error lamp") << statusBytes({0x08, 0x0A, 0x0A, 0x08})
                                << QStringList{"Laser state: listen", "Error lamp on",
                                               "Error lamp off"};
    QTest::newRow("warning lamp on from the start")
            << statusBytes({0x0C, 0x08})
            << QStringList{"Laser state: listen", "Warning lamp on", "Warning lamp off"};
    QTest::newRow("both lamps with a state change")
            << statusBytes({0x08, 0x26})
            << QStringList{"Laser state: listen", "Laser state: standby", "Error lamp on",
                           "Warning lamp on"};
    // The system state moves the buttons' flashing, not the state the log follows.
    QTest::newRow("system state alone")
            << Action([](VelutraController &c) { c.slotSystemStateChanged(SystemState(2)); })
            << QStringList();
    QTest::newRow("module error appears and clears")
            << Action([](VelutraController &c) {
                   c.slotHGErrorcodeChanged(12);
                   c.slotHGErrorcodeChanged(12);
                   c.slotHGErrorcodeChanged(0);
                   c.slotHGErrorcodeChanged(0);
               })
            << QStringList{"Module error: HG Error code: 12 - Oven Temperature.",
                           "Module error cleared (was: HG Error code: 12 - Oven Temperature.)"};
    QTest::newRow("module error changes")
            << Action([](VelutraController &c) {
                   c.slotHGErrorcodeChanged(12);
                   c.slotHGErrorcodeChanged(17);
               })
            << QStringList{"Module error: HG Error code: 12 - Oven Temperature.",
                           "Module error: HG Error code: 17 - Humidity High."};
    QTest::newRow("no module error")
            << Action([](VelutraController &c) { c.slotHGErrorcodeChanged(0); }) << QStringList();
    QTest::newRow("module warning") << Action([](VelutraController &c) {
        c.slotsHGModuleWarning(QStringLiteral("Shutter in wrong position"));
    }) << QStringList{"Module warning: Shutter in wrong position"};
    QTest::newRow("output enable") << Action([](VelutraController &c) {
        c.slotAOMChanged(true);
        c.slotAOMChanged(true);
        c.slotAOMChanged(false);
    }) << QStringList{"Laser output: enabled", "Laser output: disabled"};
}

void TestControllerAudit::deviceReports()
{
    QFETCH(Action, action);
    Rig rig;
    action(rig.controller);
    QTEST(rig.lines, "lines");
    QVERIFY(rig.commands.isEmpty());
}

void TestControllerAudit::stateIsWrittenAgainAfterAReconnection()
{
    Rig rig;
    rig.controller.slotMainLoop();
    rig.controller.slotConnectedStatus(true);
    rig.controller.slotMainLoop();
    rig.controller.slotuiTmpChar2Changed(0x08);
    rig.controller.slotHGErrorcodeChanged(12);
    rig.controller.slotConnectedStatus(false);
    rig.controller.slotMainLoop();
    rig.controller.slotMainLoop();
    rig.controller.slotConnectedStatus(true);
    rig.controller.slotMainLoop();
    rig.controller.slotuiTmpChar2Changed(0x08);
    rig.controller.slotHGErrorcodeChanged(12);
    QCOMPARE(rig.lines, QStringList({"Laser state: listen",
                                     "Module error: HG Error code: 12 - Oven Temperature.",
                                     "Laser state: listen",
                                     "Module error: HG Error code: 12 - Oven Temperature."}));
}

void TestControllerAudit::repeatedModuleWarningIsCounted()
{
    Rig rig;
    for (int i = 0; i < 20; ++i) {
        rig.controller.slotsHGModuleWarning(QStringLiteral("Shutter in wrong position"));
    }
    QCOMPARE(rig.lines.size(), 3);
    QVERIFY(rig.lines.at(0).startsWith(QStringLiteral("Module warning: Shutter")));
}

QTEST_MAIN(TestControllerAudit)
#include "tst_controlleraudit.moc"
