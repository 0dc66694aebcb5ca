#ifndef RECORDEDQUANTITIES_H
#define RECORDEDQUANTITIES_H

#include <QByteArray>
#include <QMetaObject>
#include <QRgb>
#include <QString>
#include <QVector>

#include <functional>

class QObject;

// The quantities the value recorder keeps, one row each, in the order of the CSV columns.
//
// Each row holds the signal that feeds it as a pointer to its member, so that a renamed
// signal breaks the build rather than leaving a column empty: the decoder's where its value
// is what the operator sees, the controller's set… signal where the controller converts
// (energies in µJ instead of nJ, rates from the divider table, harmonic power in W instead
// of mW). The recorder only listens; nothing here makes the program poll more.
namespace RecordedQuantities {

enum class Source {
    Decoder,
    Controller,
};

enum class Format {
    // Decimal, as many digits as the value needs.
    Number,
    // Whole numbers: counters, codes, words.
    Integer,
    // The operating state's name.
    StateName,
};

// Which trend plot a quantity appears in; None: recorded, not plotted.
enum class TrendGroup {
    None,
    Temperature,
    Humidity,
    Power,
};

enum class Line {
    Solid,
    // Set-points, beside the actual value in a lighter shade.
    Dashed,
};

// Takes a reported value, whatever the signal's argument type, as a double.
using ValueSink = std::function<void(double value)>;

// One signal of the decoder or the controller whose one argument is a value; the table makes
// each with tap<&Class::signal>.
struct Tap
{
    // Whose signal it is: decides which object attachSources() hands to connect.
    Source source;
    // Connects sender's signal to sink (sink runs in context's thread); an invalid
    // connection when sender is not of the source's class.
    QMetaObject::Connection (*connect)(QObject *sender, QObject *context, ValueSink sink);
    // The signal's name, for reporting one that could not be connected.
    QByteArray (*name)();

    constexpr explicit operator bool() const { return connect != nullptr; }
};

struct Quantity
{
    // Column header is "<name> [<unit>]" (just the name without a unit); also the key under
    // which the trends page remembers whether a series is shown.
    const char *name;
    const char *unit;
    Tap signal;
    Format format;
    TrendGroup trend = TrendGroup::None;
    // The quantity's line in its trend plot (0xRRGGBB); unused when not plotted.
    QRgb colour = 0;
    Line line = Line::Solid;
    // For a channel the device may not have: signals (of the same source) that all read 0 for
    // a channel that is not fitted. Its value is then not recorded, the device's 0.00 being
    // no measurement. Empty for quantities every device reports.
    Tap absentWhenZero[3] = {};
};

const QVector<Quantity> &all();
int count();
// "SHG oven actual [°C]".
QString header(int index);
// The cell text for a value; NaN (never reported) is the empty cell.
QString cellText(int index, double value);
// Indexes of the plotted quantities, in table order.
const QVector<int> &trendIndexes();

} // namespace RecordedQuantities

#endif // RECORDEDQUANTITIES_H
