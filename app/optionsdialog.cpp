#include "optionsdialog.h"

#include <QAbstractButton>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QStackedWidget>
#include <QTreeWidget>
#include <QtDebug>

OptionsDialog::OptionsDialog(QWidget *parent)
    : QDialog(parent)
    , m_pageTree(new QTreeWidget(this))
    , m_pageStack(new QStackedWidget(this))
    , m_buttonBox(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel
                                               | QDialogButtonBox::Apply,
                                       Qt::Horizontal, this))
{
    setWindowTitle(tr("Options"));
    m_pageTree->setHeaderHidden(true);
    auto *layout = new QGridLayout(this);
    layout->addWidget(m_pageTree, 0, 0);
    layout->addWidget(m_pageStack, 0, 1);
    layout->addWidget(m_buttonBox, 1, 0, 1, 2);
    layout->setColumnStretch(1, 1);

    auto *topItem = new QTreeWidgetItem(m_pageTree);
    topItem->setText(0, QStringLiteral("klyt"));

    connect(m_buttonBox, &QDialogButtonBox::clicked, this, &OptionsDialog::slotDialogButtonHandler);
}

QTreeWidget *OptionsDialog::pageTree() const
{
    return m_pageTree;
}

QStackedWidget *OptionsDialog::pageStack() const
{
    return m_pageStack;
}

QDialogButtonBox *OptionsDialog::buttonBox() const
{
    return m_buttonBox;
}

void OptionsDialog::slotDialogButtonHandler(QAbstractButton *button)
{
    qDebug() << "Clicked on" << (button ? button->text() : QString());
}
