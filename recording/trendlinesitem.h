#ifndef TRENDLINESITEM_H
#define TRENDLINESITEM_H

#include <QGraphicsObject>
#include <QPen>
#include <QVector>

namespace QtCharts {
class QChart;
class QDateTimeAxis;
class QValueAxis;
} // namespace QtCharts

// The lines of one trends plot, drawn over the chart's plot area in the chart's own scene, so
// that they show wherever the chart does (screen, PNG, PDF). The chart keeps the axes, the grid
// and the layout; this item maps each point through the axes' ranges onto the plot area.
//
// The chart's line series would draw the same, but on every change of its points it builds a
// path and a stroked outline of the whole line (for hit testing the page does not use), which
// costs more than everything else in a frame together.
class TrendLinesItem : public QGraphicsObject
{
    Q_OBJECT

public:
    TrendLinesItem(QtCharts::QChart *chart, QtCharts::QDateTimeAxis *timeAxis,
                   QtCharts::QValueAxis *valueAxis);

    // A new line, drawn after (over) the ones before it; returns its number.
    int addLine(const QPen &pen);
    // x in ms since the epoch, y in the value axis' unit; a NaN y breaks the line.
    void setPoints(int line, QVector<QPointF> points);
    int pointCount(int line) const;
    void setLineVisible(int line, bool visible);
    bool isLineVisible(int line) const;

    QRectF boundingRect() const override;
    void paint(QPainter *painter, const QStyleOptionGraphicsItem *option,
               QWidget *widget = nullptr) override;

private:
    struct Line
    {
        QPen pen;
        QVector<QPointF> points;
        bool visible = true;
    };

    void followPlotArea(const QRectF &plotArea);

    QtCharts::QDateTimeAxis *m_timeAxis = nullptr;
    QtCharts::QValueAxis *m_valueAxis = nullptr;
    QRectF m_plotArea;
    QVector<Line> m_lines;
    // One run of a line in pixels, kept between paints to spare the allocation.
    QVector<QPointF> m_run;
};

#endif // TRENDLINESITEM_H
