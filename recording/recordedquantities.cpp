#include "recordedquantities.h"

#include "velutrasystemstate.h"

#include <cmath>

namespace RecordedQuantities {

namespace {

using S = Source;
using F = Format;
using T = TrendGroup;

// The status record carries ten temperature channels whatever the laser has; one it does
// not have reads 0.00 with set-point and limits 0.00.
#define TEMPERATURE_LIMITS(channel) \
    { \
        "sigfTemperature_set_" #channel "Changed", "sigfTemperature_min_" #channel "Changed", \
                "sigfTemperature_max_" #channel "Changed" \
    }

// Units are the ones the control panel shows the value in. The ovens are named as on the
// panel.
const QVector<Quantity> s_quantities = {
        {"Operating state", "", S::Decoder, "sigSystemStateChanged", F::StateName, T::None},
        {"Status word", "", S::Decoder, "siguiTmpChar2Changed", F::Integer, T::None},
        {"Module error code", "", S::Decoder, "sigHGErrorcodeChanged", F::Integer, T::None},
        {"Set energy", "µJ", S::Controller, "setPowerSetpoint_uJ", F::Number, T::None},
        {"Set power", "%", S::Controller, "setPowerSetpoint_Percent", F::Number, T::None},
        {"Set energy IR (wavelength switching)", "µJ", S::Controller, "setDynamicWLS_IR_uJ",
         F::Number, T::None},
        {"Set energy green (wavelength switching)", "µJ", S::Controller, "setDynamicWLS_Green_uJ",
         F::Number, T::None},
        {"Set energy UV (wavelength switching)", "µJ", S::Controller, "setDynamicWLS_UV_uJ",
         F::Number, T::None},
        {"Measured energy IR", "µJ", S::Controller, "setPowerMeasuredIR_uJ", F::Number, T::None},
        {"Measured energy green", "µJ", S::Controller, "setPowerMeasuredGreen_uJ", F::Number,
         T::None},
        {"Measured energy UV", "µJ", S::Controller, "setPowerMeasuredUV_uJ", F::Number, T::None},
        {"Measured power IR", "W", S::Controller, "setOutputPowerIRMeasuredW", F::Number, T::Power},
        {"Measured power green", "W", S::Controller, "setOutputPowerGreenMeasuredW", F::Number,
         T::Power},
        {"Measured power UV", "W", S::Controller, "setOutputPowerUVMeasuredW", F::Number, T::Power},
        {"Repetition rate", "kHz", S::Controller, "setRepRate", F::Number, T::None},
        {"Division factor", "", S::Decoder, "sigDivisionFactorChanged", F::Integer, T::None},
        {"Output repetition rate", "kHz", S::Controller, "setOutputRepRate", F::Number, T::None},
        {"SHG oven set-point", "°C", S::Decoder, "sigOven1TempSettingChanged", F::Number,
         T::Temperature},
        {"SHG oven actual", "°C", S::Decoder, "sigOven1TempActualChanged", F::Number,
         T::Temperature},
        {"THG oven set-point", "°C", S::Decoder, "sigOven2TempSettingChanged", F::Number,
         T::Temperature},
        {"THG oven actual", "°C", S::Decoder, "sigOven2TempActualChanged", F::Number,
         T::Temperature},
        {"Humidity", "%", S::Decoder, "sigHumidityActualChanged", F::Integer, T::Humidity},
        {"Temperature 1", "°C", S::Decoder, "sigfTemperature_actual_1Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(1)},
        {"Temperature 2", "°C", S::Decoder, "sigfTemperature_actual_2Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(2)},
        {"Temperature 3", "°C", S::Decoder, "sigfTemperature_actual_3Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(3)},
        {"Temperature 4", "°C", S::Decoder, "sigfTemperature_actual_4Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(4)},
        {"Temperature 5", "°C", S::Decoder, "sigfTemperature_actual_5Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(5)},
        {"Temperature 6", "°C", S::Decoder, "sigfTemperature_actual_6Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(6)},
        {"Temperature 7", "°C", S::Decoder, "sigfTemperature_actual_7Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(7)},
        {"Temperature 8", "°C", S::Decoder, "sigfTemperature_actual_8Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(8)},
        {"Temperature 9", "°C", S::Decoder, "sigfTemperature_actual_9Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(9)},
        {"Temperature 10", "°C", S::Decoder, "sigfTemperature_actual_10Changed", F::Number,
         T::Temperature, TEMPERATURE_LIMITS(10)},
        {"Crystal spot", "", S::Decoder, "sigHGCrystalCurSpotChanged", F::Integer, T::None},
        {"Crystal spot runtime", "s", S::Decoder, "sigHGCrystalCurRuntimeChanged", F::Integer,
         T::None},
};

#undef TEMPERATURE_LIMITS

// Names as the device's state lines spell the states.
const char *const s_stateNames[] = {
        "Unknown",
        "Listen",
        "Listen -> Standby",
        "Standby",
        "Standby -> Listen",
        "Standby -> Output disabled",
        "Standby -> Output enabled",
        "Output disabled",
        "Output enabled",
        "Output disabled -> Standby",
        "Output enabled -> Standby",
        "Output disabled -> Listen",
        "Output enabled -> Listen",
};
static_assert(sizeof(s_stateNames) / sizeof(s_stateNames[0]) == SystemStateEnabledToListen + 1,
              "one name per operating state");

} // namespace

const QVector<Quantity> &all()
{
    return s_quantities;
}

int count()
{
    return s_quantities.size();
}

QString header(int index)
{
    const Quantity &quantity = s_quantities.at(index);
    QString text = QString::fromUtf8(quantity.name);
    if (*quantity.unit) {
        text += QStringLiteral(" [") + QString::fromUtf8(quantity.unit) + QLatin1Char(']');
    }
    return text;
}

QString cellText(int index, double value)
{
    if (std::isnan(value)) {
        return QString();
    }
    switch (s_quantities.at(index).format) {
    case Format::Integer:
        return QString::number(static_cast<qint64>(std::llround(value)));
    case Format::StateName: {
        const auto state = static_cast<qint64>(value);
        if (state >= 0 && state <= SystemStateEnabledToListen) {
            return QString::fromLatin1(s_stateNames[state]);
        }
        return QString::number(state);
    }
    case Format::Number:
        break;
    }
    // Shortest text that reads back as the same double; infinities as "inf"/"-inf".
    return QString::number(value, 'g', 15);
}

const QVector<int> &trendIndexes()
{
    static const QVector<int> s_indexes = [] {
        QVector<int> indexes;
        for (int i = 0; i < s_quantities.size(); ++i) {
            if (s_quantities.at(i).trend != TrendGroup::None) {
                indexes.append(i);
            }
        }
        return indexes;
    }();
    return s_indexes;
}

} // namespace RecordedQuantities
