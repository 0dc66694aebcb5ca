#ifndef VELUTRAMODULECOLUMNS_H
#define VELUTRAMODULECOLUMNS_H

#include <QString>

// The polling list a harmonic module installed: the THG lists belong to modules with a second
// oven, which reports a fault of either oven.
enum class VelutraHgModuleKind {
    None,
    Shg,
    Thg,
};

// What the controller does when a harmonic module reports itself, in the order it does it.
// Every kind runs the same steps; the kinds differ only in the answers of their column.
enum class VelutraModuleSetupStep {
    QueryOutputConfiguration,
    ShowModuleControls,
    ShowHumidityMonitor,
    PollHumidity,
    HideOvenMode,
    PollModuleEnable,
    ShowOven1,
    ShowOven2,
    PollOvenTemperatures,
    QueryDynamicWavelengthSupport,
    ShowOutputEnable,
    PollOutputEnable,
    ShowCrystalPosition,
    PollCrystal,
    PollModuleStatus,
    RecordModuleKind,
};

// What differs between the harmonic-module kinds when their polling list is installed.
struct VelutraModuleColumn
{
    const char *name;
    // ShowHumidityMonitor: setHumidityMonitorVisibility() argument.
    bool humidityMonitorVisible;
    // PollHumidity: whether "ls_humidity?\n" is polled.
    bool pollsHumidity;
    // PollModuleEnable: the module-enable query polled; the THG kinds' text lacks its line feed.
    QString (*enableQuery)();
    // ShowOven2: setOven2TempSetpointVisibility() and setOven2TempActualVisibility() argument.
    bool oven2Visible;
    // ShowCrystalPosition: setCrystalPositionVisibility() argument.
    bool crystalPositionVisible;
    // PollCrystal: whether the four crystal queries are polled.
    bool pollsCrystal;
    // RecordModuleKind: the kind the controller records.
    VelutraHgModuleKind moduleKind;
};

namespace VelutraModuleColumns {

enum Index {
    Shg = 0, // SHG and SHGg modules
    Thg = 1,
    Thgi = 2,
    Count = 3,
};

const VelutraModuleColumn &column(int index);

using Step = VelutraModuleSetupStep;

// clang-format off
inline constexpr Step SetupSteps[] = {
    Step::QueryOutputConfiguration,
    Step::ShowModuleControls,
    Step::ShowHumidityMonitor,
    Step::PollHumidity,
    Step::HideOvenMode,
    Step::PollModuleEnable,
    Step::ShowOven1,
    Step::ShowOven2,
    Step::PollOvenTemperatures,
    Step::QueryDynamicWavelengthSupport,
    Step::ShowOutputEnable,
    Step::PollOutputEnable,
    Step::ShowCrystalPosition,
    Step::PollCrystal,
    Step::PollModuleStatus,
    Step::RecordModuleKind,
};

// The steps that only show or hide controls, in the order they run; replayed after every
// firmware-id check, which hides the module's controls.
inline constexpr Step VisibilitySteps[] = {
    Step::ShowModuleControls,
    Step::ShowHumidityMonitor,
    Step::HideOvenMode,
    Step::ShowOven1,
    Step::ShowOven2,
    Step::ShowOutputEnable,
    Step::ShowCrystalPosition,
};
// clang-format on

} // namespace VelutraModuleColumns

#endif // VELUTRAMODULECOLUMNS_H
