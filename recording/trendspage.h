#ifndef TRENDSPAGE_H
#define TRENDSPAGE_H

#include <QVector>
#include <QWidget>

class QComboBox;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QTimer;
class QToolButton;
class TrendChartView;
class TrendLinesItem;
class TrendsModel;

namespace QtCharts {
class QChart;
class QDateTimeAxis;
class QValueAxis;
} // namespace QtCharts

// Live plots of the recorded values: the oven temperatures against their set-points and the
// ten temperatures, the humidity, and the measured output power per wavelength, one plot per
// unit over a shared time axis.
//
// Live, the plots show the chosen window (5 min to 24 h) up to the latest sample. The wheel
// zooms and a drag pans (all plots together), which leaves live mode until "Live" is pressed.
// What is drawn is decimated to the minimum and maximum per pixel column, so a redraw costs
// the same whatever the window holds and a one-sample spike is never lost.
class TrendsPage : public QWidget
{
    Q_OBJECT

public:
    static constexpr qint64 WindowsMs[]
            = {5LL * 60 * 1000, 60LL * 60 * 1000, 8LL * 60 * 60 * 1000, 24LL * 60 * 60 * 1000};

    explicit TrendsPage(TrendsModel *model, QWidget *parent = nullptr);

    bool isLive() const;
    // Visible time range, ms since the epoch.
    qint64 rangeStart() const;
    qint64 rangeEnd() const;
    // Points drawn for a trend series (its index in the model).
    int drawnPointCount(int series) const;
    bool isSeriesShown(int series) const;
    void setSeriesShown(int series, bool shown);
    void setWindowIndex(int index);
    // What the cursor readout says for a time.
    QString readoutAt(qint64 msecsSinceEpoch) const;

    // The visible plots as PNG or PDF (by the file's suffix); the visible range and series
    // as CSV. false, with the reason on sigStatusMessage(), when the file cannot be written.
    bool exportPlot(const QString &path);
    bool exportData(const QString &path);

public slots:
    void goLive();
    // Redraws now instead of at the next throttled moment.
    void redraw();

signals:
    void sigStatusMessage(const QString &message);

protected:
    void showEvent(QShowEvent *event) override;

private slots:
    void onAppended();
    void onZoom(double factor, double centreMs);
    void onPan(double deltaMs);
    void onCursor(double timeMs);
    void onItemChanged(QListWidgetItem *item);
    void onWindowChosen(int index);
    void chooseExportPlot();
    void chooseExportData();

private:
    struct Plot
    {
        QtCharts::QChart *chart = nullptr;
        TrendChartView *view = nullptr;
        QtCharts::QDateTimeAxis *timeAxis = nullptr;
        QtCharts::QValueAxis *valueAxis = nullptr;
        TrendLinesItem *lines = nullptr;
    };

    void buildPlots();
    void setRange(qint64 start, qint64 end);
    void saveHiddenSeries() const;
    TrendLinesItem *linesOf(int series) const;

    TrendsModel *m_model = nullptr;
    QVector<Plot> m_plots;
    // Per model series: the plot it is in and its line there.
    QVector<int> m_plotOfSeries;
    QVector<int> m_lineOfSeries;
    QWidget *m_plotArea = nullptr;
    QListWidget *m_seriesList = nullptr;
    QComboBox *m_windowCombo = nullptr;
    QToolButton *m_liveButton = nullptr;
    QLabel *m_readout = nullptr;
    QTimer *m_redrawTimer = nullptr;
    bool m_live = true;
    qint64 m_start = 0;
    qint64 m_end = 0;
};

#endif // TRENDSPAGE_H
