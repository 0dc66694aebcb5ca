#ifndef TRENDSMODEL_H
#define TRENDSMODEL_H

#include <QObject>
#include <QPointF>
#include <QVector>

#include <vector>

// The samples behind the trends page: one time line shared by every series, one value per
// series and sample, in ring buffers of fixed capacity (24 h at the recording interval), so
// that memory never grows with the time the program runs. A missing value is NaN and draws
// as a gap.
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
    // point with a NaN y. x is in ms since the epoch.
    QVector<QPointF> decimated(int series, qint64 from, qint64 to, int bins) const;
    // Bytes held by the buffers.
    qint64 memoryBytes() const;

signals:
    void sigAppended();

private:
    int physical(int index) const;

    int m_seriesCount = 0;
    int m_capacity = 0;
    int m_head = 0;
    int m_size = 0;
    std::vector<qint64> m_times;
    // Series after series, each m_capacity long: a decimation pass reads one run of memory.
    std::vector<float> m_values;
};

#endif // TRENDSMODEL_H
