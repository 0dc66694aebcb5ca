#ifndef VELUTRAHGERRORTABLE_H
#define VELUTRAHGERRORTABLE_H

#include <QString>

#include <cstddef>

// Harmonic-module error codes and the texts the operator sees for them, one table per
// generation of module firmware. The texts are the device documentation's own, kept letter
// for letter (the odd period, the missing blank in "Shutter pos sensor3", the "TBD"), so that
// a service engineer can look a message up in the manual.

namespace VelutraHGErrors {

// The module generations differ in their error codes and status-flag bits. Which one is
// connected is read from the module's type string.
enum class ModuleVariant {
    FirstGeneration,
    Type0x90,
    Type0x93,
};

// "0x90" is looked for first, so a type naming both ids counts as 0x90. Case matters: the
// module writes its ids in lower case and nothing else is an id.
inline ModuleVariant moduleVariant(const QString &moduleType)
{
    if (moduleType.contains(QLatin1String("0x90"), Qt::CaseSensitive)) {
        return ModuleVariant::Type0x90;
    }
    if (moduleType.contains(QLatin1String("0x93"), Qt::CaseSensitive)) {
        return ModuleVariant::Type0x93;
    }
    return ModuleVariant::FirstGeneration;
}

struct ErrorText
{
    int code;
    const char *text;
};

// Every code a table leaves out, and every code past its end, reads as this.
inline constexpr char s_unknownErrorText[] = "HG Unknown error code.";

// Codes 0 to 25; 1, 5, 6, 7, 9, 11, 13, 14 and 15 are reserved and read as unknown.
inline constexpr ErrorText s_firstGenerationErrors[] = {
        {2, "Interlock Disconnected."},
        {3, "Power Supply Low Voltage."},
        {4, "FRAM Issues."},
        {8, "Module Disabled."},
        {10, "Board Temperature (Ambient)."},
        {12, "Oven Temperature."},
        {16, "Output Power."},
        {17, "Humidity High."},
        {18, "12V Supply Out of Range."},
        {19, "5V Supply Out of Range."},
        {20, "2.048V Supply Out of Range."},
        {21, "3.3V Supply Out of Range."},
        {22, "Piezo Voltage Out of Range."},
        {23, "ADCA State Machine."},
        {24, "ADCB State Machine."},
        {25, "Oven Fault."},
};

// Codes 0 to 19; 2 and 6 are reserved and read as unknown.
inline constexpr ErrorText s_type0x90Errors[] = {
        {1, "TBD"},
        {3, "Power Supply Low Voltage"},
        {4, "FRAM Issues"},
        {5, "Watchdog"},
        {7, "Board Temperature (Ambient)"},
        {8, "Oven 1 Temperature"},
        {9, "Oven 2 Temperature"},
        {10, "Oven 1 NTC"},
        {11, "Oven 2 NTC"},
        {12, "Shutter pos sensor 1"},
        {13, "Shutter pos sensor 2"},
        {14, "Shutter pos sensor3"},
        {15, "Waveplate"},
        {16, "PD optical"},
        {17, "Humidity"},
        {18, "Shutter position in wrong state"},
        {19, "Laser on sys not ready"},
};

// Codes 3 to 21; 5, 6, 12, 13, 14, 15 and 20 are reserved and read as unknown.
inline constexpr ErrorText s_type0x93Errors[] = {
        {3, "Power Supply Low Voltage"},
        {4, "FRAM Issues"},
        {7, "Board Temperature (Ambient)"},
        {8, "Oven 1 Temperature"},
        {9, "Oven 2 Temperature"},
        {10, "Oven 1 NTC"},
        {11, "Oven 2 NTC"},
        {16, "PD optical"},
        {17, "Humidity"},
        {18, "Shutter position in wrong state"},
        {19, "Laser on sys not ready"},
        {21, "3.3V Supply Out of Range."},
};

template<std::size_t N>
inline const char *findText(const ErrorText (&table)[N], int code)
{
    for (const ErrorText &row : table) {
        if (row.code == code) {
            return row.text;
        }
    }
    return s_unknownErrorText;
}

// The text for a non-zero code of the given module generation.
inline QString errorText(ModuleVariant variant, int code)
{
    switch (variant) {
    case ModuleVariant::Type0x90:
        return QString::fromLatin1(findText(s_type0x90Errors, code));
    case ModuleVariant::Type0x93:
        return QString::fromLatin1(findText(s_type0x93Errors, code));
    case ModuleVariant::FirstGeneration:
        break;
    }
    return QString::fromLatin1(findText(s_firstGenerationErrors, code));
}

} // namespace VelutraHGErrors

#endif // VELUTRAHGERRORTABLE_H
