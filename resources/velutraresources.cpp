#include "velutraresources.h"

#include <QtGlobal>

void initVelutraResources()
{
    static const bool s_registered = [] {
        Q_INIT_RESOURCE(resources);
        return true;
    }();
    Q_UNUSED(s_registered)
}
