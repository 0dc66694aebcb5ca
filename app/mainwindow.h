#ifndef MAINWINDOW_H
#define MAINWINDOW_H

#include "zelmmainwindow.h"

#include <QPointer>

class MainControlPanel;
class QAction;
class QMenu;
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
    // Recording outlives connections; each new controller is attached to it.
    RecordingService *m_recording = nullptr;
    QPointer<TrendsPage> m_trendsPage;
    QAction *m_recordTrafficAction = nullptr;
    QAction *m_recordValuesAction = nullptr;
};

#endif // MAINWINDOW_H
