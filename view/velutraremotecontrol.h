#ifndef VELUTRAREMOTECONTROL_H
#define VELUTRAREMOTECONTROL_H

#include <QWidget>

class IndicatorButton;

// The column of four latching buttons that switch the laser's operating states: output
// enable, laser on, standby and listen. The controller alone decides what they show; a state
// pushed in through a slot never comes back out as a change signal.
class VelutraRemoteControl : public QWidget
{
    Q_OBJECT

public:
    explicit VelutraRemoteControl(QWidget *parent = nullptr);
    ~VelutraRemoteControl() override;

public slots:
    void enableOutEnable(bool enabled);
    void enableLaserOn(bool enabled);
    void enableStandby(bool enabled);
    void enableListen(bool enabled);
    void setOutEnable(bool on);
    void setLaserOn(bool on);
    void setStandby(bool on);
    void setListen(bool on);
    void setOutEnableFlashing(bool flashing);
    void setLaserOnFlashing(bool flashing);
    void setStandbyFlashing(bool flashing);
    void setOutEnableVisible(bool visible);

signals:
    void outEnableChanged(bool on);
    void laserOnChanged(bool on);
    void standbyChanged(bool on);
    void listenChanged(bool on);

private:
    IndicatorButton *m_outEnableButton = nullptr;
    IndicatorButton *m_laserOnButton = nullptr;
    IndicatorButton *m_standbyButton = nullptr;
    IndicatorButton *m_listenButton = nullptr;
};

#endif // VELUTRAREMOTECONTROL_H
