#include "velutraremotecontrol.h"

#include "indicatorbutton.h"

#include <QVBoxLayout>

namespace {

constexpr quint32 s_red = 0xffff0000;
constexpr quint32 s_grey = 0xff555555;
constexpr quint32 s_orange = 0xfff58b2e;
constexpr int s_lampOnTop = 1;
constexpr int s_actionColor = 2;
constexpr int s_blinkIntervalMs = 500;

} // namespace

VelutraRemoteControl::VelutraRemoteControl(QWidget *parent)
    : QWidget(parent)
{
    // Top to bottom: each button with the change signal its toggle becomes. IndicatorButton
    // emits toggled only for the operator's own press, so forwarding it unfiltered can never
    // echo a state the controller pushed in.
    const struct
    {
        QString text;
        const char *objectName;
        IndicatorButton **button;
        void (VelutraRemoteControl::*changed)(bool);
    } column[] = {
            {tr("Output\nenable"), "outEnableButton", &m_outEnableButton,
             &VelutraRemoteControl::outEnableChanged},
            {tr("Laser On"), "laserOnButton", &m_laserOnButton,
             &VelutraRemoteControl::laserOnChanged},
            {tr("Standby"), "standbyButton", &m_standbyButton,
             &VelutraRemoteControl::standbyChanged},
            {tr("Listen"), "listenButton", &m_listenButton, &VelutraRemoteControl::listenChanged},
    };

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    for (const auto &entry : column) {
        auto *button = new IndicatorButton(entry.text, s_lampOnTop, this);
        button->setObjectName(QLatin1String(entry.objectName));
        button->setColors(s_red, s_grey);
        button->setButtonColor(s_actionColor);
        connect(button, &IndicatorButton::toggled, this, entry.changed);
        layout->addWidget(button);
        *entry.button = button;
    }
    layout->addStretch();
}

VelutraRemoteControl::~VelutraRemoteControl() = default;

void VelutraRemoteControl::enableOutEnable(bool enabled)
{
    m_outEnableButton->setEnabled(enabled);
}

void VelutraRemoteControl::enableLaserOn(bool enabled)
{
    m_laserOnButton->setEnabled(enabled);
}

void VelutraRemoteControl::enableStandby(bool enabled)
{
    m_standbyButton->setEnabled(enabled);
}

void VelutraRemoteControl::enableListen(bool enabled)
{
    m_listenButton->setEnabled(enabled);
}

void VelutraRemoteControl::setOutEnable(bool on)
{
    m_outEnableButton->setActive(on);
    // The face names what a press will do next.
    m_outEnableButton->setText(on ? tr("Output\ndisable") : tr("Output\nenable"));
}

void VelutraRemoteControl::setLaserOn(bool on)
{
    m_laserOnButton->setActive(on);
}

void VelutraRemoteControl::setStandby(bool on)
{
    m_standbyButton->setActive(on);
}

void VelutraRemoteControl::setListen(bool on)
{
    m_listenButton->setActive(on);
}

void VelutraRemoteControl::setOutEnableFlashing(bool flashing)
{
    m_outEnableButton->setBlink(flashing, s_blinkIntervalMs, s_red);
}

void VelutraRemoteControl::setLaserOnFlashing(bool flashing)
{
    m_laserOnButton->setBlink(flashing, s_blinkIntervalMs, s_red);
}

void VelutraRemoteControl::setStandbyFlashing(bool flashing)
{
    m_standbyButton->setBlink(flashing, s_blinkIntervalMs, s_orange);
}

void VelutraRemoteControl::setOutEnableVisible(bool visible)
{
    m_outEnableButton->setVisible(visible);
}
