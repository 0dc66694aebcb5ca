#include "lineedit.h"

#include "panelkitprivate.h"

#include <QWheelEvent>

LineEdit::LineEdit(QWidget *parent)
    : QLineEdit(parent)
{ }

LineEdit::LineEdit(const QString &text, QWidget *parent)
    : QLineEdit(text, parent)
{ }

void LineEdit::setDarkBackground(bool dark)
{
    if (dark == m_darkBackground) {
        return;
    }
    m_darkBackground = dark;
    setProperty("darkBackground", dark);
    PanelKit::repolish(this);
}

void LineEdit::wheelEvent(QWheelEvent *event)
{
    // A line edit has no use for the wheel: let the page scroll.
    event->ignore();
}
