#include "velutraview.h"

#include "_applog.h"
#include "button.h"
#include "combobox.h"
#include "comboslider.h"
#include "dialog.h"
#include "indicator.h"
#include "panelkit.h"
#include "velutraprogressticker.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

using PanelKit::typedLabel;

constexpr int s_sidePanelMargin = 12;
constexpr int s_sidePanelSpacing = 4;
constexpr int s_sideSectionGap = 10;

// One lamp with its name; the row is what visibility slots show and hide.
QWidget *indicatorRow(const QString &text, const QString &objectName, Indicator **indicator)
{
    auto *row = new QWidget;
    row->setObjectName(objectName + QStringLiteral("Row"));
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    *indicator = new Indicator(Indicator::Off, row);
    (*indicator)->setObjectName(objectName);
    (*indicator)->setAccessibleName(text);
    layout->addWidget(*indicator);
    layout->addWidget(typedLabel(text, "panel-label"), 1);
    return row;
}

// A name on the left and its value on the right, as the side panel shows them.
QWidget *valueRow(const QString &name, QLabel *value)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(typedLabel(name, "panel-label"));
    layout->addStretch(1);
    layout->addWidget(value);
    return row;
}

// A section of the side panel, set off from the one above it; a titled one starts with its
// heading.
QWidget *sideBox(const QString &objectName, const QString &title = QString())
{
    auto *box = new QWidget;
    box->setObjectName(objectName);
    auto *layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, s_sideSectionGap, 0, 0);
    layout->setSpacing(s_sidePanelSpacing);
    if (!title.isEmpty()) {
        layout->addWidget(typedLabel(title, "heading"));
    }
    return box;
}

// The View and System settings pages: one column of choices under a heading.
QVBoxLayout *settingsPageColumn(QWidget *page, const QString &objectName, const QString &heading)
{
    page->setObjectName(objectName);
    auto *layout = new QVBoxLayout(page);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(10);
    layout->addWidget(typedLabel(heading, "heading"));
    return layout;
}

struct DynamicWlsRowText
{
    const char *name;
    const char *objectName;
};

// In the order of the wavelength selector: IR, Green, UV, DUV.
constexpr DynamicWlsRowText s_dynamicWlsRows[] = {
        {"IR AOM", "dynamicWlsIR"},
        {"Green AOM", "dynamicWlsGreen"},
        {"UV AOM", "dynamicWlsUV"},
        {"DUV AOM", "dynamicWlsDUV"},
};

} // namespace

void VelutraView::light(Indicator *lamp, bool on, quint32 color)
{
    lamp->setColor(on ? color : Indicator::Off);
}

QString VelutraView::waitingHeader()
{
    return tr("VELUTRA-XP: waiting for the laser…");
}

VelutraView::VelutraView(QWidget *parent)
    : MainView(parent)
{
    setTinyHeader(QStringLiteral("Velutra XP\n"));
    // Until the laser names its model, say what the panel is waiting for.
    setHeader(waitingHeader());
    createSidePanel();
    createControlPage();
    createViewPage();
    createTemperatureDetailsPage();
    createSystemDetailsPage();
    createSystemSettingsPage();
    createHarmonicGeneratorPage();
    createCrystalSpotWaitDialog();
    setControlPage(ControlPage);

    // The frames that scroll the pages and the side panel would each be a stop of their own
    // on the way from one control to the next; a focused control scrolls itself into view.
    const auto frames = findChildren<QScrollArea *>();
    for (QScrollArea *frame : frames) {
        frame->setFocusPolicy(Qt::NoFocus);
    }
}

VelutraView::~VelutraView() = default;

void VelutraView::createSidePanel()
{
    auto *side = new QVBoxLayout(sidePanel());
    side->setContentsMargins(s_sidePanelMargin, s_sidePanelMargin, s_sidePanelMargin,
                             s_sidePanelMargin);
    side->setSpacing(s_sidePanelSpacing);

    side->addWidget(typedLabel(tr("Status"), "heading"));
    side->addWidget(
            indicatorRow(tr("Power On"), QStringLiteral("powerOnIndicator"), &m_powerOnIndicator));
    side->addWidget(indicatorRow(tr("Error"), QStringLiteral("errorIndicator"), &m_errorIndicator));
    side->addWidget(
            indicatorRow(tr("Warning"), QStringLiteral("warningIndicator"), &m_warningIndicator));
    side->addWidget(indicatorRow(tr("Device Setup"), QStringLiteral("deviceSetupIndicator"),
                                 &m_deviceSetupIndicator));
    side->addWidget(
            indicatorRow(tr("Shutter"), QStringLiteral("shutterIndicator"), &m_shutterIndicator));
    m_ovenFaultRow = indicatorRow(tr("Oven fault"), QStringLiteral("ovenFaultIndicator"),
                                  &m_ovenFaultIndicator);
    side->addWidget(m_ovenFaultRow);
    m_humidityFaultRow
            = indicatorRow(tr("Humidity fault"), QStringLiteral("humidityFaultIndicator"),
                           &m_humidityFaultIndicator);
    side->addWidget(m_humidityFaultRow);
    m_errorcodeHGRow = indicatorRow(tr("SHG/THG fault"), QStringLiteral("errorcodeHGIndicator"),
                                    &m_errorcodeHGIndicator);
    side->addWidget(m_errorcodeHGRow);
    // The module's message can be a sentence: let it wrap inside the panel's width.
    m_errorcodeHGMessage
            = typedLabel(QString(), "panel-text", QStringLiteral("errorcodeHGMessage"));
    m_errorcodeHGMessage->setWordWrap(true);
    m_errorcodeHGMessage->setTextFormat(Qt::PlainText);
    side->addWidget(m_errorcodeHGMessage);

    m_dynamicWlsBox = sideBox(QStringLiteral("dynamicWlsBox"), tr("Wavelength switching"));
    auto *dynamicLayout = static_cast<QVBoxLayout *>(m_dynamicWlsBox->layout());
    dynamicLayout->addWidget(indicatorRow(tr("Dynamic Wl. Switching"),
                                          QStringLiteral("dynamicWlsIndicator"),
                                          &m_dynamicWlsIndicator));
    for (int i = 0; i < s_wavelengthCount; ++i) {
        const QString name = QString::fromLatin1(s_dynamicWlsRows[i].objectName);
        m_dynamicWlsValues[i]
                = typedLabel(QStringLiteral("??µJ"), "panel-text", name + QStringLiteral("Value"));
        m_dynamicWlsValues[i]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        m_dynamicWlsRows[i] = valueRow(tr(s_dynamicWlsRows[i].name), m_dynamicWlsValues[i]);
        m_dynamicWlsRows[i]->setObjectName(name + QStringLiteral("Row"));
        dynamicLayout->addWidget(m_dynamicWlsRows[i]);
    }
    side->addWidget(m_dynamicWlsBox);

    m_sideWavelengthRow = sideBox(QStringLiteral("sideWavelengthRow"));
    auto *wavelengthLayout = static_cast<QVBoxLayout *>(m_sideWavelengthRow->layout());
    auto *wavelengthLabel = typedLabel(tr("Wavelength:"), "panel-label");
    wavelengthLayout->addWidget(wavelengthLabel);
    m_sideWavelengthCombo = new ComboBox;
    m_sideWavelengthCombo->setObjectName(QStringLiteral("sideWavelengthCombo"));
    m_sideWavelengthCombo->addItems(
            {QStringLiteral("1030 nm"), QStringLiteral("515 nm"), QStringLiteral("343 nm")});
    // No reply of the laser reports its wavelength register: until the operator chooses one
    // (or a firmware reports it) the box says so instead of showing an empty field.
    m_sideWavelengthCombo->setCurrentIndex(-1);
    m_sideWavelengthCombo->setPlaceholderText(tr("not reported"));
    wavelengthLabel->setBuddy(m_sideWavelengthCombo);
    wavelengthLayout->addWidget(m_sideWavelengthCombo);
    m_sideWavelengthFixed
            = typedLabel(QString(), "panel-text", QStringLiteral("sideWavelengthFixed"));
    m_sideWavelengthFixed->setVisible(false);
    wavelengthLayout->addWidget(m_sideWavelengthFixed);
    side->addWidget(m_sideWavelengthRow);
    connect(m_sideWavelengthCombo, &ComboBox::currentIndexChanged, this, [this](int index) {
        m_sideWavelengthKnown = true;
        emit wavelengthChanged(index);
    });

    m_systemInfoBox = sideBox(QStringLiteral("systemInfoBox"), tr("System info"));
    auto *infoLayout = static_cast<QVBoxLayout *>(m_systemInfoBox->layout());
    m_sidePanelSerialNumber = typedLabel(QStringLiteral("???"), "panel-text",
                                         QStringLiteral("sidePanelSerialNumber"));
    m_sidePanelSerialNumber->setTextFormat(Qt::PlainText);
    infoLayout->addWidget(typedLabel(tr("Serial number:"), "panel-label"));
    infoLayout->addWidget(m_sidePanelSerialNumber);
    m_sidePanelFirmwareVersion = typedLabel(QStringLiteral("???"), "panel-text",
                                            QStringLiteral("sidePanelFirmwareVersion"));
    m_sidePanelFirmwareVersion->setTextFormat(Qt::PlainText);
    m_sidePanelFirmwareVersion->setWordWrap(true);
    infoLayout->addWidget(typedLabel(tr("Firmware version:"), "panel-label"));
    infoLayout->addWidget(m_sidePanelFirmwareVersion);
    side->addWidget(m_systemInfoBox);
    // "System info" on the View page starts unchecked.
    m_systemInfoBox->setVisible(false);

    m_digitalGateBox = sideBox(QStringLiteral("digitalGateBox"), tr("Digital Gate Logic"));
    auto *gateLayout = static_cast<QVBoxLayout *>(m_digitalGateBox->layout());
    m_sideGateLevel0V
            = typedLabel(QStringLiteral("???"), "panel-text", QStringLiteral("sideGateLevel0V"));
    m_sideGateLevel3V3
            = typedLabel(QStringLiteral("???"), "panel-text", QStringLiteral("sideGateLevel3V3"));
    gateLayout->addWidget(valueRow(tr("0V:"), m_sideGateLevel0V));
    gateLayout->addWidget(valueRow(tr("3.3V:"), m_sideGateLevel3V3));
    side->addWidget(m_digitalGateBox);

    side->addStretch(1);
}

void VelutraView::createViewPage()
{
    auto *page = new QWidget;
    QVBoxLayout *layout = settingsPageColumn(page, QStringLiteral("viewPage"), tr("View"));
    m_systemInfoCheckBox = new QCheckBox(tr("System info"));
    m_systemInfoCheckBox->setObjectName(QStringLiteral("systemInfoCheckBox"));
    m_systemInfoCheckBox->setProperty("flat", true);
    fitToText(m_systemInfoCheckBox);
    layout->addWidget(m_systemInfoCheckBox);
    layout->addStretch(1);
    addControlPage(page, tr("View"));

    // clicked() comes only from the operator (mouse or Space); a value the controller puts
    // back with setSystemInfoView() must not be reported as a choice.
    connect(m_systemInfoCheckBox, &QCheckBox::clicked, this, [this](bool checked) {
        setSystemInfoView(checked);
        emit systemInfoViewChanged(checked);
    });
}

void VelutraView::createSystemSettingsPage()
{
    auto *page = new QWidget;
    QVBoxLayout *layout = settingsPageColumn(page, QStringLiteral("systemSettingsPage"),
                                             tr("Digital Gate Logic"));

    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(10);
    m_digitalGateGroup = new QButtonGroup(page);
    // What each logic means, written beside its button: mode 0 opens the AOM at 0 V.
    const QString open = tr("AOM open");
    const QString closed = tr("AOM closed");
    const QString levels[2][2] = {{open, closed}, {closed, open}};
    for (int mode = 0; mode < 2; ++mode) {
        auto *radio = new QRadioButton(tr("Logic %1").arg(mode));
        radio->setObjectName(QStringLiteral("digitalGateRadio%1").arg(mode));
        radio->setProperty("flat", true);
        fitToText(radio);
        m_digitalGateGroup->addButton(radio, mode);
        grid->addWidget(radio, mode, 0);
        grid->addWidget(typedLabel(tr("0V:"), "label"), mode, 1);
        grid->addWidget(typedLabel(levels[mode][0], "text",
                                   QStringLiteral("digitalGate%1Level0V").arg(mode)),
                        mode, 2);
        grid->addWidget(typedLabel(tr("3.3V:"), "label"), mode, 3);
        grid->addWidget(typedLabel(levels[mode][1], "text",
                                   QStringLiteral("digitalGate%1Level3V3").arg(mode)),
                        mode, 4);
    }
    grid->setColumnStretch(5, 1);
    layout->addLayout(grid);
    layout->addStretch(1);
    addControlPage(page, tr("System settings"));

    connect(m_digitalGateGroup, QOverload<QAbstractButton *>::of(&QButtonGroup::buttonClicked),
            this, &VelutraView::newDigitalGateSelected);
}

void VelutraView::createCrystalSpotWaitDialog()
{
    m_crystalSpotWaitDialog = new Dialog(this, true);
    m_crystalSpotWaitDialog->setObjectName(QStringLiteral("crystalSpotWaitDialog"));
    m_crystalSpotWaitDialog->setModal(true);
    auto *layout = new QVBoxLayout(m_crystalSpotWaitDialog);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(12);
    auto *header = typedLabel(tr("** Attention **"), "label-header");
    header->setAlignment(Qt::AlignCenter);
    layout->addWidget(header);
    auto *text = typedLabel(tr("The current spot is changing, please wait"), "label",
                            QStringLiteral("crystalSpotWaitText"));
    text->setAlignment(Qt::AlignCenter);
    layout->addWidget(text);
    m_crystalSpotTicker = new VelutraProgressTicker(m_crystalSpotWaitDialog);
    m_crystalSpotTicker->setObjectName(QStringLiteral("crystalSpotTicker"));
    layout->addWidget(m_crystalSpotTicker);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *cancel
            = new Button(tr("Cancel"), Button::Compact, Button::Action, m_crystalSpotWaitDialog);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    buttons->addWidget(cancel);
    layout->addLayout(buttons);
    m_crystalSpotWaitDialog->hide();

    // Cancelling only stops waiting: the device goes on to the spot it was sent to.
    connect(cancel, &QPushButton::clicked, m_crystalSpotWaitDialog, &QDialog::reject);
    connect(this, &VelutraView::closeCrystalSpotWarningWindow, m_crystalSpotWaitDialog,
            &QDialog::reject);
    connect(m_crystalSpotTicker, &VelutraProgressTicker::sigTimeElapsed, this,
            &VelutraView::onCrystalSpotTimeElapsed);
    connect(m_crystalSpotWaitDialog, &QDialog::finished, m_crystalSpotTicker,
            &VelutraProgressTicker::stopTicker);
}

void VelutraView::onCrystalSpotTimeElapsed()
{
    if (!m_crystalSpotWaitDialog->isVisible()) {
        return;
    }
    // The device never reported the new spot within the time allowed for the move.
    _AppLog::WriteLogLine(tr("Crystal spot change not confirmed"));
    m_crystalSpotWaitDialog->reject();
}

bool VelutraView::runPrompt(const QString &objectName, const QString &header, const QString &text,
                            bool withCancel, bool *alive)
{
    // On the heap and guarded: a port that closes during the prompt deletes the view, and
    // with it this dialog, inside exec().
    QPointer<Dialog> dialog = new Dialog(this, true);
    dialog->setObjectName(objectName);
    auto *layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(12);
    auto *headerLabel = typedLabel(header, "label-header", QStringLiteral("promptHeader"));
    headerLabel->setAlignment(Qt::AlignCenter);
    layout->addWidget(headerLabel);
    auto *textLabel = typedLabel(text, "label", QStringLiteral("promptText"));
    textLabel->setAlignment(Qt::AlignCenter);
    textLabel->setTextFormat(Qt::PlainText);
    layout->addWidget(textLabel);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *ok = new Button(tr("OK"), Button::Compact, Button::Action, dialog);
    ok->setObjectName(QStringLiteral("okButton"));
    ok->setDefault(true);
    buttons->addWidget(ok);
    auto *cancel = new Button(tr("Cancel"), Button::Compact, Button::Action, dialog);
    cancel->setObjectName(QStringLiteral("cancelButton"));
    cancel->setVisible(withCancel);
    buttons->addWidget(cancel);
    layout->addLayout(buttons);
    connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);

    const int result = dialog->exec();
    if (!dialog) {
        *alive = false;
        return false;
    }
    *alive = true;
    delete dialog;
    return result == QDialog::Accepted;
}

void VelutraView::fitToText(QAbstractButton *button)
{
    static constexpr int s_indicatorAndSpacing = 16 + 8 + 12;
    button->ensurePolished();
    const QSize text = button->fontMetrics().size(0, button->text());
    if (qobject_cast<QPushButton *>(button)) {
        // As a style rule: the panel's own min-height rule is applied again at every polish.
        button->setStyleSheet(QStringLiteral("min-height: %1px;").arg(text.height()));
    } else {
        button->setMinimumWidth(text.width() + s_indicatorAndSpacing);
        button->setMinimumHeight(qMax(text.height(), 16) + 6);
    }
}

void VelutraView::setRowVisible(QWidget *control, bool visible)
{
    if (!control) {
        return;
    }
    control->setVisible(visible);
    if (QWidget *label = m_rowLabels.value(control)) {
        label->setVisible(visible);
    }
}

// ---- Side panel slots -----------------------------------------------------------------------

void VelutraView::setPowerOnIndicator(bool on)
{
    light(m_powerOnIndicator, on, Indicator::Green);
}

void VelutraView::setErrorIndicator(bool on)
{
    light(m_errorIndicator, on, Indicator::Red);
}

void VelutraView::setWarningIndicator(bool on)
{
    light(m_warningIndicator, on, Indicator::Orange);
}

void VelutraView::setDeviceSetupIndicator(bool on)
{
    light(m_deviceSetupIndicator, on, Indicator::Orange);
}

void VelutraView::setShutterIndicator(bool open)
{
    light(m_shutterIndicator, open, Indicator::Orange);
}

void VelutraView::setOvenFaultIndicator(bool on)
{
    light(m_ovenFaultIndicator, on, Indicator::Red);
}

void VelutraView::setOvenFaultIndicatorVisibility(bool visible)
{
    m_ovenFaultRow->setVisible(visible);
}

void VelutraView::setHumidityFaultIndicator(bool on)
{
    light(m_humidityFaultIndicator, on, Indicator::Red);
}

void VelutraView::setHumidityFaultIndicatorVisibility(bool visible)
{
    m_humidityFaultRow->setVisible(visible);
}

void VelutraView::setErrorcodeHGIndicator(bool on)
{
    light(m_errorcodeHGIndicator, on, Indicator::Red);
}

void VelutraView::setErrorcodeHGMessage(const QString &message)
{
    m_errorcodeHGMessage->setText(message);
}

void VelutraView::setErrorcodeHGIndicatorVisible(bool visible)
{
    m_errorcodeHGRow->setVisible(visible);
    m_errorcodeHGMessage->setVisible(visible);
}

void VelutraView::setWavelengthSelector(int index)
{
    m_sideWavelengthCombo->setCurrentIndex(index);
    m_sideWavelengthKnown = m_sideWavelengthCombo->currentIndex() >= 0;
    updateSideWavelengthEnabled();
}

void VelutraView::setWavelengthSelectorEnabled(bool enabled)
{
    m_wavelengthLockOpen = enabled;
    updateSideWavelengthEnabled();
}

void VelutraView::enableWavelengths(bool entry0, bool entry1, bool entry2)
{
    // The entries are the values 0, 1, 2 of the device's wavelength register, which run
    // from the shortest wavelength up; the combo lists them from the longest.
    m_sideWavelengthCombo->setItemVisibility(2, entry0);
    m_sideWavelengthCombo->setItemVisibility(1, entry1);
    m_sideWavelengthCombo->setItemVisibility(0, entry2);
    if (!m_sideWavelengthKnown) {
        updateSideWavelengthWhenUnknown();
    }
    updateSideWavelengthEnabled();
}

void VelutraView::updateSideWavelengthWhenUnknown()
{
    if (m_sideWavelengthCombo->visibleItemCount() >= 2) {
        m_sideWavelengthCombo->setCurrentIndex(-1);
        return;
    }
    // A firmware that offers no choice leaves the laser on its fundamental; one that offers a
    // single wavelength leaves it on that one.
    int only = 0;
    for (int i = 0; i < m_sideWavelengthCombo->count(); ++i) {
        if (m_sideWavelengthCombo->isItemVisible(i)) {
            only = i;
        }
    }
    m_sideWavelengthCombo->setCurrentIndex(only);
}

void VelutraView::updateSideWavelengthEnabled()
{
    // With one wavelength on offer there is nothing to choose, and while the device holds
    // the lock the operator may not choose.
    const bool choice = m_sideWavelengthCombo->visibleItemCount() >= 2;
    m_sideWavelengthCombo->setEnabled(choice && m_wavelengthLockOpen);
    // A disabled box reads as a broken control; the one wavelength there is reads as a value.
    const bool fixed = !choice && m_sideWavelengthCombo->currentIndex() >= 0;
    m_sideWavelengthFixed->setText(m_sideWavelengthCombo->currentText());
    m_sideWavelengthFixed->setVisible(fixed);
    m_sideWavelengthCombo->setVisible(!fixed);
}

void VelutraView::setSystemInfoView(bool visible)
{
    const QSignalBlocker blocker(m_systemInfoCheckBox);
    m_systemInfoCheckBox->setChecked(visible);
    m_systemInfoBox->setVisible(visible);
}

void VelutraView::setDigitalGate(int mode)
{
    if (mode != 0 && mode != 1) {
        return;
    }
    if (QAbstractButton *radio = m_digitalGateGroup->button(mode)) {
        const QSignalBlocker groupBlocker(m_digitalGateGroup);
        const QSignalBlocker blocker(radio);
        radio->setChecked(true);
    }
    showDigitalGateLevels(mode);
}

void VelutraView::setDigitalGateVisible(bool visible)
{
    m_digitalGateBox->setVisible(visible);
    setSettingsPageAccess(SystemSettingsPage, visible);
}

void VelutraView::newDigitalGateSelected(QAbstractButton *button)
{
    const int mode = m_digitalGateGroup->id(button);
    if (mode != 0 && mode != 1) {
        return;
    }
    showDigitalGateLevels(mode);
    emit digitalGateModeChanged(mode);
}

void VelutraView::showDigitalGateLevels(int mode)
{
    const QString open = tr("AOM Open");
    const QString closed = tr("AOM Closed");
    m_sideGateLevel0V->setText(mode == 0 ? open : closed);
    m_sideGateLevel3V3->setText(mode == 0 ? closed : open);
}

void VelutraView::setHGSettingsPageVisibility(bool visible)
{
    setSettingsPageAccess(HarmonicGeneratorPage, visible);
}

void VelutraView::setAddress(int address)
{
    setHeader(address);
}
