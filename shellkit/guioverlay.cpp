#include "guioverlay.h"

#include <QEvent>
#include <QPainter>

GUIOverlay::GUIOverlay(QWidget *parent)
    : QWidget(parent)
    , m_text(tr("Waiting for the laser to become ready..."))
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    if (parent) {
        parent->installEventFilter(this);
    }
    follow();
}

QString GUIOverlay::text() const
{
    return m_text;
}

void GUIOverlay::setText(const QString &text)
{
    m_text = text;
    update();
}

bool GUIOverlay::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == parent()) {
        switch (event->type()) {
        case QEvent::Resize:
        case QEvent::EnabledChange:
        case QEvent::ChildAdded:
        case QEvent::Show:
            follow();
            break;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void GUIOverlay::follow()
{
    auto *host = parentWidget();
    if (!host) {
        return;
    }
    setGeometry(host->rect());
    setVisible(!host->isEnabled());
    raise();
}

void GUIOverlay::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 120));
    painter.setPen(QColor(0xff, 0xff, 0xff, 220));
    QFont font = painter.font();
    font.setPointSizeF(font.pointSizeF() * 1.3);
    painter.setFont(font);
    painter.drawText(rect(), Qt::AlignCenter, m_text);
}
