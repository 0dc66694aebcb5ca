// The laser's unprompted life (churn) and the settings it refuses on request.

#include "velutrasimlaser.h"

#include <algorithm>

namespace {

// Error codes a module raises under churn: some its documentation names, some it does not.
const int s_firstGenerationCodes[] = {2, 12, 14, 17, 25, 30};
const int s_shgg90Codes[] = {1, 5, 8, 17, 19, 25};
const int s_thgi93Codes[] = {3, 9, 11, 17, 20, 21};

template<int N>
int pick(QRandomGenerator &random, const int (&codes)[N])
{
    return codes[random.bounded(N)];
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Refusals

QByteArray VelutraSimLaser::commandName(const Command &command)
{
    QByteArray name = command.text;
    if (command.takesArgument) {
        name.chop(1);
    }
    return name;
}

bool VelutraSimLaser::isSetCommandName(const QByteArray &name)
{
    // Requests that read without a question mark: the identity block, the status records.
    static const QList<QByteArray> plainQueries = {"ly_system_info", "s6", "s7", "s8", "s9"};
    if (name.endsWith('?') || plainQueries.contains(name)) {
        return false;
    }
    for (const Command &command : commandTable()) {
        if (commandName(command) == name) {
            return true;
        }
    }
    return false;
}

bool VelutraSimLaser::setRefused(const QByteArray &name, bool refused)
{
    if (!isSetCommandName(name)) {
        return false;
    }
    m_refused.removeAll(name);
    if (refused) {
        m_refused.append(name);
    }
    return true;
}

QStringList VelutraSimLaser::refusedCommands() const
{
    QStringList names;
    for (const QByteArray &name : m_refused) {
        names << QString::fromLatin1(name);
    }
    return names;
}

// ---------------------------------------------------------------------------------------------
// Churn

void VelutraSimLaser::setChurnSeconds(double seconds)
{
    m_churnSeconds = seconds > 0.0 ? seconds : 0.0;
    if (m_churnSeconds > 0.0) {
        m_churnTimer.start(int(std::min<qint64>(wallMs(m_churnSeconds), 1 << 30)));
    } else {
        m_churnTimer.stop();
    }
}

void VelutraSimLaser::churnTimeout()
{
    churnStep();
}

QString VelutraSimLaser::churnStep()
{
    // One kind of change per step, in turn, so that every kind comes round within six
    // steps; what exactly changes is drawn from the seeded generator alone, so a seed
    // gives the same story whatever the program polls in between.
    struct Kind
    {
        const char *name;
        bool needsModule;
        ChurnAction action;
    };
    using L = VelutraSimLaser;
    static const Kind kinds[] = {
            {"state", false, &L::churnState},
            {"hg-error", true, &L::churnHgError},
            {"hg-flags", true, &L::churnHgFlags},
            {"shutter", true, &L::churnShutter},
            {"temperature", false, &L::churnTemperatures},
            {"power", false, &L::churnPower},
    };
    advance();
    const int step = m_churnSteps++;
    QVector<const Kind *> usable;
    for (const Kind &kind : kinds) {
        if (!kind.needsModule || hasModule()) {
            usable.append(&kind);
        }
    }
    const Kind &kind = *usable.at(step % usable.size());
    const QString what = QStringLiteral("churn %1: %2 %3")
                                 .arg(step + 1)
                                 .arg(QLatin1String(kind.name), (this->*(kind.action))());
    emit sigChurned(what);
    return what;
}

QString VelutraSimLaser::churnState()
{
    if (m_inTransition) {
        return QStringLiteral("unchanged, a change is under way");
    }
    static const char *const names[] = {"listen", "standby", "disabled", "enabled"};
    State target = m_state;
    while (target == m_state) {
        target = State(m_churnRandom.bounded(4));
    }
    QByteArray lines;
    requestState(target, lines);
    emit sigOutput(lines);
    return QStringLiteral("to %1").arg(QLatin1String(names[int(target)]));
}

QString VelutraSimLaser::churnHgError()
{
    if (m_hgErrorcode != 0) {
        m_hgErrorcode = 0;
    } else if (m_config.module == Module::Shgg90) {
        m_hgErrorcode = pick(m_churnRandom, s_shgg90Codes);
    } else if (m_config.module == Module::Thgi93) {
        m_hgErrorcode = pick(m_churnRandom, s_thgi93Codes);
    } else {
        m_hgErrorcode = pick(m_churnRandom, s_firstGenerationCodes);
    }
    return QString::number(m_hgErrorcode);
}

QString VelutraSimLaser::churnHgFlags()
{
    if (m_injectedFlags != 0) {
        m_injectedFlags = 0;
    } else {
        const QVector<quint16> choices = faultFlagChoices();
        m_injectedFlags = choices.at(int(m_churnRandom.bounded(uint(choices.size()))));
    }
    return QString::number(m_injectedFlags, 16).toUpper();
}

QString VelutraSimLaser::churnShutter()
{
    m_shutterWarning = !m_shutterWarning;
    if (m_shutterWarning) {
        emitShutterWarning();
    }
    return QLatin1String(m_shutterWarning ? "on" : "off");
}

QString VelutraSimLaser::churnTemperatures()
{
    // The laser's own channels wander, the module's air gets wetter or drier, and a
    // heated oven takes a knock that its regulation then works off again.
    m_temperatureDrift
            = std::clamp(m_temperatureDrift + m_churnRandom.bounded(2.0) - 1.0, -3.0, 3.0);
    const double wetter = m_churnRandom.bounded(3.0) - 1.5;
    m_humidity = std::clamp(m_humidity + wetter, 5.0, 40.0);
    const double knock = (0.3 + m_churnRandom.bounded(1.2)) * (m_churnRandom.bounded(2) ? 1 : -1);
    if (hasModule() && m_ovenMode != 2) {
        m_oven1 += knock;
    }
    return QStringLiteral("drift %1 C, humidity %2 %, oven knock %3 C")
            .arg(m_temperatureDrift, 0, 'f', 2)
            .arg(wetter, 0, 'f', 1)
            .arg(knock, 0, 'f', 2);
}

QString VelutraSimLaser::churnPower()
{
    // As if someone turned the energy from the front panel, and the output wandered.
    const double low = minEnergyNj(m_frequencyIndex);
    const double high = maxEnergyNj(m_frequencyIndex);
    m_energyNj = std::clamp(double(qRound(m_energyNj * (0.8 + m_churnRandom.bounded(0.4)))), low,
                            high);
    m_powerFactor = 0.85 + m_churnRandom.bounded(0.2);
    return QStringLiteral("set-point %1 nJ, output at %2 %")
            .arg(qRound(m_energyNj))
            .arg(m_powerFactor * 100.0, 0, 'f', 1);
}
