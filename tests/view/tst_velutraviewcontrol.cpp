// The control panel driven as an operator drives it: clicks on list items, buttons, radios
// and tabs, keys and typed values on sliders, answers to the prompts; and the exact signals
// that come out.

#include "_applog.h"
#include "button.h"
#include "combobox.h"
#include "comboslider.h"
#include "indicator.h"
#include "lineedit.h"
#include "panelkit.h"
#include "scaleslider.h"
#include "signalrecorder.h"
#include "velutraprogressticker.h"
#include "velutraview.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLoggingCategory>
#include <QPointer>
#include <QRadioButton>
#include <QTabBar>
#include <QTextDocument>
#include <QTimer>
#include <QtTest>

#include <functional>
#include <memory>

namespace {

template<typename T>
T *child(QWidget *root, const QString &name)
{
    T *found = root->findChild<T *>(name);
    if (!found) {
        qWarning("No %s named %s", T::staticMetaObject.className(), qPrintable(name));
    }
    return found;
}

QString valueText(ComboSlider *slider)
{
    return slider->findChild<LineEdit *>(QStringLiteral("valueEdit"))->text();
}

// What one prompt looked like when it came up.
struct Prompt
{
    QString name;
    QString header;
    QString text;
    bool cancelOffered = false;
};

// Answers the modal prompts as they come up, one answer each ("ok" or "cancel"), from inside
// their modal loops; or runs an action of the test's choosing instead of answering.
class PromptAnswerer : public QObject
{
public:
    explicit PromptAnswerer(QStringList answers)
        : m_answers(std::move(answers))
    {
        arm();
    }

    QList<Prompt> prompts;
    std::function<void(QWidget *)> instead;

private:
    void arm()
    {
        QTimer::singleShot(5, this, [this] { answer(); });
    }

    void answer()
    {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal || modal == m_last) {
            if (++m_idleTurns < 100) {
                arm();
            }
            return;
        }
        m_last = modal;
        m_idleTurns = 0;
        Prompt prompt;
        prompt.name = modal->objectName();
        if (auto *header = modal->findChild<QLabel *>(QStringLiteral("promptHeader"))) {
            prompt.header = header->text();
        }
        if (auto *text = modal->findChild<QLabel *>(QStringLiteral("promptText"))) {
            prompt.text = text->text();
        }
        auto *cancel = modal->findChild<Button *>(QStringLiteral("cancelButton"));
        prompt.cancelOffered = cancel && cancel->isVisible();
        prompts.append(prompt);
        if (instead) {
            instead(modal);
            return;
        }
        const QString answer = m_answers.isEmpty() ? QStringLiteral("ok") : m_answers.takeFirst();
        auto *button = modal->findChild<Button *>(answer == QLatin1String("ok")
                                                          ? QStringLiteral("okButton")
                                                          : QStringLiteral("cancelButton"));
        QVERIFY(button);
        QVERIFY(button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
        arm();
    }

    QStringList m_answers;
    QPointer<QWidget> m_last;
    int m_idleTurns = 0;
};

// Finds each dialog the view opens among the application's top-level widgets, lets the test look
// at the panel while it is open, and then clicks its OK button as the operator does.
class OkClicker : public QObject
{
public:
    explicit OkClicker(std::function<void(QWidget *dialog)> whileOpen = {})
        : m_whileOpen(std::move(whileOpen))
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { look(); });
        m_timer.start(10);
    }

    QStringList seen;

private:
    void look()
    {
        const QList<QWidget *> windows = QApplication::topLevelWidgets();
        for (QWidget *window : windows) {
            auto *dialog = qobject_cast<QDialog *>(window);
            if (!dialog || !dialog->isVisible() || m_done.contains(dialog)) {
                continue;
            }
            auto *ok = dialog->findChild<Button *>(QStringLiteral("okButton"));
            if (!ok || !ok->isVisible()) {
                continue;
            }
            m_done.append(dialog);
            seen.append(dialog->objectName());
            if (m_whileOpen) {
                m_whileOpen(dialog);
            }
            QTest::mouseClick(ok, Qt::LeftButton);
            return;
        }
    }

    std::function<void(QWidget *)> m_whileOpen;
    QList<QPointer<QDialog>> m_done;
    QTimer m_timer;
};

} // namespace

class TestVelutraViewControl : public QObject
{
    Q_OBJECT

    std::unique_ptr<VelutraView> m_view;
    std::unique_ptr<SignalRecorder> m_recorder;

    VelutraView *view() { return m_view.get(); }

    QStringList emitted() { return m_recorder->takeAll(); }

    // Opens the list and clicks the item, as the operator does.
    static void pick(ComboBox *box, int index)
    {
        box->showPopup();
        QAbstractItemView *list = box->view();
        QTRY_VERIFY(list->isVisible());
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                          list->visualRect(box->model()->index(index, 0)).center());
        QTRY_VERIFY(!list->isVisible());
    }

    static void type(ComboSlider *slider, const QString &text)
    {
        auto *edit = slider->findChild<LineEdit *>(QStringLiteral("valueEdit"));
        edit->setFocus();
        QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Return);
    }

    void showPage(const char *pageName)
    {
        QWidget *page = child<QWidget>(view(), QString::fromLatin1(pageName));
        for (int i = 0; i < view()->controlPageCount(); ++i) {
            if (view()->controlPage(i) == page) {
                view()->setControlPage(i);
            }
        }
        QVERIFY(page && view()->controlPage(view()->currentControlPage()) == page);
    }

    QString lastLogLine() const
    {
        const QString text = _AppLog::getLogDocument()->toPlainText();
        return text.section(QLatin1Char('\n'), -1);
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
        PanelKit::loadApplicationFonts();
        qApp->setStyleSheet(PanelKit::getApplicationStylesheet());
    }

    void init()
    {
        m_view = std::make_unique<VelutraView>();
        m_view->resize(1366, 768);
        m_view->show();
        QApplication::setActiveWindow(m_view.get());
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
        m_recorder = std::make_unique<SignalRecorder>(m_view.get());
    }

    void cleanup()
    {
        m_recorder.reset();
        m_view.reset();
    }

    // ---- Operating mode ---------------------------------------------------------------------

    void operatingModeChoiceHidesAndShowsTheEnergySlider()
    {
        auto *mode = child<ComboBox>(view(), QStringLiteral("operatingModeCombo"));
        auto *energy = child<ComboSlider>(view(), QStringLiteral("energySlider"));
        view()->setPowerRange_uJ(0, 500);
        view()->setPowerSetpoint_uJ(250);
        pick(mode, 1);
        QCOMPARE(emitted(), QStringList{"operatingModeChanged(1)"});
        QVERIFY(!energy->isVisible());
        pick(mode, 0);
        QCOMPARE(emitted(), QStringList{"operatingModeChanged(0)"});
        QVERIFY(energy->isVisible());
        QCOMPARE(energy->value(), 250.0);
        QCOMPARE(energy->scale(0)->unit(0)->maximum(), 500.0);
    }

    void modeEightCannotBeChosen()
    {
        auto *mode = child<ComboBox>(view(), QStringLiteral("operatingModeCombo"));
        view()->setOperatingMode(1);
        mode->setFocus();
        QTest::keyClick(mode, Qt::Key_Down);
        QTest::keyClick(mode, Qt::Key_End);
        QCOMPARE(mode->currentIndex(), 1);
        QCOMPARE(emitted(), QStringList());
        // The device's mode 8 shows, and the operator can leave it.
        view()->setOperatingMode(2);
        QCOMPARE(mode->currentText(), QStringLiteral("Mode 8"));
        QTest::keyClick(mode, Qt::Key_Up);
        QCOMPARE(emitted(), QStringList{"operatingModeChanged(1)"});
    }

    // ---- Wavelength selector and its prompts ------------------------------------------------

    void wavelengthChoiceAsksTwice_data()
    {
        QTest::addColumn<int>("reported");
        QTest::addColumn<int>("chosen");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<QStringList>("signals");
        QTest::addColumn<QString>("shutterText");
        QTest::addColumn<int>("shown");
        QTest::newRow("first choice, OK") << -1 << 1 << QStringList{"ok", "ok"}
                                          << QStringList{"wavelengthSelectorComboChanged(1)"}
                                          << "Open the Green shutter and close the other "
                                             "shutters.\nClick OK to continue."
                                          << 1;
        QTest::newRow("IR to UV, OK") << 0 << 2 << QStringList{"ok", "ok"}
                                      << QStringList{"wavelengthSelectorComboChanged(2)"}
                                      << "Open the UV shutter and close the IR shutter.\nClick OK "
                                         "to continue."
                                      << 2;
        QTest::newRow("Green to DUV, OK") << 1 << 3 << QStringList{"ok", "ok"}
                                          << QStringList{"wavelengthSelectorComboChanged(3)"}
                                          << "Open the DUV shutter and close the Green "
                                             "shutter.\nClick OK to continue."
                                          << 3;
        QTest::newRow("IR to UV, Cancel")
                << 0 << 2 << QStringList{"cancel"} << QStringList() << QString() << 0;
        QTest::newRow("first choice, Cancel")
                << -1 << 3 << QStringList{"cancel"} << QStringList() << QString() << -1;
    }

    void wavelengthChoiceAsksTwice()
    {
        QFETCH(int, reported);
        QFETCH(int, chosen);
        QFETCH(QStringList, answers);
        QFETCH(QString, shutterText);
        auto *selector = child<ComboBox>(view(), QStringLiteral("wavelengthSelectorCombo"));
        auto *save = child<Button>(view(), QStringLiteral("dynamicWlsSaveButton"));
        view()->setWavelengthSelectorCombo(reported);

        PromptAnswerer answerer(answers);
        pick(selector, chosen);
        QTEST(emitted(), "signals");
        QTEST(selector->currentIndex(), "shown");
        QCOMPARE(save->isEnabled(), selector->currentIndex() >= 0);

        QCOMPARE(answerer.prompts.size(), shutterText.isEmpty() ? 1 : 2);
        const Prompt &warning = answerer.prompts.at(0);
        QCOMPARE(warning.name, QStringLiteral("aomWarningDialog"));
        QCOMPARE(warning.header, QStringLiteral("** Warning **"));
        QCOMPARE(warning.text, QStringLiteral("The AOM will be disabled, click OK to continue."));
        QVERIFY(warning.cancelOffered);
        if (!shutterText.isEmpty()) {
            const Prompt &shutter = answerer.prompts.at(1);
            QCOMPARE(shutter.name, QStringLiteral("shutterDialog"));
            QCOMPARE(shutter.header, QStringLiteral("** Attention **"));
            QCOMPARE(shutter.text, shutterText);
            QVERIFY(!shutter.cancelOffered);
        }
        QVERIFY(!QApplication::activeModalWidget());
    }

    void dynamicSwitchingChangesWavelengthWithoutPrompts()
    {
        auto *selector = child<ComboBox>(view(), QStringLiteral("wavelengthSelectorCombo"));
        view()->setDynamicWavelengthFeature(1);
        view()->setWavelengthSelectorCombo(0);
        PromptAnswerer answerer({});
        pick(selector, 2);
        QCOMPARE(emitted(), QStringList{"wavelengthSelectorComboChanged(2)"});
        QCOMPARE(selector->currentIndex(), 2);
        QTest::qWait(50);
        QVERIFY(answerer.prompts.isEmpty());
        // The save button now stores the set-point for the new wavelength.
        view()->setPowerSetpoint_uJ(250.5);
        QTest::mouseClick(child<Button>(view(), QStringLiteral("dynamicWlsSaveButton")),
                          Qt::LeftButton);
        QCOMPARE(emitted(), QStringList{"dynamicWLS_SaveSetpoint(2,250.5)"});
    }

    void viewDeletedDuringAPromptIsLeftAlone()
    {
        QPointer<VelutraView> watched(view());
        PromptAnswerer answerer({});
        // The port closes while the operator reads the prompt: the panel goes with it.
        answerer.instead = [this](QWidget *) {
            m_recorder.reset();
            m_view.reset();
        };
        watched->newWavelengthSelected(1);
        QVERIFY(!watched);
        QCOMPARE(answerer.prompts.size(), 1);
    }

    void sideWavelengthComboReportsTheChoice()
    {
        auto *side = child<ComboBox>(view(), QStringLiteral("sideWavelengthCombo"));
        pick(side, 2);
        QCOMPARE(emitted(), QStringList{"wavelengthChanged(2)"});
        view()->enableWavelengths(false, true, true);
        side->setFocus();
        // 343 nm is no longer offered: the keys skip it.
        QTest::keyClick(side, Qt::Key_End);
        QCOMPARE(emitted(), QStringList{"wavelengthChanged(1)"});
        QTest::keyClick(side, Qt::Key_Home);
        QCOMPARE(emitted(), QStringList{"wavelengthChanged(0)"});
        view()->setWavelengthSelectorEnabled(false);
        QVERIFY(!side->isEnabled());
    }

    // ---- Wavelength names, held choice, AOM energy level feedback ----------------------------

    void wavelengthsAreListedWithTheirWavelengths()
    {
        auto *selector = child<ComboBox>(view(), QStringLiteral("wavelengthSelectorCombo"));
        QStringList items;
        for (int i = 0; i < selector->count(); ++i) {
            items << selector->itemText(i);
        }
        QCOMPARE(items, (QStringList{"IR 1030 nm", "Green 515 nm", "UV 343 nm", "DUV"}));
    }

    void chosenWavelengthHoldsWhileTheModuleMoves()
    {
        auto *selector = child<ComboBox>(view(), QStringLiteral("wavelengthSelectorCombo"));
        auto *energy = child<ComboSlider>(view(), QStringLiteral("energySlider"));
        view()->setWavelengthSelectorCombo(0);
        QCOMPARE(energy->scale(0)->name(), QStringLiteral("IR Energy control"));

        QString shownDuringShutterPrompt;
        QString energyNameDuringShutterPrompt;
        OkClicker clicker([&](QWidget *dialog) {
            if (dialog->objectName() != QLatin1String("shutterDialog")) {
                return;
            }
            // The module still reports the old output while the operator moves the shutters.
            view()->setWavelengthSelectorCombo(0);
            QCoreApplication::processEvents();
            shownDuringShutterPrompt = selector->currentText();
            energyNameDuringShutterPrompt = energy->scale(0)->name();
        });
        pick(selector, 1);
        QTRY_COMPARE(clicker.seen, (QStringList{"aomWarningDialog", "shutterDialog"}));
        QTRY_VERIFY(!QApplication::activeModalWidget());
        QCOMPARE(emitted(), QStringList{"wavelengthSelectorComboChanged(1)"});
        QCOMPARE(shownDuringShutterPrompt, QStringLiteral("Green 515 nm"));
        QCOMPARE(energyNameDuringShutterPrompt, QStringLiteral("Green Energy control"));
        QCOMPARE(selector->currentText(), QStringLiteral("Green 515 nm"));

        // Still on its way: the old output is not shown again.
        view()->setWavelengthSelectorCombo(0);
        QCOMPARE(selector->currentText(), QStringLiteral("Green 515 nm"));
        // Arrived; from here on the panel follows the module again.
        view()->setWavelengthSelectorCombo(1);
        QCOMPARE(selector->currentText(), QStringLiteral("Green 515 nm"));
        view()->setWavelengthSelectorCombo(2);
        QCOMPARE(selector->currentText(), QStringLiteral("UV 343 nm"));
        QCOMPARE(energy->scale(0)->name(), QStringLiteral("UV Energy control"));
        QCOMPARE(emitted(), QStringList());
    }

    void energyControlIsNamedAfterTheWavelength_data()
    {
        QTest::addColumn<int>("reported");
        QTest::addColumn<QString>("name");
        QTest::newRow("none yet") << -1 << "IR Energy control";
        QTest::newRow("IR") << 0 << "IR Energy control";
        QTest::newRow("Green") << 1 << "Green Energy control";
        QTest::newRow("UV") << 2 << "UV Energy control";
        QTest::newRow("DUV") << 3 << "DUV Energy control";
    }

    void energyControlIsNamedAfterTheWavelength()
    {
        QFETCH(int, reported);
        auto *energy = child<ComboSlider>(view(), QStringLiteral("energySlider"));
        view()->setWavelengthSelectorCombo(1);
        view()->setWavelengthSelectorCombo(reported);
        QTEST(energy->scale(0)->name(), "name");
        // The name on screen is the one the slider shows for its scale.
        bool shown = false;
        for (QLabel *label : energy->findChildren<QLabel *>()) {
            shown = shown || label->text() == energy->scale(0)->name();
        }
        for (QComboBox *box : energy->findChildren<QComboBox *>()) {
            shown = shown || box->currentText() == energy->scale(0)->name();
        }
        QVERIFY(shown);
    }

    void aomEnergyLevelSaysWhatWasSent()
    {
        auto *save = child<Button>(view(), QStringLiteral("dynamicWlsSaveButton"));
        auto *status = child<QLabel>(view(), QStringLiteral("dynamicWlsSaveStatus"));
        QVERIFY2(status, "nothing on the panel says what the button sent");
        view()->setDynamicWavelengthFeatureVisibility(true);
        view()->setWavelengthSelectorCombo(1);
        view()->setPowerSetpoint_uJ(12.5);
        QCOMPARE(status->text(), QString());
        QTest::mouseClick(save, Qt::LeftButton);
        QCOMPARE(emitted(), QStringList{"dynamicWLS_SaveSetpoint(1,12.5)"});
        QVERIFY(status->isVisible());
        QCOMPARE(status->text(), QStringLiteral("Sent: Green 515 nm AOM energy level 12.50 µJ"));
        // Another wavelength's report is not the answer.
        view()->setDynamicWLS_IR_uJ(3.0);
        QCOMPARE(status->text(), QStringLiteral("Sent: Green 515 nm AOM energy level 12.50 µJ"));
        view()->setDynamicWLS_Green_uJ(12.5);
        QCOMPARE(status->text(),
                 QStringLiteral("The module holds Green 515 nm AOM energy level 12.50 µJ"));
    }

    void sideWavelengthNamesTheOnlyWavelength_data()
    {
        QTest::addColumn<bool>("entry0");
        QTest::addColumn<bool>("entry1");
        QTest::addColumn<bool>("entry2");
        QTest::addColumn<QString>("fixed");
        QTest::newRow("no choice offered") << false << false << false << "1030 nm";
        QTest::newRow("515 only") << false << true << false << "515 nm";
        QTest::newRow("343 only") << true << false << false << "343 nm";
        QTest::newRow("a choice") << true << true << true << QString();
    }

    void sideWavelengthNamesTheOnlyWavelength()
    {
        QFETCH(bool, entry0);
        QFETCH(bool, entry1);
        QFETCH(bool, entry2);
        QFETCH(QString, fixed);
        auto *side = child<ComboBox>(view(), QStringLiteral("sideWavelengthCombo"));
        auto *value = child<QLabel>(view(), QStringLiteral("sideWavelengthFixed"));
        QVERIFY2(value, "the side panel has no place for a fixed wavelength");
        // The firmware check resets the choice first and then offers the firmware's own.
        view()->enableWavelengths(false, false, false);
        view()->enableWavelengths(entry0, entry1, entry2);
        if (fixed.isEmpty()) {
            QVERIFY(side->isVisible());
            QVERIFY(side->isEnabled());
            QVERIFY(!value->isVisible());
            QCOMPARE(side->currentIndex(), -1);
            QCOMPARE(side->placeholderText(), QStringLiteral("not reported"));
            // The operator's choice is what the box shows from then on.
            pick(side, 1);
            QCOMPARE(emitted(), QStringList{"wavelengthChanged(1)"});
            QCOMPARE(side->currentText(), QStringLiteral("515 nm"));
        } else {
            QVERIFY(value->isVisible());
            QVERIFY(!side->isVisible());
            QCOMPARE(value->text(), fixed);
            QCOMPARE(side->currentText(), fixed);
            QVERIFY(!side->isEnabled());
        }
        QCOMPARE(emitted(), QStringList());
    }

    void saveButtonNeedsAKnownWavelength()
    {
        auto *save = child<Button>(view(), QStringLiteral("dynamicWlsSaveButton"));
        view()->setPowerSetpoint_uJ(120);
        QTest::mouseClick(save, Qt::LeftButton);
        QCOMPARE(emitted(), QStringList());
        view()->setWavelengthSelectorCombo(1);
        QTest::mouseClick(save, Qt::LeftButton);
        QCOMPARE(emitted(), QStringList{"dynamicWLS_SaveSetpoint(1,120)"});
    }

    // ---- Energy slider ---------------------------------------------------------------------

    void energyUnitsKeepTheirOwnSetpoints()
    {
        auto *energy = child<ComboSlider>(view(), QStringLiteral("energySlider"));
        auto *units = energy->findChild<ComboBox *>(QStringLiteral("unitSelector"));
        view()->setPowerRange_uJ(0, 500);
        view()->setPowerSetpoint_uJ(250);
        view()->setPowerSetpoint_Percent(40);
        type(energy, QStringLiteral("320"));
        QCOMPARE(emitted(), QStringList{"power_uJ_Changed(320)"});

        pick(units, 1);
        QCOMPARE(emitted(), QStringList{"powerIndexChanged(1)"});
        QCOMPARE(energy->value(), 40.0);
        QCOMPARE(valueText(energy), QStringLiteral("40.00"));
        type(energy, QStringLiteral("55.5"));
        QCOMPARE(emitted(), QStringList{"powerPercentChanged(55.5)"});

        // A µJ set-point while % is shown waits until the operator asks for µJ.
        view()->setPowerSetpoint_uJ(300);
        QCOMPARE(valueText(energy), QStringLiteral("55.50"));
        pick(units, 0);
        QCOMPARE(emitted(), QStringList{"powerIndexChanged(0)"});
        QCOMPARE(valueText(energy), QStringLiteral("300.00"));
        QCOMPARE(energy->value(), 300.0);
    }

    // ---- Repetition rate and division -------------------------------------------------------

    void repRateScalesSendTheirOwnSignals()
    {
        auto *rate = child<ComboSlider>(view(), QStringLiteral("repRateSlider"));
        auto *scales = rate->findChild<ComboBox *>(QStringLiteral("scaleSelector"));
        auto *handle = rate->findChild<ScaleSlider *>(QStringLiteral("slider"));
        view()->setRepRateSteps({50, 100, 200, 400});
        view()->setRepRateDividerSteps({1, 2, 4, 8});
        view()->setRepRate(100);
        view()->setRepRateDivider(2);
        handle->setFocus();
        QTest::keyClick(handle, Qt::Key_Right);
        QCOMPARE(emitted(), QStringList{"repRateChanged(200)"});

        pick(scales, 1);
        QCOMPARE(emitted(), QStringList{"repRateScaleIndexChanged(1)"});
        QCOMPARE(rate->value(), 2.0);
        type(rate, QStringLiteral("8"));
        QCOMPARE(emitted(), QStringList{"repRateDividerChanged(8)"});

        pick(scales, 0);
        QCOMPARE(emitted(), QStringList{"repRateScaleIndexChanged(0)"});
        // The rate the operator chose is shown again, not the one before it.
        QCOMPARE(rate->value(), 200.0);
    }

    void divisionSliderSendsTheFactor()
    {
        auto *division = child<ComboSlider>(view(), QStringLiteral("divisionSlider"));
        view()->setDivisionRange(1, 10000000);
        type(division, QStringLiteral("500"));
        QCOMPARE(emitted(), QStringList{"divisionChanged(500)"});
    }

    // ---- Radios, check box, buttons ---------------------------------------------------------

    void digitalGateRadiosSendTheMode()
    {
        showPage("systemSettingsPage");
        auto *radio1 = child<QRadioButton>(view(), QStringLiteral("digitalGateRadio1"));
        auto *radio0 = child<QRadioButton>(view(), QStringLiteral("digitalGateRadio0"));
        view()->setDigitalGate(0);
        QTest::mouseClick(radio1, Qt::LeftButton);
        QCOMPARE(emitted(), QStringList{"digitalGateModeChanged(1)"});
        QCOMPARE(child<QLabel>(view(), QStringLiteral("sideGateLevel0V"))->text(),
                 QStringLiteral("AOM Closed"));
        radio0->setFocus();
        QTest::keyClick(radio0, Qt::Key_Space);
        QCOMPARE(emitted(), QStringList{"digitalGateModeChanged(0)"});
        QCOMPARE(child<QLabel>(view(), QStringLiteral("sideGateLevel0V"))->text(),
                 QStringLiteral("AOM Open"));
    }

    void dynamicFeatureRadiosSendAndWaitForTheDevice()
    {
        showPage("harmonicGeneratorPage");
        auto *lamp = child<Indicator>(view(), QStringLiteral("dynamicWlsIndicator"));
        view()->setDynamicWavelengthFeature(0);
        QTest::mouseClick(child<QRadioButton>(view(), QStringLiteral("dynamicWlsEnableRadio")),
                          Qt::LeftButton);
        QCOMPARE(emitted(), QStringList{"dynamicWavelengthFeature(1)"});
        QCOMPARE(lamp->color(), quint32(Indicator::Off));
        view()->setDynamicWavelengthFeature(1);
        QCOMPARE(lamp->color(), quint32(Indicator::Green));
        QTest::mouseClick(child<QRadioButton>(view(), QStringLiteral("dynamicWlsDisableRadio")),
                          Qt::LeftButton);
        QCOMPARE(emitted(), QStringList{"dynamicWavelengthFeature(0)"});
        QCOMPARE(lamp->color(), quint32(Indicator::Green));

        // With the feature switched off by the operator, a wavelength change asks again.
        showPage("controlPage");
        PromptAnswerer answerer({"cancel"});
        pick(child<ComboBox>(view(), QStringLiteral("wavelengthSelectorCombo")), 1);
        QCOMPARE(answerer.prompts.size(), 1);
        QCOMPARE(emitted(), QStringList());
    }

    void systemInfoCheckBoxShowsTheBox()
    {
        showPage("viewPage");
        auto *box = child<QCheckBox>(view(), QStringLiteral("systemInfoCheckBox"));
        auto *info = child<QWidget>(view(), QStringLiteral("systemInfoBox"));
        // On the box itself, not on the empty end of a stretched row.
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(10, box->height() / 2));
        QCOMPARE(emitted(), QStringList{"systemInfoViewChanged(true)"});
        QVERIFY(info->isVisible());
        box->setFocus();
        QTest::keyClick(box, Qt::Key_Space);
        QCOMPARE(emitted(), QStringList{"systemInfoViewChanged(false)"});
        QVERIFY(!info->isVisible());
    }

    // ---- Ovens -----------------------------------------------------------------------------

    void ovenControlsSendTheirCommands()
    {
        showPage("harmonicGeneratorPage");
        pick(child<ComboBox>(view(), QStringLiteral("ovenModeCombo")), 1);
        QCOMPARE(emitted(), QStringList{"ovenModeComboChanged(1)"});
        view()->setOven1TempSetpointRange(20, 200);
        view()->setOven2TempSetpointRange(20, 200);
        type(child<ComboSlider>(view(), QStringLiteral("oven1Slider")), QStringLiteral("150.5"));
        QCOMPARE(emitted(), QStringList{"oven1SetpointChanged(150.5)"});
        type(child<ComboSlider>(view(), QStringLiteral("oven2Slider")), QStringLiteral("61.25"));
        QCOMPARE(emitted(), QStringList{"oven2SetpointChanged(61.3)"});
    }

    // ---- Crystal spot and the wait dialog ---------------------------------------------------

    void crystalSpotMoveWaitsForTheDevice()
    {
        showPage("harmonicGeneratorPage");
        auto *crystal = child<ComboSlider>(view(), QStringLiteral("crystalSpotSlider"));
        auto *wait = child<QDialog>(view(), QStringLiteral("crystalSpotWaitDialog"));
        view()->setCrystalPositionRange(1, 12);
        view()->setCrystalPosition(4);
        QCOMPARE(emitted(), QStringList{"closeCrystalSpotWarningWindow()"});

        type(crystal, QStringLiteral("6"));
        QCOMPARE(emitted(), QStringList{"crystalSpotSliderChanged(6)"});
        QTRY_VERIFY(wait->isVisible());
        QCOMPARE(QApplication::activeModalWidget(), wait);
        QCOMPARE(child<QLabel>(wait, QStringLiteral("crystalSpotWaitText"))->text(),
                 QStringLiteral("The current spot is changing, please wait"));
        // The event loop runs on while the dialog shows: the device's report closes it.
        view()->setCrystalPosition(6);
        QCOMPARE(emitted(), QStringList{"closeCrystalSpotWarningWindow()"});
        QVERIFY(!wait->isVisible());
        QCOMPARE(crystal->value(), 6.0);
    }

    void sameCrystalSpotOpensNoDialog_data()
    {
        QTest::addColumn<double>("chosen");
        QTest::addColumn<bool>("opens");
        QTest::newRow("same") << 4.0 << false;
        QTest::newRow("half below rounds up") << 3.5 << false;
        QTest::newRow("just below") << 4.49 << false;
        QTest::newRow("half above rounds up") << 4.5 << true;
        QTest::newRow("next") << 5.0 << true;
        QTest::newRow("far below") << 1.0 << true;
    }

    void sameCrystalSpotOpensNoDialog()
    {
        QFETCH(double, chosen);
        auto *wait = child<QDialog>(view(), QStringLiteral("crystalSpotWaitDialog"));
        view()->setCrystalPositionRange(1, 12);
        view()->setCrystalPosition(4);
        emitted();
        view()->newCrystalSpotSelected(chosen);
        QTEST(wait->isVisible(), "opens");
        QCOMPARE(emitted(), QStringList());
    }

    void cancelStopsWaitingAndSendsNothing()
    {
        showPage("harmonicGeneratorPage");
        auto *wait = child<QDialog>(view(), QStringLiteral("crystalSpotWaitDialog"));
        view()->setCrystalPositionRange(1, 12);
        view()->setCrystalPosition(4);
        emitted();
        type(child<ComboSlider>(view(), QStringLiteral("crystalSpotSlider")), QStringLiteral("2"));
        QCOMPARE(emitted(), QStringList{"crystalSpotSliderChanged(2)"});
        QTRY_VERIFY(wait->isVisible());
        QTest::mouseClick(child<Button>(wait, QStringLiteral("cancelButton")), Qt::LeftButton);
        QVERIFY(!wait->isVisible());
        QCOMPARE(emitted(), QStringList());
    }

    void unconfirmedSpotChangeIsLogged()
    {
        auto *wait = child<QDialog>(view(), QStringLiteral("crystalSpotWaitDialog"));
        auto *ticker = child<VelutraProgressTicker>(wait, QStringLiteral("crystalSpotTicker"));
        QVERIFY(ticker);
        view()->setCrystalPosition(4);
        view()->newCrystalSpotSelected(9);
        QVERIFY(wait->isVisible());
        // The ticker ran full and the device never said the crystal arrived.
        emit ticker->sigTimeElapsed();
        QVERIFY(!wait->isVisible());
        QVERIFY2(lastLogLine().endsWith(QStringLiteral("Crystal spot change not confirmed")),
                 qPrintable(lastLogLine()));
        // Once closed, a late tick writes nothing more.
        const int lines = _AppLog::getLogDocument()->blockCount();
        emit ticker->sigTimeElapsed();
        QCOMPARE(_AppLog::getLogDocument()->blockCount(), lines);
    }

    // ---- Pages and keyboard -----------------------------------------------------------------

    void tabsSwitchPages()
    {
        auto *tabs = child<QTabBar>(view(), QStringLiteral("panelTabs"));
        for (int tab = tabs->count() - 1; tab >= 0; --tab) {
            QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(tab).center());
            QCOMPARE(view()->currentControlPage(), tab);
        }
        QCOMPARE(emitted(), QStringList());
    }

    void tabMovesDownTheSidePanelIntoThePage()
    {
        auto *side = child<ComboBox>(view(), QStringLiteral("sideWavelengthCombo"));
        side->setFocus();
        QVERIFY(side->hasFocus());
        const QStringList expected
                = {"operatingModeCombo", "wavelengthSelectorCombo", "dynamicWlsSaveButton"};
        view()->setWavelengthSelectorCombo(0);
        for (const QString &name : expected) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QCOMPARE(QApplication::focusWidget()->objectName(), name);
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        // The energy slider takes focus on its handle.
        QVERIFY(child<ComboSlider>(view(), QStringLiteral("energySlider"))
                        ->isAncestorOf(QApplication::focusWidget()));
        QCOMPARE(emitted(), QStringList());
    }
};

QTEST_MAIN(TestVelutraViewControl)
#include "tst_velutraviewcontrol.moc"
