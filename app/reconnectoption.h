#ifndef RECONNECTOPTION_H
#define RECONNECTOPTION_H

#include "optionwidgetinterface.h"

#include <QPointer>

class QCheckBox;

// The option page for the link to the laser: whether a port that went away (cable pulled,
// adapter gone, device silent) is looked for and opened again on its own.
class ReconnectOption : public OptionWidgetInterface
{
    Q_OBJECT

public:
    static constexpr char SettingsKey[] = "Connection/Reconnect";

    explicit ReconnectOption(QObject *parent = nullptr);

    // On unless the operator turned it off.
    static bool isReconnectEnabled();
    static void setReconnectEnabled(bool enabled);

    QString optionName() const override;
    QWidget *optionWidget(QWidget *parent) override;
    QIcon optionIcon() override;
    void apply() override;

private:
    QPointer<QCheckBox> m_reconnectBox;
};

#endif // RECONNECTOPTION_H
