// Every command the program sends gets its echo and a reply in the program's grammar.

#include "simtestclient.h"
#include "simtestsupport.h"

#include <QRegularExpression>
#include <QTest>

class TestSimProtocol : public QObject
{
    Q_OBJECT

private slots:
    void commandReplies_data();
    void commandReplies();
    void modelLine_data();
    void modelLine();
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
void verifyHelp(const QList<QByteArray> &lines, bool thg)
{
    QVERIFY(lines.size() > 10);
    QCOMPARE(lines.at(0), QByteArray("Available commands:"));
    QCOMPARE(lines.at(1), QByteArray("----------------------------------------"));
    const QByteArray all = lines.join('\n') + '\n';
    QVERIFY(all.contains("\n\tDisplays the module oven setpoint(s) in degrees C\n"));
    QVERIFY(all.contains("\n\tSets the output wavelength [x range: 0-3]\n\twhere:\n\t\t0 sets"));
    QVERIFY(all.contains("\n\t\t3 FHG not available.\n"));
    QCOMPARE(all.contains("\n\tDisplays the maximun runtime in seconds\n"), thg);
    QCOMPARE(all.contains("\n\t\t2 THG not available.\n"), !thg);
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
    row("0x93", "ls_temp_setpoint_THG=300",
        {"^Setpoint out of range: 300 C \\(20\\.0 - 100\\.0 C\\)$"});
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
    row("0x90", "ls?",
        {"^ZEL harmonic generation module \\(address: 0x21 / type: 0x90 SHGg\\)$",
         "^Firmware version:\\t\\S+$", "^Bootloader version:\\t\\S+$",
         "^Module serial number:\\t\\S+$", "^PCB serial number:\\t\\S+$"});
    row("0x90", "ls_dwls_feature?", {"^ZEL HG\\tDynamic wavelength switching feature enabled$"});

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
        verifyHelp(answer, module == QLatin1String("0x93") || module == QLatin1String("0x8d"));
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

QTEST_GUILESS_MAIN(TestSimProtocol)
#include "tst_simprotocol.moc"
