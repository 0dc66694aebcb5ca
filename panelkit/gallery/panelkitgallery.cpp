#include "panelkitgallery.h"

#include "button.h"
#include "combobox.h"
#include "comboslider.h"
#include "dialog.h"
#include "flowlayout.h"
#include "indicator.h"
#include "indicatorbutton.h"
#include "lineedit.h"
#include "mainview.h"
#include "panelkit.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QRadioButton>
#include <QVBoxLayout>
#include <QVector>

#include <initializer_list>
#include <utility>

namespace {

using PanelKit::typedLabel;

QWidget *indicatorRow(const QString &text, quint32 color)
{
    auto *row = new QWidget;
    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new Indicator(color));
    layout->addWidget(typedLabel(text, "panel-label"), 1);
    return row;
}

// A side-panel box of names, each with its value beside it.
QGroupBox *sideValues(const QString &title,
                      std::initializer_list<std::pair<const char *, const char *>> rows)
{
    auto *box = new QGroupBox(title);
    auto *grid = new QGridLayout(box);
    int row = 0;
    for (const auto &nameAndValue : rows) {
        grid->addWidget(typedLabel(QString::fromUtf8(nameAndValue.first), "panel-label"), row, 0);
        grid->addWidget(typedLabel(QString::fromUtf8(nameAndValue.second), "panel-text"), row, 1);
        ++row;
    }
    return box;
}

// The margins every sample page keeps to the frame around it.
void setPageMargins(QLayout *layout)
{
    layout->setContentsMargins(16, 8, 16, 16);
}

// Below its last row a grid page gives the rest of the height away; the values take the width.
void closeGridPage(QGridLayout *grid, int rowAfterLast)
{
    grid->setRowStretch(rowAfterLast, 1);
    grid->setColumnStretch(1, 1);
}

// A heading, then a row of samples that wraps at the page's width.
FlowLayout *addSampleRow(QVBoxLayout *page, const QString &heading, const char *headingType,
                         int horizontalSpacing, int verticalSpacing)
{
    page->addWidget(typedLabel(heading, headingType));
    auto *samples = new QWidget;
    auto *flow = new FlowLayout(samples, 0, horizontalSpacing, verticalSpacing);
    page->addWidget(samples);
    return flow;
}

} // namespace

PanelKitGallery::PanelKitGallery(QWidget *parent)
    : QWidget(parent)
{
    m_view = new MainView(this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);

    m_view->setTinyHeader(QStringLiteral("PanelKit gallery\n"));
    m_view->setHeader(QStringLiteral("Every widget, every state"));
    buildSidePanel();
    m_view->addControlPage(buildControlPage(), QStringLiteral("Control"));
    m_view->addControlPage(buildIndicatorPage(), QStringLiteral("Indicators && buttons"));
    m_view->addControlPage(buildInputPage(), QStringLiteral("Inputs"));
    m_view->addControlPage(typedLabel(QStringLiteral("Service only"), "title"),
                           QStringLiteral("Service"));
    m_view->setSettingsPageAccess(3, false);
    m_view->setRemoteControlWidget(buildRemoteControl());
    m_view->setControlPage(0);
}

void PanelKitGallery::buildSidePanel()
{
    auto *side = new QVBoxLayout(m_view->sidePanel());
    side->setContentsMargins(12, 12, 12, 12);
    side->setSpacing(4);
    side->addWidget(typedLabel(QStringLiteral("Status"), "heading"));
    side->addWidget(indicatorRow(QStringLiteral("Power On"), Indicator::Green));
    side->addWidget(indicatorRow(QStringLiteral("Error"), Indicator::Red));
    side->addWidget(indicatorRow(QStringLiteral("Warning"), Indicator::Orange));
    side->addWidget(indicatorRow(QStringLiteral("Device Setup"), Indicator::Off));
    side->addWidget(indicatorRow(QStringLiteral("Oven fault"), Indicator::Off));

    side->addWidget(typedLabel(QStringLiteral("Wavelength"), "heading"));
    auto *wavelength = new ComboBox;
    wavelength->addItems(
            {QStringLiteral("1030 nm"), QStringLiteral("515 nm"), QStringLiteral("343 nm")});
    wavelength->setItemVisibility(2, false);
    wavelength->setCurrentIndex(1);
    side->addWidget(wavelength);

    side->addWidget(sideValues(QStringLiteral("System info"),
                               {{"Serial number:", "VX-10-0042"}, {"Firmware version:", "3.1.7"}}));
    side->addWidget(sideValues(QStringLiteral("Digital Gate Logic"),
                               {{"0V:", "AOM Open"}, {"3.3V:", "AOM Closed"}}));
    side->addStretch(1);
}

QWidget *PanelKitGallery::buildControlPage()
{
    auto *page = new QWidget;
    auto *grid = new QGridLayout(page);
    setPageMargins(grid);
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(8);
    int row = 0;

    grid->addWidget(typedLabel(QStringLiteral("Energy"), "title"), row++, 0, 1, 2);
    grid->addWidget(typedLabel(QStringLiteral("Operating mode"), "label"), row, 0);
    auto *mode = new ComboBox;
    mode->addItems({QStringLiteral("Internal"), QStringLiteral("External")});
    grid->addWidget(mode, row++, 1, Qt::AlignLeft);
    grid->addWidget(typedLabel(QStringLiteral("Measured IR energy"), "label"), row, 0);
    grid->addWidget(typedLabel(QStringLiteral("41.27 µJ"), "text"), row++, 1);

    // Two units, each with its own range and value.
    auto *energy = new ComboSlider(25);
    m_energy = energy;
    auto *energyScale = new ComboSliderScale(QStringLiteral("IR Energy control"));
    energyScale->addUnit(QStringLiteral("µJ"), 0, 60, 2);
    energyScale->addUnit(QStringLiteral("%"), 0, 100, 2);
    energy->addScale(energyScale);
    energy->setValue(41.25);
    grid->addWidget(energy, row++, 0, 1, 2);

    grid->addWidget(typedLabel(QStringLiteral("Repetition rate"), "title"), row++, 0, 1, 2);
    // Two scales, both stopping only on listed steps.
    auto *rate = new ComboSlider(25);
    auto *rateScale
            = new ComboSliderScale(QStringLiteral("Rep rate control"), ScaleSlider::Stepped);
    rateScale->addUnit(QStringLiteral("kHz"), 0, 100, 3);
    auto *dividerScale = new ComboSliderScale(QStringLiteral("Rep rate divider control"),
                                              ScaleSlider::Stepped);
    dividerScale->addUnit(QString(), 0, 100, 0);
    rate->addScale(rateScale);
    rate->addScale(dividerScale);
    rateScale->unit(0)->setStepList({1000, 500, 333.333, 250, 200, 166.667, 125, 100, 50, 25});
    dividerScale->unit(0)->setStepList({1, 2, 3, 4, 5, 6, 8, 10, 20, 40});
    rate->setValue(200);
    grid->addWidget(rate, row++, 0, 1, 2);

    auto *division = new ComboSlider(25);
    division->addScale(new ComboSliderScale(QStringLiteral("Division factor control"),
                                            ScaleSlider::Logarithmic));
    division->scale(0)->addUnit(QString(), 1, 10000000, 0);
    division->scale(0)->setScaleType(ScaleSlider::Logarithmic);
    division->setValue(2500);
    grid->addWidget(division, row++, 0, 1, 2);

    grid->addWidget(typedLabel(QStringLiteral("Crystal"), "title"), row++, 0, 1, 2);
    auto *spot = new ComboSlider(25);
    spot->addScale(
            new ComboSliderScale(QStringLiteral("Current crystal spot"), ScaleSlider::Stepped));
    spot->scale(0)->addUnit(QString(), 1, 100, 0);
    spot->scale(0)->unit(0)->setStepList({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    spot->setValue(7);
    grid->addWidget(spot, row++, 0, 1, 2);

    auto *oven = new ComboSlider(25);
    oven->addScale(QStringLiteral("SHG Oven temperature setpoint (disabled)"));
    oven->scale(0)->addUnit(QStringLiteral("°C"), 1, 100, 1);
    oven->setValue(48.5);
    oven->setDisabled(true);
    grid->addWidget(oven, row++, 0, 1, 2);

    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(12);
    buttons->addWidget(
            new Button(QStringLiteral("set AOM\nenergy level"), Button::Panel, Button::Action));
    buttons->addWidget(
            new Button(QStringLiteral("Show all\nspots"), Button::Compact, Button::Action));
    buttons->addStretch(1);
    grid->addLayout(buttons, row++, 0, 1, 2);
    closeGridPage(grid, row);
    return page;
}

QWidget *PanelKitGallery::buildIndicatorPage()
{
    auto *page = new QWidget;
    auto *layout = new QVBoxLayout(page);
    setPageMargins(layout);

    FlowLayout *flow = addSampleRow(layout, QStringLiteral("Indicators"), "title", 18, 8);
    const struct
    {
        const char *name;
        quint32 color;
    } lampStates[] = {{"Off", Indicator::Off},
                      {"Green", Indicator::Green},
                      {"Orange", Indicator::Orange},
                      {"Red", Indicator::Red}};
    for (const auto &state : lampStates) {
        flow->addWidget(indicatorRow(QString::fromLatin1(state.name), state.color));
    }
    auto *disabledLamp = indicatorRow(QStringLiteral("Disabled"), Indicator::Green);
    disabledLamp->setEnabled(false);
    flow->addWidget(disabledLamp);

    FlowLayout *sizeFlow
            = addSampleRow(layout, QStringLiteral("Buttons: sizes 1 to 6"), "heading", 10, 10);
    for (int size = Button::Compact; size <= Button::Panel; ++size) {
        sizeFlow->addWidget(new Button(QStringLiteral("Size %1").arg(size), size, Button::Action));
    }

    FlowLayout *colorFlow = addSampleRow(
            layout, QStringLiteral("Buttons: colours 0 to 4, disabled"), "heading", 10, 10);
    const char *colorNames[] = {"Neutral", "Go", "Action", "Caution", "Stop"};
    for (int color = Button::Neutral; color <= Button::Stop; ++color) {
        colorFlow->addWidget(
                new Button(QString::fromLatin1(colorNames[color]), Button::Regular, color));
    }
    auto *disabled = new Button(QStringLiteral("Disabled"), Button::Regular, Button::Action);
    disabled->setEnabled(false);
    colorFlow->addWidget(disabled);

    FlowLayout *positionFlow = addSampleRow(
            layout, QStringLiteral("Indicator buttons: lamp positions"), "heading", 10, 10);
    const char *positionNames[] = {"Lamp left", "Lamp top", "Lamp right", "Lamp bottom"};
    for (int position = IndicatorButton::Left; position <= IndicatorButton::Bottom; ++position) {
        auto *button = new IndicatorButton(QString::fromLatin1(positionNames[position]), position);
        button->setColors(Indicator::Green, Indicator::Off);
        button->setActive(position % 2 == 1);
        positionFlow->addWidget(button);
    }
    layout->addStretch(1);
    return page;
}

QWidget *PanelKitGallery::buildInputPage()
{
    auto *page = new QWidget;
    auto *grid = new QGridLayout(page);
    setPageMargins(grid);
    grid->setHorizontalSpacing(16);
    int row = 0;
    grid->addWidget(typedLabel(QStringLiteral("System Details"), "title"), row++, 0, 1, 2);
    grid->addWidget(typedLabel(QStringLiteral("System"), "heading"), row++, 0, 1, 2);
    const char *fields[][2]
            = {{"Hardware:", "VX-10 rev C"}, {"Firmware:", "3.1.7"}, {"Serial Number:", "???"}};
    for (const auto &field : fields) {
        grid->addWidget(typedLabel(QString::fromUtf8(field[0]), "label"), row, 0);
        auto *edit = new LineEdit(QString::fromUtf8(field[1]));
        edit->setReadOnly(true);
        edit->setDarkBackground();
        grid->addWidget(edit, row++, 1);
    }
    grid->addWidget(typedLabel(QStringLiteral("Plain line edit:"), "label"), row, 0);
    grid->addWidget(new LineEdit(QStringLiteral("editable")), row++, 1);

    grid->addWidget(typedLabel(QStringLiteral("Choices"), "heading"), row++, 0, 1, 2);
    auto *check = new QCheckBox(QStringLiteral("System info"));
    check->setProperty("flat", true);
    check->setChecked(true);
    grid->addWidget(check, row++, 0, 1, 2);
    auto *group = new QButtonGroup(page);
    auto *enable = new QRadioButton(QStringLiteral("Enable Dynamic\nWavelength feature"));
    auto *disable = new QRadioButton(QStringLiteral("Disable Dynamic\nWavelength feature"));
    for (QRadioButton *radio : {enable, disable}) {
        radio->setProperty("flat", true);
        group->addButton(radio);
    }
    disable->setChecked(true);
    grid->addWidget(enable, row, 0);
    grid->addWidget(disable, row++, 1);
    auto *disabledBox = new ComboBox;
    disabledBox->addItem(QStringLiteral("Disabled selector"));
    disabledBox->setEnabled(false);
    grid->addWidget(disabledBox, row++, 0);

    grid->addWidget(typedLabel(QStringLiteral("Progress"), "heading"), row++, 0, 1, 2);
    auto *progress = new QProgressBar;
    progress->setProperty("flat", true);
    progress->setRange(0, 10);
    progress->setValue(6);
    progress->setTextVisible(false);
    grid->addWidget(progress, row++, 0, 1, 2);
    closeGridPage(grid, row);
    return page;
}

QWidget *PanelKitGallery::buildRemoteControl()
{
    auto *remote = new QWidget;
    auto *layout = new QVBoxLayout(remote);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);

    // The same four buttons in the states a remote shows: active, blinking, idle, disabled.
    const char *texts[] = {"Output\ndisable", "Laser On", "Standby", "Listen"};
    QVector<IndicatorButton *> buttons;
    for (const char *text : texts) {
        auto *button = new IndicatorButton(QString::fromLatin1(text), IndicatorButton::Top);
        button->setColors(Indicator::Red, Indicator::Off);
        button->setButtonColor(2);
        layout->addWidget(button);
        buttons.append(button);
    }
    buttons[0]->setActive(true);
    buttons[1]->setBlink(true, 500, Indicator::Red);
    buttons[3]->setEnabled(false);
    layout->addStretch(1);
    return remote;
}

void PanelKitGallery::focusSample()
{
    m_energy->setFocus(Qt::TabFocusReason);
}

Dialog *PanelKitGallery::createSampleDialog(QWidget *parent)
{
    auto *dialog = new Dialog(parent, true);
    auto *layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(24, 18, 24, 18);
    auto *header = typedLabel(QStringLiteral("** Warning **"), "label-header");
    header->setAlignment(Qt::AlignCenter);
    auto *text = typedLabel(QStringLiteral("The AOM will be disabled, click OK to continue."),
                            "label");
    text->setAlignment(Qt::AlignCenter);
    layout->addWidget(header);
    layout->addWidget(text);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *ok = new Button(QStringLiteral("OK"), Button::Compact, Button::Action);
    auto *cancel = new Button(QStringLiteral("Cancel"), Button::Compact, Button::Action);
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    layout->addSpacing(10);
    layout->addLayout(buttons);
    connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, dialog, &QDialog::reject);
    return dialog;
}
