#ifndef ABOUTDIALOG_H
#define ABOUTDIALOG_H

#include <QDialog>

namespace Ui {
class AboutDialog;
}

// Version, build, copyright and the licence agreement.
class AboutDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AboutDialog(QWidget *parent = nullptr);
    ~AboutDialog() override;

private slots:
    void on_buttonBox_accepted();

private:
    Ui::AboutDialog *m_ui = nullptr;
};

#endif // ABOUTDIALOG_H
