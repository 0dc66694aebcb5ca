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
#include <QLineEdit>
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
    QTest::newRow("recorded values") << "recordValuesAction"
                                     << "Record values"
                                     << "values.csv";
    QTest::newRow("traffic log") << "recordTrafficAction"
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
    } else if (opener == QLatin1String("recordValuesAction")) {
        QVERIFY(window.recording()->values()->isRecording());
        QVERIFY(window.findChild<QAction *>(opener)->isChecked());
        window.recording()->values()->stopFile();
        QString error;
        const QVector<QStringList> rows = readCsvWithPython(path, &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QVERIFY(!rows.isEmpty());
        QCOMPARE(rows.at(0).size(), 1 + RecordedQuantities::count());
    } else {
        QVERIFY(window.recording()->trafficLog()->isRecording());
        QVERIFY(window.findChild<QAction *>(opener)->isChecked());
        window.recording()->trafficLog()->stop();
    }
}

void TestRecordingDialogs::cancelWritesNothing_data()
{
    QTest::addColumn<QString>("opener");

    QTest::newRow("export plot") << "exportPlotButton";
    QTest::newRow("export data") << "exportDataButton";
    QTest::newRow("record values") << "recordValuesAction";
    QTest::newRow("record traffic") << "recordTrafficAction";
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
    // The menu entries are checkable: cancelled, they say again that nothing records.
    QVERIFY(!window.findChild<QAction *>(QStringLiteral("recordValuesAction"))->isChecked());
    QVERIFY(!window.findChild<QAction *>(QStringLiteral("recordTrafficAction"))->isChecked());
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

QTEST_MAIN(TestRecordingDialogs)
#include "tst_recordingdialogs.moc"
