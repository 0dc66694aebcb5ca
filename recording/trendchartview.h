#ifndef TRENDCHARTVIEW_H
#define TRENDCHARTVIEW_H

#include <QPoint>
#include <QtCharts/QChartView>

// One plot of the trends page. The mouse does not move the axes itself: the wheel asks for a
// zoom about the time under the cursor, a drag for a pan, and a move reports the time under
// the cursor; the page applies them to all its plots at once.
class TrendChartView : public QtCharts::QChartView
{
    Q_OBJECT

public:
    explicit TrendChartView(QtCharts::QChart *chart, QWidget *parent = nullptr);

signals:
    // factor < 1 zooms in.
    void sigZoomRequested(double factor, double centreMs);
    void sigPanRequested(double deltaMs);
    void sigCursorMoved(double timeMs);
    void sigCursorLeft();

protected:
    void wheelEvent(QWheelEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    double timeAt(const QPoint &position) const;

    bool m_dragging = false;
    QPoint m_lastDragPosition;
};

#endif // TRENDCHARTVIEW_H
