#include "optionsdialog.h"

#include "velutraappcategory.h"

#include "optionwidgetinterface.h"

#include <QAbstractButton>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QPushButton>
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
    setObjectName(QStringLiteral("optionsDialog"));
    setWindowTitle(tr("Options"));
    m_pageTree->setHeaderHidden(true);
    m_pageTree->setRootIsDecorated(false);
    auto *layout = new QGridLayout(this);
    layout->addWidget(m_pageTree, 0, 0);
    layout->addWidget(m_pageStack, 0, 1);
    layout->addWidget(m_buttonBox, 1, 0, 1, 2);
    layout->setColumnStretch(1, 1);
    // Nothing to apply until a page has changed.
    m_buttonBox->button(QDialogButtonBox::Apply)->setEnabled(false);

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
    m_pages.append(page);
    QWidget *widget = page->optionWidget(m_pageStack);
    m_pageStack->addWidget(widget);
    auto *item = new QTreeWidgetItem(m_pageTree);
    item->setText(0, page->optionName());
    item->setIcon(0, page->optionIcon());
    item->setData(0, Qt::UserRole, QVariant::fromValue(widget));
    if (m_pageStack->count() == 1) {
        m_pageTree->setCurrentItem(item);
    }
    connect(page, &OptionWidgetInterface::changed, this,
            [this] { m_buttonBox->button(QDialogButtonBox::Apply)->setEnabled(true); });
}

void OptionsDialog::applyPages()
{
    for (OptionWidgetInterface *page : qAsConst(m_pages)) {
        page->apply();
    }
    m_buttonBox->button(QDialogButtonBox::Apply)->setEnabled(false);
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
    switch (m_buttonBox->buttonRole(button)) {
    case QDialogButtonBox::AcceptRole:
        applyPages();
        accept();
        break;
    case QDialogButtonBox::ApplyRole:
        applyPages();
        break;
    case QDialogButtonBox::RejectRole:
        reject();
        break;
    default:
        break;
    }
}
