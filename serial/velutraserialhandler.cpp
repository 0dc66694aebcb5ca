#include "velutraserialhandler.h"

#include "velutracommands.h"
#include "velutraserialcategory.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

static constexpr int TickIntervalMs = 10;
static constexpr int SettleMs = 2000;
static constexpr int MinimumQuietMs = 16;
static constexpr int ReadPauseMs = 60;
static constexpr int CommandTimeoutMs = 2000;
static constexpr int StatusAttempts = 10;
static constexpr int ResendsPerCommand = 1;
static constexpr int BaudRate = 38400;
// Bits of the device status word that mean the laser is ready to be driven.
static constexpr int ReadyStatusBits = 0xE8;
// A device that never ends a line must not make us hold on to its bytes forever.
static constexpr int MaxLineBytes = 64 * 1024;
static constexpr int ReadChunkBytes = 4096;
// When the far end of a pseudo-terminal goes away, Qt reports a read error in a
// tight loop (hundreds of thousands per second) instead of a resource error. A
// real port may fail a read now and then; this many failures inside one 10 ms
// tick can only be such a storm.
static constexpr int ReadErrorStormLimit = 20;
// Settings commands waiting to be written. A controller that queues faster than the link
// writes (a slider dragged on a dead line) must not grow the queue without end.
static constexpr int SettingsQueueLimit = 256;
// A port error, a cut line or a failed open repeats for as long as its cause lasts
// (a reconnection attempt every few seconds, a read error every tick): the first is
// reported, the rest are counted and reported once when the episode ends, that is
// when the cause has been gone this long (or at once, when the line or port recovers).
static constexpr qint64 FaultQuietMs = 10 * 1000;

// The lines of the handshake's replies that the handler reads itself.
static constexpr char IdentityPrefix[] = "Velutra-";
static constexpr char StatusReplyPrefix[] = "ly_vtx2_dev_status ";

// The start of a command's echo that tells which command it was: the command without its
// line feed.
QByteArray echoPrefix(const QString &command)
{
    return command.toLatin1().chopped(1);
}

const QByteArray &identifyEchoPrefix()
{
    static const QByteArray prefix = echoPrefix(VelutraCommands::systemInfoRequest());
    return prefix;
}

const QByteArray &statusEchoPrefix()
{
    static const QByteArray prefix = echoPrefix(VelutraCommands::deviceStatusQuery());
    return prefix;
}

struct ErrorTextEntry
{
    QSerialPort::SerialPortError error;
    const char *text;
};

static constexpr ErrorTextEntry ErrorTexts[] = {
        {QSerialPort::NoError, ""},
        {QSerialPort::DeviceNotFoundError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "An error occurred while attempting to open an non-existing device.")},
        {QSerialPort::PermissionError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "An error occurred while attempting to open an already opened device by "
                           "another process or a user not having enough permission and credentials "
                           "to open.")},
        {QSerialPort::OpenError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "An error occurred while attempting to open an already opened device in "
                           "this object.")},
        {QSerialPort::WriteError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "An I/O error occurred while writing the data.")},
        {QSerialPort::ReadError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "An I/O error occurred while reading the data.")},
        {QSerialPort::ResourceError,
         QT_TRANSLATE_NOOP(
                 "VelutraSerialHandler",
                 "An I/O error occurred when a resource becomes unavailable, e.g. when the "
                 "device is unexpectedly removed from the system.")},
        {QSerialPort::UnsupportedOperationError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "The requested device operation is not supported or prohibited by the "
                           "running operating system.")},
        {QSerialPort::TimeoutError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "A timeout error occurred. This value was introduced in QtSerialPort "
                           "5.2.")},
        {QSerialPort::NotOpenError,
         QT_TRANSLATE_NOOP("VelutraSerialHandler",
                           "This error occurs when an operation is executed that can only be "
                           "successfully performed if the device is open. This value was "
                           "introduced in QtSerialPort 5.2.")},
};

static constexpr char UnidentifiedErrorText[]
        = QT_TRANSLATE_NOOP("VelutraSerialHandler", "An unidentified error occurred.");

} // namespace

VelutraSerialHandler::VelutraSerialHandler(QObject *parent)
    : QObject(parent)
    , m_lineCutEpisode(faultEpisode(LogEpisode::Never))
    , m_openFailureEpisode(faultEpisode(FaultQuietMs))
{ }

LogEpisode VelutraSerialHandler::faultEpisode(qint64 quietMs)
{
    LogEpisode episode([this](const QString &line) { emit sigStatusMessage(line); });
    episode.setVerbatimCount(1);
    episode.setQuietMs(quietMs);
    return episode;
}

void VelutraSerialHandler::pollFaultEpisodes()
{
    m_lineCutEpisode.poll();
    m_openFailureEpisode.poll();
    for (auto &entry : m_portErrorEpisodes) {
        entry.second.poll();
    }
}

void VelutraSerialHandler::endPortEpisodes()
{
    m_lineCutEpisode.end();
    for (auto &entry : m_portErrorEpisodes) {
        entry.second.end();
    }
    if (m_unansweredCount > 0) {
        emit sigStatusMessage(tr("Communication port %1: %2 command(s) went unanswered.")
                                      .arg(m_openPortName)
                                      .arg(m_unansweredCount));
        m_unansweredCount = 0;
    }
}

const char *VelutraSerialHandler::stateTrace(LinkState state)
{
    struct StateTraceEntry
    {
        LinkState state;
        const char *text;
    };
    static constexpr StateTraceEntry Traces[] = {
            {LinkState::SendConnect, "stSendConnectCmd"},
            {LinkState::WaitReady, "stWaitReadyCmd"},
    };
    for (const StateTraceEntry &entry : Traces) {
        if (entry.state == state) {
            return entry.text;
        }
    }
    return nullptr;
}

VelutraSerialHandler::~VelutraSerialHandler()
{
    if (m_port) {
        m_port->disconnect();
        if (m_port->isOpen()) {
            m_port->close();
        }
        m_port->deleteLater();
        m_port = nullptr;
    }
    m_monitorList.clear();
    m_heldList.clear();
    m_settingsQueue.clear();
}

void VelutraSerialHandler::slotOpenCommunication(const QString &portName)
{
    if (m_port) {
        m_closeRequested = true;
    }
    m_openRequested = true;
    m_portName = portName;
}

void VelutraSerialHandler::slotCloseCommunication()
{
    m_closeRequested = true;
}

void VelutraSerialHandler::slotAddMonitorCommand(const QString &command)
{
    if (command.isEmpty()) {
        return;
    }
    const QString stored = withLineEnd(command);
    const int index = m_monitorList.indexOf(stored);
    if (index >= 0) {
        m_monitorList[index] = stored;
    } else {
        m_monitorList.append(stored);
    }
}

void VelutraSerialHandler::slotDelMonitorCommand(const QString &command)
{
    m_monitorList.removeOne(withLineEnd(command));
}

void VelutraSerialHandler::slotClrAllMonitorCommands()
{
    m_monitorList.clear();
    m_heldList.clear();
}

void VelutraSerialHandler::slotAppendSettingsCommand(const QString &command, bool hold)
{
    if (command.isEmpty()) {
        return;
    }
    // Held commands are parked for good: only commands queued without hold are
    // ever transmitted.
    if (hold) {
        // A held command is never sent, so a second copy of it would only take
        // up memory for as long as the link stays open.
        const QString stored = withLineEnd(command);
        if (!m_heldList.contains(stored)) {
            m_heldList.append(stored);
        }
    } else {
        if (m_settingsQueue.size() >= SettingsQueueLimit) {
            dropOldestSettingsCommand();
        }
        m_settingsQueue.append(withLineEnd(command));
    }
}

void VelutraSerialHandler::dropOldestSettingsCommand()
{
    // A setting is superseded by the newer ones behind it; a query may be what the
    // controller waits for, so queries go last.
    int victim = 0;
    for (int index = 0; index < m_settingsQueue.size(); ++index) {
        if (!isQuery(m_settingsQueue.at(index))) {
            victim = index;
            break;
        }
    }
    const QString dropped = m_settingsQueue.takeAt(victim);
    // One report per episode: a flood would otherwise bury the log. The count
    // follows when the queue has emptied.
    if (!m_settingsQueueOverflowing) {
        m_settingsQueueOverflowing = true;
        m_settingsDropped = 0;
        emit sigStatusMessage(tr("Settings queue full (%1): dropped %2")
                                      .arg(SettingsQueueLimit)
                                      .arg(dropped.trimmed()));
    } else {
        ++m_settingsDropped;
    }
}

void VelutraSerialHandler::endSettingsOverflow()
{
    if (!m_settingsQueueOverflowing) {
        return;
    }
    m_settingsQueueOverflowing = false;
    if (m_settingsDropped > 0) {
        emit sigStatusMessage(tr("Settings queue: %1 more command(s) dropped while it was full.")
                                      .arg(m_settingsDropped));
    }
    m_settingsDropped = 0;
}

void VelutraSerialHandler::discardSettingsOnLinkLoss()
{
    // A setting written minutes later, after a reconnection or to another laser, could do
    // harm; whoever queued it can decide again once the link is back. Queries harm
    // nothing and are answered whenever the link returns. Held commands are never
    // written, so they are no danger here (closing clears them anyway).
    const int before = m_settingsQueue.size();
    m_settingsQueue.erase(std::remove_if(m_settingsQueue.begin(), m_settingsQueue.end(),
                                         [](const QString &command) { return !isQuery(command); }),
                          m_settingsQueue.end());
    const int discarded = before - m_settingsQueue.size();
    if (m_settingsQueue.isEmpty()) {
        endSettingsOverflow();
    }
    if (discarded > 0) {
        emit sigStatusMessage(tr("%1 queued command(s) discarded: link lost").arg(discarded));
    }
}

bool VelutraSerialHandler::isQuery(const QString &command)
{
    return command.endsWith(QLatin1String("?\n"));
}

void VelutraSerialHandler::slotAppendSettingsCommand(const QString &command)
{
    slotAppendSettingsCommand(command, false);
}

void VelutraSerialHandler::slotMainLoop()
{
    // A read-error storm is only recognised inside one tick.
    m_readErrorsThisTick = 0;
    pollFaultEpisodes();

    // The very first tick always initialises, so that the timers exist before
    // anything can use them, even if a close request came in before it.
    if (m_closeRequested && m_state != LinkState::Initialise) {
        closeIfRequested();
    } else {
        traceOnEntry();
        m_state = advance(m_state);
    }

    rearmTick(TickIntervalMs);
}

VelutraSerialHandler::LinkState VelutraSerialHandler::advance(LinkState state)
{
    switch (state) {
    case LinkState::Initialise:
        initialise();
        return LinkState::WaitForOpen;
    case LinkState::WaitForOpen:
        return openRequestedPort() ? LinkState::Settle : LinkState::WaitForOpen;
    case LinkState::Settle:
        return quietElapsed() > SettleMs ? LinkState::SendConnect : LinkState::Settle;
    case LinkState::SendConnect:
        return sendConnectCommand();
    case LinkState::WaitReady:
        return waitForReady();
    case LinkState::Running:
        return runScheduler();
    }
    return state;
}

void VelutraSerialHandler::traceOnEntry()
{
    // A state may last many ticks (a silent device keeps the handshake in one for
    // good): its trace is written once, on entering it.
    if (m_state == m_tracedState) {
        return;
    }
    m_tracedState = m_state;
    if (const char *trace = stateTrace(m_state)) {
        qCDebug(lcSerial, "%s", trace);
    }
}

void VelutraSerialHandler::rearmTick(int intervalMs)
{
    // The tick timer is created here, on the first tick, so that it belongs to
    // the worker thread like everything else the handler creates.
    if (!m_tickTimer) {
        m_tickTimer = new QTimer(this);
        m_tickTimer->setSingleShot(true);
        m_tickTimer->setTimerType(Qt::PreciseTimer);
        connect(m_tickTimer, &QTimer::timeout, this, &VelutraSerialHandler::slotMainLoop);
    }
    m_tickTimer->start(intervalMs);
}

void VelutraSerialHandler::initialise()
{
    // A coarse timer may fire 5 % early; a command gets its full two seconds.
    m_commandTimer = new QTimer(this);
    m_commandTimer->setSingleShot(true);
    m_commandTimer->setInterval(CommandTimeoutMs);
    m_commandTimer->setTimerType(Qt::PreciseTimer);
    connect(m_commandTimer, &QTimer::timeout, this, &VelutraSerialHandler::slotCommandTimeout);

    restartHandshake();
    m_monitorIndex = 0;
    emit sigConnectedStatus(false);
}

bool VelutraSerialHandler::openRequestedPort()
{
    if (!m_openRequested) {
        return false;
    }
    m_openRequested = false;

    m_port = new QSerialPort(m_portName, this);
    if (!m_port->open(QIODevice::ReadWrite)) {
        // Repeated tries on a port that is away (a reconnection every few seconds)
        // are one episode; another port or another reason starts a new one.
        const QString failure = tr("Communication port %1 open failed. Reason: %2")
                                        .arg(m_portName, m_port->errorString());
        if (failure != m_openFailure) {
            m_openFailureEpisode.end();
            m_openFailure = failure;
        }
        m_openFailureEpisode.record(failure);
        m_port->deleteLater();
        m_port = nullptr;
        emit sigCommunicationOpenFailed(m_portName);
        return false;
    }

    m_port->setBaudRate(BaudRate, QSerialPort::AllDirections);
    m_port->setParity(QSerialPort::NoParity);
    m_port->setDataBits(QSerialPort::Data8);
    m_port->setStopBits(QSerialPort::OneStop);
    m_port->setFlowControl(QSerialPort::NoFlowControl);
    // Pseudo-terminals (the virtual laser) refuse the modem lines; the link works
    // without them, so a refusal is noted once per open in the program's log
    // (info level) rather than reported to the operator. The port's error signal is not connected yet, so
    // the refusal does not reach the status log either.
    const bool dataTerminalReady = m_port->setDataTerminalReady(true);
    const bool requestToSend = m_port->setRequestToSend(true);
    if (!dataTerminalReady || !requestToSend) {
        qCInfo(lcSerial).noquote()
                << QStringLiteral("Port %1 does not support DTR/RTS (%2); continuing without them.")
                           .arg(m_portName, m_port->errorString());
    }
    m_port->clear(QSerialPort::AllDirections);

    connect(m_port, &QSerialPort::readyRead, this, &VelutraSerialHandler::slotReadyRead);
    connect(m_port, &QSerialPort::errorOccurred, this, &VelutraSerialHandler::slotErrorOccurred);

    m_openFailureEpisode.end();
    m_openFailure.clear();
    m_openPortName = m_portName;
    m_portGone = false;
    emit sigCommunicationOpened(m_openPortName);
    emit sigStatusMessage(tr("Communication port %1 successfully opened.").arg(m_openPortName));

    restartHandshake();
    m_pendingCommand.clear();
    m_quietClock.restart();
    return true;
}

VelutraSerialHandler::LinkState VelutraSerialHandler::sendConnectCommand()
{
    if (isIdentified(m_handshake)) {
        return LinkState::WaitReady;
    }
    if (isFreeToSend()) {
        sendCommand(VelutraCommands::systemInfoRequest());
    }
    return LinkState::SendConnect;
}

VelutraSerialHandler::LinkState VelutraSerialHandler::waitForReady()
{
    if (!isIdentified(m_handshake)) {
        // Lost since: the device gets its quiet seconds again.
        return LinkState::Settle;
    }
    if (m_handshake == Handshake::Ready) {
        m_monitorCycleComplete = false;
        m_monitorIndex = m_monitorList.size();
        emit sigConnectedStatus(true);
        return LinkState::Running;
    }
    if (isFreeToSend()) {
        sendCommand(VelutraCommands::deviceStatusQuery());
    }
    return LinkState::WaitReady;
}

VelutraSerialHandler::LinkState VelutraSerialHandler::runScheduler()
{
    // Waiting settings commands may go out before the usual quiet gap.
    if (quietElapsed() < MinimumQuietMs && m_settingsQueue.isEmpty()) {
        return LinkState::Running;
    }
    if (isReadPaused() || !m_pendingCommand.isEmpty()) {
        return LinkState::Running;
    }
    if (!isIdentified(m_handshake)) {
        // The link was lost: identify again at once, without the settle of an open.
        return LinkState::SendConnect;
    }
    if (!m_settingsQueue.isEmpty() && m_monitorCycleComplete) {
        sendCommand(m_settingsQueue.takeFirst());
        if (m_settingsQueue.isEmpty()) {
            endSettingsOverflow();
        }
        return LinkState::Running;
    }

    // The list is walked 0 .. n-1, then one idle tick, then from 0 again.
    const int count = m_monitorList.size();
    bool send = false;
    if (m_monitorIndex < count) {
        ++m_monitorIndex;
        send = m_monitorIndex < count;
    } else {
        m_monitorIndex = 0;
        send = count > 0;
    }
    if (!send) {
        return LinkState::Running;
    }
    sendCommand(m_monitorList.at(m_monitorIndex));
    if (count >= 1 && m_monitorIndex == count - 1) {
        m_monitorCycleComplete = true;
    }
    return LinkState::Running;
}

void VelutraSerialHandler::closeIfRequested()
{
    if (!m_closeRequested) {
        return;
    }
    m_closeRequested = false;
    closePort();
}

void VelutraSerialHandler::closePort()
{
    m_readPause = QDeadlineTimer();
    if (m_commandTimer) {
        m_commandTimer->stop();
    }
    if (!m_receiveBuffer.isEmpty()) {
        emit sigBytesDiscarded(trafficTag(QLatin1Char('_')), m_receiveBuffer);
    }
    m_receiveBuffer.clear();
    m_monitorList.clear();
    m_heldList.clear();
    m_state = LinkState::WaitForOpen;
    discardSettingsOnLinkLoss();

    // Nothing to close (never opened, or the open failed): nothing to report.
    if (!m_port) {
        return;
    }
    const QString name = m_openPortName;
    endPortEpisodes();
    m_port->disconnect();
    if (m_port->isOpen()) {
        m_port->close();
    }
    m_port->deleteLater();
    m_port = nullptr;

    if (m_portGone) {
        emit sigCommunicationLost(name);
    }
    emit sigCommunicationClosed(name);
    emit sigStatusMessage(tr("Communication port %1 closed.").arg(name));
}

bool VelutraSerialHandler::isReadPaused() const
{
    return !m_readPause.hasExpired();
}

bool VelutraSerialHandler::isFreeToSend() const
{
    return quietElapsed() >= MinimumQuietMs && !isReadPaused() && m_pendingCommand.isEmpty();
}

qint64 VelutraSerialHandler::quietElapsed() const
{
    return m_quietClock.isValid() ? m_quietClock.elapsed() : std::numeric_limits<qint64>::max();
}

void VelutraSerialHandler::sendCommand(const QString &command)
{
    m_pendingCommand = command;
    m_resendsLeft = ResendsPerCommand;
    m_commandTimer->start();
    writePendingCommand();
}

void VelutraSerialHandler::writePendingCommand()
{
    m_quietClock.restart();
    const QByteArray bytes = m_pendingCommand.toLatin1();
    if (m_port) {
        m_port->write(bytes);
    }
    emit sigBytesTransmitted(trafficTag(QLatin1Char(':')), bytes);
}

void VelutraSerialHandler::slotReadyRead()
{
    if (!m_port) {
        return;
    }
    m_quietClock.restart();

    // Everything available, through a buffer on the stack: reading it into a
    // fresh byte array each time costs more than the rest of the handler.
    char chunk[ReadChunkBytes];
    qint64 count = 0;
    while (m_port && (count = m_port->read(chunk, sizeof(chunk))) > 0) {
        for (qint64 index = 0; index < count; ++index) {
            frameByte(chunk[index]);
        }
    }

    // Part of a line waiting: its end is probably on the way, and a command written now
    // would have its echo land behind it.
    if (m_receiveBuffer.isEmpty()) {
        m_readPause = QDeadlineTimer();
    } else {
        m_readPause = QDeadlineTimer(ReadPauseMs, Qt::PreciseTimer);
    }

    // The next write is due 16 ms after this read. Ticks locked to the previous
    // write would find the gap just short and wait a further tick; moving the
    // tick phase makes one land as the gap ends. While polling with no setting
    // waiting, a tick before then could do nothing, so it is skipped: every
    // tick is a wake-up, and wake-ups are most of what the link costs.
    const bool writesCommands = m_state == LinkState::SendConnect || m_state == LinkState::WaitReady
                                || m_state == LinkState::Running;
    if (m_tickTimer && writesCommands) {
        const bool nothingBeforeGap = m_state == LinkState::Running && isIdentified(m_handshake)
                                      && m_settingsQueue.isEmpty() && !m_closeRequested
                                      && !m_openRequested;
        rearmTick(nothingBeforeGap ? MinimumQuietMs : MinimumQuietMs - TickIntervalMs);
    }
}

void VelutraSerialHandler::frameByte(char byte)
{
    m_receiveBuffer.append(byte);
    if (byte == '\r' || byte == '\n') {
        if (m_receiveBuffer.size() < 2) {
            emit sigBytesDiscarded(trafficTag(QLatin1Char(':')), m_receiveBuffer);
            m_receiveBuffer.clear();
        } else {
            // A whole line again: the run of cut lines is over.
            m_lineCutEpisode.end();
            deliverLine(QLatin1Char(':'));
        }
    } else if (byte == '>' && m_receiveBuffer.size() == 1) {
        // A prompt character at the start of a line is not part of any reply.
        emit sigBytesDiscarded(trafficTag(QLatin1Char(':')), m_receiveBuffer);
        m_receiveBuffer.clear();
    } else if (m_receiveBuffer.size() >= MaxLineBytes) {
        // Report a run of cut lines once, not every 64 KiB.
        m_lineCutEpisode.record(
                tr("Communication port %1: %2 bytes received without a line end; the line was "
                   "cut.")
                        .arg(m_openPortName)
                        .arg(MaxLineBytes));
        deliverLine(QLatin1Char('_'));
    }
}

void VelutraSerialHandler::slotReadyReadEnded()
{
    if (!m_port || m_receiveBuffer.isEmpty()) {
        return;
    }
    deliverLine(QLatin1Char('_'));
}

void VelutraSerialHandler::deliverLine(QChar separator)
{
    const QByteArray line = m_receiveBuffer;
    m_receiveBuffer.clear();
    checkEcho(line);
    emit sigBytesReceived(trafficTag(separator), line);
    emit sigLineReceived(line);
}

VelutraSerialHandler::Handshake VelutraSerialHandler::nextHandshake(Handshake from,
                                                                    HandshakeEvent event)
{
    const bool identified = isIdentified(from);
    switch (event) {
    case HandshakeEvent::IdentifyEchoed:
        if (!identified) {
            return Handshake::IdentityAsked;
        }
        // Asked again once known, the device has nothing new to say.
        return from == Handshake::Ready ? Handshake::Ready : Handshake::Identified;
    case HandshakeEvent::IdentityReceived:
        return Handshake::Identified;
    case HandshakeEvent::StatusEchoed:
        // Once ready, a status query is the controller's, not the handshake's.
        if (from == Handshake::Ready) {
            return Handshake::Ready;
        }
        return identified ? Handshake::StatusAsked : Handshake::StatusAskedUnidentified;
    case HandshakeEvent::ReadyReported:
        return from == Handshake::StatusAsked ? Handshake::Ready : Handshake::Unidentified;
    case HandshakeEvent::NotReadyReported:
        // Not ready yet: the handshake starts again from identification.
        return Handshake::Unidentified;
    case HandshakeEvent::StatusUnreadable:
        return from == Handshake::StatusAsked ? Handshake::Identified : Handshake::Unidentified;
    case HandshakeEvent::OtherEchoed:
        // Another command was answered: whatever reply was awaited is not coming.
        if (from == Handshake::Ready) {
            return Handshake::Ready;
        }
        return identified ? Handshake::Identified : Handshake::Unidentified;
    case HandshakeEvent::Unanswered:
        // The device must name itself again; a reply that was awaited still counts if it
        // comes late.
        if (from == Handshake::IdentityAsked || from == Handshake::StatusAskedUnidentified) {
            return from;
        }
        return from == Handshake::StatusAsked ? Handshake::StatusAskedUnidentified
                                              : Handshake::Unidentified;
    }
    return from;
}

void VelutraSerialHandler::advanceHandshake(HandshakeEvent event)
{
    m_handshake = nextHandshake(m_handshake, event);
}

void VelutraSerialHandler::restartHandshake()
{
    m_handshake = Handshake::Unidentified;
    m_statusAttemptsLeft = StatusAttempts;
}

bool VelutraSerialHandler::isIdentified(Handshake state)
{
    return state == Handshake::Identified || state == Handshake::StatusAsked
           || state == Handshake::Ready;
}

bool VelutraSerialHandler::awaitsStatusReply() const
{
    return m_handshake == Handshake::StatusAsked
           || m_handshake == Handshake::StatusAskedUnidentified;
}

void VelutraSerialHandler::checkEcho(const QByteArray &line)
{
    if (!m_pendingCommand.isEmpty()) {
        // The echo must carry the command's own LF: a CR LF echo is not one.
        if (!line.startsWith(m_pendingCommand.toLatin1())) {
            return;
        }
        m_commandTimer->stop();
        m_quietClock.restart();
        m_pendingCommand.clear();
        if (m_unansweredCount > 0) {
            emit sigStatusMessage(
                    tr("Communication port %1: the device answers again (%2 command(s) went "
                       "unanswered).")
                            .arg(m_openPortName)
                            .arg(m_unansweredCount));
            m_unansweredCount = 0;
        }
        if (line.startsWith(identifyEchoPrefix())) {
            advanceHandshake(HandshakeEvent::IdentifyEchoed);
        } else if (line.startsWith(statusEchoPrefix())) {
            advanceHandshake(HandshakeEvent::StatusEchoed);
        } else {
            advanceHandshake(HandshakeEvent::OtherEchoed);
        }
        return;
    }

    if (m_handshake == Handshake::IdentityAsked && line.startsWith(IdentityPrefix)) {
        advanceHandshake(HandshakeEvent::IdentityReceived);
    } else if (awaitsStatusReply() && line.startsWith(StatusReplyPrefix)) {
        advanceHandshake(statusReplyEvent(line));
    }
}

VelutraSerialHandler::HandshakeEvent VelutraSerialHandler::statusReplyEvent(const QByteArray &line)
{
    const QStringList parts = QString::fromLatin1(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (parts.size() < 2) {
        return HandshakeEvent::StatusUnreadable;
    }
    // A device that keeps refusing is taken as ready after enough tries.
    if (m_statusAttemptsLeft <= 0) {
        return HandshakeEvent::ReadyReported;
    }
    --m_statusAttemptsLeft;
    bool ok = false;
    const int status = parts.at(1).trimmed().toInt(&ok, 10);
    return ok && (status & ReadyStatusBits) != 0 ? HandshakeEvent::ReadyReported
                                                 : HandshakeEvent::NotReadyReported;
}

void VelutraSerialHandler::slotCommandTimeout()
{
    if (!m_port || m_pendingCommand.isEmpty()) {
        return;
    }
    if (m_resendsLeft < 1) {
        // A silent device loses the link every four seconds for as long as it stays
        // silent: said once, counted until it answers again.
        if (m_unansweredCount == 0) {
            emit sigStatusMessage(
                    tr("Communication port %1: no answer from the device.").arg(m_openPortName));
        }
        ++m_unansweredCount;
        m_pendingCommand.clear();
        advanceHandshake(HandshakeEvent::Unanswered);
        discardSettingsOnLinkLoss();
        emit sigConnectedStatus(false);
        m_statusAttemptsLeft = StatusAttempts;
        return;
    }
    --m_resendsLeft;
    m_commandTimer->start();
    writePendingCommand();
}

void VelutraSerialHandler::slotErrorOccurred(QSerialPort::SerialPortError error)
{
    // A port already known to be gone has nothing more to say.
    if (m_portGone) {
        return;
    }
    if (error == QSerialPort::ReadError) {
        ++m_readErrorsThisTick;
        if (m_readErrorsThisTick >= ReadErrorStormLimit) {
            treatPortAsGone();
            return;
        }
        if (m_readErrorsThisTick > 1) {
            return;
        }
    }

    if (error == QSerialPort::ResourceError) {
        // The end of the port, not a fault that repeats.
        emit sigStatusMessage(errorText(error));
        treatPortAsGone();
        return;
    }
    auto episode = m_portErrorEpisodes.find(error);
    if (episode == m_portErrorEpisodes.end()) {
        episode = m_portErrorEpisodes.emplace(error, faultEpisode(FaultQuietMs)).first;
    }
    episode->second.record(errorText(error));
}

void VelutraSerialHandler::treatPortAsGone()
{
    // Stop listening to the port at once and close it as soon as control is back
    // in the event loop rather than at the next tick: until it is closed, Qt may
    // keep the CPU busy retrying a read on a hung-up line.
    m_portGone = true;
    m_closeRequested = true;
    if (m_port) {
        m_port->disconnect(this);
    }
    QMetaObject::invokeMethod(
            this, [this] { closeIfRequested(); }, Qt::QueuedConnection);
}

QString VelutraSerialHandler::trafficTag(QChar separator) const
{
    // Time zones differ from UTC by whole minutes, so the seconds and
    // milliseconds of the local time of day are those of the epoch clock. This
    // runs for every line; a full local-time conversion would dominate the
    // handler's CPU use.
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const int milliseconds = static_cast<int>(now % 1000);
    const int seconds = static_cast<int>((now / 1000) % 60);
    const QChar time[] = {
            QLatin1Char(char('0' + seconds / 10)),
            QLatin1Char(char('0' + seconds % 10)),
            QLatin1Char('-'),
            QLatin1Char(char('0' + milliseconds / 100)),
            QLatin1Char(char('0' + milliseconds / 10 % 10)),
            QLatin1Char(char('0' + milliseconds % 10)),
    };
    QString tag;
    tag.reserve(m_openPortName.size() + 1 + int(std::size(time)));
    tag += m_openPortName;
    tag += separator;
    tag.append(time, int(std::size(time)));
    return tag;
}

QString VelutraSerialHandler::withLineEnd(const QString &command)
{
    if (command.endsWith(QLatin1Char('\n'))) {
        return command;
    }
    return command + QLatin1Char('\n');
}

QString VelutraSerialHandler::errorText(QSerialPort::SerialPortError error)
{
    for (const ErrorTextEntry &entry : ErrorTexts) {
        if (entry.error == error) {
            return tr(entry.text);
        }
    }
    return tr(UnidentifiedErrorText);
}
