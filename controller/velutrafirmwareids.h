#ifndef VELUTRAFIRMWAREIDS_H
#define VELUTRAFIRMWAREIDS_H

#include <QString>

// What the firmware's application name says about the laser: which entries of the laser
// wavelength selector it offers, and whether it carries a harmonic module whose information
// block has to be asked for. Rows are tested in order; the first id the name begins with
// (case-sensitive) wins.
struct VelutraFirmwareId
{
    const char *id;
    // Queue "ls?\n" before the layout is published.
    bool queriesModuleInfo;
    // enableWavelengths() arguments: entries 0, 1 and 2 of the laser wavelength register.
    bool wavelengths[3];
};

namespace VelutraFirmwareIds {

// clang-format off
inline constexpr VelutraFirmwareId Table[] = {
    // id                         "ls?\n"  entry 0 entry 1 entry 2
    {"SW.MAIN.VTX.MR.V1",        false,  {false, false, false}},
    {"SW.MAIN.VTX.V1",           false,  {false, false, false}},
    {"SW.MAIN.VTX.MR.MW2.V1",    false,  {false, true,  true}},
    {"SW.MAIN.VTX.MR.MW3.V1",    false,  {true,  true,  true}},
    {"SW.MAIN.VTX.MR.V5",        true,   {false, false, false}},
    {"SW_MAIN_006_VTX",          true,   {false, false, false}},
};
// clang-format on

// A firmware nobody knows still gets every wavelength, so that the operator is not locked
// out of a laser that is newer than this program; only the log tells it apart.
inline constexpr bool UnknownFirmwareWavelengths[3] = {true, true, true};

// The row whose id the application name begins with, or nullptr.
const VelutraFirmwareId *find(const QString &applicationName);

} // namespace VelutraFirmwareIds

#endif // VELUTRAFIRMWAREIDS_H
