#include "velutraview.h"

#include "button.h"
#include "dialog.h"
#include "lineedit.h"
#include "panelkit.h"

#include <QFontMetrics>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <iterator>

namespace {

constexpr int s_temperatureRowCount = 10;
// Values such as firmware strings can be long: a field asks for the width of its text within
// these bounds and gives way to a narrow window down to its minimum; whatever it cannot show
// is in its tool tip.
constexpr int s_fieldMinimumWidth = 160;
constexpr int s_fieldPreferredMinimumWidth = 240;
constexpr int s_fieldPreferredMaximumWidth = 560;
constexpr int s_temperatureFieldWidth = 160;
// A device that keeps inventing new warnings must not grow the dialog without end.
constexpr int s_maxDistinctWarnings = 8;
constexpr int s_warningTextWidth = 420;
constexpr int s_spotTableMaximumHeight = 420;

struct SystemDetailsRow
{
    const char *section;
    const char *name;
    const char *objectName;
};

// Row for row in the order of VelutraView::SystemDetailsField.
constexpr SystemDetailsRow s_systemDetailsRows[] = {
        {QT_TRANSLATE_NOOP("VelutraView", "System"), QT_TRANSLATE_NOOP("VelutraView", "Hardware:"),
         "hardwareVersion"},
        {"System", QT_TRANSLATE_NOOP("VelutraView", "Firmware:"), "firmwareVersion"},
        {"System", QT_TRANSLATE_NOOP("VelutraView", "Application Name:"), "applicationName"},
        {"System", QT_TRANSLATE_NOOP("VelutraView", "Compiled On:"), "compilationDateTime"},
        {"System", QT_TRANSLATE_NOOP("VelutraView", "Serial Number:"), "serialNumber"},
        {"System", QT_TRANSLATE_NOOP("VelutraView", "Device On Time:"), "deviceOnTime"},
        {"System", QT_TRANSLATE_NOOP("VelutraView", "Emission Time:"), "deviceEmissionTime"},
        {QT_TRANSLATE_NOOP("VelutraView", "LDD Device"), "Hardware:", "lddDeviceHardware"},
        {"LDD Device", QT_TRANSLATE_NOOP("VelutraView", "Software:"), "lddDeviceSoftware"},
        {"LDD Device", QT_TRANSLATE_NOOP("VelutraView", "Revision:"), "lddDeviceRevision"},
        {QT_TRANSLATE_NOOP("VelutraView", "TEC Device"), "Hardware:", "tecDeviceHardware"},
        {"TEC Device", "Software:", "tecDeviceSoftware"},
        {"TEC Device", "Revision:", "tecDeviceRevision"},
        {QT_TRANSLATE_NOOP("VelutraView", "Timing Board"),
         QT_TRANSLATE_NOOP("VelutraView", "Serial:"), "timingBoardSerial"},
        {"Timing Board", QT_TRANSLATE_NOOP("VelutraView", "MCU:"), "timingBoardMCU"},
        {"Timing Board", QT_TRANSLATE_NOOP("VelutraView", "FPGA:"), "timingBoardFPGA"},
        {QT_TRANSLATE_NOOP("VelutraView", "xHG Board"),
         QT_TRANSLATE_NOOP("VelutraView", "Module address:"), "hgModuleAddress"},
        {"xHG Board", QT_TRANSLATE_NOOP("VelutraView", "Module type:"), "hgModuleType"},
        {"xHG Board", QT_TRANSLATE_NOOP("VelutraView", "Firmware version:"),
         "hgModuleFirmwareVersion"},
        {"xHG Board", QT_TRANSLATE_NOOP("VelutraView", "Bootloader version:"),
         "hgModuleBootloaderVersion"},
        {"xHG Board", QT_TRANSLATE_NOOP("VelutraView", "Module serial number:"),
         "hgModuleSerialNumber"},
        {"xHG Board", QT_TRANSLATE_NOOP("VelutraView", "PCB Serial number:"),
         "hgModulePCBSerialNumber"},
        {"xHG Board", QT_TRANSLATE_NOOP("VelutraView", "Run Time:"), "hgModuleRuntime"},
};
static_assert(std::size(s_systemDetailsRows) == 23, "one row per system details field");

// Texts on these pages come from the device: never let one be read as markup.
QLabel *plainTextLabel(const QString &text, const char *type, QWidget *parent = nullptr)
{
    QLabel *label = PanelKit::typedLabel(text, type, QString(), parent);
    label->setTextFormat(Qt::PlainText);
    return label;
}

// A read-only value that asks for as much width as its text needs.
class DetailField : public LineEdit
{
public:
    explicit DetailField(const QString &text)
        : LineEdit(text)
    {
        setReadOnly(true);
        setDarkBackground();
        setFocusPolicy(Qt::TabFocus);
    }

    void showText(const QString &text)
    {
        setText(text);
        // setText leaves the cursor at the end, which would scroll a long value to its tail.
        setCursorPosition(0);
        setToolTip(text);
        updateGeometry();
    }

    QSize sizeHint() const override
    {
        const QFontMetrics metrics(font());
        const int wanted = metrics.horizontalAdvance(text()) + 3 * metrics.averageCharWidth();
        return QSize(qBound(s_fieldPreferredMinimumWidth, wanted, s_fieldPreferredMaximumWidth),
                     LineEdit::sizeHint().height());
    }
};

DetailField *readOnlyField(const QString &text, const QString &objectName)
{
    auto *field = new DetailField(text);
    field->setObjectName(objectName);
    field->setMinimumWidth(s_fieldMinimumWidth);
    return field;
}

QString hoursAndMinutes(quint64 seconds)
{
    return VelutraView::tr("%1 hours %2 minutes").arg(seconds / 3600).arg((seconds / 60) % 60);
}

QString hoursAndMinutes(const QString &hours, const QString &minutes)
{
    return VelutraView::tr("%1 hours %2 minutes").arg(hours, minutes);
}

Button *dialogButton(const QString &text, const char *objectName, QWidget *parent)
{
    auto *button = new Button(text, Button::Compact, Button::Action, parent);
    button->setObjectName(QLatin1String(objectName));
    return button;
}

} // namespace

// ---- Temperature Details ------------------------------------------------------------------

void VelutraView::createTemperatureDetailsPage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("temperatureDetailsPage"));
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(16, 12, 16, 12);
    column->addWidget(plainTextLabel(tr("Temperatures"), "heading"));

    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(6);
    for (int row = 0; row < s_temperatureRowCount; ++row) {
        const int number = row + 1;
        auto *label = plainTextLabel(tr("Temp. %1:").arg(number), "label");
        label->setObjectName(QStringLiteral("temperatureLabel%1").arg(number));
        auto *field = readOnlyField(QString(), QStringLiteral("temperatureActual%1").arg(number));
        field->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        field->setFixedWidth(s_temperatureFieldWidth);
        label->setBuddy(field);
        grid->addWidget(label, row, 0);
        grid->addWidget(field, row, 1);
        m_temperatureLabels.append(label);
        m_temperatureFields.append(field);
    }
    grid->setColumnStretch(2, 1);
    column->addLayout(grid);
    column->addStretch();
    addControlPage(page, tr("Temperature Details"));
}

void VelutraView::setTemperatureActual(int row, const QString &text)
{
    LineEdit *field = m_temperatureFields.value(row);
    if (field) {
        field->setText(text);
        field->setCursorPosition(0);
    }
}

void VelutraView::setTemperatureRowVisibility(int row, bool visible)
{
    if (QLabel *label = m_temperatureLabels.value(row)) {
        label->setVisible(visible);
    }
    if (LineEdit *field = m_temperatureFields.value(row)) {
        field->setVisible(visible);
    }
}

void VelutraView::setTemperatureVisibility1(bool visible)
{
    setTemperatureRowVisibility(0, visible);
}
void VelutraView::setTemperatureVisibility2(bool visible)
{
    setTemperatureRowVisibility(1, visible);
}
void VelutraView::setTemperatureVisibility3(bool visible)
{
    setTemperatureRowVisibility(2, visible);
}
void VelutraView::setTemperatureVisibility4(bool visible)
{
    setTemperatureRowVisibility(3, visible);
}
void VelutraView::setTemperatureVisibility5(bool visible)
{
    setTemperatureRowVisibility(4, visible);
}
void VelutraView::setTemperatureVisibility6(bool visible)
{
    setTemperatureRowVisibility(5, visible);
}
void VelutraView::setTemperatureVisibility7(bool visible)
{
    setTemperatureRowVisibility(6, visible);
}
void VelutraView::setTemperatureVisibility8(bool visible)
{
    setTemperatureRowVisibility(7, visible);
}
void VelutraView::setTemperatureVisibility9(bool visible)
{
    setTemperatureRowVisibility(8, visible);
}
void VelutraView::setTemperatureVisibility10(bool visible)
{
    setTemperatureRowVisibility(9, visible);
}

void VelutraView::setTemperatureActual1(const QString &text)
{
    setTemperatureActual(0, text);
}
void VelutraView::setTemperatureActual2(const QString &text)
{
    setTemperatureActual(1, text);
}
void VelutraView::setTemperatureActual3(const QString &text)
{
    setTemperatureActual(2, text);
}
void VelutraView::setTemperatureActual4(const QString &text)
{
    setTemperatureActual(3, text);
}
void VelutraView::setTemperatureActual5(const QString &text)
{
    setTemperatureActual(4, text);
}
void VelutraView::setTemperatureActual6(const QString &text)
{
    setTemperatureActual(5, text);
}
void VelutraView::setTemperatureActual7(const QString &text)
{
    setTemperatureActual(6, text);
}
void VelutraView::setTemperatureActual8(const QString &text)
{
    setTemperatureActual(7, text);
}
void VelutraView::setTemperatureActual9(const QString &text)
{
    setTemperatureActual(8, text);
}
void VelutraView::setTemperatureActual10(const QString &text)
{
    setTemperatureActual(9, text);
}

// ---- System Details -----------------------------------------------------------------------

void VelutraView::createSystemDetailsPage()
{
    auto *page = new QWidget;
    page->setObjectName(QStringLiteral("systemDetailsPage"));
    // One column of sections: a narrow window scrolls down, never sideways.
    auto *column = new QVBoxLayout(page);
    column->setContentsMargins(16, 12, 16, 12);
    column->setSpacing(8);

    QWidget *section = nullptr;
    QGridLayout *grid = nullptr;
    const char *sectionName = nullptr;
    QList<QLabel *> names;
    QList<QGridLayout *> grids;
    for (const SystemDetailsRow &row : s_systemDetailsRows) {
        if (!sectionName || qstrcmp(sectionName, row.section) != 0) {
            sectionName = row.section;
            section = new QWidget;
            section->setObjectName(QStringLiteral("systemDetailsSection"));
            grid = new QGridLayout(section);
            grid->setContentsMargins(0, 0, 0, 0);
            grid->setHorizontalSpacing(12);
            grid->setVerticalSpacing(6);
            grid->addWidget(plainTextLabel(tr(row.section), "heading"), 0, 0, 1, 2);
            // Fields keep the width they ask for; what is left over stays empty.
            grid->setColumnStretch(2, 1);
            grids.append(grid);
            column->addWidget(section);
            if (qstrcmp(row.section, "xHG Board") == 0) {
                section->setObjectName(QStringLiteral("hgModuleSection"));
                m_hgModuleSection = section;
            }
        }
        auto *name = plainTextLabel(tr(row.name), "label");
        auto *field = readOnlyField(QStringLiteral("???"), QLatin1String(row.objectName));
        name->setBuddy(field);
        const int line = grid->rowCount();
        grid->addWidget(name, line, 0);
        grid->addWidget(field, line, 1);
        names.append(name);
        m_systemDetailsFields.append(field);
    }

    // One name column for every section, so that stacked sections line up.
    int nameWidth = 0;
    for (QLabel *name : qAsConst(names)) {
        name->ensurePolished();
        nameWidth = qMax(nameWidth, name->sizeHint().width());
    }
    for (QGridLayout *sectionGrid : qAsConst(grids)) {
        sectionGrid->setColumnMinimumWidth(0, nameWidth);
    }
    column->addStretch();
    addControlPage(page, tr("System Details"));
}

void VelutraView::setSystemDetailsField(SystemDetailsField field, const QString &text)
{
    if (LineEdit *edit = m_systemDetailsFields.value(field)) {
        static_cast<DetailField *>(edit)->showText(text);
    }
}

void VelutraView::setVelutraType(const QString &text)
{
    setTinyHeader(text + QLatin1Char('\n'));
    // The laser has answered: the model in the small header says who is connected.
    if (header() == waitingHeader()) {
        setHeader(QString());
    }
}

void VelutraView::setHardwareVersion(const QString &text)
{
    setSystemDetailsField(HardwareVersionField, text);
}

void VelutraView::setFirmwareVersion(const QString &text)
{
    setSystemDetailsField(FirmwareVersionField, text);
    if (m_sidePanelFirmwareVersion) {
        m_sidePanelFirmwareVersion->setText(text);
    }
}

void VelutraView::setApplicationName(const QString &text)
{
    setSystemDetailsField(ApplicationNameField, text);
}

void VelutraView::setCompilationDateTime(const QString &text)
{
    setSystemDetailsField(CompilationDateTimeField, text);
}

void VelutraView::setSerialNumber(const QString &text)
{
    setSystemDetailsField(SerialNumberField, text);
    if (m_sidePanelSerialNumber) {
        m_sidePanelSerialNumber->setText(text);
    }
}

void VelutraView::setLDDDeviceHardware(const QString &text)
{
    setSystemDetailsField(LDDDeviceHardwareField, text);
}

void VelutraView::setLDDDeviceSoftware(const QString &text)
{
    setSystemDetailsField(LDDDeviceSoftwareField, text);
}

void VelutraView::setLDDDeviceRevision(const QString &text)
{
    setSystemDetailsField(LDDDeviceRevisionField, text);
}

void VelutraView::setTECDeviceHardware(const QString &text)
{
    setSystemDetailsField(TECDeviceHardwareField, text);
}

void VelutraView::setTECDeviceSoftware(const QString &text)
{
    setSystemDetailsField(TECDeviceSoftwareField, text);
}

void VelutraView::setTECDeviceRevision(const QString &text)
{
    setSystemDetailsField(TECDeviceRevisionField, text);
}

void VelutraView::setTimingBoardSerial(const QString &text)
{
    setSystemDetailsField(TimingBoardSerialField, text);
}

void VelutraView::setTimingBoardMCU(const QString &text)
{
    setSystemDetailsField(TimingBoardMCUField, text);
}

void VelutraView::setTimingBoardFPGA(const QString &text)
{
    setSystemDetailsField(TimingBoardFPGAField, text);
}

void VelutraView::setDeviceOnHours(const QString &text)
{
    m_deviceOnHours = text;
    setSystemDetailsField(DeviceOnTimeField, hoursAndMinutes(m_deviceOnHours, m_deviceOnMinutes));
}

void VelutraView::setDeviceOnMinutes(const QString &text)
{
    m_deviceOnMinutes = text;
    setSystemDetailsField(DeviceOnTimeField, hoursAndMinutes(m_deviceOnHours, m_deviceOnMinutes));
}

void VelutraView::setDeviceEmissionHours(const QString &text)
{
    m_deviceEmissionHours = text;
    setSystemDetailsField(DeviceEmissionTimeField,
                          hoursAndMinutes(m_deviceEmissionHours, m_deviceEmissionMinutes));
}

void VelutraView::setDeviceEmissionMinutes(const QString &text)
{
    m_deviceEmissionMinutes = text;
    setSystemDetailsField(DeviceEmissionTimeField,
                          hoursAndMinutes(m_deviceEmissionHours, m_deviceEmissionMinutes));
}

void VelutraView::setHGModuleInfoVisibility(bool visible)
{
    if (m_hgModuleSection) {
        m_hgModuleSection->setVisible(visible);
    }
}

void VelutraView::setHGModuleAddress(const QString &text)
{
    setSystemDetailsField(HGModuleAddressField, text);
}

void VelutraView::setHGModuleType(const QString &text)
{
    setSystemDetailsField(HGModuleTypeField, text);
}

void VelutraView::setHGModuleFirwareVersion(const QString &text)
{
    setSystemDetailsField(HGModuleFirmwareVersionField, text);
}

void VelutraView::setHGModuleBootloaderVersion(const QString &text)
{
    setSystemDetailsField(HGModuleBootloaderVersionField, text);
}

void VelutraView::setHGModuleSerialNumber(const QString &text)
{
    setSystemDetailsField(HGModuleSerialNumberField, text);
}

void VelutraView::setHGModulePCBSerialNumber(const QString &text)
{
    setSystemDetailsField(HGModulePCBSerialNumberField, text);
}

void VelutraView::setHGModuleRuntime(const QString &text)
{
    setSystemDetailsField(HGModuleRuntimeField, text);
}

// ---- Spot table ---------------------------------------------------------------------------

void VelutraView::setCrystalAllRuntimes(const QMap<int, quint64> &runtimes)
{
    m_crystalAllRuntimes = runtimes;
}

void VelutraView::setSpotTableMaxRuntime(quint64 seconds)
{
    m_spotTableMaxRuntime = seconds;
}

void VelutraView::showAllSpotsButtonClicked()
{
    // The table is a snapshot: asking again replaces the one on screen.
    delete m_spotTableDialog;

    auto *dialog = new Dialog(this, true);
    dialog->setObjectName(QStringLiteral("spotTableDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_spotTableDialog = dialog;

    auto *table = new QWidget;
    auto *grid = new QGridLayout(table);
    grid->setObjectName(QStringLiteral("spotTableGrid"));
    grid->setHorizontalSpacing(24);
    grid->setVerticalSpacing(6);
    const QString headers[] = {tr("Spot"), tr("Current runtime"), tr("Maximum runtime")};
    for (int column = 0; column < 3; ++column) {
        auto *header = plainTextLabel(headers[column], "label-header");
        header->setAlignment(Qt::AlignCenter);
        grid->addWidget(header, 0, column);
    }
    const QString maximum = hoursAndMinutes(m_spotTableMaxRuntime);
    int row = 1;
    // QMap iterates in ascending key order, which is the spot order the operator expects.
    for (auto spot = m_crystalAllRuntimes.cbegin(); spot != m_crystalAllRuntimes.cend(); ++spot) {
        auto *number = plainTextLabel(QString::number(spot.key()), "label");
        number->setAlignment(Qt::AlignCenter);
        auto *runtime = plainTextLabel(hoursAndMinutes(spot.value()), "text");
        runtime->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        auto *limit = plainTextLabel(maximum, "text");
        limit->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(number, row, 0);
        grid->addWidget(runtime, row, 1);
        grid->addWidget(limit, row, 2);
        ++row;
    }

    // A module with many spots scrolls inside the dialog instead of outgrowing the screen.
    auto *scroll = new QScrollArea;
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(table);
    table->ensurePolished();
    const QSize tableSize = table->sizeHint();
    scroll->setMinimumWidth(tableSize.width() + scroll->verticalScrollBar()->sizeHint().width());
    scroll->setMinimumHeight(qMin(tableSize.height(), s_spotTableMaximumHeight));

    auto *close = dialogButton(tr("Close"), "spotTableCloseButton", dialog);
    connect(close, &QPushButton::clicked, dialog, &QDialog::accept);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(close);

    auto *layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(12);
    layout->addWidget(scroll);
    layout->addLayout(buttons);

    // Modal for the operator who asked, but without a nested event loop: open() returns at
    // once, so nothing here outlives a view that is deleted while the table is shown.
    dialog->open();
}

// ---- Harmonic-module warning --------------------------------------------------------------

void VelutraView::setHGModuleWarning(const QString &text)
{
    // This arrives from a reply line: it must never block, and a message the module keeps
    // repeating must not pile up dialogs.
    const int known = m_hgModuleWarnings.indexOf(text);
    if (m_hgModuleWarningDialog && known >= 0) {
        ++m_hgModuleWarningRepeats[known];
        showHGModuleWarningText();
        return;
    }
    if (m_hgModuleWarningDialog) {
        // A different warning joins the ones on screen, so the operator misses none of them.
        if (m_hgModuleWarnings.size() >= s_maxDistinctWarnings) {
            m_hgModuleWarnings.removeFirst();
            m_hgModuleWarningRepeats.removeFirst();
        }
        m_hgModuleWarnings.append(text);
        m_hgModuleWarningRepeats.append(0);
        showHGModuleWarningText();
        return;
    }

    m_hgModuleWarnings = {text};
    m_hgModuleWarningRepeats = {0};

    auto *dialog = new Dialog(this, true);
    dialog->setObjectName(QStringLiteral("hgModuleWarningDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // QDialog::open() would make the dialog window-modal and lock the panel behind it; the
    // warning only informs, so it is shown as an ordinary window.
    dialog->setModal(false);
    m_hgModuleWarningDialog = dialog;

    auto *header = plainTextLabel(tr("** Warning **"), "label-header", dialog);
    header->setAlignment(Qt::AlignCenter);
    auto *message = plainTextLabel(QString(), "label", dialog);
    message->setObjectName(QStringLiteral("hgModuleWarningText"));
    message->setAlignment(Qt::AlignCenter);
    message->setWordWrap(true);
    message->setMinimumWidth(s_warningTextWidth);
    m_hgModuleWarningText = message;

    auto *ok = dialogButton(tr("OK"), "hgModuleWarningOkButton", dialog);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
    // Acknowledged is over: the same warning coming back is news again and gets a dialog of its
    // own, even before this window is gone (Qt deletes it only on a later turn of the loop).
    connect(dialog, &QDialog::finished, this, [this, dialog] {
        if (m_hgModuleWarningDialog == dialog) {
            m_hgModuleWarningDialog.clear();
            m_hgModuleWarningText.clear();
        }
    });
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addStretch();

    auto *layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(14);
    layout->addWidget(header);
    layout->addWidget(message);
    layout->addLayout(buttons);

    showHGModuleWarningText();
    dialog->show();
    dialog->raise();
}

void VelutraView::showHGModuleWarningText()
{
    if (!m_hgModuleWarningText) {
        return;
    }
    QStringList lines;
    for (int index = 0; index < m_hgModuleWarnings.size(); ++index) {
        const int repeats = m_hgModuleWarningRepeats.value(index);
        QString line = m_hgModuleWarnings.at(index);
        if (repeats > 0) {
            line += QLatin1Char(' ') + tr("(repeated %1 times)").arg(repeats);
        }
        lines.append(line);
    }
    m_hgModuleWarningText->setText(lines.join(QLatin1Char('\n')));
    if (m_hgModuleWarningDialog) {
        m_hgModuleWarningDialog->adjustSize();
    }
}
