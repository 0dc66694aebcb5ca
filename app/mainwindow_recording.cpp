// The main window's Recording menu, its trends page and the serial monitor's "Record to
// file…" box: everything that records what the laser did, kept apart from the frame's
// connection handling.

#include "mainwindow.h"

#include "recordingservice.h"
#include "recordingsettings.h"
#include "serialmonitor.h"
#include "trafficlogwriter.h"
#include "trendspage.h"
#include "valuerecorder.h"
#include "velutracontroller.h"
#include "velutraserialhandler.h"

#include <QAction>
#include <QDateTime>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>

namespace {

QString suggestedPath(const char *stem, const char *suffix)
{
    return QDir(RecordingSettings::folder())
            .filePath(QStringLiteral("%1-%2.%3")
                              .arg(QLatin1String(stem),
                                   QDateTime::currentDateTime().toString(
                                           QStringLiteral("yyyyMMdd-HHmmss")),
                                   QLatin1String(suffix)));
}

// A file to record into, suggested in the recording folder; an existing one is appended to,
// so there is nothing to confirm. Empty when cancelled.
QString askForRecordingFile(QWidget *parent, const QString &title, const char *stem,
                            const char *suffix, const QString &filter)
{
    return QFileDialog::getSaveFileName(parent, title, suggestedPath(stem, suffix), filter, nullptr,
                                        QFileDialog::DontConfirmOverwrite
                                                | QFileDialog::DontUseNativeDialog);
}

} // namespace

void MainWindow::setupRecording()
{
    m_recording = new RecordingService(this);
    m_recording->attachHandler(m_session->handler());
    connect(m_session, &LaserSession::controllerCreated, m_recording,
            &RecordingService::attachController);
    TrafficLogWriter *trafficLog = m_recording->trafficLog();
    ValueRecorder *values = m_recording->values();
    connect(trafficLog, &TrafficLogWriter::sigStatusMessage, this, &MainWindow::slotWriteLogLine);
    connect(values, &ValueRecorder::sigStatusMessage, this, &MainWindow::slotWriteLogLine);

    m_trendsPage = new TrendsPage(m_recording->trends(), this);
    connect(m_trendsPage, &TrendsPage::sigStatusMessage, this, &MainWindow::slotWriteLogLine);
    QDockWidget *trendsDock
            = createGenericDockWidget(m_trendsPage, tr("Trends"), Qt::BottomDockWidgetArea, false);
    // A tab beside the serial monitor: both want the window's width, neither its height.
    const QList<QDockWidget *> docks = accessoryDocks();
    for (QDockWidget *dock : docks) {
        if (dock->widget() == m_serialMonitor) {
            tabifyDockWidget(dock, trendsDock);
            dock->raise();
        }
    }

    QMenu *menu = new QMenu(tr("&Recording"), this);
    menu->setObjectName(QStringLiteral("recordingMenu"));
    menuBar()->insertMenu(m_windowMenu->menuAction(), menu);

    // Start opens a file dialog (hence the dots), Stop ends what runs; each is offered only
    // when it can do something.
    m_recordValuesAction = menu->addAction(tr("Start recording values…"));
    m_recordValuesAction->setObjectName(QStringLiteral("startValueRecordingAction"));
    m_recordValuesAction->setStatusTip(tr("Write every value the laser reports to a CSV file"));
    connect(m_recordValuesAction, &QAction::triggered, this,
            [this] { chooseValueRecording(true); });
    QAction *stopValues = menu->addAction(tr("Stop recording values"));
    stopValues->setObjectName(QStringLiteral("stopValueRecordingAction"));
    stopValues->setEnabled(false);
    connect(stopValues, &QAction::triggered, this, [this] { chooseValueRecording(false); });

    m_recordTrafficAction = menu->addAction(tr("Start recording traffic…"));
    m_recordTrafficAction->setObjectName(QStringLiteral("startTrafficLogAction"));
    m_recordTrafficAction->setStatusTip(tr("Append every line sent and received to a text file"));
    connect(m_recordTrafficAction, &QAction::triggered, this, [this] { chooseTrafficLog(true); });
    QAction *stopTraffic = menu->addAction(tr("Stop recording traffic"));
    stopTraffic->setObjectName(QStringLiteral("stopTrafficLogAction"));
    stopTraffic->setEnabled(false);
    connect(stopTraffic, &QAction::triggered, this, [this] { chooseTrafficLog(false); });

    menu->addSeparator();
    QAction *interval = menu->addAction(tr("Recording interval…"));
    interval->setObjectName(QStringLiteral("recordingIntervalAction"));
    connect(interval, &QAction::triggered, this, &MainWindow::chooseRecordingInterval);
    QAction *folder = menu->addAction(tr("Recording folder…"));
    folder->setObjectName(QStringLiteral("recordingFolderAction"));
    connect(folder, &QAction::triggered, this, &MainWindow::chooseRecordingFolder);
    menu->addSeparator();
    QAction *showTrends = trendsDock->toggleViewAction();
    showTrends->setText(tr("Trends"));
    showTrends->setObjectName(QStringLiteral("showTrendsAction"));
    menu->addAction(showTrends);

    // In the status bar for as long as anything records: a file growing unnoticed for a
    // weekend is the one thing recording must not do.
    auto *valuesIndicator = new QLabel(statusBar());
    valuesIndicator->setObjectName(QStringLiteral("valueRecordingIndicator"));
    valuesIndicator->hide();
    statusBar()->addPermanentWidget(valuesIndicator);
    auto *trafficIndicator = new QLabel(statusBar());
    trafficIndicator->setObjectName(QStringLiteral("trafficLogIndicator"));
    trafficIndicator->hide();
    statusBar()->addPermanentWidget(trafficIndicator);

    connect(values, &ValueRecorder::sigRecordingChanged, this,
            [this, stopValues, valuesIndicator](bool recording, const QString &fileName) {
                m_recordValuesAction->setEnabled(!recording);
                stopValues->setEnabled(recording);
                valuesIndicator->setVisible(recording);
                valuesIndicator->setText(
                        recording ? tr("● Recording values: %1").arg(QFileInfo(fileName).fileName())
                                  : QString());
                valuesIndicator->setToolTip(fileName);
            });
    connect(trafficLog, &TrafficLogWriter::sigStatusChanged, this,
            [this, stopTraffic, trafficIndicator](bool recording, const QString &text) {
                m_recordTrafficAction->setEnabled(!recording);
                stopTraffic->setEnabled(recording);
                trafficIndicator->setVisible(recording);
                trafficIndicator->setText(recording ? tr("● Recording traffic: %1").arg(text)
                                                    : QString());
                trafficIndicator->setToolTip(m_recording->trafficLog()->fileName());
                if (m_serialMonitor) {
                    m_serialMonitor->setTrafficLogStatus(recording, text);
                }
            });
    if (m_serialMonitor) {
        connect(m_serialMonitor, &SerialMonitor::sigRecordToFileToggled, this,
                &MainWindow::chooseTrafficLog);
    }
}

bool MainWindow::startTrafficLog(const QString &path)
{
    return m_recording->trafficLog()->start(path);
}

bool MainWindow::startValueRecording(const QString &path)
{
    return m_recording->values()->startFile(path);
}

RecordingService *MainWindow::recording() const
{
    return m_recording;
}

TrendsPage *MainWindow::trendsPage() const
{
    return m_trendsPage;
}

void MainWindow::chooseTrafficLog(bool record)
{
    TrafficLogWriter *trafficLog = m_recording->trafficLog();
    if (!record) {
        trafficLog->stop();
        return;
    }
    const QString path = askForRecordingFile(this, tr("Record traffic to file"), "traffic", "log",
                                             tr("Traffic log (*.log *.txt)"));
    // Cancelled or failed: the monitor's box goes back to what is true.
    if (path.isEmpty() || !trafficLog->start(path)) {
        if (m_serialMonitor) {
            m_serialMonitor->setTrafficLogStatus(trafficLog->isRecording(),
                                                 trafficLog->statusText());
        }
    }
}

void MainWindow::chooseValueRecording(bool record)
{
    ValueRecorder *values = m_recording->values();
    if (!record) {
        values->stopFile();
        return;
    }
    const QString path = askForRecordingFile(this, tr("Record values"), "values", "csv",
                                             tr("CSV file (*.csv)"));
    if (!path.isEmpty()) {
        values->startFile(path);
    }
}

void MainWindow::chooseRecordingInterval()
{
    bool accepted = false;
    const int milliseconds = QInputDialog::getInt(
            this, tr("Recording interval"),
            tr("One row of values every (ms); changing it clears the trends:"),
            m_recording->values()->intervalMs(), ValueRecorder::MinimumIntervalMs, 3600 * 1000, 100,
            &accepted);
    if (accepted) {
        m_recording->setIntervalMs(milliseconds);
    }
}

void MainWindow::chooseRecordingFolder()
{
    // A folder that does not exist yet would open the dialog somewhere else, with nothing
    // to choose: the folder the recordings go to is made first.
    QDir().mkpath(RecordingSettings::folder());
    const QString folder = QFileDialog::getExistingDirectory(
            this, tr("Recording folder"), RecordingSettings::folder(),
            QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog);
    if (!folder.isEmpty()) {
        RecordingSettings::setFolder(folder);
    }
}
