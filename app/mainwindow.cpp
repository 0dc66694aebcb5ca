#include "mainwindow.h"

#include "_applog.h"
#include "aboutdialog.h"
#include "applicationidentity.h"
#include "applicationlog.h"
#include "centertabwidget.h"
#include "maincontrolpanel.h"
#include "optionsdialog.h"
#include "panelkit.h"
#include "portreconnector.h"
#include "reconnectoption.h"
#include "recordingservice.h"
#include "serialmonitor.h"
#include "serialportlist.h"
#include "velutraappcategory.h"
#include "velutracontroller.h"
#include "velutraresources.h"
#include "velutraserialhandler.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDate>
#include <QDesktopServices>
#include <QDir>
#include <QDockWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSignalMapper>
#include <QStatusBar>
#include <QThread>
#include <QTimer>
#include <QUrl>

namespace {

constexpr int ThreadStopTimeoutMs = 2000;
constexpr char GeometryKey[] = "MainWindow/Geometry";
constexpr char WindowStateKey[] = "MainWindow/WindowState";

QSettings windowSettings()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope,
                     QString::fromLatin1(ApplicationIdentity::OrganizationName),
                     QString::fromLatin1(ApplicationIdentity::ApplicationName));
}

QString today()
{
    return QDate::currentDate().toString(QStringLiteral("dd/MM/yyyy"));
}

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : ZELMMainWindow(parent)
{
    initVelutraResources();
    setObjectName(QStringLiteral("MainWindow"));
    setWindowIcon(QIcon(QStringLiteral(":/Application/velutra-xp.png")));

    _AppLog::LoadLog();
    _AppLog::WriteLogLine(tr("***** Application startup %1 *****").arg(today()));

    setWindowTitle(QCoreApplication::applicationName() + QStringLiteral(" - Version ")
                   + QCoreApplication::applicationVersion() + QStringLiteral(" - Date ")
                   + qApp->property("BUILDDATE").toString());

    PanelKit::loadApplicationFonts();
    qApp->setStyleSheet(PanelKit::getApplicationStylesheet());

    m_signalMapper = new QSignalMapper(this);
    connect(m_signalMapper, &QSignalMapper::mappedString, this, &MainWindow::connectMenuHandler);

    // The handler lives in its own thread; every connection below is queued across it.
    m_serialHandler = new VelutraSerialHandler();
    m_serialThread = new QThread(this);
    m_serialHandler->moveToThread(m_serialThread);
    connect(m_serialThread, SIGNAL(started()), m_serialHandler, SLOT(slotMainLoop()));
    connect(m_serialThread, &QThread::finished, m_serialHandler, &QObject::deleteLater);
    connect(m_serialThread, &QThread::finished, m_serialThread, &QObject::deleteLater);
    connect(this, SIGNAL(sigOpenCommunication(QString)), m_serialHandler,
            SLOT(slotOpenCommunication(QString)));
    connect(this, SIGNAL(sigCloseCommunication()), m_serialHandler, SLOT(slotCloseCommunication()));
    connect(m_serialHandler, SIGNAL(sigStatusMessage(QString)), this,
            SLOT(slotWriteLogLine(QString)));
    connect(m_serialHandler, SIGNAL(sigCommunicationOpened(QString)), this,
            SLOT(onPortsOpened(QString)));
    connect(m_serialHandler, SIGNAL(sigCommunicationClosed(QString)), this,
            SLOT(onPortsClosed(QString)));
    connect(m_serialHandler, &VelutraSerialHandler::sigCommunicationLost, this,
            &MainWindow::onPortLost);
    connect(m_serialHandler, &VelutraSerialHandler::sigConnectedStatus, this,
            &MainWindow::onConnectedStatus);

    m_identityCheck = new LaserIdentityCheck(m_serialHandler, this);
    connect(m_identityCheck, &LaserIdentityCheck::failed, this, &MainWindow::onIdentityCheckFailed);
    m_reconnector = new PortReconnector(this);
    connect(m_reconnector, &PortReconnector::openRequested, this,
            &MainWindow::onReconnectOpenRequested);
    m_linkRecoveryTimer = new QTimer(this);
    m_linkRecoveryTimer->setSingleShot(true);
    m_linkRecoveryTimer->setInterval(LinkRecoveryMs);
    connect(m_linkRecoveryTimer, &QTimer::timeout, this, &MainWindow::onLinkRecoveryTimeout);
    m_serialThread->start(QThread::InheritPriority);

    setCentralWidget(new CenterTabWidget(this));

    auto *applicationLog = new ApplicationLog(this);
    createGenericDockWidget(applicationLog, tr("Application Log"), Qt::RightDockWidgetArea, false);
    m_serialMonitor = new SerialMonitor(this);
    createGenericDockWidget(m_serialMonitor, tr("Serial Monitor"), Qt::BottomDockWidgetArea, false);
    connect(m_serialHandler, SIGNAL(sigBytesReceived(QString, QByteArray)), m_serialMonitor,
            SLOT(slotBytesReceived(QString, QByteArray)));
    connect(m_serialHandler, SIGNAL(sigBytesTransmitted(QString, QByteArray)), m_serialMonitor,
            SLOT(slotBytesTransmitted(QString, QByteArray)));

    createActions();
    createMenus();
    setupRecording();
    statusBar();

    restoreMainWindowState();
}

MainWindow::~MainWindow()
{
    if (m_serialThread) {
        m_serialThread->quit();
        if (!m_serialThread->wait(ThreadStopTimeoutMs)) {
            qCWarning(lcApp, "The serial thread did not stop within %d ms", ThreadStopTimeoutMs);
        }
    }
    _AppLog::WriteLogLine(tr("***** Application shutdown %1  *****").arg(today()));
    _AppLog::SaveLog();
}

QString MainWindow::openPortName() const
{
    return m_portName;
}

bool MainWindow::isReconnecting() const
{
    return m_reconnector->isActive();
}

QString MainWindow::emissionState() const
{
    if (m_portName.isEmpty()) {
        return QString();
    }
    if (m_laserOn && m_outputEnabled) {
        return tr("The laser is on and its output is enabled.");
    }
    if (m_laserOn) {
        return tr("The laser is on.");
    }
    if (m_outputEnabled) {
        return tr("The laser's output is enabled.");
    }
    return QString();
}

void MainWindow::connectToPort(const QString &name)
{
    if (name.isEmpty()) {
        return;
    }
    if (isReconnecting() && name == m_reconnector->portName()) {
        slotWriteLogLine(tr("Port %1 is already being reconnected.").arg(name));
        return;
    }
    if (!m_portName.isEmpty()) {
        slotWriteLogLine(
                tr("Port %1 is already open; close it before opening %2.").arg(m_portName, name));
        return;
    }
    connectMenuHandler(name);
}

void MainWindow::createActions()
{
    m_exitAction = new QAction(tr("&Exit"), this);
    m_exitAction->setObjectName(QStringLiteral("exitAction"));
    m_exitAction->setShortcut(QKeySequence(tr("Ctrl+Q")));
    m_exitAction->setStatusTip(tr("Exit this program"));
    connect(m_exitAction, &QAction::triggered, this, &MainWindow::closeApplication);

    m_aboutAction = new QAction(tr("About ") + QCoreApplication::applicationName(), this);
    m_aboutAction->setObjectName(QStringLiteral("aboutAction"));
    m_aboutAction->setStatusTip(tr("About this program"));
    connect(m_aboutAction, &QAction::triggered, this, &MainWindow::showAboutDialog);

    m_helpManualAction = new QAction(tr("Show Instruction Manual"), this);
    m_helpManualAction->setObjectName(QStringLiteral("helpManualAction"));
    m_helpManualAction->setStatusTip(tr("Show the Zelmar VELUTRA-XP - Instruction Manual"));
    connect(m_helpManualAction, &QAction::triggered, this, [this](bool) { showHelpManual(); });
}

void MainWindow::createMenus()
{
    QMenu *fileMenu = menuBar()->addMenu(tr("&File"));
    fileMenu->setObjectName(QStringLiteral("fileMenu"));
    // The options dialog holds the reconnect switch, so the operator must be able to reach it.
    QAction *optionsAction = fileMenu->addAction(tr("&Options..."));
    optionsAction->setObjectName(QStringLiteral("optionsAction"));
    optionsAction->setStatusTip(tr("Program options"));
    connect(optionsAction, &QAction::triggered, this, &MainWindow::showOptionsDialog);
    fileMenu->addSeparator();
    fileMenu->addAction(m_exitAction);

    m_connectMenu = new QMenu(tr("&Connect"), this);
    m_connectMenu->setObjectName(QStringLiteral("connectMenu"));
    menuBar()->addMenu(m_connectMenu);
    connect(m_connectMenu, &QMenu::aboutToShow, this, &MainWindow::updateConnectMenu);

    m_windowMenu = menuBar()->addMenu(tr("&Window"));
    m_windowMenu->setObjectName(QStringLiteral("windowMenu"));
    connect(m_windowMenu, &QMenu::aboutToShow, this, &MainWindow::updateWindowMenu);

    QMenu *helpMenu = menuBar()->addMenu(tr("&Help"));
    helpMenu->setObjectName(QStringLiteral("helpMenu"));
    helpMenu->addAction(m_aboutAction);
    helpMenu->addAction(m_helpManualAction);

    // Not on the menu bar: kept for the tool bar that a later version may offer.
    m_toolMenu = new QMenu(tr("&Tools"), this);
    m_toolMenu->setObjectName(QStringLiteral("toolMenu"));
}

void MainWindow::slotWriteLogLine(QString line)
{
    // Status records reaching the log mean the device answered out of turn; the marker lets
    // a debugger stop right there.
    static const QString s_records[] = {QStringLiteral("s6"), QStringLiteral("s7"),
                                        QStringLiteral("s8"), QStringLiteral("s9")};
    for (const QString &record : s_records) {
        if (line.contains(record)) {
            qCDebug(lcApp, "STOP");
            break;
        }
    }
    _AppLog::WriteLogLine(line);
}

void MainWindow::saveMainWindowState()
{
    QSettings settings = windowSettings();
    settings.setValue(QString::fromLatin1(GeometryKey), saveGeometry());
    settings.setValue(QString::fromLatin1(WindowStateKey), saveState());
}

void MainWindow::restoreMainWindowState()
{
    const QSettings settings = windowSettings();
    const QByteArray geometry = settings.value(QString::fromLatin1(GeometryKey)).toByteArray();
    const QByteArray state = settings.value(QString::fromLatin1(WindowStateKey)).toByteArray();
    const bool geometryRestored = !geometry.isEmpty() && restoreGeometry(geometry);
    const bool stateRestored = !state.isEmpty() && restoreState(state);
    if (geometryRestored && stateRestored) {
        return;
    }
    // First start: the window takes the screen it opens on, the docks only what they need,
    // and the control panel the rest.
    const QRect available = availableScreenArea();
    fitToScreen(available, firstStartSideDockWidth(available.size()),
                firstStartBottomDockHeight(available.size()));
    if (isSmallScreen(available.size())) {
        setWindowState(windowState() | Qt::WindowMaximized);
    }
}

int MainWindow::firstStartSideDockWidth(const QSize &screen)
{
    // The panel's six tabs need all of a laptop's width beside the side panel.
    return qBound(220, (screen.width() - 1200) / 2, 420);
}

int MainWindow::firstStartBottomDockHeight(const QSize &screen)
{
    return qBound(200, screen.height() * 3 / 10, 320);
}

void MainWindow::closeApplication()
{
    if (!confirmLeavingEmission(tr("Exit"))) {
        return;
    }
    close();
}

void MainWindow::updateConnectMenu()
{
    const QList<QAction *> previous = m_connectMenu->actions();
    for (QAction *action : previous) {
        m_signalMapper->removeMappings(action);
    }
    m_connectMenu->clear();
    if (isReconnecting()) {
        // Disconnect stops the search; another port may be chosen instead.
        m_connectMenu->setTitle(tr("&Disconnect"));
        const QString lost = m_reconnector->portName();
        QAction *action = m_connectMenu->addAction(tr("Close ") + lost);
        connect(action, SIGNAL(triggered()), m_signalMapper, SLOT(map()));
        m_signalMapper->setMapping(action, lost);
        const QStringList names = SerialportList::GetPipeNames();
        for (const QString &name : names) {
            if (name == lost) {
                continue;
            }
            if (m_connectMenu->actions().size() == 1) {
                m_connectMenu->addSeparator();
            }
            QAction *open = m_connectMenu->addAction(tr("Open ") + name);
            open->setToolTip(SerialportList::GetExtendedPipeName(name));
            open->setStatusTip(open->toolTip());
            connect(open, SIGNAL(triggered()), m_signalMapper, SLOT(map()));
            m_signalMapper->setMapping(open, name);
        }
        m_connectMenu->setToolTipsVisible(true);
    } else if (m_portName.isEmpty()) {
        m_connectMenu->setTitle(tr("&Connect"));
        const QStringList names = SerialportList::GetPipeNames();
        for (const QString &name : names) {
            QAction *action = m_connectMenu->addAction(tr("Open ") + name);
            action->setToolTip(SerialportList::GetExtendedPipeName(name));
            action->setStatusTip(action->toolTip());
            connect(action, SIGNAL(triggered()), m_signalMapper, SLOT(map()));
            m_signalMapper->setMapping(action, name);
        }
        m_connectMenu->setToolTipsVisible(true);
    } else {
        m_connectMenu->setTitle(tr("&Disconnect"));
        QAction *action = m_connectMenu->addAction(tr("Close ") + m_portName);
        connect(action, SIGNAL(triggered()), m_signalMapper, SLOT(map()));
        m_signalMapper->setMapping(action, m_portName);
    }
}

void MainWindow::updateToolMenu()
{
    m_toolMenu->clear();
    m_toolMenu->addActions(actions());
    m_toolMenu->addSeparator();
}

void MainWindow::updateWindowMenu()
{
    m_windowMenu->clear();
    const QList<QDockWidget *> docks = accessoryDocks();
    for (QDockWidget *dock : docks) {
        m_windowMenu->addAction(dock->toggleViewAction());
    }
}

void MainWindow::connectMenuHandler(QString name)
{
    if (isReconnecting()) {
        const bool disconnect = name == m_reconnector->portName();
        slotWriteLogLine(tr("Reconnecting to %1 stopped.")
                                 .arg(PortReconnector::shortName(m_reconnector->portName())));
        stopReconnecting();
        removeAllSystemWidgets();
        updateConnectMenu();
        if (disconnect) {
            return;
        }
    }
    if (m_portName.isEmpty()) {
        // The operator's choice: whatever answers there is the laser from now on.
        m_laser = LaserIdentity();
        statusBar()->clearMessage();
        requestOpen(name);
        return;
    }
    const QString open = m_portName;
    if (!confirmLeavingEmission(tr("Disconnect"))) {
        return;
    }
    // The port may have gone while the question was on screen.
    if (m_portName == open) {
        emit sigCloseCommunication();
    }
}

void MainWindow::requestOpen(const QString &name)
{
    m_openCalledOff = false;
    emit sigOpenCommunication(name);
}

void MainWindow::onPortsOpened(QString name)
{
    if (m_openCalledOff) {
        // The close that called it off is queued behind it in the handler.
        return;
    }
    const bool reconnected = isReconnecting();
    if (reconnected) {
        const QString lost = m_reconnector->portName();
        m_reconnector->stop();
        statusBar()->clearMessage();
        if (name != lost) {
            slotWriteLogLine(tr("%1 is back as %2.")
                                     .arg(PortReconnector::shortName(lost),
                                          PortReconnector::shortName(name)));
        }
    }
    m_portName = name;
    m_linkUp = false;
    m_reconnector->rememberPort(name);
    updateConnectMenu();
    // The greyed panel of the lost connection gives way to one built from fresh replies.
    removeAllSystemWidgets();
    if (reconnected && ReconnectOption::isReconnectEnabled()) {
        // A device that is back but does not answer is given up on like a silent one.
        m_linkRecoveryTimer->start();
    }
    m_controlPanel = new MainControlPanel(this);
    createSystemWidget(m_controlPanel, tr("Control Panel"));
    // Until the device has said who it is, the panel takes nothing: after a loss it could
    // be another device on the same path, and a first answer may never come.
    const LaserIdentity expected = reconnected ? m_laser : LaserIdentity();
    const QString port = PortReconnector::shortName(name);
    m_controlPanel->hold(
            expected.isKnown()
                    ? tr("Checking that the device on %1 is the laser %2 that was connected…")
                              .arg(port, expected.name())
                    : tr("Waiting for the laser on %1 to answer…").arg(port));
    if (m_controller) {
        // A close that never arrived: never let two controllers feed one handler.
        m_controller->disconnect(m_serialHandler);
        m_controller->deleteLater();
    }
    m_controller = new VelutraController(this, m_controlPanel, m_serialHandler, this);
    m_identityCheck->begin(m_controller, expected);
    m_laserOn = false;
    m_outputEnabled = false;
    // Only the current controller speaks for the laser; one on its way out may still emit.
    VelutraController *controller = m_controller;
    connect(m_controller, &VelutraController::setLaserOn, this, [this, controller](bool on) {
        if (controller == m_controller) {
            m_laserOn = on;
        }
    });
    connect(m_controller, &VelutraController::setOutEnableOn, this, [this, controller](bool on) {
        if (controller == m_controller) {
            m_outputEnabled = on;
        }
    });
    m_recording->attachController(m_controller);
    if (m_serialMonitor) {
        connect(m_serialMonitor, SIGNAL(sigSendCommand(QByteArray)), m_controller,
                SLOT(slotSendManualCommand(QByteArray)));
        m_serialMonitor->setPortOpen(true);
    }
    QTimer::singleShot(10, m_controller, SLOT(slotMainLoop()));
}

void MainWindow::onPortsClosed(QString name)
{
    const bool lost = m_portLost || m_reopenAfterClose;
    m_portLost = false;
    m_reopenAfterClose = false;
    if (name != m_portName) {
        // A port opened after it was called off, or one this window never took up.
        return;
    }
    m_linkRecoveryTimer->stop();
    m_linkUp = false;
    m_portName.clear();
    if (m_serialMonitor) {
        m_serialMonitor->setPortOpen(false);
    }
    dropController();
    if (lost && ReconnectOption::isReconnectEnabled()) {
        // The panel stays, greyed, so the operator sees what the laser last reported until
        // a new controller rebuilds it from the device's fresh replies.
        if (m_controlPanel) {
            m_controlPanel->setEnabled(false);
        }
        startReconnecting();
    } else {
        // The panel takes the controller's widget with it.
        removeAllSystemWidgets();
    }
    updateConnectMenu();
}

void MainWindow::onPortLost(const QString &name)
{
    if (name == m_portName) {
        m_portLost = true;
    }
}

void MainWindow::onConnectedStatus(bool connected)
{
    if (connected) {
        if (m_identityCheck->isRunning()) {
            const LaserIdentityCheck::Outcome outcome = m_identityCheck->concludeHandshake();
            if (outcome != LaserIdentityCheck::Outcome::Confirmed) {
                refuseDevice(outcome);
                return;
            }
            m_laser = m_identityCheck->identity();
            if (m_controlPanel) {
                m_controlPanel->release();
            }
        }
        m_linkUp = true;
        m_linkRecoveryTimer->stop();
        if (m_reconnectClock.isValid()) {
            slotWriteLogLine(tr("Reconnected to %1 after %2 s.")
                                     .arg(PortReconnector::shortName(m_portName))
                                     .arg(double(m_reconnectClock.elapsed()) / 1000.0, 0, 'f', 1));
            m_reconnectClock.invalidate();
        }
        return;
    }
    // Only a link that was up can break down; the handshake of a fresh open retries itself.
    if (m_linkUp && !m_portName.isEmpty() && ReconnectOption::isReconnectEnabled()
        && !m_linkRecoveryTimer->isActive()) {
        m_linkRecoveryTimer->start();
    }
    m_linkUp = false;
}

void MainWindow::onLinkRecoveryTimeout()
{
    if (m_portName.isEmpty() || m_linkUp || !ReconnectOption::isReconnectEnabled()) {
        return;
    }
    slotWriteLogLine(tr("No answer from %1 for %2 s: reopening the port.")
                             .arg(PortReconnector::shortName(m_portName))
                             .arg(LinkRecoveryMs / 1000));
    m_reopenAfterClose = true;
    emit sigCloseCommunication();
}

void MainWindow::onIdentityCheckFailed(LaserIdentityCheck::Outcome outcome)
{
    if (!m_portName.isEmpty()) {
        refuseDevice(outcome);
    }
}

void MainWindow::refuseDevice(LaserIdentityCheck::Outcome outcome)
{
    const QString port = PortReconnector::shortName(m_portName);
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
    shutDownLink();
    updateConnectMenu();
    slotWriteLogLine(message);
    statusBar()->showMessage(message);
}

void MainWindow::onReconnectOpenRequested(const QString &name)
{
    if (!m_portName.isEmpty()) {
        return;
    }
    // A close first, though nothing is open: the handler then drops every setting still
    // queued (the old controller may have queued one after the loss), so the reconnected
    // laser is only read, never set, by what was asked of the lost connection.
    emit sigCloseCommunication();
    requestOpen(name);
}

void MainWindow::startReconnecting()
{
    const QString message
            = tr("Reconnecting to %1…").arg(PortReconnector::shortName(m_reconnector->portName()));
    statusBar()->showMessage(message);
    slotWriteLogLine(message);
    if (!m_reconnectClock.isValid()) {
        m_reconnectClock.start();
    }
    m_reconnector->start();
}

void MainWindow::stopReconnecting()
{
    m_reconnector->stop();
    m_reconnectClock.invalidate();
    statusBar()->clearMessage();
    // An open already asked for may still complete: close whatever it opens.
    m_openCalledOff = true;
    emit sigCloseCommunication();
}

void MainWindow::dropController()
{
    m_identityCheck->end();
    m_laserOn = false;
    m_outputEnabled = false;
    if (m_controller) {
        // Until the deferred delete runs, its loop could still queue commands for the port.
        m_controller->disconnect(m_serialHandler);
        m_controller->deleteLater();
        m_controller = nullptr;
    }
}

void MainWindow::shutDownLink()
{
    // Nothing may open, reopen or write from here on; the panel goes (deferred, so a prompt
    // of the panel that is waiting in its own event loop returns first), and with it every
    // dialog it holds open.
    m_linkRecoveryTimer->stop();
    if (isReconnecting()) {
        m_reconnector->stop();
        statusBar()->clearMessage();
    }
    m_reconnectClock.invalidate();
    m_openCalledOff = true;
    dropController();
    removeAllSystemWidgets();
    if (m_serialMonitor) {
        m_serialMonitor->setPortOpen(false);
    }
    m_portName.clear();
    emit sigCloseCommunication();
}

bool MainWindow::confirmLeavingEmission(const QString &leaving)
{
    const QString state = emissionState();
    if (state.isEmpty()) {
        return true;
    }
    QMessageBox prompt(QMessageBox::Warning, QCoreApplication::applicationName(), state,
                       QMessageBox::NoButton, this);
    prompt.setObjectName(QStringLiteral("leaveEmittingLaserPrompt"));
    prompt.setInformativeText(
            tr("%1 leaves the laser as it is: nothing is sent to it, and it goes on emitting. "
               "Switch it off on the control panel first if it should stop.")
                    .arg(leaving));
    QPushButton *goOn = prompt.addButton(leaving, QMessageBox::AcceptRole);
    goOn->setObjectName(QStringLiteral("leaveButton"));
    QPushButton *cancel = prompt.addButton(QMessageBox::Cancel);
    prompt.setDefaultButton(cancel);
    prompt.setEscapeButton(cancel);
    m_leavePrompt = &prompt;
    prompt.exec();
    m_leavePrompt = nullptr;
    QAbstractButton *answer = prompt.clickedButton();
    if (!answer) {
        // Put away by the program closing, not answered.
        return false;
    }
    const bool confirmed = answer == goOn;
    slotWriteLogLine(confirmed ? tr("%1 with the laser emitting: %2").arg(leaving, state)
                               : tr("%1 cancelled: %2").arg(leaving, state));
    return confirmed;
}

void MainWindow::showConnectConfigDialog() { }

void MainWindow::showOptionsDialog()
{
    auto *dialog = new OptionsDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // The program's pages, one line each.
    dialog->addOptionPage(new ReconnectOption);
    dialog->open();
}

void MainWindow::showExtensionsDialog() { }

void MainWindow::showAboutDialog()
{
    AboutDialog dialog(this);
    dialog.exec();
}

void MainWindow::showHelpManual()
{
    const QDir folder(QCoreApplication::applicationDirPath() + QStringLiteral("/Manual"));
    const QStringList matches = folder.entryList({tr("Zelmar VELUTRA-XP - Instruction Manual*.*")},
                                                 QDir::Files, QDir::Name);
    if (matches.isEmpty()) {
        const QString message
                = tr("No instruction manual was found in %1.").arg(folder.absolutePath());
        slotWriteLogLine(message);
        statusBar()->showMessage(message, 10000);
        return;
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder.absoluteFilePath(matches.first())));
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    // Only the operator's own close (the window's close button) asks, and it asks outside
    // this handler, as Exit does. A close by the program (a termination signal, a test)
    // never waits for an answer, and ends a question still on screen.
    if (event->spontaneous() && !emissionState().isEmpty()) {
        event->ignore();
        QTimer::singleShot(0, this, &MainWindow::closeApplication);
        return;
    }
    if (m_leavePrompt) {
        m_leavePrompt->reject();
    }
    shutDownLink();
    saveMainWindowState();
    removeAllAccessoryDocks();
    ZELMMainWindow::closeEvent(event);
}
