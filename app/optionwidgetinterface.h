#ifndef OPTIONWIDGETINTERFACE_H
#define OPTIONWIDGETINTERFACE_H

#include <QIcon>
#include <QObject>

class QWidget;

// A page of the options dialog: a widget made on request and an icon for the page list.
//
// The widget starts from the stored settings and edits only itself; apply() stores what it
// shows. A page that is left without apply() (Cancel) changes nothing.
class OptionWidgetInterface : public QObject
{
    Q_OBJECT

public:
    explicit OptionWidgetInterface(QObject *parent = nullptr);
    ~OptionWidgetInterface() override;

    virtual QString optionName() const = 0;
    virtual QWidget *optionWidget(QWidget *parent) = 0;
    virtual QIcon optionIcon() = 0;
    // Stores what the page's widget shows. A page with nothing to store keeps the default.
    virtual void apply();

signals:
    // The operator changed something on the page that apply() would store.
    void changed();
};

#endif // OPTIONWIDGETINTERFACE_H
