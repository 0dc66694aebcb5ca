#include "optionsdialog.h"

#include "velutraappcategory.h"

#include "optionwidgetinterface.h"

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
    connect(m_pageTree, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem *item) {
        QWidget *page = item ? item->data(0, Qt::UserRole).value<QWidget *>() : nullptr;
        if (page) {
            m_pageStack->setCurrentWidget(page);
        }
    });
}

void OptionsDialog::addOptionPage(OptionWidgetInterface *page)
{
    if (!page) {
        return;
    }
    page->setParent(this);
    QWidget *widget = page->optionWidget(m_pageStack);
    m_pageStack->addWidget(widget);
    auto *item = new QTreeWidgetItem(m_pageTree->topLevelItem(0));
    item->setText(0, page->optionName());
    item->setIcon(0, page->optionIcon());
    item->setData(0, Qt::UserRole, QVariant::fromValue(widget));
    m_pageTree->expandAll();
    if (m_pageStack->count() == 1) {
        m_pageTree->setCurrentItem(item);
    }
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
    qCDebug(lcApp) << "Clicked on" << (button ? button->text() : QString());
}
