#ifndef VELUTRASYSTEMSTATE_H
#define VELUTRASYSTEMSTATE_H

#include <QMetaType>

// The laser's operating state as the device reports it. "Disabled" and "enabled" refer to
// the laser output; the transition values cover the device's "A -> B" progress lines.
enum SystemState : int {
    SystemStateUnknown = 0,
    SystemStateListen = 1,
    SystemStateListenToStandby = 2,
    SystemStateStandby = 3,
    SystemStateStandbyToListen = 4,
    SystemStateStandbyToDisabled = 5,
    SystemStateStandbyToEnabled = 6,
    SystemStateDisabled = 7,
    SystemStateEnabled = 8,
    SystemStateDisabledToStandby = 9,
    SystemStateEnabledToStandby = 10,
    SystemStateDisabledToListen = 11,
    SystemStateEnabledToListen = 12,
};

Q_DECLARE_METATYPE(SystemState)

#endif // VELUTRASYSTEMSTATE_H
