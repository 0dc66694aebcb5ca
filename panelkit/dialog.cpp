#include "dialog.h"

#include "panelkitprivate.h"

#include <QMouseEvent>
#include <QPainter>

Dialog::Dialog(QWidget *parent, bool frameless)
    : QDialog(parent)
{
    setModal(true);
    setFrameless(frameless);
}

void Dialog::setFrameless(bool frameless)
{
    m_frameless = frameless;
    const bool wasVisible = isVisible();
    Qt::WindowFlags flags = Qt::Dialog;
    if (frameless) {
        flags |= Qt::FramelessWindowHint;
    } else {
        flags |= Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::CustomizeWindowHint;
    }
    setWindowFlags(flags);
    if (wasVisible) {
        show();
    }
    update();
}

void Dialog::paintEvent(QPaintEvent *event)
{
    QDialog::paintEvent(event);
    if (!m_frameless) {
        return;
    }
    // Without a window frame the dialog would melt into the dark page behind it.
    QPainter painter(this);
    painter.setPen(QPen(QColor::fromRgba(PanelKit::Palette::Accent), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
}

void Dialog::mousePressEvent(QMouseEvent *event)
{
    if (m_frameless && event->button() == Qt::LeftButton) {
        m_moving = true;
        m_grabOffset = event->globalPos() - frameGeometry().topLeft();
        event->accept();
        return;
    }
    QDialog::mousePressEvent(event);
}

void Dialog::mouseMoveEvent(QMouseEvent *event)
{
    if (m_moving && (event->buttons() & Qt::LeftButton)) {
        move(event->globalPos() - m_grabOffset);
        event->accept();
        return;
    }
    QDialog::mouseMoveEvent(event);
}

void Dialog::mouseReleaseEvent(QMouseEvent *event)
{
    m_moving = false;
    QDialog::mouseReleaseEvent(event);
}
