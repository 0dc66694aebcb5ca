#ifndef MAINCONTROLPANEL_H
#define MAINCONTROLPANEL_H

#include <QPointer>
#include <QWidget>

class QLabel;
class QScrollArea;

// Hosts the device's control widget in the central area. The control scrolls
// when the window is smaller than the panel wants to be.
//
// The panel can be held: it then shows a note instead of the control and takes no
// input, for as long as the device behind it has not shown that it is the one the
// operator means to drive.
class MainControlPanel : public QWidget
{
    Q_OBJECT

public:
    explicit MainControlPanel(QWidget *parent = nullptr);

    // Takes ownership of `control` (replacing any previous one) and shows or hides it.
    void showMainControl(QWidget *control, bool show);
    QWidget *mainControl() const;

    // Shows `note` in place of the control and disables the panel until release().
    void hold(const QString &note);
    void release();
    bool isHeld() const;
    QString holdNote() const;

private:
    QScrollArea *m_scrollArea = nullptr;
    QLabel *m_holdNote = nullptr;
    QPointer<QWidget> m_control;
};

#endif // MAINCONTROLPANEL_H
