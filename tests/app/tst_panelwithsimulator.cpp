// The whole program in one process against the virtual laser: the main window opens the
// simulator's port, the controller builds the panel, and everything below is read from the
// panel's widgets and from the simulator's trace of the commands it received.

#include "_applog.h"
#include "applicationidentity.h"
#include "button.h"
#include "combobox.h"
#include "comboslider.h"
#include "guiwidget.h"
#include "indicator.h"
#include "lineedit.h"
#include "mainwindow.h"
#include "serialportlist.h"
#include "simulatorsession.h"
#include "velutracontroller.h"
#include "velutraview.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QLabel>
#include <QPointer>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

constexpr int s_connectTimeoutMs = 30000;
constexpr int s_valueTimeoutMs = 20000;
const QSize s_screenSize(1366, 768);

// The commands the simulator received, in order: its trace's CMD records, unescaped.
QList<QByteArray> tracedCommands(const QString &traceFile)
{
    QFile file(traceFile);
    QList<QByteArray> commands;
    if (!file.open(QIODevice::ReadOnly)) {
        return commands;
    }
    static const QByteArray s_marker(" CMD \"");
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        const int start = line.indexOf(s_marker);
        const int end = line.lastIndexOf('"');
        if (line.startsWith('#') || start < 0 || end < start + s_marker.size()) {
            continue;
        }
        const QByteArray escaped = line.mid(start + s_marker.size(), end - start - s_marker.size());
        QByteArray command;
        for (int i = 0; i < escaped.size(); ++i) {
            const char c = escaped.at(i);
            if (c != '\\' || i + 1 >= escaped.size()) {
                command.append(c);
                continue;
            }
            const char next = escaped.at(++i);
            switch (next) {
            case 'n':
                command.append('\n');
                break;
            case 'r':
                command.append('\r');
                break;
            case 't':
                command.append('\t');
                break;
            case 'x':
                command.append(char(escaped.mid(i + 1, 2).toInt(nullptr, 16)));
                i += 2;
                break;
            default:
                command.append(next);
                break;
            }
        }
        commands.append(command);
    }
    return commands;
}

QList<QByteArray> startingWith(const QList<QByteArray> &commands, const QByteArray &start)
{
    QList<QByteArray> found;
    for (const QByteArray &command : commands) {
        if (command.startsWith(start)) {
            found.append(command);
        }
    }
    return found;
}

int countStartingWith(const QList<QByteArray> &commands, const QByteArray &start)
{
    return startingWith(commands, start).size();
}

// A command that changes something on the device, as opposed to one that only reads.
bool isSetCommand(const QByteArray &command)
{
    static const QList<QByteArray> s_plainReads = {"s6", "s7", "s8", "s9", "ly_system_info"};
    return !command.endsWith('?') && !s_plainReads.contains(command);
}

// Answers the modal prompts one after the other, from inside their modal loops, by clicking
// the button named in turn ("ok" or "cancel"); writes down the prompts it saw.
class PromptAnswerer : public QObject
{
public:
    explicit PromptAnswerer(QStringList answers)
        : m_answers(std::move(answers))
    {
        arm();
    }

    QStringList promptNames;

private:
    void arm()
    {
        QTimer::singleShot(10, this, [this] { answer(); });
    }

    void answer()
    {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal || modal == m_last) {
            if (++m_idleTurns < 300) {
                arm();
            }
            return;
        }
        m_last = modal;
        m_idleTurns = 0;
        promptNames.append(modal->objectName());
        const QString answer = m_answers.isEmpty() ? QStringLiteral("none") : m_answers.takeFirst();
        auto *button = modal->findChild<Button *>(answer == QLatin1String("ok")
                                                          ? QStringLiteral("okButton")
                                                          : QStringLiteral("cancelButton"));
        QVERIFY2(button && button->isVisible(), qPrintable(answer));
        QTest::mouseClick(button, Qt::LeftButton);
        arm();
    }

    QStringList m_answers;
    QPointer<QWidget> m_last;
    int m_idleTurns = 0;
};

} // namespace

class TestPanelWithSimulator : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void panelShowsTheDevice_data();
    void panelShowsTheDevice();
    void energySliderPutsOneCommandOnTheWire();
    void wavelengthChangeNeedsBothPrompts();
    void disconnectionGreysThePanelAndReconnectionRefreshesIt();

private:
    void start(const QString &module, const QStringList &extra = {});
    void control(const QByteArray &command);
    QList<QByteArray> commands() const { return tracedCommands(m_traceFile); }
    VelutraView *view() const;
    GUIWidget *panel() const;
    template<typename T>
    T *widget(const char *name) const;
    QString text(const char *name) const;
    QString sliderText(const char *name) const;
    void pick(ComboBox *box, int index);
    void typeInto(ComboSlider *slider, const QString &value);
    void saveScreenshots(const QString &directory);

    QTemporaryDir m_home;
    std::unique_ptr<QProcess> m_simulator;
    std::unique_ptr<MainWindow> m_window;
    QString m_traceFile;
};

void TestPanelWithSimulator::initTestCase()
{
    QVERIFY(m_home.isValid());
    qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
    const QString runtime = m_home.filePath(QStringLiteral("runtime"));
    QVERIFY(QDir().mkpath(runtime));
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
    ApplicationIdentity::apply(QCoreApplication::instance());
    SerialportList::setIncludeSystemPorts(false);
}

void TestPanelWithSimulator::init()
{
    // One application log serves every window of the process: each session starts afresh.
    _AppLog::getLogDocument()->clear();
}

void TestPanelWithSimulator::cleanup()
{
    m_window.reset();
    if (m_simulator) {
        stopSimulatorProcess(*m_simulator);
    }
    m_simulator.reset();
}

void TestPanelWithSimulator::start(const QString &module, const QStringList &extra)
{
    m_traceFile = m_home.filePath(QStringLiteral("trace-%1.txt").arg(QTest::currentTestFunction()));
    QFile::remove(m_traceFile);
    m_simulator = std::make_unique<QProcess>();
    QString port;
    QVERIFY(startSimulatorProcess(*m_simulator,
                                  QStringList{"--module", module, "--no-pacing", "--speed", "50",
                                              "--no-control-socket", "--trace", m_traceFile}
                                          + extra,
                                  &port));
    m_window = std::make_unique<MainWindow>();
    m_window->resize(s_screenSize);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_window->connectToPort(port);
    QTRY_COMPARE(m_window->openPortName(), port);
    QTRY_VERIFY_WITH_TIMEOUT(view() && panel() && panel()->isEnabled(), s_connectTimeoutMs);
    // The identity block has been read once the serial number shows.
    QTRY_COMPARE_WITH_TIMEOUT(text("serialNumber"), QStringLiteral("VX10-2503-0042"),
                              s_valueTimeoutMs);
}

// A control command to the simulator on its standard input.
void TestPanelWithSimulator::control(const QByteArray &command)
{
    QVERIFY(m_simulator->write(command + '\n') == command.size() + 1);
    QVERIFY(m_simulator->waitForBytesWritten(5000));
}

VelutraView *TestPanelWithSimulator::view() const
{
    auto *controller = m_window->findChild<VelutraController *>();
    return controller ? controller->view() : nullptr;
}

GUIWidget *TestPanelWithSimulator::panel() const
{
    auto *controller = m_window->findChild<VelutraController *>();
    return controller ? controller->panelWidget() : nullptr;
}

template<typename T>
T *TestPanelWithSimulator::widget(const char *name) const
{
    VelutraView *panelView = view();
    T *found = panelView ? panelView->findChild<T *>(QLatin1String(name)) : nullptr;
    if (!found) {
        qWarning("no %s named %s on the panel", T::staticMetaObject.className(), name);
    }
    return found;
}

// The text of a read-out label or read-only field.
QString TestPanelWithSimulator::text(const char *name) const
{
    VelutraView *panelView = view();
    if (!panelView) {
        return QString();
    }
    if (auto *label = panelView->findChild<QLabel *>(QLatin1String(name))) {
        return label->text();
    }
    if (auto *edit = panelView->findChild<LineEdit *>(QLatin1String(name))) {
        return edit->text();
    }
    return QStringLiteral("<no %1>").arg(QLatin1String(name));
}

QString TestPanelWithSimulator::sliderText(const char *name) const
{
    auto *slider = widget<ComboSlider>(name);
    auto *edit = slider ? slider->findChild<LineEdit *>(QStringLiteral("valueEdit")) : nullptr;
    return edit ? edit->text() : QString();
}

// Opens the list and clicks the item, as the operator does.
void TestPanelWithSimulator::pick(ComboBox *box, int index)
{
    box->showPopup();
    QAbstractItemView *list = box->view();
    QTRY_VERIFY(list->isVisible());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                      list->visualRect(box->model()->index(index, 0)).center());
}

// Types a value into the slider's field and confirms it, as the operator does.
void TestPanelWithSimulator::typeInto(ComboSlider *slider, const QString &value)
{
    auto *edit = slider->findChild<LineEdit *>(QStringLiteral("valueEdit"));
    QVERIFY(edit);
    QVERIFY(edit->isEnabled());
    edit->setFocus();
    QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(edit, value);
    QTest::keyClick(edit, Qt::Key_Return);
}

void TestPanelWithSimulator::panelShowsTheDevice_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("moduleType");
    QTest::addColumn<QString>("moduleSerial");
    QTest::addColumn<bool>("harmonicPage");
    QTest::addColumn<bool>("secondOven");
    QTest::addColumn<bool>("humidity");

    QTest::newRow("none") << "none"
                          << "???"
                          << "???" << false << false << false;
    QTest::newRow("0x86 SHG") << "0x86"
                              << "0x86 SHG"
                              << "HG86-1907-0023" << true << false << true;
    QTest::newRow("0x8d THG") << "0x8d"
                              << "0x8d THG"
                              << "HG8D-2002-0051" << true << true << false;
    QTest::newRow("0x90 SHGg") << "0x90"
                               << "0x90 SHGg"
                               << "HG90-2305-0108" << true << false << true;
    QTest::newRow("0x93 THGi") << "0x93"
                               << "0x93 THGi"
                               << "HG93-2410-0117" << true << true << true;
}

void TestPanelWithSimulator::panelShowsTheDevice()
{
    QFETCH(QString, module);
    QFETCH(QString, moduleType);
    QFETCH(QString, moduleSerial);
    QFETCH(bool, harmonicPage);
    QFETCH(bool, secondOven);
    QFETCH(bool, humidity);

    start(module);
    if (QTest::currentTestFailed()) {
        return;
    }
    // The device starts at 200 kHz with 5000 nJ set.
    QTRY_COMPARE_WITH_TIMEOUT(sliderText("energySlider"), QStringLiteral("5.00"), s_valueTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(text("outputRepRate"), QStringLiteral("200.000 kHz"),
                              s_valueTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(sliderText("repRateSlider"), QStringLiteral("200.000"),
                              s_valueTimeoutMs);
    // At 200 kHz a Velutra-10 gives 0.5 to 50 µJ.
    auto *energy = widget<ComboSlider>("energySlider");
    QTRY_COMPARE_WITH_TIMEOUT(energy->currentUnit()->minimum(), 0.5, s_valueTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(energy->currentUnit()->maximum(), 50.0, s_valueTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(text("hgModuleType"), moduleType, s_valueTimeoutMs);
    QCOMPARE(text("hgModuleSerialNumber"), moduleSerial);
    VelutraView *panelView = view();
    QCOMPARE(panelView->hasSettingsPageAccess(VelutraView::HarmonicGeneratorPage), harmonicPage);
    auto *tabs = widget<QTabBar>("panelTabs");
    QVERIFY(tabs);
    QCOMPARE(tabs->isTabVisible(VelutraView::HarmonicGeneratorPage), harmonicPage);
    QCOMPARE(widget<ComboBox>("wavelengthSelectorCombo")->isVisibleTo(panelView), harmonicPage);
    if (harmonicPage) {
        auto *page = panelView->controlPage(VelutraView::HarmonicGeneratorPage);
        // The ovens report their set-points; the read-outs are temperatures in °C.
        QTRY_COMPARE_WITH_TIMEOUT(sliderText("oven1Slider"), QStringLiteral("150.0"),
                                  s_valueTimeoutMs);
        QTRY_VERIFY_WITH_TIMEOUT(text("oven1Actual").endsWith(QStringLiteral(" °C")),
                                 s_valueTimeoutMs);
        QCOMPARE(widget<QLabel>("oven1Actual")->isVisibleTo(page), true);
        QCOMPARE(widget<QLabel>("oven2Actual")->isVisibleTo(page), secondOven);
        QCOMPARE(widget<ComboSlider>("oven2Slider")->isVisibleTo(page), secondOven);
        QCOMPARE(widget<QWidget>("crystalSection")->isVisibleTo(page), secondOven);
        QCOMPARE(widget<QLabel>("humidity")->isVisibleTo(page), humidity);
        if (secondOven) {
            QTRY_COMPARE_WITH_TIMEOUT(sliderText("oven2Slider"), QStringLiteral("60.0"),
                                      s_valueTimeoutMs);
            QTRY_VERIFY_WITH_TIMEOUT(text("oven2Actual").endsWith(QStringLiteral(" °C")),
                                     s_valueTimeoutMs);
            QTRY_COMPARE_WITH_TIMEOUT(sliderText("crystalSpotSlider"), QStringLiteral("3"),
                                      s_valueTimeoutMs);
        }
        if (humidity) {
            QTRY_VERIFY_WITH_TIMEOUT(text("humidity").endsWith(QLatin1Char('%')), s_valueTimeoutMs);
        }
    }
    // Showing the device asked nothing of it.
    for (const QByteArray &command : commands()) {
        QVERIFY2(!isSetCommand(command), command.constData());
    }

    const QString directory = qEnvironmentVariable("VELUTRA_SCREENSHOT_DIR");
    if (module == QLatin1String("0x93") && !directory.isEmpty()) {
        saveScreenshots(directory);
    }
}

void TestPanelWithSimulator::saveScreenshots(const QString &directory)
{
    // The panel as an operator sees it after a while: every read-out filled in and the ovens
    // close to their set-points.
    for (const char *name : {"measuredIREnergy", "measuredGreenEnergy", "measuredUVEnergy",
                             "outputPowerIR", "outputPowerGreen", "outputPowerUV", "humidity"}) {
        QTRY_VERIFY2_WITH_TIMEOUT(!text(name).contains(QLatin1String("??")), name,
                                  s_valueTimeoutMs);
    }
    for (const char *name : {"dynamicWlsIRValue", "dynamicWlsGreenValue", "dynamicWlsUVValue"}) {
        QTRY_VERIFY2_WITH_TIMEOUT(!text(name).contains(QLatin1String("??")), name,
                                  s_valueTimeoutMs);
    }
    QTRY_VERIFY_WITH_TIMEOUT(text("oven1Actual").startsWith(QStringLiteral("14"))
                                     || text("oven1Actual").startsWith(QStringLiteral("15")),
                             s_valueTimeoutMs);
    QTRY_VERIFY_WITH_TIMEOUT(!text("hgModuleRuntime").contains(QLatin1String("??")),
                             s_valueTimeoutMs);
    QVERIFY(QDir().mkpath(directory));
    VelutraView *panelView = view();

    // The whole window first, laid out as the program lays it out.
    panelView->setControlPage(VelutraView::ControlPage);
    QTest::qWait(50);
    QCOMPARE(m_window->size(), s_screenSize);
    QVERIFY(m_window->grab().save(QStringLiteral("%1/main-window.png").arg(directory)));

    // Then the pages, with the log and the monitor put away so that the panel has the window.
    const QList<QDockWidget *> docks = m_window->accessoryDocks();
    for (QDockWidget *dock : docks) {
        dock->hide();
    }
    const struct
    {
        VelutraView::Page page;
        const char *file;
    } pages[] = {{VelutraView::ControlPage, "control"},
                 {VelutraView::ViewPage, "view"},
                 {VelutraView::TemperatureDetailsPage, "temperature-details"},
                 {VelutraView::SystemDetailsPage, "system-details"},
                 {VelutraView::SystemSettingsPage, "system-settings"},
                 {VelutraView::HarmonicGeneratorPage, "harmonic-generator"}};
    QCOMPARE(panelView->controlPageCount(), int(std::size(pages)));
    for (const auto &entry : pages) {
        panelView->setControlPage(entry.page);
        QCOMPARE(panelView->currentControlPage(), int(entry.page));
        QTest::qWait(50);
        const QString file = QStringLiteral("%1/panel-%2.png").arg(directory, entry.file);
        QVERIFY2(panelView->grab().save(file), qPrintable(file));
    }
    for (QDockWidget *dock : docks) {
        dock->show();
    }
    panelView->setControlPage(VelutraView::ControlPage);
}

void TestPanelWithSimulator::energySliderPutsOneCommandOnTheWire()
{
    start(QStringLiteral("0x93"));
    if (QTest::currentTestFailed()) {
        return;
    }
    auto *energy = widget<ComboSlider>("energySlider");
    QVERIFY(energy);
    QTRY_COMPARE_WITH_TIMEOUT(sliderText("energySlider"), QStringLiteral("5.00"), s_valueTimeoutMs);

    // The set-point comes first in the reply, the limits at its current rate after it.
    QTRY_COMPARE_WITH_TIMEOUT(energy->currentUnit()->maximum(), 50.0, s_valueTimeoutMs);
    typeInto(energy, QStringLiteral("12.5"));
    QTRY_COMPARE_WITH_TIMEOUT(countStartingWith(commands(), "ly_vtx2_power="), 1, s_valueTimeoutMs);
    QCOMPARE(startingWith(commands(), "ly_vtx2_power="), QList<QByteArray>{"ly_vtx2_power=12500"});
    // Two more polls of the set-point: the device's answer is what shows, and nothing more
    // goes out.
    const auto polls = [this] {
        return commands().count("ly_vtx2_power?");
    };
    const int pollsBefore = polls();
    QTRY_VERIFY_WITH_TIMEOUT(polls() >= pollsBefore + 2, s_valueTimeoutMs);
    QCOMPARE(sliderText("energySlider"), QStringLiteral("12.50"));

    // A value the device refuses: the read-out goes back to what the device holds.
    control("refuse ly_vtx2_power");
    typeInto(energy, QStringLiteral("20"));
    QCOMPARE(sliderText("energySlider"), QStringLiteral("20.00"));
    QTRY_COMPARE_WITH_TIMEOUT(countStartingWith(commands(), "ly_vtx2_power="), 2, s_valueTimeoutMs);
    QCOMPARE(startingWith(commands(), "ly_vtx2_power=").last(), QByteArray("ly_vtx2_power=20000"));
    QTRY_COMPARE_WITH_TIMEOUT(sliderText("energySlider"), QStringLiteral("12.50"),
                              s_valueTimeoutMs);
    const int afterRefusal = polls();
    QTRY_VERIFY_WITH_TIMEOUT(polls() >= afterRefusal + 2, s_valueTimeoutMs);
    QCOMPARE(sliderText("energySlider"), QStringLiteral("12.50"));

    // Every set command on the wire is one of the two the operator typed.
    QList<QByteArray> setCommands;
    for (const QByteArray &command : commands()) {
        if (isSetCommand(command)) {
            setCommands.append(command);
        }
    }
    QCOMPARE(setCommands, (QList<QByteArray>{"ly_vtx2_power=12500", "ly_vtx2_power=20000"}));
}

void TestPanelWithSimulator::wavelengthChangeNeedsBothPrompts()
{
    start(QStringLiteral("0x93"));
    if (QTest::currentTestFailed()) {
        return;
    }
    auto *selector = widget<ComboBox>("wavelengthSelectorCombo");
    QVERIFY(selector);
    // The module reports its output: IR.
    QTRY_COMPARE_WITH_TIMEOUT(selector->currentIndex(), 0, s_valueTimeoutMs);
    QTRY_VERIFY(selector->isEnabled());

    {
        // Cancel on the AOM warning: no second prompt, nothing sent, the selector stays.
        PromptAnswerer answerer({"cancel"});
        pick(selector, 2);
        QTRY_COMPARE(answerer.promptNames, QStringList{"aomWarningDialog"});
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(selector->currentIndex(), 0);
    }
    const auto polls = [this] {
        return commands().count("ls_wavelength?");
    };
    const int pollsBefore = polls();
    QTRY_VERIFY_WITH_TIMEOUT(polls() >= pollsBefore + 2, s_valueTimeoutMs);
    QCOMPARE(countStartingWith(commands(), "ls_wavelength="), 0);
    QCOMPARE(selector->currentIndex(), 0);

    {
        PromptAnswerer answerer({"ok", "ok"});
        pick(selector, 2);
        QTRY_COMPARE(answerer.promptNames, (QStringList{"aomWarningDialog", "shutterDialog"}));
        QTRY_VERIFY(!QApplication::activeModalWidget());
    }
    QTRY_COMPARE_WITH_TIMEOUT(countStartingWith(commands(), "ls_wavelength="), 1, s_valueTimeoutMs);
    QCOMPARE(startingWith(commands(), "ls_wavelength="), QList<QByteArray>{"ls_wavelength=2"});
    // The module moves to UV and says so; the selector shows what it says.
    QTRY_COMPARE_WITH_TIMEOUT(selector->currentIndex(), 2, s_valueTimeoutMs);
    const int afterChange = polls();
    QTRY_VERIFY_WITH_TIMEOUT(polls() >= afterChange + 2, s_valueTimeoutMs);
    QCOMPARE(countStartingWith(commands(), "ls_wavelength="), 1);
    QCOMPARE(selector->currentIndex(), 2);
}

void TestPanelWithSimulator::disconnectionGreysThePanelAndReconnectionRefreshesIt()
{
    start(QStringLiteral("0x93"));
    if (QTest::currentTestFailed()) {
        return;
    }
    QPointer<GUIWidget> greyed = panel();
    QTRY_COMPARE_WITH_TIMEOUT(sliderText("energySlider"), QStringLiteral("5.00"), s_valueTimeoutMs);
    auto *fault = widget<Indicator>("errorcodeHGIndicator");
    QVERIFY(fault);
    QTRY_COMPARE_WITH_TIMEOUT(fault->color(), quint32(Indicator::Off), s_valueTimeoutMs);

    // The device stops answering: after the resend, the link counts as lost.
    control("silent on");
    QTRY_VERIFY_WITH_TIMEOUT(!greyed->isEnabled(), s_connectTimeoutMs);
    QVERIFY(!m_window->openPortName().isEmpty());
    // While nobody hears it, the module starts reporting an error.
    control("hg-error 17");
    control("silent off");

    QTRY_VERIFY_WITH_TIMEOUT(greyed && greyed->isEnabled(), s_connectTimeoutMs);
    QCOMPARE(panel(), greyed.data());
    QTRY_COMPARE_WITH_TIMEOUT(fault->color(), quint32(Indicator::Red), s_valueTimeoutMs);
    QTRY_VERIFY_WITH_TIMEOUT(text("errorcodeHGMessage").contains(QStringLiteral("Humidity")),
                             s_valueTimeoutMs);
    QTRY_COMPARE_WITH_TIMEOUT(sliderText("energySlider"), QStringLiteral("5.00"), s_valueTimeoutMs);
    QCOMPARE(text("serialNumber"), QStringLiteral("VX10-2503-0042"));
    // The handshake ran again.
    QVERIFY(commands().count("ly_system_info") >= 2);
}

QTEST_MAIN(TestPanelWithSimulator)
#include "tst_panelwithsimulator.moc"
