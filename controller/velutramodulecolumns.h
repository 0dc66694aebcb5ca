#ifndef VELUTRAMODULECOLUMNS_H
#define VELUTRAMODULECOLUMNS_H

#include <QString>

// What differs between the harmonic-module kinds when their polling list is installed. The
// installation runs the same sixteen steps for every kind (see installModuleList() in the
// controller); a column holds the answers of one kind wherever the steps differ.
struct VelutraModuleColumn
{
    const char *name;
    // Step 3: setHumidityMonitorVisibility() argument.
    bool humidityMonitorVisible;
    // Step 4: whether "ls_humidity?\n" is polled.
    bool pollsHumidity;
    // Step 6: the module-enable query polled; the THG kinds' text lacks its line feed.
    QString (*enableQuery)();
    // Step 8: setOven2TempSetpointVisibility() and setOven2TempActualVisibility() argument.
    bool oven2Visible;
    // Step 13: setCrystalPositionVisibility() argument.
    bool crystalPositionVisible;
    // Step 14: whether the four crystal queries are polled.
    bool pollsCrystal;
    // Step 16: the HG module kind the controller records (1 SHG list, 2 THG list).
    int moduleKind;
};

namespace VelutraModuleColumns {

enum Index {
    Shg = 0, // SHG and SHGg modules
    Thg = 1,
    Thgi = 2,
    Count = 3,
};

const VelutraModuleColumn &column(int index);

// The steps that only show or hide controls, in the order they run; replayed after every
// firmware-id check, which hides the module's controls.
inline constexpr int VisibilitySteps[] = {2, 3, 5, 7, 8, 11, 13};
inline constexpr int StepCount = 16;

} // namespace VelutraModuleColumns

#endif // VELUTRAMODULECOLUMNS_H
