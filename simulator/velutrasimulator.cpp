#include "velutrasimulator.h"

#include <QStringList>

#include <functional>
#include <unistd.h>

namespace {

bool parseSwitch(const QString &text, bool *value)
{
    if (text == QLatin1String("on")) {
        *value = true;
        return true;
    }
    if (text == QLatin1String("off")) {
        *value = false;
        return true;
    }
    return false;
}

const char *onOff(bool value)
{
    return value ? "on" : "off";
}

const char s_controlHelp[]
        = "commands (one per line):\n"
          "  status                     state of the device and of every fault\n"
          "  silent on|off              read commands but never answer\n"
          "  echo on|off                echo commands before the reply (default on)\n"
          "  crlf on|off                end lines with CR LF instead of LF\n"
          "  fragment BYTES MS | off    split replies into pieces with pauses\n"
          "  garbage N                  send N random bytes (no line ends) now\n"
          "  garbage-each N|off         N random bytes before every reply\n"
          "  unknown [TEXT]             send one line the program does not know\n"
          "  unknown-each on|off        an unknown line before every reply\n"
          "  flood [N|on|off]           N bytes without line end (default 65536), on: endless\n"
          "  hg-error CODE              harmonic-module error code (0 clears)\n"
          "  hg-flags HEX               status flags added to the module's own\n"
          "  shutter on|off|once        shutter warning with every status reply, or once now\n"
          "  refuse [COMMAND]           refuse a set command (e.g. ly_vtx2_power); alone: list\n"
          "  accept COMMAND|all         take a refused set command again\n"
          "  churn SECONDS|off|step     change something on its own every SECONDS, or once now\n"
          "  pacing on|off              3840 bytes/s or as fast as possible\n"
          "  latency MS                 hand the output on every MS ms like a USB adapter\n"
          "                             (0 to 255; 0: byte by byte)\n"
          "  unplug                     close the pseudo-terminal and withdraw it\n"
          "  replug [LINK]              plug in again on a new pseudo-terminal (behind a new\n"
          "                             symbolic link LINK if given)\n"
          "  quit                       end the simulator";

} // namespace

VelutraSimulator::VelutraSimulator(const VelutraSimOptions &options, QObject *parent)
    : QObject(parent)
    , m_options(options)
    , m_laser(options.laser)
{
    m_port.setLinkPath(options.linkPath);
    m_advert.setUsbIdentity(options.serialNumber, options.usbVendorId, options.usbProductId);
    m_port.setPacing(options.pacing);
    m_port.setLatencyMs(options.latencyMs);
    m_port.setSilent(options.silent);
    m_port.setCrLf(options.crlf);
    m_port.setFragments(options.fragmentBytes, options.fragmentPauseMs);
    m_port.setGarbageEach(options.garbageEach);
    m_port.setUnknownEach(options.unknownEach);
    m_laser.setEchoEnabled(!options.noEcho);
    m_laser.setHgErrorcode(options.hgErrorcode);
    m_laser.setHgStatusFlags(options.hgStatusFlags);
    m_laser.setShutterWarning(options.shutterWarning);

    connect(&m_port, &VelutraSimPort::sigLineReceived, &m_laser, &VelutraSimLaser::receiveLine);
    connect(&m_laser, &VelutraSimLaser::sigOutput, &m_port, &VelutraSimPort::sendLines);
    connect(&m_laser, &VelutraSimLaser::sigChurned, &m_port,
            [this](const QString &what) { m_port.note(what.toLatin1()); });
}

VelutraSimulator::~VelutraSimulator()
{
    m_advert.withdraw();
    m_port.close();
}

QString VelutraSimulator::description() const
{
    const QString module
            = m_options.laser.module == VelutraSimLaser::Module::None
                      ? QStringLiteral("no harmonic module")
                      : QStringLiteral("harmonic module %1")
                                .arg(m_laser.moduleTypeText().section(QLatin1Char(' '), 0, 0));
    return QStringLiteral("Virtual laser %1, %2 (velutra-sim %3)")
            .arg(m_options.laser.model, module)
            .arg(::getpid());
}

bool VelutraSimulator::plugIn(QString *error)
{
    if (m_port.isOpen()) {
        return true;
    }
    if (!m_options.tracePath.isEmpty()) {
        if (!m_port.setTraceFile(m_options.tracePath, error)) {
            return false;
        }
        m_options.tracePath.clear(); // one trace for the whole run, re-plugs included
    }
    if (!m_port.open(error)) {
        return false;
    }
    if (!m_advert.publish(m_port.portName(), description(), error)) {
        m_port.close();
        return false;
    }
    if (m_options.flood) {
        m_port.startFlood(-1);
    }
    emit sigPlugged(m_port.portName());
    return true;
}

void VelutraSimulator::unplug()
{
    if (!m_port.isOpen()) {
        return;
    }
    m_advert.withdraw();
    m_port.close();
    emit sigUnplugged();
}

QString VelutraSimulator::statusText()
{
    return QStringLiteral("state=%1 status=%2 module=%3 plugged=%4 port=%5 silent=%6 echo=%7 "
                          "crlf=%8 fragment=%9/%10 garbage-each=%11 unknown-each=%12 flood=%13 "
                          "hg-error=%14 hg-flags=%15 shutter=%16 pacing=%17 latency=%18 "
                          "commands=%19 written=%20 dropped=%21 aom-mode=%22 churn=%23 "
                          "churn-steps=%24 refused=%25")
            .arg(m_laser.stateText())
            .arg(m_laser.deviceStatus())
            .arg(m_laser.config().module == VelutraSimLaser::Module::None
                         ? QStringLiteral("none")
                         : m_laser.moduleTypeText().section(QLatin1Char(' '), 0, 0))
            .arg(QLatin1String(isPlugged() ? "yes" : "no"),
                 isPlugged() ? m_port.portName() : QStringLiteral("-"))
            .arg(QLatin1String(onOff(m_port.silent())), QLatin1String(onOff(m_laser.echoEnabled())),
                 QLatin1String(onOff(m_port.crlf())))
            .arg(m_port.fragmentBytes())
            .arg(m_port.fragmentPauseMs())
            .arg(m_port.garbageEach())
            .arg(QLatin1String(onOff(m_port.unknownEach())),
                 QLatin1String(onOff(m_port.flooding())))
            .arg(m_laser.hgErrorcode())
            .arg(QString::number(m_laser.hgStatusFlags(), 16).toUpper())
            .arg(QLatin1String(onOff(m_laser.shutterWarning())),
                 QLatin1String(onOff(m_port.pacing())))
            .arg(m_port.latencyMs())
            .arg(m_laser.commandCount())
            .arg(m_port.bytesWritten())
            .arg(m_port.bytesDropped())
            .arg(m_laser.aomMode())
            .arg(m_laser.churnSeconds() > 0.0 ? QString::number(m_laser.churnSeconds())
                                              : QStringLiteral("off"))
            .arg(m_laser.churnSteps())
            .arg(m_laser.refusedCommands().isEmpty()
                         ? QStringLiteral("-")
                         : m_laser.refusedCommands().join(QLatin1Char(',')));
}

QString VelutraSimulator::executeControl(const QString &command)
{
    const QStringList words = command.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty()) {
        return QString();
    }
    const QString name = words.first().toLower();
    const QString argument = words.value(1);
    const QString ok = QStringLiteral("ok");
    bool flag = false;
    bool numberOk = false;

    using Action = std::function<QString()>;
    const auto switchAction = [&](const std::function<void(bool)> &apply) -> Action {
        return [&, apply]() {
            if (!parseSwitch(argument, &flag)) {
                return QStringLiteral("error: %1 wants on or off").arg(name);
            }
            apply(flag);
            return ok;
        };
    };
    const auto numberAction = [&](int lowest, int highest, const QString &error,
                                  const std::function<void(int)> &apply) -> Action {
        return [&, lowest, highest, error, apply]() {
            const int number = argument.toInt(&numberOk);
            if (!numberOk || number < lowest || number > highest) {
                return error;
            }
            apply(number);
            return ok;
        };
    };
    // For the commands with one word of their own ("off", "all", "once"), which is answered
    // before the argument is looked at any further.
    const auto wordOr = [&](const char *word, const std::function<void()> &apply,
                            const Action &otherwise) -> Action {
        return [&, word, apply, otherwise]() {
            if (argument == QLatin1String(word)) {
                apply();
                return ok;
            }
            return otherwise();
        };
    };

    const QList<QPair<QString, Action>> actions = {
            {QStringLiteral("help"),
             [&]() {
                 return QString::fromLatin1(s_controlHelp);
             }},
            {QStringLiteral("status"),
             [&]() {
                 return statusText();
             }},
            {QStringLiteral("silent"), switchAction([this](bool on) { m_port.setSilent(on); })},
            {QStringLiteral("echo"), switchAction([this](bool on) { m_laser.setEchoEnabled(on); })},
            {QStringLiteral("crlf"), switchAction([this](bool on) { m_port.setCrLf(on); })},
            {QStringLiteral("unknown-each"),
             switchAction([this](bool on) { m_port.setUnknownEach(on); })},
            {QStringLiteral("pacing"), switchAction([this](bool on) { m_port.setPacing(on); })},
            {QStringLiteral("latency"),
             numberAction(0, VelutraSimPort::s_maxLatencyMs,
                          QStringLiteral("error: latency wants milliseconds from 0 to %1")
                                  .arg(VelutraSimPort::s_maxLatencyMs),
                          [this](int ms) { m_port.setLatencyMs(ms); })},
            {QStringLiteral("fragment"),
             wordOr(
                     "off", [this]() { m_port.setFragments(0, 0); },
                     [&]() {
                         const int bytes = argument.toInt(&numberOk);
                         bool pauseOk = false;
                         const int pause = words.value(2).toInt(&pauseOk);
                         if (!numberOk || !pauseOk || bytes < 1 || pause < 0 || pause > 60000) {
                             return QStringLiteral("error: fragment wants BYTES MS or off");
                         }
                         m_port.setFragments(bytes, pause);
                         return ok;
                     })},
            {QStringLiteral("garbage"),
             [&]() {
                 const int count = argument.isEmpty() ? 64 : argument.toInt(&numberOk);
                 if (!argument.isEmpty() && (!numberOk || count < 1 || count > 1000000)) {
                     return QStringLiteral("error: garbage wants a byte count");
                 }
                 m_port.sendRaw(m_port.garbage(count));
                 return ok;
             }},
            {QStringLiteral("garbage-each"),
             wordOr(
                     "off", [this]() { m_port.setGarbageEach(0); },
                     numberAction(0, 65536,
                                  QStringLiteral("error: garbage-each wants a byte count or off"),
                                  [this](int count) { m_port.setGarbageEach(count); }))},
            {QStringLiteral("unknown"),
             [&]() {
                 const QString text = words.size() > 1
                                              ? command.simplified().section(QLatin1Char(' '), 1)
                                              : QStringLiteral("Unexpected status report");
                 m_port.sendLines(text.toLatin1() + '\n');
                 return ok;
             }},
            {QStringLiteral("flood"),
             wordOr(
                     "off", [this]() { m_port.stopFlood(); },
                     [&]() {
                         qint64 count = 65536;
                         if (argument == QLatin1String("on")) {
                             count = -1;
                         } else if (!argument.isEmpty()) {
                             count = argument.toLongLong(&numberOk);
                             if (!numberOk || count < 1) {
                                 return QStringLiteral(
                                         "error: flood wants a byte count, on or off");
                             }
                         }
                         m_port.startFlood(count);
                         return ok;
                     })},
            {QStringLiteral("hg-error"),
             numberAction(0, 255, QStringLiteral("error: hg-error wants a code from 0 to 255"),
                          [this](int code) { m_laser.setHgErrorcode(code); })},
            {QStringLiteral("hg-flags"),
             [&]() {
                 QString digits = argument;
                 if (digits.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)) {
                     digits = digits.mid(2);
                 }
                 const uint flags = digits.toUInt(&numberOk, 16);
                 if (!numberOk || flags > 0xffff) {
                     return QStringLiteral("error: hg-flags wants a hexadecimal value up to FFFF");
                 }
                 m_laser.setHgStatusFlags(quint16(flags));
                 return ok;
             }},
            {QStringLiteral("shutter"),
             wordOr(
                     "once", [this]() { m_laser.emitShutterWarning(); },
                     [&]() {
                         if (!parseSwitch(argument, &flag)) {
                             return QStringLiteral("error: shutter wants on, off or once");
                         }
                         m_laser.setShutterWarning(flag);
                         return ok;
                     })},
            {QStringLiteral("refuse"),
             [&]() {
                 if (argument.isEmpty()) {
                     const QStringList names = m_laser.refusedCommands();
                     return names.isEmpty()
                                    ? ok
                                    : QStringLiteral("ok %1").arg(names.join(QLatin1Char(' ')));
                 }
                 if (!m_laser.setRefused(argument.toLatin1(), true)) {
                     return QStringLiteral("error: %1 is not a set command").arg(argument);
                 }
                 return ok;
             }},
            {QStringLiteral("accept"),
             wordOr(
                     "all", [this]() { m_laser.acceptAll(); },
                     [&]() {
                         if (!m_laser.setRefused(argument.toLatin1(), false)) {
                             return QStringLiteral("error: accept wants a set command or all");
                         }
                         return ok;
                     })},
            {QStringLiteral("churn"),
             wordOr(
                     "off", [this]() { m_laser.setChurnSeconds(0.0); },
                     [&]() {
                         if (argument == QLatin1String("step")) {
                             return QStringLiteral("ok %1").arg(m_laser.churnStep());
                         }
                         const double seconds = argument.toDouble(&numberOk);
                         if (!numberOk || !(seconds >= 0.001 && seconds <= 86400.0)) {
                             return QStringLiteral(
                                     "error: churn wants SECONDS (0.001 to 86400), off or step");
                         }
                         m_laser.setChurnSeconds(seconds);
                         return ok;
                     })},
            {QStringLiteral("unplug"),
             [&]() {
                 unplug();
                 return ok;
             }},
            {QStringLiteral("replug"),
             [&]() {
                 QString error;
                 if (!argument.isEmpty() && !m_port.isOpen()) {
                     // The same device back under another name, as a USB adapter that
                     // the system enumerates anew.
                     m_port.setLinkPath(argument);
                 }
                 if (!plugIn(&error)) {
                     return QStringLiteral("error: %1").arg(error);
                 }
                 return QStringLiteral("ok %1").arg(m_port.portName());
             }},
            {QStringLiteral("quit"),
             [&]() {
                 emit sigQuitRequested();
                 return ok;
             }},
    };
    for (const auto &action : actions) {
        if (action.first == name) {
            return action.second();
        }
    }
    return QStringLiteral("error: unknown command %1 (try help)").arg(name);
}
