#include "velutracontroller.h"

#include "_applog.h"
#include "velutracommands.h"

#include <cmath>

namespace {

// Bits of the status byte that the log follows (see velutracontroller_status.cpp).
constexpr int s_errorBit = 0x02;
constexpr int s_warningBit = 0x04;
constexpr int s_listenBit = 0x08;
constexpr int s_standbyBit = 0x20;
constexpr int s_laserOnBits = 0x40 | 0x80;

// A warning the module repeats is written this often per episode before it is only counted.
constexpr int s_moduleWarningsShownPerEpisode = 3;
constexpr int s_moduleWarningQuietMs = 10 * 1000;

// The log shows the command as it goes out, without the line feed that ends it.
QString commandText(const QString &command)
{
    QString text = command;
    while (text.endsWith(QLatin1Char('\n')) || text.endsWith(QLatin1Char('\r'))) {
        text.chop(1);
    }
    return text;
}

QString operatingStateName(int statusByte)
{
    // The laser-on bits win over standby and listen: a laser on its way out of standby reports
    // both for a moment, and it already emits.
    if (statusByte & s_laserOnBits) {
        return VelutraController::tr("laser on");
    }
    if (statusByte & s_standbyBit) {
        return VelutraController::tr("standby");
    }
    if (statusByte & s_listenBit) {
        return VelutraController::tr("listen");
    }
    return VelutraController::tr("none reported");
}

QString lampLine(const QString &lamp, bool on)
{
    return on ? VelutraController::tr("%1 lamp on").arg(lamp)
              : VelutraController::tr("%1 lamp off").arg(lamp);
}

} // namespace

LogEpisode VelutraController::moduleWarningEpisode()
{
    LogEpisode episode([](const QString &line) { _AppLog::WriteLogLine(line); });
    episode.setSubject(tr("Module warning: …"));
    episode.setVerbatimCount(s_moduleWarningsShownPerEpisode);
    episode.setQuietMs(s_moduleWarningQuietMs);
    return episode;
}

void VelutraController::sendOperatorCommand(const QString &request, const QString &command,
                                            StaleMark markStale)
{
    logOperatorRequest(request, command);
    sendSetCommand(command, markStale);
}

bool VelutraController::sendOperatorValue(const QString &request, double value, int decimals,
                                          QString (*command)(double), StaleMark markStale)
{
    // Checked before the command is built: a command text made from NaN means nothing to the
    // device, and truncating NaN to an integer is undefined.
    if (!std::isfinite(value)) {
        return false;
    }
    const QString shown = decimals == s_wholePart
                                  ? request.arg(VelutraCommands::truncateToInt(value))
                                  : request.arg(value, 0, 'f', decimals);
    sendOperatorCommand(shown, command(value), markStale);
    return true;
}

void VelutraController::logOperatorRequest(const QString &request, const QString &command)
{
    if (command.isNull()) {
        _AppLog::WriteLogLine(tr("Operator: %1").arg(request));
        return;
    }
    _AppLog::WriteLogLine(tr("Operator: %1 (\"%2\")").arg(request, commandText(command)));
}

void VelutraController::auditStatusByte(int statusByte)
{
    const int previous = m_auditedStatusByte;
    m_auditedStatusByte = statusByte;
    const bool first = previous < 0;
    const QString state = operatingStateName(statusByte);
    if (first || operatingStateName(previous) != state) {
        _AppLog::WriteLogLine(tr("Laser state: %1").arg(state));
    }
    // A lamp that is off when the device first reports is no news; one that is on is.
    struct Lamp
    {
        int bit;
        QString name;
    };
    const Lamp lamps[] = {{s_errorBit, tr("Error")}, {s_warningBit, tr("Warning")}};
    for (const Lamp &lamp : lamps) {
        const bool on = (statusByte & lamp.bit) != 0;
        const bool wasOn = !first && (previous & lamp.bit) != 0;
        if (on != wasOn) {
            _AppLog::WriteLogLine(lampLine(lamp.name, on));
        }
    }
}

void VelutraController::auditOutputEnabled(bool enabled)
{
    const int state = enabled ? 2 : 1;
    if (state == m_auditedOutputEnable) {
        return;
    }
    m_auditedOutputEnable = state;
    _AppLog::WriteLogLine(enabled ? tr("Laser output: enabled") : tr("Laser output: disabled"));
}

void VelutraController::auditModuleError(const QString &message)
{
    if (message == m_auditedModuleError) {
        return;
    }
    if (message.isEmpty()) {
        _AppLog::WriteLogLine(tr("Module error cleared (was: %1)").arg(m_auditedModuleError));
    } else {
        _AppLog::WriteLogLine(tr("Module error: %1").arg(message));
    }
    m_auditedModuleError = message;
}

void VelutraController::auditModuleWarning(const QString &message)
{
    m_moduleWarningEpisode.record(tr("Module warning: %1").arg(message));
    wakeMainLoop();
}

void VelutraController::forgetAuditedState()
{
    m_auditedStatusByte = -1;
    m_auditedOutputEnable = 0;
    // A module error still standing is reported again after the reconnection; a cleared one
    // needs no second line.
    m_auditedModuleError.clear();
}
