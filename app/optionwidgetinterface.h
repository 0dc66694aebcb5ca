#ifndef OPTIONWIDGETINTERFACE_H
#define OPTIONWIDGETINTERFACE_H

#include <QIcon>
#include <QObject>

class QWidget;

// A page of the options dialog: a widget made on request and an icon for the page list.
class OptionWidgetInterface : public QObject
{
    Q_OBJECT

public:
    explicit OptionWidgetInterface(QObject *parent = nullptr);
    ~OptionWidgetInterface() override;

    virtual QString optionName() const = 0;
    virtual QWidget *optionWidget(QWidget *parent) = 0;
    virtual QIcon optionIcon() = 0;
};

#endif // OPTIONWIDGETINTERFACE_H
