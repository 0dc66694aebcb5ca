#ifndef VELUTRASIMLASER_H
#define VELUTRASIMLASER_H

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QRandomGenerator>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVector>

// The laser as seen from its serial line: it takes one command line at a time and
// answers with whole reply lines, and it lives on between commands (state changes
// settle, ovens warm up, the crystal stage travels, counters run). It knows nothing
// of ports or pacing; everything it says leaves through sigOutput().
class VelutraSimLaser : public QObject
{
    Q_OBJECT

public:
    enum class Module { None, Shg86, Thg8d, Shgg90, Thgi93 };
    enum class State { Listen, Standby, Disabled, Enabled };

    struct Config
    {
        QString model = QStringLiteral("Velutra-10");
        QString application; // empty: a default that suits the module
        Module module = Module::Thgi93;
        State initialState = State::Listen;
        double speed = 1.0; // model seconds per wall-clock second
        bool debugOutput = false;
        int aomMode = 2; // 2 internal, 3 external, 8
        double churnSeconds = 0.0; // model seconds between churn steps; 0: no churn
        quint32 seed = 20261121u; // noise and churn
        QStringList refused; // set commands refused outright, by name
    };

    explicit VelutraSimLaser(const Config &config, QObject *parent = nullptr);

    // One command as received, without its line terminator.
    void receiveLine(const QByteArray &line);

    void setEchoEnabled(bool enabled) { m_echo = enabled; }
    bool echoEnabled() const { return m_echo; }
    void setHgErrorcode(int code) { m_hgErrorcode = code; }
    int hgErrorcode() const { return m_hgErrorcode; }
    void setHgStatusFlags(quint16 flags) { m_injectedFlags = flags; }
    quint16 hgStatusFlags();
    // While set, the shutter warning follows every module status reply.
    void setShutterWarning(bool on) { m_shutterWarning = on; }
    bool shutterWarning() const { return m_shutterWarning; }
    void emitShutterWarning();

    // Settings the device refuses outright, named as in its command list without the
    // trailing '=' or blank ("ly_vtx2_power", "e_freq"); queries are never refused.
    bool setRefused(const QByteArray &name, bool refused);
    void acceptAll() { m_refused.clear(); }
    QStringList refusedCommands() const;
    static bool isSetCommandName(const QByteArray &name);

    // Churn: on its own the device changes something the program watches, every
    // churnSeconds of model time; 0 stops it. churnStep() does one step now and says what.
    void setChurnSeconds(double seconds);
    double churnSeconds() const { return m_churnSeconds; }
    QString churnStep();
    int churnSteps() const { return m_churnSteps; }

    const Config &config() const { return m_config; }
    int aomMode() const { return m_aomMode; }
    int deviceStatus() const;
    QString stateText() const;
    QString moduleTypeText() const;
    int commandCount() const { return m_commandCount; }

    static bool parseModule(const QString &text, Module *module);
    static bool parseState(const QString &text, State *state);
    static QStringList modelNames();

signals:
    // Whole lines, each ending in a line feed.
    void sigOutput(const QByteArray &lines);
    // What a churn step changed, for the trace.
    void sigChurned(const QString &what);

private:
    using Handler = void (VelutraSimLaser::*)(const QByteArray &argument, QByteArray &reply);
    // Some settings move the optics and are taken only while the laser is in listen or
    // standby (status word bit 3 or 5), the same rule by which the program locks them.
    enum class Gate { Always, ListenOrStandby };
    struct Command
    {
        const char *text;
        bool takesArgument; // text is a prefix ending in '=' or ' '
        bool needsModule;
        Handler handler;
        Gate gate = Gate::Always;
    };
    static const QVector<Command> &commandTable();

    struct Transition
    {
        State from;
        State to;
        const char *line;
        double seconds;
    };

    // Queries and settings of the laser itself.
    void systemInfo(const QByteArray &, QByteArray &reply);
    void deviceStatusQuery(const QByteArray &, QByteArray &reply);
    void statusRecord6(const QByteArray &, QByteArray &reply);
    void statusRecord7(const QByteArray &, QByteArray &reply);
    void statusRecord8(const QByteArray &, QByteArray &reply);
    void statusRecord9(const QByteArray &, QByteArray &reply);
    void powerQuery(const QByteArray &, QByteArray &reply);
    void powerSet(const QByteArray &argument, QByteArray &reply);
    void relativePowerQuery(const QByteArray &, QByteArray &reply);
    void relativePowerSet(const QByteArray &argument, QByteArray &reply);
    void frequencyQuery(const QByteArray &, QByteArray &reply);
    void frequencySet(const QByteArray &argument, QByteArray &reply);
    void divisionQuery(const QByteArray &, QByteArray &reply);
    void divisionSet(const QByteArray &argument, QByteArray &reply);
    void aomModeQuery(const QByteArray &, QByteArray &reply);
    void aomModeSet(const QByteArray &argument, QByteArray &reply);
    void debugQuery(const QByteArray &, QByteArray &reply);
    void debugSet(const QByteArray &argument, QByteArray &reply);
    void registerDump(const QByteArray &, QByteArray &reply);
    void divisionTable(const QByteArray &, QByteArray &reply);
    void digitalGateQuery(const QByteArray &, QByteArray &reply);
    void digitalGateSet(const QByteArray &argument, QByteArray &reply);
    void outputQuery(const QByteArray &, QByteArray &reply);
    void outputEnable(const QByteArray &, QByteArray &reply);
    void outputDisable(const QByteArray &, QByteArray &reply);
    void goDisabled(const QByteArray &, QByteArray &reply);
    void goStandby(const QByteArray &, QByteArray &reply);
    void goListen(const QByteArray &, QByteArray &reply);
    void laserWavelengthSet(const QByteArray &argument, QByteArray &reply);

    // The harmonic module.
    void moduleInfo(const QByteArray &, QByteArray &reply);
    void humidityQuery(const QByteArray &, QByteArray &reply);
    void ovenModeQuery(const QByteArray &, QByteArray &reply);
    void ovenModeSet(const QByteArray &argument, QByteArray &reply);
    void setpointQuery(const QByteArray &, QByteArray &reply);
    void setpointSet(const QByteArray &argument, QByteArray &reply);
    void setpointShgSet(const QByteArray &argument, QByteArray &reply);
    void setpointThgSet(const QByteArray &argument, QByteArray &reply);
    void ovenQuery(const QByteArray &, QByteArray &reply);
    void allRuntimesQuery(const QByteArray &, QByteArray &reply);
    void currentSpotQuery(const QByteArray &, QByteArray &reply);
    void currentRuntimeQuery(const QByteArray &, QByteArray &reply);
    void maxRuntimeQuery(const QByteArray &, QByteArray &reply);
    void spotSet(const QByteArray &argument, QByteArray &reply);
    void wavelengthQuery(const QByteArray &, QByteArray &reply);
    void wavelengthSet(const QByteArray &argument, QByteArray &reply);
    void moduleStatusQuery(const QByteArray &, QByteArray &reply);
    void errorcodeQuery(const QByteArray &, QByteArray &reply);
    void outputPowerQuery(const QByteArray &, QByteArray &reply);
    void moduleRuntimeQuery(const QByteArray &, QByteArray &reply);
    void outputConfigQuery(const QByteArray &, QByteArray &reply);
    void dwlsFeatureQuery(const QByteArray &, QByteArray &reply);
    void dwlsEnableQuery(const QByteArray &, QByteArray &reply);
    void dwlsEnableSet(const QByteArray &argument, QByteArray &reply);
    void dwlsDefaultQuery(const QByteArray &, QByteArray &reply);
    void dwlsDefaultSet(const QByteArray &argument, QByteArray &reply);

    QByteArray helpText() const;
    static QByteArray commandName(const Command &command);
    bool optionsOpen() const { return (deviceStatus() & 0x28) != 0; }

    // Churn, one kind of change each; they return what they did.
    using ChurnAction = QString (VelutraSimLaser::*)();
    QString churnState();
    QString churnHgError();
    QString churnHgFlags();
    QString churnShutter();
    QString churnTemperatures();
    QString churnPower();
    void churnTimeout();
    void requestState(State target, QByteArray &reply);
    void startStep(State from, State to, QByteArray &reply);
    void finishStep();
    void startWavelengthChange(int position, QByteArray &reply);
    void finishWavelengthChange();
    void stepSpot();
    void advance();
    qint64 wallMs(double modelSeconds) const;

    bool hasModule() const { return m_config.module != Module::None; }
    bool isThgModule() const;
    bool isNewGeneration() const;
    bool hasHumiditySensor() const;
    // The status-flag words by which this module reports its faults: each oven, humidity.
    QVector<quint16> faultFlagChoices() const;
    QByteArray modulePrefix() const;
    int maxPosition() const { return isThgModule() ? 2 : 1; }
    static const char *positionName(int position);
    double frequencyKHz(int index) const;
    double maxEnergyNj(int index) const;
    double minEnergyNj(int index) const;
    double outputFrequencyKHz() const;
    double measuredEnergyNj();
    double harmonicPowerMw(int position);
    double conversionFactor(double actual, double setpoint) const;
    int aomValue() const;
    double noise(double amplitude);
    static QByteArray number(double value, int decimals);

    static constexpr double s_ambient = 24.5;
    static constexpr double s_ovenTimeConstant = 40.0;
    static constexpr double s_spotSeconds = 10.0;
    static constexpr double s_wavelengthSeconds = 4.0;
    static constexpr int s_spotCount = 12;
    static constexpr quint64 s_maxSpotRuntime = 1800000;

    Config m_config;
    bool m_echo = true;
    int m_commandCount = 0;
    QRandomGenerator m_random;
    QElapsedTimer m_clock;
    qint64 m_lastAdvanceNs = 0;

    // Laser
    State m_state = State::Listen;
    bool m_inTransition = false;
    State m_stepTarget = State::Listen;
    State m_finalTarget = State::Listen;
    QTimer m_stepTimer;
    QVector<int> m_periods; // PCPER value per frequency index
    int m_frequencyIndex = 4;
    int m_divisionFactor = 1;
    int m_aomMode = 2;
    double m_energyNj = 5000.0;
    int m_digitalGate = 0;
    bool m_debug = false;
    double m_deviceOnSeconds = 1234.0 * 3600 + 56 * 60;
    double m_emissionSeconds = 789.0 * 3600 + 12 * 60;

    // Module
    int m_ovenMode = 3; // 2 off, 3 heating, 4 at temperature
    double m_setpoint1 = 150.0;
    double m_setpoint2 = 60.0;
    double m_oven1 = s_ambient;
    double m_oven2 = s_ambient;
    double m_humidity = 8.0;
    int m_position = 0; // 0 IR, 1 GREEN, 2 UV
    int m_targetPosition = 0;
    bool m_changingWavelength = false;
    QTimer m_wavelengthTimer;
    int m_spot = 3;
    int m_targetSpot = 3;
    QTimer m_spotTimer;
    QVector<double> m_spotRuntimes;
    double m_moduleRuntime = 2345678.0;
    int m_hgErrorcode = 0;
    quint16 m_injectedFlags = 0;
    bool m_shutterWarning = false;
    bool m_dwlsEnabled = false;
    QVector<double> m_dwlsDefaultsNj{20000.0, 10000.0, 5000.0, 0.0};

    // Refusals and churn
    QList<QByteArray> m_refused;
    QRandomGenerator m_churnRandom;
    QTimer m_churnTimer;
    double m_churnSeconds = 0.0;
    int m_churnSteps = 0;
    double m_temperatureDrift = 0.0; // added to the laser's own temperature channels
    double m_powerFactor = 1.0; // measured energy against the set-point
};

#endif // VELUTRASIMLASER_H
