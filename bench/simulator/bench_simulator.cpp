// How long the virtual laser's replies take on a paced line: bytes and time per polled
// command of a third-harmonic module, the whole polling cycle, and the raw byte rate.
//
//   build/bench/simulator/bench_simulator [--module 0x93]

#include "simtestclient.h"
#include "velutrasimulator.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    VelutraSimOptions options;
    const QStringList arguments = QCoreApplication::arguments();
    const int moduleAt = arguments.indexOf(QStringLiteral("--module"));
    if (moduleAt > 0
        && !VelutraSimLaser::parseModule(arguments.value(moduleAt + 1), &options.laser.module)) {
        std::fprintf(stderr, "unknown module\n");
        return 2;
    }
    options.laser.initialState = VelutraSimLaser::State::Enabled;
    // The line's own timing, without an adapter's latency timer on top.
    options.latencyMs = 0;
    VelutraSimulator simulator(options);
    QString error;
    if (!simulator.plugIn(&error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    SimTestClient client;
    if (!client.open(simulator.portName())) {
        std::fprintf(stderr, "cannot open %s\n", qPrintable(simulator.portName()));
        return 1;
    }

    const QList<QByteArray> polled = {"s6",
                                      "s7",
                                      "s8",
                                      "s9",
                                      "ly_vtx2_power?",
                                      "e_power?",
                                      "e_freq?",
                                      "e_div?",
                                      "ls_humidity?",
                                      "ls_enable?",
                                      "ls_temp_setpoint?",
                                      "ls_temp_oven?",
                                      "ly_vtx2_output?",
                                      "ls_crystal_allRuntimes?",
                                      "ls_crystal_curSpot?",
                                      "ls_crystal_curRuntime?",
                                      "ls_crystal_maxRuntime?",
                                      "ls_wavelength?",
                                      "ls_status?",
                                      "ls_errorcode?",
                                      "ls_output_power?",
                                      "ls_module_runtime?",
                                      "ls_dwls_enable?",
                                      "ls_dwls_default?"};
    constexpr int quietMs = 40;
    std::printf("%-26s %6s %9s %9s\n", "command", "bytes", "last ms", "line ms");
    qint64 totalBytes = 0;
    double totalMs = 0.0;
    for (const QByteArray &command : polled) {
        client.clear();
        const qint64 sent = client.nowNs();
        const QByteArray reply = client.exchange(command + '\n', quietMs, 5000);
        const double lastMs = client.chunks().isEmpty()
                                      ? 0.0
                                      : double(client.chunks().last().atNs - sent) / 1e6;
        std::printf("%-26s %6d %9.1f %9.1f\n", command.constData(), int(reply.size()), lastMs,
                    reply.size() * 1000.0 / 3840.0);
        totalBytes += reply.size();
        totalMs += lastMs;
    }
    std::printf("%-26s %6lld %9.1f %9.1f\n", "polling cycle", static_cast<long long>(totalBytes),
                totalMs, double(totalBytes) * 1000.0 / 3840.0);

    client.clear();
    constexpr int floodBytes = 11520;
    simulator.executeControl(QStringLiteral("flood %1").arg(floodBytes));
    client.waitFor([&]() { return client.received().size() >= floodBytes; }, 20000);
    const double seconds = double(client.chunks().last().atNs - client.chunks().first().atNs) / 1e9;
    std::printf("paced flood: %d bytes in %.3f s = %.1f bytes/s (nominal 3840)\n", floodBytes,
                seconds, (floodBytes - client.chunks().first().bytes.size()) / seconds);
    return 0;
}
