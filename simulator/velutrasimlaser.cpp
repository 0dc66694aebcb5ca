#include "velutrasimlaser.h"

#include <QtMath>

#include <algorithm>
#include <cmath>

namespace {

// What the laser prints when it enters a state and when it has settled there.
struct StateLines
{
    VelutraSimLaser::State state;
    const char *settled;
    const char *already;
    int statusBit;
};

const StateLines s_stateLines[] = {
        {VelutraSimLaser::State::Listen, "Listen = ok\n", "Already in Listen\n", 0x08},
        {VelutraSimLaser::State::Standby, "Standby = ok\n", "Already in Standby\n", 0x20},
        {VelutraSimLaser::State::Disabled, "Output disabled = ok\n", "Already Disabled\n", 0x40},
        {VelutraSimLaser::State::Enabled, "Output enabled = ok\n", "Already Enabled\n", 0x80},
};

const StateLines &linesFor(VelutraSimLaser::State state)
{
    for (const StateLines &lines : s_stateLines) {
        if (lines.state == state) {
            return lines;
        }
    }
    return s_stateLines[0];
}

struct ModelData
{
    const char *name;
    const char *serial;
    double averagePowerW;
    double maxPulseNj;
};

const ModelData s_models[] = {
        {"Velutra-10", "VX10-2503-0042", 10.0, 200000.0},
        {"Velutra-3", "VX03-2411-0187", 3.0, 60000.0},
        {"Velutra-2", "VX02-2409-0311", 2.0, 40000.0},
};

const ModelData &modelData(const QString &name)
{
    for (const ModelData &data : s_models) {
        if (name == QLatin1String(data.name)) {
            return data;
        }
    }
    return s_models[0];
}

// What each kind of harmonic module is: what it calls itself in its information block
// (the type code decides the kind), which outputs and sensors it has, and which of its
// status-flag bits report an oven or the humidity.
struct ModuleData
{
    VelutraSimLaser::Module module;
    const char *option;
    const char *type;
    const char *serial;
    const char *firmware;
    int outputConfig; // bit 0 IR, 1 green, 2 UV, 3 DUV
    bool twoOvensAndSpots; // third harmonic: SHG and THG oven, crystal spots
    bool humiditySensor;
    bool dynamicWavelength;
    quint16 oven1Flag;
    quint16 oven2Flag;
    quint16 humidityFlag;
};

const ModuleData s_modules[] = {
        {VelutraSimLaser::Module::None, "none", "", "", "", 0x01, false, false, false, 0, 0, 0},
        {VelutraSimLaser::Module::Shg86, "0x86", "0x86 SHG", "HG86-1907-0023", "1.8.2", 0x03, false,
         true, false, 0x80, 0x80, 0x200},
        {VelutraSimLaser::Module::Thg8d, "0x8d", "0x8d THG", "HG8D-2002-0051", "1.8.2", 0x07, true,
         false, false, 0x80, 0x80, 0x200},
        {VelutraSimLaser::Module::Shgg90, "0x90", "0x90 SHGg", "HG90-2305-0108", "3.2.7", 0x03,
         false, true, true, 0x08, 0x08, 0x100},
        {VelutraSimLaser::Module::Thgi93, "0x93", "0x93 THGi", "HG93-2410-0117", "3.2.7", 0x07,
         true, true, true, 0x08, 0x10, 0x100},
};

const ModuleData &moduleData(VelutraSimLaser::Module module)
{
    for (const ModuleData &data : s_modules) {
        if (data.module == module) {
            return data;
        }
    }
    return s_modules[0];
}

// Pulse-picker periods of the 80 MHz base clock, one per frequency index.
const int s_pulsePeriods[] = {80, 100, 160, 200, 400, 800, 1600};
constexpr double s_baseClockKHz = 80000.0;

constexpr double s_oven1Min = 20.0;
constexpr double s_oven1Max = 200.0;
constexpr double s_oven2Min = 20.0;
constexpr double s_oven2Max = 100.0;

QByteArray hoursMinutes(double seconds)
{
    const qint64 total = qint64(seconds);
    return QByteArray::number(total / 3600) + " hours " + QByteArray::number((total % 3600) / 60)
           + " minutes";
}

} // namespace

VelutraSimLaser::VelutraSimLaser(const Config &config, QObject *parent)
    : QObject(parent)
    , m_config(config)
    , m_random(config.seed)
    , m_churnRandom(config.seed ^ 0x5eedc0deu)
{
    if (m_config.speed <= 0.0) {
        m_config.speed = 1.0;
    }
    if (m_config.application.isEmpty()) {
        m_config.application = hasModule() ? QStringLiteral("SW.MAIN.VTX.MR.V5.3.0")
                                           : QStringLiteral("SW.MAIN.VTX.MR.V1.9.4");
    }
    m_state = m_config.initialState;
    m_finalTarget = m_state;
    m_debug = m_config.debugOutput;
    if (m_config.aomMode == 2 || m_config.aomMode == 3 || m_config.aomMode == 8) {
        m_aomMode = m_config.aomMode;
    }
    for (const QString &name : qAsConst(m_config.refused)) {
        setRefused(name.toLatin1(), true);
    }
    for (int period : s_pulsePeriods) {
        m_periods.append(period);
    }
    m_energyNj = std::min(5000.0, maxEnergyNj(m_frequencyIndex));
    m_spotRuntimes.fill(0.0, s_spotCount);
    for (int spot = 0; spot < m_spot; ++spot) {
        m_spotRuntimes[spot] = double(s_maxSpotRuntime) - 3600.0 * (spot + 1);
    }
    m_spotRuntimes[m_spot] = 412345.0;
    if (m_state != State::Listen) {
        // A laser that is already up has had its ovens running for a while.
        m_oven1 = m_setpoint1;
        m_oven2 = m_setpoint2;
        m_ovenMode = 4;
    }

    // Precise timers: a coarse one may fire up to 5 % early, and the delays are the model.
    m_stepTimer.setTimerType(Qt::PreciseTimer);
    m_wavelengthTimer.setTimerType(Qt::PreciseTimer);
    m_spotTimer.setTimerType(Qt::PreciseTimer);
    m_stepTimer.setSingleShot(true);
    connect(&m_stepTimer, &QTimer::timeout, this, &VelutraSimLaser::finishStep);
    m_wavelengthTimer.setSingleShot(true);
    connect(&m_wavelengthTimer, &QTimer::timeout, this, &VelutraSimLaser::finishWavelengthChange);
    connect(&m_spotTimer, &QTimer::timeout, this, &VelutraSimLaser::stepSpot);
    m_churnTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_churnTimer, &QTimer::timeout, this, &VelutraSimLaser::churnTimeout);
    m_clock.start();
    setChurnSeconds(m_config.churnSeconds);
}

const QVector<VelutraSimLaser::Command> &VelutraSimLaser::commandTable()
{
    using L = VelutraSimLaser;
    static const QVector<Command> table = {
            {"ly_system_info", false, false, &L::systemInfo},
            {"ly_vtx2_dev_status?", false, false, &L::deviceStatusQuery},
            {"s6", false, false, &L::statusRecord6},
            {"s7", false, false, &L::statusRecord7},
            {"s8", false, false, &L::statusRecord8},
            {"s9", false, false, &L::statusRecord9},
            {"ly_vtx2_power?", false, false, &L::powerQuery},
            {"ly_vtx2_power=", true, false, &L::powerSet},
            {"e_power?", false, false, &L::relativePowerQuery},
            {"e_power=", true, false, &L::relativePowerSet},
            {"e_freq?", false, false, &L::frequencyQuery},
            {"e_freq ", true, false, &L::frequencySet, Gate::ListenOrStandby},
            {"e_div?", false, false, &L::divisionQuery},
            {"e_div ", true, false, &L::divisionSet},
            {"e_mode?", false, false, &L::aomModeQuery},
            {"e_mode ", true, false, &L::aomModeSet},
            {"d2?", false, false, &L::debugQuery},
            {"d2=", true, false, &L::debugSet},
            {"ezra?", false, false, &L::registerDump},
            {"eira?", false, false, &L::divisionTable},
            {"ly_vtx2_digiop?", false, false, &L::digitalGateQuery},
            {"ly_vtx2_digiop=", true, false, &L::digitalGateSet},
            {"ly_vtx2_output?", false, false, &L::outputQuery},
            {"ly_vtx2_output_enable", false, false, &L::outputEnable},
            {"ly_vtx2_enabled", false, false, &L::outputEnable},
            {"ly_vtx2_output_disable", false, false, &L::outputDisable},
            {"ly_vtx2_disabled", false, false, &L::goDisabled},
            {"ly_vtx2_standby", false, false, &L::goStandby},
            {"ly_vtx2_listen", false, false, &L::goListen},
            {"ly_vtx_wvl ", true, false, &L::laserWavelengthSet, Gate::ListenOrStandby},
            {"ly_vtx2_wvl ", true, false, &L::laserWavelengthSet, Gate::ListenOrStandby},
            {"ls?", false, true, &L::moduleInfo},
            {"ls_humidity?", false, true, &L::humidityQuery},
            {"ls_enable?", false, true, &L::ovenModeQuery},
            {"ls_enable=", true, true, &L::ovenModeSet},
            {"ls_temp_setpoint?", false, true, &L::setpointQuery},
            {"ls_temp_setpoint=", true, true, &L::setpointSet},
            {"ls_temp_setpoint_SHG=", true, true, &L::setpointShgSet},
            {"ls_temp_setpoint_THG=", true, true, &L::setpointThgSet},
            {"ls_temp_oven?", false, true, &L::ovenQuery},
            {"ls_crystal_allRuntimes?", false, true, &L::allRuntimesQuery},
            {"ls_crystal_curSpot?", false, true, &L::currentSpotQuery},
            {"ls_crystal_curRuntime?", false, true, &L::currentRuntimeQuery},
            {"ls_crystal_maxRuntime?", false, true, &L::maxRuntimeQuery},
            {"ls_crystal_setSpot=", true, true, &L::spotSet, Gate::ListenOrStandby},
            {"ls_wavelength?", false, true, &L::wavelengthQuery},
            {"ls_wavelength=", true, true, &L::wavelengthSet},
            {"ls_status?", false, true, &L::moduleStatusQuery},
            {"ls_errorcode?", false, true, &L::errorcodeQuery},
            {"ls_output_power?", false, true, &L::outputPowerQuery},
            {"ls_module_runtime?", false, true, &L::moduleRuntimeQuery},
            {"ls_output_config?", false, true, &L::outputConfigQuery},
            {"ls_dwls_feature?", false, true, &L::dwlsFeatureQuery},
            {"ls_dwls_enable?", false, true, &L::dwlsEnableQuery},
            {"ls_dwls_enable=", true, true, &L::dwlsEnableSet},
            {"ls_dwls_default?", false, true, &L::dwlsDefaultQuery},
            {"ls_dwls_default=", true, true, &L::dwlsDefaultSet},
    };
    return table;
}

void VelutraSimLaser::receiveLine(const QByteArray &received)
{
    QByteArray line = received;
    while (line.endsWith('\r')) {
        line.chop(1);
    }
    if (line.trimmed().isEmpty()) {
        return;
    }
    ++m_commandCount;
    advance();

    QByteArray reply;
    if (m_echo) {
        reply = line + '\n';
    }

    const Command *found = nullptr;
    QByteArray argument;
    for (const Command &command : commandTable()) {
        if (command.takesArgument ? line.startsWith(command.text) : line == command.text) {
            found = &command;
            argument = command.takesArgument ? line.mid(int(qstrlen(command.text))).trimmed()
                                             : QByteArray();
            break;
        }
    }

    if (found == nullptr) {
        // The laser hands what it does not know to the module, which answers with its help.
        reply += hasModule() ? helpText() : QByteArray("Unknown command.\n");
    } else if (m_refused.contains(commandName(*found))) {
        reply += "Command refused: " + commandName(*found) + ".\n";
    } else if (found->needsModule && !hasModule()) {
        reply += "No harmonic generation module connected.\n";
    } else if (found->gate == Gate::ListenOrStandby && !optionsOpen()) {
        reply += "Command refused: only in listen or standby.\n";
    } else {
        (this->*(found->handler))(argument, reply);
    }
    if (!reply.isEmpty()) {
        emit sigOutput(reply);
    }
}

// ---------------------------------------------------------------------------------------------
// Time

qint64 VelutraSimLaser::wallMs(double modelSeconds) const
{
    return std::max<qint64>(1, qint64(modelSeconds * 1000.0 / m_config.speed));
}

void VelutraSimLaser::advance()
{
    const qint64 now = m_clock.nsecsElapsed();
    const double dt = double(now - m_lastAdvanceNs) * 1e-9 * m_config.speed;
    m_lastAdvanceNs = now;
    if (dt <= 0.0) {
        return;
    }

    const double blend = 1.0 - std::exp(-dt / s_ovenTimeConstant);
    const bool heating = m_ovenMode != 2;
    m_oven1 += ((heating ? m_setpoint1 : s_ambient) - m_oven1) * blend;
    m_oven2 += ((heating ? m_setpoint2 : s_ambient) - m_oven2) * blend;
    if (heating) {
        const bool atTemperature = std::abs(m_oven1 - m_setpoint1) < 0.1
                                   && (!isThgModule() || std::abs(m_oven2 - m_setpoint2) < 0.1);
        const bool offTemperature = std::abs(m_oven1 - m_setpoint1) > 0.5
                                    || (isThgModule() && std::abs(m_oven2 - m_setpoint2) > 0.5);
        if (m_ovenMode == 3 && atTemperature) {
            m_ovenMode = 4;
        } else if (m_ovenMode == 4 && offTemperature) {
            m_ovenMode = 3;
        }
    }

    const bool aomOpen = m_state == State::Enabled && !m_inTransition;
    m_moduleRuntime += dt;
    if (m_state != State::Listen) {
        m_deviceOnSeconds += dt;
    }
    if (aomOpen) {
        m_emissionSeconds += dt;
        if (isThgModule() && m_position == 2 && !m_changingWavelength) {
            m_spotRuntimes[m_spot] += dt;
        }
    }
}

double VelutraSimLaser::noise(double amplitude)
{
    return (m_random.generateDouble() * 2.0 - 1.0) * amplitude;
}

QByteArray VelutraSimLaser::number(double value, int decimals)
{
    return QByteArray::number(value, 'f', decimals);
}

// ---------------------------------------------------------------------------------------------
// Laser model helpers

bool VelutraSimLaser::isThgModule() const
{
    return moduleData(m_config.module).twoOvensAndSpots;
}

bool VelutraSimLaser::isNewGeneration() const
{
    return m_config.module == Module::Shgg90 || m_config.module == Module::Thgi93;
}

bool VelutraSimLaser::hasHumiditySensor() const
{
    return moduleData(m_config.module).humiditySensor;
}

QVector<quint16> VelutraSimLaser::faultFlagChoices() const
{
    const ModuleData &module = moduleData(m_config.module);
    QVector<quint16> choices{module.oven1Flag};
    if (module.oven2Flag != module.oven1Flag) {
        choices << module.oven2Flag << quint16(module.oven1Flag | module.oven2Flag);
    }
    if (module.humiditySensor) {
        choices << module.humidityFlag;
    }
    return choices;
}

QByteArray VelutraSimLaser::modulePrefix() const
{
    return isThgModule() ? QByteArray("ZEL THG") : QByteArray("ZEL SHG");
}

const char *VelutraSimLaser::positionName(int position)
{
    static const char *const names[] = {"IR", "GREEN", "UV"};
    return names[std::clamp(position, 0, 2)];
}

double VelutraSimLaser::frequencyKHz(int index) const
{
    return s_baseClockKHz / m_periods.value(index, m_periods.first());
}

double VelutraSimLaser::maxEnergyNj(int index) const
{
    const ModelData &model = modelData(m_config.model);
    return std::min(model.maxPulseNj, model.averagePowerW * 1e6 / frequencyKHz(index));
}

double VelutraSimLaser::minEnergyNj(int index) const
{
    return maxEnergyNj(index) * 0.01;
}

double VelutraSimLaser::outputFrequencyKHz() const
{
    return frequencyKHz(m_frequencyIndex) / std::max(1, m_divisionFactor);
}

int VelutraSimLaser::aomValue() const
{
    return std::clamp(qRound(m_energyNj / maxEnergyNj(m_frequencyIndex) * 4000.0), 0, 4095);
}

double VelutraSimLaser::measuredEnergyNj()
{
    const bool aomOpen = m_state == State::Enabled && !m_inTransition;
    if (!aomOpen || m_changingWavelength) {
        return 0.0;
    }
    return m_energyNj * m_powerFactor * (1.0 + noise(0.003));
}

double VelutraSimLaser::conversionFactor(double actual, double setpoint) const
{
    const double offset = (actual - setpoint) / 1.5;
    return std::exp(-offset * offset);
}

double VelutraSimLaser::harmonicPowerMw(int position)
{
    if (m_position != position) {
        return 0.0;
    }
    const double infraredMw = measuredEnergyNj() * outputFrequencyKHz() / 1000.0;
    if (position == 1) {
        return infraredMw * 0.5 * conversionFactor(m_oven1, m_setpoint1);
    }
    if (position == 2) {
        return infraredMw * 0.3 * conversionFactor(m_oven1, m_setpoint1)
               * conversionFactor(m_oven2, m_setpoint2);
    }
    return 0.0;
}

int VelutraSimLaser::deviceStatus() const
{
    int status = 0x01 | linesFor(m_state).statusBit;
    if (m_hgErrorcode != 0) {
        status |= 0x02;
    }
    if (m_shutterWarning) {
        status |= 0x04;
    }
    return status;
}

QString VelutraSimLaser::stateText() const
{
    static const char *const names[] = {"listen", "standby", "disabled", "enabled"};
    QString text = QLatin1String(names[int(m_state)]);
    if (m_inTransition) {
        text += QStringLiteral(" -> ") + QLatin1String(names[int(m_stepTarget)]);
    }
    return text;
}

QString VelutraSimLaser::moduleTypeText() const
{
    return QLatin1String(moduleData(m_config.module).type);
}

quint16 VelutraSimLaser::hgStatusFlags()
{
    advance();
    quint16 flags = m_injectedFlags;
    if (hasHumiditySensor() && m_humidity > 50.0) {
        flags |= moduleData(m_config.module).humidityFlag;
    }
    return flags;
}

bool VelutraSimLaser::parseModule(const QString &text, Module *module)
{
    for (const ModuleData &data : s_modules) {
        if (text.compare(QLatin1String(data.option), Qt::CaseInsensitive) == 0) {
            *module = data.module;
            return true;
        }
    }
    return false;
}

bool VelutraSimLaser::parseState(const QString &text, State *state)
{
    static const char *const names[] = {"listen", "standby", "disabled", "enabled"};
    for (int i = 0; i < 4; ++i) {
        if (text == QLatin1String(names[i])) {
            *state = State(i);
            return true;
        }
    }
    return false;
}

QStringList VelutraSimLaser::modelNames()
{
    QStringList names;
    for (const ModelData &data : s_models) {
        names << QLatin1String(data.name);
    }
    return names;
}

// ---------------------------------------------------------------------------------------------
// Operating states

void VelutraSimLaser::requestState(State target, QByteArray &reply)
{
    if (m_inTransition) {
        reply += "Command refused: state change in progress.\n";
        return;
    }
    if (target == m_state) {
        reply += linesFor(target).already;
        return;
    }
    m_finalTarget = target;
    const bool up = target == State::Disabled || target == State::Enabled;
    if (m_state == State::Disabled && target == State::Enabled) {
        m_state = State::Enabled;
        reply += "Laser output enabled\n";
        reply += linesFor(m_state).settled;
    } else if (m_state == State::Enabled && target == State::Disabled) {
        m_state = State::Disabled;
        reply += "Laser output disabled\n";
        reply += linesFor(m_state).settled;
    } else if (m_state == State::Listen && up) {
        // No direct way from listen to laser on: the laser passes through standby.
        startStep(State::Listen, State::Standby, reply);
    } else {
        startStep(m_state, target, reply);
    }
}

void VelutraSimLaser::startStep(State from, State to, QByteArray &reply)
{
    static const Transition transitions[] = {
            {State::Listen, State::Standby, "Listen -> Standby\n", 6.0},
            {State::Standby, State::Listen, "Standby -> Listen\n", 2.0},
            {State::Standby, State::Disabled, "Standby -> Output disabled\n", 4.0},
            {State::Standby, State::Enabled, "Standby -> Output enabled\n", 4.0},
            {State::Disabled, State::Standby, "Output disabled -> Standby\n", 2.0},
            {State::Enabled, State::Standby, "Output enabled -> Standby\n", 2.0},
            {State::Disabled, State::Listen, "Output disabled -> Listen\n", 3.0},
            {State::Enabled, State::Listen, "Output enabled -> Listen\n", 3.0},
    };
    for (const Transition &transition : transitions) {
        if (transition.from == from && transition.to == to) {
            if (from == State::Enabled) {
                reply += "Laser output disabled\n";
            }
            reply += transition.line;
            m_inTransition = true;
            m_stepTarget = to;
            m_stepTimer.start(int(wallMs(transition.seconds)));
            return;
        }
    }
}

void VelutraSimLaser::finishStep()
{
    advance();
    m_inTransition = false;
    m_state = m_stepTarget;
    QByteArray lines;
    if (m_state == State::Enabled) {
        lines += "Laser output enabled\n";
    }
    lines += linesFor(m_state).settled;
    if (m_state != m_finalTarget) {
        startStep(m_state, m_finalTarget, lines);
    }
    emit sigOutput(lines);
}

void VelutraSimLaser::outputEnable(const QByteArray &, QByteArray &reply)
{
    requestState(State::Enabled, reply);
}

void VelutraSimLaser::outputDisable(const QByteArray &, QByteArray &reply)
{
    if (m_state == State::Enabled || m_state == State::Disabled) {
        requestState(State::Disabled, reply);
    } else {
        reply += "Laser output disabled\n";
    }
}

void VelutraSimLaser::goDisabled(const QByteArray &, QByteArray &reply)
{
    requestState(State::Disabled, reply);
}

void VelutraSimLaser::goStandby(const QByteArray &, QByteArray &reply)
{
    requestState(State::Standby, reply);
}

void VelutraSimLaser::goListen(const QByteArray &, QByteArray &reply)
{
    requestState(State::Listen, reply);
}

void VelutraSimLaser::outputQuery(const QByteArray &, QByteArray &reply)
{
    const bool aomOpen = m_state == State::Enabled && !m_inTransition;
    reply += aomOpen ? "Laser output enabled\n" : "Laser output disabled\n";
}

void VelutraSimLaser::deviceStatusQuery(const QByteArray &, QByteArray &reply)
{
    reply += "ly_vtx2_dev_status " + QByteArray::number(deviceStatus()) + '\n';
}

// ---------------------------------------------------------------------------------------------
// Identity and status records

void VelutraSimLaser::systemInfo(const QByteArray &, QByteArray &reply)
{
    const ModelData &model = modelData(m_config.model);
    reply += m_config.model.toLatin1() + " Hardware:2.3 Firmware:V5.3.0\n";
    reply += m_config.application.toLatin1() + '\n';
    reply += "Compiled on: Mar 14 2025 09:41:27\n";
    reply += QByteArray("Serial number: ") + model.serial + '\n';
    reply += "LDD device - Hardware: 2.1, Software version: 1.7.3, Revision: C\n";
    reply += "TEC device - Hardware: 1.4, Software version: 2.2.0, Revision: B\n";
    reply += "Timing Board S/N: TB-20731; MCU T/B: 3.05; FPGA T/B: 2.11\n";
    reply += "Device switch on time (Standby and up): " + hoursMinutes(m_deviceOnSeconds) + '\n';
    reply += "Laser Emission switch on time: " + hoursMinutes(m_emissionSeconds) + '\n';
}

void VelutraSimLaser::statusRecord6(const QByteArray &, QByteArray &reply)
{
    const qint64 on = qint64(m_deviceOnSeconds);
    const qint64 emission = qint64(m_emissionSeconds);
    const QList<qint64> fields = {on / 3600,
                                  (on % 3600) / 60,
                                  emission / 3600,
                                  (emission % 3600) / 60,
                                  1,
                                  1,
                                  1,
                                  1,
                                  1,
                                  1,
                                  1,
                                  0};
    QByteArray line = "s6";
    for (qint64 field : fields) {
        line += ' ' + QByteArray::number(field);
    }
    reply += line + '\n';
}

void VelutraSimLaser::statusRecord7(const QByteArray &, QByteArray &reply)
{
    const bool aomOpen = m_state == State::Enabled && !m_inTransition;
    const bool ready = !m_inTransition && (m_state == State::Disabled || m_state == State::Enabled);
    QByteArray line = "s7";
    const QList<int> head = {aomOpen ? 1 : 0, m_aomMode,        aomOpen ? 1 : 0, ready ? 1 : 0,
                             aomValue(),      m_divisionFactor, m_frequencyIndex};
    for (int field : head) {
        line += ' ' + QByteArray::number(field);
    }
    line += ' ' + number(measuredEnergyNj(), 1);
    const QList<int> tail = {1, 1, 1, 1, 0, 0, 0, deviceStatus()};
    for (int field : tail) {
        line += ' ' + QByteArray::number(field);
    }
    reply += line + '\n';
}

void VelutraSimLaser::statusRecord8(const QByteArray &, QByteArray &reply)
{
    const bool pumped = m_state == State::Disabled || m_state == State::Enabled;
    const double current = pumped ? 8.25 + noise(0.02) : 0.0;
    QByteArray line = "s8 ";
    line += QByteArray::number(pumped ? 1 : 0) + " 50 ";
    line += number(current, 2) + ' ' + number(pumped ? 9.0 : 0.0, 2) + ' ';
    line += number(24.8 + noise(0.05), 2) + " 1.00 2.00 3.00 1 1 ";
    line += QByteArray::number(qRound(current * 1000.0)) + " 12.00\n";
    reply += line;
}

void VelutraSimLaser::statusRecord9(const QByteArray &, QByteArray &reply)
{
    // Ten temperature channels: set-point, actual, lower and upper limit each.
    static const double setpoints[] = {25.0, 22.0, 22.0, 20.0, 30.0, 35.0, 0.0, 0.0, 0.0, 0.0};
    const bool pumped = m_state == State::Disabled || m_state == State::Enabled;
    QByteArray line = "s9";
    for (double set : setpoints) {
        const double actual
                = set == 0.0 ? 0.0 : set + m_temperatureDrift + (pumped ? 0.08 : 0.0) + noise(0.04);
        const double low = set == 0.0 ? 0.0 : set - 5.0;
        const double high = set == 0.0 ? 0.0 : set + 5.0;
        line += ' ' + number(set, 2) + ' ' + number(actual, 2) + ' ' + number(low, 2) + ' '
                + number(high, 2);
    }
    reply += line + " 0\n";
}

// ---------------------------------------------------------------------------------------------
// Power, repetition rate, AOM

void VelutraSimLaser::powerQuery(const QByteArray &, QByteArray &reply)
{
    reply += "Setted laser power: " + QByteArray::number(qRound(m_energyNj)) + " nJ\n";
    // The calibration follows the set-point: per frequency index, AOM counts per nJ at the
    // lower (coefficient 0) and upper (coefficient 1) end of the usable energy range.
    reply += "Coefficients for converting setted laser power to AOM value\n";
    reply += "y=k*x + a; where k is index 0 and a is index 1\n";
    reply += "y is AOM value 0-4095 and x is input laser power in nJ\n";
    for (int index = 0; index < m_periods.size(); ++index) {
        const QByteArray key = QByteArray::number(index);
        reply += key + " 0 " + QByteArray::number(4000.0 / minEnergyNj(index), 'g', 6) + '\n';
        reply += key + " 1 " + QByteArray::number(4000.0 / maxEnergyNj(index), 'g', 6) + '\n';
    }
}

void VelutraSimLaser::powerSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const double value = argument.toDouble(&ok);
    if (ok && std::isfinite(value)) {
        m_energyNj
                = std::clamp(value, minEnergyNj(m_frequencyIndex), maxEnergyNj(m_frequencyIndex));
    }
    reply += "Setted laser power: " + QByteArray::number(qRound(m_energyNj)) + " nJ\n";
}

void VelutraSimLaser::relativePowerQuery(const QByteArray &, QByteArray &reply)
{
    reply += "Setted laser power in relative unit: "
             + number(m_energyNj / maxEnergyNj(m_frequencyIndex) * 100.0, 2) + '\n';
}

void VelutraSimLaser::relativePowerSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int units = argument.toInt(&ok);
    if (ok) {
        const double fraction = std::clamp(units, 0, 4000) / 4000.0;
        m_energyNj
                = std::max(minEnergyNj(m_frequencyIndex), fraction * maxEnergyNj(m_frequencyIndex));
    }
    relativePowerQuery(argument, reply);
}

void VelutraSimLaser::frequencyQuery(const QByteArray &, QByteArray &reply)
{
    reply += "Frequency index parameter: " + QByteArray::number(m_frequencyIndex) + '\n';
}

void VelutraSimLaser::frequencySet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int index = argument.toInt(&ok);
    if (!ok || index < 0 || index >= m_periods.size()) {
        reply += "AOM max frequency fields number is: " + QByteArray::number(m_periods.size())
                 + '\n';
        return;
    }
    m_frequencyIndex = index;
    m_energyNj = std::clamp(m_energyNj, minEnergyNj(index), maxEnergyNj(index));
    frequencyQuery(argument, reply);
}

void VelutraSimLaser::divisionQuery(const QByteArray &, QByteArray &reply)
{
    reply += "Notice: Division factor for PCAOM is " + QByteArray::number(m_divisionFactor) + '\n';
}

void VelutraSimLaser::divisionSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int factor = argument.toInt(&ok);
    if (ok) {
        m_divisionFactor = std::clamp(factor, 1, 10000000);
    }
    divisionQuery(argument, reply);
}

void VelutraSimLaser::aomModeQuery(const QByteArray &, QByteArray &reply)
{
    reply += "e_mode of AOM: " + QByteArray::number(m_aomMode) + '\n';
}

void VelutraSimLaser::aomModeSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int mode = argument.toInt(&ok);
    if (ok && (mode == 2 || mode == 3 || mode == 8)) {
        m_aomMode = mode;
    }
    aomModeQuery(argument, reply);
}

void VelutraSimLaser::debugQuery(const QByteArray &, QByteArray &reply)
{
    reply += m_debug ? "Debugging on communication channel 2 enabled\n"
                     : "Debugging on communication channel 2 disabled\n";
}

void VelutraSimLaser::debugSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int value = argument.toInt(&ok);
    if (ok && (value == 0 || value == 1)) {
        m_debug = value == 1;
        reply += "Ok write debug Communication value to eeprom\n";
    }
    debugQuery(argument, reply);
}

void VelutraSimLaser::registerDump(const QByteArray &, QByteArray &reply)
{
    const bool aomOpen = m_state == State::Enabled && !m_inTransition;
    const struct
    {
        const char *name;
        int value;
    } registers[] = {
            {"ERRRST", 0},
            {"AOM80S80", 1},
            {"AOMMODE", m_aomMode},
            {"AOMRNG", 4095},
            {"AOMAMP", aomValue()},
            {"PCPER", m_periods.value(m_frequencyIndex)},
            {"PC1OFF", 12},
            {"PC1ON", 20},
            {"PDSMPL", 4},
            {"AOMOFF", 0},
            {"AOMEN", aomOpen ? 1 : 0},
            {"OUT2SEL", m_digitalGate},
            {"PC2EN", 0},
            {"PC1EN", 1},
            {"AOMINH", aomOpen ? 0 : 1},
            {"PC1INH", 0},
            {"PC2INH", 0},
    };
    int row = 0;
    for (const auto &entry : registers) {
        reply += QByteArray::number(row++) + ' ' + QByteArray::number(entry.value) + ' '
                 + entry.name + '\n';
    }
}

void VelutraSimLaser::divisionTable(const QByteArray &, QByteArray &reply)
{
    for (int index = 0; index < m_periods.size(); ++index) {
        reply += QByteArray::number(index) + ' ' + QByteArray::number(qRound(frequencyKHz(index)))
                 + " PCPER " + QByteArray::number(m_periods.at(index)) + '\n';
    }
}

void VelutraSimLaser::digitalGateQuery(const QByteArray &, QByteArray &reply)
{
    reply += m_digitalGate == 0
                     ? "Active digital gate logic:\tlogic LOW (no connection) = AOM OPEN\n"
                     : "Active digital gate logic:\tlogic LOW (no connection) = AOM CLOSED\n";
}

void VelutraSimLaser::digitalGateSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int value = argument.toInt(&ok);
    if (ok && (value == 0 || value == 1)) {
        m_digitalGate = value;
    }
    reply += "New digital gate logic: " + QByteArray::number(m_digitalGate) + '\n';
}

void VelutraSimLaser::laserWavelengthSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int value = argument.toInt(&ok);
    if (!ok || value < 0 || value > 2) {
        reply += "Wavelength index out of range.\n";
        return;
    }
    // The laser's wavelength register drives the module's output selector; without a
    // module there is nothing to move and nothing to report.
    if (hasModule()) {
        wavelengthSet(argument, reply);
    }
}

// ---------------------------------------------------------------------------------------------
// Harmonic module

void VelutraSimLaser::moduleInfo(const QByteArray &, QByteArray &reply)
{
    const ModuleData &module = moduleData(m_config.module);
    reply += QByteArray("ZEL harmonic generation module (address: 0x21 / type: ") + module.type
             + ")\n";
    reply += QByteArray("Firmware version:\t") + module.firmware + '\n';
    reply += "Bootloader version:\t1.1.0\n";
    reply += QByteArray("Module serial number:\t") + module.serial + '\n';
    reply += "PCB serial number:\tPCB-4471-B\n";
}

void VelutraSimLaser::humidityQuery(const QByteArray &, QByteArray &reply)
{
    if (!hasHumiditySensor()) {
        reply += helpText();
        return;
    }
    m_humidity = std::clamp(m_humidity + noise(0.05), 5.0, 95.0);
    reply += modulePrefix() + "\tHumidity=" + number(m_humidity, 1) + "%\n";
}

void VelutraSimLaser::ovenModeQuery(const QByteArray &, QByteArray &reply)
{
    reply += "ZEL HG\tCurrent FSM state=" + QByteArray::number(m_ovenMode) + '\n';
}

void VelutraSimLaser::ovenModeSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int mode = argument.toInt(&ok);
    if (ok && mode == 2) {
        m_ovenMode = 2;
    } else if (ok && (mode == 3 || mode == 4)) {
        if (m_ovenMode == 2) {
            m_ovenMode = 3;
        }
    } else {
        reply += helpText();
        return;
    }
    advance();
    ovenModeQuery(argument, reply);
}

void VelutraSimLaser::setpointQuery(const QByteArray &, QByteArray &reply)
{
    const auto line = [](const QByteArray &head, double set, double low, double high) {
        return head + "Oven Setpoint=" + number(set, 1) + " C\tMin=" + number(low, 1)
               + " C\tMax=" + number(high, 1) + " C\n";
    };
    if (isThgModule()) {
        reply += line("ZEL THG\tSHG ", m_setpoint1, s_oven1Min, s_oven1Max);
        reply += line("ZEL THG\tTHG ", m_setpoint2, s_oven2Min, s_oven2Max);
    } else {
        reply += line("ZEL SHG\t", m_setpoint1, s_oven1Min, s_oven1Max);
    }
}

namespace {

// An oven takes any number and limits it to its range; what it did is in its answer.
void applySetpoint(const QByteArray &argument, double low, double high, double *setpoint,
                   QByteArray &reply)
{
    bool ok = false;
    const double value = argument.toDouble(&ok);
    if (!ok || !std::isfinite(value)) {
        reply += "Setpoint not a number: " + argument + '\n';
        return;
    }
    *setpoint = std::clamp(value, low, high);
    reply += "New oven temperature setpoint: " + QByteArray::number(*setpoint, 'f', 1) + " C\n";
}

} // namespace

void VelutraSimLaser::setpointSet(const QByteArray &argument, QByteArray &reply)
{
    if (isThgModule()) {
        reply += helpText();
        return;
    }
    applySetpoint(argument, s_oven1Min, s_oven1Max, &m_setpoint1, reply);
}

void VelutraSimLaser::setpointShgSet(const QByteArray &argument, QByteArray &reply)
{
    if (!isThgModule()) {
        reply += helpText();
        return;
    }
    applySetpoint(argument, s_oven1Min, s_oven1Max, &m_setpoint1, reply);
}

void VelutraSimLaser::setpointThgSet(const QByteArray &argument, QByteArray &reply)
{
    if (!isThgModule()) {
        reply += helpText();
        return;
    }
    applySetpoint(argument, s_oven2Min, s_oven2Max, &m_setpoint2, reply);
}

void VelutraSimLaser::ovenQuery(const QByteArray &, QByteArray &reply)
{
    if (isThgModule()) {
        reply += "ZEL THG\tSHG Oven Temperature=" + number(m_oven1 + noise(0.02), 2) + " C\n";
        reply += "ZEL THG\tTHG Oven Temperature=" + number(m_oven2 + noise(0.02), 2) + " C\n";
    } else {
        reply += "ZEL SHG\tOven Temperature=" + number(m_oven1 + noise(0.02), 2) + " C\n";
    }
}

void VelutraSimLaser::allRuntimesQuery(const QByteArray &, QByteArray &reply)
{
    if (!isThgModule()) {
        reply += helpText();
        return;
    }
    QByteArray line = "ZEL THG\tAll runtimes=";
    for (double seconds : qAsConst(m_spotRuntimes)) {
        line += QByteArray::number(quint64(seconds)) + ' ';
    }
    reply += line + '\n';
}

void VelutraSimLaser::currentSpotQuery(const QByteArray &, QByteArray &reply)
{
    if (!isThgModule()) {
        reply += helpText();
        return;
    }
    reply += "ZEL THG\tCurrent crystal spot=" + QByteArray::number(m_spot) + '\n';
}

void VelutraSimLaser::currentRuntimeQuery(const QByteArray &, QByteArray &reply)
{
    if (!isThgModule()) {
        reply += helpText();
        return;
    }
    reply += "ZEL THG\tCurrent runtime=" + QByteArray::number(quint64(m_spotRuntimes.at(m_spot)))
             + "s\n";
}

void VelutraSimLaser::maxRuntimeQuery(const QByteArray &, QByteArray &reply)
{
    if (!isThgModule()) {
        reply += helpText();
        return;
    }
    reply += "ZEL THG\tMax runtime=" + QByteArray::number(s_maxSpotRuntime) + "s\n";
}

void VelutraSimLaser::spotSet(const QByteArray &argument, QByteArray &reply)
{
    if (!isThgModule()) {
        reply += helpText();
        return;
    }
    bool ok = false;
    const int spot = argument.toInt(&ok);
    if (!ok || spot < 0 || spot >= s_spotCount) {
        reply += "ZEL THG\tInvalid crystal spot " + argument + " (0-"
                 + QByteArray::number(s_spotCount - 1) + ").\n";
        return;
    }
    m_targetSpot = spot;
    if (spot != m_spot && !m_spotTimer.isActive()) {
        m_spotTimer.start(int(wallMs(s_spotSeconds)));
    }
}

void VelutraSimLaser::stepSpot()
{
    advance();
    m_spot += m_targetSpot > m_spot ? 1 : -1;
    if (m_spot == m_targetSpot) {
        m_spotTimer.stop();
        emit sigOutput("ZEL THG\tCurrent crystal spot=" + QByteArray::number(m_spot) + '\n');
    }
}

void VelutraSimLaser::wavelengthQuery(const QByteArray &, QByteArray &reply)
{
    reply += modulePrefix() + "\tCurrent position=" + positionName(m_position) + '\n';
}

void VelutraSimLaser::wavelengthSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int position = argument.toInt(&ok);
    if (!ok || position < 0 || position > 3) {
        reply += helpText();
        return;
    }
    if (position > maxPosition()) {
        reply += "ZEL HG\tRequested wavelength not available.\n";
        return;
    }
    startWavelengthChange(position, reply);
}

void VelutraSimLaser::startWavelengthChange(int position, QByteArray &reply)
{
    m_targetPosition = position;
    if (position == m_position && !m_changingWavelength) {
        reply += "ZEL HG\tChanging wavelength complete.\n";
        return;
    }
    if (m_state == State::Enabled && !m_inTransition && !m_changingWavelength) {
        reply += "ZEL HG:\tDisabling AOM.\n";
    }
    m_changingWavelength = true;
    m_wavelengthTimer.start(int(wallMs(s_wavelengthSeconds)));
}

void VelutraSimLaser::finishWavelengthChange()
{
    advance();
    m_position = m_targetPosition;
    m_changingWavelength = false;
    QByteArray lines
            = QByteArray("ZEL SHG\tMoved piezo stage to ") + positionName(m_position) + '\n';
    if (isThgModule()) {
        lines += m_position == 2 ? "ZEL SHG\tNew polarization: s\n"
                                 : "ZEL SHG\tNew polarization: p\n";
    }
    lines += "ZEL HG\tChanging wavelength complete.\n";
    emit sigOutput(lines);
}

void VelutraSimLaser::moduleStatusQuery(const QByteArray &, QByteArray &reply)
{
    reply += "ZEL HG\tStatus flags="
             + QByteArray::number(hgStatusFlags(), 16).toUpper().rightJustified(4, '0') + '\n';
    if (m_shutterWarning) {
        reply += "ZEL HG\tShutter in wrong position.\n";
    }
}

void VelutraSimLaser::emitShutterWarning()
{
    emit sigOutput("ZEL HG\tShutter in wrong position.\n");
}

void VelutraSimLaser::errorcodeQuery(const QByteArray &, QByteArray &reply)
{
    reply += "ZEL HG\tErrorcode=" + QByteArray::number(m_hgErrorcode) + '\n';
}

void VelutraSimLaser::outputPowerQuery(const QByteArray &, QByteArray &reply)
{
    const auto text = [](double milliwatts) {
        return milliwatts >= 1000.0 ? number(milliwatts / 1000.0, 3) + " W"
                                    : number(milliwatts, 1) + " mW";
    };
    reply += "ZEL SHG\tOutput power=" + text(harmonicPowerMw(1)) + '\n';
    if (isThgModule()) {
        reply += "ZEL THG\tOutput power=" + text(harmonicPowerMw(2)) + '\n';
    }
}

void VelutraSimLaser::moduleRuntimeQuery(const QByteArray &, QByteArray &reply)
{
    reply += modulePrefix() + "\tRuntime=" + QByteArray::number(quint64(m_moduleRuntime)) + "s\n";
}

void VelutraSimLaser::outputConfigQuery(const QByteArray &, QByteArray &reply)
{
    reply += "ZEL HG WL output config: 0x"
             + QByteArray::number(moduleData(m_config.module).outputConfig, 16)
                       .rightJustified(2, '0')
             + '\n';
}

void VelutraSimLaser::dwlsFeatureQuery(const QByteArray &, QByteArray &reply)
{
    reply += moduleData(m_config.module).dynamicWavelength
                     ? "ZEL HG\tDynamic wavelength switching feature enabled\n"
                     : "ZEL HG\tDynamic wavelength switching feature disabled\n";
}

void VelutraSimLaser::dwlsEnableQuery(const QByteArray &, QByteArray &reply)
{
    reply += m_dwlsEnabled ? "ZEL HG\tDynamic wavelength switching enabled\n"
                           : "ZEL HG\tDynamic wavelength switching disabled\n";
}

void VelutraSimLaser::dwlsEnableSet(const QByteArray &argument, QByteArray &reply)
{
    bool ok = false;
    const int value = argument.toInt(&ok);
    if (!ok || (value != 0 && value != 1)) {
        reply += helpText();
        return;
    }
    m_dwlsEnabled = moduleData(m_config.module).dynamicWavelength && value == 1;
    dwlsEnableQuery(argument, reply);
}

void VelutraSimLaser::dwlsDefaultQuery(const QByteArray &, QByteArray &reply)
{
    static const char *const names[] = {"IR", "SHG", "THG", "FHG"};
    reply += "Dynamic wavelength switching data in memory:\n";
    for (int index = 0; index <= maxPosition(); ++index) {
        reply += QByteArray("\t") + names[index] + " Wavelength Index: " + QByteArray::number(index)
                 + " IR pulse energy = " + QByteArray::number(qRound64(m_dwlsDefaultsNj.at(index)))
                 + '\n';
    }
}

void VelutraSimLaser::dwlsDefaultSet(const QByteArray &argument, QByteArray &reply)
{
    const QList<QByteArray> parts = argument.split(',');
    bool indexOk = false;
    bool energyOk = false;
    const int index = parts.value(0).trimmed().toInt(&indexOk);
    const double energy = parts.value(1).trimmed().toDouble(&energyOk);
    if (parts.size() != 2 || !indexOk || !energyOk || index < 0 || index > maxPosition()
        || !std::isfinite(energy) || energy < 0.0) {
        reply += helpText();
        return;
    }
    m_dwlsDefaultsNj[index] = std::min(energy, maxEnergyNj(m_frequencyIndex));
    dwlsDefaultQuery(argument, reply);
}

QByteArray VelutraSimLaser::helpText() const
{
    const bool thg = isThgModule();
    QByteArray text = "Available commands:\n----------------------------------------\n";
    if (thg) {
        text += "ls_temp_setpoint_SHG=x\n\tSets the module's SHG oven temperature setpoint in "
                "degrees C\n";
        text += "ls_temp_setpoint_THG=x\n\tSets the module's THG oven temperature setpoint in "
                "degrees C\n";
    } else {
        text += "ls_temp_setpoint=x\n\tSets the module oven temperature setpoint in degrees C\n";
    }
    text += "ls_temp_setpoint?\n\tDisplays the module oven setpoint(s) in degrees C\n";
    text += "ls_temp_oven?\n\tDisplays the module oven(s) temperature in degrees C\n";
    if (hasHumiditySensor()) {
        text += "ls_humidity?\n\tDisplays the relative humidity in % within the module.\n";
    }
    text += "ls_wavelength=x\n\tSets the output wavelength [x range: 0-3]\n\twhere:\n";
    text += "\t\t0 sets IR output\n\t\t1 sets SHG output\n";
    text += thg ? "\t\t2 sets THG output\n" : "\t\t2 THG not available.\n";
    text += "\t\t3 FHG not available.\n";
    text += "ls_wavelength?\n\tDisplays the configured wavelength of the module\n";
    text += "ls_status?\n\tDisplays the module status - ZELM support\n";
    text += "ls_output_power?\n\tDisplays the current output power\n";
    text += "ls_module_runtime?\n\tDisplays the modules total runtime in seconds\n";
    if (thg) {
        text += "ls_crystal_curSpot?\n\tDisplays the crystal spot currently active\n";
        text += "ls_crystal_maxRuntime?\n\tDisplays the maximun runtime in seconds\n";
        text += "ls_crystal_allRuntimes?\n\tDisplays the total runtime in hours\n";
        text += "ls_crystal_curRuntime?\n\tDisplays the current total runtime in seconds\n";
        text += "ls_crystal_setSpot=x\n\tSets the crystal spot the module will use for "
                "conversion\n";
    }
    return text;
}
