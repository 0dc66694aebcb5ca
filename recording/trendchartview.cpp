#include "trendchartview.h"

#include <QDateTime>
#include <QMouseEvent>

#include <QWheelEvent>
#include <QtCharts/QChart>
#include <QtCharts/QDateTimeAxis>

#include <cmath>

namespace {

// One wheel notch zooms by this much.
static constexpr double ZoomPerNotch = 0.8;
static constexpr int DegreesPerNotch = 120;

} // namespace

TrendChartView::TrendChartView(QtCharts::QChart *chart, QWidget *parent)
    : QtCharts::QChartView(chart, parent)
{
    setRenderHint(QPainter::Antialiasing, false);
    setMouseTracking(true);
    setRubberBand(QtCharts::QChartView::NoRubberBand);
}

double TrendChartView::timeAt(const QPoint &position) const
{
    // Through the time axis' range: the chart maps only through a series, and the plots
    // have none.
    const QList<QtCharts::QAbstractAxis *> axes = chart()->axes(Qt::Horizontal);
    const auto *axis
            = axes.isEmpty() ? nullptr : qobject_cast<QtCharts::QDateTimeAxis *>(axes.first());
    const QRectF plotArea = chart()->plotArea();
    if (!axis || plotArea.width() <= 0.0) {
        return 0.0;
    }
    const double start = double(axis->min().toMSecsSinceEpoch());
    const double end = double(axis->max().toMSecsSinceEpoch());
    const double x = chart()->mapFromScene(mapToScene(position)).x();
    return start + (x - plotArea.left()) / plotArea.width() * (end - start);
}

void TrendChartView::wheelEvent(QWheelEvent *event)
{
    const double notches = double(event->angleDelta().y()) / DegreesPerNotch;
    if (notches == 0.0) {
        return;
    }
    emit sigZoomRequested(std::pow(ZoomPerNotch, notches), timeAt(event->position().toPoint()));
    event->accept();
}

void TrendChartView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton) {
        m_dragging = true;
        m_lastDragPosition = event->pos();
        setCursor(Qt::ClosedHandCursor);
        event->accept();
        return;
    }
    QtCharts::QChartView::mousePressEvent(event);
}

void TrendChartView::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragging) {
        const double delta = timeAt(m_lastDragPosition) - timeAt(event->pos());
        m_lastDragPosition = event->pos();
        if (delta != 0.0) {
            emit sigPanRequested(delta);
        }
    }
    emit sigCursorMoved(timeAt(event->pos()));
    QtCharts::QChartView::mouseMoveEvent(event);
}

void TrendChartView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && m_dragging) {
        m_dragging = false;
        unsetCursor();
        event->accept();
        return;
    }
    QtCharts::QChartView::mouseReleaseEvent(event);
}

void TrendChartView::leaveEvent(QEvent *event)
{
    emit sigCursorLeft();
    QtCharts::QChartView::leaveEvent(event);
}
