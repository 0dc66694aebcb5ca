#include "guiwidget.h"

#include <QVBoxLayout>

GUIWidget::GUIWidget(QWidget *parent)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
{
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(0);
}

QVBoxLayout *GUIWidget::boxLayout() const
{
    return m_layout;
}
