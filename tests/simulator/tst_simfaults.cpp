// Every fault the virtual laser can be told to commit does what it says, and the
// byte rate on the line is the one of 38400 baud 8N1.

#include "simtestclient.h"
#include "simtestsupport.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

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
    void latencyHandsOnInBursts();
    void latencyZeroKeepsLinePacing();
    void latencyChangesWhileRunning();
    void hostileInputFromTheProgram();
    void controlCommandErrors();
    void refuseChosenSetCommands_data();
    void refuseChosenSetCommands();
    void refusalsAreListedAndTakenBack();
};

namespace {

constexpr qint64 s_ms = 1000000;

struct OutRecord
{
    qint64 atNs;
    int bytes;
};

// The writes to the pseudo-terminal as the trace records them.
QList<OutRecord> outRecords(const QString &tracePath)
{
    QFile file(tracePath);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    static const QRegularExpression record(QStringLiteral("^ *(\\d+)\\.(\\d{6}) OUT \"(.*)\"$"));
    QList<OutRecord> records;
    while (!file.atEnd()) {
        const QString line = QString::fromLatin1(file.readLine()).chopped(1);
        const QRegularExpressionMatch match = record.match(line);
        if (match.hasMatch()) {
            // The flood is plain letters, so the record holds the bytes unescaped.
            records.append({match.captured(1).toLongLong() * 1000 * s_ms
                                    + match.captured(2).toLongLong() * 1000,
                            match.captured(3).size()});
        }
    }
    return records;
}

// What "flood N" sends on a port that has not flooded before.
QByteArray floodBytes(int count)
{
    QByteArray bytes(count, Qt::Uninitialized);
    for (int index = 0; index < count; ++index) {
        bytes[index] = char('A' + index % 26);
    }
    return bytes;
}

template<typename Gap>
qint64 medianGapNs(int count, Gap gap)
{
    QList<qint64> gaps;
    for (int index = 1; index < count; ++index) {
        gaps.append(gap(index));
    }
    if (gaps.isEmpty()) {
        return 0;
    }
    std::sort(gaps.begin(), gaps.end());
    return gaps.at(gaps.size() / 2);
}

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

void TestSimFaults::latencyHandsOnInBursts()
{
    // Up to 33 ms the timer always decides: the 256-byte buffer cannot fill sooner at the
    // paced rate, even with the catch-up a late pacing tick allows.
    constexpr int latencyMs = 32;
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    VelutraSimOptions options;
    options.latencyMs = latencyMs;
    options.tracePath = folder.filePath(QStringLiteral("trace.txt"));
    auto simulator = startSimulator(options);
    QVERIFY(simulator);
    QVERIFY(simulator->executeControl(QStringLiteral("status")).contains(" latency=32 "));
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.clear();

    constexpr int bytes = 1920; // half a second of line time
    QCOMPARE(simulator->executeControl(QStringLiteral("flood %1").arg(bytes)),
             QStringLiteral("ok"));
    QVERIFY(client.waitFor([&]() { return client.received().size() >= bytes; }, 10000));
    client.pump(2 * latencyMs);
    QCOMPARE(client.received(), floodBytes(bytes));

    // The adapter hands on at most once a latency period, everything it holds at once.
    const QList<OutRecord> writes = outRecords(options.tracePath);
    QVERIFY2(writes.size() >= 10, qPrintable(QString::number(writes.size())));
    int written = writes.first().bytes;
    for (int index = 1; index < writes.size(); ++index) {
        const qint64 gap = writes.at(index).atNs - writes.at(index - 1).atNs;
        QVERIFY2(gap >= latencyMs * s_ms,
                 qPrintable(QStringLiteral("write %1 came %2 us after the one before")
                                    .arg(index)
                                    .arg(gap / 1000)));
        written += writes.at(index).bytes;
    }
    QCOMPARE(written, bytes);
    // The line still carries 3840 bytes/s: a period's worth arrives in each burst.
    const qint64 spread = writes.last().atNs - writes.first().atNs;
    const double rate = double(bytes - writes.first().bytes) / (double(spread) * 1e-9);
    QVERIFY2(rate > 3840.0 * 0.9 && rate < 3840.0 * 1.1, qPrintable(QString::number(rate)));

    // The program's reads follow the bursts. Its own scheduling may shift single reads,
    // so the middle of the gaps is what must show the period.
    const QList<SimTestClient::Chunk> &reads = client.chunks();
    QVERIFY2(
            reads.size() <= writes.size() + 2,
            qPrintable(QStringLiteral("%1 reads, %2 writes").arg(reads.size()).arg(writes.size())));
    const qint64 median = medianGapNs(int(reads.size()), [&](int index) {
        return reads.at(index).atNs - reads.at(index - 1).atNs;
    });
    QVERIFY2(median >= latencyMs * s_ms * 3 / 4, qPrintable(QString::number(median / 1000)));
}

void TestSimFaults::latencyZeroKeepsLinePacing()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    VelutraSimOptions options;
    options.latencyMs = 0;
    options.tracePath = folder.filePath(QStringLiteral("trace.txt"));
    auto simulator = startSimulator(options);
    QVERIFY(simulator);
    QVERIFY(simulator->executeControl(QStringLiteral("status")).contains(" latency=0 "));
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));
    client.clear();

    constexpr int bytes = 1920;
    QCOMPARE(simulator->executeControl(QStringLiteral("flood %1").arg(bytes)),
             QStringLiteral("ok"));
    QVERIFY(client.waitFor([&]() { return client.received().size() >= bytes; }, 10000));
    QCOMPARE(client.received(), floodBytes(bytes));

    // Straight from the line: a few bytes every pacing tick of 4 ms.
    const QList<OutRecord> writes = outRecords(options.tracePath);
    QVERIFY2(writes.size() >= 40, qPrintable(QString::number(writes.size())));
    const qint64 median = medianGapNs(int(writes.size()), [&](int index) {
        return writes.at(index).atNs - writes.at(index - 1).atNs;
    });
    QVERIFY2(median < 10 * s_ms, qPrintable(QString::number(median / 1000)));
    QList<int> sizes;
    for (const OutRecord &write : writes) {
        sizes.append(write.bytes);
    }
    std::sort(sizes.begin(), sizes.end());
    QVERIFY2(sizes.at(sizes.size() / 2) <= 32,
             qPrintable(QString::number(sizes.at(sizes.size() / 2))));
}

void TestSimFaults::latencyChangesWhileRunning()
{
    VelutraSimOptions options;
    options.pacing = false;
    auto simulator = startSimulator(options);
    QVERIFY(simulator);
    QVERIFY(simulator->executeControl(QStringLiteral("status")).contains(" latency=16 "));
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    // The adapter's timer runs on from its last hand-over, so right after a reply the
    // next hand-over is most of a long period away.
    QCOMPARE(simulator->executeControl(QStringLiteral("latency 250")), QStringLiteral("ok"));
    QCOMPARE(client.exchange("e_freq?\n", 20),
             QByteArray("e_freq?\nFrequency index parameter: 4\n"));
    client.clear();
    client.send("e_div?\n");
    client.pump(30);
    QVERIFY2(client.received().isEmpty(), client.received().constData());

    // Switched off, what is held goes at once, not when the old period would have ended.
    QCOMPARE(simulator->executeControl(QStringLiteral("latency 0")), QStringLiteral("ok"));
    QVERIFY(client.waitForText("Notice: Division factor for PCAOM is 1\n", 150));
    QCOMPARE(client.received(), QByteArray("e_div?\nNotice: Division factor for PCAOM is 1\n"));
    QVERIFY(simulator->executeControl(QStringLiteral("status")).contains(" latency=0 "));

    for (const QString &bad : {QStringLiteral("latency"), QStringLiteral("latency 256"),
                               QStringLiteral("latency -1"), QStringLiteral("latency soon")}) {
        QVERIFY2(simulator->executeControl(bad).startsWith(QLatin1String("error: ")),
                 qPrintable(bad));
    }
    QVERIFY(simulator->executeControl(QStringLiteral("status")).contains(" latency=0 "));
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
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse ly_vtx2_power?")),
             QStringLiteral("error: ly_vtx2_power? is not a set command"));
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse s7")),
             QStringLiteral("error: s7 is not a set command"));
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse ly_system_info")),
             QStringLiteral("error: ly_system_info is not a set command"));
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse no_such_thing")),
             QStringLiteral("error: no_such_thing is not a set command"));
    QVERIFY(simulator->executeControl(QStringLiteral("accept"))
                    .startsWith(QLatin1String("error:")));
    QVERIFY(simulator->executeControl(QStringLiteral("churn 0"))
                    .startsWith(QLatin1String("error:")));
    QVERIFY(simulator->executeControl(QStringLiteral("churn sometimes"))
                    .startsWith(QLatin1String("error:")));
    QCOMPARE(simulator->executeControl(QString()), QString());
    const QString status = simulator->executeControl(QStringLiteral("status"));
    QVERIFY2(status.startsWith(QLatin1String("state=listen status=9 module=0x93 plugged=yes")),
             qPrintable(status));
}

void TestSimFaults::refuseChosenSetCommands_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("query");
    QTest::addColumn<QByteArray>("before"); // reported by the query, refused or not
    QTest::addColumn<QByteArray>("after"); // reported once the command is taken again

    const auto row = [](const char *name, const char *command, const char *query,
                        const char *before, const char *after) {
        QTest::newRow(command) << QString::fromLatin1(name) << QByteArray(command)
                               << QByteArray(query) << QByteArray(before) << QByteArray(after);
    };
    row("ly_vtx2_power", "ly_vtx2_power=800", "ly_vtx2_power?", "Setted laser power: 5000 nJ\n",
        "Setted laser power: 800 nJ\n");
    row("e_power", "e_power=2000", "e_power?", "relative unit: 10.00\n", "relative unit: 50.00\n");
    row("e_freq", "e_freq 2", "e_freq?", "parameter: 4\n", "parameter: 2\n");
    row("e_div", "e_div 3", "e_div?", "PCAOM is 1\n", "PCAOM is 3\n");
    row("e_mode", "e_mode 3", "e_mode?", "AOM: 2\n", "AOM: 3\n");
    row("ls_temp_setpoint_THG", "ls_temp_setpoint_THG=70", "ls_temp_setpoint?",
        "THG Oven Setpoint=60.0 C", "THG Oven Setpoint=70.0 C");
    row("ls_enable", "ls_enable=2", "ls_enable?", "FSM state=3\n", "FSM state=2\n");
    row("ls_dwls_enable", "ls_dwls_enable=1", "ls_dwls_enable?", "switching disabled\n",
        "switching enabled\n");
    row("ly_vtx2_digiop", "ly_vtx2_digiop=1", "ly_vtx2_digiop?", "AOM OPEN\n", "AOM CLOSED\n");
    row("d2", "d2=1", "d2?", "channel 2 disabled\n", "channel 2 enabled\n");
    row("ly_vtx2_standby", "ly_vtx2_standby", "ly_vtx2_dev_status?", "ly_vtx2_dev_status 9\n",
        "ly_vtx2_dev_status 9\n"); // the change has begun; listen stays set meanwhile
}

void TestSimFaults::refuseChosenSetCommands()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, query);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    auto simulator = startSimulator(QStringLiteral("0x93"));
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    QCOMPARE(simulator->executeControl(QStringLiteral("refuse ") + name), QStringLiteral("ok"));
    QCOMPARE(client.exchange(command + '\n', 30),
             command + "\nCommand refused: " + name.toLatin1() + ".\n");
    // Queries are answered as ever, and report the value the device kept.
    QByteArray reply = client.exchange(query + '\n', 30);
    QVERIFY2(reply.contains(before), reply.constData());

    QCOMPARE(simulator->executeControl(QStringLiteral("accept ") + name), QStringLiteral("ok"));
    reply = client.exchange(command + '\n', 30);
    QVERIFY2(!reply.contains("refused"), reply.constData());
    reply = client.exchange(query + '\n', 30);
    QVERIFY2(reply.contains(after), reply.constData());
}

void TestSimFaults::refusalsAreListedAndTakenBack()
{
    VelutraSimOptions options;
    options.pacing = false;
    options.laser.refused = QStringList{QStringLiteral("e_freq")};
    auto simulator = startSimulator(options);
    QVERIFY(simulator);
    SimTestClient client;
    QVERIFY(client.open(simulator->portName()));

    QCOMPARE(client.exchange("e_freq 1\n"), QByteArray("e_freq 1\nCommand refused: e_freq.\n"));
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse ly_vtx2_power")),
             QStringLiteral("ok"));
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse ly_vtx2_power")),
             QStringLiteral("ok")); // twice is once
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse")),
             QStringLiteral("ok e_freq ly_vtx2_power"));
    QVERIFY(simulator->executeControl(QStringLiteral("status"))
                    .endsWith(QLatin1String(" refused=e_freq,ly_vtx2_power")));
    QCOMPARE(client.exchange("ly_vtx2_power?\n").count('\n'), 19); // queries are never refused

    QCOMPARE(simulator->executeControl(QStringLiteral("accept all")), QStringLiteral("ok"));
    QCOMPARE(simulator->executeControl(QStringLiteral("refuse")), QStringLiteral("ok"));
    QVERIFY(simulator->executeControl(QStringLiteral("status"))
                    .endsWith(QLatin1String(" refused=-")));
    QCOMPARE(client.exchange("e_freq 1\n"), QByteArray("e_freq 1\nFrequency index parameter: 1\n"));
}

QTEST_GUILESS_MAIN(TestSimFaults)
#include "tst_simfaults.moc"
