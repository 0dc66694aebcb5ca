#include "velutrasimoptions.h"

#include <QCommandLineParser>

namespace {

bool parseInt(const QString &text, int low, int high, int *value)
{
    bool ok = false;
    const int parsed = text.toInt(&ok, 0);
    if (!ok || parsed < low || parsed > high) {
        return false;
    }
    *value = parsed;
    return true;
}

} // namespace

bool VelutraSimOptions::parse(const QStringList &arguments, VelutraSimOptions *options,
                              QString *message, bool *helpRequested)
{
    *helpRequested = false;
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
            "A virtual Velutra laser on a pseudo-terminal. The first line of standard output is "
            "the port to open; control commands are read from standard input and from a "
            "Unix-domain socket in the runtime folder (type \"help\")."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and exit."));
    const QCommandLineOption version(QStringLiteral("version"),
                                     QStringLiteral("Show the version."));
    const QCommandLineOption model(
            QStringLiteral("model"),
            QStringLiteral("Laser model: Velutra-10 (default), Velutra-3 or Velutra-2."),
            QStringLiteral("name"), QStringLiteral("Velutra-10"));
    const QCommandLineOption application(
            QStringLiteral("application"),
            QStringLiteral("Firmware application name (default SW.MAIN.VTX.MR.V5.3.0 with a "
                           "module, SW.MAIN.VTX.MR.V1.9.4 without)."),
            QStringLiteral("name"));
    const QCommandLineOption module(
            QStringLiteral("module"),
            QStringLiteral("Harmonic module: none, 0x86, 0x8d, 0x90 or 0x93 (default)."),
            QStringLiteral("type"), QStringLiteral("0x93"));
    const QCommandLineOption state(
            QStringLiteral("state"),
            QStringLiteral("State at power-up: listen (default), standby, disabled, enabled."),
            QStringLiteral("state"), QStringLiteral("listen"));
    const QCommandLineOption speed(
            QStringLiteral("speed"),
            QStringLiteral("Run the device's clock this many times faster (default 1)."),
            QStringLiteral("factor"), QStringLiteral("1"));
    const QCommandLineOption debug(
            QStringLiteral("debug-output"),
            QStringLiteral("Start with the debug output of channel 2 switched on."));
    const QCommandLineOption link(
            QStringLiteral("link"),
            QStringLiteral("Also create a symbolic link to the port at this path."),
            QStringLiteral("path"));
    const QCommandLineOption serialNumber(
            QStringLiteral("serial-number"),
            QStringLiteral("Advertise the port with this serial number, like a USB adapter."),
            QStringLiteral("text"));
    const QCommandLineOption usbId(
            QStringLiteral("usb-id"),
            QStringLiteral("Advertise the port with these USB vendor and product ids (hex)."),
            QStringLiteral("vid:pid"));
    const QCommandLineOption noPacing(
            QStringLiteral("no-pacing"),
            QStringLiteral("Send as fast as possible instead of at 3840 bytes/s."));
    const QCommandLineOption latency(
            QStringLiteral("latency"),
            QStringLiteral("Hold the output and hand it on every MS milliseconds, as a USB-serial "
                           "adapter's latency timer does (0 to 255, default 16; 0: byte by byte "
                           "as the line carries it)."),
            QStringLiteral("ms"), QString::number(VelutraSimPort::s_defaultLatencyMs));
    const QCommandLineOption trace(
            QStringLiteral("trace"),
            QStringLiteral("Write every byte in and out with a time stamp to this file."),
            QStringLiteral("file"));
    const QCommandLineOption noSocket(QStringLiteral("no-control-socket"),
                                      QStringLiteral("Do not open the control socket."));
    const QCommandLineOption silent(QStringLiteral("silent"),
                                    QStringLiteral("Fault: read commands but never answer."));
    const QCommandLineOption noEcho(QStringLiteral("no-echo"),
                                    QStringLiteral("Fault: answer without echoing the command."));
    const QCommandLineOption crlf(QStringLiteral("crlf"),
                                  QStringLiteral("Fault: end lines with CR LF instead of LF."));
    const QCommandLineOption fragment(
            QStringLiteral("fragment"),
            QStringLiteral("Fault: split replies into pieces of BYTES with MS pauses."),
            QStringLiteral("bytes:ms"));
    const QCommandLineOption garbage(
            QStringLiteral("garbage"),
            QStringLiteral("Fault: put N random bytes (no line ends) before every reply."),
            QStringLiteral("n"));
    const QCommandLineOption unknown(
            QStringLiteral("unknown-lines"),
            QStringLiteral("Fault: put an unknown line before every reply."));
    const QCommandLineOption flood(
            QStringLiteral("flood"),
            QStringLiteral("Fault: send bytes without any line end, endlessly."));
    const QCommandLineOption hgError(
            QStringLiteral("hg-error"),
            QStringLiteral("Fault: the harmonic module reports this error code."),
            QStringLiteral("code"));
    const QCommandLineOption hgFlags(
            QStringLiteral("hg-flags"),
            QStringLiteral("Fault: status flags (hexadecimal) the module adds to its own."),
            QStringLiteral("hex"));
    const QCommandLineOption shutter(
            QStringLiteral("shutter-warning"),
            QStringLiteral("Fault: the module warns of a shutter in the wrong position."));
    const QCommandLineOption aomMode(
            QStringLiteral("aom-mode"),
            QStringLiteral("AOM operating mode at power-up: 2 (default), 3 or 8."),
            QStringLiteral("mode"), QStringLiteral("2"));
    const QCommandLineOption churn(
            QStringLiteral("churn"),
            QStringLiteral("Every SECONDS of model time the device changes something on its own "
                           "(state, module error, flags, shutter, temperatures, power)."),
            QStringLiteral("seconds"));
    const QCommandLineOption seed(
            QStringLiteral("seed"),
            QStringLiteral("Seed of the device's noise and churn (default 20261121)."),
            QStringLiteral("n"), QStringLiteral("20261121"));
    const QCommandLineOption refuse(
            QStringLiteral("refuse"),
            QStringLiteral("Refuse this set command outright, e.g. ly_vtx2_power (repeatable)."),
            QStringLiteral("command"));
    parser.addOptions({help,     version, model,   application,  module,   state,
                       speed,    debug,   link,    noPacing,     latency,  trace,
                       noSocket, silent,  noEcho,  crlf,         fragment, garbage,
                       unknown,  flood,   hgError, hgFlags,      shutter,  aomMode,
                       churn,    seed,    refuse,  serialNumber, usbId});

    if (!parser.parse(arguments)) {
        *message = parser.errorText();
        return false;
    }
    if (parser.isSet(help)) {
        *helpRequested = true;
        *message = parser.helpText();
        return true;
    }
    if (parser.isSet(version)) {
        *helpRequested = true;
        *message = QStringLiteral("velutra-sim 1.0.25.680\n");
        return true;
    }
    if (!parser.positionalArguments().isEmpty()) {
        *message = QStringLiteral("unexpected argument: %1")
                           .arg(parser.positionalArguments().first());
        return false;
    }

    VelutraSimOptions parsed;
    parsed.laser.model = parser.value(model);
    if (!VelutraSimLaser::modelNames().contains(parsed.laser.model)) {
        *message = QStringLiteral("unknown model %1 (choose %2)")
                           .arg(parsed.laser.model,
                                VelutraSimLaser::modelNames().join(QStringLiteral(", ")));
        return false;
    }
    parsed.laser.application = parser.value(application);
    if (!VelutraSimLaser::parseModule(parser.value(module), &parsed.laser.module)) {
        *message = QStringLiteral("unknown module %1 (choose none, 0x86, 0x8d, 0x90, 0x93)")
                           .arg(parser.value(module));
        return false;
    }
    if (!VelutraSimLaser::parseState(parser.value(state), &parsed.laser.initialState)) {
        *message = QStringLiteral("unknown state %1").arg(parser.value(state));
        return false;
    }
    bool ok = false;
    parsed.laser.speed = parser.value(speed).toDouble(&ok);
    if (!ok || !(parsed.laser.speed >= 0.01 && parsed.laser.speed <= 10000.0)) {
        *message = QStringLiteral("--speed wants a factor from 0.01 to 10000");
        return false;
    }
    parsed.laser.debugOutput = parser.isSet(debug);
    if (!parseInt(parser.value(aomMode), 2, 8, &parsed.laser.aomMode)
        || (parsed.laser.aomMode != 2 && parsed.laser.aomMode != 3 && parsed.laser.aomMode != 8)) {
        *message = QStringLiteral("--aom-mode wants 2, 3 or 8");
        return false;
    }
    if (parser.isSet(churn)) {
        parsed.laser.churnSeconds = parser.value(churn).toDouble(&ok);
        if (!ok || !(parsed.laser.churnSeconds >= 0.001 && parsed.laser.churnSeconds <= 86400.0)) {
            *message = QStringLiteral("--churn wants seconds from 0.001 to 86400");
            return false;
        }
    }
    parsed.laser.seed = parser.value(seed).toUInt(&ok, 0);
    if (!ok) {
        *message = QStringLiteral("--seed wants a number from 0 to 4294967295");
        return false;
    }
    for (const QString &name : parser.values(refuse)) {
        if (!VelutraSimLaser::isSetCommandName(name.toLatin1())) {
            *message = QStringLiteral("--refuse wants a set command such as ly_vtx2_power, not %1")
                               .arg(name);
            return false;
        }
        parsed.laser.refused << name;
    }
    parsed.linkPath = parser.value(link);
    parsed.serialNumber = parser.value(serialNumber);
    if (parsed.serialNumber.contains(QLatin1Char('\n'))) {
        *message = QStringLiteral("--serial-number wants one line of text");
        return false;
    }
    if (parser.isSet(usbId)) {
        const QStringList parts = parser.value(usbId).split(QLatin1Char(':'));
        bool vendorOk = false;
        bool productOk = false;
        const uint vendor = parts.value(0).toUInt(&vendorOk, 16);
        const uint product = parts.value(1).toUInt(&productOk, 16);
        if (parts.size() != 2 || !vendorOk || !productOk || vendor > 0xffff || product > 0xffff) {
            *message = QStringLiteral("--usb-id wants VID:PID in hexadecimal, e.g. 0403:6001");
            return false;
        }
        parsed.usbVendorId = int(vendor);
        parsed.usbProductId = int(product);
    }
    parsed.tracePath = parser.value(trace);
    parsed.pacing = !parser.isSet(noPacing);
    if (!parseInt(parser.value(latency), 0, VelutraSimPort::s_maxLatencyMs, &parsed.latencyMs)) {
        *message = QStringLiteral("--latency wants milliseconds from 0 to %1")
                           .arg(VelutraSimPort::s_maxLatencyMs);
        return false;
    }
    parsed.controlSocket = !parser.isSet(noSocket);
    parsed.silent = parser.isSet(silent);
    parsed.noEcho = parser.isSet(noEcho);
    parsed.crlf = parser.isSet(crlf);
    if (parser.isSet(fragment)) {
        const QStringList parts = parser.value(fragment).split(QLatin1Char(':'));
        if (parts.size() != 2 || !parseInt(parts.at(0), 1, 65536, &parsed.fragmentBytes)
            || !parseInt(parts.at(1), 0, 60000, &parsed.fragmentPauseMs)) {
            *message = QStringLiteral("--fragment wants BYTES:MS, e.g. 5:100");
            return false;
        }
    }
    if (parser.isSet(garbage) && !parseInt(parser.value(garbage), 0, 65536, &parsed.garbageEach)) {
        *message = QStringLiteral("--garbage wants a byte count");
        return false;
    }
    parsed.unknownEach = parser.isSet(unknown);
    parsed.flood = parser.isSet(flood);
    if (parser.isSet(hgError) && !parseInt(parser.value(hgError), 0, 255, &parsed.hgErrorcode)) {
        *message = QStringLiteral("--hg-error wants a code from 0 to 255");
        return false;
    }
    if (parser.isSet(hgFlags)) {
        QString digits = parser.value(hgFlags);
        if (digits.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
            digits = digits.mid(2);
        }
        const uint flags = digits.toUInt(&ok, 16);
        if (!ok || flags > 0xffff) {
            *message = QStringLiteral("--hg-flags wants a hexadecimal value up to FFFF");
            return false;
        }
        parsed.hgStatusFlags = quint16(flags);
    }
    parsed.shutterWarning = parser.isSet(shutter);
    *options = parsed;
    return true;
}
