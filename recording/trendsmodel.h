#ifndef TRENDSMODEL_H
#define TRENDSMODEL_H

#include <QObject>
#include <QPointF>
#include <QVector>

#include <array>
#include <vector>

// The samples behind the trends page: one time line shared by every series, one value per
// series and sample, in ring buffers of fixed capacity (24 h at the recording interval), so
// that memory never grows with the time the program runs. A missing value is NaN and draws
// as a gap.
//
// Beside the samples, each series keeps the minimum and maximum of every aligned block of 16
// and of 256 samples, brought up to date as samples arrive. A decimation reads those where a
// pixel column spans whole blocks and single samples only at the column's ends, so its cost
// grows with the columns drawn, hardly with the samples they span.
class TrendsModel : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 RetainedMs = 24LL * 60 * 60 * 1000;

    TrendsModel(int seriesCount, int capacity, QObject *parent = nullptr);

    // The capacity that holds RetainedMs of samples taken every intervalMs.
    static int capacityFor(int intervalMs);
    // Drops every sample.
    void setCapacity(int capacity);
    int capacity() const;
    int seriesCount() const;

    // values holds one value per series; missing ones NaN.
    void append(qint64 msecsSinceEpoch, const float *values);
    void append(qint64 msecsSinceEpoch, const QVector<float> &values);

    int size() const;
    // Sample index 0 is the oldest kept.
    qint64 time(int index) const;
    float value(int series, int index) const;
    // Index of the first sample at or after time (size() if none).
    int lowerBound(qint64 msecsSinceEpoch) const;

    // The series between from and to (ms since the epoch) for a plot bins pixels wide: per
    // bin the smallest and the largest value, in the order they came, so that a single
    // spike survives any zoom. A bin with no value ends the line: the gap comes out as a
    // point with a NaN y. x is in ms since the epoch. Bin b holds the samples from
    // edge(b - 1) up to before edge(b), with edge(b) = from + ceil((b + 1) * (to - from) / bins).
    QVector<QPointF> decimated(int series, qint64 from, qint64 to, int bins) const;
    // Bytes held by the buffers.
    qint64 memoryBytes() const;

signals:
    void sigAppended();

private:
    // Smallest and largest value of a block and where in the block they first occur. A block
    // without any value has a NaN minimum; one with some missing values is marked, because
    // its gap has to be found sample by sample.
    struct BlockSummary
    {
        float minValue = 0.0f;
        float maxValue = 0.0f;
        quint8 minOffset = 0;
        quint8 maxOffset = 0;
        bool hasMissing = false;
    };
    // Block sizes as powers of two, largest first: a pixel column of 24 h at 1 s covers about
    // 66 samples, one of 24 h at the fastest interval about 660.
    static constexpr std::array<int, 2> BlockShifts = {8, 4};
    static_assert(BlockShifts[0] <= 8, "offsets within a block are kept in a byte");

    class Decimation;

    int physical(int index) const;
    // Index of the first sample in [begin, end) at or after time (end if none).
    int lowerBound(qint64 msecsSinceEpoch, int begin, int end) const;
    // The same, faster when the answer is near hint.
    int lowerBoundNear(qint64 msecsSinceEpoch, int begin, int end, int hint) const;
    void summarise(int slot);
    void decimateRun(Decimation &decimation, int series, int index, int slot, int count) const;

    int m_seriesCount = 0;
    int m_capacity = 0;
    int m_head = 0;
    int m_size = 0;
    std::vector<qint64> m_times;
    // Series after series, each m_capacity long: a decimation pass reads one run of memory.
    std::vector<float> m_values;
    // Per block size: series after series, m_blocksPerSeries blocks each.
    std::array<std::vector<BlockSummary>, BlockShifts.size()> m_summaries;
    std::array<int, BlockShifts.size()> m_blocksPerSeries = {};
};

#endif // TRENDSMODEL_H
