#pragma once

// Colours, number formatting and small helpers shared by the PanelKit widgets.

#include <QColor>
#include <QString>
#include <QWidget>

#include <cmath>

namespace PanelKit {
namespace Palette {
static constexpr QRgb Window = 0xff1b1f23;
static constexpr QRgb Panel = 0xff232930;
static constexpr QRgb Well = 0xff121518;
static constexpr QRgb Raised = 0xff2f363d;
static constexpr QRgb RaisedHover = 0xff38414a;
static constexpr QRgb Border = 0xff3b444d;
static constexpr QRgb BorderStrong = 0xff56616c;
static constexpr QRgb Text = 0xffe4e8eb;
static constexpr QRgb TextMuted = 0xff98a3ad;
static constexpr QRgb TextDisabled = 0xff5d666e;
static constexpr QRgb Accent = 0xff3aa6dc;
static constexpr QRgb AccentDark = 0xff1f6f99;
static constexpr QRgb IndicatorOff = 0xff555555;
static constexpr QRgb IndicatorGreen = 0xff95d400;
static constexpr QRgb IndicatorOrange = 0xfff58b2e;
static constexpr QRgb IndicatorRed = 0xffff0000;
} // namespace Palette

static constexpr int s_maxDecimals = 9;

// The colour codes Button and IndicatorButton take: 0 neutral, 1 go, 2 action, 3 caution,
// 4 stop.
inline bool isButtonColor(int code)
{
    return code >= 0 && code <= 4;
}

// Takes a property's new value; false when it is the value already held, so that setting a
// property to what it is neither repaints nor tells anyone.
template<typename T>
bool takeNew(T &property, const T &value)
{
    if (property == value) {
        return false;
    }
    property = value;
    return true;
}

// Two values are the same when they print the same with the given decimals.
inline bool sameAtDecimals(double a, double b, int decimals)
{
    if (a == b) {
        return true;
    }
    const double scale = std::pow(10.0, decimals);
    const double ra = std::round(a * scale);
    const double rb = std::round(b * scale);
    if (!std::isfinite(ra) || !std::isfinite(rb) || std::abs(ra) > 9.0e15) {
        return false;
    }
    return ra == rb;
}

inline double roundToDecimals(double value, int decimals)
{
    const double scale = std::pow(10.0, decimals);
    const double scaled = value * scale;
    if (!std::isfinite(scaled) || std::abs(scaled) > 9.0e15) {
        return value;
    }
    return std::round(scaled) / scale;
}

inline QString formatNumber(double value, int decimals)
{
    // "-0.00" tells the operator nothing a plain zero does not.
    if (sameAtDecimals(value, 0.0, decimals)) {
        value = 0.0;
    }
    return QString::number(value, 'f', decimals);
}

// Short tick labels: 2500 -> "2.5k", 10000000 -> "10M".
inline QString compactNumber(double value)
{
    const double magnitude = std::abs(value);
    if (magnitude >= 1.0e6) {
        return QString::number(value / 1.0e6, 'g', 4) + QLatin1Char('M');
    }
    if (magnitude >= 1.0e4) {
        return QString::number(value / 1.0e3, 'g', 4) + QLatin1Char('k');
    }
    return QString::number(value, 'g', 5);
}

inline QColor mixColors(const QColor &from, const QColor &to, double amount)
{
    const double t = qBound(0.0, amount, 1.0);
    return QColor::fromRgbF(from.redF() + (to.redF() - from.redF()) * t,
                            from.greenF() + (to.greenF() - from.greenF()) * t,
                            from.blueF() + (to.blueF() - from.blueF()) * t,
                            from.alphaF() + (to.alphaF() - from.alphaF()) * t);
}

// A dynamic property the style sheet keys on changed: make the style look again.
void repolish(QWidget *widget);

} // namespace PanelKit
