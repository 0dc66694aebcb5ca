#ifndef TRENDSPAGE_H
#define TRENDSPAGE_H

#include <QImage>
#include <QSize>
#include <QVector>
#include <QWidget>

class QBoxLayout;
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
    // Below this a plot's value labels crowd each other out.
    static constexpr int MinimumPlotHeight = 120;
    static constexpr int MinimumPlotWidth = 240;
    // Exported pictures are drawn at this size whatever the page's size on screen.
    static constexpr QSize ExportSize = QSize(1600, 1000);

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
    // The same for the series of one plot (its index, top or left first).
    QString readoutAt(qint64 msecsSinceEpoch, int plot) const;

    // The plots as PNG or PDF (by the file's suffix), drawn afresh at ExportSize for the
    // visible range and series; the visible range and series as CSV. false, with the reason
    // on sigStatusMessage(), when the file cannot be written.
    bool exportPlot(const QString &path);
    bool exportData(const QString &path);
    // The picture exportPlot() saves; texts, when given, receives every axis label and title
    // drawn in it.
    QImage plotImage(QStringList *texts = nullptr) const;

public slots:
    void goLive();
    // Redraws now instead of at the next throttled moment.
    void redraw();

signals:
    void sigStatusMessage(const QString &message);

protected:
    void showEvent(QShowEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

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

    // The three plots in area, their lines added; the page's own ones and the export's.
    QVector<Plot> buildPlots(QWidget *area) const;
    void connectPlots();
    // Axes and lines of plots for the current range, decimated to their widths.
    void drawPlots(const QVector<Plot> &plots) const;
    // Plots side by side in a wide, low area; one above the other where each gets its height.
    void arrangePlots();
    int plotAt(const QObject *view) const;
    void setRange(qint64 start, qint64 end);
    void saveHiddenSeries() const;
    // Asks where to export, starting in the recording folder; empty when cancelled.
    QString chooseExportPath(const QString &title, const QString &fileName, const QString &filter);
    TrendLinesItem *linesOf(int series) const;

    TrendsModel *m_model = nullptr;
    QVector<Plot> m_plots;
    // Per model series: the plot it is in and its line there.
    QVector<int> m_plotOfSeries;
    QVector<int> m_lineOfSeries;
    QWidget *m_plotArea = nullptr;
    QBoxLayout *m_plotLayout = nullptr;
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
