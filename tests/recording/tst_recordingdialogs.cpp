// The file dialogs behind the trends page's exports and the Recording menu, filled in as an
// operator would: open through the button or menu entry, type a name, press the dialog's
// Save (or Choose), then look at what was written; Cancel writes nothing.

#include "applicationidentity.h"
#include "csvcheck.h"
#include "mainwindow.h"
#include "recordedquantities.h"
#include "recordingservice.h"
#include "recordingsettings.h"
#include "trafficlogwriter.h"
#include "trendsmodel.h"
#include "trendspage.h"
#include "valuerecorder.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

#include <functional>

namespace {

// Polls the event loop of the modal dialog about to open; gives up after this many turns.
static constexpr int DialogPolls = 500;
static constexpr int DialogPollMs = 10;

} // namespace

class TestRecordingDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void saveDialogWritesTheFile_data();
    void saveDialogWritesTheFile();
    void cancelWritesNothing_data();
    void cancelWritesNothing();
    void folderDialogSetsTheRecordingFolder();
    void startAndStopFromTheMenu_data();
    void startAndStopFromTheMenu();
    void folderDialogStartsInTheRecordingFolder_data();
    void folderDialogStartsInTheRecordingFolder();

private:
    // Opens the dialog through the named button or menu action, types name into it and
    // presses the button of role; records the dialog's title.
    void fillInDialog(MainWindow &window, const QString &opener, const QString &name,
                      QDialogButtonBox::ButtonRole role);
    void whenDialogOpens(const std::function<void(QFileDialog *)> &handle, int pollsLeft);
    QStringList filesInFolder() const;

    QTemporaryDir m_home;
    QString m_folder;
    QString m_dialogTitle;
    bool m_dialogHandled = false;
};

void TestRecordingDialogs::initTestCase()
{
    QVERIFY(m_home.isValid());
    qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
    ApplicationIdentity::apply(QCoreApplication::instance());
}

void TestRecordingDialogs::init()
{
    // A fresh, empty recording folder per test: the dialogs start there.
    static int folderNumber = 0;
    m_folder = m_home.filePath(QStringLiteral("recordings%1").arg(++folderNumber));
    QVERIFY(QDir().mkpath(m_folder));
    RecordingSettings::setFolder(m_folder);
    m_dialogTitle.clear();
    m_dialogHandled = false;
}

void TestRecordingDialogs::cleanup()
{
    // A dialog left open would block the next test.
    QVERIFY(!QApplication::activeModalWidget());
}

void TestRecordingDialogs::whenDialogOpens(const std::function<void(QFileDialog *)> &handle,
                                           int pollsLeft)
{
    QTimer::singleShot(DialogPollMs, this, [this, handle, pollsLeft] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (dialog && dialog->isVisible()) {
            handle(dialog);
        } else if (pollsLeft > 0) {
            whenDialogOpens(handle, pollsLeft - 1);
        }
    });
}

void TestRecordingDialogs::fillInDialog(MainWindow &window, const QString &opener,
                                        const QString &name, QDialogButtonBox::ButtonRole role)
{
    whenDialogOpens(
            [this, name, role](QFileDialog *dialog) {
                m_dialogTitle = dialog->windowTitle();
                auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
                auto *buttons = dialog->findChild<QDialogButtonBox *>();
                if (!edit || !buttons) {
                    dialog->reject();
                    return;
                }
                edit->setFocus();
                QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
                QTest::keyClicks(edit, name);
                const QList<QAbstractButton *> all = buttons->buttons();
                for (QAbstractButton *button : all) {
                    if (buttons->buttonRole(button) == role) {
                        m_dialogHandled = true;
                        button->click();
                        return;
                    }
                }
                dialog->reject();
            },
            DialogPolls);
    if (auto *button = window.findChild<QToolButton *>(opener)) {
        button->click();
    } else if (auto *action = window.findChild<QAction *>(opener)) {
        action->trigger();
    } else {
        QFAIL(qPrintable(QStringLiteral("nothing named %1 opens a dialog").arg(opener)));
    }
}

QStringList TestRecordingDialogs::filesInFolder() const
{
    return QDir(m_folder).entryList(QDir::Files);
}

// A trends page with five minutes of a warming oven, in a shown main window.
static void fillTrends(MainWindow &window)
{
    TrendsModel *model = window.recording()->trends();
    QVector<float> row(model->seriesCount(), 20.0f);
    const qint64 start = QDateTime::currentMSecsSinceEpoch() - 300000;
    for (int i = 0; i < 300; ++i) {
        row[0] = 20.0f + float(i) * 0.1f;
        model->append(start + qint64(i) * 1000, row);
    }
    window.trendsPage()->redraw();
}

void TestRecordingDialogs::saveDialogWritesTheFile_data()
{
    QTest::addColumn<QString>("opener");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("name");

    QTest::newRow("plot as PNG") << "exportPlotButton"
                                 << "Export plot"
                                 << "plot.png";
    QTest::newRow("plot as PDF") << "exportPlotButton"
                                 << "Export plot"
                                 << "plot.pdf";
    QTest::newRow("data as CSV") << "exportDataButton"
                                 << "Export data"
                                 << "data.csv";
    QTest::newRow("recorded values") << "startValueRecordingAction"
                                     << "Record values"
                                     << "values.csv";
    QTest::newRow("traffic log") << "startTrafficLogAction"
                                 << "Record traffic to file"
                                 << "traffic.log";
}

void TestRecordingDialogs::saveDialogWritesTheFile()
{
    QFETCH(QString, opener);
    QFETCH(QString, title);
    QFETCH(QString, name);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    fillTrends(window);

    fillInDialog(window, opener, name, QDialogButtonBox::AcceptRole);
    QVERIFY(m_dialogHandled);
    QCOMPARE(m_dialogTitle, title);
    QCOMPARE(filesInFolder(), QStringList{name});
    const QString path = QDir(m_folder).filePath(name);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));

    if (name.endsWith(QLatin1String(".png"))) {
        const QImage image(path);
        QVERIFY(!image.isNull());
        QVERIFY(image.width() > 200);
    } else if (name.endsWith(QLatin1String(".pdf"))) {
        QCOMPARE(file.read(5), QByteArray("%PDF-"));
    } else if (opener == QLatin1String("exportDataButton")) {
        QString error;
        const QVector<QStringList> rows = readCsvWithPython(path, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QCOMPARE(rows.size(), 1 + 300);
        QCOMPARE(rows.at(0).at(0), QStringLiteral("Time"));
    } else if (opener == QLatin1String("startValueRecordingAction")) {
        QVERIFY(window.recording()->values()->isRecording());
        QVERIFY(!window.findChild<QAction *>(opener)->isEnabled());
        window.recording()->values()->stopFile();
        QString error;
        const QVector<QStringList> rows = readCsvWithPython(path, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QVERIFY(!rows.isEmpty());
        QCOMPARE(rows.at(0).size(), 1 + RecordedQuantities::count());
    } else {
        QVERIFY(window.recording()->trafficLog()->isRecording());
        QVERIFY(!window.findChild<QAction *>(opener)->isEnabled());
        window.recording()->trafficLog()->stop();
    }
}

void TestRecordingDialogs::cancelWritesNothing_data()
{
    QTest::addColumn<QString>("opener");

    QTest::newRow("export plot") << "exportPlotButton";
    QTest::newRow("export data") << "exportDataButton";
    QTest::newRow("record values") << "startValueRecordingAction";
    QTest::newRow("record traffic") << "startTrafficLogAction";
}

void TestRecordingDialogs::cancelWritesNothing()
{
    QFETCH(QString, opener);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    fillTrends(window);

    fillInDialog(window, opener, QStringLiteral("cancelled.csv"), QDialogButtonBox::RejectRole);
    QVERIFY(m_dialogHandled);
    QCOMPARE(filesInFolder(), QStringList());
    QVERIFY(!window.recording()->values()->isRecording());
    QVERIFY(!window.recording()->trafficLog()->isRecording());
    // Cancelled, the menu still offers to start and nothing to stop.
    QVERIFY(window.findChild<QAction *>(QStringLiteral("startValueRecordingAction"))->isEnabled());
    QVERIFY(!window.findChild<QAction *>(QStringLiteral("stopValueRecordingAction"))->isEnabled());
    QVERIFY(window.findChild<QAction *>(QStringLiteral("startTrafficLogAction"))->isEnabled());
    QVERIFY(!window.findChild<QAction *>(QStringLiteral("stopTrafficLogAction"))->isEnabled());
}

void TestRecordingDialogs::folderDialogSetsTheRecordingFolder()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QString chosen = QDir(m_folder).filePath(QStringLiteral("chosen"));
    QVERIFY(QDir().mkpath(chosen));

    fillInDialog(window, QStringLiteral("recordingFolderAction"), QStringLiteral("chosen"),
                 QDialogButtonBox::AcceptRole);
    QVERIFY(m_dialogHandled);
    QCOMPARE(m_dialogTitle, QStringLiteral("Recording folder"));
    QCOMPARE(QDir(RecordingSettings::folder()).canonicalPath(), QDir(chosen).canonicalPath());

    // Cancelled, the folder stays.
    m_dialogHandled = false;
    fillInDialog(window, QStringLiteral("recordingFolderAction"), QString(),
                 QDialogButtonBox::RejectRole);
    QVERIFY(m_dialogHandled);
    QCOMPARE(QDir(RecordingSettings::folder()).canonicalPath(), QDir(chosen).canonicalPath());
}

// Through the menu bar as the operator goes: the Recording menu, "Start recording …", a file
// name, Save; the status bar says what records, and the same menu stops it.
void TestRecordingDialogs::startAndStopFromTheMenu_data()
{
    QTest::addColumn<QString>("startText");
    QTest::addColumn<QString>("stopText");
    QTest::addColumn<QString>("indicator");
    QTest::addColumn<QString>("name");
    QTest::newRow("values") << "Start recording values…"
                            << "Stop recording values"
                            << "valueRecordingIndicator"
                            << "values.csv";
    QTest::newRow("traffic") << "Start recording traffic…"
                             << "Stop recording traffic"
                             << "trafficLogIndicator"
                             << "traffic.log";
}

void TestRecordingDialogs::startAndStopFromTheMenu()
{
    QFETCH(QString, startText);
    QFETCH(QString, stopText);
    QFETCH(QString, indicator);
    QFETCH(QString, name);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *menu = window.findChild<QMenu *>(QStringLiteral("recordingMenu"));
    QVERIFY(menu);
    const auto actionText = [menu](const QString &text) -> QAction * {
        for (QAction *action : menu->actions()) {
            if (action->text() == text) {
                return action;
            }
        }
        return nullptr;
    };
    QAction *start = actionText(startText);
    QAction *stop = actionText(stopText);
    QVERIFY(start && stop);
    QVERIFY(start->isEnabled());
    QVERIFY(!stop->isEnabled());
    auto *label = window.findChild<QLabel *>(indicator);
    QVERIFY(label);
    QVERIFY(!label->isVisible());

    const auto clickInMenu = [&](QAction *action) {
        QMenuBar *bar = window.menuBar();
        QTest::mouseClick(bar, Qt::LeftButton, {},
                          bar->actionGeometry(menu->menuAction()).center());
        QTRY_VERIFY(menu->isVisible());
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
    };
    whenDialogOpens(
            [this, name](QFileDialog *dialog) {
                auto *edit = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
                edit->setFocus();
                QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
                QTest::keyClicks(edit, name);
                m_dialogHandled = true;
                QTest::keyClick(edit, Qt::Key_Return);
            },
            DialogPolls);
    clickInMenu(start);
    QVERIFY(m_dialogHandled);
    QTRY_VERIFY(window.recording()->values()->isRecording()
                || window.recording()->trafficLog()->isRecording());
    QVERIFY(!start->isEnabled());
    QVERIFY(stop->isEnabled());
    QVERIFY(label->isVisible());
    QVERIFY2(label->text().startsWith(QStringLiteral("\u25cf Recording "))
                     && label->text().contains(name),
             qPrintable(label->text()));

    clickInMenu(stop);
    QTRY_VERIFY(!window.recording()->values()->isRecording()
                && !window.recording()->trafficLog()->isRecording());
    QVERIFY(start->isEnabled());
    QVERIFY(!stop->isEnabled());
    QVERIFY(!label->isVisible());
    QCOMPARE(filesInFolder(), QStringList{name});
}

// The operator opens the dialog and chooses at once: the dialog shows the recording folder,
// also before anything was ever recorded there, and Choose takes it as it is.
void TestRecordingDialogs::folderDialogStartsInTheRecordingFolder_data()
{
    QTest::addColumn<bool>("exists");
    QTest::newRow("folder exists") << true;
    QTest::newRow("folder not made yet") << false;
}

void TestRecordingDialogs::folderDialogStartsInTheRecordingFolder()
{
    QFETCH(bool, exists);
    const QString folder = QDir(m_folder).filePath(QStringLiteral("not yet"));
    if (exists) {
        QVERIFY(QDir().mkpath(folder));
    }
    RecordingSettings::setFolder(folder);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QString shownFolder;
    bool chooseEnabled = false;
    whenDialogOpens(
            [&](QFileDialog *dialog) {
                shownFolder = dialog->directory().absolutePath();
                auto *buttons = dialog->findChild<QDialogButtonBox *>();
                QAbstractButton *choose = nullptr;
                for (QAbstractButton *button : buttons->buttons()) {
                    if (buttons->buttonRole(button) == QDialogButtonBox::AcceptRole) {
                        choose = button;
                    }
                }
                chooseEnabled = choose && choose->isEnabled();
                m_dialogHandled = true;
                if (choose && choose->isEnabled()) {
                    QTest::mouseClick(choose, Qt::LeftButton);
                } else {
                    dialog->reject();
                }
            },
            DialogPolls);
    window.findChild<QAction *>(QStringLiteral("recordingFolderAction"))->trigger();
    QVERIFY(m_dialogHandled);
    QCOMPARE(shownFolder, QDir(folder).absolutePath());
    QVERIFY(chooseEnabled);
    QCOMPARE(QDir(RecordingSettings::folder()).absolutePath(), QDir(folder).absolutePath());
}

QTEST_MAIN(TestRecordingDialogs)
#include "tst_recordingdialogs.moc"
