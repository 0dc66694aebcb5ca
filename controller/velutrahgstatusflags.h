#ifndef VELUTRAHGSTATUSFLAGS_H
#define VELUTRAHGSTATUSFLAGS_H

#include "velutrahgerrortable.h"

#include <QtGlobal>

// Which bits of the harmonic module's status-flag word ("Status flags=") light the oven-fault
// and humidity-fault lamps, per module generation. The later modules have one fault bit per
// oven; a module with two ovens (the third-harmonic ones) reports a fault of either.

namespace VelutraHGStatusFlags {

struct FaultBits
{
    VelutraHGErrors::ModuleVariant variant;
    quint16 ovenFaultOneOven;
    quint16 ovenFaultTwoOvens;
    quint16 humidityFault;
};

inline constexpr FaultBits s_faultBits[] = {
        {VelutraHGErrors::ModuleVariant::FirstGeneration, 0x0080, 0x0080, 0x0200},
        {VelutraHGErrors::ModuleVariant::Type0x90, 0x0008, 0x0018, 0x0100},
        {VelutraHGErrors::ModuleVariant::Type0x93, 0x0008, 0x0018, 0x0100},
};

inline constexpr FaultBits faultBits(VelutraHGErrors::ModuleVariant variant)
{
    for (const FaultBits &row : s_faultBits) {
        if (row.variant == variant) {
            return row;
        }
    }
    return s_faultBits[0];
}

} // namespace VelutraHGStatusFlags

#endif // VELUTRAHGSTATUSFLAGS_H
