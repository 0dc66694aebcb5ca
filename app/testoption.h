#ifndef TESTOPTION_H
#define TESTOPTION_H

#include "optionwidgetinterface.h"

// The sample option page.
class TestOption : public OptionWidgetInterface
{
    Q_OBJECT

public:
    explicit TestOption(QObject *parent = nullptr);

    QString optionName() const override;
    QWidget *optionWidget(QWidget *parent) override;
    QIcon optionIcon() override;
};

#endif // TESTOPTION_H
