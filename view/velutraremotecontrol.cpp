#include "velutraremotecontrol.h"

#include "indicatorbutton.h"

VelutraRemoteControl::VelutraRemoteControl(QWidget *parent)
    : QWidget(parent)
{ }

VelutraRemoteControl::~VelutraRemoteControl() = default;

void VelutraRemoteControl::enableOutEnable(bool) { }
void VelutraRemoteControl::enableLaserOn(bool) { }
void VelutraRemoteControl::enableStandby(bool) { }
void VelutraRemoteControl::enableListen(bool) { }
void VelutraRemoteControl::setOutEnable(bool) { }
void VelutraRemoteControl::setLaserOn(bool) { }
void VelutraRemoteControl::setStandby(bool) { }
void VelutraRemoteControl::setListen(bool) { }
void VelutraRemoteControl::setOutEnableFlashing(bool) { }
void VelutraRemoteControl::setLaserOnFlashing(bool) { }
void VelutraRemoteControl::setStandbyFlashing(bool) { }
void VelutraRemoteControl::setOutEnableVisible(bool) { }
