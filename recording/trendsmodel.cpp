#include "trendsmodel.h"

#include <cmath>
#include <limits>

TrendsModel::TrendsModel(int seriesCount, int capacity, QObject *parent)
    : QObject(parent)
    , m_seriesCount(seriesCount)
{
    setCapacity(capacity);
}

int TrendsModel::capacityFor(int intervalMs)
{
    return static_cast<int>((RetainedMs + intervalMs - 1) / qMax(intervalMs, 1));
}

void TrendsModel::setCapacity(int capacity)
{
    m_capacity = qMax(capacity, 1);
    m_head = 0;
    m_size = 0;
    m_times.assign(static_cast<size_t>(m_capacity), 0);
    m_times.shrink_to_fit();
    m_values.assign(static_cast<size_t>(m_capacity) * static_cast<size_t>(m_seriesCount),
                    std::numeric_limits<float>::quiet_NaN());
    m_values.shrink_to_fit();
}

int TrendsModel::capacity() const
{
    return m_capacity;
}

int TrendsModel::seriesCount() const
{
    return m_seriesCount;
}

void TrendsModel::append(qint64 msecsSinceEpoch, const float *values)
{
    // A clock set back would break the time order the look-ups rely on: such a sample
    // takes the time of the one before.
    if (m_size > 0) {
        msecsSinceEpoch = qMax(msecsSinceEpoch, time(m_size - 1));
    }
    const int slot = m_size < m_capacity ? physical(m_size) : m_head;
    m_times[static_cast<size_t>(slot)] = msecsSinceEpoch;
    for (int series = 0; series < m_seriesCount; ++series) {
        m_values[static_cast<size_t>(series) * static_cast<size_t>(m_capacity)
                 + static_cast<size_t>(slot)]
                = values[series];
    }
    if (m_size < m_capacity) {
        ++m_size;
    } else {
        m_head = (m_head + 1) % m_capacity;
    }
    emit sigAppended();
}

void TrendsModel::append(qint64 msecsSinceEpoch, const QVector<float> &values)
{
    if (values.size() >= m_seriesCount) {
        append(msecsSinceEpoch, values.constData());
    }
}

int TrendsModel::size() const
{
    return m_size;
}

qint64 TrendsModel::time(int index) const
{
    return m_times[static_cast<size_t>(physical(index))];
}

float TrendsModel::value(int series, int index) const
{
    return m_values[static_cast<size_t>(series) * static_cast<size_t>(m_capacity)
                    + static_cast<size_t>(physical(index))];
}

int TrendsModel::lowerBound(qint64 msecsSinceEpoch) const
{
    int first = 0;
    int count = m_size;
    while (count > 0) {
        const int step = count / 2;
        if (time(first + step) < msecsSinceEpoch) {
            first += step + 1;
            count -= step + 1;
        } else {
            count = step;
        }
    }
    return first;
}

QVector<QPointF> TrendsModel::decimated(int series, qint64 from, qint64 to, int bins) const
{
    QVector<QPointF> points;
    if (series < 0 || series >= m_seriesCount || to <= from || bins < 1 || m_size == 0) {
        return points;
    }
    // One sample either side of the window, so that the line runs to the plot's edges.
    const int first = qMax(lowerBound(from) - 1, 0);
    const int last = qMin(lowerBound(to) + 1, m_size);
    points.reserve(2 * qMin(bins + 2, last - first) + 2);

    const float *base = m_values.data() + static_cast<size_t>(series) * size_t(m_capacity);
    const double span = double(to - from);
    // Bin edges are found by comparing times with the next edge, not by dividing for every
    // sample: a 24 h pass over every series is most of a frame's budget otherwise.
    qint64 bin = static_cast<qint64>(std::floor(double(time(first) - from) * bins / span));
    const auto edgeAfter = [&](qint64 index) {
        return from + static_cast<qint64>(std::ceil(double(index + 1) * span / bins));
    };
    qint64 nextEdge = edgeAfter(bin);
    int minIndex = -1;
    int maxIndex = -1;
    float minValue = 0.0f;
    float maxValue = 0.0f;
    bool gapPending = false;
    const auto add = [&points](double x, double y) {
        // A flat run needs only its ends: the middle point of three equal ones moves.
        const int count = points.size();
        if (count >= 2 && points.at(count - 1).y() == y && points.at(count - 2).y() == y) {
            points.last().setX(x);
        } else {
            points.append(QPointF(x, y));
        }
    };
    const auto flush = [&] {
        if (minIndex < 0) {
            return;
        }
        const int firstIndex = qMin(minIndex, maxIndex);
        const int secondIndex = qMax(minIndex, maxIndex);
        add(double(time(firstIndex)), double(firstIndex == minIndex ? minValue : maxValue));
        if (secondIndex != firstIndex) {
            add(double(time(secondIndex)), double(secondIndex == minIndex ? minValue : maxValue));
        }
        minIndex = -1;
        maxIndex = -1;
    };
    // The ring in at most two runs of memory.
    for (int index = first; index < last; ++index) {
        const int slot = physical(index);
        const qint64 t = m_times[static_cast<size_t>(slot)];
        if (t >= nextEdge) {
            flush();
            bin = static_cast<qint64>(std::floor(double(t - from) * bins / span));
            nextEdge = edgeAfter(bin);
            while (nextEdge <= t) {
                nextEdge = edgeAfter(++bin);
            }
        }
        const float v = base[slot];
        if (std::isnan(v)) {
            gapPending = true;
            continue;
        }
        if (gapPending) {
            flush();
            if (!points.isEmpty()) {
                points.append(QPointF(double(t), std::numeric_limits<double>::quiet_NaN()));
            }
            gapPending = false;
        }
        if (minIndex < 0) {
            minIndex = index;
            maxIndex = index;
            minValue = v;
            maxValue = v;
        } else if (v < minValue) {
            minIndex = index;
            minValue = v;
        } else if (v > maxValue) {
            maxIndex = index;
            maxValue = v;
        }
    }
    flush();
    return points;
}

qint64 TrendsModel::memoryBytes() const
{
    return qint64(m_times.capacity() * sizeof(qint64) + m_values.capacity() * sizeof(float));
}

int TrendsModel::physical(int index) const
{
    const int slot = m_head + index;
    return slot >= m_capacity ? slot - m_capacity : slot;
}
