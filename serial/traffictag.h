#ifndef TRAFFICTAG_H
#define TRAFFICTAG_H

#include <QString>
#include <QTime>

// The handler tags each line of traffic with the port name, a separator and the seconds and
// milliseconds of its time ("COM3:07-042"). That is enough to order lines within a minute,
// not to find them again in a day of logs; whoever shows or stores traffic puts the whole
// time of day back, from the moment the line reached it.
namespace TrafficTag {

// The latest time of day, not after arrival, whose seconds and milliseconds are the given
// ones: a line reaches the GUI thread a few milliseconds after it was tagged, never a
// minute. Null when second or millisecond is out of range.
QTime timeOfDay(int second, int millisecond, const QTime &arrival);

// "COM3:07-042" arriving at 14:31:07.050 reads "COM3:14:31:07.042" (the separator kept, so
// that a flushed partial line still shows as one). A tag of another form is returned as it is.
QString withTimeOfDay(const QString &tag, const QTime &arrival);

} // namespace TrafficTag

#endif // TRAFFICTAG_H
