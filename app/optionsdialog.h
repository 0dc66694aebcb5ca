#ifndef OPTIONSDIALOG_H
#define OPTIONSDIALOG_H

#include <QDialog>
#include <QList>

class OptionWidgetInterface;
class QAbstractButton;
class QDialogButtonBox;
class QStackedWidget;
class QTreeWidget;

// Option pages listed in a tree on the left, the chosen page on the right.
//
// OK stores every page and closes, Apply stores every page and stays open, Cancel (and
// Escape, and the window's close button) closes and stores nothing that was not applied.
class OptionsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit OptionsDialog(QWidget *parent = nullptr);

    QTreeWidget *pageTree() const;
    QStackedWidget *pageStack() const;
    QDialogButtonBox *buttonBox() const;

    // Lists the page and puts its widget on the stack; the dialog takes the page object as
    // its child. The first page added is the one shown.
    void addOptionPage(OptionWidgetInterface *page);

    // Stores every page; what Apply and OK do.
    void applyPages();

private slots:
    void slotDialogButtonHandler(QAbstractButton *button);

private:
    QTreeWidget *m_pageTree = nullptr;
    QStackedWidget *m_pageStack = nullptr;
    QDialogButtonBox *m_buttonBox = nullptr;
    QList<OptionWidgetInterface *> m_pages;
};

#endif // OPTIONSDIALOG_H
