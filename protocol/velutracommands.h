#ifndef VELUTRACOMMANDS_H
#define VELUTRACOMMANDS_H

#include <QString>

// Every text the program sends to the laser is produced here, so that the spelling, the
// line feeds and the number formats live in one place.
//
// Almost every command ends in a line feed. A few are produced without one on purpose
// (ovenEnable(), ovenDisable(), thgModuleEnableQuery(), dynamicWavelengthFeatureQuery()):
// the serial handler appends the missing line feed when it stores a command, and the
// monitor list compares texts, so these must stay exactly as they are.
namespace VelutraCommands {

// ---- Sent by the serial handler itself ----------------------------------------------

/// Connect handshake: asks whether the device is ready.
QString deviceStatusQuery(); // "ly_vtx2_dev_status?\n"
/// Requests the system information block (model, firmware, serial numbers, run times).
QString systemInfoRequest(); // "ly_system_info\n"

// ---- Polled queries (cyclic monitor list) --------------------------------------------

/// Base list, installed whenever the controller (re)builds its polling list.
QString statusRecord6Query(); // "s6\n"  counters and initialisation status
QString statusRecord7Query(); // "s7\n"  emission, AOM mode, shutter, temperatures status
QString statusRecord8Query(); // "s8\n"  LPCL and LDD currents
QString statusRecord9Query(); // "s9\n"  the ten temperature channels
QString powerQuery(); // "ly_vtx2_power?\n"
QString powerPercentQuery(); // "e_power?\n"
QString frequencyQuery(); // "e_freq?\n"
QString divisionQuery(); // "e_div?\n"

/// Harmonic module lists (installed when the decoder reports a module).
QString humidityQuery(); // "ls_humidity?\n"  SHG/SHGg and THGi modules
QString shgModuleEnableQuery(); // "ls_enable?\n"  SHG/SHGg modules
QString thgModuleEnableQuery(); // "ls_enable?"  THG/THGi modules, no line feed
QString ovenSetpointQuery(); // "ls_temp_setpoint?\n"
QString ovenTemperatureQuery(); // "ls_temp_oven?\n"
QString outputQuery(); // "ly_vtx2_output?\n"
QString crystalAllRuntimesQuery(); // "ls_crystal_allRuntimes?\n"  THG/THGi modules
QString crystalCurrentSpotQuery(); // "ls_crystal_curSpot?\n"  THG/THGi modules
QString crystalCurrentRuntimeQuery(); // "ls_crystal_curRuntime?\n"  THG/THGi modules
QString crystalMaxRuntimeQuery(); // "ls_crystal_maxRuntime?\n"  THG/THGi modules
QString moduleWavelengthQuery(); // "ls_wavelength?\n"
QString moduleStatusQuery(); // "ls_status?\n"
QString moduleErrorcodeQuery(); // "ls_errorcode?\n"
QString moduleOutputPowerQuery(); // "ls_output_power?\n"
QString moduleRuntimeQuery(); // "ls_module_runtime?\n"

/// Installed while the module reports that it supports dynamic wavelength switching.
QString dynamicWavelengthEnableQuery(); // "ls_dwls_enable?\n"
QString dynamicWavelengthDefaultQuery(); // "ls_dwls_default?\n"

// ---- One-shot queries (settings queue) -----------------------------------------------

/// Sent once per connection, in this order, when the link comes up.
QString debugOutputQuery(); // "d2?\n"
QString registerDumpStartQuery(); // "ezra?\n"
QString registerDumpEndQuery(); // "eira?\n"
/// First step of installing a harmonic module's polling list.
QString moduleOutputConfigQuery(); // "ls_output_config?\n"
/// Asks whether the module supports dynamic wavelength switching (no line feed).
QString dynamicWavelengthFeatureQuery(); // "ls_dwls_feature?"
/// Digital output (gate) state; re-read after firmware detection and after rate changes.
QString digitalGateQuery(); // "ly_vtx2_digiop?\n"
/// Module information block, for firmware that has a harmonic module on board.
QString moduleInfoQuery(); // "ls?\n"

// ---- Set commands (settings queue) ----------------------------------------------------

/// Operating mode combo: index 0 "Internal" (AOM mode 2), 1 "External" (mode 3), 2 (mode 8).
/// Any other index sends nothing: the result is then a null string.
QString operatingMode(int comboIndex);
/// Harmonic module output selector (wavelength selector combo index).
QString moduleWavelength(int comboIndex); // "ls_wavelength=%1\n"
/// Power slider in µJ; the device takes nJ, rounded to a whole number.
QString setPower_uJ(double microjoules); // "ly_vtx2_power=%1\n"
/// Relative power slider in percent; 100 % is 4000 device units, truncated.
QString setPowerPercent(double percent); // "e_power=%1\n"
/// Division factor control; the factor is truncated toward zero.
QString setDivision(double factor); // "e_div %1\n"
/// Repetition rate or rate divider: the index found in the frequency or division list.
QString setFrequencyIndex(int index); // "e_freq %1\n"
/// Remote control buttons.
QString outputEnable(); // "ly_vtx2_output_enable\n"  output enable button pressed on
QString outputDisable(); // "ly_vtx2_output_disable\n"  output enable button pressed off
QString laserDisabled(); // "ly_vtx2_disabled\n"  laser-on button, either way
QString standby(); // "ly_vtx2_standby\n"  standby button, either way
QString listen(); // "ly_vtx2_listen\n"  listen button, either way
/// Laser wavelength register; the "Velutra-2" model uses its own command.
QString laserWavelength(int index); // "ly_vtx_wvl %1\n"
QString laserWavelengthVelutra2(int index); // "ly_vtx2_wvl %1\n"
/// Oven mode combo: a non-zero index switches the ovens on, index 0 back (no line feed).
QString ovenEnable(); // "ls_enable=4"
QString ovenDisable(); // "ls_enable=2"
QString ovenMode(int comboIndex); // ovenEnable() for a non-zero index, else ovenDisable()
/// Oven 1 set-point in °C with one decimal, for a module with a single oven ("0x86", "0x90").
QString singleOvenSetpoint(double celsius); // "ls_temp_setpoint=%1\n"
/// Oven 1 (SHG oven) set-point of a module with two ovens.
QString shgOvenSetpoint(double celsius); // "ls_temp_setpoint_SHG=%1\n"
/// Oven 1 set-point, picking the command by the module type text (case-sensitive search).
QString oven1Setpoint(double celsius, const QString &moduleType);
/// Oven 2 (THG oven) set-point.
QString oven2Setpoint(double celsius); // "ls_temp_setpoint_THG=%1\n"
/// Crystal spot slider; the spot number is truncated toward zero.
QString setCrystalSpot(double spot); // "ls_crystal_setSpot=%1\n"
/// Dynamic wavelength switching on (1) or off (0).
QString setDynamicWavelengthEnabled(int enabled); // "ls_dwls_enable=%1\n"
/// Stores the default pulse energy of one wavelength; the energy goes out in nJ.
QString setDynamicWavelengthDefault(int wavelengthIndex,
                                    double microjoules); // "ls_dwls_default=%1,%2\n"
/// Digital gate logic mode.
QString setDigitalGate(int mode); // "ly_vtx2_digiop=%1\n"
/// Switches the device's debug output off when it reports it on.
QString debugOutputOff(); // "d2=0\n"

// ---- Units and number formats used in the arguments -----------------------------------

/// The device counts pulse energy in nJ; the panel and the operator in µJ.
constexpr double NanojoulesPerMicrojoule = 1000.0;


/// Decimal integer, '-' for negative values.
QString formatInt(int value);
/// Truncation toward zero to a 32-bit int; values beyond the int range saturate and NaN gives 0.
int truncateToInt(double value);
/// Fixed notation with exactly `decimals` decimals, rounded to nearest.
QString formatFixed(double value, int decimals);
/// General notation with 6 significant digits, trailing zeros dropped.
QString formatGeneral(double value);

} // namespace VelutraCommands

#endif // VELUTRACOMMANDS_H
