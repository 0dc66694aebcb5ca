#ifndef LAYOUTDEBUG_H
#define LAYOUTDEBUG_H

#include <QWidget>

namespace Ui {
class LayoutDebug;
}

// A page for trying out layouts while developing; it only shows its form.
class LayoutDebug : public QWidget
{
    Q_OBJECT

public:
    explicit LayoutDebug(QWidget *parent = nullptr);
    ~LayoutDebug() override;

private:
    Ui::LayoutDebug *m_ui = nullptr;
};

#endif // LAYOUTDEBUG_H
