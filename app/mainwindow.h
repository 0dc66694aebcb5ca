#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "laseridentitycheck.h"
#include "zelmmainwindow.h"

#include <QElapsedTimer>
#include <QPointer>

class MainControlPanel;
class PortReconnector;
class QAction;
class QMenu;
class QMessageBox;
class QSignalMapper;
class QThread;
class RecordingService;
class SerialMonitor;
class TrendsPage;
class VelutraController;
class VelutraSerialHandler;

// The program's frame: menus, the log and serial-monitor docks, the serial
// handler in its worker thread, and the control panel while a port is open.
class MainWindow : public ZELMMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    // The open port's name; empty while disconnected.
    QString openPortName() const;

    // What choosing "Open <name>" in the Connect menu does (command line --connect).
    void connectToPort(const QString &name);

    // True while a port that went away is being looked for to be opened again.
    bool isReconnecting() const;

    // What the laser last reported that makes leaving it worth a question ("The laser is on
    // and its output is enabled."); empty while it is not emitting or nothing is connected.
    QString emissionState() const;

    // A link that broke down (a command unanswered twice) and that the handshake has not
    // brought back within this time is closed and reopened: two further rounds of the
    // identification (a command and its resend, two seconds each) plus the settle time are
    // enough for a laser that was only busy, and a port that stays dumb longer than that is
    // more likely a hung adapter, which only a fresh open can cure.
    static constexpr int LinkRecoveryMs = 12000;
    // Dock sizes of the very first start, before the operator has arranged anything.
    // A share of the screen within bounds: on a laptop the panel needs most of the height,
    // on a lab screen the log is read beside the panel without wrapping every line.
    static int firstStartSideDockWidth(const QSize &screen);
    static int firstStartBottomDockHeight(const QSize &screen);
    // ---- Recording (mainwindow_recording.cpp) ----
    // What the Recording menu does once a file is chosen (command line --traffic-log, --record).
    bool startTrafficLog(const QString &path);
    bool startValueRecording(const QString &path);
    RecordingService *recording() const;
    TrendsPage *trendsPage() const;

signals:
    void sigOpenCommunication(QString name);
    void sigCloseCommunication();

public slots:
    void slotWriteLogLine(QString line);

private slots:
    void saveMainWindowState();
    void restoreMainWindowState();
    void closeApplication();
    void updateConnectMenu();
    void updateToolMenu();
    void updateWindowMenu();
    void connectMenuHandler(QString name);
    void onPortsOpened(QString name);
    void onPortsClosed(QString name);
    void onPortLost(const QString &name);
    void onConnectedStatus(bool connected);
    void onLinkRecoveryTimeout();
    void onIdentityCheckFailed(LaserIdentityCheck::Outcome outcome);
    void onReconnectOpenRequested(const QString &name);
    void showConnectConfigDialog();
    void showOptionsDialog();
    void showExtensionsDialog();
    void showAboutDialog();
    void showHelpManual();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void createActions();
    void createMenus();
    void requestOpen(const QString &name);
    void startReconnecting();
    void stopReconnecting();
    void dropController();
    void shutDownLink();
    // Closes the port of a device that is not the laser looked for, and says so.
    void refuseDevice(LaserIdentityCheck::Outcome outcome);
    // Asks before the operator leaves a laser that is on; true to go on. `leaving` names
    // the choice that goes on ("Disconnect", "Exit").
    bool confirmLeavingEmission(const QString &leaving);
    void setupRecording();
    void chooseTrafficLog(bool record);
    void chooseValueRecording(bool record);
    void chooseRecordingInterval();
    void chooseRecordingFolder();

    QString m_portName;
    QMenu *m_connectMenu = nullptr;
    QMenu *m_windowMenu = nullptr;
    QMenu *m_toolMenu = nullptr;
    QSignalMapper *m_signalMapper = nullptr;
    VelutraSerialHandler *m_serialHandler = nullptr;
    QThread *m_serialThread = nullptr;
    QPointer<SerialMonitor> m_serialMonitor;
    QPointer<MainControlPanel> m_controlPanel;
    // Exists while a port is open.
    QPointer<VelutraController> m_controller;
    QAction *m_exitAction = nullptr;
    QAction *m_aboutAction = nullptr;
    QAction *m_helpManualAction = nullptr;

    PortReconnector *m_reconnector = nullptr;
    QTimer *m_linkRecoveryTimer = nullptr;
    // Why the next close comes: the device went away, or the link was given up on.
    bool m_portLost = false;
    bool m_reopenAfterClose = false;
    bool m_linkUp = false;
    // An open asked for and then called off (Disconnect while reconnecting, the window
    // closing) may still complete in the handler: its port is not taken up.
    bool m_openCalledOff = false;
    QElapsedTimer m_reconnectClock;
    // The laser the operator connected to, as it identified itself; a port opened again
    // after a loss must lead to it.
    LaserIdentity m_laser;
    LaserIdentityCheck *m_identityCheck = nullptr;
    // The operating state the current controller last reported.
    bool m_laserOn = false;
    bool m_outputEnabled = false;
    QPointer<QMessageBox> m_leavePrompt;
    // Recording outlives connections; each new controller is attached to it.
    RecordingService *m_recording = nullptr;
    QPointer<TrendsPage> m_trendsPage;
    QAction *m_recordTrafficAction = nullptr;
    QAction *m_recordValuesAction = nullptr;
};

#endif // MAINWINDOW_H
