#ifndef APPLICATIONLOG_H
#define APPLICATIONLOG_H

#include <QWidget>

namespace Ui {
class ApplicationLog;
}

// The docked page that shows the operator's log and follows new lines while
// it is scrolled to the bottom.
class ApplicationLog : public QWidget
{
    Q_OBJECT

public:
    explicit ApplicationLog(QWidget *parent = nullptr);
    ~ApplicationLog() override;

private slots:
    void onToolButtonClear_clicked();
    void onToolButtonSave_clicked();
    void onToolButtonPrint_clicked();
    void onVScrollChanged(int value);
    void onTextChanged();

private:
    Ui::ApplicationLog *m_ui = nullptr;
    bool m_autoScroll = true;
};

#endif // APPLICATIONLOG_H
