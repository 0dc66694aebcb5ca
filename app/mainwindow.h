#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "lasersession.h"
#include "zelmmainwindow.h"

#include <QPointer>

class MainControlPanel;
class QAction;
class QMenu;
class QMessageBox;
class QSignalMapper;
class RecordingService;
class SerialMonitor;
class TrendsPage;
class VelutraController;

// The program's frame: menus, the log and serial-monitor docks, and the control panel while
// a port is open. The link itself, and every decision about it, is the laser session's.
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

    // The link to the laser: the serial handler, the controller of each connection, and
    // every decision about opening, closing and reconnecting.
    LaserSession *session() const;

    // What the laser last reported that makes leaving it worth a question ("The laser is on
    // and its output is enabled."); empty while it is not emitting or nothing is connected.
    QString emissionState() const;

    static constexpr int LinkRecoveryMs = LaserSession::LinkRecoveryMs;
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
    void onSessionStateChanged(LaserSession::State state);
    void onControllerCreated(VelutraController *controller);
    void showNotice(const QString &text);
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
    void addPortAction(const QString &text, const QString &name, const QString &toolTip);
    // Asks before the operator leaves a laser that is on; true to go on. `leaving` names
    // the choice that goes on ("Disconnect", "Exit").
    bool confirmLeavingEmission(const QString &leaving);
    void setupRecording();
    void chooseTrafficLog(bool record);
    void chooseValueRecording(bool record);
    void chooseRecordingInterval();
    void chooseRecordingFolder();

    QMenu *m_connectMenu = nullptr;
    QMenu *m_windowMenu = nullptr;
    QMenu *m_toolMenu = nullptr;
    QSignalMapper *m_signalMapper = nullptr;
    LaserSession *m_session = nullptr;
    QPointer<SerialMonitor> m_serialMonitor;
    QPointer<MainControlPanel> m_controlPanel;
    QAction *m_exitAction = nullptr;
    QAction *m_aboutAction = nullptr;
    QAction *m_helpManualAction = nullptr;

    QPointer<QMessageBox> m_leavePrompt;
    // Recording outlives connections; each new controller is attached to it.
    RecordingService *m_recording = nullptr;
    QPointer<TrendsPage> m_trendsPage;
    QAction *m_recordTrafficAction = nullptr;
    QAction *m_recordValuesAction = nullptr;
};

#endif // MAINWINDOW_H
