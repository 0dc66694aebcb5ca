#ifndef GUIWIDGET_H
#define GUIWIDGET_H

#include <QWidget>

class QVBoxLayout;

// A plain container with a vertical box layout that a device control fills.
class GUIWidget : public QWidget
{
    Q_OBJECT

public:
    explicit GUIWidget(QWidget *parent = nullptr);

    QVBoxLayout *boxLayout() const;

private:
    QVBoxLayout *m_layout = nullptr;
};

#endif // GUIWIDGET_H
