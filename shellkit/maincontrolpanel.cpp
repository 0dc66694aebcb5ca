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
    m_holdNote = new QLabel(this);
    m_holdNote->setObjectName(QStringLiteral("mainControlHoldNote"));
    m_holdNote->setAlignment(Qt::AlignCenter);
    m_holdNote->setWordWrap(true);
    m_holdNote->hide();
    layout->addWidget(m_holdNote);
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

void MainControlPanel::hold(const QString &note)
{
    m_holdNote->setText(note);
    m_holdNote->show();
    // Hidden rather than only greyed: what a device not yet recognised reports is not
    // worth reading, and a greyed panel full of its values would look like the laser's.
    m_scrollArea->hide();
    setEnabled(false);
}

void MainControlPanel::release()
{
    m_holdNote->hide();
    m_holdNote->clear();
    m_scrollArea->show();
    setEnabled(true);
}

bool MainControlPanel::isHeld() const
{
    return !m_holdNote->isHidden();
}

QString MainControlPanel::holdNote() const
{
    return m_holdNote->text();
}
