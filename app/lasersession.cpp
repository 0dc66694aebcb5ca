#include "lasersession.h"

#include "portreconnector.h"
#include "reconnectoption.h"
#include "velutraappcategory.h"
#include "velutracontroller.h"
#include "velutraserialhandler.h"

#include <QThread>
#include <QTimer>
#include <QWidget>

namespace {

constexpr int ThreadStopTimeoutMs = 2000;
// The controller's first turn comes after the connections made in reply to its creation.
constexpr int ControllerStartDelayMs = 10;

} // namespace

LaserSession::LaserSession(QObject *parent)
    : QObject(parent)
{
    // The handler lives in its own thread; every connection to it is queued across.
    m_handler = new VelutraSerialHandler();
    m_thread = new QThread(this);
    m_handler->moveToThread(m_thread);
    connect(m_thread, &QThread::started, m_handler, &VelutraSerialHandler::slotMainLoop);
    connect(m_thread, &QThread::finished, m_handler, &QObject::deleteLater);
    connect(m_thread, &QThread::finished, m_thread, &QObject::deleteLater);
    connect(this, &LaserSession::sigOpenCommunication, m_handler,
            &VelutraSerialHandler::slotOpenCommunication);
    connect(this, &LaserSession::sigCloseCommunication, m_handler,
            &VelutraSerialHandler::slotCloseCommunication);
    connect(m_handler, &VelutraSerialHandler::sigCommunicationOpened, this,
            &LaserSession::onPortOpened);
    connect(m_handler, &VelutraSerialHandler::sigCommunicationClosed, this,
            &LaserSession::onPortClosed);
    connect(m_handler, &VelutraSerialHandler::sigCommunicationLost, this,
            &LaserSession::onPortLost);
    connect(m_handler, &VelutraSerialHandler::sigCommunicationOpenFailed, this,
            &LaserSession::onOpenFailed);
    connect(m_handler, &VelutraSerialHandler::sigConnectedStatus, this,
            &LaserSession::onConnectedStatus);

    m_identityCheck = new LaserIdentityCheck(m_handler, this);
    connect(m_identityCheck, &LaserIdentityCheck::failed, this,
            &LaserSession::onIdentityCheckFailed);
    m_reconnector = new PortReconnector(this);
    connect(m_reconnector, &PortReconnector::openRequested, this,
            &LaserSession::onReconnectOpenRequested);
    m_linkRecoveryTimer = new QTimer(this);
    m_linkRecoveryTimer->setSingleShot(true);
    m_linkRecoveryTimer->setInterval(LinkRecoveryMs);
    connect(m_linkRecoveryTimer, &QTimer::timeout, this, &LaserSession::onLinkRecoveryTimeout);
    m_thread->start(QThread::InheritPriority);
}

LaserSession::~LaserSession()
{
    if (m_thread) {
        m_thread->quit();
        if (!m_thread->wait(ThreadStopTimeoutMs)) {
            qCWarning(lcApp, "The serial thread did not stop within %d ms", ThreadStopTimeoutMs);
        }
    }
}

void LaserSession::setPanelHost(QWidget *window, PanelFactory factory)
{
    m_window = window;
    m_panelFactory = std::move(factory);
}

LaserSession::State LaserSession::state() const
{
    return m_state;
}

VelutraSerialHandler *LaserSession::handler() const
{
    return m_handler;
}

VelutraController *LaserSession::controller() const
{
    return m_controller;
}

QString LaserSession::portName() const
{
    return m_portName;
}

bool LaserSession::isReconnecting() const
{
    return m_reconnector->isActive();
}

QString LaserSession::reconnectPortName() const
{
    return m_reconnector->portName();
}

LaserIdentity LaserSession::laser() const
{
    return m_laser;
}

LaserIdentity LaserSession::expectedLaser() const
{
    return m_identityCheck->expected();
}

bool LaserSession::isLaserOn() const
{
    return m_laserOn;
}

bool LaserSession::isOutputEnabled() const
{
    return m_outputEnabled;
}

QString LaserSession::shortName(const QString &portName)
{
    return PortReconnector::shortName(portName);
}

void LaserSession::open(const QString &portName)
{
    if (portName.isEmpty() || !m_portName.isEmpty() || isReconnecting()) {
        return;
    }
    // The operator's choice: whatever answers there is the laser from now on.
    m_laser = LaserIdentity();
    emit notice(QString());
    requestOpen(portName);
    setState(State::Opening);
}

void LaserSession::close()
{
    if (m_portName.isEmpty()) {
        return;
    }
    emit sigCloseCommunication();
    setState(State::Closing);
}

void LaserSession::stopReconnecting()
{
    if (!isReconnecting()) {
        return;
    }
    emit sigStatusMessage(tr("Reconnecting to %1 stopped.").arg(shortName(reconnectPortName())));
    endReconnecting();
    // An open already asked for may still complete: close whatever it opens.
    m_openCalledOff = true;
    emit sigCloseCommunication();
    setState(State::Closed);
}

void LaserSession::shutDown()
{
    m_linkRecoveryTimer->stop();
    if (isReconnecting()) {
        endReconnecting();
    }
    m_reconnectClock.invalidate();
    m_openCalledOff = true;
    dropController();
    m_portName.clear();
    emit sigCloseCommunication();
    setState(State::Closed);
}

void LaserSession::setState(State state)
{
    if (state == m_state) {
        return;
    }
    qCDebug(lcApp) << "Laser session" << m_state << "->" << state;
    m_state = state;
    emit stateChanged(state);
}

void LaserSession::requestOpen(const QString &portName)
{
    m_openCalledOff = false;
    emit sigOpenCommunication(portName);
}

void LaserSession::onPortOpened(const QString &portName)
{
    if (m_openCalledOff) {
        // The close that called it off is queued behind it in the handler.
        return;
    }
    const bool reconnected = isReconnecting();
    if (reconnected) {
        const QString lost = reconnectPortName();
        m_reconnector->stop();
        emit notice(QString());
        if (portName != lost) {
            emit sigStatusMessage(
                    tr("%1 is back as %2.").arg(shortName(lost), shortName(portName)));
        }
    }
    m_portName = portName;
    m_reconnector->rememberPort(portName);
    setState(State::Handshaking);
    if (reconnected && ReconnectOption::isReconnectEnabled()) {
        // A device that is back but does not answer is given up on like a silent one.
        m_linkRecoveryTimer->start();
    }
    createController(portName, reconnected);
    emit portOpened(portName);
}

void LaserSession::createController(const QString &portName, bool reconnected)
{
    if (m_controller) {
        // A close that never arrived: never let two controllers feed one handler.
        dropController();
    }
    // Until the device has said who it is, its controller's commands wait in the identity
    // check: after a loss it could be another device on the same path.
    const LaserIdentity expected = reconnected ? m_laser : LaserIdentity();
    MainControlPanel *panel = m_panelFactory ? m_panelFactory(portName) : nullptr;
    m_controller = new VelutraController(m_window, panel, m_handler, this);
    m_identityCheck->begin(m_controller, expected);
    m_laserOn = false;
    m_outputEnabled = false;
    // Only the current controller speaks for the laser; one on its way out may still emit.
    VelutraController *controller = m_controller;
    connect(m_controller, &VelutraController::setLaserOn, this, [this, controller](bool on) {
        if (controller == m_controller) {
            m_laserOn = on;
            emit emissionChanged();
        }
    });
    connect(m_controller, &VelutraController::setOutEnableOn, this, [this, controller](bool on) {
        if (controller == m_controller) {
            m_outputEnabled = on;
            emit emissionChanged();
        }
    });
    emit controllerCreated(m_controller);
    QTimer::singleShot(ControllerStartDelayMs, m_controller, &VelutraController::slotMainLoop);
}

void LaserSession::dropController()
{
    m_identityCheck->end();
    m_laserOn = false;
    m_outputEnabled = false;
    if (!m_controller) {
        return;
    }
    // Until the deferred delete runs, its loop could still queue commands for the port.
    m_controller->disconnect(m_handler);
    m_controller->deleteLater();
    m_controller = nullptr;
    emit controllerGone();
}

void LaserSession::onPortClosed(const QString &portName)
{
    const bool lost = m_portLost || m_reopenAfterClose;
    m_portLost = false;
    m_reopenAfterClose = false;
    if (portName != m_portName) {
        // A port opened after it was called off, or one this session never took up.
        return;
    }
    m_linkRecoveryTimer->stop();
    m_portName.clear();
    dropController();
    if (lost && ReconnectOption::isReconnectEnabled()) {
        startReconnecting();
    } else {
        setState(State::Closed);
    }
    emit portClosed(portName);
}

void LaserSession::onPortLost(const QString &portName)
{
    if (portName == m_portName) {
        m_portLost = true;
    }
}

void LaserSession::onOpenFailed(const QString &portName)
{
    Q_UNUSED(portName)
    // The operator's choice came to nothing; a reconnect just tries again at its next look.
    if (m_state == State::Opening && !m_openCalledOff) {
        setState(State::Closed);
    }
}

void LaserSession::onConnectedStatus(bool connected)
{
    if (m_state != State::Handshaking && m_state != State::Connected) {
        return;
    }
    if (connected) {
        if (m_identityCheck->isRunning()) {
            const LaserIdentityCheck::Outcome outcome = m_identityCheck->concludeHandshake();
            if (outcome != LaserIdentityCheck::Outcome::Confirmed) {
                refuseDevice(outcome);
                return;
            }
            m_laser = m_identityCheck->identity();
        }
        m_linkRecoveryTimer->stop();
        setState(State::Connected);
        if (m_reconnectClock.isValid()) {
            emit sigStatusMessage(
                    tr("Reconnected to %1 after %2 s.")
                            .arg(shortName(m_portName))
                            .arg(double(m_reconnectClock.elapsed()) / 1000.0, 0, 'f', 1));
            m_reconnectClock.invalidate();
        }
        return;
    }
    // Only a link that was up can break down; the handshake of a fresh open retries itself.
    if (m_state == State::Connected && ReconnectOption::isReconnectEnabled()
        && !m_linkRecoveryTimer->isActive()) {
        m_linkRecoveryTimer->start();
    }
    setState(State::Handshaking);
}

void LaserSession::onLinkRecoveryTimeout()
{
    if (m_portName.isEmpty() || m_state == State::Connected
        || !ReconnectOption::isReconnectEnabled()) {
        return;
    }
    emit sigStatusMessage(tr("No answer from %1 for %2 s: reopening the port.")
                                  .arg(shortName(m_portName))
                                  .arg(LinkRecoveryMs / 1000));
    m_reopenAfterClose = true;
    emit sigCloseCommunication();
    setState(State::Closing);
}

void LaserSession::onIdentityCheckFailed(LaserIdentityCheck::Outcome outcome)
{
    if (!m_portName.isEmpty()) {
        refuseDevice(outcome);
    }
}

void LaserSession::refuseDevice(LaserIdentityCheck::Outcome outcome)
{
    const QString port = shortName(m_portName);
    const LaserIdentity expected = m_identityCheck->expected();
    const QString message
            = expected.isKnown()
                      ? tr("The device on %1 is not the laser %2 that was connected")
                                .arg(port, expected.name())
                      : tr("The device on %1 does not answer like a Velutra laser; the port is "
                           "closed.")
                                .arg(port);
    qCInfo(lcApp) << "Refused the device on" << port << outcome;
    // Nothing more is written to it, and nothing opens it again on its own.
    shutDown();
    emit sigStatusMessage(message);
    emit notice(message);
}

void LaserSession::onReconnectOpenRequested(const QString &portName)
{
    if (!m_portName.isEmpty()) {
        return;
    }
    // A close first, though nothing is open: the handler then drops every setting still
    // queued (the old controller may have queued one after the loss), so the reconnected
    // laser is only read, never set, by what was asked of the lost connection.
    emit sigCloseCommunication();
    requestOpen(portName);
}

void LaserSession::startReconnecting()
{
    const QString message = tr("Reconnecting to %1…").arg(shortName(reconnectPortName()));
    emit notice(message);
    emit sigStatusMessage(message);
    if (!m_reconnectClock.isValid()) {
        m_reconnectClock.start();
    }
    // The state first: the first look is made at once and may already find the port.
    setState(State::Reconnecting);
    m_reconnector->start();
}

void LaserSession::endReconnecting()
{
    m_reconnector->stop();
    m_reconnectClock.invalidate();
    emit notice(QString());
}
