#include "traffictag.h"

namespace TrafficTag {

namespace {

// "ss-zzz" after the separator.
constexpr int TimeLength = 6;
constexpr char TimeFormat[] = "hh:mm:ss.zzz";

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

int digitsAt(const QString &text, int position, int count)
{
    int value = 0;
    for (int index = position; index < position + count; ++index) {
        if (!isDigit(text.at(index))) {
            return -1;
        }
        value = value * 10 + (text.at(index).unicode() - '0');
    }
    return value;
}

} // namespace

QTime timeOfDay(int second, int millisecond, const QTime &arrival)
{
    if (second < 0 || second > 59 || millisecond < 0 || millisecond > 999 || !arrival.isValid()) {
        return QTime();
    }
    const QTime sameMinute(arrival.hour(), arrival.minute(), second, millisecond);
    // Tagged in the minute before (across midnight too: addSecs wraps the clock).
    return sameMinute > arrival ? sameMinute.addSecs(-60) : sameMinute;
}

QString withTimeOfDay(const QString &tag, const QTime &arrival)
{
    const int start = tag.size() - TimeLength;
    if (start < 1) {
        return tag;
    }
    const QChar separator = tag.at(start - 1);
    if ((separator != QLatin1Char(':') && separator != QLatin1Char('_'))
        || tag.at(start + 2) != QLatin1Char('-')) {
        return tag;
    }
    const QTime time = timeOfDay(digitsAt(tag, start, 2), digitsAt(tag, start + 3, 3), arrival);
    if (!time.isValid()) {
        return tag;
    }
    return tag.left(start) + time.toString(QLatin1String(TimeFormat));
}

} // namespace TrafficTag
