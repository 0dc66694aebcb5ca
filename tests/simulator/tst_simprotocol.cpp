// Every command the program sends gets its echo and a reply in the program's grammar.

#include "simtestclient.h"
#include "simtestsupport.h"

#include <QRegularExpression>
#include <QTest>

Q_DECLARE_METATYPE(VelutraSimLaser::State)

class TestSimProtocol : public QObject
{
    Q_OBJECT

private slots:
    void commandReplies_data();
    void commandReplies();
    void modelLine_data();
    void modelLine();
    void moduleKinds_data();
    void moduleKinds();
    void firmwareIds_data();
    void firmwareIds();
    void statusWordIsTheLastFieldOfS7_data();
    void statusWordIsTheLastFieldOfS7();
    void aomModeInS7_data();
    void aomModeInS7();
    void settingsRefusedOrClamped_data();
    void settingsRefusedOrClamped();
    void commandWithCarriageReturnIsEchoedWithoutIt();
    void emptyLinesAreIgnored();
    void overlongLineIsDiscarded();
};

namespace {

const QString s_help = QStringLiteral("<help>");

QStringList repeated(const QString &pattern, int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i) {
        list << pattern;
    }
    return list;
}

QStringList systemInfo(const QString &model, const QString &application)
{
    return {QStringLiteral("^%1 Hardware:\\S+ Firmware:\\S+$").arg(model),
            QStringLiteral("^%1").arg(application),
            QStringLiteral("^Compiled on: .+$"),
            QStringLiteral("^Serial number: \\S+$"),
            QStringLiteral("^LDD device - Hardware: .+, Software version: .+, Revision: .+$"),
            QStringLiteral("^TEC device - Hardware: .+, Software version: .+, Revision: .+$"),
            QStringLiteral("^Timing Board S/N: .+; MCU T/B: .+; FPGA T/B: .+$"),
            QStringLiteral("^Device switch on time \\(Standby and up\\): \\d+ hours \\d+ minutes$"),
            QStringLiteral("^Laser Emission switch on time: \\d+ hours \\d+ minutes$")};
}

// What the harmonic module prints for a command it does not know.
void verifyHelp(const QList<QByteArray> &lines, const QString &module)
{
    const bool thg = module == QLatin1String("0x93") || module == QLatin1String("0x8d");
    QVERIFY(lines.size() > 10);
    QCOMPARE(lines.at(0), QByteArray("Available commands:"));
    QCOMPARE(lines.at(1), QByteArray("----------------------------------------"));
    const QByteArray all = lines.join('\n') + '\n';
    QVERIFY(all.contains("\n\tDisplays the module oven setpoint(s) in degrees C\n"));
    QVERIFY(all.contains("\n\tSets the output wavelength [x range: 0-3]\n\twhere:\n\t\t0 sets"));
    QVERIFY(all.contains("\n\t\t3 FHG not available.\n"));
    QCOMPARE(all.contains("\n\tDisplays the maximun runtime in seconds\n"), thg);
    QCOMPARE(all.contains("\n\t\t2 THG not available.\n"), !thg);
    // The first-generation third-harmonic module has no humidity sensor.
    QCOMPARE(all.contains("\nls_humidity?\n"), module != QLatin1String("0x8d"));
    for (int i = 2; i < lines.size(); ++i) {
        const QByteArray &line = lines.at(i);
        QVERIFY2(line.startsWith("ls_") || line.startsWith('\t'), line.constData());
    }
}

} // namespace

void TestSimProtocol::commandReplies_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QStringList>("patterns");

    const auto row = [](const char *module, const char *command, const QStringList &patterns) {
        QTest::addRow("%s %s", module, command)
                << QString::fromLatin1(module) << QByteArray(command) << patterns;
    };
    const QString coefficientRow = QStringLiteral("^\\d \\d [0-9.e+-]+$");
    QStringList power
            = {QStringLiteral("^Setted laser power: \\d+ nJ$"),
               QStringLiteral("^Coefficients for converting setted laser power to AOM value$"),
               QStringLiteral("^y=k\\*x \\+ a; where k is index 0 and a is index 1$"),
               QStringLiteral("^y is AOM value 0-4095 and x is input laser power in nJ$")};
    power += repeated(coefficientRow, 14);

    // The laser itself
    row("0x93", "ly_system_info", systemInfo("Velutra-10", "SW\\.MAIN\\.VTX\\.MR\\.V5\\."));
    row("0x93", "ly_vtx2_dev_status?", {"^ly_vtx2_dev_status 9$"});
    row("0x93", "s6", {"^s6( \\d+){12}$"});
    row("0x93", "s7", {"^s7( -?\\d+){7} \\d+\\.\\d( -?\\d+){8}$"});
    row("0x93", "s8", {"^s8 \\d+ \\d+( -?\\d+\\.\\d+){6}( \\d+){3} \\d+\\.\\d+$"});
    row("0x93", "s9", {"^s9( -?\\d+\\.\\d+){40} 0$"});
    row("0x93", "ly_vtx2_power?", power);
    row("0x93", "ly_vtx2_power=500", {"^Setted laser power: 500 nJ$"});
    row("0x93", "ly_vtx2_power=9999999", {"^Setted laser power: 50000 nJ$"});
    row("0x93", "e_power?", {"^Setted laser power in relative unit: 10\\.00$"});
    row("0x93", "e_power=2000", {"^Setted laser power in relative unit: 50\\.00$"});
    row("0x93", "e_freq?", {"^Frequency index parameter: 4$"});
    row("0x93", "e_freq 2", {"^Frequency index parameter: 2$"});
    row("0x93", "e_freq 9", {"^AOM max frequency fields number is: 7$"});
    row("0x93", "e_div?", {"^Notice: Division factor for PCAOM is 1$"});
    row("0x93", "e_div 4", {"^Notice: Division factor for PCAOM is 4$"});
    row("0x93", "e_mode 2", {"^e_mode of AOM: 2$"});
    row("0x93", "e_mode 3", {"^e_mode of AOM: 3$"});
    row("0x93", "e_mode 8", {"^e_mode of AOM: 8$"});
    row("0x93", "d2?", {"^Debugging on communication channel 2 disabled$"});
    row("0x93", "d2=0",
        {"^Ok write debug Communication value to eeprom$",
         "^Debugging on communication channel 2 disabled$"});
    row("0x93", "ezra?", repeated(QStringLiteral("^\\d+ \\d+ [A-Z0-9]+$"), 17));
    row("0x93", "eira?", repeated(QStringLiteral("^\\d \\d+ PCPER \\d+$"), 7));
    row("0x93", "ly_vtx2_digiop?",
        {"^Active digital gate logic:\\tlogic LOW \\(no connection\\) = AOM OPEN$"});
    row("0x93", "ly_vtx2_digiop=1", {"^New digital gate logic: 1$"});
    row("0x93", "ly_vtx2_output?", {"^Laser output disabled$"});
    row("0x93", "ly_vtx2_output_enable", {"^Listen -> Standby$"});
    row("0x93", "ly_vtx2_output_disable", {"^Laser output disabled$"});
    row("0x93", "ly_vtx2_disabled", {"^Listen -> Standby$"});
    row("0x93", "ly_vtx2_standby", {"^Listen -> Standby$"});
    row("0x93", "ly_vtx2_listen", {"^Already in Listen$"});
    row("0x93", "ly_vtx_wvl 0", {"^ZEL HG\\tChanging wavelength complete\\.$"});
    row("0x93", "ly_vtx2_wvl 0", {"^ZEL HG\\tChanging wavelength complete\\.$"});
    row("0x93", "ly_vtx_wvl 1", {});
    row("0x93", "ly_vtx_wvl 7", {"^Wavelength index out of range\\.$"});
    row("none", "ly_vtx_wvl 1", {});

    // The harmonic module, third-harmonic kind
    row("0x93", "ls?",
        {"^ZEL harmonic generation module \\(address: 0x21 / type: 0x93 THGi\\)$",
         "^Firmware version:\\t\\S+$", "^Bootloader version:\\t\\S+$",
         "^Module serial number:\\t\\S+$", "^PCB serial number:\\t\\S+$"});
    row("0x93", "ls_humidity?", {"^ZEL THG\\tHumidity=\\d+\\.\\d%$"});
    row("0x93", "ls_enable?", {"^ZEL HG\\tCurrent FSM state=3$"});
    row("0x93", "ls_enable=2", {"^ZEL HG\\tCurrent FSM state=2$"});
    row("0x93", "ls_enable=4", {"^ZEL HG\\tCurrent FSM state=3$"});
    row("0x93", "ls_enable=9", {s_help});
    row("0x93", "ls_temp_setpoint?",
        {"^ZEL THG\\tSHG Oven Setpoint=150\\.0 C\\tMin=20\\.0 C\\tMax=200\\.0 C$",
         "^ZEL THG\\tTHG Oven Setpoint=60\\.0 C\\tMin=20\\.0 C\\tMax=100\\.0 C$"});
    row("0x93", "ls_temp_setpoint_SHG=151.5", {"^New oven temperature setpoint: 151\\.5 C$"});
    row("0x93", "ls_temp_setpoint_THG=61.0", {"^New oven temperature setpoint: 61\\.0 C$"});
    row("0x93", "ls_temp_setpoint_THG=300", {"^New oven temperature setpoint: 100\\.0 C$"});
    row("0x93", "ls_temp_setpoint_SHG=-5", {"^New oven temperature setpoint: 20\\.0 C$"});
    row("0x93", "ls_temp_setpoint_SHG=hot", {"^Setpoint not a number: hot$"});
    row("0x93", "ls_temp_setpoint=150.0", {s_help});
    row("0x93", "ls_temp_oven?",
        {"^ZEL THG\\tSHG Oven Temperature=\\d+\\.\\d\\d C$",
         "^ZEL THG\\tTHG Oven Temperature=\\d+\\.\\d\\d C$"});
    row("0x93", "ls_crystal_allRuntimes?", {"^ZEL THG\\tAll runtimes=(\\d+ ){12}$"});
    row("0x93", "ls_crystal_curSpot?", {"^ZEL THG\\tCurrent crystal spot=3$"});
    row("0x93", "ls_crystal_curRuntime?", {"^ZEL THG\\tCurrent runtime=412345s$"});
    row("0x93", "ls_crystal_maxRuntime?", {"^ZEL THG\\tMax runtime=1800000s$"});
    row("0x93", "ls_crystal_setSpot=5", {});
    row("0x93", "ls_crystal_setSpot=99", {"^ZEL THG\\tInvalid crystal spot 99 \\(0-11\\)\\.$"});
    row("0x93", "ls_wavelength?", {"^ZEL THG\\tCurrent position=IR$"});
    row("0x93", "ls_wavelength=2", {});
    row("0x93", "ls_wavelength=3", {"^ZEL HG\\tRequested wavelength not available\\.$"});
    row("0x93", "ls_status?", {"^ZEL HG\\tStatus flags=0000$"});
    row("0x93", "ls_errorcode?", {"^ZEL HG\\tErrorcode=0$"});
    row("0x93", "ls_output_power?",
        {"^ZEL SHG\\tOutput power=0\\.0 mW$", "^ZEL THG\\tOutput power=0\\.0 mW$"});
    row("0x93", "ls_module_runtime?", {"^ZEL THG\\tRuntime=\\d+s$"});
    row("0x93", "ls_output_config?", {"^ZEL HG WL output config: 0x07$"});
    row("0x93", "ls_dwls_feature?", {"^ZEL HG\\tDynamic wavelength switching feature enabled$"});
    row("0x93", "ls_dwls_enable?", {"^ZEL HG\\tDynamic wavelength switching disabled$"});
    row("0x93", "ls_dwls_enable=1", {"^ZEL HG\\tDynamic wavelength switching enabled$"});
    row("0x93", "ls_dwls_default?",
        {"^Dynamic wavelength switching data in memory:$",
         "^\\tIR Wavelength Index: 0 IR pulse energy = 20000$",
         "^\\tSHG Wavelength Index: 1 IR pulse energy = 10000$",
         "^\\tTHG Wavelength Index: 2 IR pulse energy = 5000$"});
    row("0x93", "ls_dwls_default=1,2500",
        {"^Dynamic wavelength switching data in memory:$",
         "^\\tIR Wavelength Index: 0 IR pulse energy = 20000$",
         "^\\tSHG Wavelength Index: 1 IR pulse energy = 2500$",
         "^\\tTHG Wavelength Index: 2 IR pulse energy = 5000$"});
    row("0x93", "ls_dwls_default=2,1.23457e+06",
        {"^Dynamic wavelength switching data in memory:$",
         "^\\tIR Wavelength Index: 0 IR pulse energy = 20000$",
         "^\\tSHG Wavelength Index: 1 IR pulse energy = 10000$",
         "^\\tTHG Wavelength Index: 2 IR pulse energy = 50000$"});
    row("0x93", "no_such_command", {s_help});

    // Second-harmonic kinds
    row("0x86", "ls?",
        {"^ZEL harmonic generation module \\(address: 0x21 / type: 0x86 SHG\\)$",
         "^Firmware version:\\t\\S+$", "^Bootloader version:\\t\\S+$",
         "^Module serial number:\\t\\S+$", "^PCB serial number:\\t\\S+$"});
    row("0x86", "ls_temp_setpoint?",
        {"^ZEL SHG\\tOven Setpoint=150\\.0 C\\tMin=20\\.0 C\\tMax=200\\.0 C$"});
    row("0x86", "ls_temp_setpoint=140.0", {"^New oven temperature setpoint: 140\\.0 C$"});
    row("0x86", "ls_temp_setpoint_SHG=140.0", {s_help});
    row("0x86", "ls_temp_oven?", {"^ZEL SHG\\tOven Temperature=\\d+\\.\\d\\d C$"});
    row("0x86", "ls_humidity?", {"^ZEL SHG\\tHumidity=\\d+\\.\\d%$"});
    row("0x86", "ls_wavelength?", {"^ZEL SHG\\tCurrent position=IR$"});
    row("0x86", "ls_wavelength=2", {"^ZEL HG\\tRequested wavelength not available\\.$"});
    row("0x86", "ls_output_power?", {"^ZEL SHG\\tOutput power=0\\.0 mW$"});
    row("0x86", "ls_output_config?", {"^ZEL HG WL output config: 0x03$"});
    row("0x86", "ls_dwls_feature?", {"^ZEL HG\\tDynamic wavelength switching feature disabled$"});
    row("0x86", "ls_module_runtime?", {"^ZEL SHG\\tRuntime=\\d+s$"});
    row("0x86", "ls_crystal_curSpot?", {s_help});
    row("0x86", "no_such_command", {s_help});
    row("0x8d", "ls?",
        {"^ZEL harmonic generation module \\(address: 0x21 / type: 0x8d THG\\)$",
         "^Firmware version:\\t\\S+$", "^Bootloader version:\\t\\S+$",
         "^Module serial number:\\t\\S+$", "^PCB serial number:\\t\\S+$"});
    row("0x8d", "ls_dwls_feature?", {"^ZEL HG\\tDynamic wavelength switching feature disabled$"});
    row("0x8d", "ls_humidity?", {s_help});
    row("0x8d", "ls_temp_setpoint?",
        {"^ZEL THG\\tSHG Oven Setpoint=150\\.0 C\\tMin=20\\.0 C\\tMax=200\\.0 C$",
         "^ZEL THG\\tTHG Oven Setpoint=60\\.0 C\\tMin=20\\.0 C\\tMax=100\\.0 C$"});
    row("0x8d", "ls_crystal_curSpot?", {"^ZEL THG\\tCurrent crystal spot=3$"});
    row("0x8d", "ls_output_config?", {"^ZEL HG WL output config: 0x07$"});
    row("0x8d", "ls_dwls_enable=1", {"^ZEL HG\\tDynamic wavelength switching disabled$"});
    row("0x8d", "no_such_command", {s_help});
    row("0x90", "ls?",
        {"^ZEL harmonic generation module \\(address: 0x21 / type: 0x90 SHGg\\)$",
         "^Firmware version:\\t\\S+$", "^Bootloader version:\\t\\S+$",
         "^Module serial number:\\t\\S+$", "^PCB serial number:\\t\\S+$"});
    row("0x90", "ls_dwls_feature?", {"^ZEL HG\\tDynamic wavelength switching feature enabled$"});
    row("0x90", "ls_humidity?", {"^ZEL SHG\\tHumidity=\\d+\\.\\d%$"});
    row("0x90", "ls_temp_setpoint=250", {"^New oven temperature setpoint: 200\\.0 C$"});
    row("0x90", "ls_crystal_curSpot?", {s_help});
    row("0x90", "ls_dwls_enable=1", {"^ZEL HG\\tDynamic wavelength switching enabled$"});
    row("0x90", "ls_dwls_default?",
        {"^Dynamic wavelength switching data in memory:$",
         "^\\tIR Wavelength Index: 0 IR pulse energy = 20000$",
         "^\\tSHG Wavelength Index: 1 IR pulse energy = 10000$"});

    // No module at all
    row("none", "ly_system_info", systemInfo("Velutra-10", "SW\\.MAIN\\.VTX\\.MR\\.V1\\."));
    row("none", "ls?", {"^No harmonic generation module connected\\.$"});
    row("none", "ls_status?", {"^No harmonic generation module connected\\.$"});
    row("none", "no_such_command", {"^Unknown command\\.$"});
}

void TestSimProtocol::commandReplies()
{
    QFETCH(QString, module);
    QFETCH(QByteArray, command);
    QFETCH(QStringList, patterns);

    auto simulator = startSimulator(module);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    const QByteArray reply = client.exchange(command + '\n');
    QVERIFY2(reply.endsWith('\n'), reply.constData());
    QVERIFY2(!reply.contains('\r'), reply.constData());
    const QList<QByteArray> lines = SimTestClient::lines(reply);
    QVERIFY(!lines.isEmpty());
    QCOMPARE(lines.first(), command); // the echo comes first, ended by a line feed

    const QList<QByteArray> answer = lines.mid(1);
    if (patterns == QStringList{s_help}) {
        verifyHelp(answer, module);
        return;
    }
    QCOMPARE(answer.size(), patterns.size());
    for (int i = 0; i < answer.size(); ++i) {
        const QRegularExpression pattern(patterns.at(i));
        QVERIFY(pattern.isValid());
        QVERIFY2(pattern.match(QString::fromLatin1(answer.at(i))).hasMatch(),
                 qPrintable(QStringLiteral("line %1: \"%2\" does not match %3")
                                    .arg(i)
                                    .arg(QString::fromLatin1(answer.at(i)), patterns.at(i))));
    }
}

void TestSimProtocol::modelLine_data()
{
    QTest::addColumn<QString>("model");
    QTest::newRow("Velutra-10") << QStringLiteral("Velutra-10");
    QTest::newRow("Velutra-3") << QStringLiteral("Velutra-3");
    QTest::newRow("Velutra-2") << QStringLiteral("Velutra-2");
}

void TestSimProtocol::modelLine()
{
    QFETCH(QString, model);
    auto simulator = startSimulator(QStringLiteral("0x93"), 1.0, VelutraSimLaser::State::Listen,
                                    false, model);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    const QList<QByteArray> lines = SimTestClient::lines(client.exchange("ly_system_info\n"));
    QCOMPARE(lines.size(), 10);
    QVERIFY(lines.at(1).startsWith(model.toLatin1() + " Hardware:"));
}

void TestSimProtocol::commandWithCarriageReturnIsEchoedWithoutIt()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(client.exchange("e_freq?\r\n"), QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimProtocol::emptyLinesAreIgnored()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.send("\n\n\r\n");
    client.pump(200);
    QCOMPARE(client.received(), QByteArray());
    QCOMPARE(client.exchange("e_div?\n"),
             QByteArray("e_div?\nNotice: Division factor for PCAOM is 1\n"));
}

void TestSimProtocol::overlongLineIsDiscarded()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.send(QByteArray(20000, 'x') + '\n');
    client.pump(300);
    QCOMPARE(client.received(), QByteArray());
    QCOMPARE(client.exchange("e_div?\n"),
             QByteArray("e_div?\nNotice: Division factor for PCAOM is 1\n"));
}

void TestSimProtocol::moduleKinds_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QByteArray>("typeCode"); // what the program's decoder finds in the type
    QTest::addColumn<int>("outputConfig");
    QTest::addColumn<int>("ovens");
    QTest::addColumn<bool>("humidity");
    QTest::addColumn<int>("spots");
    QTest::addColumn<bool>("dynamicWavelength");
    QTest::addColumn<int>("defaults"); // dynamic-wavelength default energies, one per output

    QTest::newRow("0x86 SHG") << "0x86" << QByteArray("0x86") << 0x03 << 1 << true << 0 << false
                              << 2;
    QTest::newRow("0x8d THG") << "0x8d" << QByteArray("0x8d") << 0x07 << 2 << false << 12 << false
                              << 3;
    QTest::newRow("0x90 SHGg") << "0x90" << QByteArray("0x90") << 0x03 << 1 << true << 0 << true
                               << 2;
    QTest::newRow("0x93 THGi") << "0x93" << QByteArray("0x93") << 0x07 << 2 << true << 12 << true
                               << 3;
    QTest::newRow("none") << "none" << QByteArray() << 0 << 0 << false << 0 << false << 0;
}

void TestSimProtocol::moduleKinds()
{
    QFETCH(QString, module);
    QFETCH(QByteArray, typeCode);
    QFETCH(int, outputConfig);
    QFETCH(int, ovens);
    QFETCH(bool, humidity);
    QFETCH(int, spots);
    QFETCH(bool, dynamicWavelength);
    QFETCH(int, defaults);

    auto simulator = startSimulator(module);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    const auto answer = [&](const QByteArray &command) {
        return SimTestClient::lines(client.exchange(command + '\n', 30)).mid(1);
    };

    const QList<QByteArray> info = answer("ls?");
    if (typeCode.isEmpty()) {
        QCOMPARE(info, QList<QByteArray>{"No harmonic generation module connected."});
        QCOMPARE(answer("ls_output_config?"),
                 QList<QByteArray>{"No harmonic generation module connected."});
        return;
    }

    // The information block; its last line is the one after which the program decides
    // the kind, by the first of the four type codes that the type text contains.
    QCOMPARE(info.size(), 5);
    const QRegularExpression typeLine(
            QStringLiteral("^ZEL harmonic generation module \\(address: (.*) / type: (.*)\\)$"));
    const QRegularExpressionMatch match = typeLine.match(QString::fromLatin1(info.at(0)));
    QVERIFY2(match.hasMatch(), info.at(0).constData());
    const QString type = match.captured(2);
    QByteArray found;
    for (const char *code : {"0x86", "0x8d", "0x90", "0x93"}) {
        if (found.isEmpty() && type.contains(QLatin1String(code))) {
            found = code;
        }
    }
    QCOMPARE(found, typeCode);
    QVERIFY(info.at(1).startsWith("Firmware version:\t"));
    QVERIFY(info.at(2).startsWith("Bootloader version:\t"));
    QVERIFY(info.at(3).startsWith("Module serial number:\t"));
    QVERIFY(info.at(4).startsWith("PCB serial number:\t"));

    QCOMPARE(answer("ls_output_config?"),
             QList<QByteArray>{"ZEL HG WL output config: 0x"
                               + QByteArray::number(outputConfig, 16).rightJustified(2, '0')});
    QCOMPARE(answer("ls_temp_setpoint?").size(), ovens);
    QCOMPARE(answer("ls_temp_oven?").size(), ovens);

    const QList<QByteArray> wet = answer("ls_humidity?");
    if (humidity) {
        QCOMPARE(wet.size(), 1);
        QVERIFY2(wet.first().contains("\tHumidity="), wet.first().constData());
    } else {
        QCOMPARE(wet.value(0), QByteArray("Available commands:"));
    }

    const QList<QByteArray> all = answer("ls_crystal_allRuntimes?");
    if (spots > 0) {
        QCOMPARE(all.size(), 1);
        QCOMPARE(all.first().mid(all.first().indexOf('=') + 1).trimmed().split(' ').size(), spots);
    } else {
        QCOMPARE(all.value(0), QByteArray("Available commands:"));
    }

    QCOMPARE(answer("ls_dwls_feature?"),
             QList<QByteArray>{dynamicWavelength
                                       ? "ZEL HG\tDynamic wavelength switching feature enabled"
                                       : "ZEL HG\tDynamic wavelength switching feature disabled"});
    QCOMPARE(answer("ls_dwls_enable=1"),
             QList<QByteArray>{dynamicWavelength
                                       ? "ZEL HG\tDynamic wavelength switching enabled"
                                       : "ZEL HG\tDynamic wavelength switching disabled"});
    QCOMPARE(answer("ls_dwls_default?").size(), 1 + defaults);
}

void TestSimProtocol::firmwareIds_data()
{
    QTest::addColumn<QString>("application");
    QTest::addColumn<QString>("module");
    const auto row = [](const char *application, const char *module) {
        QTest::addRow("%s %s", application, module)
                << QString::fromLatin1(application) << QString::fromLatin1(module);
    };
    row("SW.MAIN.VTX.MR.V1.9.4", "0x93");
    row("SW.MAIN.VTX.V1.2.0", "0x93");
    row("SW.MAIN.VTX.MR.MW2.V1.0.3", "0x93");
    row("SW.MAIN.VTX.MR.MW3.V1.1.0", "0x93");
    row("SW.MAIN.VTX.MR.V5.3.0", "0x93");
    row("SW_MAIN_006_VTX_2.4.1", "0x86");
    row("SW.MAIN.VTX.XR.V2.0.0", "0x90"); // a firmware the program does not know
    row("SW.MAIN.VTX.MR.V5.3.0", "none");
    row("SW.MAIN.VTX.MR.V1.9.4", "none");
}

void TestSimProtocol::firmwareIds()
{
    QFETCH(QString, application);
    QFETCH(QString, module);
    VelutraSimOptions options;
    options.pacing = false;
    options.laser.application = application;
    QVERIFY(VelutraSimLaser::parseModule(module, &options.laser.module));
    auto simulator = startSimulator(options);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    const QList<QByteArray> info = SimTestClient::lines(client.exchange("ly_system_info\n"));
    QCOMPARE(info.size(), 10);
    QCOMPARE(info.at(2), application.toLatin1());

    // The module answers "ls?" whatever the firmware; which firmware asks is the program's
    // business.
    const QList<QByteArray> block = SimTestClient::lines(client.exchange("ls?\n")).mid(1);
    if (module == QLatin1String("none")) {
        QCOMPARE(block, QList<QByteArray>{"No harmonic generation module connected."});
    } else {
        QCOMPARE(block.size(), 5);
        QVERIFY(block.first().startsWith("ZEL harmonic generation module (address: "));
        QVERIFY(block.first().contains(module.toLatin1()));
    }
}

void TestSimProtocol::statusWordIsTheLastFieldOfS7_data()
{
    using State = VelutraSimLaser::State;
    QTest::addColumn<State>("state");
    QTest::addColumn<int>("hgError");
    QTest::addColumn<bool>("shutter");
    QTest::addColumn<int>("word");
    // Bits: 0 power on, 1 error, 2 warning, 3 listen, 5 standby, 6 output disabled,
    // 7 output enabled.
    QTest::newRow("listen") << State::Listen << 0 << false << 0x09;
    QTest::newRow("standby") << State::Standby << 0 << false << 0x21;
    QTest::newRow("output disabled") << State::Disabled << 0 << false << 0x41;
    QTest::newRow("output enabled") << State::Enabled << 0 << false << 0x81;
    QTest::newRow("listen, module error") << State::Listen << 17 << false << 0x0b;
    QTest::newRow("enabled, shutter warning") << State::Enabled << 0 << true << 0x85;
    QTest::newRow("standby, error and warning") << State::Standby << 9 << true << 0x27;
}

void TestSimProtocol::statusWordIsTheLastFieldOfS7()
{
    QFETCH(VelutraSimLaser::State, state);
    QFETCH(int, hgError);
    QFETCH(bool, shutter);
    QFETCH(int, word);
    auto simulator = startSimulator(QStringLiteral("0x93"), 1.0, state);
    QVERIFY(simulator);
    QCOMPARE(simulator->executeControl(QStringLiteral("hg-error %1").arg(hgError)),
             QStringLiteral("ok"));
    QCOMPARE(simulator->executeControl(
                     QStringLiteral("shutter %1").arg(QLatin1String(shutter ? "on" : "off"))),
             QStringLiteral("ok"));
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    const QList<QByteArray> s7 = SimTestClient::lines(client.exchange("s7\n")).value(1).split(' ');
    QCOMPARE(s7.size(), 17); // the tag and sixteen fields; the word is token 16
    QCOMPARE(s7.at(16), QByteArray::number(word));
    QCOMPARE(SimTestClient::lines(client.exchange("ly_vtx2_dev_status?\n")).value(1),
             "ly_vtx2_dev_status " + QByteArray::number(word));
}

void TestSimProtocol::aomModeInS7_data()
{
    QTest::addColumn<int>("startMode");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<int>("mode");
    QTest::newRow("internal at start") << 2 << QByteArray() << 2;
    QTest::newRow("external at start") << 3 << QByteArray() << 3;
    QTest::newRow("mode 8 at start") << 8 << QByteArray() << 8;
    QTest::newRow("e_mode 3") << 2 << QByteArray("e_mode 3") << 3;
    QTest::newRow("e_mode 8") << 2 << QByteArray("e_mode 8") << 8;
    QTest::newRow("e_mode 2") << 8 << QByteArray("e_mode 2") << 2;
    QTest::newRow("e_mode 5 is ignored") << 3 << QByteArray("e_mode 5") << 3;
}

void TestSimProtocol::aomModeInS7()
{
    QFETCH(int, startMode);
    QFETCH(QByteArray, command);
    QFETCH(int, mode);
    VelutraSimOptions options;
    options.pacing = false;
    options.laser.aomMode = startMode;
    auto simulator = startSimulator(options);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    if (!command.isEmpty()) {
        QCOMPARE(client.exchange(command + '\n'),
                 command + "\ne_mode of AOM: " + QByteArray::number(mode) + '\n');
    }
    const QList<QByteArray> s7 = SimTestClient::lines(client.exchange("s7\n")).value(1).split(' ');
    QCOMPARE(s7.size(), 17);
    QCOMPARE(s7.at(2), QByteArray::number(mode));
    QCOMPARE(client.exchange("e_mode?\n"),
             "e_mode?\ne_mode of AOM: " + QByteArray::number(mode) + '\n');
    QVERIFY(client.exchange("ezra?\n").contains(" " + QByteArray::number(mode) + " AOMMODE\n"));
}

void TestSimProtocol::settingsRefusedOrClamped_data()
{
    using State = VelutraSimLaser::State;
    QTest::addColumn<QString>("module");
    QTest::addColumn<State>("state");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("reply"); // after the echo
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QByteArray>("reported"); // contained in the query's reply

    const QByteArray refused = "Command refused: only in listen or standby.\n";
    const auto row = [](const char *name, const char *module, State state, const char *command,
                        const QByteArray &reply, const char *query, const char *reported) {
        QTest::newRow(name) << QString::fromLatin1(module) << state << QByteArray(command) << reply
                            << QByteArray(query) << QByteArray(reported);
    };

    // Settings that move the optics: only in listen or standby.
    row("spot in listen", "0x93", State::Listen, "ls_crystal_setSpot=4", "", "", "");
    row("spot in standby", "0x93", State::Standby, "ls_crystal_setSpot=4", "", "", "");
    row("spot, laser on", "0x93", State::Disabled, "ls_crystal_setSpot=4", refused,
        "ls_crystal_curSpot?", "Current crystal spot=3\n");
    row("spot, emitting", "0x8d", State::Enabled, "ls_crystal_setSpot=4", refused,
        "ls_crystal_curSpot?", "Current crystal spot=3\n");
    row("laser wavelength, emitting", "0x93", State::Enabled, "ly_vtx_wvl 1", refused,
        "ls_wavelength?", "Current position=IR\n");
    row("laser wavelength, laser on", "0x90", State::Disabled, "ly_vtx2_wvl 1", refused,
        "ls_wavelength?", "Current position=IR\n");
    row("laser wavelength, no module", "none", State::Enabled, "ly_vtx_wvl 1", refused, "", "");
    row("rate, emitting", "0x93", State::Enabled, "e_freq 2", refused, "e_freq?",
        "Frequency index parameter: 4\n");
    row("rate in standby", "0x93", State::Standby, "e_freq 2", "Frequency index parameter: 2\n",
        "e_freq?", "Frequency index parameter: 2\n");
    row("module output, emitting", "0x93", State::Enabled, "ls_wavelength=1",
        "ZEL HG:\tDisabling AOM.\n", "", "");
    row("energy, emitting", "0x93", State::Enabled, "ly_vtx2_power=1000",
        "Setted laser power: 1000 nJ\n", "ly_vtx2_power?", "Setted laser power: 1000 nJ\n");

    // Out of the device's limits: clamped, or refused where there is no nearest value.
    row("energy above the maximum", "0x93", State::Listen, "ly_vtx2_power=9999999",
        "Setted laser power: 50000 nJ\n", "ly_vtx2_power?", "Setted laser power: 50000 nJ\n");
    row("energy below the minimum", "0x93", State::Listen, "ly_vtx2_power=1",
        "Setted laser power: 500 nJ\n", "ly_vtx2_power?", "Setted laser power: 500 nJ\n");
    row("energy on a Velutra-10 at 50 kHz", "0x93", State::Listen, "e_freq 6",
        "Frequency index parameter: 6\n", "ly_vtx2_power=300000",
        "Setted laser power: 200000 nJ\n");
    row("relative power above 100 %", "0x93", State::Listen, "e_power=5000",
        "Setted laser power in relative unit: 100.00\n", "ly_vtx2_power?",
        "Setted laser power: 50000 nJ\n");
    row("THG oven above its range", "0x93", State::Listen, "ls_temp_setpoint_THG=300",
        "New oven temperature setpoint: 100.0 C\n", "ls_temp_setpoint?",
        "THG Oven Setpoint=100.0 C\t");
    row("SHG oven below its range", "0x8d", State::Listen, "ls_temp_setpoint_SHG=-40",
        "New oven temperature setpoint: 20.0 C\n", "ls_temp_setpoint?",
        "SHG Oven Setpoint=20.0 C\t");
    row("SHG oven above its range", "0x86", State::Listen, "ls_temp_setpoint=250",
        "New oven temperature setpoint: 200.0 C\n", "ls_temp_setpoint?", "Oven Setpoint=200.0 C\t");
    row("division 0", "0x93", State::Listen, "e_div 0", "Notice: Division factor for PCAOM is 1\n",
        "e_div?", "is 1\n");
    row("rate index out of range", "0x93", State::Listen, "e_freq 9",
        "AOM max frequency fields number is: 7\n", "e_freq?", "Frequency index parameter: 4\n");
    row("spot out of range", "0x93", State::Listen, "ls_crystal_setSpot=12",
        "ZEL THG\tInvalid crystal spot 12 (0-11).\n", "ls_crystal_curSpot?",
        "Current crystal spot=3\n");
    row("unknown AOM mode", "0x93", State::Listen, "e_mode 5", "e_mode of AOM: 2\n", "s7",
        "s7 0 2 ");
    row("unknown digital gate", "0x93", State::Listen, "ly_vtx2_digiop=7",
        "New digital gate logic: 0\n", "ly_vtx2_digiop?", "= AOM OPEN\n");
    row("dynamic default above the maximum", "0x93", State::Listen, "ls_dwls_default=0,9999999",
        "Dynamic wavelength switching data in memory:\n"
        "\tIR Wavelength Index: 0 IR pulse energy = 50000\n"
        "\tSHG Wavelength Index: 1 IR pulse energy = 10000\n"
        "\tTHG Wavelength Index: 2 IR pulse energy = 5000\n",
        "", "");
}

void TestSimProtocol::settingsRefusedOrClamped()
{
    QFETCH(QString, module);
    QFETCH(VelutraSimLaser::State, state);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, reply);
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, reported);
    auto simulator = startSimulator(module, 1.0, state);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    QCOMPARE(client.exchange(command + '\n', 50), command + '\n' + reply);
    if (!query.isEmpty()) {
        const QByteArray answer = client.exchange(query + '\n', 50);
        QVERIFY2(answer.contains(reported), answer.constData());
    }
}

QTEST_GUILESS_MAIN(TestSimProtocol)
#include "tst_simprotocol.moc"
