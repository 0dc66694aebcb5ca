#include "laseridentitycheck.h"

#include "velutracontroller.h"
#include "velutraserialhandler.h"

#include <QTimer>

LaserIdentityCheck::LaserIdentityCheck(VelutraSerialHandler *handler, QObject *parent)
    : QObject(parent)
    , m_handler(handler)
    , m_deadline(new QTimer(this))
{
    m_deadline->setSingleShot(true);
    m_deadline->setInterval(IdentifyTimeoutMs);
    connect(m_deadline, &QTimer::timeout, this, &LaserIdentityCheck::onDeadline);
    if (m_handler) {
        connect(this, &LaserIdentityCheck::sigAddMonitorCommand, m_handler,
                &VelutraSerialHandler::slotAddMonitorCommand);
        connect(this, &LaserIdentityCheck::sigDelMonitorCommand, m_handler,
                &VelutraSerialHandler::slotDelMonitorCommand);
        connect(this, &LaserIdentityCheck::sigClrAllMonitorCommands, m_handler,
                &VelutraSerialHandler::slotClrAllMonitorCommands);
        connect(this, &LaserIdentityCheck::sigAppendSettingsCommand, m_handler,
                qOverload<const QString &>(&VelutraSerialHandler::slotAppendSettingsCommand));
        connect(m_handler, &VelutraSerialHandler::sigLineReceived, this,
                &LaserIdentityCheck::onLineReceived);
    }
}

void LaserIdentityCheck::begin(VelutraController *controller, const LaserIdentity &expected)
{
    end();
    m_controller = controller;
    m_expected = expected;
    m_received = LaserIdentity();
    m_linesReceived = 0;
    m_running = true;
    m_gate = expected.isKnown() ? Gate::Holding : Gate::Open;
    if (!controller) {
        return;
    }
    if (m_handler) {
        disconnect(controller, &VelutraController::sigAddMonitorCommand, m_handler, nullptr);
        disconnect(controller, &VelutraController::sigDelMonitorCommand, m_handler, nullptr);
        disconnect(controller, &VelutraController::sigClrAllMonitorCommands, m_handler, nullptr);
        disconnect(controller, &VelutraController::sigAppendSettingsCommand, m_handler, nullptr);
    }
    connect(controller, &VelutraController::sigAddMonitorCommand, this,
            [this](const QString &command) { route(CommandKind::AddMonitor, command); });
    connect(controller, &VelutraController::sigDelMonitorCommand, this,
            [this](const QString &command) { route(CommandKind::DelMonitor, command); });
    connect(controller, &VelutraController::sigClrAllMonitorCommands, this,
            [this] { route(CommandKind::ClearMonitor, QString()); });
    connect(controller, &VelutraController::sigAppendSettingsCommand, this,
            [this](const QString &command) { route(CommandKind::Settings, command); });
    connect(controller, &VelutraController::setVelutraType, this, &LaserIdentityCheck::onModel);
    connect(controller, &VelutraController::setSerialNumber, this,
            &LaserIdentityCheck::onSerialNumber);
    m_deadline->start();
}

void LaserIdentityCheck::end()
{
    m_running = false;
    m_deadline->stop();
    m_gate = Gate::Closed;
    m_held.clear();
    if (m_controller) {
        m_controller->disconnect(this);
    }
    m_controller = nullptr;
}

bool LaserIdentityCheck::isRunning() const
{
    return m_running;
}

bool LaserIdentityCheck::expectsKnownLaser() const
{
    return m_expected.isKnown();
}

LaserIdentity LaserIdentityCheck::expected() const
{
    return m_expected;
}

LaserIdentity LaserIdentityCheck::identity() const
{
    return m_received;
}

LaserIdentityCheck::Outcome LaserIdentityCheck::concludeHandshake()
{
    if (!m_running) {
        return Outcome::Pending;
    }
    const Outcome outcome = judge(true);
    finish(outcome);
    return outcome;
}

void LaserIdentityCheck::route(CommandKind kind, const QString &text)
{
    switch (m_gate) {
    case Gate::Closed:
        break;
    case Gate::Holding:
        m_held.append(Command{kind, text});
        break;
    case Gate::Open:
        pass(Command{kind, text});
        break;
    }
}

void LaserIdentityCheck::pass(const Command &command)
{
    switch (command.kind) {
    case CommandKind::AddMonitor:
        emit sigAddMonitorCommand(command.text);
        break;
    case CommandKind::DelMonitor:
        emit sigDelMonitorCommand(command.text);
        break;
    case CommandKind::ClearMonitor:
        emit sigClrAllMonitorCommands();
        break;
    case CommandKind::Settings:
        emit sigAppendSettingsCommand(command.text);
        break;
    }
}

void LaserIdentityCheck::onModel(const QString &model)
{
    if (m_running) {
        m_received.model = model.trimmed();
    }
}

void LaserIdentityCheck::onSerialNumber(const QString &serialNumber)
{
    if (m_running) {
        m_received.serialNumber = serialNumber.trimmed();
    }
}

void LaserIdentityCheck::onLineReceived()
{
    if (m_running) {
        ++m_linesReceived;
    }
}

void LaserIdentityCheck::onDeadline()
{
    if (!m_running) {
        return;
    }
    const Outcome outcome = judge(false);
    if (outcome == Outcome::Pending) {
        m_deadline->start();
        return;
    }
    finish(outcome);
    emit failed(outcome);
}

LaserIdentityCheck::Outcome LaserIdentityCheck::judge(bool handshakeComplete) const
{
    if (!m_received.isKnown()) {
        // Silence tells nothing yet; talk without the model line tells enough.
        if (handshakeComplete || m_linesReceived > 0) {
            return Outcome::NotALaser;
        }
        return Outcome::Pending;
    }
    if (!m_expected.isKnown()) {
        return handshakeComplete ? Outcome::Confirmed : Outcome::Pending;
    }
    if (m_received.model != m_expected.model) {
        return Outcome::AnotherLaser;
    }
    if (handshakeComplete) {
        return m_received.serialNumber == m_expected.serialNumber ? Outcome::Confirmed
                                                                  : Outcome::AnotherLaser;
    }
    if (!m_received.serialNumber.isEmpty() && m_received.serialNumber != m_expected.serialNumber) {
        return Outcome::AnotherLaser;
    }
    return Outcome::Pending;
}

void LaserIdentityCheck::finish(Outcome outcome)
{
    m_running = false;
    m_deadline->stop();
    if (outcome != Outcome::Confirmed) {
        m_gate = Gate::Closed;
        m_held.clear();
        return;
    }
    m_gate = Gate::Open;
    // In the order the controller asked, so the handler builds the same lists it would have.
    const QList<Command> held = m_held;
    m_held.clear();
    for (const Command &command : held) {
        pass(command);
    }
}
