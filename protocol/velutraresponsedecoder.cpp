#include "velutraresponsedecoder.h"

#include "velutracommands.h"
#include "velutralinepattern.h"
#include "velutraprotocolcategory.h"

#include <QVector>

#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace {

using Decoder = VelutraResponseDecoder;
using DivisionList = QMap<int, double>;
using CrystalRuntimes = QMap<int, quint64>;

// A value as last parsed and as last published. `publishedValid` is false while nothing has
// been published since construction or the last disconnection; types with a value that no
// reply produces use that value instead, which has the same effect.
template<typename T>
struct Tracked
{
    T latest{};
    T published{};
    bool publishedValid = false;
};

bool sameValue(double a, double b)
{
    // A device that sends "nan" twice has not changed its value.
    return a == b || (std::isnan(a) && std::isnan(b));
}

template<typename T>
bool sameValue(const T &a, const T &b)
{
    return a == b;
}

bool sameValue(const QMap<int, double> &a, const QMap<int, double> &b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (auto i = a.cbegin(), j = b.cbegin(); i != a.cend(); ++i, ++j) {
        if (i.key() != j.key() || !sameValue(i.value(), j.value())) {
            return false;
        }
    }
    return true;
}

template<typename T>
bool mustPublish(const Tracked<T> &value, bool force)
{
    return force || !value.publishedValid || !sameValue(value.published, value.latest);
}

template<typename T>
void markPublished(Tracked<T> &value)
{
    value.published = value.latest;
    value.publishedValid = true;
}

// Reset values: ints, doubles and texts have a value no reply produces; the other types
// have none, so they are simply marked unpublished.
void resetPublished(Tracked<int> &value)
{
    value.published = std::numeric_limits<int>::max();
    value.publishedValid = true;
}

void resetPublished(Tracked<double> &value)
{
    value.published = std::numeric_limits<double>::max();
    value.publishedValid = true;
}

void resetPublished(Tracked<QString> &value)
{
    value.published = QStringLiteral("#");
    value.publishedValid = true;
}

void resetPublished(Tracked<SystemState> &value)
{
    value.published = SystemStateUnknown;
    value.publishedValid = true;
}

template<typename K, typename V>
void resetPublished(Tracked<QMap<K, V>> &value)
{
    value.published.clear();
    value.publishedValid = true;
}

// A flag has no impossible value. Its inverse alone would let a first report that differs
// from the latest value slip through, so it is marked unpublished as well.
void resetPublished(Tracked<bool> &value)
{
    value.published = !value.latest;
    value.publishedValid = false;
}

template<typename T>
void resetPublished(Tracked<T> &value)
{
    value.publishedValid = false;
}

template<typename... T>
void resetPublishedEach(Tracked<T> &...values)
{
    (resetPublished(values), ...);
}

// The power set-points are published from their text, which is empty until the first reply.
void resetPublishedToEmpty(Tracked<QString> &value)
{
    value.published.clear();
    value.publishedValid = true;
}

// Text values, in the order of their signals.
enum TextValue {
    TextVelutraType,
    TextHardwareVersion,
    TextFirmwareVersion,
    TextApplicationName,
    TextCompilationDateTime,
    TextSerialNumber,
    TextLddHardware,
    TextLddSoftware,
    TextLddRevision,
    TextTecHardware,
    TextTecSoftware,
    TextTecRevision,
    TextTimingBoardSerial,
    TextTimingBoardMcu,
    TextTimingBoardFpga,
    TextDeviceOnHours,
    TextDeviceOnMinutes,
    TextEmissionHours,
    TextEmissionMinutes,
    TextModuleAddress,
    TextModuleType,
    TextModuleFirmwareVersion,
    TextModuleBootloaderVersion,
    TextModuleSerialNumber,
    TextModulePcbSerialNumber,
    TextValueCount
};

using TextSignal = void (Decoder::*)(QString);
constexpr TextSignal s_textSignals[TextValueCount] = {
        &Decoder::sigsVelutraTypeChanged,
        &Decoder::sigsHardwareVersionChanged,
        &Decoder::sigsFirmwareVersionChanged,
        &Decoder::sigsApplicationNameChanged,
        &Decoder::sigsCompilationDateTimeChanged,
        &Decoder::sigsSerialNumberChanged,
        &Decoder::sigsLDDDeviceHardwareChanged,
        &Decoder::sigsLDDDeviceSoftwareChanged,
        &Decoder::sigsLDDDeviceRevisionChanged,
        &Decoder::sigsTECDeviceHardwareChanged,
        &Decoder::sigsTECDeviceSoftwareChanged,
        &Decoder::sigsTECDeviceRevisionChanged,
        &Decoder::sigsTimingBoardSerialChanged,
        &Decoder::sigsTimingBoardMCUChanged,
        &Decoder::sigsTimingBoardFPGAChanged,
        &Decoder::sigsDeviceOnHoursChanged,
        &Decoder::sigsDeviceOnMinutesChanged,
        &Decoder::sigsDeviceEmissionHoursChanged,
        &Decoder::sigsDeviceEmissionMinutesChanged,
        &Decoder::sigsHGModuleAddress,
        &Decoder::sigsHGModuleType,
        &Decoder::sigsHGModuleFirwareVersion,
        &Decoder::sigsHGModuleBootloaderVersion,
        &Decoder::sigsHGModuleSerialNumber,
        &Decoder::sigsHGModulePCBSerialNumber,
};

// ---- Status records "s6" ... "s9" ----------------------------------------------------------

// StatusByte: read as an int, but only its low 8 bits are kept and published, so that the
// change filter looks at what the controller sees.
enum class FieldType { Int, Double, StatusByte };

// One token of a status record. A field without a signal is converted and kept, but not
// published.
struct RecordField
{
    FieldType type;
    void (Decoder::*intSignal)(int) = nullptr;
    void (Decoder::*doubleSignal)(double) = nullptr;
    void (Decoder::*byteSignal)(uchar) = nullptr;
};

constexpr RecordField intField(void (Decoder::*signal)(int))
{
    return {FieldType::Int, signal, nullptr, nullptr};
}

constexpr RecordField doubleField(void (Decoder::*signal)(double))
{
    return {FieldType::Double, nullptr, signal, nullptr};
}

constexpr RecordField statusByteField(void (Decoder::*signal)(uchar))
{
    return {FieldType::StatusByte, nullptr, nullptr, signal};
}

constexpr RecordField keptIntField()
{
    return {FieldType::Int, nullptr, nullptr, nullptr};
}

constexpr bool isPublished(const RecordField &field)
{
    return field.intSignal != nullptr || field.doubleSignal != nullptr
           || field.byteSignal != nullptr;
}

constexpr RecordField s_s6Fields[] = {
        intField(&Decoder::sigiCounterLaserOnOff_hChanged),
        intField(&Decoder::sigiCounterLaserOnOff_mChanged),
        intField(&Decoder::sigiCounterLaserEmmisionOnOff_hChanged),
        intField(&Decoder::sigiCounterLaserEmmisionOnOff_mChanged),
        intField(&Decoder::sigiTEC_initialisationChanged),
        intField(&Decoder::sigiLDD_initialisationChanged),
        intField(&Decoder::sigiDownload_lin12b_status_TBChanged),
        intField(&Decoder::sigiDownload_wrnmin_status_TBChanged),
        intField(&Decoder::sigiDownload_errmax_status_TBChanged),
        intField(&Decoder::sigiDownload_errmin_status_TBChanged),
        intField(&Decoder::sigiDownload_wrnmax_status_TBChanged),
        keptIntField(),
};

constexpr RecordField s_s7Fields[] = {
        intField(&Decoder::sigiLaserEmmisionChanged),
        intField(&Decoder::sigiModeOfOperationAOMChanged),
        intField(&Decoder::sigiShutterOnOffChanged),
        intField(&Decoder::sigiVelutraXPReadyChanged),
        intField(&Decoder::sigiLaserPowerSetAOMChanged),
        intField(&Decoder::sigiFrequencyDividerAOMChanged),
        intField(&Decoder::sigiFrequencyIndexPCAOMinitChanged),
        doubleField(&Decoder::sigfMeasuredLaserPowerChanged),
        intField(&Decoder::sigiNoOfPulsesSingleBurstChanged),
        intField(&Decoder::sigiGeneral_temperature_statusChanged),
        intField(&Decoder::sigiTemperature_status_1Changed),
        intField(&Decoder::sigiTemperature_status_8Changed),
        intField(&Decoder::sigiDELAY_BOARD_ERRORChanged),
        intField(&Decoder::sigiErrorStatusTECChanged),
        intField(&Decoder::sigiErrorStatusLDDChanged),
        // The laser's status word; the last token, so it is published after the others.
        statusByteField(&Decoder::siguiTmpChar2Changed),
};

constexpr RecordField s_s8Fields[] = {
        intField(&Decoder::sigiLpcl_en_statusChanged),
        intField(&Decoder::sigiLpcl_boost_timeChanged),
        doubleField(&Decoder::sigfLpcl_currentChanged),
        doubleField(&Decoder::sigfLpcl_current_boostChanged),
        doubleField(&Decoder::sigfLpcl_temperatureChanged),
        doubleField(&Decoder::sigfTmpFloatValueAChanged),
        doubleField(&Decoder::sigfTmpFloatValueBChanged),
        doubleField(&Decoder::sigfTmpFloatValueCChanged),
        intField(&Decoder::sigiComm_device_1_RS485Changed),
        intField(&Decoder::sigiComm_device_2_RS485Changed),
        intField(&Decoder::sigiActualCurrentLDDChanged),
        doubleField(&Decoder::sigfLdd1_om2_MaxCurrentChanged),
};

// Ten channels of set, actual, min and max, in token order.
constexpr RecordField s_s9Fields[] = {
        doubleField(&Decoder::sigfTemperature_set_1Changed),
        doubleField(&Decoder::sigfTemperature_actual_1Changed),
        doubleField(&Decoder::sigfTemperature_min_1Changed),
        doubleField(&Decoder::sigfTemperature_max_1Changed),
        doubleField(&Decoder::sigfTemperature_set_2Changed),
        doubleField(&Decoder::sigfTemperature_actual_2Changed),
        doubleField(&Decoder::sigfTemperature_min_2Changed),
        doubleField(&Decoder::sigfTemperature_max_2Changed),
        doubleField(&Decoder::sigfTemperature_set_3Changed),
        doubleField(&Decoder::sigfTemperature_actual_3Changed),
        doubleField(&Decoder::sigfTemperature_min_3Changed),
        doubleField(&Decoder::sigfTemperature_max_3Changed),
        doubleField(&Decoder::sigfTemperature_set_4Changed),
        doubleField(&Decoder::sigfTemperature_actual_4Changed),
        doubleField(&Decoder::sigfTemperature_min_4Changed),
        doubleField(&Decoder::sigfTemperature_max_4Changed),
        doubleField(&Decoder::sigfTemperature_set_5Changed),
        doubleField(&Decoder::sigfTemperature_actual_5Changed),
        doubleField(&Decoder::sigfTemperature_min_5Changed),
        doubleField(&Decoder::sigfTemperature_max_5Changed),
        doubleField(&Decoder::sigfTemperature_set_6Changed),
        doubleField(&Decoder::sigfTemperature_actual_6Changed),
        doubleField(&Decoder::sigfTemperature_min_6Changed),
        doubleField(&Decoder::sigfTemperature_max_6Changed),
        doubleField(&Decoder::sigfTemperature_set_7Changed),
        doubleField(&Decoder::sigfTemperature_actual_7Changed),
        doubleField(&Decoder::sigfTemperature_min_7Changed),
        doubleField(&Decoder::sigfTemperature_max_7Changed),
        doubleField(&Decoder::sigfTemperature_set_8Changed),
        doubleField(&Decoder::sigfTemperature_actual_8Changed),
        doubleField(&Decoder::sigfTemperature_min_8Changed),
        doubleField(&Decoder::sigfTemperature_max_8Changed),
        doubleField(&Decoder::sigfTemperature_set_9Changed),
        doubleField(&Decoder::sigfTemperature_actual_9Changed),
        doubleField(&Decoder::sigfTemperature_min_9Changed),
        doubleField(&Decoder::sigfTemperature_max_9Changed),
        doubleField(&Decoder::sigfTemperature_set_10Changed),
        doubleField(&Decoder::sigfTemperature_actual_10Changed),
        doubleField(&Decoder::sigfTemperature_min_10Changed),
        doubleField(&Decoder::sigfTemperature_max_10Changed),
};

struct StatusRecord
{
    // Tokens after splitting the line at every blank, the tag "sN" included.
    int tokenCount;
    const RecordField *fields;
    int fieldCount;
    // An old firmware ("V5.0.2") sends fields that do not convert; they are read as 0.
    bool lenientOnOldFirmware;
    void (Decoder::*publish)(bool);
};

template<int N>
constexpr int countOf(const RecordField (&)[N])
{
    return N;
}

const StatusRecord s_statusRecords[] = {
        {13, s_s6Fields, countOf(s_s6Fields), true, &Decoder::publish_s6},
        {17, s_s7Fields, countOf(s_s7Fields), true, &Decoder::publish_s7},
        {13, s_s8Fields, countOf(s_s8Fields), true, &Decoder::publish_s8},
        {42, s_s9Fields, countOf(s_s9Fields), false, &Decoder::publish_s9},
};
constexpr int s_statusRecordCount = 4;
constexpr int s_maxRecordFields = 40;

// Module type codes and the existence signal each one selects, first hit wins.
struct ModuleKind
{
    const char *typeCode;
    void (Decoder::*signal)(bool);
};

constexpr ModuleKind s_moduleKinds[] = {
        {"0x86", &Decoder::sigExistsSHGModule},
        {"0x8d", &Decoder::sigExistsTHGModule},
        {"0x90", &Decoder::sigExistsSHGgModule},
        {"0x93", &Decoder::sigExistsTHGiModule},
};
constexpr int s_moduleKindCount = 4;

// Register names of the device's register dump (between "ezra" and "eira").
constexpr const char *s_registerNames[] = {
        "ERRRST", "AOM80S80", "AOMMODE", "AOMRNG", "AOMAMP", "PCPER",  "PC1OFF", "PC1ON",  "PDSMPL",
        "AOMOFF", "AOMEN",    "OUT2SEL", "PC2EN",  "PC1EN",  "AOMINH", "PC1INH", "PC2INH",
};

constexpr int s_maxCrystalSpots = 32;
// A device has a few dozen frequency and calibration rows; more new keys than this are
// dropped, so that a device sending ever new row numbers cannot grow the tables forever.
constexpr int s_maxTableRows = 1024;

template<typename T>
bool roomFor(const QMap<int, T> &map, int key)
{
    return map.size() < s_maxTableRows || map.contains(key);
}

// True when `pattern` is `selector` followed by more atoms, so that whatever the pattern
// matches at position 0 the selector matches there too.
bool selectorStartsPattern(const char *selector, const char *pattern)
{
    const QByteArray head(selector);
    const QByteArray whole(pattern);
    if (!whole.startsWith(head) || head.count('(') != head.count(')')) {
        return false;
    }
    int trailingBackslashes = 0;
    for (int i = head.size() - 1; i >= 0 && head.at(i) == '\\'; --i) {
        ++trailingBackslashes;
    }
    const char next = whole.size() > head.size() ? whole.at(head.size()) : '\0';
    return trailingBackslashes % 2 == 0 && next != '*' && next != '+' && next != '?' && next != '{';
}

QString runtimeText(quint64 seconds)
{
    const quint64 hours = seconds / 3600;
    const quint64 minutes = (seconds - hours * 3600) / 60;
    return QStringLiteral("%1 hours %2 minutes").arg(hours).arg(minutes);
}

// ---- Readers: a reply's field as the value it stands for ----------------------------------
//
// Each gives no value for a field that does not parse or does not fit; the line is then a
// parsing error and nothing is kept.

// Qt's integer conversions report success through a flag.
template<typename T>
std::optional<T> integer(const QString &field, T (QString::*convert)(bool *, int) const, int base)
{
    bool ok = false;
    const T value = (field.*convert)(&ok, base);
    return ok ? std::optional<T>(value) : std::nullopt;
}

// A number too large for the type it is kept in is refused, never cut down.
template<typename T, typename U>
std::optional<T> fitting(const std::optional<U> &number)
{
    if (!number || *number > std::numeric_limits<T>::max()) {
        return std::nullopt;
    }
    return static_cast<T>(*number);
}

// A number kept in a narrower or signed type as the cast leaves it.
template<typename T, typename U>
std::optional<T> castTo(const std::optional<U> &number)
{
    return number ? std::optional<T>(static_cast<T>(*number)) : std::nullopt;
}

std::optional<int> decimal(const QString &field)
{
    return integer(field, &QString::toInt, 10);
}

std::optional<quint64> seconds(const QString &field)
{
    return integer(field, &QString::toULongLong, 10);
}

std::optional<double> real(const QString &field)
{
    bool ok = false;
    const double value = field.toDouble(&ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

// A humidity in percent, truncated to int; a value the int cannot hold is nonsense, not a
// humidity.
std::optional<int> wholePercent(const QString &field)
{
    const std::optional<double> percent = real(field);
    if (!percent || !(*percent > double(std::numeric_limits<int>::min()) - 1.0)
        || !(*percent < double(std::numeric_limits<int>::max()) + 1.0)) {
        return std::nullopt;
    }
    return static_cast<int>(*percent);
}

// 16 bits of flags: a larger word would report other flags than it carries.
std::optional<quint16> flagWord(const QString &field)
{
    return fitting<quint16>(integer(field, &QString::toULong, 16));
}

// 8 bits: code 256 cut down would read as "no error".
std::optional<uchar> errorCode(const QString &field)
{
    return fitting<uchar>(integer(field, &QString::toUInt, 10));
}

// The output configuration is one byte wide: a wider word keeps its low byte.
std::optional<uchar> hexByte(const QString &field)
{
    return castTo<uchar>(integer(field, &QString::toUInt, 16));
}

std::optional<int> spotNumber(const QString &field)
{
    return castTo<int>(integer(field, &QString::toUInt, 10));
}

// The power set-points are kept as the device's text, so that the change filter compares
// what was received; the text must still read as a number.
std::optional<QString> numberText(const QString &field)
{
    bool ok = false;
    field.toDouble(&ok);
    return ok ? std::optional<QString>(field) : std::nullopt;
}

// Crystal position: 0 IR, 1 green, anything else UV. Every text is a position.
std::optional<int> crystalPosition(const QString &field)
{
    if (field.contains(QLatin1String("IR"))) {
        return 0;
    }
    if (field.contains(QLatin1String("GREEN"))) {
        return 1;
    }
    return 2;
}

// In mW: a text ending in "mW" is read as mW, any other as W. Taken by value: the unit is
// cut from the field itself.
std::optional<double> milliwatts(QString text)
{
    static constexpr double s_milliwattsPerWatt = 1000.0;
    double scale = 1.0;
    if (text.endsWith(QLatin1String("mW"))) {
        text.remove(QLatin1String("mW"));
    } else {
        text.remove(QLatin1Char('W'));
        scale = s_milliwattsPerWatt;
    }
    bool ok = false;
    const double value = text.toDouble(&ok) * scale;
    return ok ? std::optional<double>(value) : std::nullopt;
}

} // namespace

enum class VelutraResponseDecoder::Outcome {
    Handled, // the line is consumed, whatever it did
    ParsingError, // the line was recognised but did not parse; nothing was stored
};

enum class MatchKind {
    Prefix, // the line starts with the literal text
    Regex, // the QRegExp pattern matches at position 0
};

// One line kind: how it is recognised, the pattern that extracts its fields (when the kind
// has fields) and what is done with them. `value` parameterises the shared handlers.
struct VelutraResponseDecoder::LineRule
{
    MatchKind kind;
    const char *selector;
    const char *pattern;
    Handler handler;
    int value = 0;
};

struct VelutraResponseDecoder::Values
{
    // A rule as compiled once per decoder.
    struct CompiledRule
    {
        QLatin1String prefix;
        std::unique_ptr<VelutraLinePattern> selector; // Regex kinds
        std::unique_ptr<VelutraLinePattern> pattern; // kinds with fields
        // A Regex kind whose pattern begins with the selector: a match of the pattern is a
        // match of the selector too, so the pattern is tried first.
        bool patternFirst = false;
    };

    const LineRule *rules = nullptr;
    int ruleCount = 0;
    // Indexed like the rule table.
    std::vector<CompiledRule> compiled;
    // The rules a line can match, by its first character (Latin-1; 256 for an empty line),
    // in table order. A rule whose matches may start with any character is in every list.
    std::vector<int> candidates[257];

    Tracked<QString> texts[TextValueCount];
    Tracked<quint64> moduleRuntime;
    Tracked<bool> moduleExists[s_moduleKindCount];

    // Record fields are held as doubles: every int converts exactly.
    Tracked<double> records[s_statusRecordCount][s_maxRecordFields];

    Tracked<bool> debugging;
    Tracked<SystemState> systemState;
    Tracked<QString> powerSetpoint_nJ;
    Tracked<QString> powerSetpointPercent;
    Tracked<QMap<int, double>> calibration[2];
    double powerPercentMaximum = 100.0;
    Tracked<int> frequencyIndex;
    Tracked<QMap<int, double>> frequencyDivList;
    Tracked<int> divisionFactor;
    Tracked<bool> aom;
    bool registerDumpMode = false;

    Tracked<int> ovenMode;
    Tracked<double> ovenSetpoint[2];
    Tracked<double> ovenMinimum[2];
    Tracked<double> ovenMaximum[2];
    Tracked<double> ovenActual[2];
    Tracked<int> humidity;
    Tracked<int> piezoPosition;
    Tracked<int> digitalGate;
    Tracked<int> dynamicWavelengthEnabled;
    Tracked<bool> dynamicWavelengthSupported;
    Tracked<double> dynamicWavelengthEnergy[4];
    Tracked<double> shgOutputPower;
    Tracked<double> thgOutputPower;
    Tracked<quint16> statusFlags;
    Tracked<uchar> errorcode;
    Tracked<uchar> outputConfig;
    Tracked<int> crystalSpot;
    Tracked<quint64> crystalCurrentRuntime;
    Tracked<quint64> crystalMaxRuntime;
    Tracked<QMap<int, quint64>> crystalAllRuntimes;

    VelutraLinePattern &pattern(int rule) { return *compiled[size_t(rule)].pattern; }
};

// ---- Publish groups -------------------------------------------------------------------------
//
// One row per publish slot. Each group has a publish_<group>(bool force) slot and a
// markStale_<group>() slot; both are generated from these rows, except the publishers of the
// composite groups, which are written out below.

// Text groups: group, first text, number of texts.
#define VELUTRA_TEXT_GROUPS(X) \
    X(ly_system_info_Velutra, TextVelutraType, 3) \
    X(ly_system_info_SW_MAIN, TextApplicationName, 1) \
    X(ly_system_info_Compiled_on, TextCompilationDateTime, 1) \
    X(ly_system_info_Serial_number, TextSerialNumber, 1) \
    X(ly_system_info_LLD_device, TextLddHardware, 3) \
    X(ly_system_info_TEC_device, TextTecHardware, 3) \
    X(ly_system_info_Timing_Board, TextTimingBoardSerial, 3) \
    X(ly_system_info_DeviceOnTime, TextDeviceOnHours, 2) \
    X(ly_system_info_EmissionTime, TextEmissionHours, 2) \
    X(ls_info_ModuleAddrType, TextModuleAddress, 2) \
    X(ls_info_FirmwareVersion, TextModuleFirmwareVersion, 1) \
    X(ls_info_BootladerVersion, TextModuleBootloaderVersion, 1) \
    X(ls_info_ModuleSerialNumber, TextModuleSerialNumber, 1) \
    X(ls_info_PCBSerialNumber, TextModulePcbSerialNumber, 1)

// Status records: group, record index.
#define VELUTRA_RECORD_GROUPS(X) \
    X(s6, 0) \
    X(s7, 1) \
    X(s8, 2) \
    X(s9, 3)

// A single value with a single signal: group, member of Values, signal, emitted type.
#define VELUTRA_VALUE_GROUPS(X) \
    X(DebuggingStatus, debugging, sigDebuggingStatusChanged, bool) \
    X(SystemState, systemState, sigSystemStateChanged, SystemState) \
    X(FrequencyIndex, frequencyIndex, sigFrequencyIndexChanged, int) \
    X(FrequencyDivList, frequencyDivList, sigFrequencyDivListChanged, DivisionList) \
    X(DivisionFactor, divisionFactor, sigDivisionFactorChanged, int) \
    X(AOMStatus, aom, sigAOMChanged, bool) \
    X(OvenMode, ovenMode, sigOvenModeChanged, int) \
    X(Oven1TemperatureActual, ovenActual[0], sigOven1TempActualChanged, double) \
    X(Oven2TemperatureActual, ovenActual[1], sigOven2TempActualChanged, double) \
    X(HumidityActual, humidity, sigHumidityActualChanged, int) \
    X(PiezoPositionSetting, piezoPosition, sigPiezoPositionChanged, int) \
    X(DigitalGateSetting, digitalGate, sigDigitalGateChanged, int) \
    X(DynamicWavelengthEnabled, dynamicWavelengthEnabled, sigDynamicWavelengthFeatureChanged, int) \
    X(DynamicWavelengthSupport, dynamicWavelengthSupported, sigDynamicWavelengthFeatureSupported, \
      bool) \
    X(DynamicWLS_IR, dynamicWavelengthEnergy[0], sigDynamicWLS_IRChanged, double) \
    X(DynamicWLS_Green, dynamicWavelengthEnergy[1], sigDynamicWLS_GreenChanged, double) \
    X(DynamicWLS_UV, dynamicWavelengthEnergy[2], sigDynamicWLS_UVChanged, double) \
    X(DynamicWLS_DUV, dynamicWavelengthEnergy[3], sigDynamicWLS_DUVChanged, double) \
    X(SHGOutputPower, shgOutputPower, sigSHGOutputPowerChanged, double) \
    X(THGOutputPower, thgOutputPower, sigTHGOutputPowerChanged, double) \
    X(HGStatusFlags, statusFlags, sigHGStatusFlagsChanged, quint16) \
    X(HGErrorcode, errorcode, sigHGErrorcodeChanged, uchar) \
    X(HGOutputConfig, outputConfig, sigHGOutputConfigChanged, uchar) \
    X(HGRuntime, moduleRuntime, sigsHGModuleRuntime, runtimeText) \
    X(HGCrystalCurSpot, crystalSpot, sigHGCrystalCurSpotChanged, int) \
    X(HGCrystalCurRuntime, crystalCurrentRuntime, sigHGCrystalCurRuntimeChanged, quint64) \
    X(HGCrystalMaxRuntime, crystalMaxRuntime, sigHGCrystalMaxRuntimeChanged, quint64) \
    X(HGCrystalAllRuntimes, crystalAllRuntimes, sigHGCrystalAllRuntimesChanged, CrystalRuntimes)

// Groups whose publisher is written out by hand: group, how its published copies are reset
// (`v` is the decoder's Values).
#define VELUTRA_COMPOSITE_GROUPS(X) \
    X(PowerSetpoint_nJ, resetPublishedToEmpty(v.powerSetpoint_nJ)) \
    X(PowerSetpoint_Percent, resetPublishedToEmpty(v.powerSetpointPercent)) \
    X(PowerSetpoint_nJ_Range, resetPublishedEach(v.calibration[0], v.calibration[1])) \
    X(Oven1TemperatureSetpoint, \
      resetPublishedEach(v.ovenSetpoint[0], v.ovenMinimum[0], v.ovenMaximum[0])) \
    X(Oven2TemperatureSetpoint, \
      resetPublishedEach(v.ovenSetpoint[1], v.ovenMinimum[1], v.ovenMaximum[1]))

// ---- The steps every reply with a value takes -----------------------------------------------
//
// Read the field, refuse it when it does not parse, keep it, publish its group. A line rule
// names the reader and the group's publish slot; where the group keeps its value is said
// once, in the group rows above.

namespace {

template<auto publish>
struct GroupValue;

#define VELUTRA_GROUP_VALUE(group, member, ...) \
    template<> \
    struct GroupValue<&VelutraResponseDecoder::publish_##group> \
    { \
        template<typename Values> \
        static auto &in(Values &values) \
        { \
            return values.member; \
        } \
    };

VELUTRA_VALUE_GROUPS(VELUTRA_GROUP_VALUE)
// The two composite groups a reply feeds with a single value.
VELUTRA_GROUP_VALUE(PowerSetpoint_nJ, powerSetpoint_nJ, sigPowerSetting_nJ_Changed)
VELUTRA_GROUP_VALUE(PowerSetpoint_Percent, powerSetpointPercent, sigPowerSetting_percent_Changed)

#undef VELUTRA_GROUP_VALUE

} // namespace

struct VelutraResponseDecoder::Steps
{
    using D = VelutraResponseDecoder;

    /// Keeps a value and publishes its group.
    template<auto publish, typename T>
    static Outcome keep(D &decoder, const T &value)
    {
        GroupValue<publish>::in(*decoder.m_values).latest = value;
        (decoder.*publish)(false);
        return Outcome::Handled;
    }

    /// Reads a field and, when it parses, keeps and publishes it.
    template<auto read, auto publish>
    static Outcome readAndKeep(D &decoder, QString field)
    {
        const auto value = read(std::move(field));
        if (!value) {
            return Outcome::ParsingError;
        }
        return keep<publish>(decoder, *value);
    }

    // Line handlers, by where the value is in the line.

    /// The first capture of the rule's pattern.
    template<auto read, auto publish>
    static Outcome fromCapture(D &decoder, const QString &, int rule)
    {
        return readAndKeep<read, publish>(decoder, decoder.m_values->pattern(rule).cap(1));
    }

    /// What follows the rule's prefix, line feeds removed.
    template<auto read, auto publish>
    static Outcome fromRestOfLine(D &decoder, const QString &line, int rule)
    {
        QString rest = line.mid(int(qstrlen(decoder.m_values->rules[rule].selector)));
        rest.remove(QLatin1Char('\n'));
        return readAndKeep<read, publish>(decoder, std::move(rest));
    }

    /// The rule's own value: a line that always means the same.
    template<auto publish>
    static Outcome fromRuleValue(D &decoder, const QString &, int rule)
    {
        auto &target = GroupValue<publish>::in(*decoder.m_values);
        using T = decltype(target.latest);
        return keep<publish>(decoder, T(decoder.m_values->rules[rule].value));
    }
};

// ---- The dispatch table ---------------------------------------------------------------------
//
// In the order the lines are tried; the first kind that matches ends the line. Prefixes are
// literal (even those that look like a regular expression, such as "^?AVGENGY ="). Lines
// not matched by any row are compared with the ignore list at the end of the table and
// otherwise reported as unhandled.
const VelutraResponseDecoder::LineRule *VelutraResponseDecoder::lineRules(int *count)
{
    using O = Outcome;
    using D = VelutraResponseDecoder;
    static constexpr MatchKind P = MatchKind::Prefix;
    static constexpr MatchKind R = MatchKind::Regex;

    // Shared handlers; `rule.value` says which value a row stands for.
    static constexpr Handler swallow = [](D &, const QString &, int) {
        return O::Handled;
    };
    static constexpr Handler systemInfo = [](D &d, const QString &, int rule) {
        // value: first text of the row; the captures are the row's texts, in order.
        Values &v = *d.m_values;
        const int first = v.rules[rule].value;
        const int count = v.pattern(rule).captureCount();
        for (int i = 0; i < count; ++i) {
            v.texts[first + i].latest = v.pattern(rule).cap(i + 1);
        }
        d.publishTexts(first, count, false);
        return O::Handled;
    };
    static constexpr Handler statusRecord = [](D &d, const QString &line, int rule) {
        return d.decodeStatusRecord(line, d.m_values->rules[rule].value);
    };
    static constexpr Handler debugging = Steps::fromRuleValue<&D::publish_DebuggingStatus>;
    static constexpr Handler systemState = Steps::fromRuleValue<&D::publish_SystemState>;
    static constexpr Handler division = Steps::fromRestOfLine<decimal, &D::publish_DivisionFactor>;
    static constexpr Handler aom = Steps::fromRuleValue<&D::publish_AOMStatus>;
    static constexpr Handler ovenSetpoint = [](D &d, const QString &, int rule) {
        // value: 0 oven 1 (SHG oven), 1 oven 2 (THG oven).
        Values &v = *d.m_values;
        const int oven = v.rules[rule].value;
        const std::optional<double> setpoint = real(v.pattern(rule).cap(1));
        const std::optional<double> minimum = real(v.pattern(rule).cap(2));
        const std::optional<double> maximum = real(v.pattern(rule).cap(3));
        if (!setpoint || !minimum || !maximum) {
            return O::ParsingError;
        }
        v.ovenSetpoint[oven].latest = *setpoint;
        v.ovenMinimum[oven].latest = *minimum;
        v.ovenMaximum[oven].latest = *maximum;
        d.publishOvenSetpoint(oven, false);
        return O::Handled;
    };
    static constexpr Handler oven1Actual
            = Steps::fromCapture<real, &D::publish_Oven1TemperatureActual>;
    static constexpr Handler oven2Actual
            = Steps::fromCapture<real, &D::publish_Oven2TemperatureActual>;
    static constexpr Handler humidity
            = Steps::fromCapture<wholePercent, &D::publish_HumidityActual>;
    static constexpr Handler piezoPositionText
            = Steps::fromCapture<crystalPosition, &D::publish_PiezoPositionSetting>;
    static constexpr Handler piezoPosition = Steps::fromRuleValue<&D::publish_PiezoPositionSetting>;
    static constexpr Handler digitalGate = Steps::fromRuleValue<&D::publish_DigitalGateSetting>;
    static constexpr Handler dynamicWavelengthEnabled
            = Steps::fromRuleValue<&D::publish_DynamicWavelengthEnabled>;
    static constexpr Handler dynamicWavelengthSupported
            = Steps::fromRuleValue<&D::publish_DynamicWavelengthSupport>;
    static constexpr Handler moduleRuntime = Steps::fromCapture<seconds, &D::publish_HGRuntime>;
    static constexpr Handler numberedRow = [](D &d, const QString &line, int rule) {
        return d.decodeNumberedRow(line, rule);
    };

    static const LineRule s_rules[] = {
            // System information block, answer to "ly_system_info"; value: first text of the row.
            {P, "Velutra-", "^(Velutra-.+) Hardware:(.*) Firmware:(.*)\n", systemInfo,
             TextVelutraType},
            {P, "SW.MAIN", "^(SW[\\._]MAIN[\\._].+)\n", systemInfo, TextApplicationName},
            {P, "SW_MAIN", "^(SW[\\._]MAIN[\\._].+)\n", systemInfo, TextApplicationName},
            {P, "Compiled on:", "^Compiled on: (.*)\n", systemInfo, TextCompilationDateTime},
            {P, "Serial number:", "^Serial number: (.*)\n", systemInfo, TextSerialNumber},
            {P, "LDD device -", "^LDD.+Hardware: (.*), Software version: (.*), Revision: (.*)\n",
             systemInfo, TextLddHardware},
            {P, "TEC device -", "^TEC.+Hardware: (.*), Software version: (.*), Revision: (.*)\n",
             systemInfo, TextTecHardware},
            {P, "Timing Board", "^Timing Board S\\/N: (.*); MCU T\\/B: (.*); FPGA T\\/B: (.*)\n",
             systemInfo, TextTimingBoardSerial},
            {P, "Device switch on time",
             "^Device switch on time \\(Standby and up\\): (.*) hours (.*) minutes\n", systemInfo,
             TextDeviceOnHours},
            {P, "Laser Emission switch on time",
             "^Laser Emission switch on time: (.*) hours (.*) minutes\n", systemInfo,
             TextEmissionHours},
            // Module information block, answer to "ls?".
            {P, "ZEL harmonic generation module (address:",
             "^ZEL harmonic generation module \\(address: (.*) / type: (.*)\\)\n", systemInfo,
             TextModuleAddress},
            {P, "Firmware version:", "^Firmware version:\t(.*)\n", systemInfo,
             TextModuleFirmwareVersion},
            {P, "Bootloader version:", "^Bootloader version:\t(.*)\n", systemInfo,
             TextModuleBootloaderVersion},
            {P, "Module serial number:", "^Module serial number:\t(.*)\n", systemInfo,
             TextModuleSerialNumber},
            {P, "PCB serial number:", "^PCB serial number:\t(.*)\n",
             [](D &d, const QString &line, int rule) {
                 // The last line of the module block: the module kind is known now.
                 const O outcome = systemInfo(d, line, rule);
                 d.publishModuleKind();
                 return outcome;
             },
             TextModulePcbSerialNumber},

            // Status records; value: record 0..3 for "s6".."s9".
            {P, "s6 ", nullptr, statusRecord, 0},
            {P, "s7 ", nullptr, statusRecord, 1},
            {P, "s8 ", nullptr, statusRecord, 2},
            {P, "s9 ", nullptr, statusRecord, 3},

            // Debug output of the communication channel.
            {R, "^Ok write.*debug Communication value to eeprom", nullptr, swallow},
            {R, "^Debugging on communication channel.*enabled", nullptr, debugging, 1},
            {R, "^Debugging on communication channel.*disabled", nullptr, debugging, 0},

            // Operating state; the capitals follow the device's own texts.
            {R, "^Listen.*=.*ok", nullptr, systemState, SystemStateListen},
            {R, "^Already.*Listen", nullptr, systemState, SystemStateListen},
            {R, "^Listen.*->.*Standby", nullptr, systemState, SystemStateListenToStandby},
            {R, "^Standby.*=.*ok", nullptr, systemState, SystemStateStandby},
            {R, "^Already.*Standby", nullptr, systemState, SystemStateStandby},
            {R, "^Standby.*->.*Listen", nullptr, systemState, SystemStateStandbyToListen},
            {R, "^Standby.*->.*disabled", nullptr, systemState, SystemStateStandbyToDisabled},
            {R, "^Standby.*->.*enabled", nullptr, systemState, SystemStateStandbyToEnabled},
            {R, "^.*disabled.*=.*ok", nullptr, systemState, SystemStateDisabled},
            {R, "^Already.*Disabled", nullptr, systemState, SystemStateDisabled},
            {R, "^.*enabled.*=.*ok", nullptr, systemState, SystemStateEnabled},
            {R, "^Already.*Enabled", nullptr, systemState, SystemStateEnabled},
            {R, "^.*disabled.*->.*Standby", nullptr, systemState, SystemStateDisabledToStandby},
            {R, "^.*enabled.*->.*Standby", nullptr, systemState, SystemStateEnabledToStandby},
            {R, "^.*disabled.*->.*Listen", nullptr, systemState, SystemStateDisabledToListen},
            {R, "^.*enabled.*->.*Listen", nullptr, systemState, SystemStateEnabledToListen},

            // Power and repetition rate. The first two are command echoes spelt with a literal "^".
            {P, "^?AVGENGY =", nullptr, swallow},
            {P, "^?ENERGY =", nullptr, swallow},
            {P, "ly_vtx2_power", nullptr, swallow},
            {P, "e_power", nullptr, swallow},
            {P, "Setted laser power:", nullptr,
             [](D &d, const QString &line, int) {
                 // Only the unit and the line feed together are cut: "5nJ6" is no number.
                 QString text = line.mid(int(qstrlen("Setted laser power:")));
                 text.remove(QLatin1String("nJ\n"));
                 return Steps::readAndKeep<numberText, &D::publish_PowerSetpoint_nJ>(
                         d, std::move(text));
             }},
            {P, "Setted laser power in relative unit:", nullptr,
             Steps::fromRestOfLine<numberText, &D::publish_PowerSetpoint_Percent>},
            {P, "Frequency index parameter:", nullptr,
             Steps::fromRestOfLine<decimal, &D::publish_FrequencyIndex>},
            // The PCAOM line first: the shorter prefix below is a prefix of it.
            {P, "Notice: Division factor for PCAOM is", nullptr, division},
            {P, "Notice: Division factor is", nullptr, division},
            {P, "Laser output disabled", nullptr, aom, 0},
            {P, "Laser output enabled", nullptr, aom, 1},

            // Harmonic module; value: oven 0 (SHG oven) or 1 (THG oven) for the oven rows.
            {P, "ZEL HG\tCurrent FSM state=", "^ZEL HG\tCurrent FSM state=(.*)\n",
             Steps::fromCapture<decimal, &D::publish_OvenMode>},
            {P, "ZEL SHG\tOven Setpoint",
             "^ZEL SHG\tOven Setpoint=(.*) C\tMin=(.*) C\tMax=(.*) C\n", ovenSetpoint, 0},
            {P, "ZEL SHG\tOven Temperature=", "^ZEL SHG\tOven Temperature=(.*) C\n", oven1Actual},
            {P, "ZEL THG\tSHG Oven Setpoint",
             "^ZEL THG\tSHG Oven Setpoint=(.*) C\tMin=(.*) C\tMax=(.*) C\n", ovenSetpoint, 0},
            {P, "ZEL THG\tSHG Oven Temperature=", "^ZEL THG\tSHG Oven Temperature=(.*) C\n",
             oven1Actual},
            {P, "ZEL THG\tTHG Oven Setpoint",
             "^ZEL THG\tTHG Oven Setpoint=(.*) C\tMin=(.*) C\tMax=(.*) C\n", ovenSetpoint, 1},
            {P, "ZEL THG\tTHG Oven Temperature=", "^ZEL THG\tTHG Oven Temperature=(.*) C\n",
             oven2Actual},
            {P, "ZEL SHG\tHumidity=", "^ZEL SHG\tHumidity=(.*)%\n", humidity},
            {P, "ZEL THG\tHumidity=", "^ZEL THG\tHumidity=(.*)%\n", humidity},
            {R, "^ZEL [ST]HG\tCurrent position=", "^ZEL [ST]HG\tCurrent position=(.*)\n",
             piezoPositionText},
            // Never reached: the row above already takes these lines. Kept so that the table
            // reads like the device's list of replies.
            {P, "ZEL SHG\tCurrent position=GREEN", nullptr, piezoPosition, 1},
            {P, "ZEL SHG\tCurrent position=UV", nullptr, piezoPosition, 2},
            {P, "Active digital gate logic:\tlogic LOW (no connection) = AOM OPEN", nullptr,
             digitalGate, 0},
            {P, "Active digital gate logic:\tlogic LOW (no connection) = AOM CLOSED", nullptr,
             digitalGate, 1},
            {P, "ZEL HG\tDynamic wavelength switching disabled", nullptr, dynamicWavelengthEnabled,
             0},
            {P, "ZEL HG\tDynamic wavelength switching enabled", nullptr, dynamicWavelengthEnabled,
             1},
            {P, "ZEL HG\tDynamic wavelength switching feature disabled", nullptr,
             dynamicWavelengthSupported, 0},
            {P, "ZEL HG\tDynamic wavelength switching feature enabled", nullptr,
             dynamicWavelengthSupported, 1},
            // The device's list has this test twice; the second copy never fires.
            {P, "ZEL HG\tDynamic wavelength switching feature enabled", nullptr,
             dynamicWavelengthSupported, 1},
            {R, "^\\s+(IR|SHG|THG|FHG)\\s+Wavelength\\s+Index:",
             "^\\s+(IR|SHG|THG|FHG)\\s+Wavelength\\s+Index:\\s+(\\d)\\s+IR\\s+pulse\\s+energy"
             "\\s+=\\s+(\\d+)",
             [](D &d, const QString &, int rule) {
                 VelutraLinePattern &pattern = d.m_values->pattern(rule);
                 const std::optional<int> index = decimal(pattern.cap(2));
                 const std::optional<double> nanojoules = real(pattern.cap(3));
                 if (!index || !nanojoules) {
                     return O::ParsingError;
                 }
                 static constexpr O (*s_keep[4])(D &, const double &)
                         = {Steps::keep<&D::publish_DynamicWLS_IR>,
                            Steps::keep<&D::publish_DynamicWLS_Green>,
                            Steps::keep<&D::publish_DynamicWLS_UV>,
                            Steps::keep<&D::publish_DynamicWLS_DUV>};
                 if (*index < 0 || *index > 3) {
                     return O::Handled; // a wavelength the program does not know
                 }
                 return s_keep[*index](d, *nanojoules / VelutraCommands::NanojoulesPerMicrojoule);
             }},
            {R, "^ZEL\\s+[S|T]HG\\s+Output\\s+power\\s*=",
             "^ZEL\\s+([S|T])HG\\s+Output\\s+power\\s*=\\s*(.+)\n",
             [](D &d, const QString &, int rule) {
                 VelutraLinePattern &pattern = d.m_values->pattern(rule);
                 if (pattern.cap(1) == QLatin1String("S")) {
                     return Steps::readAndKeep<milliwatts, &D::publish_SHGOutputPower>(
                             d, pattern.cap(2));
                 }
                 return Steps::readAndKeep<milliwatts, &D::publish_THGOutputPower>(d,
                                                                                   pattern.cap(2));
             }},
            {P, "ZEL HG\tStatus flags=", "^ZEL HG\tStatus flags=(.*)\n",
             Steps::fromCapture<flagWord, &D::publish_HGStatusFlags>},
            {P, "ZEL HG\tErrorcode=", "^ZEL HG\tErrorcode=(.*)\n",
             Steps::fromCapture<errorCode, &D::publish_HGErrorcode>},
            {R, "^ZEL\\s*HG\\s+WL\\s+output\\s+config:\\s+",
             "^ZEL\\s*HG\\s+WL\\s+output\\s+config:\\s+0x(.+)\n",
             Steps::fromCapture<hexByte, &D::publish_HGOutputConfig>},
            {P, "ZEL SHG\tRuntime=", "^ZEL .HG\tRuntime=(.*)s\n", moduleRuntime},
            {P, "ZEL THG\tRuntime=", "^ZEL .HG\tRuntime=(.*)s\n", moduleRuntime},
            {P, "ZEL THG\tCurrent crystal spot=", "^ZEL THG\tCurrent crystal spot=(.*)\n",
             Steps::fromCapture<spotNumber, &D::publish_HGCrystalCurSpot>},
            {P, "ZEL THG\tCurrent runtime=", "^ZEL THG\tCurrent runtime=(.*)s\n",
             Steps::fromCapture<seconds, &D::publish_HGCrystalCurRuntime>},
            {P, "ZEL THG\tMax runtime=", "^ZEL THG\tMax runtime=(.*)s\n",
             Steps::fromCapture<seconds, &D::publish_HGCrystalMaxRuntime>},
            {P, "ZEL THG\tAll runtimes=", nullptr,
             [](D &d, const QString &line, int) {
                 // One run time per crystal spot, spot 0 first; more than 32 are ignored.
                 QString text = line.mid(int(qstrlen("ZEL THG\tAll runtimes=")));
                 text.remove(QLatin1String(" \n"));
                 const QVector<QStringRef> tokens = text.splitRef(QLatin1Char(' '));
                 QMap<int, quint64> runtimes;
                 for (int spot = 0; spot < tokens.size() && spot < s_maxCrystalSpots; ++spot) {
                     bool ok = false;
                     const quint64 runtime = tokens.at(spot).toULongLong(&ok, 10);
                     if (!ok) {
                         return O::ParsingError;
                     }
                     runtimes.insert(spot, runtime);
                 }
                 return Steps::keep<&D::publish_HGCrystalAllRuntimes>(d, runtimes);
             }},
            {P, "ZEL HG\tShutter in wrong position.", nullptr,
             [](D &d, const QString &, int) {
                 // A warning is news every time it comes.
                 emit d.sigsHGModuleWarning(QStringLiteral("Shutter in wrong position"));
                 return O::Handled;
             }},
            {P, "ZEL HG\tChanging wavelength complete.", nullptr, swallow},
            {P, "ZEL HG:\tDisabling AOM.", nullptr, swallow},
            {P, "ZEL SHG\tMoved piezo stage to", nullptr, swallow},
            {P, "ZEL SHG\tNew polarization:", nullptr, swallow},

            // Frequency-division table, register dump and power calibration block.
            {P, "ezra", nullptr,
             [](D &d, const QString &, int) {
                 d.m_values->registerDumpMode = true;
                 return O::Handled;
             }},
            {P, "eira", nullptr,
             [](D &d, const QString &, int) {
                 d.m_values->registerDumpMode = false;
                 return O::Handled;
             }},
            {R, "^\\d* \\d* .*", "^(\\d*) (\\d*) (.*)", numberedRow},
            {P, "Coefficients for converting setted laser power to AOM value", nullptr, swallow},
            {P, "y=k*x + a; where k is index 0 and a is index 1", nullptr, swallow},
            {P, "y is AOM value 0-4095 and x is input laser power in nJ", nullptr, swallow},

            // Known lines that carry nothing for the program: command echoes ...
            {P, "ly_system_info", nullptr, swallow},
            {P, "ly_vtx2_wvl", nullptr, swallow},
            {P, "s6", nullptr, swallow},
            {P, "s7", nullptr, swallow},
            {P, "s8", nullptr, swallow},
            {P, "s9", nullptr, swallow},
            {P, "e_div?", nullptr, swallow},
            {P, "e_freq?", nullptr, swallow},
            {P, "o7m:AOMEN", nullptr, swallow},
            {P, "o7m:AOMINH", nullptr, swallow},
            {P, "o7m:?AOMEN", nullptr, swallow},
            {P, "ly_vtx2_disabled", nullptr, swallow},
            {P, "ly_vtx2_enabled", nullptr, swallow},
            {P, "ly_vtx2_standby", nullptr, swallow},
            {P, "ly_vtx2_listen", nullptr, swallow},
            {P, "ly_vtx2_output", nullptr, swallow},
            {P, "ly_vtx2_digiop", nullptr, swallow},
            {P, "ly_vtx2_dev_status", nullptr, swallow},
            {P, "ls?", nullptr, swallow},
            {P, "ls_enable", nullptr, swallow},
            {P, "ls_temp_setpoint", nullptr, swallow},
            {P, "ls_temp_setpoint_SHG", nullptr, swallow},
            {P, "ls_temp_setpoint_THG", nullptr, swallow},
            {P, "ls_temp_oven", nullptr, swallow},
            {P, "ls_humidity", nullptr, swallow},
            {P, "ls_wavelength", nullptr, swallow},
            {P, "ls_output_power", nullptr, swallow},
            {P, "ls_status", nullptr, swallow},
            {P, "ls_errorcode", nullptr, swallow},
            {P, "ls_output_config", nullptr, swallow},
            {P, "ls_module_runtime", nullptr, swallow},
            {P, "ls_crystal_curSpot", nullptr, swallow},
            {P, "ls_crystal_curRuntime", nullptr, swallow},
            {P, "ls_crystal_maxRuntime", nullptr, swallow},
            {P, "ls_crystal_allRuntimes", nullptr, swallow},
            {P, "ly_vtx_wvl", nullptr, swallow},
            {P, "e_mode", nullptr, swallow},
            {P, "e_div", nullptr, swallow},
            {P, "e_freq", nullptr, swallow},
            // ... informational lines of the laser ...
            {P, "AOM max frequency fields number is:", nullptr, swallow},
            {P, "e_mode of AOM:", nullptr, swallow},
            {P, "Switching OFF Seeder Laser diode: Laser_OnOff_value_Seeder=", nullptr, swallow},
            {P, "?AVGENGY", nullptr, swallow},
            {P, "?ENERGY", nullptr, swallow},
            {P, ">", nullptr, swallow},
            {P, "New digital gate logic:", nullptr, swallow},
            {P, "Dynamic wavelength switching data in memory:", nullptr, swallow},
            {P, "ls_dwls_enable", nullptr, swallow},
            {P, "ls_dwls_default", nullptr, swallow},
            {P, "ls_dwls_feature", nullptr, swallow},
            {P, "New oven temperature setpoint:", nullptr, swallow},
            // ... and the help text the module prints for a command it does not know, spelt as
            // the module spells it.
            {P, "Available commands:", nullptr, swallow},
            {P, "----------------------------------------", nullptr, swallow},
            {P, "\tSets the module oven temperature setpoint in degrees C", nullptr, swallow},
            {P, "\tSets the module's SHG oven temperature setpoint in degrees C", nullptr, swallow},
            {P, "\tSets the module's THG oven temperature setpoint in degrees C", nullptr, swallow},
            {P, "\tDisplays the module oven setpoint(s) in degrees C", nullptr, swallow},
            {P, "\tDisplays the module oven(s) temperature in degrees C", nullptr, swallow},
            {P, "\tDisplays the relative humidity in % within the module.", nullptr, swallow},
            {P, "\tSets the output wavelength [x range: 0-3]", nullptr, swallow},
            {P, "\twhere:", nullptr, swallow},
            {P, "\t\t0 sets", nullptr, swallow},
            {P, "\t\t1 sets", nullptr, swallow},
            {P, "\t\t2 sets", nullptr, swallow},
            {P, "\t\t3 sets", nullptr, swallow},
            {P, "\t\t0 IR not available.", nullptr, swallow},
            {P, "\t\t1 SHG not available.", nullptr, swallow},
            {P, "\t\t2 THG not available.", nullptr, swallow},
            {P, "\t\t3 FHG not available.", nullptr, swallow},
            {P, "\tDisplays the configured wavelength of the module", nullptr, swallow},
            {P, "\tDisplays the module status - ZELM support", nullptr, swallow},
            {P, "\tDisplays the current output power", nullptr, swallow},
            {P, "\tDisplays the modules total runtime in seconds", nullptr, swallow},
            {P, "\tDisplays the crystal spot currently active", nullptr, swallow},
            {P, "\tDisplays the maximun runtime in seconds", nullptr, swallow},
            {P, "\tDisplays the total runtime in hours", nullptr, swallow},
            {P, "\tDisplays the current total runtime in seconds", nullptr, swallow},
            {P, "\tSets the crystal spot the module will use for conversion", nullptr, swallow},
    };
    *count = int(sizeof(s_rules) / sizeof(s_rules[0]));
    return s_rules;
}

// ---- Construction and dispatch --------------------------------------------------------------

VelutraResponseDecoder::VelutraResponseDecoder(QObject *parent)
    : QObject(parent)
    , m_values(std::make_unique<Values>())
{
    registerMetaTypes();

    Values &v = *m_values;
    v.rules = lineRules(&v.ruleCount);
    v.compiled.resize(size_t(v.ruleCount));
    for (int i = 0; i < v.ruleCount; ++i) {
        const LineRule &rule = v.rules[i];
        Values::CompiledRule &compiled = v.compiled[size_t(i)];
        compiled.prefix = QLatin1String(rule.selector);
        if (rule.kind == MatchKind::Regex) {
            compiled.selector
                    = std::make_unique<VelutraLinePattern>(QString::fromLatin1(rule.selector));
        }
        if (rule.pattern != nullptr) {
            compiled.pattern
                    = std::make_unique<VelutraLinePattern>(QString::fromLatin1(rule.pattern));
        }
        compiled.patternFirst = rule.kind == MatchKind::Regex && rule.pattern != nullptr
                                && selectorStartsPattern(rule.selector, rule.pattern);
        // An empty line can only be taken by a pattern; the others need their first character.
        for (int c = 0; c < 256; ++c) {
            const bool candidate = rule.kind == MatchKind::Prefix
                                           ? uchar(rule.selector[0]) == c
                                           : compiled.selector->canStartWith(c);
            if (candidate) {
                v.candidates[c].push_back(i);
            }
        }
        if (rule.kind == MatchKind::Regex) {
            v.candidates[256].push_back(i);
        }
    }
    resetPublishedValues();
}

VelutraResponseDecoder::~VelutraResponseDecoder() = default;

QStringList VelutraResponseDecoder::linePatterns()
{
    int count = 0;
    const LineRule *rules = lineRules(&count);
    QStringList patterns;
    for (int i = 0; i < count; ++i) {
        if (rules[i].kind == MatchKind::Regex) {
            patterns.append(QString::fromLatin1(rules[i].selector));
        }
        if (rules[i].pattern != nullptr) {
            patterns.append(QString::fromLatin1(rules[i].pattern));
        }
    }
    patterns.removeDuplicates();
    return patterns;
}

void VelutraResponseDecoder::registerMetaTypes()
{
    qRegisterMetaType<SystemState>("SystemState");
    qRegisterMetaType<QMap<int, double>>("QMap<int,double>");
    qRegisterMetaType<QMap<int, quint64>>("QMap<int,quint64>");
}

void VelutraResponseDecoder::slotLineReceived(const QByteArray &received)
{
    // Latin-1 up to the first NUL byte; the terminator stays, the patterns expect it.
    const QString line = QString::fromLatin1(received);
    Values &v = *m_values;
    const int firstCharacter = line.isEmpty() ? 256 : qMin(int(line.at(0).unicode()), 256);
    for (const int i : v.candidates[firstCharacter]) {
        const LineRule &rule = v.rules[i];
        Values::CompiledRule &compiled = v.compiled[size_t(i)];
        bool patternMatched = false;
        bool selected = false;
        if (rule.kind == MatchKind::Prefix) {
            selected = line.startsWith(compiled.prefix);
        } else if (compiled.patternFirst) {
            // A line the whole pattern takes is selected anyway: one match instead of two.
            patternMatched = compiled.pattern->matchesAtStart(line);
            selected = patternMatched || compiled.selector->matchesAtStart(line);
        } else {
            selected = compiled.selector->matchesAtStart(line);
        }
        if (!selected) {
            continue;
        }
        // A selected line whose pattern does not match is not given to the handler.
        const bool parsed = (rule.pattern == nullptr || patternMatched
                             || compiled.pattern->matchesAtStart(line))
                            && rule.handler(*this, line, i) == Outcome::Handled;
        if (!parsed) {
            qCDebug(lcProtocol) << "Parsing error:" << received;
            emit sigParsingError(received);
        }
        return;
    }
    // Every such line, also those the operator's log leaves out.
    qCDebug(lcProtocol) << "Unhandled line:" << received;
    emit sigUnhandledLineData(received);
}

void VelutraResponseDecoder::slotConnectedStatus(bool connected)
{
    if (!connected) {
        resetPublishedValues();
    }
}

void VelutraResponseDecoder::resetPublishedValues()
{
    // Every group's own reset, so that a disconnection and a stale mark cannot disagree on
    // what "not yet published" is.
#define VELUTRA_CALL_MARK_STALE(group, ...) markStale_##group();
    VELUTRA_TEXT_GROUPS(VELUTRA_CALL_MARK_STALE)
    VELUTRA_RECORD_GROUPS(VELUTRA_CALL_MARK_STALE)
    VELUTRA_VALUE_GROUPS(VELUTRA_CALL_MARK_STALE)
    VELUTRA_COMPOSITE_GROUPS(VELUTRA_CALL_MARK_STALE)
#undef VELUTRA_CALL_MARK_STALE
}

VelutraResponseDecoder::Outcome VelutraResponseDecoder::decodeStatusRecord(const QString &line,
                                                                           int recordIndex)
{
    const StatusRecord &record = s_statusRecords[recordIndex];
    const QVector<QStringRef> tokens = line.splitRef(QLatin1Char(' '));
    if (tokens.size() != record.tokenCount) {
        return Outcome::ParsingError;
    }
    const bool lenient
            = record.lenientOnOldFirmware
              && m_values->texts[TextFirmwareVersion].published.contains(QLatin1String("V5.0.2"));

    double parsed[s_maxRecordFields] = {};
    for (int f = 0; f < record.fieldCount; ++f) {
        const QStringRef &token = tokens.at(f + 1);
        bool ok = false;
        switch (record.fields[f].type) {
        case FieldType::Int:
            parsed[f] = double(token.toInt(&ok, 10));
            break;
        case FieldType::Double:
            parsed[f] = token.toDouble(&ok);
            break;
        case FieldType::StatusByte:
            parsed[f] = double(token.toInt(&ok, 10) & 0xFF);
            break;
        }
        if (!ok) {
            if (!lenient) {
                return Outcome::ParsingError;
            }
            parsed[f] = 0.0;
        }
    }
    for (int f = 0; f < record.fieldCount; ++f) {
        m_values->records[recordIndex][f].latest = parsed[f];
    }
    (this->*record.publish)(false);
    return Outcome::Handled;
}

VelutraResponseDecoder::Outcome VelutraResponseDecoder::decodeNumberedRow(const QString &line,
                                                                          int rule)
{
    // Rows of the device's numbered tables: "<index> <number> <text>". Nothing here is ever
    // reported as an error: a row that does not fit is dropped.
    Values &v = *m_values;
    const QString field3 = v.pattern(rule).cap(3);
    if (!v.registerDumpMode && field3.startsWith(QLatin1String("PCPER"))) {
        bool ok[3] = {false, false, false};
        const int index = v.pattern(rule).cap(1).toInt(&ok[0], 10);
        v.pattern(rule).cap(2).toInt(&ok[1], 10);
        const QVector<QStringRef> words = field3.splitRef(QLatin1Char(' '));
        const int divider = words.size() > 1 ? words.at(1).toInt(&ok[2], 10) : 0;
        if (ok[0] && ok[1] && ok[2] && (index == 0 || roomFor(v.frequencyDivList.latest, index))) {
            if (index == 0) {
                v.frequencyDivList.latest.clear();
            }
            v.frequencyDivList.latest.insert(index, double(divider));
            publish_FrequencyDivList(false);
        }
        return Outcome::Handled;
    }
    if (v.registerDumpMode) {
        for (const char *name : s_registerNames) {
            if (field3.startsWith(QLatin1String(name))) {
                return Outcome::Handled;
            }
        }
    }
    // Power calibration rows ("0 0 0.125") look like numbered rows too.
    return decodeCalibrationRow(line);
}

VelutraResponseDecoder::Outcome VelutraResponseDecoder::decodeCalibrationRow(const QString &line)
{
    // "<key> <selector> <value>": selector 0 and 1 are the two coefficients of the straight
    // line from power in nJ to AOM value, per frequency index (the key).
    Values &v = *m_values;
    const QVector<QStringRef> tokens = line.splitRef(QLatin1Char(' '));
    if (tokens.size() != 3) {
        return Outcome::Handled;
    }
    bool ok[3] = {false, false, false};
    const int key = tokens.at(0).toInt(&ok[0], 10);
    const int selector = tokens.at(1).toInt(&ok[1], 10);
    const double value = tokens.at(2).toDouble(&ok[2]);
    if (!ok[0] || !ok[1] || !ok[2]) {
        return Outcome::Handled;
    }
    if (key == 0 && selector == 0) {
        v.calibration[0].latest.clear();
        v.calibration[1].latest.clear();
    }
    if ((selector != 0 && selector != 1) || !roomFor(v.calibration[selector].latest, key)) {
        return Outcome::Handled;
    }
    v.calibration[selector].latest.insert(key, value);
    publish_PowerSetpoint_nJ_Range(false);
    return Outcome::Handled;
}

// ---- Publishing -----------------------------------------------------------------------------

void VelutraResponseDecoder::publishTexts(int first, int count, bool force)
{
    for (int i = first; i < first + count; ++i) {
        Tracked<QString> &text = m_values->texts[i];
        if (mustPublish(text, force)) {
            markPublished(text);
            const TextSignal signal = s_textSignals[i];
            emit(this->*signal)(text.latest);
        }
    }
}

void VelutraResponseDecoder::markTextsStale(int first, int count)
{
    Values &v = *m_values;
    for (int i = first; i < first + count; ++i) {
        resetPublished(v.texts[i]);
    }
    // The module kind is decided and published with the board serial number, the last line
    // of the module block, so it is news again whenever that line is.
    if (first <= TextModulePcbSerialNumber && TextModulePcbSerialNumber < first + count) {
        for (auto &exists : v.moduleExists) {
            resetPublished(exists);
        }
    }
}

void VelutraResponseDecoder::publishModuleKind()
{
    const QString &type = m_values->texts[TextModuleType].latest;
    for (int i = 0; i < s_moduleKindCount; ++i) {
        if (type.contains(QLatin1String(s_moduleKinds[i].typeCode))) {
            Tracked<bool> &exists = m_values->moduleExists[i];
            exists.latest = true;
            if (mustPublish(exists, false)) {
                markPublished(exists);
                const auto signal = s_moduleKinds[i].signal;
                emit(this->*signal)(true);
            }
            return;
        }
    }
}

namespace {

// Int and status fields are held as doubles; their reset value is still the largest int.
void resetRecordPublished(Tracked<double> *values, const StatusRecord &record)
{
    for (int f = 0; f < record.fieldCount; ++f) {
        values[f].published = record.fields[f].type == FieldType::Double
                                      ? std::numeric_limits<double>::max()
                                      : double(std::numeric_limits<int>::max());
        values[f].publishedValid = true;
    }
}

// Emits one status record member by member, each only when it changed.
template<typename Emitter>
void publishRecord(Tracked<double> *values, const StatusRecord &record, bool force, Emitter emitter)
{
    for (int f = 0; f < record.fieldCount; ++f) {
        const RecordField &field = record.fields[f];
        if (!isPublished(field)) {
            continue;
        }
        if (mustPublish(values[f], force)) {
            markPublished(values[f]);
            emitter(field, values[f].latest);
        }
    }
}

} // namespace

#define VELUTRA_TEXT_GROUP(group, first, count) \
    void VelutraResponseDecoder::publish_##group(bool force) \
    { \
        publishTexts(first, count, force); \
    } \
    void VelutraResponseDecoder::markStale_##group() \
    { \
        markTextsStale(first, count); \
    }

VELUTRA_TEXT_GROUPS(VELUTRA_TEXT_GROUP)

#undef VELUTRA_TEXT_GROUP

#define VELUTRA_RECORD_GROUP(group, index) \
    void VelutraResponseDecoder::publish_##group(bool force) \
    { \
        publishRecord(m_values->records[index], s_statusRecords[index], force, \
                      [this](const RecordField &field, double value) { \
                          switch (field.type) { \
                          case FieldType::Int: \
                              emit(this->*field.intSignal)(static_cast<int>(value)); \
                              break; \
                          case FieldType::Double: \
                              emit(this->*field.doubleSignal)(value); \
                              break; \
                          case FieldType::StatusByte: \
                              emit(this->*field.byteSignal)(static_cast<uchar>(value)); \
                              break; \
                          } \
                      }); \
    } \
    void VelutraResponseDecoder::markStale_##group() \
    { \
        resetRecordPublished(m_values->records[index], s_statusRecords[index]); \
    }

VELUTRA_RECORD_GROUPS(VELUTRA_RECORD_GROUP)

#undef VELUTRA_RECORD_GROUP

// A single value with a single signal: emit when it changed or when forced.
#define VELUTRA_VALUE_GROUP(group, member, signal, type) \
    void VelutraResponseDecoder::publish_##group(bool force) \
    { \
        auto &value = m_values->member; \
        if (mustPublish(value, force)) { \
            markPublished(value); \
            emit signal(type(value.latest)); \
        } \
    } \
    void VelutraResponseDecoder::markStale_##group() \
    { \
        resetPublished(m_values->member); \
    }

VELUTRA_VALUE_GROUPS(VELUTRA_VALUE_GROUP)

#undef VELUTRA_VALUE_GROUP

#define VELUTRA_COMPOSITE_GROUP(group, reset) \
    void VelutraResponseDecoder::markStale_##group() \
    { \
        Values &v = *m_values; \
        reset; \
    }

VELUTRA_COMPOSITE_GROUPS(VELUTRA_COMPOSITE_GROUP)

#undef VELUTRA_COMPOSITE_GROUP

namespace {

// A power set-point is compared as the text received and published as its number; nothing is
// published before the first reply.
template<typename Emit>
void publishNumberText(Tracked<QString> &text, bool force, Emit emitNumber)
{
    bool ok = false;
    const double number = text.latest.toDouble(&ok);
    if (!ok || !mustPublish(text, force)) {
        return;
    }
    markPublished(text);
    emitNumber(number);
}

} // namespace

void VelutraResponseDecoder::publish_PowerSetpoint_nJ(bool force)
{
    publishNumberText(m_values->powerSetpoint_nJ, force,
                      [this](double nanojoules) { emit sigPowerSetting_nJ_Changed(nanojoules); });
}

void VelutraResponseDecoder::publish_PowerSetpoint_Percent(bool force)
{
    publishNumberText(m_values->powerSetpointPercent, force,
                      [this](double percent) { emit sigPowerSetting_percent_Changed(percent); });
}

void VelutraResponseDecoder::publish_PowerSetpoint_nJ_Range(bool force)
{
    Values &v = *m_values;
    if (!mustPublish(v.calibration[0], force) && !mustPublish(v.calibration[1], force)) {
        return;
    }
    markPublished(v.calibration[0]);
    markPublished(v.calibration[1]);
    // A frequency index without calibration entry gives 0.0; the controller decides.
    const int frequencyIndex = v.frequencyIndex.latest;
    emit sigPowerSetting_nJ_RangeChanged(v.calibration[0].published.value(frequencyIndex),
                                         v.calibration[1].published.value(frequencyIndex));
    v.powerPercentMaximum = 100.0;
    emit sigPowerSettingPercentRangeChanged(0.0, v.powerPercentMaximum);
}

void VelutraResponseDecoder::publish_Oven1TemperatureSetpoint(bool force)
{
    publishOvenSetpoint(0, force);
}

void VelutraResponseDecoder::publish_Oven2TemperatureSetpoint(bool force)
{
    publishOvenSetpoint(1, force);
}

void VelutraResponseDecoder::publishOvenSetpoint(int oven, bool force)
{
    static constexpr void (VelutraResponseDecoder::*s_setpointSignals[2])(double)
            = {&VelutraResponseDecoder::sigOven1TempSettingChanged,
               &VelutraResponseDecoder::sigOven2TempSettingChanged};
    static constexpr void (VelutraResponseDecoder::*s_rangeSignals[2])(double, double)
            = {&VelutraResponseDecoder::sigOven1TempSettingRangeChanged,
               &VelutraResponseDecoder::sigOven2TempSettingRangeChanged};
    const auto setpointSignal = s_setpointSignals[oven];
    const auto rangeSignal = s_rangeSignals[oven];
    Values &v = *m_values;
    Tracked<double> &setpoint = v.ovenSetpoint[oven];
    Tracked<double> &minimum = v.ovenMinimum[oven];
    Tracked<double> &maximum = v.ovenMaximum[oven];
    if (mustPublish(setpoint, force)) {
        markPublished(setpoint);
        emit(this->*setpointSignal)(setpoint.latest);
    }
    if (mustPublish(minimum, force) || mustPublish(maximum, force)) {
        markPublished(minimum);
        markPublished(maximum);
        emit(this->*rangeSignal)(minimum.latest, maximum.latest);
    }
}
