#ifndef OPTIONSDIALOG_H
#define OPTIONSDIALOG_H

#include <QDialog>

class OptionWidgetInterface;
class QAbstractButton;
class QDialogButtonBox;
class QStackedWidget;
class QTreeWidget;

// Option pages listed in a tree on the left, the chosen page on the right.
class OptionsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit OptionsDialog(QWidget *parent = nullptr);

    QTreeWidget *pageTree() const;
    QStackedWidget *pageStack() const;
    QDialogButtonBox *buttonBox() const;

    // Lists the page under the root item and puts its widget on the stack; the dialog takes
    // the page object as its child.
    void addOptionPage(OptionWidgetInterface *page);

private slots:
    void slotDialogButtonHandler(QAbstractButton *button);

private:
    QTreeWidget *m_pageTree = nullptr;
    QStackedWidget *m_pageStack = nullptr;
    QDialogButtonBox *m_buttonBox = nullptr;
};

#endif // OPTIONSDIALOG_H
