#include "velutracommands.h"

#include <QtTest>

#include <limits>

using namespace VelutraCommands;

class TestCommands : public QObject
{
    Q_OBJECT

private slots:
    void fixedTexts_data();
    void fixedTexts();
    void powerIsSentInWholeNanojoules_data();
    void powerIsSentInWholeNanojoules();
    void percentIsTruncated_data();
    void percentIsTruncated();
    void truncatedArguments();
    void ovenSetpointsHaveOneDecimal();
    void ovenSetpointFollowsModuleType();
    void dynamicWavelengthDefaultInGeneralFormat_data();
    void dynamicWavelengthDefaultInGeneralFormat();
    void dynamicWavelengthDefaultNeverInExponentNotation();
    void operatingModes();
    void ovenModes();
    void integerArguments();
    void numberFormats();
};

void TestCommands::fixedTexts_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("expected");
    auto row = [](const char *text, const QString &command) {
        QTest::newRow(qPrintable(QString::fromLatin1(text).replace('\n', "\\n")))
                << command << QString::fromLatin1(text);
    };
    row("ly_vtx2_dev_status?\n", deviceStatusQuery());
    row("ly_system_info\n", systemInfoRequest());
    row("s6\n", statusRecord6Query());
    row("s7\n", statusRecord7Query());
    row("s8\n", statusRecord8Query());
    row("s9\n", statusRecord9Query());
    row("ly_vtx2_power?\n", powerQuery());
    row("e_power?\n", powerPercentQuery());
    row("e_freq?\n", frequencyQuery());
    row("e_div?\n", divisionQuery());
    row("ls_humidity?\n", humidityQuery());
    row("ls_enable?\n", shgModuleEnableQuery());
    row("ls_enable?", thgModuleEnableQuery());
    row("ls_temp_setpoint?\n", ovenSetpointQuery());
    row("ls_temp_oven?\n", ovenTemperatureQuery());
    row("ly_vtx2_output?\n", outputQuery());
    row("ls_crystal_allRuntimes?\n", crystalAllRuntimesQuery());
    row("ls_crystal_curSpot?\n", crystalCurrentSpotQuery());
    row("ls_crystal_curRuntime?\n", crystalCurrentRuntimeQuery());
    row("ls_crystal_maxRuntime?\n", crystalMaxRuntimeQuery());
    row("ls_wavelength?\n", moduleWavelengthQuery());
    row("ls_status?\n", moduleStatusQuery());
    row("ls_errorcode?\n", moduleErrorcodeQuery());
    row("ls_output_power?\n", moduleOutputPowerQuery());
    row("ls_module_runtime?\n", moduleRuntimeQuery());
    row("ls_dwls_enable?\n", dynamicWavelengthEnableQuery());
    row("ls_dwls_default?\n", dynamicWavelengthDefaultQuery());
    row("d2?\n", debugOutputQuery());
    row("ezra?\n", registerDumpStartQuery());
    row("eira?\n", registerDumpEndQuery());
    row("ls_output_config?\n", moduleOutputConfigQuery());
    row("ls_dwls_feature?", dynamicWavelengthFeatureQuery());
    row("ly_vtx2_digiop?\n", digitalGateQuery());
    row("ls?\n", moduleInfoQuery());
    row("ly_vtx2_output_enable\n", outputEnable());
    row("ly_vtx2_output_disable\n", outputDisable());
    row("ly_vtx2_disabled\n", laserDisabled());
    row("ly_vtx2_standby\n", standby());
    row("ly_vtx2_listen\n", listen());
    row("ls_enable=4", ovenEnable());
    row("ls_enable=2", ovenDisable());
    row("d2=0\n", debugOutputOff());
}

void TestCommands::fixedTexts()
{
    QFETCH(QString, command);
    QFETCH(QString, expected);
    QCOMPARE(command, expected);
    // Plain ASCII, no carriage return, at most the one line feed at the end.
    QCOMPARE(command.toLatin1(), command.toUtf8());
    QVERIFY(!command.contains('\r'));
    QVERIFY(command.indexOf('\n') == -1 || command.indexOf('\n') == command.size() - 1);
}

void TestCommands::powerIsSentInWholeNanojoules_data()
{
    QTest::addColumn<double>("microjoules");
    QTest::addColumn<QString>("expected");
    QTest::newRow("0.5 uJ") << 0.5 << "ly_vtx2_power=500\n";
    QTest::newRow("1.2346 uJ rounds up") << 1.2346 << "ly_vtx2_power=1235\n";
    QTest::newRow("1.2344 uJ rounds down") << 1.2344 << "ly_vtx2_power=1234\n";
    QTest::newRow("zero") << 0.0 << "ly_vtx2_power=0\n";
    QTest::newRow("40 uJ") << 40.0 << "ly_vtx2_power=40000\n";
}

void TestCommands::powerIsSentInWholeNanojoules()
{
    QFETCH(double, microjoules);
    QFETCH(QString, expected);
    QCOMPARE(setPower_uJ(microjoules), expected);
}

void TestCommands::percentIsTruncated_data()
{
    QTest::addColumn<double>("percent");
    QTest::addColumn<QString>("expected");
    QTest::newRow("33.33 %") << 33.33 << "e_power=1333\n";
    QTest::newRow("100 %") << 100.0 << "e_power=4000\n";
    QTest::newRow("0.024 %") << 0.024 << "e_power=0\n";
    QTest::newRow("99.99 %") << 99.99 << "e_power=3999\n";
    QTest::newRow("negative toward zero") << -0.03 << "e_power=-1\n";
}

void TestCommands::percentIsTruncated()
{
    QFETCH(double, percent);
    QFETCH(QString, expected);
    QCOMPARE(setPowerPercent(percent), expected);
}

void TestCommands::truncatedArguments()
{
    QCOMPARE(setDivision(4.9), QStringLiteral("e_div 4\n"));
    QCOMPARE(setDivision(1.0), QStringLiteral("e_div 1\n"));
    QCOMPARE(setDivision(-2.7), QStringLiteral("e_div -2\n"));
    QCOMPARE(setCrystalSpot(3.99), QStringLiteral("ls_crystal_setSpot=3\n"));
    QCOMPARE(setCrystalSpot(0.0), QStringLiteral("ls_crystal_setSpot=0\n"));
    // Out of the int range the value saturates instead of being undefined.
    QCOMPARE(setDivision(1e12), QStringLiteral("e_div 2147483647\n"));
    QCOMPARE(setDivision(-1e12), QStringLiteral("e_div -2147483648\n"));
    QCOMPARE(setDivision(std::numeric_limits<double>::quiet_NaN()), QStringLiteral("e_div 0\n"));
}

void TestCommands::ovenSetpointsHaveOneDecimal()
{
    QCOMPARE(singleOvenSetpoint(35.26), QStringLiteral("ls_temp_setpoint=35.3\n"));
    QCOMPARE(shgOvenSetpoint(35.26), QStringLiteral("ls_temp_setpoint_SHG=35.3\n"));
    QCOMPARE(oven2Setpoint(150.0), QStringLiteral("ls_temp_setpoint_THG=150.0\n"));
    QCOMPARE(oven2Setpoint(60.04), QStringLiteral("ls_temp_setpoint_THG=60.0\n"));
}

void TestCommands::ovenSetpointFollowsModuleType()
{
    QCOMPARE(oven1Setpoint(35.26, QStringLiteral("0x93")),
             QStringLiteral("ls_temp_setpoint_SHG=35.3\n"));
    QCOMPARE(oven1Setpoint(35.26, QStringLiteral("0x90")),
             QStringLiteral("ls_temp_setpoint=35.3\n"));
    QCOMPARE(oven1Setpoint(35.26, QStringLiteral("type 0x86")),
             QStringLiteral("ls_temp_setpoint=35.3\n"));
    QCOMPARE(oven1Setpoint(35.26, QStringLiteral("0x8d")),
             QStringLiteral("ls_temp_setpoint_SHG=35.3\n"));
    // The search is case-sensitive.
    QCOMPARE(oven1Setpoint(35.26, QStringLiteral("0X90")),
             QStringLiteral("ls_temp_setpoint_SHG=35.3\n"));
    QCOMPARE(oven1Setpoint(35.26, QString()), QStringLiteral("ls_temp_setpoint_SHG=35.3\n"));
}

void TestCommands::dynamicWavelengthDefaultInGeneralFormat_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("microjoules");
    QTest::addColumn<QString>("expected");
    QTest::newRow("2.5 uJ") << 1 << 2.5 << "ls_dwls_default=1,2500\n";
    QTest::newRow("six digits") << 0 << 1.2345678 << "ls_dwls_default=0,1234.57\n";
    QTest::newRow("trailing zeros dropped") << 2 << 0.0015 << "ls_dwls_default=2,1.5\n";
    // Where general notation would need an exponent, whole nanojoules go out instead.
    QTest::newRow("rounds up to a million") << 0 << 999.9999 << "ls_dwls_default=0,1000000\n";
    QTest::newRow("60000 uJ") << 1 << 60000.0 << "ls_dwls_default=1,60000000\n";
    QTest::newRow("seven digits") << 3 << 1234.5678 << "ls_dwls_default=3,1234568\n";
    QTest::newRow("six digits stay general") << 2 << 999.9994 << "ls_dwls_default=2,999999\n";
    QTest::newRow("tiny rounds to zero") << 0 << 1e-8 << "ls_dwls_default=0,0\n";
    QTest::newRow("negative") << 0 << -2.5 << "ls_dwls_default=0,-2500\n";
    QTest::newRow("negative large") << 0 << -60000.0 << "ls_dwls_default=0,-60000000\n";
    QTest::newRow("zero") << 2 << 0.0 << "ls_dwls_default=2,0\n";
    QTest::newRow("negative index") << -1 << 1.0 << "ls_dwls_default=-1,1000\n";
    // Not a number stays what it is; the controller never sends one.
    QTest::newRow("infinite") << 0 << qInf() << "ls_dwls_default=0,inf\n";
    QTest::newRow("not a number") << 0 << qQNaN() << "ls_dwls_default=0,nan\n";
}

void TestCommands::dynamicWavelengthDefaultInGeneralFormat()
{
    QFETCH(int, index);
    QFETCH(double, microjoules);
    QFETCH(QString, expected);
    QCOMPARE(setDynamicWavelengthDefault(index, microjoules), expected);
}

void TestCommands::dynamicWavelengthDefaultNeverInExponentNotation()
{
    for (double microjoules : {1e7, 1e12, 1e100, 1e300, -1e300}) {
        const QString command = setDynamicWavelengthDefault(0, microjoules);
        QVERIFY2(command.startsWith(QLatin1String("ls_dwls_default=0,")), qPrintable(command));
        const QString energy = command.section(QLatin1Char(','), 1);
        QVERIFY2(!energy.contains(QLatin1Char('e')), qPrintable(command));
        QVERIFY2(energy.endsWith(QLatin1Char('\n')), qPrintable(command));
    }
}

void TestCommands::operatingModes()
{
    QCOMPARE(operatingMode(0), QStringLiteral("e_mode 2\n"));
    QCOMPARE(operatingMode(1), QStringLiteral("e_mode 3\n"));
    QCOMPARE(operatingMode(2), QStringLiteral("e_mode 8\n"));
    QVERIFY(operatingMode(3).isNull());
    QVERIFY(operatingMode(-1).isNull());
}

void TestCommands::ovenModes()
{
    QCOMPARE(ovenMode(0), QStringLiteral("ls_enable=2"));
    QCOMPARE(ovenMode(1), QStringLiteral("ls_enable=4"));
    QCOMPARE(ovenMode(2), QStringLiteral("ls_enable=4"));
    QCOMPARE(ovenMode(1).size(), 11);
}

void TestCommands::integerArguments()
{
    QCOMPARE(moduleWavelength(2), QStringLiteral("ls_wavelength=2\n"));
    QCOMPARE(setFrequencyIndex(12), QStringLiteral("e_freq 12\n"));
    QCOMPARE(laserWavelength(1), QStringLiteral("ly_vtx_wvl 1\n"));
    QCOMPARE(laserWavelengthVelutra2(1), QStringLiteral("ly_vtx2_wvl 1\n"));
    QCOMPARE(setDynamicWavelengthEnabled(1), QStringLiteral("ls_dwls_enable=1\n"));
    QCOMPARE(setDigitalGate(0), QStringLiteral("ly_vtx2_digiop=0\n"));
    QCOMPARE(setFrequencyIndex(-3), QStringLiteral("e_freq -3\n"));
}

void TestCommands::numberFormats()
{
    QCOMPARE(formatInt(-42), QStringLiteral("-42"));
    QCOMPARE(formatInt(1000000), QStringLiteral("1000000"));
    QCOMPARE(truncateToInt(2.999), 2);
    QCOMPARE(truncateToInt(-2.999), -2);
    QCOMPARE(formatFixed(2.5, 0), QStringLiteral("3"));
    QCOMPARE(formatFixed(0.05, 1), QStringLiteral("0.1"));
    QCOMPARE(formatFixed(1.0, 2), QStringLiteral("1.00"));
    QCOMPARE(formatGeneral(100.0), QStringLiteral("100"));
    QCOMPARE(formatGeneral(0.000012345), QStringLiteral("1.2345e-05"));
}

QTEST_GUILESS_MAIN(TestCommands)

#include "tst_commands.moc"
