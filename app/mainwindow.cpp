#include "mainwindow.h"

#include "_applog.h"
#include "aboutdialog.h"
#include "applicationidentity.h"
#include "applicationlog.h"
#include "centertabwidget.h"
#include "maincontrolpanel.h"
#include "optionsdialog.h"
#include "panelkit.h"
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
#include <QTimer>
#include <QUrl>

namespace {

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

    m_session = new LaserSession(this);
    m_session->setPanelHost(this, [this](const QString &name) {
        onPortsOpened(name);
        return m_controlPanel.data();
    });
    // The operator's Connect menu choices; the session decides what they lead to.
    connect(this, &MainWindow::sigOpenCommunication, m_session, &LaserSession::open);
    connect(this, &MainWindow::sigCloseCommunication, m_session, &LaserSession::close);
    connect(m_session->handler(), &VelutraSerialHandler::sigStatusMessage, this,
            &MainWindow::slotWriteLogLine);
    connect(m_session, &LaserSession::sigStatusMessage, this, &MainWindow::slotWriteLogLine);
    connect(m_session, &LaserSession::notice, this, &MainWindow::showNotice);
    connect(m_session, &LaserSession::stateChanged, this, &MainWindow::onSessionStateChanged);
    connect(m_session, &LaserSession::controllerCreated, this, &MainWindow::onControllerCreated);
    connect(m_session, &LaserSession::portClosed, this, &MainWindow::onPortsClosed);

    setCentralWidget(new CenterTabWidget(this));

    auto *applicationLog = new ApplicationLog(this);
    createGenericDockWidget(applicationLog, tr("Application Log"), Qt::RightDockWidgetArea, false);
    m_serialMonitor = new SerialMonitor(this);
    createGenericDockWidget(m_serialMonitor, tr("Serial Monitor"), Qt::BottomDockWidgetArea, false);
    connect(m_session->handler(), &VelutraSerialHandler::sigBytesReceived, m_serialMonitor,
            &SerialMonitor::slotBytesReceived);
    connect(m_session->handler(), &VelutraSerialHandler::sigBytesTransmitted, m_serialMonitor,
            &SerialMonitor::slotBytesTransmitted);

    createActions();
    createMenus();
    setupRecording();
    statusBar();

    restoreMainWindowState();
}

MainWindow::~MainWindow()
{
    // The serial thread stops before the window's pages go.
    delete m_session;
    m_session = nullptr;
    _AppLog::WriteLogLine(tr("***** Application shutdown %1  *****").arg(today()));
    _AppLog::SaveLog();
}

QString MainWindow::openPortName() const
{
    return m_session->portName();
}

bool MainWindow::isReconnecting() const
{
    return m_session->isReconnecting();
}

LaserSession *MainWindow::session() const
{
    return m_session;
}

QString MainWindow::emissionState() const
{
    if (m_session->portName().isEmpty()) {
        return QString();
    }
    const bool laserOn = m_session->isLaserOn();
    const bool outputEnabled = m_session->isOutputEnabled();
    if (laserOn && outputEnabled) {
        return tr("The laser is on and its output is enabled.");
    }
    if (laserOn) {
        return tr("The laser is on.");
    }
    if (outputEnabled) {
        return tr("The laser's output is enabled.");
    }
    return QString();
}

void MainWindow::connectToPort(const QString &name)
{
    if (name.isEmpty()) {
        return;
    }
    if (isReconnecting() && name == m_session->reconnectPortName()) {
        slotWriteLogLine(tr("Port %1 is already being reconnected.").arg(name));
        return;
    }
    const QString open = openPortName();
    if (!open.isEmpty()) {
        slotWriteLogLine(
                tr("Port %1 is already open; close it before opening %2.").arg(open, name));
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
    const QString open = openPortName();
    if (isReconnecting()) {
        // Disconnect stops the search; another port may be chosen instead.
        m_connectMenu->setTitle(tr("&Disconnect"));
        const QString lost = m_session->reconnectPortName();
        addPortAction(tr("Close ") + lost, lost, QString());
        const QStringList names = SerialportList::GetPipeNames();
        for (const QString &name : names) {
            if (name == lost) {
                continue;
            }
            if (m_connectMenu->actions().size() == 1) {
                m_connectMenu->addSeparator();
            }
            addPortAction(tr("Open ") + name, name, SerialportList::GetExtendedPipeName(name));
        }
        m_connectMenu->setToolTipsVisible(true);
    } else if (open.isEmpty()) {
        m_connectMenu->setTitle(tr("&Connect"));
        const QStringList names = SerialportList::GetPipeNames();
        for (const QString &name : names) {
            addPortAction(tr("Open ") + name, name, SerialportList::GetExtendedPipeName(name));
        }
        m_connectMenu->setToolTipsVisible(true);
    } else {
        m_connectMenu->setTitle(tr("&Disconnect"));
        addPortAction(tr("Close ") + open, open, QString());
    }
}

void MainWindow::addPortAction(const QString &text, const QString &name, const QString &toolTip)
{
    QAction *action = m_connectMenu->addAction(text);
    if (!toolTip.isEmpty()) {
        action->setToolTip(toolTip);
        action->setStatusTip(toolTip);
    }
    connect(action, &QAction::triggered, m_signalMapper, qOverload<>(&QSignalMapper::map));
    m_signalMapper->setMapping(action, name);
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
        const bool disconnect = name == m_session->reconnectPortName();
        m_session->stopReconnecting();
        if (disconnect) {
            return;
        }
    }
    if (openPortName().isEmpty()) {
        emit sigOpenCommunication(name);
        return;
    }
    const QString open = openPortName();
    if (!confirmLeavingEmission(tr("Disconnect"))) {
        return;
    }
    // The port may have gone while the question was on screen.
    if (openPortName() == open) {
        emit sigCloseCommunication();
    }
}

void MainWindow::onPortsOpened(QString name)
{
    Q_UNUSED(name)
    // The greyed panel of the lost connection gives way to one built from fresh replies.
    removeAllSystemWidgets();
    m_controlPanel = new MainControlPanel(this);
    createSystemWidget(m_controlPanel, tr("Control Panel"));
}

void MainWindow::onControllerCreated(VelutraController *controller)
{
    // Until the device has said who it is, the panel takes nothing: after a loss it could
    // be another device on the same path, and a first answer may never come.
    if (m_controlPanel) {
        const LaserIdentity expected = m_session->expectedLaser();
        const QString port = LaserSession::shortName(m_session->portName());
        m_controlPanel->hold(
                expected.isKnown()
                        ? tr("Checking that the device on %1 is the laser %2 that was connected…")
                                  .arg(port, expected.name())
                        : tr("Waiting for the laser on %1 to answer…").arg(port));
    }
    if (m_serialMonitor) {
        connect(m_serialMonitor, &SerialMonitor::sigSendCommand, controller,
                &VelutraController::slotSendManualCommand);
    }
}

void MainWindow::onPortsClosed(QString name)
{
    Q_UNUSED(name)
    if (m_session->state() == LaserSession::State::Reconnecting && m_controlPanel) {
        // The panel stays, greyed, so the operator sees what the laser last reported until
        // a new controller rebuilds it from the device's fresh replies.
        m_controlPanel->setEnabled(false);
    }
}

void MainWindow::onSessionStateChanged(LaserSession::State state)
{
    updateConnectMenu();
    if (m_serialMonitor) {
        m_serialMonitor->setPortOpen(!openPortName().isEmpty());
    }
    switch (state) {
    case LaserSession::State::Closed:
        // The panel takes the controller's widget with it (deferred, so a prompt of the
        // panel that is waiting in its own event loop returns first).
        removeAllSystemWidgets();
        break;
    case LaserSession::State::Connected:
        if (m_controlPanel && m_controlPanel->isHeld()) {
            m_controlPanel->release();
        }
        break;
    case LaserSession::State::Opening:
    case LaserSession::State::Handshaking:
    case LaserSession::State::Reconnecting:
    case LaserSession::State::Closing:
        break;
    }
}

void MainWindow::showNotice(const QString &text)
{
    if (text.isEmpty()) {
        statusBar()->clearMessage();
    } else {
        statusBar()->showMessage(text);
    }
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
    m_session->shutDown();
    saveMainWindowState();
    removeAllAccessoryDocks();
    ZELMMainWindow::closeEvent(event);
}
