#include "trendlinesitem.h"

#include <QDateTime>
#include <QPainter>
#include <QtCharts/QChart>
#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QValueAxis>

#include <cmath>

namespace {

// Above the chart's background and grid, whose items are the chart's children too.
static constexpr qreal LinesZValue = 100;

} // namespace

TrendLinesItem::TrendLinesItem(QtCharts::QChart *chart, QtCharts::QDateTimeAxis *timeAxis,
                               QtCharts::QValueAxis *valueAxis)
    : QGraphicsObject(chart)
    , m_timeAxis(timeAxis)
    , m_valueAxis(valueAxis)
{
    setZValue(LinesZValue);
    followPlotArea(chart->plotArea());
    connect(chart, &QtCharts::QChart::plotAreaChanged, this, &TrendLinesItem::followPlotArea);
    connect(timeAxis, &QtCharts::QDateTimeAxis::rangeChanged, this, [this] { update(); });
    connect(valueAxis, &QtCharts::QValueAxis::rangeChanged, this, [this] { update(); });
}

int TrendLinesItem::addLine(const QPen &pen)
{
    m_lines.append(Line{pen, {}, true});
    return m_lines.size() - 1;
}

void TrendLinesItem::setPoints(int line, QVector<QPointF> points)
{
    m_lines[line].points = std::move(points);
    update();
}

int TrendLinesItem::pointCount(int line) const
{
    return m_lines.at(line).points.size();
}

void TrendLinesItem::setLineVisible(int line, bool visible)
{
    if (m_lines.at(line).visible != visible) {
        m_lines[line].visible = visible;
        update();
    }
}

bool TrendLinesItem::isLineVisible(int line) const
{
    return m_lines.at(line).visible;
}

QRectF TrendLinesItem::boundingRect() const
{
    return m_plotArea.adjusted(-1, -1, 1, 1);
}

void TrendLinesItem::followPlotArea(const QRectF &plotArea)
{
    if (plotArea != m_plotArea) {
        prepareGeometryChange();
        m_plotArea = plotArea;
    }
}

void TrendLinesItem::paint(QPainter *painter, const QStyleOptionGraphicsItem *option,
                           QWidget *widget)
{
    Q_UNUSED(option)
    Q_UNUSED(widget)
    const double timeStart = double(m_timeAxis->min().toMSecsSinceEpoch());
    const double timeSpan = double(m_timeAxis->max().toMSecsSinceEpoch()) - timeStart;
    const double valueStart = m_valueAxis->min();
    const double valueSpan = m_valueAxis->max() - valueStart;
    if (m_plotArea.isEmpty() || timeSpan <= 0.0 || valueSpan <= 0.0) {
        return;
    }
    const double xScale = m_plotArea.width() / timeSpan;
    const double yScale = m_plotArea.height() / valueSpan;
    const double left = m_plotArea.left();
    const double bottom = m_plotArea.bottom();
    painter->save();
    // The points just outside the window, which take the lines to the plot's edges, are cut
    // there; a pixel beyond, so that a value at either end of the value axis still shows on
    // the plot's edge.
    painter->setClipRect(m_plotArea.adjusted(-1, -1, 1, 1), Qt::IntersectClip);
    const auto drawRun = [this, painter] {
        // A value alone between gaps is still a value: it shows as a dot.
        if (m_run.size() == 1) {
            painter->drawPoint(m_run.constFirst());
        } else if (m_run.size() > 1) {
            painter->drawPolyline(m_run.constData(), m_run.size());
        }
        m_run.resize(0);
    };
    for (const Line &line : qAsConst(m_lines)) {
        if (!line.visible || line.points.isEmpty()) {
            continue;
        }
        painter->setPen(line.pen);
        m_run.reserve(line.points.size());
        for (const QPointF &point : line.points) {
            if (std::isnan(point.y())) {
                drawRun();
                continue;
            }
            m_run.append(QPointF(left + (point.x() - timeStart) * xScale,
                                 bottom - (point.y() - valueStart) * yScale));
        }
        drawRun();
    }
    painter->restore();
}
