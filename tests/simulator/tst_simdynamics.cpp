// The virtual laser is a model, not a script: states settle after a delay, ovens warm up,
// the crystal stage travels, wavelength changes take time, counters run, settings stick.

#include "simtestclient.h"
#include "simtestsupport.h"

#include <QSet>
#include <QTest>

class TestSimDynamics : public QObject
{
    Q_OBJECT

private slots:
    void laserOnPassesThroughStandby();
    void outputEnableAndBackToListen();
    void realisticDelayAtSpeedOne();
    void ovensApproachTheirSetpoints();
    void crystalSpotTravelsTenSecondsPerSpot();
    void wavelengthChangeTakesTimeAndReportsCompletion();
    void setCommandsAreRemembered();
    void runTimesGrowOnlyWhileTheLaserRuns();
    void churnChangesWhatTheProgramWatches_data();
    void churnChangesWhatTheProgramWatches();
    void churnIsDeterminedByTheSeed();
    void churnRunsOnItsOwn();
};

namespace {

constexpr qint64 s_ms = 1000000;

// Time at which text had completely arrived, in the client's clock.
qint64 arrivalNs(const SimTestClient &client, const QByteArray &text)
{
    QByteArray seen;
    for (const SimTestClient::Chunk &chunk : client.chunks()) {
        seen += chunk.bytes;
        if (seen.contains(text)) {
            return chunk.atNs;
        }
    }
    return -1;
}

QList<QByteArray> fields(const QByteArray &reply, const QByteArray &tag)
{
    for (const QByteArray &line : SimTestClient::lines(reply)) {
        if (line.startsWith(tag + ' ')) {
            return line.split(' ');
        }
    }
    return {};
}

double valueAfter(const QByteArray &reply, const QByteArray &prefix, const QByteArray &suffix)
{
    for (const QByteArray &line : SimTestClient::lines(reply)) {
        if (line.startsWith(prefix) && line.endsWith(suffix)) {
            bool ok = false;
            const double value
                    = line.mid(prefix.size(), line.size() - prefix.size() - suffix.size())
                              .toDouble(&ok);
            return ok ? value : -1e300;
        }
    }
    return -1e300;
}

} // namespace

void TestSimDynamics::laserOnPassesThroughStandby()
{
    // At speed 20 the six seconds to standby take 300 ms and the four to laser-on 200 ms.
    auto simulator = startSimulator(QStringLiteral("0x93"), 20.0);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    client.clear();
    const qint64 sent = client.nowNs();
    client.send("ly_vtx2_disabled\n");
    QVERIFY(client.waitForText("Listen -> Standby\n", 2000));
    QVERIFY(!client.received().contains("Standby = ok"));

    // Meanwhile the laser answers, still reports listen and refuses another state change.
    const QByteArray status = client.exchange("ly_vtx2_dev_status?\n", 20);
    QCOMPARE(status, QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 9\n"));
    QCOMPARE(client.exchange("ly_vtx2_listen\n", 20),
             QByteArray("ly_vtx2_listen\nCommand refused: state change in progress.\n"));

    client.clear();
    QVERIFY(client.waitForText("Output disabled = ok\n", 5000));
    QCOMPARE(client.received(),
             QByteArray("Standby = ok\nStandby -> Output disabled\nOutput disabled = ok\n"));
    const qint64 standby = arrivalNs(client, "Standby = ok\n");
    const qint64 disabled = arrivalNs(client, "Output disabled = ok\n");
    QVERIFY2(standby - sent >= 285 * s_ms, qPrintable(QString::number((standby - sent) / s_ms)));
    QVERIFY2(standby - sent < 3000 * s_ms, qPrintable(QString::number((standby - sent) / s_ms)));
    QVERIFY2(disabled - standby >= 190 * s_ms,
             qPrintable(QString::number((disabled - standby) / s_ms)));
    QVERIFY2(disabled - standby < 3000 * s_ms,
             qPrintable(QString::number((disabled - standby) / s_ms)));

    QCOMPARE(client.exchange("ly_vtx2_dev_status?\n", 20),
             QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 65\n"));
    const QList<QByteArray> s7 = fields(client.exchange("s7\n", 20), "s7");
    QCOMPARE(s7.size(), 17);
    QCOMPARE(s7.at(1), QByteArray("0")); // no emission yet
    QCOMPARE(s7.at(4), QByteArray("1")); // ready
    QCOMPARE(s7.at(8), QByteArray("0.0"));
    QCOMPARE(s7.at(16), QByteArray("65"));
    QCOMPARE(client.exchange("ly_vtx2_disabled\n", 20),
             QByteArray("ly_vtx2_disabled\nAlready Disabled\n"));
}

void TestSimDynamics::outputEnableAndBackToListen()
{
    auto simulator = startSimulator(QStringLiteral("0x93"), 20.0, VelutraSimLaser::State::Disabled);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    QCOMPARE(client.exchange("ly_vtx2_output_enable\n", 50),
             QByteArray("ly_vtx2_output_enable\nLaser output enabled\nOutput enabled = ok\n"));
    QCOMPARE(client.exchange("ly_vtx2_dev_status?\n", 20),
             QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 129\n"));
    QCOMPARE(client.exchange("ly_vtx2_output?\n", 20),
             QByteArray("ly_vtx2_output?\nLaser output enabled\n"));
    const QList<QByteArray> s7 = fields(client.exchange("s7\n", 20), "s7");
    QCOMPARE(s7.size(), 17);
    QCOMPARE(s7.at(1), QByteArray("1"));
    QCOMPARE(s7.at(3), QByteArray("1"));
    const double measured = s7.at(8).toDouble();
    QVERIFY2(measured > 4900.0 && measured < 5100.0, s7.at(8).constData()); // follows 5000 nJ
    QCOMPARE(s7.at(16), QByteArray("129"));
    QCOMPARE(client.exchange("ly_vtx2_output_enable\n", 20),
             QByteArray("ly_vtx2_output_enable\nAlready Enabled\n"));

    client.clear();
    const qint64 sent = client.nowNs();
    client.send("ly_vtx2_listen\n");
    QVERIFY(client.waitForText("Listen = ok\n", 5000));
    QCOMPARE(client.received(), QByteArray("ly_vtx2_listen\nLaser output disabled\nOutput enabled "
                                           "-> Listen\nListen = ok\n"));
    QVERIFY(arrivalNs(client, "Listen = ok\n") - sent >= 142 * s_ms); // 3 s at speed 20
    QCOMPARE(client.exchange("ly_vtx2_dev_status?\n", 20),
             QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 9\n"));
    QCOMPARE(fields(client.exchange("s7\n", 20), "s7").value(8), QByteArray("0.0"));

    // Laser-on from enabled closes the output at once.
    auto second = startSimulator(QStringLiteral("0x93"), 20.0, VelutraSimLaser::State::Enabled);
    QVERIFY(second);
    SimTestClient other;
    QVERIFY(other.open(second->portName()));
    QCOMPARE(other.exchange("ly_vtx2_disabled\n", 50),
             QByteArray("ly_vtx2_disabled\nLaser output disabled\nOutput disabled = ok\n"));
    QCOMPARE(other.exchange("ly_vtx2_standby\n", 20),
             QByteArray("ly_vtx2_standby\nOutput disabled -> Standby\n"));
}

void TestSimDynamics::realisticDelayAtSpeedOne()
{
    auto simulator = startSimulator(QStringLiteral("0x93"), 1.0, VelutraSimLaser::State::Standby);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.clear();
    const qint64 sent = client.nowNs();
    client.send("ly_vtx2_listen\n");
    QVERIFY(client.waitForText("Standby -> Listen\n", 2000));
    QVERIFY(client.waitForText("Listen = ok\n", 8000));
    const qint64 settled = arrivalNs(client, "Listen = ok\n") - sent;
    QVERIFY2(settled >= 1950 * s_ms, qPrintable(QString::number(settled / s_ms)));
    QVERIFY2(settled < 6000 * s_ms, qPrintable(QString::number(settled / s_ms)));
}

void TestSimDynamics::ovensApproachTheirSetpoints()
{
    // Cold start: the ovens begin at room temperature and heat with a 40 s time constant,
    // which at speed 50 is 0.8 s.
    auto simulator = startSimulator(QStringLiteral("0x93"), 50.0);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    const QByteArray shg = "ZEL THG\tSHG Oven Temperature=";
    const double first = valueAfter(client.exchange("ls_temp_oven?\n", 20), shg, " C");
    QVERIFY2(first > 20.0 && first < 60.0, qPrintable(QString::number(first)));
    QCOMPARE(client.exchange("ls_enable?\n", 20),
             QByteArray("ls_enable?\nZEL HG\tCurrent FSM state=3\n"));
    client.pump(300);
    const double second = valueAfter(client.exchange("ls_temp_oven?\n", 20), shg, " C");
    QVERIFY2(second > first + 10.0 && second < 150.0, qPrintable(QString::number(second)));

    QVERIFY(client.waitFor(
            [&]() { return client.exchange("ls_enable?\n", 5).contains("Current FSM state=4\n"); },
            15000));
    const QByteArray ovens = client.exchange("ls_temp_oven?\n", 20);
    QVERIFY(qAbs(valueAfter(ovens, shg, " C") - 150.0) < 0.2);
    QVERIFY(qAbs(valueAfter(ovens, "ZEL THG\tTHG Oven Temperature=", " C") - 60.0) < 0.2);

    // A new set-point is approached again, from the side the oven is on.
    client.exchange("ls_temp_setpoint_THG=80.0\n", 20);
    client.pump(100);
    QCOMPARE(client.exchange("ls_enable?\n", 20),
             QByteArray("ls_enable?\nZEL HG\tCurrent FSM state=3\n"));
    const double rising = valueAfter(client.exchange("ls_temp_oven?\n", 20),
                                     "ZEL THG\tTHG Oven Temperature=", " C");
    QVERIFY2(rising > 60.5 && rising < 80.0, qPrintable(QString::number(rising)));

    // Switched off, they cool towards room temperature.
    QCOMPARE(client.exchange("ls_enable=2\n", 20),
             QByteArray("ls_enable=2\nZEL HG\tCurrent FSM state=2\n"));
    client.pump(300);
    const double cooling = valueAfter(client.exchange("ls_temp_oven?\n", 20), shg, " C");
    QVERIFY2(cooling < 140.0 && cooling > 24.0, qPrintable(QString::number(cooling)));
}

void TestSimDynamics::crystalSpotTravelsTenSecondsPerSpot()
{
    // Speed 20: ten seconds per spot are half a second.
    auto simulator = startSimulator(QStringLiteral("0x93"), 20.0);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    client.clear();
    const qint64 sent = client.nowNs();
    client.send("ls_crystal_setSpot=5\n");
    client.pump(700);
    QVERIFY(!client.received().contains("Current crystal spot=5"));
    QCOMPARE(client.exchange("ls_crystal_curSpot?\n", 20),
             QByteArray("ls_crystal_curSpot?\nZEL THG\tCurrent crystal spot=4\n"));
    QVERIFY(client.waitForText("ZEL THG\tCurrent crystal spot=5\n", 5000));
    const qint64 arrived = arrivalNs(client, "ZEL THG\tCurrent crystal spot=5\n") - sent;
    QVERIFY2(arrived >= 950 * s_ms, qPrintable(QString::number(arrived / s_ms)));
    QVERIFY2(arrived < 6000 * s_ms, qPrintable(QString::number(arrived / s_ms)));
    QCOMPARE(client.exchange("ls_crystal_curSpot?\n", 20),
             QByteArray("ls_crystal_curSpot?\nZEL THG\tCurrent crystal spot=5\n"));
}

void TestSimDynamics::wavelengthChangeTakesTimeAndReportsCompletion()
{
    // Speed 20: four seconds per change are 200 ms. The laser is emitting, ovens warm.
    auto simulator = startSimulator(QStringLiteral("0x93"), 20.0, VelutraSimLaser::State::Enabled);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    client.clear();
    const qint64 sent = client.nowNs();
    client.send("ls_wavelength=1\n");
    QVERIFY(client.waitForText("ZEL HG:\tDisabling AOM.\n", 2000));
    QCOMPARE(client.exchange("ls_wavelength?\n", 20),
             QByteArray("ls_wavelength?\nZEL THG\tCurrent position=IR\n"));
    client.clear();
    QVERIFY(client.waitForText("ZEL HG\tChanging wavelength complete.\n", 5000));
    QCOMPARE(client.received(),
             QByteArray("ZEL SHG\tMoved piezo stage to GREEN\nZEL SHG\tNew polarization: p\n"
                        "ZEL HG\tChanging wavelength complete.\n"));
    QVERIFY(arrivalNs(client, "complete.") - sent >= 190 * s_ms);
    QCOMPARE(client.exchange("ls_wavelength?\n", 20),
             QByteArray("ls_wavelength?\nZEL THG\tCurrent position=GREEN\n"));

    // 5000 nJ at 200 kHz is 1 W of infrared; about half of it comes out green.
    const QByteArray power = client.exchange("ls_output_power?\n", 20);
    const double green = valueAfter(power, "ZEL SHG\tOutput power=", " mW");
    QVERIFY2(green > 400.0 && green < 600.0, power.constData());
    QVERIFY(power.contains("ZEL THG\tOutput power=0.0 mW\n"));

    // The laser's own wavelength register moves the optics too, so it is not taken while
    // the laser is on; the module's selector is, and moves on to UV.
    QCOMPARE(client.exchange("ly_vtx_wvl 2\n", 20),
             QByteArray("ly_vtx_wvl 2\nCommand refused: only in listen or standby.\n"));
    client.clear();
    client.send("ls_wavelength=2\n");
    QVERIFY(client.waitForText("ZEL HG\tChanging wavelength complete.\n", 5000));
    QVERIFY(client.received().contains("ZEL SHG\tMoved piezo stage to UV\n"));
    const QByteArray uvPower = client.exchange("ls_output_power?\n", 20);
    const double uv = valueAfter(uvPower, "ZEL THG\tOutput power=", " mW");
    QVERIFY2(uv > 200.0 && uv < 400.0, uvPower.constData());
    QVERIFY(uvPower.contains("ZEL SHG\tOutput power=0.0 mW\n"));
    QCOMPARE(client.exchange("ls_wavelength?\n", 20),
             QByteArray("ls_wavelength?\nZEL THG\tCurrent position=UV\n"));

    // In standby the laser's register drives the module's selector.
    auto standby = startSimulator(QStringLiteral("0x93"), 20.0, VelutraSimLaser::State::Standby);
    QVERIFY(standby);
    SimTestClient other;
    QVERIFY(other.open(standby->portName()));
    other.clear();
    other.send("ly_vtx_wvl 1\n");
    QVERIFY(other.waitForText("ZEL HG\tChanging wavelength complete.\n", 5000));
    QVERIFY(other.received().contains("ZEL SHG\tMoved piezo stage to GREEN\n"));
}

void TestSimDynamics::setCommandsAreRemembered()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    const auto check = [&](const QByteArray &set, const QByteArray &query,
                           const QByteArray &expected) {
        client.exchange(set + '\n', 20);
        const QByteArray reply = client.exchange(query + '\n', 20);
        QVERIFY2(reply.contains(expected), qPrintable(QString::fromLatin1(set + " -> " + reply)));
    };
    check("e_freq 2", "e_freq?", "Frequency index parameter: 2\n");
    check("ly_vtx2_power=8000", "ly_vtx2_power?", "Setted laser power: 8000 nJ\n");
    // At 500 kHz the Velutra-10 gives at most 20 uJ: 8000 nJ is 40 %.
    check("e_div 10", "e_power?", "Setted laser power in relative unit: 40.00\n");
    check("e_power=1000", "ly_vtx2_power?", "Setted laser power: 5000 nJ\n");
    check("e_div 10", "e_div?", "Notice: Division factor for PCAOM is 10\n");
    check("e_mode 3", "e_mode?", "e_mode of AOM: 3\n");
    const QList<QByteArray> s7 = fields(client.exchange("s7\n", 20), "s7");
    QCOMPARE(s7.value(2), QByteArray("3"));
    QCOMPARE(s7.value(5), QByteArray("1000"));
    QCOMPARE(s7.value(6), QByteArray("10"));
    QCOMPARE(s7.value(7), QByteArray("2"));
    check("ly_vtx2_digiop=1", "ly_vtx2_digiop?", "= AOM CLOSED\n");
    check("d2=1", "d2?", "Debugging on communication channel 2 enabled\n");
    check("ls_temp_setpoint_SHG=155.5", "ls_temp_setpoint?", "SHG Oven Setpoint=155.5 C");
    check("ls_temp_setpoint_THG=45", "ls_temp_setpoint?", "THG Oven Setpoint=45.0 C");
    check("ls_dwls_enable=1", "ls_dwls_enable?", "switching enabled\n");
    check("ls_dwls_default=0,12345", "ls_dwls_default?",
          "IR Wavelength Index: 0 IR pulse energy = 12345\n");
    check("ls_enable=2", "ls_enable?", "Current FSM state=2\n");
    check("e_freq 6", "ly_vtx2_power=9999999", "Setted laser power: 200000 nJ\n"); // 50 kHz: 200 uJ
    check("ls_crystal_setSpot=3", "ls_crystal_curSpot?", "Current crystal spot=3\n");
}

void TestSimDynamics::runTimesGrowOnlyWhileTheLaserRuns()
{
    const auto minutes = [](const QList<QByteArray> &s6, int hours) {
        return s6.value(hours).toLongLong() * 60 + s6.value(hours + 1).toLongLong();
    };

    // Speed 100: 1.3 s are more than two minutes.
    auto idle = startSimulator(QStringLiteral("0x93"), 100.0);
    QVERIFY(idle);
    SimTestClient idleClient;
    QVERIFY(idleClient.open(idle->portName()));
    const QList<QByteArray> idleBefore = fields(idleClient.exchange("s6\n", 20), "s6");
    const double moduleBefore
            = valueAfter(idleClient.exchange("ls_module_runtime?\n", 20), "ZEL THG\tRuntime=", "s");
    idleClient.pump(1300);
    const QList<QByteArray> idleAfter = fields(idleClient.exchange("s6\n", 20), "s6");
    const double moduleAfter
            = valueAfter(idleClient.exchange("ls_module_runtime?\n", 20), "ZEL THG\tRuntime=", "s");
    QCOMPARE(idleAfter.size(), 13);
    QCOMPARE(minutes(idleAfter, 1), minutes(idleBefore, 1)); // listen is not "standby and up"
    QCOMPARE(minutes(idleAfter, 3), minutes(idleBefore, 3));
    QVERIFY2(moduleAfter - moduleBefore >= 120.0,
             qPrintable(QString::number(moduleAfter - moduleBefore)));

    auto running = startSimulator(QStringLiteral("0x93"), 100.0, VelutraSimLaser::State::Enabled);
    QVERIFY(running);
    SimTestClient client;
    QVERIFY(client.open(running->portName()));
    client.clear();
    client.send("ls_wavelength=2\n");
    QVERIFY(client.waitForText("complete.\n", 3000));
    const QList<QByteArray> before = fields(client.exchange("s6\n", 20), "s6");
    const double spotBefore = valueAfter(client.exchange("ls_crystal_curRuntime?\n", 20),
                                         "ZEL THG\tCurrent runtime=", "s");
    const QByteArray infoBefore = client.exchange("ly_system_info\n", 20);
    client.pump(1300);
    const QList<QByteArray> after = fields(client.exchange("s6\n", 20), "s6");
    const double spotAfter = valueAfter(client.exchange("ls_crystal_curRuntime?\n", 20),
                                        "ZEL THG\tCurrent runtime=", "s");
    const QByteArray infoAfter = client.exchange("ly_system_info\n", 20);
    QVERIFY(minutes(after, 1) - minutes(before, 1) >= 2);
    QVERIFY(minutes(after, 3) - minutes(before, 3) >= 2);
    QVERIFY2(spotAfter - spotBefore >= 120.0, qPrintable(QString::number(spotAfter - spotBefore)));
    QVERIFY(infoBefore != infoAfter); // the switch-on counters in the identity block run too
    const QList<QByteArray> all = fields(
            client.exchange("ls_crystal_allRuntimes?\n", 20).replace('=', ' '), "ZEL THG\tAll");
    QVERIFY(all.size() > 5);
}

namespace {

// What the program would see of the device now, by its own queries.
struct Watched
{
    QByteArray statusWord;
    QByteArray errorcode;
    QByteArray flags;
    bool shutter = false;
    QByteArray temperature; // s9 channel 1 actual
    QByteArray energy;
    QByteArray humidity;
};

Watched watch(SimTestClient &client, bool module)
{
    Watched seen;
    seen.statusWord = fields(client.exchange("s7\n", 20), "s7").value(16);
    seen.temperature = fields(client.exchange("s9\n", 20), "s9").value(2);
    seen.energy = SimTestClient::lines(client.exchange("ly_vtx2_power?\n", 20)).value(1);
    if (module) {
        seen.errorcode = SimTestClient::lines(client.exchange("ls_errorcode?\n", 20)).value(1);
        const QList<QByteArray> status = SimTestClient::lines(client.exchange("ls_status?\n", 20));
        seen.flags = status.value(1);
        seen.shutter = status.contains("ZEL HG\tShutter in wrong position.");
        seen.humidity = SimTestClient::lines(client.exchange("ls_humidity?\n", 20)).value(1);
    }
    return seen;
}

} // namespace

void TestSimDynamics::churnChangesWhatTheProgramWatches_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QStringList>("kinds"); // one step each, in this order, then again
    const QStringList all = {"state", "hg-error", "hg-flags", "shutter", "temperature", "power"};
    QTest::newRow("0x93") << "0x93" << all;
    QTest::newRow("0x86") << "0x86" << all;
    QTest::newRow("none") << "none" << QStringList{"state", "temperature", "power"};
}

void TestSimDynamics::churnChangesWhatTheProgramWatches()
{
    QFETCH(QString, module);
    QFETCH(QStringList, kinds);
    const bool hasModule = module != QLatin1String("none");
    // Speed 100 lets state changes settle between steps.
    auto simulator = startSimulator(module, 100.0);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    QList<QByteArray> errorcodes;
    for (int step = 0; step < 2 * kinds.size(); ++step) {
        const Watched before = watch(client, hasModule);
        client.clear();
        const QString answer = simulator->executeControl(QStringLiteral("churn step"));
        const QString kind = kinds.at(step % kinds.size());
        QVERIFY2(answer.startsWith(QStringLiteral("ok churn %1: %2 ").arg(step + 1).arg(kind)),
                 qPrintable(answer));
        client.pump(100); // unprompted lines, state changes settling (at least 3 s of model time)
        const QByteArray unprompted = client.received();
        const Watched after = watch(client, hasModule);

        if (kind == QLatin1String("state")) {
            QVERIFY2(unprompted.contains("->") || unprompted.contains("Laser output"),
                     unprompted.constData());
            QVERIFY2(after.statusWord != before.statusWord, qPrintable(answer));
        } else if (kind == QLatin1String("hg-error")) {
            QVERIFY(after.errorcode != before.errorcode);
            errorcodes << after.errorcode;
            // The status word's error bit follows the module's code.
            QCOMPARE((after.statusWord.toInt() & 0x02) != 0,
                     after.errorcode != "ZEL HG\tErrorcode=0");
        } else if (kind == QLatin1String("hg-flags")) {
            QVERIFY(after.flags != before.flags);
        } else if (kind == QLatin1String("shutter")) {
            QCOMPARE(after.shutter, !before.shutter);
            QCOMPARE((after.statusWord.toInt() & 0x04) != 0, after.shutter);
            if (after.shutter) {
                QVERIFY(unprompted.contains("ZEL HG\tShutter in wrong position.\n"));
            }
        } else if (kind == QLatin1String("temperature")) {
            QVERIFY(after.temperature != before.temperature || after.humidity != before.humidity);
        } else {
            QVERIFY2(after.energy != before.energy, after.energy.constData());
        }
    }
    if (hasModule) {
        // The error code came and went.
        QCOMPARE(errorcodes.size(), 2);
        QVERIFY(errorcodes.at(0) != "ZEL HG\tErrorcode=0");
        QCOMPARE(errorcodes.at(1), QByteArray("ZEL HG\tErrorcode=0"));
    }
    QVERIFY(simulator->executeControl(QStringLiteral("status"))
                    .contains(QStringLiteral("churn-steps=%1").arg(2 * kinds.size())));
}

void TestSimDynamics::churnIsDeterminedByTheSeed()
{
    const auto story = [](quint32 seed) {
        VelutraSimOptions options;
        options.pacing = false;
        options.laser.speed = 1000.0;
        options.laser.seed = seed;
        VelutraSimulator simulator(options);
        QStringList steps;
        for (int i = 0; i < 24; ++i) {
            steps << simulator.executeControl(QStringLiteral("churn step"));
            QTest::qWait(10); // state changes settle: 10 ms are 10 s of model time
        }
        return steps;
    };
    const QStringList first = story(7);
    QCOMPARE(first.size(), 24);
    QCOMPARE(story(7), first);
    QVERIFY(story(8) != first);
}

void TestSimDynamics::churnRunsOnItsOwn()
{
    // One step per model second; at speed 20 that is every 50 ms. The program only asks.
    VelutraSimOptions options;
    options.pacing = false;
    options.laser.speed = 20.0;
    options.laser.churnSeconds = 1.0;
    auto simulator = startSimulator(options);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    QSet<QByteArray> errorcodes;
    QSet<QByteArray> words;
    QVERIFY(client.waitFor(
            [&]() {
                const Watched seen = watch(client, true);
                errorcodes << seen.errorcode;
                words << seen.statusWord;
                return errorcodes.contains("ZEL HG\tErrorcode=0") && errorcodes.size() >= 3
                       && words.size() >= 3;
            },
            20000));
    QVERIFY(simulator->executeControl(QStringLiteral("churn off")) == QStringLiteral("ok"));
    const QString status = simulator->executeControl(QStringLiteral("status"));
    QVERIFY2(status.contains(QStringLiteral(" churn=off ")), qPrintable(status));
}

QTEST_GUILESS_MAIN(TestSimDynamics)
#include "tst_simdynamics.moc"
