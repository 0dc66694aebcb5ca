// Recording as the operator meets it in the main window: the Recording menu, the serial
// monitor's "Record to file…" box and its file label, and failures that only cost a message.

#include "_applog.h"
#include "applicationidentity.h"
#include "mainwindow.h"
#include "recordingservice.h"
#include "trafficlogwriter.h"
#include "trendspage.h"
#include "valuerecorder.h"

#include <QAction>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QtTest>

class TestRecordingWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
        qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
        ApplicationIdentity::apply(QCoreApplication::instance());
    }

    void recordingMenuOffersEverything()
    {
        MainWindow window;
        auto *menu = window.findChild<QMenu *>(QStringLiteral("recordingMenu"));
        QVERIFY(menu);
        QStringList names;
        const QList<QAction *> actions = menu->actions();
        for (const QAction *action : actions) {
            if (!action->isSeparator()) {
                names << action->text();
            }
        }
        QCOMPARE(names,
                 (QStringList{QStringLiteral("Start recording values…"),
                              QStringLiteral("Stop recording values"),
                              QStringLiteral("Start recording traffic…"),
                              QStringLiteral("Stop recording traffic"),
                              QStringLiteral("Recording interval…"),
                              QStringLiteral("Recording folder…"), QStringLiteral("Trends")}));
        QVERIFY(window.trendsPage());
    }

    void trafficLogShowsInTheMonitor()
    {
        MainWindow window;
        const QString path = m_home.filePath(QStringLiteral("logs/traffic.log"));
        QVERIFY(window.startTrafficLog(path));
        auto *box = window.findChild<QCheckBox *>(QStringLiteral("checkBoxRecord"));
        auto *label = window.findChild<QLabel *>(QStringLiteral("labelRecordFile"));
        QVERIFY(box && label);
        QVERIFY(box->isChecked());
        QVERIFY2(label->text().startsWith(QStringLiteral("traffic.log (")),
                 qPrintable(label->text()));
        QVERIFY(window.findChild<QAction *>(QStringLiteral("stopTrafficLogAction"))->isEnabled());
        QVERIFY(!window.findChild<QAction *>(QStringLiteral("startTrafficLogAction"))->isEnabled());
        // Clearing the box stops the log.
        box->click();
        QVERIFY(!window.recording()->trafficLog()->isRecording());
        QVERIFY(label->text().isEmpty());
        QVERIFY(!window.findChild<QAction *>(QStringLiteral("stopTrafficLogAction"))->isEnabled());
        QVERIFY(window.findChild<QAction *>(QStringLiteral("startTrafficLogAction"))->isEnabled());
    }

    void unwritablePathsCostOnlyAMessage()
    {
        MainWindow window;
        QFile blocker(m_home.filePath(QStringLiteral("blocker")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        const QString traffic = blocker.fileName() + QStringLiteral("/traffic.log");
        const QString values = blocker.fileName() + QStringLiteral("/values.csv");
        QVERIFY(!window.startTrafficLog(traffic));
        QVERIFY(!window.startValueRecording(values));
        const QString log = _AppLog::getLogDocument()->toPlainText();
        QVERIFY2(log.contains(QStringLiteral("Traffic log: cannot write to %1").arg(traffic)),
                 qPrintable(log));
        QVERIFY2(log.contains(QStringLiteral("Value recording: cannot write to %1").arg(values)),
                 qPrintable(log));
        QVERIFY(!window.findChild<QCheckBox *>(QStringLiteral("checkBoxRecord"))->isChecked());
        QVERIFY(!window.findChild<QAction *>(QStringLiteral("stopValueRecordingAction"))
                         ->isEnabled());
        // And the window carries on: a good path works right after.
        QVERIFY(window.startValueRecording(m_home.filePath(QStringLiteral("values.csv"))));
        QVERIFY(window.findChild<QAction *>(QStringLiteral("stopValueRecordingAction"))
                        ->isEnabled());
        window.recording()->values()->stopFile();
    }

private:
    QTemporaryDir m_home;
};

QTEST_MAIN(TestRecordingWindow)
#include "tst_recordingwindow.moc"
