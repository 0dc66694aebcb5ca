#include "maincontrolpanel.h"

#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

MainControlPanel::MainControlPanel(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_scrollArea = new QScrollArea(this);
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    layout->addWidget(m_scrollArea);
    auto *placeholder = new QLabel(tr("Waiting for the laser..."));
    placeholder->setAlignment(Qt::AlignCenter);
    placeholder->setObjectName(QStringLiteral("mainControlPlaceholder"));
    m_scrollArea->setWidget(placeholder);
}

void MainControlPanel::showMainControl(QWidget *control, bool show)
{
    if (control && control != m_control) {
        QWidget *previous = m_scrollArea->takeWidget();
        if (previous && previous != control) {
            previous->deleteLater();
        }
        m_scrollArea->setWidget(control);
        m_control = control;
    }
    if (m_control) {
        m_control->setVisible(show);
    }
}

QWidget *MainControlPanel::mainControl() const
{
    return m_control;
}
