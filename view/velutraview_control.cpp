#include "velutraview.h"

#include "button.h"
#include "combobox.h"
#include "comboslider.h"
#include "dialog.h"
#include "indicator.h"
#include "panelkit.h"
#include "velutraprogressticker.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

using PanelKit::typedLabel;

constexpr int s_sliderHeight = 25;
constexpr int s_pageMargin = 16;
constexpr int s_rowSpacing = 8;
constexpr int s_columnSpacing = 20;
// A read-out longer than this says nothing an operator can use; it shows "???".
constexpr int s_maxReadoutLength = 10;
// Ten seconds of travel allowed per spot the crystal moves.
constexpr int s_secondsPerSpot = 10;
// A spot range wider than this is not a crystal; it is refused rather than listed.
constexpr qint64 s_maxCrystalSpots = 10000;

const QString s_unknown = QStringLiteral("???");

// The names the prompts and the energy control use for the entries of the wavelength selector,
// and the entries as the selector lists them, with their wavelengths.
const char *const s_wavelengthNames[] = {"IR", "Green", "UV", "DUV"};
const char *const s_wavelengthItems[]
        = {QT_TRANSLATE_NOOP("VelutraView", "IR 1030 nm"),
           QT_TRANSLATE_NOOP("VelutraView", "Green 515 nm"),
           QT_TRANSLATE_NOOP("VelutraView", "UV 343 nm"), QT_TRANSLATE_NOOP("VelutraView", "DUV")};
// How long a chosen wavelength is shown without the module reporting it: the module takes a
// few seconds to move its optics; one that never gets there is shown where it is.
constexpr int s_wavelengthChangeTimeoutMs = 30 * 1000;

QLabel *readout(const QString &objectName)
{
    QLabel *label = typedLabel(s_unknown, "text", objectName);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setTextFormat(Qt::PlainText);
    label->setMinimumWidth(label->fontMetrics().horizontalAdvance(QStringLiteral("-00000.000 µJ")));
    return label;
}

// The number with its decimals, or "???" when it is not a number or too long to read.
QString formatReadout(double value, int decimals)
{
    if (!std::isfinite(value)) {
        return s_unknown;
    }
    QString text = QString::number(value, 'f', decimals);
    // A reading that rounds to zero is zero, whichever side it came from.
    if (text.startsWith(QLatin1Char('-')) && text.mid(1) == QString::number(0.0, 'f', decimals)) {
        text.remove(0, 1);
    }
    return text.size() > s_maxReadoutLength ? s_unknown : text;
}

QString withUnit(double value, int decimals, const QString &unit)
{
    return formatReadout(value, decimals) + unit;
}

void showMeasuredEnergy(QLabel *readout, double microjoules)
{
    readout->setText(withUnit(microjoules, 2, QStringLiteral(" µJ")));
}

void showMeasuredPower(QLabel *readout, double watts)
{
    readout->setText(withUnit(watts, 3, QStringLiteral(" W")));
}

ComboSlider *makeSlider(const QString &objectName, QWidget *parent)
{
    auto *slider = new ComboSlider(s_sliderHeight, parent);
    slider->setObjectName(objectName);
    return slider;
}

ComboSliderUnit *unitOf(ComboSlider *slider, int scale = 0, int unit = 0)
{
    ComboSliderScale *holder = slider->scale(scale);
    return holder ? holder->unit(unit) : nullptr;
}

// Finite, ascending, each value once: what a slider may stop on.
QList<double> cleanSteps(const QList<double> &steps)
{
    QList<double> clean;
    for (double step : steps) {
        if (std::isfinite(step)) {
            clean.append(step);
        }
    }
    std::sort(clean.begin(), clean.end());
    clean.erase(std::unique(clean.begin(), clean.end()), clean.end());
    return clean;
}

bool orderedRange(double *minimum, double *maximum)
{
    if (!std::isfinite(*minimum) || !std::isfinite(*maximum)) {
        return false;
    }
    if (*minimum > *maximum) {
        std::swap(*minimum, *maximum);
    }
    return true;
}

QWidget *heading(const QString &text, const char *type = "heading")
{
    return typedLabel(text, type);
}

} // namespace

void VelutraView::addRow(QGridLayout *grid, int row, QWidget *label, QWidget *control)
{
    grid->addWidget(label, row, 0);
    grid->addWidget(control, row, 1);
    m_rowLabels.insert(control, label);
    if (auto *name = qobject_cast<QLabel *>(label)) {
        name->setBuddy(control);
    }
}

bool VelutraView::isMeasured(int wavelength)
{
    // Nothing on the laser measures deep-UV output: a deep-UV row would have nothing to show.
    return wavelength != WavelengthDUV;
}

void VelutraView::addMeasurementRows(QGridLayout *grid, int *row,
                                     const QString (&names)[s_wavelengthCount],
                                     const QString (&objectNames)[s_wavelengthCount],
                                     QLabel *(&readouts)[s_wavelengthCount])
{
    for (int wavelength = 0; wavelength < s_wavelengthCount; ++wavelength) {
        readouts[wavelength] = readout(objectNames[wavelength]);
        addRow(grid, (*row)++, typedLabel(names[wavelength], "label"), readouts[wavelength]);
        if (!isMeasured(wavelength)) {
            setRowVisible(readouts[wavelength], false);
        }
    }
}

void VelutraView::setMeasurementRowVisible(QLabel *const (&readouts)[s_wavelengthCount],
                                           int wavelength, bool visible)
{
    setRowVisible(readouts[wavelength], visible && isMeasured(wavelength));
}

// ---- Control page ---------------------------------------------------------------------------

void VelutraView::createControlPage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("controlPage"));
    auto *grid = new QGridLayout(page);
    grid->setContentsMargins(s_pageMargin, s_pageMargin, s_pageMargin, s_pageMargin);
    grid->setHorizontalSpacing(s_columnSpacing);
    grid->setVerticalSpacing(s_rowSpacing);
    int row = 0;

    m_operatingModeCombo = new ComboBox;
    m_operatingModeCombo->setObjectName(QStringLiteral("operatingModeCombo"));
    m_operatingModeCombo->addItems({tr("Internal"), tr("External"), tr("Mode 8")});
    // The device can be in AOM mode 8; the panel shows it but does not offer it.
    m_operatingModeCombo->setItemVisibility(OperatingModeFixedProgram, false);
    addRow(grid, row++, typedLabel(tr("Operating mode"), "label"), m_operatingModeCombo);

    m_wavelengthSelectorCombo = new ComboBox;
    m_wavelengthSelectorCombo->setObjectName(QStringLiteral("wavelengthSelectorCombo"));
    for (const char *item : s_wavelengthItems) {
        m_wavelengthSelectorCombo->addItem(tr(item));
    }
    m_wavelengthSelectorCombo->setCurrentIndex(-1);
    m_pendingWavelengthTimer = new QTimer(this);
    m_pendingWavelengthTimer->setSingleShot(true);
    m_pendingWavelengthTimer->setInterval(s_wavelengthChangeTimeoutMs);
    connect(m_pendingWavelengthTimer, &QTimer::timeout, this,
            &VelutraView::onPendingWavelengthExpired);
    addRow(grid, row++, typedLabel(tr("Wavelength selector"), "label"), m_wavelengthSelectorCombo);

    grid->addWidget(heading(tr("Energy"), "title"), row++, 0, 1, 3);
    const QString energyNames[s_wavelengthCount]
            = {tr("Measured IR energy"), tr("Measured Green energy"), tr("Measured UV energy"),
               tr("Measured DUV energy")};
    const QString energyObjects[s_wavelengthCount]
            = {QStringLiteral("measuredIREnergy"), QStringLiteral("measuredGreenEnergy"),
               QStringLiteral("measuredUVEnergy"), QStringLiteral("measuredDUVEnergy")};
    addMeasurementRows(grid, &row, energyNames, energyObjects, m_measuredEnergy);

    m_dynamicWlsSaveButton
            = new Button(tr("set AOM\nenergy level"), Button::Panel, Button::Action, page);
    m_dynamicWlsSaveButton->setObjectName(QStringLiteral("dynamicWlsSaveButton"));
    fitToText(m_dynamicWlsSaveButton);
    addRow(grid, row++, typedLabel(tr("Dynamic Wavelength Switching"), "label"),
           m_dynamicWlsSaveButton);
    // What the button sent, and what the module then reports for that wavelength.
    m_dynamicWlsSaveStatus = typedLabel(QString(), "text", QStringLiteral("dynamicWlsSaveStatus"));
    m_dynamicWlsSaveStatus->setTextFormat(Qt::PlainText);
    m_dynamicWlsSaveStatus->setWordWrap(true);
    grid->addWidget(m_dynamicWlsSaveStatus, row - 1, 2);
    connect(m_dynamicWlsSaveButton, &QPushButton::clicked, this,
            &VelutraView::dynamicWLS_SaveButtonClicked);

    m_energySlider = makeSlider(QStringLiteral("energySlider"), this);
    ComboSliderScale *energy = m_energySlider->addScale(tr("IR Energy control"));
    energy->addUnit(QStringLiteral("µJ"), m_energyRange_uJ.minimum, m_energyRange_uJ.maximum, 2);
    energy->addUnit(QStringLiteral("%"), m_energyRangePercent.minimum, m_energyRangePercent.maximum,
                    2);
    grid->addWidget(m_energySlider, row++, 0, 1, 3);

    grid->addWidget(heading(tr("Repetition rate"), "title"), row++, 0, 1, 3);
    m_outputRepRate = readout(QStringLiteral("outputRepRate"));
    addRow(grid, row++, typedLabel(tr("Output repetition rate"), "label"), m_outputRepRate);

    m_repRateSlider = makeSlider(QStringLiteral("repRateSlider"), this);
    m_repRateSlider->addScale(tr("Rep rate control"))
            ->addUnit(new ComboSliderUnit(QStringLiteral("kHz"), 0, 100, 3, ScaleSlider::Stepped));
    m_repRateSlider->addScale(tr("Rep rate divider control"))
            ->addUnit(new ComboSliderUnit(QString(), 0, 100, 0, ScaleSlider::Stepped));
    grid->addWidget(m_repRateSlider, row++, 0, 1, 3);

    m_divisionSlider = makeSlider(QStringLiteral("divisionSlider"), this);
    m_divisionSlider->addScale(tr("Division factor control"))
            ->addUnit(new ComboSliderUnit(QString(), 1, 100000, 0, ScaleSlider::Logarithmic));
    grid->addWidget(m_divisionSlider, row++, 0, 1, 3);

    // External control: the device reports these; the panel has no command for them.
    m_externHeading = typedLabel(tr("External control"), "title", QStringLiteral("externHeading"));
    grid->addWidget(m_externHeading, row++, 0, 1, 3);
    m_externModulationCombo = new ComboBox;
    m_externModulationCombo->setObjectName(QStringLiteral("externModulationCombo"));
    m_externModulationCombo->addItems({tr("Disabled"), tr("Enabled")});
    m_externModulationCombo->setEnabled(false);
    addRow(grid, row++, typedLabel(tr("External modulation"), "label"), m_externModulationCombo);
    m_externTriggerCombo = new ComboBox;
    m_externTriggerCombo->setObjectName(QStringLiteral("externTriggerCombo"));
    m_externTriggerCombo->addItems({tr("Disabled"), tr("Enabled")});
    m_externTriggerCombo->setEnabled(false);
    addRow(grid, row++, typedLabel(tr("External trigger"), "label"), m_externTriggerCombo);
    m_externPowerlockSlider = makeSlider(QStringLiteral("externPowerlockSlider"), this);
    m_externPowerlockSlider->addScale(tr("Power lock interval"))
            ->addUnit(QStringLiteral("s"), 0, 3600, 1);
    m_externPowerlockSlider->setEnabled(false);
    grid->addWidget(m_externPowerlockSlider, row++, 0, 1, 3);
    setExternModulationVisibility(false);
    setExternTriggerVisibility(false);
    setExternPowerlockIntervalVisibility(false);

    grid->setColumnStretch(2, 1);
    grid->setRowStretch(row, 1);
    addControlPage(page, tr("Control"));

    connect(m_operatingModeCombo, &ComboBox::currentIndexChanged, this,
            &VelutraView::operatingModeChanged);
    connect(m_operatingModeCombo, &ComboBox::currentIndexChanged, this,
            &VelutraView::newOperationMode);
    connect(m_wavelengthSelectorCombo, &ComboBox::currentIndexChanged, this,
            &VelutraView::newWavelengthSelected);
    connect(m_energySlider, &ComboSlider::unitIndexChanged, this, &VelutraView::powerIndexChanged);
    connect(m_energySlider, &ComboSlider::unitIndexChanged, this, &VelutraView::newPowerIndex);
    connect(m_energySlider, &ComboSlider::valueChanged, this, &VelutraView::newPowerValue);
    connect(m_repRateSlider, &ComboSlider::scaleIndexChanged, this,
            &VelutraView::setRepRateScaleIndex);
    connect(m_repRateSlider, &ComboSlider::scaleIndexChanged, this,
            &VelutraView::repRateScaleIndexChanged);
    connect(m_repRateSlider, &ComboSlider::valueChanged, this, &VelutraView::newRepRateSliderValue);
    connect(m_divisionSlider, &ComboSlider::valueChanged, this, &VelutraView::divisionChanged);

    updateDynamicWlsSaveEnabled();
}

// ---- Harmonic Generator page ----------------------------------------------------------------

void VelutraView::createHarmonicGeneratorPage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("harmonicGeneratorPage"));
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(s_pageMargin, s_pageMargin, s_pageMargin, s_pageMargin);
    layout->setSpacing(s_rowSpacing);

    m_dynamicWlsSection = new QWidget;
    m_dynamicWlsSection->setObjectName(QStringLiteral("dynamicWlsSection"));
    auto *dynamic = new QGridLayout(m_dynamicWlsSection);
    dynamic->setContentsMargins(0, 0, 0, s_rowSpacing);
    dynamic->setHorizontalSpacing(s_columnSpacing);
    dynamic->addWidget(heading(tr("Dynamic wavelength feature")), 0, 0, 1, 3);
    auto *enable = new QRadioButton(tr("Enable Dynamic\nWavelength feature"));
    enable->setObjectName(QStringLiteral("dynamicWlsEnableRadio"));
    enable->setProperty("flat", true);
    auto *disable = new QRadioButton(tr("Disable Dynamic\nWavelength feature"));
    disable->setObjectName(QStringLiteral("dynamicWlsDisableRadio"));
    disable->setProperty("flat", true);
    fitToText(enable);
    fitToText(disable);
    m_dynamicWlsEnableRadio = enable;
    m_dynamicWlsDisableRadio = disable;
    m_dynamicWlsGroup = new QButtonGroup(page);
    m_dynamicWlsGroup->addButton(enable, 1);
    m_dynamicWlsGroup->addButton(disable, 0);
    dynamic->addWidget(enable, 1, 0);
    dynamic->addWidget(disable, 1, 1);
    dynamic->setColumnStretch(2, 1);
    layout->addWidget(m_dynamicWlsSection);

    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(s_columnSpacing);
    grid->setVerticalSpacing(s_rowSpacing);
    int row = 0;
    grid->addWidget(heading(tr("Output power")), row++, 0, 1, 3);
    const QString powerNames[s_wavelengthCount]
            = {tr("Measured IR power"), tr("Measured Green power"), tr("Measured UV power"),
               tr("Measured DUV power")};
    const QString powerObjects[s_wavelengthCount]
            = {QStringLiteral("outputPowerIR"), QStringLiteral("outputPowerGreen"),
               QStringLiteral("outputPowerUV"), QStringLiteral("outputPowerDUV")};
    addMeasurementRows(grid, &row, powerNames, powerObjects, m_outputPower);

    m_humidity = readout(QStringLiteral("humidity"));
    addRow(grid, row++, typedLabel(tr("Humidity"), "label"), m_humidity);

    grid->addWidget(heading(tr("Oven")), row++, 0, 1, 3);
    m_ovenModeCombo = new ComboBox;
    m_ovenModeCombo->setObjectName(QStringLiteral("ovenModeCombo"));
    m_ovenModeCombo->addItems({tr("Disabled"), tr("Enabled")});
    addRow(grid, row++, typedLabel(tr("Oven mode"), "label"), m_ovenModeCombo);
    m_oven1Actual = readout(QStringLiteral("oven1Actual"));
    addRow(grid, row++, typedLabel(tr("Measured SHG oven temperature"), "label"), m_oven1Actual);
    m_oven2Actual = readout(QStringLiteral("oven2Actual"));
    addRow(grid, row++, typedLabel(tr("Measured THG oven temperature"), "label"), m_oven2Actual);
    m_oven1Slider = makeSlider(QStringLiteral("oven1Slider"), this);
    m_oven1Slider->addScale(tr("SHG Oven temperature setpoint"))
            ->addUnit(QStringLiteral("°C"), 1, 100, 1);
    grid->addWidget(m_oven1Slider, row++, 0, 1, 3);
    m_oven2Slider = makeSlider(QStringLiteral("oven2Slider"), this);
    m_oven2Slider->addScale(tr("THG Oven temperature setpoint"))
            ->addUnit(QStringLiteral("°C"), 1, 100, 1);
    grid->addWidget(m_oven2Slider, row++, 0, 1, 3);
    grid->setColumnStretch(2, 1);
    layout->addLayout(grid);

    m_crystalSection = new QWidget;
    m_crystalSection->setObjectName(QStringLiteral("crystalSection"));
    auto *crystal = new QGridLayout(m_crystalSection);
    crystal->setContentsMargins(0, s_rowSpacing, 0, 0);
    crystal->setHorizontalSpacing(s_columnSpacing);
    crystal->setVerticalSpacing(s_rowSpacing);
    crystal->addWidget(heading(tr("THG crystal spot selection")), 0, 0, 1, 3);
    m_showAllSpotsButton
            = new Button(tr("Show all\nspots"), Button::Compact, Button::Action, m_crystalSection);
    m_showAllSpotsButton->setObjectName(QStringLiteral("showAllSpotsButton"));
    fitToText(m_showAllSpotsButton);
    crystal->addWidget(m_showAllSpotsButton, 1, 0, Qt::AlignLeft);
    m_crystalRunHours = typedLabel(QString(), "text", QStringLiteral("crystalRunHours"));
    crystal->addWidget(typedLabel(tr("Current spot run hours"), "label"), 2, 0);
    crystal->addWidget(m_crystalRunHours, 2, 1);
    m_crystalSpotSlider = makeSlider(QStringLiteral("crystalSpotSlider"), this);
    m_crystalSpotSlider->addScale(tr("Current crystal spot"))
            ->addUnit(new ComboSliderUnit(QString(), 1, 100, 0, ScaleSlider::Stepped));
    crystal->addWidget(m_crystalSpotSlider, 3, 0, 1, 3);
    crystal->setColumnStretch(2, 1);
    layout->addWidget(m_crystalSection);
    layout->addStretch(1);
    showCrystalRunHours();

    addControlPage(page, tr("Harmonic Generator"));

    connect(m_dynamicWlsGroup, QOverload<QAbstractButton *>::of(&QButtonGroup::buttonClicked), this,
            &VelutraView::newDynamicWavelengthFeatureChanged);
    connect(m_ovenModeCombo, &ComboBox::currentIndexChanged, this,
            &VelutraView::ovenModeComboChanged);
    connect(m_oven1Slider, &ComboSlider::valueChanged, this, &VelutraView::oven1SetpointChanged);
    connect(m_oven2Slider, &ComboSlider::valueChanged, this, &VelutraView::oven2SetpointChanged);
    connect(m_showAllSpotsButton, &QPushButton::clicked, this,
            &VelutraView::showAllSpotsButtonClicked);
    connect(m_crystalSpotSlider, &ComboSlider::valueChanged, this,
            &VelutraView::crystalSpotSliderChanged);
    connect(m_crystalSpotSlider, &ComboSlider::valueChanged, this,
            &VelutraView::newCrystalSpotSelected);
}

// ---- Operating mode and wavelength selector -------------------------------------------------

void VelutraView::setOperatingMode(int index)
{
    m_operatingModeCombo->setCurrentIndex(index);
}

bool VelutraView::energyControlShownForChoice(OperatingMode mode)
{
    // In external mode an external signal sets the pulse energy: the panel has none to offer.
    return mode != OperatingModeExternal;
}

void VelutraView::newOperationMode(int mode)
{
    // The operator's choice shows at once. Once the laser reports the mode it runs in, the
    // controller, which owns that policy, has the last word through setPowerSliderVisibility.
    if (mode != OperatingModeInternal && mode != OperatingModeExternal
        && mode != OperatingModeFixedProgram) {
        return;
    }
    m_energySlider->setVisible(energyControlShownForChoice(OperatingMode(mode)));
    showEnergyOfCurrentUnit();
}

void VelutraView::setWavelengthSelectorCombo(int index)
{
    if (index < -1 || index >= s_wavelengthCount) {
        return;
    }
    m_reportedWavelength = index;
    m_wavelengthReported = true;
    if (m_pendingWavelength >= 0) {
        if (index != m_pendingWavelength) {
            // The module is still on its way to the operator's choice.
            return;
        }
        m_pendingWavelength = -1;
        m_pendingWavelengthTimer->stop();
    }
    // What the device reports is the wavelength in use, whatever the operator last chose.
    showSelectedWavelength(index);
}

void VelutraView::showSelectedWavelength(int index)
{
    m_wavelengthSelectorCombo->setCurrentIndex(index);
    m_selectedWavelength = index;
    updateDynamicWlsSaveEnabled();
    updateWavelengthLabels();
}

void VelutraView::updateWavelengthLabels()
{
    // The energy control sets the pulse energy of the wavelength that leaves the laser.
    const int shown = m_selectedWavelength >= 0 ? m_selectedWavelength : 0;
    if (ComboSliderScale *scale = m_energySlider->scale(0)) {
        scale->setName(tr("%1 Energy control").arg(tr(s_wavelengthNames[shown])));
    }
}

void VelutraView::onPendingWavelengthExpired()
{
    if (m_pendingWavelength < 0) {
        return;
    }
    m_pendingWavelength = -1;
    // The module never reported the choice: show where it is, as far as it said.
    if (m_wavelengthReported) {
        showSelectedWavelength(m_reportedWavelength);
    }
}

void VelutraView::setWavelengthSelectorComboItemVisibility(int item, bool visible)
{
    m_wavelengthSelectorCombo->setItemVisibility(item, visible);
}

void VelutraView::setWavelengthSelectorComboVisibility(bool visible)
{
    setRowVisible(m_wavelengthSelectorCombo, visible);
}

void VelutraView::newWavelengthSelected(int index)
{
    if (index < 0 || index >= s_wavelengthCount) {
        return;
    }
    const int previous = m_selectedWavelength;
    if (m_dynamicWavelengthFeatureOn) {
        // The device switches wavelengths itself: nothing to disable, no shutter to move.
        const QPointer<VelutraView> self(this);
        emit wavelengthSelectorComboChanged(index);
        if (!self) {
            return;
        }
        m_pendingWavelength = index;
        m_pendingWavelengthTimer->start();
        showSelectedWavelength(index);
        return;
    }

    // While the prompts are open the combo shows the operator's choice; a report of the
    // wavelength in use that arrives meanwhile must not take it back.
    m_pendingWavelength = index;
    m_pendingWavelengthTimer->stop();
    bool alive = true;
    const bool accepted
            = runPrompt(QStringLiteral("aomWarningDialog"), tr("** Warning **"),
                        tr("The AOM will be disabled, click OK to continue."), true, &alive);
    if (!alive) {
        return;
    }
    if (!accepted) {
        m_pendingWavelength = -1;
        showSelectedWavelength(m_wavelengthReported ? m_reportedWavelength : previous);
        return;
    }

    const QPointer<VelutraView> self(this);
    emit wavelengthSelectorComboChanged(index);
    if (!self) {
        return;
    }
    m_pendingWavelength = index;
    m_pendingWavelengthTimer->start();
    showSelectedWavelength(index);
    const QString newName = tr(s_wavelengthNames[index]);
    const QString text
            = previous >= 0 && previous < s_wavelengthCount
                      ? tr("Open the %1 shutter and close the %2 shutter.\nClick OK to continue.")
                                .arg(newName, tr(s_wavelengthNames[previous]))
                      : tr("Open the %1 shutter and close the other shutters.\nClick OK to "
                           "continue.")
                                .arg(newName);
    runPrompt(QStringLiteral("shutterDialog"), tr("** Attention **"), text, false, &alive);
}

// ---- Measured energies and powers -----------------------------------------------------------

void VelutraView::setPowerMeasuredIR_uJ(double microjoules)
{
    m_lastMeasuredIR_uJ = microjoules;
    showMeasuredEnergy(m_measuredEnergy[WavelengthIR], microjoules);
}

void VelutraView::setPowerMeasuredIR_uJVisibility(bool visible)
{
    setMeasurementRowVisible(m_measuredEnergy, WavelengthIR, visible);
}

void VelutraView::setPowerMeasuredGreen_uJ(double microjoules)
{
    showMeasuredEnergy(m_measuredEnergy[WavelengthGreen], microjoules);
}

void VelutraView::setPowerMeasuredGreen_uJVisibility(bool visible)
{
    setMeasurementRowVisible(m_measuredEnergy, WavelengthGreen, visible);
}

void VelutraView::setPowerMeasuredUV_uJ(double microjoules)
{
    showMeasuredEnergy(m_measuredEnergy[WavelengthUV], microjoules);
}

void VelutraView::setPowerMeasuredUV_uJVisibility(bool visible)
{
    setMeasurementRowVisible(m_measuredEnergy, WavelengthUV, visible);
}

void VelutraView::setPowerMeasuredDUV_uJ(double microjoules)
{
    showMeasuredEnergy(m_measuredEnergy[WavelengthDUV], microjoules);
}

void VelutraView::setPowerMeasuredDUV_uJVisibility(bool visible)
{
    setMeasurementRowVisible(m_measuredEnergy, WavelengthDUV, visible);
}

void VelutraView::setOutputPowerIRMeasuredW(double watts)
{
    showMeasuredPower(m_outputPower[WavelengthIR], watts);
}

void VelutraView::setOutputPowerIRMeasuredWVisibility(bool visible)
{
    setMeasurementRowVisible(m_outputPower, WavelengthIR, visible);
}

void VelutraView::setOutputPowerGreenMeasuredW(double watts)
{
    showMeasuredPower(m_outputPower[WavelengthGreen], watts);
}

void VelutraView::setOutputPowerGreenMeasuredWVisibility(bool visible)
{
    setMeasurementRowVisible(m_outputPower, WavelengthGreen, visible);
}

void VelutraView::setOutputPowerUVMeasuredW(double watts)
{
    showMeasuredPower(m_outputPower[WavelengthUV], watts);
}

void VelutraView::setOutputPowerUVMeasuredWVisibility(bool visible)
{
    setMeasurementRowVisible(m_outputPower, WavelengthUV, visible);
}

void VelutraView::setOutputPowerDUVMeasuredW(double watts)
{
    showMeasuredPower(m_outputPower[WavelengthDUV], watts);
}

void VelutraView::setOutputPowerDUVMeasuredWVisibility(bool visible)
{
    setMeasurementRowVisible(m_outputPower, WavelengthDUV, visible);
}

// ---- Energy slider --------------------------------------------------------------------------

void VelutraView::showEnergyOfCurrentUnit()
{
    const int unit = m_energySlider->currentUnitIndex();
    const bool percent = unit == EnergyUnitPercent;
    const Range &range = percent ? m_energyRangePercent : m_energyRange_uJ;
    m_energySlider->setUnitRange(0, unit, range.minimum, range.maximum);
    m_energySlider->setValue(percent ? m_energySetpointPercent : m_energySetpoint_uJ);
    m_energySlider->updateSlider();
}

void VelutraView::setPowerSetpoint_uJ(double microjoules)
{
    if (!std::isfinite(microjoules)) {
        return;
    }
    m_energySetpoint_uJ = microjoules;
    if (m_energySlider->currentUnitIndex() == EnergyUnit_uJ) {
        m_energySlider->setValue(microjoules);
        m_energySlider->updateSlider();
    }
}

void VelutraView::setPowerSetpoint_Percent(double percent)
{
    if (!std::isfinite(percent)) {
        return;
    }
    m_energySetpointPercent = percent;
    if (m_energySlider->currentUnitIndex() == EnergyUnitPercent) {
        m_energySlider->setValue(percent);
        m_energySlider->updateSlider();
    }
}

void VelutraView::setPowerSetpointIndex(int index)
{
    if (index != EnergyUnit_uJ && index != EnergyUnitPercent) {
        return;
    }
    m_energySlider->setCurrentUnitIndex(index);
    // The unit may have missed values while it was not shown.
    showEnergyOfCurrentUnit();
}

void VelutraView::setPowerSetpointIndexVisibility(int index, bool visible)
{
    if (index != EnergyUnit_uJ && index != EnergyUnitPercent) {
        return;
    }
    m_energySlider->setUnitVisibility(0, index, visible);
}

void VelutraView::setPowerRange_uJ(double first, double second)
{
    if (!orderedRange(&first, &second)) {
        return;
    }
    m_energyRange_uJ = {first, second};
    m_energySlider->setUnitRange(0, EnergyUnit_uJ, first, second);
}

void VelutraView::setPowerRangePercent(double first, double second)
{
    if (!orderedRange(&first, &second)) {
        return;
    }
    m_energyRangePercent = {first, second};
    m_energySlider->setUnitRange(0, EnergyUnitPercent, first, second);
}

void VelutraView::setPowerSliderVisibility(bool visible)
{
    m_energySlider->setVisible(visible);
}

void VelutraView::newPowerValue(double value)
{
    switch (m_energySlider->currentUnitIndex()) {
    case EnergyUnit_uJ:
        m_energySetpoint_uJ = value;
        emit power_uJ_Changed(value);
        break;
    case EnergyUnitPercent:
        m_energySetpointPercent = value;
        emit powerPercentChanged(value);
        break;
    default:
        break;
    }
}

void VelutraView::newPowerIndex(int index)
{
    if (index != EnergyUnit_uJ && index != EnergyUnitPercent) {
        return;
    }
    m_energySlider->setValue(index == EnergyUnit_uJ ? m_energySetpoint_uJ
                                                    : m_energySetpointPercent);
    m_energySlider->updateSlider();
}

void VelutraView::dynamicWLS_SaveButtonClicked()
{
    if (m_selectedWavelength < 0) {
        return;
    }
    const int wavelength = m_selectedWavelength;
    const double energy = m_energySetpoint_uJ;
    const QPointer<VelutraView> self(this);
    emit dynamicWLS_SaveSetpoint(wavelength, energy);
    if (!self) {
        return;
    }
    m_dynamicWlsSavePending = wavelength;
    m_dynamicWlsSaveStatus->setText(tr("Sent: %1 AOM energy level %2 µJ")
                                            .arg(tr(s_wavelengthItems[wavelength]))
                                            .arg(formatReadout(energy, 2)));
}

void VelutraView::showDynamicWlsReported(int wavelength, double microjoules)
{
    if (wavelength != m_dynamicWlsSavePending) {
        return;
    }
    m_dynamicWlsSavePending = -1;
    m_dynamicWlsSaveStatus->setText(tr("The module holds %1 AOM energy level %2 µJ")
                                            .arg(tr(s_wavelengthItems[wavelength]))
                                            .arg(formatReadout(microjoules, 2)));
}

void VelutraView::updateDynamicWlsSaveEnabled()
{
    // Without a known wavelength the set-point would be saved for a guess.
    m_dynamicWlsSaveButton->setEnabled(m_selectedWavelength >= 0);
}

// ---- Repetition rate and division -----------------------------------------------------------

void VelutraView::setOutputRepRate(double kilohertz)
{
    m_outputRepRate->setText(withUnit(kilohertz, 3, QStringLiteral(" kHz")));
}

void VelutraView::setOutputRepRateVisibility(bool visible)
{
    setRowVisible(m_outputRepRate, visible);
}

void VelutraView::showRepRateOfCurrentScale()
{
    m_repRateSlider->setValue(m_repRateSlider->currentScaleIndex() == RepRateScaleDivider
                                      ? m_repRateDivider
                                      : m_repRate);
    m_repRateSlider->updateSlider();
}

void VelutraView::setRepRate(double kilohertz)
{
    if (!std::isfinite(kilohertz)) {
        return;
    }
    m_repRate = kilohertz;
    if (m_repRateSlider->currentScaleIndex() == RepRateScaleRate) {
        showRepRateOfCurrentScale();
    }
}

void VelutraView::setRepRateDivider(double divider)
{
    if (!std::isfinite(divider)) {
        return;
    }
    m_repRateDivider = divider;
    if (m_repRateSlider->currentScaleIndex() == RepRateScaleDivider) {
        showRepRateOfCurrentScale();
    }
}

void VelutraView::setRepRateSteps(const QList<double> &steps)
{
    if (ComboSliderUnit *unit = unitOf(m_repRateSlider, RepRateScaleRate)) {
        unit->setStepList(cleanSteps(steps));
    }
    if (m_repRateSlider->currentScaleIndex() == RepRateScaleRate) {
        showRepRateOfCurrentScale();
    }
}

void VelutraView::setRepRateDividerSteps(const QList<double> &steps)
{
    if (ComboSliderUnit *unit = unitOf(m_repRateSlider, RepRateScaleDivider)) {
        unit->setStepList(cleanSteps(steps));
    }
    if (m_repRateSlider->currentScaleIndex() == RepRateScaleDivider) {
        showRepRateOfCurrentScale();
    }
}

void VelutraView::setRepRateSliderVisibility(bool visible)
{
    m_repRateSlider->setVisible(visible);
}

void VelutraView::setRepRateSliderDisabled(bool disabled)
{
    m_repRateSlider->setDisabled(disabled);
}

void VelutraView::setRepRateScaleIndex(int index)
{
    if (index != RepRateScaleRate && index != RepRateScaleDivider) {
        return;
    }
    m_repRateSlider->setCurrentScaleIndex(index);
    showRepRateOfCurrentScale();
}

void VelutraView::newRepRateSliderValue(double value)
{
    switch (m_repRateSlider->currentScaleIndex()) {
    case RepRateScaleRate:
        m_repRate = value;
        emit repRateChanged(value);
        break;
    case RepRateScaleDivider:
        m_repRateDivider = value;
        emit repRateDividerChanged(value);
        break;
    default:
        break;
    }
}

void VelutraView::setDivision(double factor)
{
    if (!std::isfinite(factor)) {
        return;
    }
    m_divisionSlider->setValue(factor);
    m_divisionSlider->updateSlider();
}

void VelutraView::setDivisionRange(double minimum, double maximum)
{
    if (!orderedRange(&minimum, &maximum)) {
        return;
    }
    if (ComboSliderUnit *unit = unitOf(m_divisionSlider)) {
        unit->setRange(minimum, maximum);
    }
    m_divisionSlider->updateSlider();
}

void VelutraView::setDivisionSliderVisibility(bool visible)
{
    m_divisionSlider->setVisible(visible);
}

void VelutraView::setDivisionSliderDisabled(bool disabled)
{
    m_divisionSlider->setDisabled(disabled);
}

// ---- Dynamic wavelength switching -----------------------------------------------------------

void VelutraView::setDynamicWavelengthFeature(int enabled)
{
    if (enabled != 0 && enabled != 1) {
        return;
    }
    m_dynamicWavelengthFeatureOn = enabled == 1;
    {
        const QSignalBlocker groupBlocker(m_dynamicWlsGroup);
        const QSignalBlocker enableBlocker(m_dynamicWlsEnableRadio);
        const QSignalBlocker disableBlocker(m_dynamicWlsDisableRadio);
        (m_dynamicWavelengthFeatureOn ? m_dynamicWlsEnableRadio : m_dynamicWlsDisableRadio)
                ->setChecked(true);
    }
    light(m_dynamicWlsIndicator, m_dynamicWavelengthFeatureOn, Indicator::Green);
}

void VelutraView::setDynamicWavelengthFeatureVisibility(bool visible)
{
    m_dynamicWlsSection->setVisible(visible);
    m_dynamicWlsBox->setVisible(visible);
    setRowVisible(m_dynamicWlsSaveButton, visible);
}

void VelutraView::newDynamicWavelengthFeatureChanged(QAbstractButton *button)
{
    // The side panel's lamp waits for the device to confirm the change.
    if (button == m_dynamicWlsDisableRadio) {
        m_dynamicWavelengthFeatureOn = false;
        emit dynamicWavelengthFeature(0);
    } else if (button == m_dynamicWlsEnableRadio) {
        m_dynamicWavelengthFeatureOn = true;
        emit dynamicWavelengthFeature(1);
    }
}

void VelutraView::showDynamicWlsEnergy(int wavelength, double microjoules)
{
    m_dynamicWlsValues[wavelength]->setText(withUnit(microjoules, 2, QStringLiteral("µJ")));
    showDynamicWlsReported(wavelength, microjoules);
}

void VelutraView::showDynamicWlsPercent(int wavelength, double percent)
{
    m_dynamicWlsValues[wavelength]->setText(withUnit(percent, 0, QStringLiteral("%")));
}

void VelutraView::setDynamicWLS_IR_uJ(double microjoules)
{
    showDynamicWlsEnergy(WavelengthIR, microjoules);
}

void VelutraView::setDynamicWLS_IR_Percent(double percent)
{
    showDynamicWlsPercent(WavelengthIR, percent);
}

void VelutraView::setDynamicWLS_IR_Visibility(bool visible)
{
    m_dynamicWlsRows[WavelengthIR]->setVisible(visible);
}

void VelutraView::setDynamicWLS_Green_uJ(double microjoules)
{
    showDynamicWlsEnergy(WavelengthGreen, microjoules);
}

void VelutraView::setDynamicWLS_Green_Percent(double percent)
{
    showDynamicWlsPercent(WavelengthGreen, percent);
}

void VelutraView::setDynamicWLS_Green_Visibility(bool visible)
{
    m_dynamicWlsRows[WavelengthGreen]->setVisible(visible);
}

void VelutraView::setDynamicWLS_UV_uJ(double microjoules)
{
    showDynamicWlsEnergy(WavelengthUV, microjoules);
}

void VelutraView::setDynamicWLS_UV_Percent(double percent)
{
    showDynamicWlsPercent(WavelengthUV, percent);
}

void VelutraView::setDynamicWLS_UV_Visibility(bool visible)
{
    m_dynamicWlsRows[WavelengthUV]->setVisible(visible);
}

void VelutraView::setDynamicWLS_DUV_uJ(double microjoules)
{
    showDynamicWlsEnergy(WavelengthDUV, microjoules);
}

void VelutraView::setDynamicWLS_DUV_Percent(double percent)
{
    showDynamicWlsPercent(WavelengthDUV, percent);
}

void VelutraView::setDynamicWLS_DUV_Visibility(bool visible)
{
    m_dynamicWlsRows[WavelengthDUV]->setVisible(visible);
}

// ---- Humidity and ovens ---------------------------------------------------------------------

void VelutraView::setHumidityMonitor(int percent)
{
    m_humidity->setText(QStringLiteral("%1%").arg(percent));
}

void VelutraView::setHumidityMonitorVisibility(bool visible)
{
    setRowVisible(m_humidity, visible);
}

void VelutraView::setOvenMode(int index)
{
    m_ovenModeCombo->setCurrentIndex(index);
}

void VelutraView::setOvenModeVisibility(bool visible)
{
    setRowVisible(m_ovenModeCombo, visible);
}

void VelutraView::setOvenModeReadOnly(bool readOnly)
{
    m_ovenModeCombo->setDisabled(readOnly);
}

void VelutraView::setOven1TempSetpoint(double celsius)
{
    if (!std::isfinite(celsius)) {
        return;
    }
    m_oven1Setpoint = celsius;
    m_oven1SetpointKnown = true;
    m_oven1Slider->setValue(celsius);
    m_oven1Slider->updateSlider();
}

void VelutraView::setOven1TempSetpointRange(double minimum, double maximum)
{
    if (!orderedRange(&minimum, &maximum)) {
        return;
    }
    if (ComboSliderUnit *unit = unitOf(m_oven1Slider)) {
        unit->setRange(minimum, maximum);
    }
    // A set-point that came before its range is shown as reported once the range allows it.
    if (m_oven1SetpointKnown) {
        m_oven1Slider->setValue(m_oven1Setpoint);
    }
    m_oven1Slider->updateSlider();
}

void VelutraView::setOven1TempSetpointVisibility(bool visible)
{
    m_oven1Slider->setVisible(visible);
}

void VelutraView::setOven2TempSetpoint(double celsius)
{
    if (!std::isfinite(celsius)) {
        return;
    }
    m_oven2Setpoint = celsius;
    m_oven2SetpointKnown = true;
    m_oven2Slider->setValue(celsius);
    m_oven2Slider->updateSlider();
}

void VelutraView::setOven2TempSetpointRange(double minimum, double maximum)
{
    if (!orderedRange(&minimum, &maximum)) {
        return;
    }
    if (ComboSliderUnit *unit = unitOf(m_oven2Slider)) {
        unit->setRange(minimum, maximum);
    }
    if (m_oven2SetpointKnown) {
        m_oven2Slider->setValue(m_oven2Setpoint);
    }
    m_oven2Slider->updateSlider();
}

void VelutraView::setOven2TempSetpointVisibility(bool visible)
{
    m_oven2Slider->setVisible(visible);
}

void VelutraView::setOven1TempActual(double celsius)
{
    m_oven1Actual->setText(withUnit(celsius, 1, QStringLiteral(" °C")));
}

void VelutraView::setOven1TempActualVisibility(bool visible)
{
    setRowVisible(m_oven1Actual, visible);
}

void VelutraView::setOven2TempActual(double celsius)
{
    m_oven2Actual->setText(withUnit(celsius, 1, QStringLiteral(" °C")));
}

void VelutraView::setOven2TempActualVisibility(bool visible)
{
    setRowVisible(m_oven2Actual, visible);
}

// ---- Crystal spot ---------------------------------------------------------------------------

void VelutraView::setCrystalPosition(int spot)
{
    // The device's own number is the current spot, even outside the slider's range.
    m_currentCrystalSpot = spot;
    m_crystalSpotKnown = true;
    m_crystalSpotSlider->setValue(spot);
    m_crystalSpotSlider->updateSlider();
    emit closeCrystalSpotWarningWindow();
}

void VelutraView::setCrystalPositionRange(int first, int last)
{
    if (first > last) {
        std::swap(first, last);
    }
    const qint64 count = qint64(last) - qint64(first) + 1;
    if (count > s_maxCrystalSpots) {
        return;
    }
    QList<double> spots;
    spots.reserve(int(count));
    for (qint64 spot = first; spot <= last; ++spot) {
        spots.append(double(spot));
    }
    if (ComboSliderUnit *unit = unitOf(m_crystalSpotSlider)) {
        unit->setStepList(spots);
    }
    if (m_crystalSpotKnown) {
        m_crystalSpotSlider->setValue(m_currentCrystalSpot);
    }
    m_crystalSpotSlider->updateSlider();
}

void VelutraView::setCrystalPositionReadOnly(bool readOnly)
{
    m_crystalSpotSlider->setDisabled(readOnly);
}

void VelutraView::setCrystalPositionVisibility(bool visible)
{
    m_crystalSection->setVisible(visible);
}

void VelutraView::setCrystalCurRuntime(quint64 seconds)
{
    m_crystalCurRuntime = seconds;
    showCrystalRunHours();
}

void VelutraView::setCrystalMaxRuntime(quint64 seconds)
{
    m_crystalMaxRuntime = seconds;
    showCrystalRunHours();
    setSpotTableMaxRuntime(seconds);
}

void VelutraView::showCrystalRunHours()
{
    static constexpr quint64 s_secondsPerHour = 3600;
    m_crystalRunHours->setText(tr("%1 hours of %2")
                                       .arg(m_crystalCurRuntime / s_secondsPerHour)
                                       .arg(m_crystalMaxRuntime / s_secondsPerHour));
}

void VelutraView::newCrystalSpotSelected(double value)
{
    if (!std::isfinite(value) || std::abs(value) > double(std::numeric_limits<int>::max())) {
        return;
    }
    const qint64 spot = qint64(std::round(value));
    const qint64 distance = std::abs(spot - qint64(m_currentCrystalSpot));
    if (distance == 0 || !m_crystalSpotWaitDialog || !m_crystalSpotTicker) {
        return;
    }
    const qint64 seconds
            = std::min<qint64>(distance * s_secondsPerSpot, std::numeric_limits<int>::max());
    m_crystalSpotTicker->startTicker(int(seconds));
    // Not exec(): the crystal's report must still get through while the dialog shows.
    m_crystalSpotWaitDialog->open();
}

// ---- External control -----------------------------------------------------------------------

void VelutraView::updateExternHeading()
{
    m_externHeading->setVisible(!m_externModulationCombo->isHidden()
                                || !m_externTriggerCombo->isHidden()
                                || !m_externPowerlockSlider->isHidden());
}

void VelutraView::setExternModulation(int index)
{
    m_externModulationCombo->setCurrentIndex(index);
}

void VelutraView::setExternModulationVisibility(bool visible)
{
    setRowVisible(m_externModulationCombo, visible);
    updateExternHeading();
}

void VelutraView::setExternTrigger(int index)
{
    m_externTriggerCombo->setCurrentIndex(index);
}

void VelutraView::setExternTriggerVisibility(bool visible)
{
    setRowVisible(m_externTriggerCombo, visible);
    updateExternHeading();
}

void VelutraView::setExternPowerlockInterval(double value)
{
    if (!std::isfinite(value)) {
        return;
    }
    m_externPowerlockSlider->setValue(value);
    m_externPowerlockSlider->updateSlider();
}

void VelutraView::setExternPowerlockIntervalVisibility(bool visible)
{
    m_externPowerlockSlider->setVisible(visible);
    updateExternHeading();
}
