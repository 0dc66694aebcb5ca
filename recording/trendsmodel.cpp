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
    for (size_t level = 0; level < BlockShifts.size(); ++level) {
        const int size = 1 << BlockShifts[level];
        m_blocksPerSeries[level] = (m_capacity + size - 1) / size;
        m_summaries[level].assign(size_t(m_blocksPerSeries[level]) * size_t(m_seriesCount),
                                  BlockSummary{});
        m_summaries[level].shrink_to_fit();
    }
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
    summarise(slot);
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
    return lowerBound(msecsSinceEpoch, 0, m_size);
}

int TrendsModel::lowerBound(qint64 msecsSinceEpoch, int begin, int end) const
{
    int first = begin;
    int count = end - begin;
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

// One decimation under way: the bin being filled, in the order its samples came, and the
// points given out so far.
class TrendsModel::Decimation
{
public:
    Decimation(const TrendsModel &model, QVector<QPointF> &points)
        : m_model(model)
        , m_points(points)
    { }

    // The samples in slots [begin, end); slot + toIndex is a sample's index.
    void addSamples(const float *values, int begin, int end, int toIndex)
    {
        for (int slot = begin; slot < end; ++slot) {
            const float value = values[slot];
            if (std::isnan(value)) {
                m_gapPending = true;
            } else if (!m_gapPending && m_minIndex >= 0) {
                if (value < m_minValue) {
                    m_minIndex = slot + toIndex;
                    m_minValue = value;
                } else if (value > m_maxValue) {
                    m_maxIndex = slot + toIndex;
                    m_maxValue = value;
                }
            } else {
                closeGap(slot + toIndex);
                take(slot + toIndex, value, slot + toIndex, value);
            }
        }
    }

    // A block that starts at index and has either every value or none.
    void addBlock(int index, const BlockSummary &block)
    {
        if (std::isnan(block.minValue)) {
            m_gapPending = true;
            return;
        }
        closeGap(index);
        take(index + block.minOffset, block.minValue, index + block.maxOffset, block.maxValue);
    }

    // Gives out the bin's minimum and maximum, the earlier first.
    void endBin()
    {
        if (m_minIndex < 0) {
            return;
        }
        const int firstIndex = qMin(m_minIndex, m_maxIndex);
        const int secondIndex = qMax(m_minIndex, m_maxIndex);
        add(double(m_model.time(firstIndex)), firstIndex == m_minIndex ? m_minValue : m_maxValue);
        if (secondIndex != firstIndex) {
            add(double(m_model.time(secondIndex)),
                secondIndex == m_minIndex ? m_minValue : m_maxValue);
        }
        m_minIndex = -1;
        m_maxIndex = -1;
    }

private:
    // The first value after missing ones: what came before ends, and a NaN point breaks the
    // line at this value's time.
    void closeGap(int index)
    {
        if (!m_gapPending) {
            return;
        }
        endBin();
        if (!m_points.isEmpty()) {
            m_points.append(
                    QPointF(double(m_model.time(index)), std::numeric_limits<double>::quiet_NaN()));
        }
        m_gapPending = false;
    }

    // Ties keep the earlier sample, whether the values come one by one or as a block's.
    void take(int minIndex, float minValue, int maxIndex, float maxValue)
    {
        if (m_minIndex < 0) {
            m_minIndex = minIndex;
            m_minValue = minValue;
            m_maxIndex = maxIndex;
            m_maxValue = maxValue;
            return;
        }
        if (minValue < m_minValue) {
            m_minIndex = minIndex;
            m_minValue = minValue;
        }
        if (maxValue > m_maxValue) {
            m_maxIndex = maxIndex;
            m_maxValue = maxValue;
        }
    }

    void add(double x, float value)
    {
        // A flat run needs only its ends: the middle point of three equal ones moves.
        const double y = double(value);
        const int count = m_points.size();
        if (count >= 2 && m_points.at(count - 1).y() == y && m_points.at(count - 2).y() == y) {
            m_points.last().setX(x);
        } else {
            m_points.append(QPointF(x, y));
        }
    }

    const TrendsModel &m_model;
    QVector<QPointF> &m_points;
    int m_minIndex = -1;
    int m_maxIndex = -1;
    float m_minValue = 0.0f;
    float m_maxValue = 0.0f;
    bool m_gapPending = false;
};

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

    Decimation decimation(*this, points);
    const double span = double(to - from);
    const auto edge = [&](qint64 bin) {
        return from + static_cast<qint64>(std::ceil(double(bin + 1) * span / bins));
    };
    int index = first;
    int previousCount = 1;
    while (index < last) {
        // The division only guesses the bin; the edges decide, so that rounding never moves
        // a sample into a neighbour.
        const qint64 t = time(index);
        qint64 bin = static_cast<qint64>(std::floor(double(t - from) * bins / span));
        while (edge(bin) <= t) {
            ++bin;
        }
        while (edge(bin - 1) > t) {
            --bin;
        }
        const int end = lowerBoundNear(edge(bin), index + 1, last, index + previousCount);
        previousCount = qMax(end - index, 1);
        // The bin's samples in at most two runs of memory.
        const int slot = physical(index);
        const int count = end - index;
        const int firstRun = qMin(count, m_capacity - slot);
        decimateRun(decimation, series, index, slot, firstRun);
        if (firstRun < count) {
            decimateRun(decimation, series, index + firstRun, 0, count - firstRun);
        }
        decimation.endBin();
        index = end;
    }
    return points;
}

void TrendsModel::decimateRun(Decimation &decimation, int series, int index, int slot,
                              int count) const
{
    const float *values = m_values.data() + size_t(series) * size_t(m_capacity);
    const int end = slot + count;
    static constexpr int SmallestBlock = 1 << BlockShifts.back();
    const int toIndex = index - slot;
    // Single samples up to the first block boundary, whole blocks, single samples after the
    // last one.
    int at = qMin(end, (slot + SmallestBlock - 1) & ~(SmallestBlock - 1));
    decimation.addSamples(values, slot, at, toIndex);
    while (end - at >= SmallestBlock) {
        // The largest block that starts here. Its summary holds for the samples now in it:
        // a block lies wholly inside a run of consecutive samples only once it has been
        // filled, since the newest and the oldest sample meet in the block being written.
        bool summarised = false;
        for (size_t level = 0; level < BlockShifts.size(); ++level) {
            const int size = 1 << BlockShifts[level];
            if ((at & (size - 1)) != 0 || end - at < size) {
                continue;
            }
            const BlockSummary &block
                    = m_summaries[level][size_t(series) * size_t(m_blocksPerSeries[level])
                                         + size_t(at >> BlockShifts[level])];
            // A block with a gap inside is looked at in smaller pieces.
            if (!block.hasMissing || std::isnan(block.minValue)) {
                decimation.addBlock(at + toIndex, block);
                at += size;
                summarised = true;
                break;
            }
        }
        if (!summarised) {
            decimation.addSamples(values, at, at + SmallestBlock, toIndex);
            at += SmallestBlock;
        }
    }
    decimation.addSamples(values, at, end, toIndex);
}

qint64 TrendsModel::memoryBytes() const
{
    size_t bytes = m_times.capacity() * sizeof(qint64) + m_values.capacity() * sizeof(float);
    for (const std::vector<BlockSummary> &summaries : m_summaries) {
        bytes += summaries.capacity() * sizeof(BlockSummary);
    }
    return qint64(bytes);
}

int TrendsModel::lowerBoundNear(qint64 msecsSinceEpoch, int begin, int end, int hint) const
{
    // Samples come at a steady interval, so the answer is at or near the hint: gallop out from
    // it to bracket the answer in [low, high], then bisect the bracket.
    hint = qBound(begin, hint, end);
    int low = begin;
    int high = end;
    if (hint < end && time(hint) < msecsSinceEpoch) {
        low = hint + 1;
        for (int step = 1;; step *= 2) {
            const int probe = low + step - 1;
            if (probe >= end) {
                break;
            }
            if (time(probe) >= msecsSinceEpoch) {
                high = probe;
                break;
            }
            low = probe + 1;
        }
    } else {
        high = hint;
        for (int step = 1;; step *= 2) {
            const int probe = high - step;
            if (probe < begin) {
                break;
            }
            if (time(probe) < msecsSinceEpoch) {
                low = probe + 1;
                break;
            }
            high = probe;
        }
    }
    return lowerBound(msecsSinceEpoch, low, high);
}

void TrendsModel::summarise(int slot)
{
    for (size_t level = 0; level < BlockShifts.size(); ++level) {
        const int shift = BlockShifts[level];
        const int block = slot >> shift;
        const auto offset = static_cast<quint8>(slot - (block << shift));
        BlockSummary *summary = m_summaries[level].data() + block;
        const float *value = m_values.data() + slot;
        for (int series = 0; series < m_seriesCount; ++series) {
            const float v = *value;
            // The first sample written into a block starts it afresh: the block's older
            // samples are about to be overwritten and are not read through it meanwhile.
            if (offset == 0) {
                *summary = BlockSummary{v, v, 0, 0, std::isnan(v)};
            } else if (std::isnan(v)) {
                summary->hasMissing = true;
            } else if (std::isnan(summary->minValue)) {
                *summary = BlockSummary{v, v, offset, offset, true};
            } else {
                if (v < summary->minValue) {
                    summary->minValue = v;
                    summary->minOffset = offset;
                }
                if (v > summary->maxValue) {
                    summary->maxValue = v;
                    summary->maxOffset = offset;
                }
            }
            summary += m_blocksPerSeries[level];
            value += m_capacity;
        }
    }
}

int TrendsModel::physical(int index) const
{
    const int slot = m_head + index;
    return slot >= m_capacity ? slot - m_capacity : slot;
}
