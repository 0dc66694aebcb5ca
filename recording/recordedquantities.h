#ifndef RECORDEDQUANTITIES_H
#define RECORDEDQUANTITIES_H

#include <QString>
#include <QVector>

// The quantities the value recorder keeps, one row each, in the order of the CSV columns.
//
// Each row names the signal that feeds it and whose object sends it: the decoder where its
// value is what the operator sees, the controller's set… signal where the controller
// converts (energies in µJ instead of nJ, rates from the divider table, harmonic power in W
// instead of mW). The recorder only listens; nothing here makes the program poll more.
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

struct Quantity
{
    // Column header is "<name> [<unit>]" (just the name without a unit); also the key under
    // which the trends page remembers whether a series is shown.
    const char *name;
    const char *unit;
    Source source;
    // Signal name without its arguments; its one argument is the value.
    const char *signal;
    Format format;
    TrendGroup trend;
    // For a channel the device may not have: signals (of the same source) that all read 0 for
    // a channel that is not fitted. Its value is then not recorded, the device's 0.00 being
    // no measurement. Empty for quantities every device reports.
    const char *absentWhenZero[3] = {};
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
