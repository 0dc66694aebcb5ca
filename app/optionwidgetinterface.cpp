#include "optionwidgetinterface.h"

OptionWidgetInterface::OptionWidgetInterface(QObject *parent)
    : QObject(parent)
{ }

OptionWidgetInterface::~OptionWidgetInterface() = default;

void OptionWidgetInterface::apply() { }
