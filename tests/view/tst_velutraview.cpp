// The control panel as the controller drives it: what the operator sees after each public
// slot, read through the widgets.

#include "button.h"
#include "combobox.h"
#include "comboslider.h"
#include "indicator.h"
#include "lineedit.h"
#include "panelkit.h"
#include "signalrecorder.h"
#include "velutraview.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QLoggingCategory>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTabBar>
#include <QtTest>

#include <cmath>
#include <iterator>
#include <limits>
#include <memory>

namespace {

const double s_nan = std::numeric_limits<double>::quiet_NaN();
const double s_inf = std::numeric_limits<double>::infinity();

template<typename T>
T *child(QWidget *root, const QString &name)
{
    return root->findChild<T *>(name);
}

QString valueText(ComboSlider *slider)
{
    auto *edit = slider->findChild<LineEdit *>(QStringLiteral("valueEdit"));
    return edit ? edit->text() : QString();
}

// The label that names a control (its buddy), if the control has one.
QLabel *nameOf(QWidget *root, QWidget *control)
{
    const auto labels = root->findChildren<QLabel *>();
    for (QLabel *label : labels) {
        if (label->buddy() == control) {
            return label;
        }
    }
    return nullptr;
}

bool invoke(QObject *object, const char *slot, QGenericArgument a = QGenericArgument(),
            QGenericArgument b = QGenericArgument(), QGenericArgument c = QGenericArgument())
{
    return QMetaObject::invokeMethod(object, slot, Qt::DirectConnection, a, b, c);
}

} // namespace

class TestVelutraView : public QObject
{
    Q_OBJECT

    std::unique_ptr<VelutraView> m_view;

    VelutraView *view() { return m_view.get(); }

    void fillLikeAThgModule(VelutraView *v)
    {
        v->setVelutraType(QStringLiteral("Velutra-10"));
        v->setAddress(3);
        v->setPowerOnIndicator(true);
        v->setWarningIndicator(true);
        v->setShutterIndicator(true);
        v->setErrorcodeHGMessage(QStringLiteral("Oven 2 not yet at set-point"));
        v->setDynamicWavelengthFeature(1);
        v->setDynamicWLS_IR_uJ(412.5);
        v->setDynamicWLS_Green_uJ(180.25);
        v->setDynamicWLS_UV_Percent(64);
        v->setDynamicWLS_DUV_Visibility(false);
        v->enableWavelengths(true, true, true);
        v->setWavelengthSelector(2);
        v->setSerialNumber(QStringLiteral("VX-10-0457"));
        v->setFirmwareVersion(QStringLiteral("SW.MAIN.VTX.MR.MW3.V1.4.2"));
        v->setSystemInfoView(true);
        v->setDigitalGate(0);
        v->setOperatingMode(0);
        v->setWavelengthSelectorCombo(2);
        v->setPowerMeasuredIR_uJ(398.12);
        v->setPowerMeasuredGreen_uJ(176.4);
        v->setPowerMeasuredUV_uJ(81.07);
        v->setPowerRange_uJ(0, 500);
        v->setPowerSetpoint_uJ(400);
        v->setOutputRepRate(200);
        v->setRepRateSteps({50, 100, 200, 400, 1000});
        v->setRepRate(200);
        v->setDivisionRange(1, 10000);
        v->setDivision(1);
        v->setOutputPowerIRMeasuredW(79.62);
        v->setOutputPowerGreenMeasuredW(35.28);
        v->setOutputPowerUVMeasuredW(16.21);
        v->setHumidityMonitor(21);
        v->setOvenModeVisibility(false);
        v->setOven1TempSetpointRange(20, 200);
        v->setOven1TempSetpoint(148.5);
        v->setOven2TempSetpointRange(20, 200);
        v->setOven2TempSetpoint(61.2);
        v->setOven1TempActual(148.46);
        v->setOven2TempActual(61.23);
        v->setCrystalPositionRange(1, 12);
        v->setCrystalPosition(4);
        v->setCrystalCurRuntime(412 * 3600 + 35 * 60);
        v->setCrystalMaxRuntime(2000 * 3600);
    }

private slots:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.panelkit.warning=false"));
        PanelKit::loadApplicationFonts();
        qApp->setStyleSheet(PanelKit::getApplicationStylesheet());
    }

    void init() { m_view = std::make_unique<VelutraView>(); }
    void cleanup() { m_view.reset(); }

    // ---- Construction ---------------------------------------------------------------------

    void pagesComeInTheirFixedOrder()
    {
        QCOMPARE(view()->controlPageCount(), 6);
        QCOMPARE(view()->currentControlPage(), int(VelutraView::ControlPage));
        auto *tabs = child<QTabBar>(view(), QStringLiteral("panelTabs"));
        QVERIFY(tabs);
        const QStringList titles = {"Control",
                                    "View",
                                    "Temperature Details",
                                    "System Details",
                                    "System settings",
                                    "Harmonic Generator"};
        for (int i = 0; i < titles.size(); ++i) {
            QCOMPARE(tabs->tabText(i), titles.at(i));
        }
        QCOMPARE(view()->controlPage(0)->objectName(), QStringLiteral("controlPage"));
        QCOMPARE(view()->controlPage(1)->objectName(), QStringLiteral("viewPage"));
        QCOMPARE(view()->controlPage(2)->objectName(), QStringLiteral("temperatureDetailsPage"));
        QCOMPARE(view()->controlPage(3)->objectName(), QStringLiteral("systemDetailsPage"));
        QCOMPARE(view()->controlPage(4)->objectName(), QStringLiteral("systemSettingsPage"));
        QCOMPARE(view()->controlPage(5)->objectName(), QStringLiteral("harmonicGeneratorPage"));
        QCOMPARE(view()->tinyHeader(), QStringLiteral("Velutra XP\n"));
    }

    void headerSaysWhatThePanelWaitsFor()
    {
        auto *header = view()->findChild<QLabel *>(QStringLiteral("panelHeaderText"));
        QVERIFY(header);
        QCOMPARE(view()->tinyHeader(), QStringLiteral("Velutra XP\n"));
        QCOMPARE(header->text(), QStringLiteral("VELUTRA-XP: waiting for the laser…"));
        QVERIFY(header->isVisibleTo(view()));
        view()->setVelutraType(QStringLiteral("Velutra-3"));
        QCOMPARE(view()->tinyHeader(), QStringLiteral("Velutra-3\n"));
        QCOMPARE(header->text(), QString());
    }

    void startsWithNothingKnown()
    {
        auto *side = child<ComboBox>(view(), QStringLiteral("sideWavelengthCombo"));
        QCOMPARE(side->currentIndex(), -1);
        QCOMPARE(side->count(), 3);
        QCOMPARE(side->itemText(0), QStringLiteral("1030 nm"));
        QCOMPARE(side->itemText(1), QStringLiteral("515 nm"));
        QCOMPARE(side->itemText(2), QStringLiteral("343 nm"));
        auto *selector = child<ComboBox>(view(), QStringLiteral("wavelengthSelectorCombo"));
        QCOMPARE(selector->currentIndex(), -1);
        QCOMPARE(selector->count(), 4);
        for (const char *name : {"measuredIREnergy", "measuredGreenEnergy", "measuredUVEnergy",
                                 "outputRepRate", "outputPowerIR", "humidity", "oven1Actual"}) {
            QCOMPARE(child<QLabel>(view(), QString::fromLatin1(name))->text(),
                     QStringLiteral("???"));
        }
        for (const char *name : {"dynamicWlsIRValue", "dynamicWlsGreenValue", "dynamicWlsUVValue",
                                 "dynamicWlsDUVValue"}) {
            QCOMPARE(child<QLabel>(view(), QString::fromLatin1(name))->text(),
                     QStringLiteral("??µJ"));
        }
        QVERIFY(!child<Button>(view(), QStringLiteral("dynamicWlsSaveButton"))->isEnabled());
        QCOMPARE(child<Button>(view(), QStringLiteral("dynamicWlsSaveButton"))->text(),
                 QStringLiteral("set AOM\nenergy level"));
        QVERIFY(!child<QWidget>(view(), QStringLiteral("systemInfoBox"))->isVisibleTo(view()));
        QVERIFY(!child<QCheckBox>(view(), QStringLiteral("systemInfoCheckBox"))->isChecked());
        auto *wait = child<QDialog>(view(), QStringLiteral("crystalSpotWaitDialog"));
        QVERIFY(wait);
        QVERIFY(!wait->isVisible());
        QVERIFY(wait->isModal());
    }

    void operatingModeOffersTwoOfThreeItems()
    {
        auto *mode = child<ComboBox>(view(), QStringLiteral("operatingModeCombo"));
        QCOMPARE(mode->count(), 3);
        QCOMPARE(mode->itemText(0), QStringLiteral("Internal"));
        QCOMPARE(mode->itemText(1), QStringLiteral("External"));
        QCOMPARE(mode->itemText(2), QStringLiteral("Mode 8"));
        QVERIFY(mode->isItemVisible(0));
        QVERIFY(mode->isItemVisible(1));
        QVERIFY(!mode->isItemVisible(2));
        view()->setOperatingMode(2);
        QCOMPARE(mode->currentIndex(), 2);
        QCOMPARE(mode->currentText(), QStringLiteral("Mode 8"));
        view()->setOperatingMode(7);
        QCOMPARE(mode->currentIndex(), 2);
    }

    void slidersCarryTheirScalesAndUnits_data()
    {
        QTest::addColumn<QString>("slider");
        QTest::addColumn<int>("scale");
        QTest::addColumn<int>("unit");
        QTest::addColumn<QString>("scaleName");
        QTest::addColumn<QString>("unitName");
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<int>("scaleType");
        QTest::newRow("energy µJ") << "energySlider" << 0 << 0 << "IR Energy control"
                                   << "µJ" << 0.0 << 60000.0 << 2 << int(ScaleSlider::Linear);
        QTest::newRow("energy %") << "energySlider" << 0 << 1 << "IR Energy control"
                                  << "%" << 0.0 << 100.0 << 2 << int(ScaleSlider::Linear);
        QTest::newRow("rep rate") << "repRateSlider" << 0 << 0 << "Rep rate control"
                                  << "kHz" << 0.0 << 100.0 << 3 << int(ScaleSlider::Stepped);
        QTest::newRow("divider") << "repRateSlider" << 1 << 0 << "Rep rate divider control"
                                 << "" << 0.0 << 100.0 << 0 << int(ScaleSlider::Stepped);
        QTest::newRow("division") << "divisionSlider" << 0 << 0 << "Division factor control"
                                  << "" << 1.0 << 100000.0 << 0 << int(ScaleSlider::Logarithmic);
        QTest::newRow("SHG oven") << "oven1Slider" << 0 << 0 << "SHG Oven temperature setpoint"
                                  << "°C" << 1.0 << 100.0 << 1 << int(ScaleSlider::Linear);
        QTest::newRow("THG oven") << "oven2Slider" << 0 << 0 << "THG Oven temperature setpoint"
                                  << "°C" << 1.0 << 100.0 << 1 << int(ScaleSlider::Linear);
        QTest::newRow("crystal") << "crystalSpotSlider" << 0 << 0 << "Current crystal spot"
                                 << "" << 1.0 << 100.0 << 0 << int(ScaleSlider::Stepped);
    }

    void slidersCarryTheirScalesAndUnits()
    {
        QFETCH(QString, slider);
        QFETCH(int, scale);
        QFETCH(int, unit);
        auto *widget = child<ComboSlider>(view(), slider);
        QVERIFY(widget);
        QCOMPARE(widget->sliderHeight(), 25);
        ComboSliderScale *holder = widget->scale(scale);
        QVERIFY(holder);
        QTEST(holder->name(), "scaleName");
        ComboSliderUnit *u = holder->unit(unit);
        QVERIFY(u);
        QTEST(u->name(), "unitName");
        QTEST(u->minimum(), "minimum");
        QTEST(u->maximum(), "maximum");
        QTEST(u->decimals(), "decimals");
        QTEST(u->scaleType(), "scaleType");
    }

    // ---- Indicators ------------------------------------------------------------------------

    void indicatorsLightInTheirColours_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QString>("indicator");
        QTest::addColumn<quint32>("lit");
        QTest::newRow("power on") << "setPowerOnIndicator"
                                  << "powerOnIndicator" << Indicator::Green;
        QTest::newRow("error") << "setErrorIndicator"
                               << "errorIndicator" << Indicator::Red;
        QTest::newRow("warning") << "setWarningIndicator"
                                 << "warningIndicator" << Indicator::Orange;
        QTest::newRow("device setup") << "setDeviceSetupIndicator"
                                      << "deviceSetupIndicator" << Indicator::Orange;
        QTest::newRow("shutter") << "setShutterIndicator"
                                 << "shutterIndicator" << Indicator::Orange;
        QTest::newRow("oven fault") << "setOvenFaultIndicator"
                                    << "ovenFaultIndicator" << Indicator::Red;
        QTest::newRow("humidity fault") << "setHumidityFaultIndicator"
                                        << "humidityFaultIndicator" << Indicator::Red;
        QTest::newRow("SHG/THG fault") << "setErrorcodeHGIndicator"
                                       << "errorcodeHGIndicator" << Indicator::Red;
    }

    void indicatorsLightInTheirColours()
    {
        QFETCH(QString, slot);
        QFETCH(QString, indicator);
        QFETCH(quint32, lit);
        auto *lamp = child<Indicator>(view(), indicator);
        QVERIFY(lamp);
        QCOMPARE(lamp->color(), quint32(0xff555555));
        QVERIFY(invoke(view(), slot.toLatin1(), Q_ARG(bool, true)));
        QCOMPARE(lamp->color(), lit);
        QVERIFY(invoke(view(), slot.toLatin1(), Q_ARG(bool, false)));
        QCOMPARE(lamp->color(), quint32(0xff555555));
    }

    void sidePanelRowsHaveTheirNames()
    {
        const QStringList names = {"Power On",
                                   "Error",
                                   "Warning",
                                   "Device Setup",
                                   "Shutter",
                                   "Oven fault",
                                   "Humidity fault",
                                   "SHG/THG fault",
                                   "Dynamic Wl. Switching",
                                   "IR AOM",
                                   "Green AOM",
                                   "UV AOM",
                                   "DUV AOM",
                                   "Wavelength:",
                                   "Serial number:",
                                   "Firmware version:",
                                   "0V:",
                                   "3.3V:"};
        QStringList shown;
        const auto labels = view()->sidePanel()->findChildren<QLabel *>();
        for (const QLabel *label : labels) {
            shown.append(label->text());
        }
        for (const QString &name : names) {
            QVERIFY2(shown.contains(name), qPrintable(name));
        }
    }

    // ---- Read-outs -------------------------------------------------------------------------

    void readoutsFormatTheirNumbers_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QString>("label");
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("IR energy") << "setPowerMeasuredIR_uJ"
                                   << "measuredIREnergy" << 398.126 << "398.13 µJ";
        QTest::newRow("Green energy") << "setPowerMeasuredGreen_uJ"
                                      << "measuredGreenEnergy" << 0.0 << "0.00 µJ";
        QTest::newRow("UV energy") << "setPowerMeasuredUV_uJ"
                                   << "measuredUVEnergy" << 81.0 << "81.00 µJ";
        QTest::newRow("ten characters fit") << "setPowerMeasuredIR_uJ"
                                            << "measuredIREnergy" << 1234567.5 << "1234567.50 µJ";
        QTest::newRow("eleven do not") << "setPowerMeasuredIR_uJ"
                                       << "measuredIREnergy" << 12345678.5 << "??? µJ";
        QTest::newRow("negative long") << "setPowerMeasuredIR_uJ"
                                       << "measuredIREnergy" << -1234567.5 << "??? µJ";
        QTest::newRow("NaN energy") << "setPowerMeasuredUV_uJ"
                                    << "measuredUVEnergy" << s_nan << "??? µJ";
        QTest::newRow("inf energy") << "setPowerMeasuredGreen_uJ"
                                    << "measuredGreenEnergy" << s_inf << "??? µJ";
        QTest::newRow("rounds to zero") << "setPowerMeasuredIR_uJ"
                                        << "measuredIREnergy" << -0.001 << "0.00 µJ";
        QTest::newRow("rep rate") << "setOutputRepRate"
                                  << "outputRepRate" << 200.0 << "200.000 kHz";
        QTest::newRow("rep rate long") << "setOutputRepRate"
                                       << "outputRepRate" << 12345678.0 << "??? kHz";
        QTest::newRow("rep rate -inf") << "setOutputRepRate"
                                       << "outputRepRate" << -s_inf << "??? kHz";
        QTest::newRow("IR power") << "setOutputPowerIRMeasuredW"
                                  << "outputPowerIR" << 79.6204 << "79.620 W";
        QTest::newRow("Green power") << "setOutputPowerGreenMeasuredW"
                                     << "outputPowerGreen" << 35.0 << "35.000 W";
        QTest::newRow("UV power NaN") << "setOutputPowerUVMeasuredW"
                                      << "outputPowerUV" << s_nan << "??? W";
        QTest::newRow("SHG oven") << "setOven1TempActual"
                                  << "oven1Actual" << 148.46 << "148.5 °C";
        QTest::newRow("THG oven") << "setOven2TempActual"
                                  << "oven2Actual" << 61.23 << "61.2 °C";
        QTest::newRow("oven NaN") << "setOven2TempActual"
                                  << "oven2Actual" << s_nan << "??? °C";
        QTest::newRow("AOM IR µJ") << "setDynamicWLS_IR_uJ"
                                   << "dynamicWlsIRValue" << 412.5 << "412.50µJ";
        QTest::newRow("AOM Green %") << "setDynamicWLS_Green_Percent"
                                     << "dynamicWlsGreenValue" << 64.4 << "64%";
        QTest::newRow("AOM UV µJ") << "setDynamicWLS_UV_uJ"
                                   << "dynamicWlsUVValue" << 5.0 << "5.00µJ";
        QTest::newRow("AOM DUV %") << "setDynamicWLS_DUV_Percent"
                                   << "dynamicWlsDUVValue" << 99.5 << "100%";
        QTest::newRow("AOM IR % NaN") << "setDynamicWLS_IR_Percent"
                                      << "dynamicWlsIRValue" << s_nan << "???%";
    }

    void readoutsFormatTheirNumbers()
    {
        QFETCH(QString, slot);
        QFETCH(QString, label);
        QFETCH(double, value);
        QVERIFY(invoke(view(), slot.toLatin1(), Q_ARG(double, value)));
        auto *shown = child<QLabel>(view(), label);
        QVERIFY(shown);
        QTEST(shown->text(), "text");
    }

    void humidityIsAWholePercentage()
    {
        view()->setHumidityMonitor(21);
        QCOMPARE(child<QLabel>(view(), QStringLiteral("humidity"))->text(), QStringLiteral("21%"));
        view()->setHumidityMonitor(-3);
        QCOMPARE(child<QLabel>(view(), QStringLiteral("humidity"))->text(), QStringLiteral("-3%"));
    }

    void moduleMessageIsShownAsSent()
    {
        auto *message = child<QLabel>(view(), QStringLiteral("errorcodeHGMessage"));
        view()->setErrorcodeHGMessage(QStringLiteral("<b>Oven</b> & humidity"));
        QCOMPARE(message->text(), QStringLiteral("<b>Oven</b> & humidity"));
        QCOMPARE(message->textFormat(), Qt::PlainText);
    }

    void runHoursReadWholeHoursOfTheMaximum()
    {
        auto *hours = child<QLabel>(view(), QStringLiteral("crystalRunHours"));
        QCOMPARE(hours->text(), QStringLiteral("0 hours of 0"));
        view()->setCrystalCurRuntime(3599);
        view()->setCrystalMaxRuntime(7200);
        QCOMPARE(hours->text(), QStringLiteral("0 hours of 2"));
        view()->setCrystalCurRuntime(3600 * 412 + 1799);
        QCOMPARE(hours->text(), QStringLiteral("412 hours of 2"));
        view()->setCrystalMaxRuntime(std::numeric_limits<quint64>::max());
        QCOMPARE(hours->text(), QStringLiteral("412 hours of 5124095576030431"));
    }

    // ---- Visibility ------------------------------------------------------------------------

    void visibilitySlotsHideControlAndName_data()
    {
        QTest::addColumn<QString>("slot");
        QTest::addColumn<QString>("control");
        QTest::newRow("IR energy") << "setPowerMeasuredIR_uJVisibility"
                                   << "measuredIREnergy";
        QTest::newRow("Green energy") << "setPowerMeasuredGreen_uJVisibility"
                                      << "measuredGreenEnergy";
        QTest::newRow("UV energy") << "setPowerMeasuredUV_uJVisibility"
                                   << "measuredUVEnergy";
        QTest::newRow("wavelength selector") << "setWavelengthSelectorComboVisibility"
                                             << "wavelengthSelectorCombo";
        QTest::newRow("output rep rate") << "setOutputRepRateVisibility"
                                         << "outputRepRate";
        QTest::newRow("IR power") << "setOutputPowerIRMeasuredWVisibility"
                                  << "outputPowerIR";
        QTest::newRow("Green power") << "setOutputPowerGreenMeasuredWVisibility"
                                     << "outputPowerGreen";
        QTest::newRow("UV power") << "setOutputPowerUVMeasuredWVisibility"
                                  << "outputPowerUV";
        QTest::newRow("humidity") << "setHumidityMonitorVisibility"
                                  << "humidity";
        QTest::newRow("oven mode") << "setOvenModeVisibility"
                                   << "ovenModeCombo";
        QTest::newRow("SHG oven actual") << "setOven1TempActualVisibility"
                                         << "oven1Actual";
        QTest::newRow("THG oven actual") << "setOven2TempActualVisibility"
                                         << "oven2Actual";
        QTest::newRow("energy slider") << "setPowerSliderVisibility"
                                       << "energySlider";
        QTest::newRow("rep rate slider") << "setRepRateSliderVisibility"
                                         << "repRateSlider";
        QTest::newRow("division slider") << "setDivisionSliderVisibility"
                                         << "divisionSlider";
        QTest::newRow("SHG oven setpoint") << "setOven1TempSetpointVisibility"
                                           << "oven1Slider";
        QTest::newRow("THG oven setpoint") << "setOven2TempSetpointVisibility"
                                           << "oven2Slider";
        QTest::newRow("crystal spot") << "setCrystalPositionVisibility"
                                      << "crystalSection";
        QTest::newRow("oven fault") << "setOvenFaultIndicatorVisibility"
                                    << "ovenFaultIndicator";
        QTest::newRow("humidity fault") << "setHumidityFaultIndicatorVisibility"
                                        << "humidityFaultIndicator";
        QTest::newRow("SHG/THG fault") << "setErrorcodeHGIndicatorVisible"
                                       << "errorcodeHGIndicator";
        QTest::newRow("SHG/THG message") << "setErrorcodeHGIndicatorVisible"
                                         << "errorcodeHGMessage";
        QTest::newRow("AOM IR") << "setDynamicWLS_IR_Visibility"
                                << "dynamicWlsIRValue";
        QTest::newRow("AOM Green") << "setDynamicWLS_Green_Visibility"
                                   << "dynamicWlsGreenValue";
        QTest::newRow("AOM UV") << "setDynamicWLS_UV_Visibility"
                                << "dynamicWlsUVValue";
        QTest::newRow("AOM DUV") << "setDynamicWLS_DUV_Visibility"
                                 << "dynamicWlsDUVValue";
        QTest::newRow("dynamic feature side") << "setDynamicWavelengthFeatureVisibility"
                                              << "dynamicWlsIndicator";
        QTest::newRow("dynamic feature radios") << "setDynamicWavelengthFeatureVisibility"
                                                << "dynamicWlsEnableRadio";
        QTest::newRow("dynamic feature save") << "setDynamicWavelengthFeatureVisibility"
                                              << "dynamicWlsSaveButton";
        QTest::newRow("side digital gate") << "setDigitalGateVisible"
                                           << "digitalGateBox";
        QTest::newRow("extern modulation") << "setExternModulationVisibility"
                                           << "externModulationCombo";
        QTest::newRow("extern trigger") << "setExternTriggerVisibility"
                                        << "externTriggerCombo";
        QTest::newRow("power lock") << "setExternPowerlockIntervalVisibility"
                                    << "externPowerlockSlider";
    }

    void visibilitySlotsHideControlAndName()
    {
        QFETCH(QString, slot);
        QFETCH(QString, control);
        auto *widget = child<QWidget>(view(), control);
        QVERIFY(widget);
        // Visibility is judged within each page, whichever page is on display.
        QWidget *page = view()->sidePanel();
        for (int i = 0; i < view()->controlPageCount(); ++i) {
            if (view()->controlPage(i)->isAncestorOf(widget)) {
                page = view()->controlPage(i);
            }
        }
        QLabel *name = nameOf(view(), widget);
        QVERIFY(invoke(view(), slot.toLatin1(), Q_ARG(bool, true)));
        QVERIFY(widget->isVisibleTo(page));
        if (name) {
            QVERIFY(name->isVisibleTo(page));
        }
        QVERIFY(invoke(view(), slot.toLatin1(), Q_ARG(bool, false)));
        QVERIFY(!widget->isVisibleTo(page));
        if (name) {
            QVERIFY(!name->isVisibleTo(page));
        }
        QVERIFY(invoke(view(), slot.toLatin1(), Q_ARG(bool, true)));
        QVERIFY(widget->isVisibleTo(page));
    }

    void externalControlsStartHidden()
    {
        for (const char *name : {"externHeading", "externModulationCombo", "externTriggerCombo",
                                 "externPowerlockSlider"}) {
            QVERIFY2(!child<QWidget>(view(), QString::fromLatin1(name))->isVisibleTo(view()), name);
        }
        view()->setExternTriggerVisibility(true);
        QVERIFY(child<QWidget>(view(), QStringLiteral("externHeading"))->isVisibleTo(view()));
        view()->setExternTrigger(1);
        QCOMPARE(child<ComboBox>(view(), QStringLiteral("externTriggerCombo"))->currentIndex(), 1);
        view()->setExternModulation(1);
        QCOMPARE(child<ComboBox>(view(), QStringLiteral("externModulationCombo"))->currentIndex(),
                 1);
        view()->setExternPowerlockIntervalVisibility(true);
        view()->setExternPowerlockInterval(12.5);
        QCOMPARE(child<ComboSlider>(view(), QStringLiteral("externPowerlockSlider"))->value(),
                 12.5);
        view()->setExternTriggerVisibility(false);
        view()->setExternPowerlockIntervalVisibility(false);
        QVERIFY(!child<QWidget>(view(), QStringLiteral("externHeading"))->isVisibleTo(view()));
    }

    void deepUvMeasurementsStayHidden()
    {
        auto *energy = child<QLabel>(view(), QStringLiteral("measuredDUVEnergy"));
        auto *power = child<QLabel>(view(), QStringLiteral("outputPowerDUV"));
        QVERIFY(!energy->isVisibleTo(view()));
        QVERIFY(!power->isVisibleTo(view()->controlPage(VelutraView::HarmonicGeneratorPage)));
        view()->setPowerMeasuredDUV_uJVisibility(true);
        view()->setOutputPowerDUVMeasuredWVisibility(true);
        view()->setPowerMeasuredDUV_uJ(12.0);
        QVERIFY(!energy->isVisibleTo(view()));
        QVERIFY(!nameOf(view(), energy)->isVisibleTo(view()));
        QVERIFY(!power->isVisibleTo(view()->controlPage(VelutraView::HarmonicGeneratorPage)));
    }

    void pageAccessFollowsTheModule()
    {
        view()->setHGSettingsPageVisibility(false);
        QVERIFY(!view()->hasSettingsPageAccess(VelutraView::HarmonicGeneratorPage));
        view()->setHGSettingsPageVisibility(true);
        QVERIFY(view()->hasSettingsPageAccess(VelutraView::HarmonicGeneratorPage));
        view()->setDigitalGateVisible(false);
        QVERIFY(!view()->hasSettingsPageAccess(VelutraView::SystemSettingsPage));
        view()->setDigitalGateVisible(true);
        QVERIFY(view()->hasSettingsPageAccess(VelutraView::SystemSettingsPage));
        QVERIFY(child<QWidget>(view(), QStringLiteral("digitalGateBox"))->isVisibleTo(view()));
    }

    void systemInfoViewShowsTheSideBox()
    {
        SignalRecorder recorder(view());
        view()->setSystemInfoView(true);
        QVERIFY(child<QCheckBox>(view(), QStringLiteral("systemInfoCheckBox"))->isChecked());
        QVERIFY(child<QWidget>(view(), QStringLiteral("systemInfoBox"))->isVisibleTo(view()));
        view()->setSystemInfoView(false);
        QVERIFY(!child<QCheckBox>(view(), QStringLiteral("systemInfoCheckBox"))->isChecked());
        QVERIFY(!child<QWidget>(view(), QStringLiteral("systemInfoBox"))->isVisibleTo(view()));
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void addressBecomesTheHeader()
    {
        view()->setAddress(17);
        QCOMPARE(view()->header(), QStringLiteral("17"));
    }

    // ---- Wavelengths -----------------------------------------------------------------------

    void enableWavelengthsMapsRegisterValuesToItems_data()
    {
        QTest::addColumn<bool>("entry0");
        QTest::addColumn<bool>("entry1");
        QTest::addColumn<bool>("entry2");
        QTest::addColumn<QStringList>("offered");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("none") << false << false << false << QStringList() << false;
        QTest::newRow("515 only") << false << true << false << QStringList{"515 nm"} << false;
        QTest::newRow("343 only") << true << false << false << QStringList{"343 nm"} << false;
        QTest::newRow("1030 only") << false << false << true << QStringList{"1030 nm"} << false;
        QTest::newRow("green and IR")
                << false << true << true << QStringList{"1030 nm", "515 nm"} << true;
        QTest::newRow("all") << true << true << true << QStringList{"1030 nm", "515 nm", "343 nm"}
                             << true;
    }

    void enableWavelengthsMapsRegisterValuesToItems()
    {
        QFETCH(bool, entry0);
        QFETCH(bool, entry1);
        QFETCH(bool, entry2);
        auto *side = child<ComboBox>(view(), QStringLiteral("sideWavelengthCombo"));
        view()->enableWavelengths(entry0, entry1, entry2);
        QStringList offered;
        for (int i = 0; i < side->count(); ++i) {
            if (side->isItemVisible(i)) {
                offered.append(side->itemText(i));
            }
        }
        QTEST(offered, "offered");
        QTEST(side->isEnabled(), "enabled");
    }

    void sideWavelengthNeedsChoiceAndOpenLock_data()
    {
        QTest::addColumn<int>("offered");
        QTest::addColumn<bool>("lockOpen");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("three, open") << 3 << true << true;
        QTest::newRow("three, locked") << 3 << false << false;
        QTest::newRow("two, open") << 2 << true << true;
        QTest::newRow("two, locked") << 2 << false << false;
        QTest::newRow("one, open") << 1 << true << false;
        QTest::newRow("none, open") << 0 << true << false;
    }

    void sideWavelengthNeedsChoiceAndOpenLock()
    {
        QFETCH(int, offered);
        QFETCH(bool, lockOpen);
        auto *side = child<ComboBox>(view(), QStringLiteral("sideWavelengthCombo"));
        // Lock first and offer after, and the other way round: the result must not depend on it.
        view()->setWavelengthSelectorEnabled(lockOpen);
        view()->enableWavelengths(offered >= 1, offered >= 2, offered >= 3);
        QTEST(side->isEnabled(), "enabled");
        view()->enableWavelengths(true, true, true);
        view()->setWavelengthSelectorEnabled(!lockOpen);
        view()->enableWavelengths(offered >= 1, offered >= 2, offered >= 3);
        view()->setWavelengthSelectorEnabled(lockOpen);
        QTEST(side->isEnabled(), "enabled");
    }

    void sideWavelengthFollowsTheDevice()
    {
        auto *side = child<ComboBox>(view(), QStringLiteral("sideWavelengthCombo"));
        view()->setWavelengthSelector(1);
        QCOMPARE(side->currentText(), QStringLiteral("515 nm"));
        view()->setWavelengthSelector(5);
        QCOMPARE(side->currentIndex(), 1);
        view()->setWavelengthSelector(-1);
        QCOMPARE(side->currentIndex(), -1);
    }

    void selectedWavelengthFollowsTheDevice()
    {
        auto *selector = child<ComboBox>(view(), QStringLiteral("wavelengthSelectorCombo"));
        auto *save = child<Button>(view(), QStringLiteral("dynamicWlsSaveButton"));
        QVERIFY(!save->isEnabled());
        view()->setWavelengthSelectorCombo(2);
        QCOMPARE(selector->currentText(), QStringLiteral("UV 343 nm"));
        QVERIFY(save->isEnabled());
        view()->setWavelengthSelectorCombo(4);
        QCOMPARE(selector->currentIndex(), 2);
        QVERIFY(save->isEnabled());
        view()->setWavelengthSelectorCombo(-1);
        QCOMPARE(selector->currentIndex(), -1);
        QVERIFY(!save->isEnabled());
        view()->setWavelengthSelectorComboItemVisibility(3, false);
        QVERIFY(!selector->isItemVisible(3));
        view()->setWavelengthSelectorComboItemVisibility(3, true);
        QVERIFY(selector->isItemVisible(3));
    }

    // ---- Energy slider ---------------------------------------------------------------------

    void energySetpointOfTheHiddenUnitWaitsForItsUnit()
    {
        auto *energy = child<ComboSlider>(view(), QStringLiteral("energySlider"));
        view()->setPowerRange_uJ(0, 500);
        view()->setPowerSetpoint_uJ(250);
        QCOMPARE(energy->value(), 250.0);
        QCOMPARE(valueText(energy), QStringLiteral("250.00"));
        view()->setPowerSetpointIndex(1);
        QCOMPARE(energy->currentUnitIndex(), 1);
        view()->setPowerSetpoint_Percent(40);
        QCOMPARE(energy->value(), 40.0);
        // A µJ set-point while % is shown is remembered, not shown.
        view()->setPowerSetpoint_uJ(300);
        QCOMPARE(energy->value(), 40.0);
        QCOMPARE(valueText(energy), QStringLiteral("40.00"));
        view()->setPowerSetpointIndex(0);
        QCOMPARE(energy->value(), 300.0);
        QCOMPARE(valueText(energy), QStringLiteral("300.00"));
        view()->setPowerSetpointIndex(7);
        QCOMPARE(energy->currentUnitIndex(), 0);
    }

    void energyRangesAreNormalised()
    {
        auto *energy = child<ComboSlider>(view(), QStringLiteral("energySlider"));
        view()->setPowerRange_uJ(500, 10);
        QCOMPARE(energy->scale(0)->unit(0)->minimum(), 10.0);
        QCOMPARE(energy->scale(0)->unit(0)->maximum(), 500.0);
        view()->setPowerRange_uJ(s_nan, 20);
        QCOMPARE(energy->scale(0)->unit(0)->minimum(), 10.0);
        view()->setPowerRangePercent(90, 5);
        QCOMPARE(energy->scale(0)->unit(1)->minimum(), 5.0);
        QCOMPARE(energy->scale(0)->unit(1)->maximum(), 90.0);
        view()->setPowerSetpoint_uJ(s_nan);
        QCOMPARE(energy->value(), 10.0);
        view()->setPowerSetpointIndexVisibility(1, false);
        QVERIFY(!energy->scale(0)->unit(1)->isVisible());
        view()->setPowerSetpointIndexVisibility(1, true);
        QVERIFY(energy->scale(0)->unit(1)->isVisible());
    }

    // ---- Repetition rate -------------------------------------------------------------------

    void repRateStepListsAreCleanedAndKeepTheValue()
    {
        auto *rate = child<ComboSlider>(view(), QStringLiteral("repRateSlider"));
        view()->setRepRate(400);
        view()->setRepRateSteps({1000, 400, s_nan, 50, 400, s_inf, 200, 100});
        ComboSliderUnit *kHz = rate->scale(0)->unit(0);
        QCOMPARE(kHz->stepList(), (QList<double>{50, 100, 200, 400, 1000}));
        QCOMPARE(kHz->minimum(), 50.0);
        QCOMPARE(kHz->maximum(), 1000.0);
        // The rate arrived before its steps and still shows as reported.
        QCOMPARE(rate->value(), 400.0);
        QCOMPARE(valueText(rate), QStringLiteral("400.000"));
        view()->setRepRateDividerSteps({8, 1, 4, 2, 2});
        QCOMPARE(rate->scale(1)->unit(0)->stepList(), (QList<double>{1, 2, 4, 8}));
    }

    void repRateScalesKeepTheirOwnValues()
    {
        auto *rate = child<ComboSlider>(view(), QStringLiteral("repRateSlider"));
        view()->setRepRateSteps({50, 100, 200});
        view()->setRepRateDividerSteps({1, 2, 4, 8});
        view()->setRepRate(100);
        view()->setRepRateDivider(4);
        QCOMPARE(rate->value(), 100.0);
        view()->setRepRateScaleIndex(1);
        QCOMPARE(rate->currentScaleIndex(), 1);
        QCOMPARE(rate->value(), 4.0);
        view()->setRepRate(200);
        QCOMPARE(rate->value(), 4.0);
        view()->setRepRateScaleIndex(0);
        QCOMPARE(rate->value(), 200.0);
        view()->setRepRateScaleIndex(2);
        QCOMPARE(rate->currentScaleIndex(), 0);
        view()->setRepRateSliderDisabled(true);
        QVERIFY(!rate->isEnabled());
        view()->setRepRateSliderDisabled(false);
        QVERIFY(rate->isEnabled());
    }

    void divisionTakesItsRangeAndValue()
    {
        auto *division = child<ComboSlider>(view(), QStringLiteral("divisionSlider"));
        view()->setDivisionRange(10000000.0, 1.0);
        QCOMPARE(division->scale(0)->unit(0)->minimum(), 1.0);
        QCOMPARE(division->scale(0)->unit(0)->maximum(), 10000000.0);
        view()->setDivision(250000);
        QCOMPARE(division->value(), 250000.0);
        view()->setDivision(s_nan);
        QCOMPARE(division->value(), 250000.0);
        view()->setDivisionSliderDisabled(true);
        QVERIFY(!division->isEnabled());
    }

    // ---- Harmonic module -------------------------------------------------------------------

    void ovenSetpointBeforeItsRangeShowsAsReported()
    {
        auto *oven = child<ComboSlider>(view(), QStringLiteral("oven1Slider"));
        view()->setOven1TempSetpoint(148.5);
        QCOMPARE(oven->value(), 100.0); // bounded by the initial range for now
        view()->setOven1TempSetpointRange(200, 20);
        QCOMPARE(oven->scale(0)->unit(0)->minimum(), 20.0);
        QCOMPARE(oven->value(), 148.5);
        QCOMPARE(valueText(oven), QStringLiteral("148.5"));

        auto *oven2 = child<ComboSlider>(view(), QStringLiteral("oven2Slider"));
        view()->setOven2TempSetpoint(150);
        view()->setOven2TempSetpointRange(20, 200);
        QCOMPARE(oven2->value(), 150.0);
        view()->setOven2TempSetpointRange(s_nan, s_inf);
        QCOMPARE(oven2->scale(0)->unit(0)->maximum(), 200.0);
    }

    void ovenModeComboFollowsTheDevice()
    {
        auto *mode = child<ComboBox>(view(), QStringLiteral("ovenModeCombo"));
        QCOMPARE(mode->itemText(0), QStringLiteral("Disabled"));
        QCOMPARE(mode->itemText(1), QStringLiteral("Enabled"));
        view()->setOvenMode(1);
        QCOMPARE(mode->currentIndex(), 1);
        view()->setOvenModeReadOnly(true);
        QVERIFY(!mode->isEnabled());
        view()->setOvenModeReadOnly(false);
        QVERIFY(mode->isEnabled());
    }

    void crystalRangeAndPosition()
    {
        auto *crystal = child<ComboSlider>(view(), QStringLiteral("crystalSpotSlider"));
        SignalRecorder recorder(view());
        view()->setCrystalPosition(7);
        QCOMPARE(recorder.takeAll(), QStringList{"closeCrystalSpotWarningWindow()"});
        view()->setCrystalPositionRange(12, 3);
        QCOMPARE(crystal->scale(0)->unit(0)->stepList().size(), 10);
        QCOMPARE(crystal->scale(0)->unit(0)->minimum(), 3.0);
        QCOMPARE(crystal->scale(0)->unit(0)->maximum(), 12.0);
        QCOMPARE(crystal->value(), 7.0);
        // A spot outside the range is still the device's spot.
        view()->setCrystalPositionRange(1, 4);
        view()->setCrystalPositionRange(1, 10);
        QCOMPARE(crystal->value(), 7.0);
        // A range no crystal has is refused.
        view()->setCrystalPositionRange(std::numeric_limits<int>::min(),
                                        std::numeric_limits<int>::max());
        QCOMPARE(crystal->scale(0)->unit(0)->maximum(), 10.0);
        view()->setCrystalPositionReadOnly(true);
        QVERIFY(!crystal->isEnabled());
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void dynamicFeatureStateShowsOnRadiosAndLamp_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<bool>("enableChecked");
        QTest::addColumn<bool>("disableChecked");
        QTest::addColumn<quint32>("lamp");
        QTest::newRow("on") << 1 << true << false << Indicator::Green;
        QTest::newRow("off") << 0 << false << true << Indicator::Off;
    }

    void dynamicFeatureStateShowsOnRadiosAndLamp()
    {
        QFETCH(int, state);
        SignalRecorder recorder(view());
        view()->setDynamicWavelengthFeature(1 - state);
        view()->setDynamicWavelengthFeature(state);
        view()->setDynamicWavelengthFeature(2);
        view()->setDynamicWavelengthFeature(-1);
        QTEST(child<QRadioButton>(view(), QStringLiteral("dynamicWlsEnableRadio"))->isChecked(),
              "enableChecked");
        QTEST(child<QRadioButton>(view(), QStringLiteral("dynamicWlsDisableRadio"))->isChecked(),
              "disableChecked");
        QTEST(child<Indicator>(view(), QStringLiteral("dynamicWlsIndicator"))->color(), "lamp");
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    void digitalGateShowsOnRadiosAndSidePanel_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("level0V");
        QTest::addColumn<QString>("level3V3");
        QTest::newRow("0") << 0 << "AOM Open"
                           << "AOM Closed";
        QTest::newRow("1") << 1 << "AOM Closed"
                           << "AOM Open";
    }

    void digitalGateShowsOnRadiosAndSidePanel()
    {
        QFETCH(int, mode);
        SignalRecorder recorder(view());
        view()->setDigitalGate(1 - mode);
        view()->setDigitalGate(mode);
        view()->setDigitalGate(5);
        QVERIFY(child<QRadioButton>(view(), QStringLiteral("digitalGateRadio%1").arg(mode))
                        ->isChecked());
        QVERIFY(!child<QRadioButton>(view(), QStringLiteral("digitalGateRadio%1").arg(1 - mode))
                         ->isChecked());
        QTEST(child<QLabel>(view(), QStringLiteral("sideGateLevel0V"))->text(), "level0V");
        QTEST(child<QLabel>(view(), QStringLiteral("sideGateLevel3V3"))->text(), "level3V3");
        QCOMPARE(child<QLabel>(view(), QStringLiteral("digitalGate0Level0V"))->text(),
                 QStringLiteral("AOM open"));
        QCOMPARE(child<QLabel>(view(), QStringLiteral("digitalGate1Level0V"))->text(),
                 QStringLiteral("AOM closed"));
        QCOMPARE(recorder.takeAll(), QStringList());
    }

    // ---- Look ------------------------------------------------------------------------------

    void pagesFitWithoutClippedLabels_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("1366x768") << QSize(1366, 768);
        QTest::newRow("1920x1080") << QSize(1920, 1080);
    }

    void pagesFitWithoutClippedLabels()
    {
        QFETCH(QSize, size);
        fillLikeAThgModule(view());
        view()->resize(size);
        view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(view()));
        const QString directory = qEnvironmentVariable("VELUTRA_SCREENSHOT_DIR");
        const struct
        {
            VelutraView::Page index;
            const char *file;
        } pages[] = {{VelutraView::ControlPage, "control"},
                     {VelutraView::ViewPage, "view"},
                     {VelutraView::TemperatureDetailsPage, "temperature-details"},
                     {VelutraView::SystemDetailsPage, "system-details"},
                     {VelutraView::SystemSettingsPage, "system-settings"},
                     {VelutraView::HarmonicGeneratorPage, "harmonic-generator"}};
        QCOMPARE(view()->controlPageCount(), int(std::size(pages)));
        for (const auto &entry : pages) {
            QWidget *page = view()->controlPage(entry.index);
            QVERIFY(page);
            view()->setControlPage(entry.index);
            QCOMPARE(view()->currentControlPage(), int(entry.index));
            QCoreApplication::processEvents();
            // Every label on show has the room its text asks for.
            const QList<QWidget *> roots = {view()->sidePanel(), page};
            for (QWidget *root : roots) {
                const auto labels = root->findChildren<QLabel *>();
                for (const QLabel *label : labels) {
                    if (!label->isVisible() || label->wordWrap() || label->text().isEmpty()) {
                        continue;
                    }
                    QVERIFY2(label->width() >= label->minimumSizeHint().width(),
                             qPrintable(QStringLiteral("\"%1\" is clipped on page %2")
                                                .arg(label->text(), page->objectName())));
                }
            }
            for (QWidget *root : roots) {
                const auto buttons = root->findChildren<QAbstractButton *>();
                for (const QAbstractButton *button : buttons) {
                    if (!button->isVisible()) {
                        continue;
                    }
                    const QSize text = button->fontMetrics().size(0, button->text());
                    QVERIFY2(button->width() >= text.width() && button->height() >= text.height(),
                             qPrintable(QStringLiteral("\"%1\" is clipped").arg(button->text())));
                    if (!qobject_cast<const QPushButton *>(button)) {
                        // Indicator, spacing and padding come before the text.
                        QVERIFY2(button->width() >= text.width() + 28,
                                 qPrintable(
                                         QStringLiteral("\"%1\" is clipped").arg(button->text())));
                    }
                }
            }
            if (!directory.isEmpty()) {
                QDir().mkpath(directory);
                const QString file = QStringLiteral("%1/view-%2-%3x%4.png")
                                             .arg(directory, QString::fromLatin1(entry.file))
                                             .arg(size.width())
                                             .arg(size.height());
                QVERIFY(view()->grab().save(file));
            }
        }
    }
};

QTEST_MAIN(TestVelutraView)
#include "tst_velutraview.moc"
