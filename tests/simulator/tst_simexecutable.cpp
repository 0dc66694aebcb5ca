// The real velutra-sim executable: its first line, its advertisement, its control
// channels, its trace, its default pacing and its clean exit on a signal.

#include "simtestclient.h"
#include "simulatorsession.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

class TestSimExecutable : public QObject
{
    Q_OBJECT

private slots:
    void helpAndBadOptions();
    void printsAdvertisesAndCleansUpOnSigterm();
    void controlSocketUnplugReplugQuit();
    void standardInputControlAndSigint();
    void traceRecordsEveryByte();
    void pacedByDefault();
    void adapterLatencyFromTheCommandLine();
    void startOptions_data();
    void startOptions();
    void startFaultsThatCorruptTheLine();
    void linkRefusesToReplaceAFile();
    void churnFromTheCommandLine();
};

namespace {

QByteArray readAdvert(qint64 pid)
{
    QFile file(SimulatorSession::advertPath(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return QByteArray();
    }
    return file.readAll();
}

} // namespace

void TestSimExecutable::helpAndBadOptions()
{
    QProcess help;
    help.start(SimulatorSession::executable(), {QStringLiteral("--help")});
    QVERIFY(help.waitForFinished(10000));
    QCOMPARE(help.exitCode(), 0);
    const QByteArray text = help.readAllStandardOutput();
    for (const char *option :
         {"--model",    "--application",     "--module",        "--link",    "--no-pacing",
          "--trace",    "--speed",           "--silent",        "--no-echo", "--crlf",
          "--fragment", "--garbage",         "--unknown-lines", "--flood",   "--hg-error",
          "--hg-flags", "--shutter-warning", "--aom-mode",      "--churn",   "--seed",
          "--refuse",   "--debug-output",    "--state",         "--latency"}) {
        QVERIFY2(text.contains(option), option);
    }

    const QList<QStringList> bad = {{QStringLiteral("--module"), QStringLiteral("0x42")},
                                    {QStringLiteral("--model"), QStringLiteral("Velutra-7")},
                                    {QStringLiteral("--speed"), QStringLiteral("0")},
                                    {QStringLiteral("--fragment"), QStringLiteral("5")},
                                    {QStringLiteral("--aom-mode"), QStringLiteral("5")},
                                    {QStringLiteral("--churn"), QStringLiteral("0")},
                                    {QStringLiteral("--churn"), QStringLiteral("often")},
                                    {QStringLiteral("--seed"), QStringLiteral("-1")},
                                    {QStringLiteral("--refuse"), QStringLiteral("e_freq?")},
                                    {QStringLiteral("--latency"), QStringLiteral("256")},
                                    {QStringLiteral("--latency"), QStringLiteral("-1")},
                                    {QStringLiteral("--latency"), QStringLiteral("soon")},
                                    {QStringLiteral("--no-such-option")},
                                    {QStringLiteral("surplus")}};
    for (const QStringList &arguments : bad) {
        QProcess process;
        SimulatorProcessGuard guard{process};
        process.start(SimulatorSession::executable(), arguments);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(process.readAllStandardOutput().isEmpty());
        QVERIFY(process.readAllStandardError().startsWith("velutra-sim: "));
    }
}

void TestSimExecutable::printsAdvertisesAndCleansUpOnSigterm()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString link = folder.filePath(QStringLiteral("laser"));
    QProcess process;
    SimulatorProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(
            process, {QStringLiteral("--no-pacing"), QStringLiteral("--link"), link}, &port));
    const qint64 pid = process.processId();
    QCOMPARE(port, link);
    QFileInfo info(link);
    QVERIFY(info.isSymLink());
    QVERIFY(info.symLinkTarget().startsWith(QLatin1String("/dev/pts/")));

    const QByteArray advert = readAdvert(pid);
    QCOMPARE(advert, QStringLiteral("path=%1\ndescription=Virtual laser Velutra-10, harmonic "
                                    "module 0x93 (velutra-sim %2)\npid=%2\n")
                             .arg(link)
                             .arg(pid)
                             .toUtf8());
    QVERIFY(QFileInfo::exists(SimulatorSession::socketPath(pid)));
    // Nothing but the advertisement itself stays in the ports folder (the write is atomic).
    const QStringList entries = QDir(SimulatorSession::runtimeFolder() + QStringLiteral("/ports"))
                                        .entryList(QDir::Files);
    QVERIFY(entries.contains(QStringLiteral("velutra-sim-%1.port").arg(pid)));
    for (const QString &entry : entries) {
        QVERIFY2(entry.endsWith(QLatin1String(".port")), qPrintable(entry));
    }

    {
        SimTestClient client;
        QVERIFY(client.open(link));
        const QList<QByteArray> lines = SimTestClient::lines(client.exchange("ly_system_info\n"));
        QCOMPARE(lines.size(), 10);
        QCOMPARE(lines.at(0), QByteArray("ly_system_info"));
        QVERIFY(lines.at(1).startsWith("Velutra-10 Hardware:"));
        QCOMPARE(client.exchange("ly_vtx2_dev_status?\n"),
                 QByteArray("ly_vtx2_dev_status?\nly_vtx2_dev_status 9\n"));
    }

    process.terminate(); // SIGTERM
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!QFileInfo::exists(SimulatorSession::advertPath(pid)));
    QVERIFY(!QFileInfo::exists(SimulatorSession::socketPath(pid)));
    QVERIFY(!QFileInfo(link).isSymLink());
    QVERIFY(process.readAllStandardOutput().isEmpty()); // nothing after the port name
}

void TestSimExecutable::controlSocketUnplugReplugQuit()
{
    QProcess process;
    SimulatorProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(process,
                                  {QStringLiteral("--no-pacing"), QStringLiteral("--module"),
                                   QStringLiteral("0x86"), QStringLiteral("--model"),
                                   QStringLiteral("Velutra-3")},
                                  &port));
    const qint64 pid = process.processId();
    QVERIFY(port.startsWith(QLatin1String("/dev/pts/")));
    QVERIFY(readAdvert(pid).contains(
            "description=Virtual laser Velutra-3, harmonic module 0x86 (velutra-sim "));
    const QString socket = SimulatorSession::socketPath(pid);
    QVERIFY(QFileInfo::exists(socket));
    QVERIFY(controlSimulatorSocket(socket, "status")
                    .startsWith("state=listen status=9 module=0x86 plugged=yes port="
                                + port.toLatin1()));

    QCOMPARE(controlSimulatorSocket(socket, "unplug"), QByteArray("ok"));
    QVERIFY(!QFileInfo::exists(SimulatorSession::advertPath(pid)));
    QVERIFY(controlSimulatorSocket(socket, "status").contains("plugged=no"));

    const QByteArray answer = controlSimulatorSocket(socket, "replug");
    QVERIFY2(answer.startsWith("ok /dev/pts/"), answer.constData());
    const QString newPort = QString::fromLatin1(answer.mid(3));
    QTRY_VERIFY_WITH_TIMEOUT(process.canReadLine(), 5000);
    QCOMPARE(QString::fromLocal8Bit(process.readLine()).trimmed(),
             newPort); // a new first-line for the new port
    QVERIFY(readAdvert(pid).startsWith("path=" + newPort.toLatin1() + '\n'));
    {
        SimTestClient client;
        QVERIFY(client.open(newPort));
        QCOMPARE(client.exchange("ls_output_config?\n"),
                 QByteArray("ls_output_config?\nZEL HG WL output config: 0x03\n"));
    }

    QCOMPARE(controlSimulatorSocket(socket, "quit"), QByteArray("ok"));
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!QFileInfo::exists(SimulatorSession::advertPath(pid)));
    QVERIFY(!QFileInfo::exists(socket));
    QVERIFY(process.readAllStandardError().contains("velutra-sim: unplugged"));
}

void TestSimExecutable::standardInputControlAndSigint()
{
    QProcess process;
    SimulatorProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(
            process, {QStringLiteral("--no-pacing"), QStringLiteral("--no-control-socket")},
            &port));
    const qint64 pid = process.processId();
    QVERIFY(!QFileInfo::exists(SimulatorSession::socketPath(pid)));
    process.write("hg-error 12\nhg-flags 18\nbogus\n");
    QByteArray errors;
    QTRY_VERIFY_WITH_TIMEOUT(
            (errors += process.readAllStandardError()).contains("error: unknown command bogus"),
            5000);
    QVERIFY(errors.contains("ok\nok\nerror: unknown command bogus"));
    {
        SimTestClient client;
        QVERIFY(client.open(port));
        QCOMPARE(client.exchange("ls_errorcode?\n"),
                 QByteArray("ls_errorcode?\nZEL HG\tErrorcode=12\n"));
        QCOMPARE(client.exchange("ls_status?\n"),
                 QByteArray("ls_status?\nZEL HG\tStatus flags=0018\n"));
    }
    process.closeWriteChannel(); // end of input leaves the simulator running
    QTest::qWait(200);
    QCOMPARE(process.state(), QProcess::Running);
    QVERIFY(QFileInfo::exists(SimulatorSession::advertPath(pid)));

    ::kill(pid_t(pid), SIGINT);
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!QFileInfo::exists(SimulatorSession::advertPath(pid)));
}

void TestSimExecutable::traceRecordsEveryByte()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString trace = folder.filePath(QStringLiteral("trace.txt"));
    QProcess process;
    SimulatorProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(
            process, {QStringLiteral("--no-pacing"), QStringLiteral("--trace"), trace}, &port));
    {
        SimTestClient client;
        QVERIFY(client.open(port));
        QCOMPARE(client.exchange("e_freq?\n"),
                 QByteArray("e_freq?\nFrequency index parameter: 4\n"));
        client.send(QByteArray("\x01\xff", 2) + "\n");
        client.pump(200);
        // Two commands in one write, one command in two writes, a line feed alone.
        client.send("e_div?\ns6\n");
        client.pump(100);
        client.send("ly_vtx2_po");
        client.pump(100);
        client.send("wer?\n\na\"b\n");
        client.pump(200);
    }
    process.terminate();
    QVERIFY(process.waitForFinished(10000));

    QFile file(trace);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    const QRegularExpression in(QStringLiteral("^ *\\d+\\.\\d{6} IN  \"e_freq\\?\\\\n\"$"),
                                QRegularExpression::MultilineOption);
    const QRegularExpression out(
            QStringLiteral(
                    "^ *\\d+\\.\\d{6} OUT \"e_freq\\?\\\\nFrequency index parameter: 4\\\\n\"$"),
            QRegularExpression::MultilineOption);
    QVERIFY2(in.match(QString::fromLatin1(text)).hasMatch(), text.constData());
    QVERIFY2(out.match(QString::fromLatin1(text)).hasMatch(), text.constData());
    QVERIFY2(text.contains("IN  \"\\x01\\xff\\n\""), text.constData());
    QVERIFY(text.contains("plugged in as /dev/pts/"));

    // One CMD record per line the program ended with a line feed, however it was read.
    const QRegularExpression command(QStringLiteral("^ *\\d+\\.\\d{6} CMD \"(.*)\"$"),
                                     QRegularExpression::MultilineOption);
    QStringList commands;
    for (auto it = command.globalMatch(QString::fromLatin1(text)); it.hasNext();) {
        commands << it.next().captured(1);
    }
    QCOMPARE(commands, QStringList({"e_freq?", "\\x01\\xff", "e_div?", "s6", "ly_vtx2_power?", "",
                                    "a\\x22b"}));
}

void TestSimExecutable::pacedByDefault()
{
    QProcess process;
    SimulatorProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(process, {}, &port));
    const qint64 pid = process.processId();
    {
        SimTestClient client;
        QVERIFY(client.open(port));
        client.clear();
        const qint64 sent = client.nowNs();
        const QByteArray reply = client.exchange("ly_vtx2_power?\n", 100);
        QVERIFY(reply.size() > 300);
        const double seconds = double(client.chunks().last().atNs - sent) * 1e-9;
        QVERIFY2(seconds >= double(reply.size() - 1) / 3840.0 * 0.95,
                 qPrintable(QString::number(seconds)));

        client.clear();
        QCOMPARE(controlSimulatorSocket(SimulatorSession::socketPath(pid), "flood 3840"),
                 QByteArray("ok"));
        QVERIFY(client.waitFor([&]() { return client.received().size() >= 3840; }, 5000));
        const qint64 spread = client.chunks().last().atNs - client.chunks().first().atNs;
        const double rate
                = double(3840 - client.chunks().first().bytes.size()) / (double(spread) * 1e-9);
        qInfo("velutra-sim paced flood: %.1f bytes/s", rate);
        QVERIFY2(rate > 3840.0 * 0.95 && rate < 3840.0 * 1.05, qPrintable(QString::number(rate)));
    }
    process.terminate();
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
}

void TestSimExecutable::adapterLatencyFromTheCommandLine()
{
    // 16 ms unless told otherwise, like the common USB-serial adapters.
    const QList<QPair<QStringList, QByteArray>> cases
            = {{{}, " latency=16 "},
               {{QStringLiteral("--latency"), QStringLiteral("0")}, " latency=0 "},
               {{QStringLiteral("--latency"), QStringLiteral("255")}, " latency=255 "}};
    for (const auto &entry : cases) {
        QProcess process;
        SimulatorProcessGuard guard{process};
        QString port;
        QVERIFY(startSimulatorProcess(process, entry.first, &port));
        const QByteArray status = controlSimulatorSocket(
                SimulatorSession::socketPath(process.processId()), "status");
        QVERIFY2(status.contains(entry.second), status.constData());
        SimTestClient client;
        QVERIFY(client.open(port));
        QCOMPARE(client.exchange("e_freq?\n", 50),
                 QByteArray("e_freq?\nFrequency index parameter: 4\n"));
        client.close();
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 0);
    }
}

void TestSimExecutable::startOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char *name, const QStringList &arguments, const char *command,
                        const char *expected) {
        QTest::newRow(name) << arguments << QByteArray(command) << QByteArray(expected);
    };
    row("no echo", {"--no-echo"}, "e_freq?\n", "Frequency index parameter: 4\n");
    row("crlf", {"--crlf"}, "e_freq?\n", "e_freq?\r\nFrequency index parameter: 4\r\n");
    row("unknown lines", {"--unknown-lines"}, "e_freq?\n",
        "Unexpected status report 1\ne_freq?\nFrequency index parameter: 4\n");
    row("hg error", {"--hg-error", "17"}, "ls_errorcode?\n",
        "ls_errorcode?\nZEL HG\tErrorcode=17\n");
    row("hg flags", {"--hg-flags", "0x18"}, "ls_status?\n",
        "ls_status?\nZEL HG\tStatus flags=0018\n");
    row("shutter", {"--shutter-warning"}, "ls_status?\n",
        "ls_status?\nZEL HG\tStatus flags=0000\nZEL HG\tShutter in wrong position.\n");
    row("state enabled", {"--state", "enabled"}, "ly_vtx2_dev_status?\n",
        "ly_vtx2_dev_status?\nly_vtx2_dev_status 129\n");
    row("debug output", {"--debug-output"}, "d2?\n",
        "d2?\nDebugging on communication channel 2 enabled\n");
    row("no module", {"--module", "none"}, "ls?\n",
        "ls?\nNo harmonic generation module connected.\n");
    row("module 0x90", {"--module", "0x90"}, "ls_output_config?\n",
        "ls_output_config?\nZEL HG WL output config: 0x03\n");
    row("debug output switched off", {"--debug-output"}, "d2=0\n",
        "d2=0\nOk write debug Communication value to eeprom\n"
        "Debugging on communication channel 2 disabled\n");
    row("aom mode 3", {"--aom-mode", "3"}, "e_mode?\n", "e_mode?\ne_mode of AOM: 3\n");
    row("aom mode 8", {"--aom-mode", "8"}, "e_mode?\n", "e_mode?\ne_mode of AOM: 8\n");
    row("refuse", {"--refuse", "ly_vtx2_power", "--refuse", "e_div"}, "e_div 4\n",
        "e_div 4\nCommand refused: e_div.\n");
}

void TestSimExecutable::startOptions()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, expected);
    QProcess process;
    SimulatorProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(process, arguments + QStringList{QStringLiteral("--no-pacing")},
                                  &port));
    SimTestClient client;
    QVERIFY(client.open(port));
    QCOMPARE(client.exchange(command), expected);
}

void TestSimExecutable::startFaultsThatCorruptTheLine()
{
    const QByteArray clean = "e_freq?\nFrequency index parameter: 4\n";
    {
        QProcess process;
        SimulatorProcessGuard guard{process};
        QString port;
        QVERIFY(startSimulatorProcess(
                process, {QStringLiteral("--no-pacing"), QStringLiteral("--silent")}, &port));
        SimTestClient client;
        QVERIFY(client.open(port));
        client.send("e_freq?\n");
        client.pump(400);
        QCOMPARE(client.received(), QByteArray());
    }
    {
        QProcess process;
        SimulatorProcessGuard guard{process};
        QString port;
        QVERIFY(startSimulatorProcess(
                process,
                {QStringLiteral("--no-pacing"), QStringLiteral("--garbage"), QStringLiteral("5")},
                &port));
        SimTestClient client;
        QVERIFY(client.open(port));
        const QByteArray reply = client.exchange("e_freq?\n");
        QCOMPARE(reply.size(), clean.size() + 5);
        QVERIFY(reply.endsWith(clean));
    }
    {
        QProcess process;
        SimulatorProcessGuard guard{process};
        QString port;
        QVERIFY(startSimulatorProcess(process,
                                      {QStringLiteral("--no-pacing"), QStringLiteral("--fragment"),
                                       QStringLiteral("4:60")},
                                      &port));
        SimTestClient client;
        QVERIFY(client.open(port));
        QCOMPARE(client.exchange("e_freq?\n", 250), clean);
        QVERIFY(client.chunks().size() >= 3);
        QVERIFY(client.chunks().last().atNs - client.chunks().first().atNs
                >= qint64(9 * 60 * 95 / 100) * 1000000);
    }
    {
        QProcess process;
        SimulatorProcessGuard guard{process};
        QString port;
        QVERIFY(startSimulatorProcess(
                process, {QStringLiteral("--no-pacing"), QStringLiteral("--flood")}, &port));
        SimTestClient client;
        QVERIFY(client.open(port));
        client.clear();
        QVERIFY(client.waitFor([&]() { return client.received().size() >= 10000; }, 5000));
        QVERIFY(!client.received().contains('\n'));
        QCOMPARE(controlSimulatorSocket(SimulatorSession::socketPath(process.processId()),
                                        "flood off"),
                 QByteArray("ok"));
    }
    {
        QProcess process;
        SimulatorProcessGuard guard{process};
        QString port;
        QVERIFY(startSimulatorProcess(
                process,
                {QStringLiteral("--no-pacing"), QStringLiteral("--application"),
                 QStringLiteral("SW_MAIN_006_VTX.2.1"), QStringLiteral("--model"),
                 QStringLiteral("Velutra-2"), QStringLiteral("--speed"), QStringLiteral("20")},
                &port));
        SimTestClient client;
        QVERIFY(client.open(port));
        const QList<QByteArray> lines = SimTestClient::lines(client.exchange("ly_system_info\n"));
        QVERIFY(lines.value(1).startsWith("Velutra-2 Hardware:"));
        QCOMPARE(lines.value(2), QByteArray("SW_MAIN_006_VTX.2.1"));
        client.clear();
        client.send("ly_vtx2_standby\n");
        QVERIFY(client.waitForText("Standby = ok\n", 3000)); // 6 s at speed 20
    }
}

void TestSimExecutable::linkRefusesToReplaceAFile()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString path = folder.filePath(QStringLiteral("precious"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("keep me");
    file.close();
    QProcess process;
    SimulatorProcessGuard guard{process};
    process.start(SimulatorSession::executable(), {QStringLiteral("--link"), path});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(process.readAllStandardError().contains("is not a symbolic link"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("keep me"));

    // A link left behind by an earlier run is replaced.
    const QString link = folder.filePath(QStringLiteral("laser"));
    QVERIFY(QFile::link(QStringLiteral("/dev/null"), link));
    QProcess second;
    SimulatorProcessGuard secondGuard{second};
    QString port;
    QVERIFY(startSimulatorProcess(
            second, {QStringLiteral("--no-pacing"), QStringLiteral("--link"), link}, &port));
    QCOMPARE(port, link);
    QVERIFY(QFileInfo(link).symLinkTarget().startsWith(QLatin1String("/dev/pts/")));
}

void TestSimExecutable::churnFromTheCommandLine()
{
    // A churn step every model second, at speed 20 every 50 ms; the trace shows each step
    // and exactly the commands the program wrote, which here are queries only.
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString trace = folder.filePath(QStringLiteral("trace.txt"));
    QProcess process;
    SimulatorProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(process,
                                  {QStringLiteral("--no-pacing"), QStringLiteral("--churn"),
                                   QStringLiteral("1"), QStringLiteral("--speed"),
                                   QStringLiteral("20"), QStringLiteral("--seed"),
                                   QStringLiteral("3"), QStringLiteral("--trace"), trace},
                                  &port));
    int sent = 0;
    {
        SimTestClient client;
        QVERIFY(client.open(port));
        QSet<QByteArray> codes;
        QVERIFY(client.waitFor(
                [&]() {
                    ++sent;
                    // A state change of the churn may come first, and a late answer may be
                    // missing: only error-code lines count.
                    const QByteArrayList reply
                            = SimTestClient::lines(client.exchange("ls_errorcode?\n", 20));
                    for (const QByteArray &line : reply) {
                        if (line.startsWith("ZEL HG\tErrorcode=")) {
                            codes << line;
                        }
                    }
                    return codes.size() >= 2 && codes.contains("ZEL HG\tErrorcode=0");
                },
                20000));
        const QByteArray status = controlSimulatorSocket(
                SimulatorSession::socketPath(process.processId()), "status");
        QVERIFY2(status.contains(" churn=1 "), status.constData());
        QCOMPARE(controlSimulatorSocket(SimulatorSession::socketPath(process.processId()),
                                        "churn off"),
                 QByteArray("ok"));
    }
    process.terminate();
    QVERIFY(process.waitForFinished(10000));

    QFile file(trace);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QVERIFY2(text.contains("--- \"churn 1: state to "), text.constData());
    QVERIFY2(text.contains("--- \"churn 2: hg-error "), text.constData());
    QCOMPARE(int(text.count(" CMD \"ls_errorcode?\"\n")), sent);
    QCOMPARE(int(text.count(" CMD \"")), sent);
}

QTEST_GUILESS_MAIN(TestSimExecutable)
#include "tst_simexecutable.moc"
