#include "panelkit.h"

#include "panelkitprivate.h"

#include <QFile>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLabel>
#include <QStyle>

Q_LOGGING_CATEGORY(lcPanelKit, "velutra.panelkit", QtInfoMsg)

namespace PanelKit {

namespace {

constexpr const char *s_fontFolder = "/usr/share/fonts/truetype/dejavu/";
constexpr const char *s_fontFiles[] = {
        "DejaVuSans.ttf",          "DejaVuSans-Bold.ttf",          "DejaVuSans-Oblique.ttf",
        "DejaVuSansCondensed.ttf", "DejaVuSansCondensed-Bold.ttf", "DejaVuSansMono.ttf",
        "DejaVuSansMono-Bold.ttf",
};

QString colorName(QRgb rgb)
{
    return QColor::fromRgba(rgb).name(QColor::HexRgb);
}

// Placeholders in the sheets below are replaced by the palette, so that a colour
// is chosen in one place and the sheet stays readable.
QString fillPalette(QString sheet)
{
    static const struct
    {
        const char *key;
        QRgb color;
    } s_colors[] = {
            {"@window", Palette::Window},
            {"@panel", Palette::Panel},
            {"@well", Palette::Well},
            {"@raisedhover", Palette::RaisedHover},
            {"@raised", Palette::Raised},
            {"@borderstrong", Palette::BorderStrong},
            {"@border", Palette::Border},
            {"@textmuted", Palette::TextMuted},
            {"@textdisabled", Palette::TextDisabled},
            {"@text", Palette::Text},
            {"@accentdark", Palette::AccentDark},
            {"@accent", Palette::Accent},
            {"@green", Palette::IndicatorGreen},
            {"@orange", Palette::IndicatorOrange},
            {"@red", Palette::IndicatorRed},
    };
    // Longer keys first in the table, so "@raisedhover" is not eaten by "@raised".
    for (const auto &entry : s_colors) {
        sheet.replace(QLatin1String(entry.key), colorName(entry.color));
    }
    return sheet;
}

// Button faces by colour code; the code is what Button::setButtonColor takes.
struct ButtonFace
{
    int code;
    QRgb face;
    QRgb hover;
    QRgb pressed;
    QRgb border;
};

constexpr ButtonFace s_buttonFaces[] = {
        {0, 0xff2f363d, 0xff38414a, 0xff252b31, 0xff4a545e}, // neutral
        {1, 0xff3d5a12, 0xff4a6d16, 0xff30470e, 0xff6f9a1a}, // go (green)
        {2, 0xff1d5677, 0xff246a92, 0xff174561, 0xff3aa6dc}, // standard action (steel blue)
        {3, 0xff6b3e15, 0xff7f4a19, 0xff57320f, 0xfff58b2e}, // caution (orange)
        {4, 0xff6e1a1a, 0xff852020, 0xff581414, 0xffff4040}, // stop (red)
};

QString buttonRules(const QString &selector, const ButtonFace &face)
{
    return QStringLiteral(
                   "%1 { background-color: %2; border: 1px solid %3; }\n"
                   "%1:hover { background-color: %4; }\n"
                   "%1:pressed, %1:checked { background-color: %5; }\n"
                   "%1:disabled { background-color: %6; border: 1px solid %7; color: %8; }\n")
            .arg(selector, colorName(face.face), colorName(face.border), colorName(face.hover),
                 colorName(face.pressed), colorName(Palette::Panel), colorName(Palette::Border),
                 colorName(Palette::TextDisabled));
}

const char *const s_buttonBase = R"(
QPushButton {
    color: @text;
    border-radius: 4px;
    padding: 6px 14px;
    min-height: 22px;
    font-weight: bold;
}
QPushButton:focus { border: 2px solid @text; }
QPushButton:disabled {
    color: @textdisabled;
    background-color: @panel;
    border: 1px solid @border;
}
QToolButton {
    color: @text;
    border-radius: 3px;
    padding: 3px 10px;
    min-height: 18px;
}
QToolButton:focus { border: 2px solid @text; }
)";

const char *const s_applicationSheet = R"(
* {
    font-family: "DejaVu Sans", "Sans Serif";
}
QWidget {
    color: @text;
    font-size: 10pt;
    selection-background-color: @accentdark;
    selection-color: @text;
}
QMainWindow, QDialog, MainView, QStackedWidget, QScrollArea, QScrollArea > QWidget > QWidget {
    background-color: @window;
}
QWidget:disabled { color: @textdisabled; }
QToolTip {
    color: @text;
    background-color: @panel;
    border: 1px solid @borderstrong;
    padding: 4px;
}

/* Texts keyed on the "type" property */
QLabel[type="title"] {
    font-size: 15pt;
    font-weight: bold;
    color: @text;
    padding: 2px 0px 6px 0px;
}
QLabel[type="heading"] {
    font-size: 11pt;
    font-weight: bold;
    color: @accent;
    border-bottom: 1px solid @border;
    padding: 10px 0px 3px 0px;
}
QLabel[type="label"] { color: @text; }
QLabel[type="text"] {
    color: @text;
    font-family: "DejaVu Sans Mono", "Monospace";
}
QLabel[type="panel-label"] {
    color: @textmuted;
    font-size: 9pt;
}
QLabel[type="panel-text"] {
    color: @text;
    font-weight: bold;
    font-family: "DejaVu Sans Mono", "Monospace";
}
QLabel[type="label-header"] {
    font-size: 14pt;
    font-weight: bold;
    color: @orange;
    padding: 4px;
}
QLabel:disabled { color: @textdisabled; }

/* Page frame */
MainView #panelHeader {
    background-color: @panel;
    border-bottom: 2px solid @accentdark;
}
MainView #panelTinyHeader {
    color: @textmuted;
    font-size: 9pt;
    font-weight: bold;
}
MainView #panelHeaderText {
    color: @text;
    font-size: 14pt;
    font-weight: bold;
}
QWidget#panelSide, QWidget#panelRemote, QScrollArea#panelSideFrame {
    background-color: @panel;
}
QScrollArea#panelSideFrame { border-right: 1px solid @border; }
QWidget#panelRemote { border-left: 1px solid @border; }
QTabBar { qproperty-drawBase: 0; }
QTabBar::tab {
    background-color: @panel;
    color: @textmuted;
    border: 1px solid @border;
    border-bottom: none;
    padding: 7px 12px;
    margin-right: 2px;
    border-top-left-radius: 4px;
    border-top-right-radius: 4px;
}
QTabBar::tab:hover { color: @text; background-color: @raised; }
QTabBar::tab:selected {
    color: @text;
    background-color: @window;
    border-top: 2px solid @accent;
}
QTabBar::tab:disabled { color: @textdisabled; }
QTabBar:focus { border: 1px dotted @accent; }

/* Boxes */
QGroupBox {
    border: 1px solid @border;
    border-radius: 4px;
    margin-top: 14px;
    padding: 8px 6px 6px 6px;
    font-weight: bold;
}
QGroupBox::title {
    subcontrol-origin: margin;
    subcontrol-position: top left;
    left: 8px;
    padding: 0px 4px;
    color: @accent;
}
QFrame[frameShape="4"], QFrame[frameShape="5"] { color: @border; }

/* Inputs */
QLineEdit, QPlainTextEdit, QTextEdit, QTextBrowser, QSpinBox, QDoubleSpinBox {
    background-color: @well;
    color: @text;
    border: 1px solid @border;
    border-radius: 3px;
    padding: 3px 5px;
}
QLineEdit:focus, QPlainTextEdit:focus, QTextEdit:focus, QSpinBox:focus, QDoubleSpinBox:focus {
    border: 2px solid @accent;
}
QLineEdit:read-only { background-color: @panel; color: @textmuted; }
QLineEdit[darkBackground="true"] {
    background-color: @well;
    color: @text;
    font-family: "DejaVu Sans Mono", "Monospace";
    border: 1px solid @raised;
}
QLineEdit:disabled { color: @textdisabled; background-color: @panel; }

QComboBox {
    background-color: @raised;
    color: @text;
    border: 1px solid @borderstrong;
    border-radius: 3px;
    padding: 4px 26px 4px 8px;
    min-height: 18px;
}
QComboBox:hover { background-color: @raisedhover; }
QComboBox:focus { border: 2px solid @accent; }
QComboBox:disabled { color: @textdisabled; background-color: @panel; border-color: @border; }
QComboBox::drop-down {
    subcontrol-origin: padding;
    subcontrol-position: center right;
    width: 22px;
    border-left: 1px solid @border;
}
ComboBox::down-arrow { image: none; width: 0px; height: 0px; }
QComboBox QAbstractItemView {
    background-color: @panel;
    color: @text;
    border: 1px solid @accent;
    selection-background-color: @accentdark;
    outline: 0;
}

QCheckBox, QRadioButton { spacing: 8px; }
QCheckBox::indicator, QRadioButton::indicator {
    width: 14px;
    height: 14px;
    background-color: @well;
    border: 1px solid @borderstrong;
}
QCheckBox::indicator { border-radius: 3px; }
QRadioButton::indicator { border-radius: 8px; }
QCheckBox::indicator:checked, QRadioButton::indicator:checked {
    background-color: @accent;
    border: 3px solid @well;
}
QCheckBox:focus, QRadioButton:focus { color: @accent; }
QCheckBox[flat="true"], QRadioButton[flat="true"] { background: transparent; padding: 2px; }
QCheckBox::indicator:disabled, QRadioButton::indicator:disabled { border-color: @border; background-color: @panel; }

QProgressBar {
    background-color: @well;
    border: 1px solid @border;
    border-radius: 3px;
    text-align: center;
    min-height: 14px;
}
QProgressBar::chunk { background-color: @accent; border-radius: 2px; }
QProgressBar[flat="true"] { border: none; min-height: 10px; max-height: 10px; border-radius: 5px; }
QProgressBar[flat="true"]::chunk { border-radius: 5px; }

/* Frame of the main window */
QMenuBar { background-color: @panel; color: @text; }
QMenuBar::item:selected { background-color: @raised; }
QMenu { background-color: @panel; color: @text; border: 1px solid @border; }
QMenu::item { padding: 5px 24px 5px 20px; }
QMenu::item:selected { background-color: @accentdark; }
QMenu::item:disabled { color: @textdisabled; }
QMenu::separator { height: 1px; background: @border; margin: 4px 8px; }
QDockWidget { color: @text; }
QDockWidget::title { background-color: @panel; padding: 4px; }
QStatusBar { background-color: @panel; color: @textmuted; }
QHeaderView::section {
    background-color: @panel;
    color: @textmuted;
    border: none;
    border-right: 1px solid @border;
    border-bottom: 1px solid @border;
    padding: 4px;
}
QTreeView, QListView, QTableView {
    background-color: @well;
    alternate-background-color: @panel;
    border: 1px solid @border;
}

QScrollBar:vertical { background: @window; width: 12px; margin: 0px; }
QScrollBar:horizontal { background: @window; height: 12px; margin: 0px; }
QScrollBar::handle { background: @raised; border-radius: 4px; min-height: 24px; min-width: 24px; margin: 2px; }
QScrollBar::handle:hover { background: @borderstrong; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0px; height: 0px; }
QScrollBar::add-page, QScrollBar::sub-page { background: none; }
)";

} // namespace

void loadApplicationFonts()
{
    static bool s_loaded = false;
    if (s_loaded) {
        return;
    }
    if (!QGuiApplication::instance()) {
        qCWarning(lcPanelKit) << "Fonts can only be loaded once the application object exists";
        return;
    }
    s_loaded = true;
    int registered = 0;
    for (const char *file : s_fontFiles) {
        const QString path = QLatin1String(s_fontFolder) + QLatin1String(file);
        if (!QFile::exists(path)) {
            continue;
        }
        if (QFontDatabase::addApplicationFont(path) >= 0) {
            ++registered;
        } else {
            qCWarning(lcPanelKit) << "Could not register the font" << path;
        }
    }
    if (registered == 0) {
        qCWarning(lcPanelKit) << "No DejaVu fonts found in" << s_fontFolder
                              << "- the platform's sans-serif font is used instead";
    } else {
        qCDebug(lcPanelKit) << "Registered" << registered << "DejaVu font files";
    }
}

QString getButtonStylesheet()
{
    QString sheet = QLatin1String(s_buttonBase);
    // A plain push button gets the standard action face.
    sheet += buttonRules(QStringLiteral("QPushButton"), s_buttonFaces[2]);
    return fillPalette(sheet);
}

QString getApplicationStylesheet()
{
    QString sheet = QLatin1String(s_applicationSheet) + QLatin1String(s_buttonBase);
    sheet += buttonRules(QStringLiteral("QPushButton"), s_buttonFaces[2]);
    // Small page tools (clear, save, print, send) take the quiet face.
    sheet += buttonRules(QStringLiteral("QToolButton"), s_buttonFaces[0]);
    for (const ButtonFace &face : s_buttonFaces) {
        sheet += buttonRules(QStringLiteral("Button[buttonColor=\"%1\"]").arg(face.code), face);
    }
    return fillPalette(sheet);
}

QLabel *typedLabel(const QString &text, const char *type, const QString &objectName,
                   QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setProperty("type", QString::fromLatin1(type));
    if (!objectName.isEmpty()) {
        label->setObjectName(objectName);
    }
    return label;
}

void repolish(QWidget *widget)
{
    widget->style()->unpolish(widget);
    widget->style()->polish(widget);
    widget->update();
}

} // namespace PanelKit
