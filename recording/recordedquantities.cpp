#include "recordedquantities.h"

#include "velutracontroller.h"
#include "velutraresponsedecoder.h"
#include "velutrasystemstate.h"

#include <QMetaMethod>

#include <cmath>
#include <utility>

namespace RecordedQuantities {

namespace {

template<typename Signal>
struct SignalTraits;

template<typename Class, typename Argument>
struct SignalTraits<void (Class::*)(Argument)>
{
    using Sender = Class;
    using Value = Argument;
};

template<typename Class>
constexpr Source sourceOf();

template<>
constexpr Source sourceOf<VelutraResponseDecoder>()
{
    return Source::Decoder;
}

template<>
constexpr Source sourceOf<VelutraController>()
{
    return Source::Controller;
}

double recordedValue(SystemState state)
{
    return static_cast<int>(state);
}

// Counters, codes, flags and measurements alike: bool reads 0 or 1.
template<typename Value>
double recordedValue(Value value)
{
    return static_cast<double>(value);
}

template<auto Signal>
QMetaObject::Connection connectSignal(QObject *sender, QObject *context, ValueSink sink)
{
    using Traits = SignalTraits<decltype(Signal)>;
    auto *typedSender = qobject_cast<typename Traits::Sender *>(sender);
    if (!typedSender) {
        return QMetaObject::Connection();
    }
    return QObject::connect(
            typedSender, Signal, context,
            [sink = std::move(sink)](typename Traits::Value value) { sink(recordedValue(value)); });
}

template<auto Signal>
QByteArray signalName()
{
    return QMetaMethod::fromSignal(Signal).name();
}

template<auto Signal>
constexpr Tap tap = {sourceOf<typename SignalTraits<decltype(Signal)>::Sender>(),
                     &connectSignal<Signal>, &signalName<Signal>};

using C = VelutraController;
using D = VelutraResponseDecoder;
using F = Format;
using T = TrendGroup;

// The status record carries ten temperature channels whatever the laser has; one it does
// not have reads 0.00 with set-point and limits 0.00.
// clang-format off
#define TEMPERATURE_CHANNEL(channel, colour) \
    {"Temperature " #channel, "°C", tap<&D::sigfTemperature_actual_##channel##Changed>, \
     F::Number, T::Temperature, colour, Line::Solid, \
     {tap<&D::sigfTemperature_set_##channel##Changed>, \
      tap<&D::sigfTemperature_min_##channel##Changed>, \
      tap<&D::sigfTemperature_max_##channel##Changed>}}
// clang-format on

// Units are the ones the control panel shows the value in. The ovens are named as on the
// panel. Set-points are dashed in a darker shade of their oven's colour; power is drawn in
// the colour of its wavelength as far as a screen allows.
const QVector<Quantity> s_quantities = {
        {"Operating state", "", tap<&D::sigSystemStateChanged>, F::StateName},
        {"Status word", "", tap<&D::siguiTmpChar2Changed>, F::Integer},
        {"Module error code", "", tap<&D::sigHGErrorcodeChanged>, F::Integer},
        {"Set energy", "µJ", tap<&C::setPowerSetpoint_uJ>, F::Number},
        {"Set power", "%", tap<&C::setPowerSetpoint_Percent>, F::Number},
        {"Set energy IR (wavelength switching)", "µJ", tap<&C::setDynamicWLS_IR_uJ>, F::Number},
        {"Set energy green (wavelength switching)", "µJ", tap<&C::setDynamicWLS_Green_uJ>,
         F::Number},
        {"Set energy UV (wavelength switching)", "µJ", tap<&C::setDynamicWLS_UV_uJ>, F::Number},
        {"Measured energy IR", "µJ", tap<&C::setPowerMeasuredIR_uJ>, F::Number},
        {"Measured energy green", "µJ", tap<&C::setPowerMeasuredGreen_uJ>, F::Number},
        {"Measured energy UV", "µJ", tap<&C::setPowerMeasuredUV_uJ>, F::Number},
        {"Measured power IR", "W", tap<&C::setOutputPowerIRMeasuredW>, F::Number, T::Power,
         0x8b0000},
        {"Measured power green", "W", tap<&C::setOutputPowerGreenMeasuredW>, F::Number, T::Power,
         0x1a9641},
        {"Measured power UV", "W", tap<&C::setOutputPowerUVMeasuredW>, F::Number, T::Power,
         0x6a3d9a},
        {"Repetition rate", "kHz", tap<&C::setRepRate>, F::Number},
        {"Division factor", "", tap<&D::sigDivisionFactorChanged>, F::Integer},
        {"Output repetition rate", "kHz", tap<&C::setOutputRepRate>, F::Number},
        {"SHG oven set-point", "°C", tap<&D::sigOven1TempSettingChanged>, F::Number, T::Temperature,
         0xb2182b, Line::Dashed},
        {"SHG oven actual", "°C", tap<&D::sigOven1TempActualChanged>, F::Number, T::Temperature,
         0xe34a33},
        {"THG oven set-point", "°C", tap<&D::sigOven2TempSettingChanged>, F::Number, T::Temperature,
         0x2166ac, Line::Dashed},
        {"THG oven actual", "°C", tap<&D::sigOven2TempActualChanged>, F::Number, T::Temperature,
         0x4393c3},
        {"Humidity", "%", tap<&D::sigHumidityActualChanged>, F::Integer, T::Humidity, 0x01665e},
        TEMPERATURE_CHANNEL(1, 0x8c510a),
        TEMPERATURE_CHANNEL(2, 0xbf812d),
        TEMPERATURE_CHANNEL(3, 0x35978f),
        TEMPERATURE_CHANNEL(4, 0x80cdc1),
        TEMPERATURE_CHANNEL(5, 0x762a83),
        TEMPERATURE_CHANNEL(6, 0x9970ab),
        TEMPERATURE_CHANNEL(7, 0x5aae61),
        TEMPERATURE_CHANNEL(8, 0x7f7f7f),
        TEMPERATURE_CHANNEL(9, 0xd6604d),
        TEMPERATURE_CHANNEL(10, 0x4d4d4d),
        {"Crystal spot", "", tap<&D::sigHGCrystalCurSpotChanged>, F::Integer},
        {"Crystal spot runtime", "s", tap<&D::sigHGCrystalCurRuntimeChanged>, F::Integer},
};

#undef TEMPERATURE_CHANNEL

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
