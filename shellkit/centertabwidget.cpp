#include "centertabwidget.h"

#include <QPainter>
#include <QTabBar>

CenterTabWidget::CenterTabWidget(QWidget *parent)
    : QTabWidget(parent)
    , m_placeholderText(tr("No laser connected.\nChoose a port in the Connect menu."))
{
    setDocumentMode(true);
    updateTabBar();
}

QString CenterTabWidget::placeholderText() const
{
    return m_placeholderText;
}

void CenterTabWidget::setPlaceholderText(const QString &text)
{
    m_placeholderText = text;
    update();
}

void CenterTabWidget::paintEvent(QPaintEvent *event)
{
    QTabWidget::paintEvent(event);
    if (count() > 0 || m_placeholderText.isEmpty()) {
        return;
    }
    QPainter painter(this);
    QColor textColor = palette().color(QPalette::WindowText);
    textColor.setAlpha(150);
    painter.setPen(textColor);
    painter.drawText(rect(), Qt::AlignCenter, m_placeholderText);
}

void CenterTabWidget::tabInserted(int index)
{
    QTabWidget::tabInserted(index);
    updateTabBar();
}

void CenterTabWidget::tabRemoved(int index)
{
    QTabWidget::tabRemoved(index);
    updateTabBar();
}

void CenterTabWidget::updateTabBar()
{
    // One page needs no tab to choose it.
    tabBar()->setVisible(count() > 1);
    update();
}
