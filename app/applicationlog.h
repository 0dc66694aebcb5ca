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

    // Room for a time stamp and a short message side by side.
    QSize sizeHint() const override;

protected:
    // A dock closed and opened again comes back as wide (or as high) as the operator left it,
    // not at whatever size its neighbours leave over.
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;

private slots:
    void onToolButtonClear_clicked();
    void onToolButtonSave_clicked();
    void onToolButtonPrint_clicked();
    void onVScrollChanged(int value);
    void onTextChanged();

private:
    Ui::ApplicationLog *m_ui = nullptr;
    bool m_autoScroll = true;
    void restoreDockSize(int size);

    // The size of the dock around the page, across the dock's side, while it was last shown.
    int m_dockSize = 0;
};

#endif // APPLICATIONLOG_H
