#pragma once

#include <QLoggingCategory>
#include <QString>

class QLabel;
class QWidget;

Q_DECLARE_LOGGING_CATEGORY(lcPanelKit)

// Application-wide look of the control panel: fonts and one style sheet.
//
// The style sheet keys on two dynamic properties that pages set on their widgets:
//   type  "title"        large page title
//         "heading"      section heading with a rule under it
//         "label"        name of a control or value
//         "text"         a value shown as text
//         "panel-label"  name in the side panel (smaller, muted)
//         "panel-text"   value in the side panel
//         "label-header" centred header of a dialog
//   flat  true on check boxes, radio buttons and progress bars for the borderless panel look
namespace PanelKit {

// Registers the free DejaVu fonts with the application when they are installed.
// Safe to call more than once and without the fonts (the platform's sans-serif is used then).
void loadApplicationFonts();

// The style sheet for the whole application.
QString getApplicationStylesheet();

// The style sheet a plain QPushButton needs to look like a PanelKit button.
QString getButtonStylesheet();

// A label that takes the look of one of the types above; the object name is set when given.
QLabel *typedLabel(const QString &text, const char *type, const QString &objectName = QString(),
                   QWidget *parent = nullptr);

} // namespace PanelKit
