#include "velutracontroller.h"

#include "_applog.h"
#include "guioverlay.h"
#include "guiwidget.h"
#include "maincontrolpanel.h"
#include "velutracommands.h"
#include "velutracontrollercategory.h"
#include "velutrafirmwareids.h"
#include "velutramodulecolumns.h"
#include "velutraremotecontrol.h"
#include "velutraresponsedecoder.h"
#include "velutraserialhandler.h"
#include "velutraview.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QSettings>
#include <QTimer>
#include <QVBoxLayout>

#include <cstring>

namespace {

constexpr int MainLoopIntervalMs = 10;
// Device lines in the operator's log: an episode of lines the decoder cannot place shows its
// first ten, then one count when ten seconds passed without another (and every five minutes
// while it lasts); a line longer than this is shown clipped, with its length.
constexpr int DeviceLinesShownPerEpisode = 10;
constexpr int DeviceLineEpisodeQuietMs = 10 * 1000;
constexpr int LoggedLineCharacters = 200;

// The panel's division control spans every factor the device accepts.
constexpr double DivisionMinimum = 1.0;
constexpr double DivisionMaximum = 10000000.0;

constexpr char SystemInfoViewKey[] = "viewSystemInfo";
constexpr char PowerSetIndexKey[] = "powerSetIndex";
constexpr char RepRateScaleIndexReadKey[] = "repRateScaleIndex";
// Written in another case than it is read; both spellings are kept as they stand, and
// loadSettings() finds either.
constexpr char RepRateScaleIndexWriteKey[] = "reprateScaleIndex";

// Model strings, tested in this order: "Velutra-10" contains the text of no other model,
// but "Velutra-2" must not be taken for it, so the longer name comes first.
struct SystemTypeName
{
    const char *model;
    int systemType;
};
constexpr SystemTypeName SystemTypeNames[] = {
        {"Velutra-10", 1},
        {"Velutra-3", 2},
        {"Velutra-2", 3},
};

// Decoder signals the controller has no use for; everything else needs a slot of its stem.
const char *const DecoderSignalsWithoutSlot[] = {
        // A laser without the digital gate simply never reports one; nothing to do.
        "sigDigitalGateNotSupported",
        // The s7 record's ready flag: the status byte and the system state of the same
        // record say all the panel shows about readiness.
        "sigiVelutraXPReadyChanged",
};

// View change signals whose controller slot is not named like them.
struct RenamedViewSignal
{
    const char *viewSignal;
    const char *controllerSlot;
};
constexpr RenamedViewSignal RenamedViewSignals[] = {
        {"operatingModeChanged", "slotOperatingModeChanged"},
        {"dynamicWavelengthFeature", "dynamicWavelengthFeatureChanged"},
};

// View signals that stay inside the view.
const char *const InternalViewSignals[] = {
        // Closes the view's own wait dialog when the crystal has moved.
        "closeCrystalSpotWarningWindow",
};

// Controller signals the name-driven wiring leaves out, and where each one goes instead.
using BoolSignal = void (VelutraController::*)(bool);
struct RemoteControlRoute
{
    BoolSignal signal;
    void (VelutraRemoteControl::*slot)(bool);
};
struct ViewRoute
{
    BoolSignal signal;
    void (VelutraView::*slot)(bool);
};
// clang-format off
// The operating-state buttons live in the remote control, under names of their own.
constexpr RemoteControlRoute RemoteControlRoutes[] = {
    {&VelutraController::enableOutEnable,       &VelutraRemoteControl::enableOutEnable},
    {&VelutraController::enableLaserOn,         &VelutraRemoteControl::enableLaserOn},
    {&VelutraController::enableStandby,         &VelutraRemoteControl::enableStandby},
    {&VelutraController::enableListen,          &VelutraRemoteControl::enableListen},
    {&VelutraController::setOutEnableOn,        &VelutraRemoteControl::setOutEnable},
    {&VelutraController::setOutEnableOnFlash,   &VelutraRemoteControl::setOutEnableFlashing},
    {&VelutraController::setOutEnableOnVisible, &VelutraRemoteControl::setOutEnableVisible},
    {&VelutraController::setLaserOn,            &VelutraRemoteControl::setLaserOn},
    {&VelutraController::setLaserOnFlash,       &VelutraRemoteControl::setLaserOnFlashing},
    {&VelutraController::setStandby,            &VelutraRemoteControl::setStandby},
    {&VelutraController::setStandbyFlash,       &VelutraRemoteControl::setStandbyFlashing},
    {&VelutraController::setListen,             &VelutraRemoteControl::setListen},
};
// The signal names keep an old misspelling; the view's slots are spelt right.
constexpr ViewRoute MisspeltViewRoutes[] = {
    {&VelutraController::setTemperatureVisibilty1,  &VelutraView::setTemperatureVisibility1},
    {&VelutraController::setTemperatureVisibilty2,  &VelutraView::setTemperatureVisibility2},
    {&VelutraController::setTemperatureVisibilty3,  &VelutraView::setTemperatureVisibility3},
    {&VelutraController::setTemperatureVisibilty4,  &VelutraView::setTemperatureVisibility4},
    {&VelutraController::setTemperatureVisibilty5,  &VelutraView::setTemperatureVisibility5},
    {&VelutraController::setTemperatureVisibilty6,  &VelutraView::setTemperatureVisibility6},
    {&VelutraController::setTemperatureVisibilty7,  &VelutraView::setTemperatureVisibility7},
    {&VelutraController::setTemperatureVisibilty8,  &VelutraView::setTemperatureVisibility8},
    {&VelutraController::setTemperatureVisibilty9,  &VelutraView::setTemperatureVisibility9},
    {&VelutraController::setTemperatureVisibilty10, &VelutraView::setTemperatureVisibility10},
};

// The remote control's buttons and the controller slots that turn them into commands.
struct RemoteButton
{
    void (VelutraRemoteControl::*button)(bool);
    void (VelutraController::*slot)(bool);
};
constexpr RemoteButton RemoteButtons[] = {
    {&VelutraRemoteControl::outEnableChanged, &VelutraController::outEnableChanged},
    {&VelutraRemoteControl::laserOnChanged,   &VelutraController::laserOnChanged},
    {&VelutraRemoteControl::standbyChanged,   &VelutraController::standbyChanged},
    {&VelutraRemoteControl::listenChanged,    &VelutraController::listenChanged},
};
// clang-format on

template<typename Table>
bool isListed(const Table &table, const QByteArray &name)
{
    for (const char *entry : table) {
        if (name == entry) {
            return true;
        }
    }
    return false;
}

// Connects sender's signal to the receiver slot with the given signature; false when the
// receiver has no such slot.
bool connectBySignature(QObject *sender, const QMetaMethod &signal, QObject *receiver,
                        const QByteArray &slotSignature)
{
    const QMetaObject *meta = receiver->metaObject();
    const int index = meta->indexOfSlot(QMetaObject::normalizedSignature(slotSignature));
    if (index < 0) {
        return false;
    }
    return bool(QObject::connect(sender, signal, receiver, meta->method(index)));
}

QSettings controllerSettings()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope,
                     QCoreApplication::organizationName(), QCoreApplication::applicationName());
}

void writeLog(const QString &line)
{
    _AppLog::WriteLogLine(line);
}

} // namespace

VelutraController::VelutraController(QWidget *mainWindow, MainControlPanel *panel,
                                     VelutraSerialHandler *handler, QObject *parent)
    : QObject(parent)
    , m_mainWindow(mainWindow)
    , m_controlPanel(panel)
    , m_serialHandler(handler)
    , m_decoder(new VelutraResponseDecoder(this))
{
    m_mainLoopTimer.setSingleShot(true);
    m_mainLoopTimer.setInterval(MainLoopIntervalMs);
    connect(&m_mainLoopTimer, &QTimer::timeout, this, &VelutraController::slotMainLoop);
    wireDecoder();
    loadSettings();
    wireHandler();
}

VelutraController::~VelutraController()
{
    m_unhandledLineEpisode.end();
    m_parsingErrorEpisode.end();
    m_moduleWarningEpisode.end();
    saveSettings();
    // A widget the panel took belongs to the panel; one that never reached a panel is ours.
    if (m_panelWidget && !m_panelWidget->parent()) {
        delete m_panelWidget.data();
    }
}

LogEpisode VelutraController::deviceLineEpisode(const QString &subject)
{
    LogEpisode episode(writeLog);
    episode.setSubject(subject);
    episode.setVerbatimCount(DeviceLinesShownPerEpisode);
    episode.setQuietMs(DeviceLineEpisodeQuietMs);
    return episode;
}

QString VelutraController::clippedLine(const QByteArray &line)
{
    // A line cut from an endless stream is 64 KiB; the log page would choke on a few.
    if (line.size() <= LoggedLineCharacters) {
        return QString::fromLatin1(line);
    }
    return tr("%1… (%2 bytes)")
            .arg(QString::fromLatin1(line.left(LoggedLineCharacters)))
            .arg(line.size());
}

VelutraResponseDecoder *VelutraController::decoder() const
{
    return m_decoder;
}

GUIWidget *VelutraController::panelWidget() const
{
    return m_panelWidget;
}

VelutraView *VelutraController::view() const
{
    return m_view;
}

VelutraRemoteControl *VelutraController::remoteControl() const
{
    return m_remoteControl;
}

const QStringList &VelutraController::signalsWithoutViewSlot()
{
    static const QStringList s_names = [] {
        QStringList names;
        for (const RemoteControlRoute &route : RemoteControlRoutes) {
            names.append(QString::fromLatin1(QMetaMethod::fromSignal(route.signal).name()));
        }
        for (const ViewRoute &route : MisspeltViewRoutes) {
            names.append(QString::fromLatin1(QMetaMethod::fromSignal(route.signal).name()));
        }
        return names;
    }();
    return s_names;
}

// ---- Wiring -----------------------------------------------------------------------------

void VelutraController::wireDecoder()
{
    // Every published value has a slot of the same stem: sig<X> reaches slot<X>. Wiring by
    // name keeps the 150 connections from drifting apart from the two headers.
    const QMetaObject *meta = m_decoder->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod signal = meta->method(i);
        if (signal.methodType() != QMetaMethod::Signal) {
            continue;
        }
        if (isListed(DecoderSignalsWithoutSlot, signal.name())) {
            continue;
        }
        const QByteArray slot = "slot" + signal.methodSignature().mid(int(std::strlen("sig")));
        if (!connectBySignature(m_decoder, signal, this, slot)) {
            qCWarning(lcController, "VelutraController: no slot %s for the decoder's %s",
                      slot.constData(), signal.methodSignature().constData());
        }
    }
}

void VelutraController::wireHandler()
{
    if (!m_serialHandler) {
        return;
    }
    VelutraSerialHandler *handler = m_serialHandler;
    connect(this, &VelutraController::sigAddMonitorCommand, handler,
            &VelutraSerialHandler::slotAddMonitorCommand);
    connect(this, &VelutraController::sigDelMonitorCommand, handler,
            &VelutraSerialHandler::slotDelMonitorCommand);
    connect(this, &VelutraController::sigClrAllMonitorCommands, handler,
            &VelutraSerialHandler::slotClrAllMonitorCommands);
    connect(this, &VelutraController::sigAppendSettingsCommand, handler,
            qOverload<const QString &>(&VelutraSerialHandler::slotAppendSettingsCommand));
    // The controller hears of the link first, then the decoder.
    connect(handler, &VelutraSerialHandler::sigConnectedStatus, this,
            &VelutraController::slotConnectedStatus);
    connect(handler, &VelutraSerialHandler::sigConnectedStatus, m_decoder,
            &VelutraResponseDecoder::slotConnectedStatus);
    connect(handler, &VelutraSerialHandler::sigLineReceived, m_decoder,
            &VelutraResponseDecoder::slotLineReceived);
}

void VelutraController::buildPanel()
{
    if (m_panelWidget) {
        return;
    }
    m_panelWidget = new GUIWidget;
    new GUIOverlay(m_panelWidget);
    m_panelWidget->setEnabled(m_connected);
    m_view = new VelutraView;
    m_panelWidget->boxLayout()->addWidget(m_view);
    m_remoteControl = new VelutraRemoteControl;
    m_view->setRemoteControlWidget(m_remoteControl);

    m_view->setDivisionRange(DivisionMinimum, DivisionMaximum);
    m_view->setPowerSetpointIndexVisibility(0, true);
    m_view->setPowerSetpointIndexVisibility(1, true);
    m_view->setPowerSetpointIndex(m_powerSetIndex);
    m_view->setRepRateScaleIndex(m_repRateScaleIndex);

    wirePanel();
    emit setSystemInfoView(m_systemInfoView);

    if (m_controlPanel) {
        // The panel owns the widget from here on and deletes it when the port closes.
        m_controlPanel->showMainControl(m_panelWidget, true);
    }
}

void VelutraController::wirePanel()
{
    const QMetaObject *meta = metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QMetaMethod signal = meta->method(i);
        if (signal.methodType() != QMetaMethod::Signal || signal.name().startsWith("sig")) {
            continue;
        }
        if (signalsWithoutViewSlot().contains(QString::fromLatin1(signal.name()))) {
            continue;
        }
        if (!connectBySignature(this, signal, m_view, signal.methodSignature())) {
            qCWarning(lcController, "VelutraController: the view has no slot %s",
                      signal.methodSignature().constData());
        }
    }
    for (const RemoteControlRoute &route : RemoteControlRoutes) {
        connect(this, route.signal, m_remoteControl.data(), route.slot);
    }
    for (const ViewRoute &route : MisspeltViewRoutes) {
        connect(this, route.signal, m_view.data(), route.slot);
    }

    const QMetaObject *viewMeta = m_view->metaObject();
    for (int i = viewMeta->methodOffset(); i < viewMeta->methodCount(); ++i) {
        const QMetaMethod signal = viewMeta->method(i);
        if (signal.methodType() != QMetaMethod::Signal
            || isListed(InternalViewSignals, signal.name())) {
            continue;
        }
        QByteArray slot = signal.methodSignature();
        for (const RenamedViewSignal &renamed : RenamedViewSignals) {
            if (signal.name() == renamed.viewSignal) {
                slot.replace(0, signal.name().size(), renamed.controllerSlot);
            }
        }
        if (!connectBySignature(m_view, signal, this, slot)) {
            qCWarning(lcController, "VelutraController: no slot %s for the view's %s",
                      slot.constData(), signal.methodSignature().constData());
        }
    }

    for (const RemoteButton &button : RemoteButtons) {
        connect(m_remoteControl.data(), button.button, this, button.slot);
    }
}

// ---- Main loop --------------------------------------------------------------------------

void VelutraController::slotConnectedStatus(bool connected)
{
    m_connected = connected;
    wakeMainLoop();
}

void VelutraController::wakeMainLoop()
{
    if (!m_mainLoopTimer.isActive()) {
        m_mainLoopTimer.start();
    }
}

bool VelutraController::mainLoopIsSettled() const
{
    const bool linkAsExpected = (m_mainLoopState == MainLoopState::WaitForLink && !m_connected)
                                || (m_mainLoopState == MainLoopState::Connected && m_connected);
    return linkAsExpected && !m_unhandledLineEpisode.isActive() && !m_parsingErrorEpisode.isActive()
           && !m_moduleWarningEpisode.isActive();
}

void VelutraController::slotMainLoop()
{
    m_unhandledLineEpisode.poll();
    m_parsingErrorEpisode.poll();
    m_moduleWarningEpisode.poll();
    switch (m_mainLoopState) {
    case MainLoopState::InstallBaseList:
        buildPanel();
        installBaseMonitorList();
        m_mainLoopState = MainLoopState::WaitForLink;
        break;
    case MainLoopState::WaitForLink:
        if (m_connected) {
            setPanelEnabled(true);
            queueSettings(VelutraCommands::debugOutputQuery());
            queueSettings(VelutraCommands::registerDumpStartQuery());
            queueSettings(VelutraCommands::registerDumpEndQuery());
            m_mainLoopState = MainLoopState::Connected;
        }
        break;
    case MainLoopState::Connected:
        if (!m_connected) {
            setPanelEnabled(false);
            m_mainLoopState = MainLoopState::InstallBaseList;
        }
        break;
    }
    if (mainLoopIsSettled()) {
        m_mainLoopTimer.stop();
    } else {
        m_mainLoopTimer.start();
    }
}

void VelutraController::setPanelEnabled(bool enabled)
{
    if (m_panelWidget) {
        m_panelWidget->setEnabled(enabled);
    }
}

void VelutraController::installBaseMonitorList()
{
    emit sigClrAllMonitorCommands();
    // The module lists went with the clear; the device reports its module again after the
    // reconnection and the lists come back then.
    m_installedModuleColumn = -1;
    m_hgModuleKind = VelutraHgModuleKind::None;
    m_dynamicWavelengthSupported = false;
    forgetAuditedState();

    queueMonitor(VelutraCommands::statusRecord6Query());
    queueMonitor(VelutraCommands::statusRecord7Query());
    queueMonitor(VelutraCommands::statusRecord8Query());
    queueMonitor(VelutraCommands::statusRecord9Query());
    queueMonitor(VelutraCommands::powerQuery());
    queueMonitor(VelutraCommands::powerPercentQuery());
    queueMonitor(VelutraCommands::frequencyQuery());
    queueMonitor(VelutraCommands::divisionQuery());
}

// ---- System and firmware detection --------------------------------------------------------

void VelutraController::slotsVelutraTypeChanged(const QString &text)
{
    m_systemType = 0;
    for (const SystemTypeName &name : SystemTypeNames) {
        if (text.contains(QLatin1String(name.model), Qt::CaseInsensitive)) {
            m_systemType = name.systemType;
            break;
        }
    }
    if (m_systemType == 0) {
        writeLog(tr("Unknown system type connected: %1").arg(text));
    }
    emit setVelutraType(text);
}

void VelutraController::slotsApplicationNameChanged(const QString &text)
{
    m_applicationName = text;
    if (!runFirmwareIdCheck()) {
        writeLog(tr("Unknown application type connected: %1").arg(text));
    }
    emit setApplicationName(text);
}

void VelutraController::slotiModeOfOperationAOMChanged(int value)
{
    m_aomOperatingMode = value;
    runFirmwareIdCheck();
}

bool VelutraController::runFirmwareIdCheck()
{
    // Start from the plain laser; the firmware, the AOM mode and the module add to it.
    emit setPowerMeasuredIR_uJVisibility(true);
    emit setPowerMeasuredGreen_uJVisibility(false);
    emit setPowerMeasuredUV_uJVisibility(false);
    emit setPowerMeasuredDUV_uJVisibility(false);
    emit setWavelengthSelectorComboVisibility(false);
    emit enableWavelengths(false, false, false);
    emit setHGModuleInfoVisibility(false);
    emit setHGSettingsPageVisibility(false);
    emit setOvenFaultIndicatorVisibility(false);
    emit setHumidityFaultIndicatorVisibility(false);
    emit setErrorcodeHGIndicatorVisible(false);
    emit setDigitalGateVisible(true);
    queueSettings(VelutraCommands::digitalGateQuery());
    emit setDynamicWavelengthFeatureVisibility(false);
    emit setOutEnableOnVisible(false);

    const VelutraFirmwareId *firmware = VelutraFirmwareIds::find(m_applicationName);
    if (firmware && firmware->queriesModuleInfo) {
        queueSettings(VelutraCommands::moduleInfoQuery());
    }
    const bool *wavelengths
            = firmware ? firmware->wavelengths : VelutraFirmwareIds::UnknownFirmwareWavelengths;
    // In AOM mode 8 no wavelength is offered, whatever the firmware.
    constexpr int ExternalAomMode = 3;
    constexpr int FixedProgramAomMode = 8;
    if (m_aomOperatingMode == FixedProgramAomMode) {
        emit enableWavelengths(false, false, false);
    } else {
        emit enableWavelengths(wavelengths[0], wavelengths[1], wavelengths[2]);
    }
    switch (m_aomOperatingMode) {
    case ExternalAomMode:
        emit setOperatingMode(1);
        emit setPowerSliderVisibility(false);
        emit setRepRateSliderVisibility(true);
        emit setDivisionSliderVisibility(true);
        break;
    case FixedProgramAomMode:
        emit setOperatingMode(2);
        emit setPowerSliderVisibility(false);
        emit setRepRateSliderVisibility(false);
        emit setDivisionSliderVisibility(false);
        break;
    default:
        emit setOperatingMode(0);
        emit setPowerSliderVisibility(true);
        emit setRepRateSliderVisibility(true);
        emit setDivisionSliderVisibility(true);
        break;
    }

    // The reset above hid what the module and the device's own reports had shown; every AOM
    // mode report runs this check, so without this the module's controls would stay hidden.
    if (m_installedModuleColumn >= 0) {
        emitModuleVisibilitySteps(m_installedModuleColumn);
    }
    if (m_lastOutputConfig >= 0) {
        publishOutputConfig(quint8(m_lastOutputConfig));
    }
    if (m_dynamicWavelengthSupported) {
        emit setDynamicWavelengthFeatureVisibility(true);
    }
    return firmware != nullptr;
}

// ---- Module monitor lists ----------------------------------------------------------------

void VelutraController::slotExistsSHGModule(bool)
{
    installModuleList(VelutraModuleColumns::Shg);
}

void VelutraController::slotExistsSHGgModule(bool)
{
    installModuleList(VelutraModuleColumns::Shg);
}

void VelutraController::slotExistsTHGModule(bool)
{
    installModuleList(VelutraModuleColumns::Thg);
}

void VelutraController::slotExistsTHGiModule(bool)
{
    installModuleList(VelutraModuleColumns::Thgi);
}

void VelutraController::installModuleList(int column)
{
    for (VelutraModuleSetupStep step : VelutraModuleColumns::SetupSteps) {
        runModuleStep(step, column);
    }
    m_installedModuleColumn = column;
}

void VelutraController::emitModuleVisibilitySteps(int column)
{
    for (VelutraModuleSetupStep step : VelutraModuleColumns::VisibilitySteps) {
        runModuleStep(step, column);
    }
}

void VelutraController::runModuleStep(VelutraModuleSetupStep step, int column)
{
    using Step = VelutraModuleSetupStep;
    const VelutraModuleColumn &kind = VelutraModuleColumns::column(column);
    switch (step) {
    case Step::QueryOutputConfiguration:
        queueSettings(VelutraCommands::moduleOutputConfigQuery());
        break;
    case Step::ShowModuleControls:
        emit setWavelengthSelectorComboVisibility(true);
        emit setHGModuleInfoVisibility(true);
        emit setHGSettingsPageVisibility(true);
        emit setOvenFaultIndicatorVisibility(true);
        emit setHumidityFaultIndicatorVisibility(true);
        emit setErrorcodeHGIndicatorVisible(true);
        break;
    case Step::ShowHumidityMonitor:
        emit setHumidityMonitorVisibility(kind.humidityMonitorVisible);
        break;
    case Step::PollHumidity:
        if (kind.pollsHumidity) {
            queueMonitor(VelutraCommands::humidityQuery());
        }
        break;
    case Step::HideOvenMode:
        emit setOvenModeVisibility(false);
        break;
    case Step::PollModuleEnable:
        queueMonitor(kind.enableQuery());
        break;
    case Step::ShowOven1:
        emit setOven1TempSetpointVisibility(true);
        emit setOven1TempActualVisibility(true);
        break;
    case Step::ShowOven2:
        emit setOven2TempSetpointVisibility(kind.oven2Visible);
        emit setOven2TempActualVisibility(kind.oven2Visible);
        break;
    case Step::PollOvenTemperatures:
        queueMonitor(VelutraCommands::ovenSetpointQuery());
        queueMonitor(VelutraCommands::ovenTemperatureQuery());
        break;
    case Step::QueryDynamicWavelengthSupport:
        queueSettings(VelutraCommands::dynamicWavelengthFeatureQuery());
        break;
    case Step::ShowOutputEnable:
        emit setOutEnableOnVisible(true);
        break;
    case Step::PollOutputEnable:
        queueMonitor(VelutraCommands::outputQuery());
        break;
    case Step::ShowCrystalPosition:
        emit setCrystalPositionVisibility(kind.crystalPositionVisible);
        break;
    case Step::PollCrystal:
        if (kind.pollsCrystal) {
            queueMonitor(VelutraCommands::crystalAllRuntimesQuery());
            queueMonitor(VelutraCommands::crystalCurrentSpotQuery());
            queueMonitor(VelutraCommands::crystalCurrentRuntimeQuery());
            queueMonitor(VelutraCommands::crystalMaxRuntimeQuery());
        }
        break;
    case Step::PollModuleStatus:
        queueMonitor(VelutraCommands::moduleWavelengthQuery());
        queueMonitor(VelutraCommands::moduleStatusQuery());
        queueMonitor(VelutraCommands::moduleErrorcodeQuery());
        queueMonitor(VelutraCommands::moduleOutputPowerQuery());
        queueMonitor(VelutraCommands::moduleRuntimeQuery());
        break;
    case Step::RecordModuleKind:
        m_hgModuleKind = kind.moduleKind;
        break;
    }
}

void VelutraController::slotDynamicWavelengthFeatureSupported(bool value)
{
    m_dynamicWavelengthSupported = value;
    emit setDynamicWavelengthFeatureVisibility(value);
    if (value) {
        queueMonitor(VelutraCommands::dynamicWavelengthEnableQuery());
        queueMonitor(VelutraCommands::dynamicWavelengthDefaultQuery());
    } else {
        emit sigDelMonitorCommand(VelutraCommands::dynamicWavelengthEnableQuery());
        emit sigDelMonitorCommand(VelutraCommands::dynamicWavelengthDefaultQuery());
    }
}

// ---- Manual commands, delayed query, log, debugging, settings -----------------------------

void VelutraController::slotSendManualCommand(const QByteArray &bytes)
{
    // The operator's text goes out as typed; a NUL ends it, as it would on the wire. An empty
    // text is passed on too: the handler is the one that knows it has nothing to send.
    const int length = int(qstrnlen(bytes.constData(), uint(bytes.size())));
    const QString command = QString::fromLatin1(bytes.constData(), length);
    if (!command.isEmpty()) {
        logOperatorRequest(tr("manual command"), command);
    }
    queueSettings(command);
}

void VelutraController::appendDelayed_digiop_Command()
{
    queueSettings(VelutraCommands::digitalGateQuery());
}

void VelutraController::slotUnhandledLineData(const QByteArray &line)
{
    m_unhandledLineEpisode.record(tr("Velutra message: %1").arg(clippedLine(line)));
    wakeMainLoop();
}

void VelutraController::slotParsingError(const QByteArray &line)
{
    m_parsingErrorEpisode.record(tr("Parsing error: %1").arg(clippedLine(line)));
    wakeMainLoop();
}

void VelutraController::slotDebuggingStatusChanged(bool value)
{
    // Debug output would interleave with the replies the decoder expects: switch it off.
    if (value) {
        sendSetCommand(VelutraCommands::debugOutputOff(),
                       &VelutraResponseDecoder::markStale_DebuggingStatus);
    }
}

void VelutraController::systemInfoViewChanged(bool visible)
{
    m_systemInfoView = visible;
}

void VelutraController::loadSettings()
{
    const QSettings settings = controllerSettings();
    m_systemInfoView = settings.value(QLatin1String(SystemInfoViewKey), false).toBool();
    m_powerSetIndex = settings.value(QLatin1String(PowerSetIndexKey), 0).toInt();

    // INI keys are case-sensitive here, unlike on the system the files came from: a value
    // stored under another case of the key is still this value.
    const QString readKey = QLatin1String(RepRateScaleIndexReadKey);
    QString foundKey;
    if (settings.contains(readKey)) {
        foundKey = readKey;
    } else {
        const QStringList keys = settings.childKeys();
        for (const QString &key : keys) {
            if (key.compare(readKey, Qt::CaseInsensitive) == 0) {
                foundKey = key;
                break;
            }
        }
    }
    m_repRateScaleIndex = foundKey.isEmpty() ? 0 : settings.value(foundKey, 0).toInt();
}

void VelutraController::saveSettings() const
{
    QSettings settings = controllerSettings();
    settings.setValue(QLatin1String(SystemInfoViewKey), m_systemInfoView);
    settings.setValue(QLatin1String(PowerSetIndexKey), m_powerSetIndex);
    // Other spellings of the key would shadow the value written now on the next start.
    const QString writeKey = QLatin1String(RepRateScaleIndexWriteKey);
    const QStringList keys = settings.childKeys();
    for (const QString &key : keys) {
        if (key != writeKey && key.compare(writeKey, Qt::CaseInsensitive) == 0) {
            settings.remove(key);
        }
    }
    settings.setValue(writeKey, m_repRateScaleIndex);
}

void VelutraController::queueSettings(const QString &command)
{
    emit sigAppendSettingsCommand(command);
}

void VelutraController::queueMonitor(const QString &command)
{
    emit sigAddMonitorCommand(command);
}

void VelutraController::sendSetCommand(const QString &command, StaleMark markStale)
{
    // The device may refuse or clamp the value: forgetting what was last shown makes the next
    // reply repaint the control even when the device kept its old value.
    if (markStale) {
        (m_decoder->*markStale)();
    }
    emit sigAppendSettingsCommand(command);
}
