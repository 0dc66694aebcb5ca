// Every fault the virtual laser can be told to commit does what it says, and the
// byte rate on the line is the one of 38400 baud 8N1.

#include "simtestclient.h"
#include "simtestsupport.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

class TestSimFaults : public QObject
{
    Q_OBJECT

private slots:
    void silentStopsAnswering();
    void echoCanBeLeftOut();
    void crLfLineEnds();
    void garbageBurst();
    void garbageBeforeEveryReply();
    void repliesInFragmentsWithPauses();
    void floodWithoutLineEnd();
    void unknownLines();
    void moduleErrorCodeAndFlags();
    void shutterWarning();
    void unplugAndReplug();
    void pacingHoldsTheByteRate();
    void hostileInputFromTheProgram();
    void controlCommandErrors();
};

namespace {

constexpr qint64 s_ms = 1000000;

} // namespace

void TestSimFaults::silentStopsAnswering()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(simulator->executeControl(QStringLiteral("silent on")), QStringLiteral("ok"));
    client.clear();
    client.send("s7\nly_system_info\n");
    client.pump(500);
    QCOMPARE(client.received(), QByteArray());
    QCOMPARE(simulator->executeControl(QStringLiteral("silent off")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::echoCanBeLeftOut()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(simulator->executeControl(QStringLiteral("echo off")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_freq?\n", 50), QByteArray("Frequency index parameter: 4\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("echo on")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::crLfLineEnds()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(simulator->executeControl(QStringLiteral("crlf on")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_div?\n", 50),
             QByteArray("e_div?\r\nNotice: Division factor for PCAOM is 1\r\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("crlf off")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_div?\n", 50),
             QByteArray("e_div?\nNotice: Division factor for PCAOM is 1\n"));
}

void TestSimFaults::garbageBurst()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.clear();
    QCOMPARE(simulator->executeControl(QStringLiteral("garbage 100")), QStringLiteral("ok"));
    QVERIFY(client.waitFor([&]() { return client.received().size() >= 100; }, 3000));
    client.pump(100);
    QCOMPARE(client.received().size(), 100);
    QVERIFY(!client.received().contains('\n'));
    QVERIFY(!client.received().contains('\r'));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::garbageBeforeEveryReply()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(simulator->executeControl(QStringLiteral("garbage-each 8")), QStringLiteral("ok"));
    for (int round = 0; round < 2; ++round) {
        const QByteArray reply = client.exchange("e_freq?\n", 50);
        const QByteArray clean = "e_freq?\nFrequency index parameter: 4\n";
        QCOMPARE(reply.size(), clean.size() + 8);
        QVERIFY(reply.endsWith(clean));
        QVERIFY(!reply.left(8).contains('\n'));
    }
    QCOMPARE(simulator->executeControl(QStringLiteral("garbage-each off")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::repliesInFragmentsWithPauses()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(simulator->executeControl(QStringLiteral("fragment 5 80")), QStringLiteral("ok"));
    const QByteArray expected
            = "e_div?\nNotice: Division factor for PCAOM is 1\n"; // 46 bytes: 10 pieces
    const QByteArray reply = client.exchange("e_div?\n", 300, 5000);
    QCOMPARE(reply, expected);
    const auto &chunks = client.chunks();
    QVERIFY2(chunks.size() >= 5, qPrintable(QString::number(chunks.size())));
    const qint64 spread = chunks.last().atNs - chunks.first().atNs;
    QVERIFY2(spread >= 9 * 80 * 95 / 100 * s_ms, qPrintable(QString::number(spread / s_ms)));
    QVERIFY(chunks.first().bytes.size() <= 5 || chunks.size() >= 5);
    QCOMPARE(simulator->executeControl(QStringLiteral("fragment off")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_div?\n", 50), expected);
    QCOMPARE(client.chunks().size(), 1);
}

void TestSimFaults::floodWithoutLineEnd()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.clear();
    QCOMPARE(simulator->executeControl(QStringLiteral("flood 20000")), QStringLiteral("ok"));
    QVERIFY(client.waitFor([&]() { return client.received().size() >= 20000; }, 10000));
    client.pump(100);
    QCOMPARE(client.received().size(), 20000);
    QVERIFY(!client.received().contains('\n'));
    QVERIFY(!client.received().contains('\r'));

    client.clear();
    QCOMPARE(simulator->executeControl(QStringLiteral("flood on")), QStringLiteral("ok"));
    client.pump(300);
    QVERIFY(client.received().size() > 20000);
    QVERIFY(simulator->executeControl(QStringLiteral("status"))
                    .contains(QLatin1String("flood=on")));
    QCOMPARE(simulator->executeControl(QStringLiteral("flood off")), QStringLiteral("ok"));
    client.pump(100);
    const int size = client.received().size();
    client.pump(300);
    QCOMPARE(client.received().size(), size);
    QVERIFY(!client.received().contains('\n'));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::unknownLines()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.clear();
    QCOMPARE(simulator->executeControl(QStringLiteral("unknown Fan speed 3200 rpm")),
             QStringLiteral("ok"));
    QVERIFY(client.waitForText("Fan speed 3200 rpm\n", 2000));
    QCOMPARE(client.received(), QByteArray("Fan speed 3200 rpm\n"));

    QCOMPARE(simulator->executeControl(QStringLiteral("unknown-each on")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("Unexpected status report 1\ne_freq?\nFrequency index parameter: 4\n"));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("Unexpected status report 2\ne_freq?\nFrequency index parameter: 4\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("unknown-each off")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::moduleErrorCodeAndFlags()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(simulator->executeControl(QStringLiteral("hg-error 17")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("ls_errorcode?\n", 50),
             QByteArray("ls_errorcode?\nZEL HG\tErrorcode=17\n"));
    // The laser's status word shows the error bit next to listen and power.
    QCOMPARE(client.exchange("ly_vtx2_dev_status?\n", 50),
             QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 11\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("hg-flags 1A")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("ls_status?\n", 50),
             QByteArray("ls_status?\nZEL HG\tStatus flags=001A\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("hg-flags 0x200")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("ls_status?\n", 50),
             QByteArray("ls_status?\nZEL HG\tStatus flags=0200\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("hg-error 0")), QStringLiteral("ok"));
    QCOMPARE(simulator->executeControl(QStringLiteral("hg-flags 0")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("ls_errorcode?\n", 50),
             QByteArray("ls_errorcode?\nZEL HG\tErrorcode=0\n"));
    QCOMPARE(client.exchange("ls_status?\n", 50),
             QByteArray("ls_status?\nZEL HG\tStatus flags=0000\n"));
    QCOMPARE(client.exchange("ly_vtx2_dev_status?\n", 50),
             QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 9\n"));
    QVERIFY(simulator->executeControl(QStringLiteral("hg-error 300"))
                    .startsWith(QLatin1String("error:")));
    QVERIFY(simulator->executeControl(QStringLiteral("hg-flags XYZ"))
                    .startsWith(QLatin1String("error:")));
}

void TestSimFaults::shutterWarning()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(simulator->executeControl(QStringLiteral("shutter on")), QStringLiteral("ok"));
    QCOMPARE(
            client.exchange("ls_status?\n", 50),
            QByteArray(
                    "ls_status?\nZEL HG\tStatus flags=0000\nZEL HG\tShutter in wrong position.\n"));
    QCOMPARE(client.exchange("ly_vtx2_dev_status?\n", 50),
             QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 13\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("shutter off")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("ls_status?\n", 50),
             QByteArray("ls_status?\nZEL HG\tStatus flags=0000\n"));
    client.clear();
    QCOMPARE(simulator->executeControl(QStringLiteral("shutter once")), QStringLiteral("ok"));
    QVERIFY(client.waitForText("\n", 2000));
    QCOMPARE(client.received(), QByteArray("ZEL HG\tShutter in wrong position.\n"));
}

void TestSimFaults::unplugAndReplug()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    const QString advert = simulator->advertisementPath();
    QVERIFY(QFile::exists(advert));
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QCOMPARE(client.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));

    QSignalSpy errors(&client.port(), &QSerialPort::errorOccurred);
    QSignalSpy unplugged(simulator.get(), &VelutraSimulator::sigUnplugged);
    // The program's side sees a read error in a loop once the other end has gone;
    // like the program, close on the first one.
    connect(&client.port(), &QSerialPort::errorOccurred, &client.port(),
            [&client](QSerialPort::SerialPortError error) {
                if (error == QSerialPort::ReadError || error == QSerialPort::ResourceError) {
                    client.close();
                }
            });
    QCOMPARE(simulator->executeControl(QStringLiteral("unplug")), QStringLiteral("ok"));
    QCOMPARE(unplugged.count(), 1);
    QVERIFY(!simulator->isPlugged());
    QVERIFY(!QFile::exists(advert));
    QTRY_VERIFY_WITH_TIMEOUT(!client.port().isOpen(), 3000);
    QVERIFY(simulator->executeControl(QStringLiteral("status"))
                    .contains(QLatin1String("plugged=no")));
    QCOMPARE(simulator->executeControl(QStringLiteral("garbage 10")),
             QStringLiteral("ok")); // harmless

    QSignalSpy plugged(simulator.get(), &VelutraSimulator::sigPlugged);
    const QString answer = simulator->executeControl(QStringLiteral("replug"));
    QVERIFY2(answer.startsWith(QLatin1String("ok /dev/pts/")), qPrintable(answer));
    QCOMPARE(plugged.count(), 1);
    QCOMPARE(answer.mid(3), simulator->portName());
    QVERIFY(QFile::exists(advert));
    QFile file(advert);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().contains("path=" + simulator->portName().toLatin1() + '\n'));

    SimTestClient again;
    QVERIFY(again.open(simulator->portName()));
    QCOMPARE(again.exchange("e_freq?\n", 50),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::pacingHoldsTheByteRate()
{
    auto paced = startSimulator(QStringLiteral("0x93"), 1.0, VelutraSimLaser::State::Listen, true);
    QVERIFY(paced);
    SimTestClient client;
    QVERIFY(client.open(paced->portName()));
    client.clear();
    constexpr int bytes = 7680; // two seconds of line time
    QCOMPARE(paced->executeControl(QStringLiteral("flood %1").arg(bytes)), QStringLiteral("ok"));
    QVERIFY(client.waitFor([&]() { return client.received().size() >= bytes; }, 10000));
    const qint64 spread = client.chunks().last().atNs - client.chunks().first().atNs;
    const double rate
            = double(bytes - client.chunks().first().bytes.size()) / (double(spread) * 1e-9);
    qInfo("paced: %d bytes in %.3f s, %.1f bytes/s", bytes, double(spread) * 1e-9, rate);
    QVERIFY2(rate > 3840.0 * 0.95 && rate < 3840.0 * 1.05, qPrintable(QString::number(rate)));

    // A real reply takes its line time as well: the identity block is about 480 bytes.
    client.clear();
    const qint64 sent = client.nowNs();
    const QByteArray reply = client.exchange("ly_system_info\n", 100);
    const qint64 lastByte = client.chunks().last().atNs - sent;
    QVERIFY2(double(lastByte) * 1e-9 >= double(reply.size() - 1) / 3840.0 * 0.95,
             qPrintable(QString::number(lastByte / s_ms)));

    // Without pacing the same flood is many times faster.
    auto fast = startSimulator(QStringLiteral("0x93"));
    QVERIFY(fast);
    SimTestClient fastClient;
    QVERIFY(fastClient.open(fast->portName()));
    fastClient.clear();
    const qint64 start = fastClient.nowNs();
    QCOMPARE(fast->executeControl(QStringLiteral("flood %1").arg(bytes)), QStringLiteral("ok"));
    QVERIFY(fastClient.waitFor([&]() { return fastClient.received().size() >= bytes; }, 10000));
    QVERIFY(fastClient.chunks().last().atNs - start < 1000 * s_ms);
}

void TestSimFaults::hostileInputFromTheProgram()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    QByteArray noise;
    for (int i = 0; i < 3000; ++i) {
        noise += char((i * 7919) % 256);
    }
    client.send(noise + '\n');
    client.pump(300);
    QCOMPARE(client.exchange("e_freq?\n", 100),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
}

void TestSimFaults::controlCommandErrors()
{
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    QVERIFY(simulator->executeControl(QStringLiteral("help")).contains(QLatin1String("unplug")));
    QCOMPARE(simulator->executeControl(QStringLiteral("bogus")),
             QStringLiteral("error: unknown command bogus (try help)"));
    QVERIFY(simulator->executeControl(QStringLiteral("silent maybe"))
                    .startsWith(QLatin1String("error:")));
    QVERIFY(simulator->executeControl(QStringLiteral("fragment x"))
                    .startsWith(QLatin1String("error:")));
    QVERIFY(simulator->executeControl(QStringLiteral("flood -3"))
                    .startsWith(QLatin1String("error:")));
    QCOMPARE(simulator->executeControl(QString()), QString());
    const QString status = simulator->executeControl(QStringLiteral("status"));
    QVERIFY2(status.startsWith(QLatin1String("state=listen status=9 module=0x93 plugged=yes")),
             qPrintable(status));
}

QTEST_GUILESS_MAIN(TestSimFaults)
#include "tst_simfaults.moc"
