#ifndef MAINCONTROLPANEL_H
#define MAINCONTROLPANEL_H

#include <QPointer>
#include <QWidget>

class QScrollArea;

// Hosts the device's control widget in the central area. The control scrolls
// when the window is smaller than the panel wants to be.
class MainControlPanel : public QWidget
{
    Q_OBJECT

public:
    explicit MainControlPanel(QWidget *parent = nullptr);

    // Takes ownership of `control` (replacing any previous one) and shows or hides it.
    void showMainControl(QWidget *control, bool show);
    QWidget *mainControl() const;

private:
    QScrollArea *m_scrollArea = nullptr;
    QPointer<QWidget> m_control;
};

#endif // MAINCONTROLPANEL_H
