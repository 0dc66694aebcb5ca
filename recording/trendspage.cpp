#include "trendspage.h"

#include "recordedquantities.h"
#include "recordingsettings.h"
#include "trendchartview.h"
#include "trendlinesitem.h"
#include "trendsmodel.h"
#include "valuerecorder.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGraphicsLayout>
#include <QGraphicsScene>
#include <QGraphicsTextItem>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPdfWriter>
#include <QPixmap>
#include <QResizeEvent>
#include <QStyle>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QValueAxis>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace QtCharts;

namespace {

// New samples are drawn at most this often: at short intervals a redraw per sample would
// cost more than the eye gains.
static constexpr int RedrawDelayMs = 200;
static constexpr double MinimumSpanMs = 10000.0;
static constexpr double RangeMargin = 0.05;
static constexpr double MinimumFlatMargin = 0.5;
static constexpr int FallbackBins = 800;
static constexpr int TimeTicks = 7;
// Gaps kept between two value labels and between two time labels, in pixels.
static constexpr int LabelGap = 12;
static constexpr int TimeLabelGap = 24;
// Qt's own dialog everywhere: the same on every desktop, and one a test can fill in.
static constexpr QFileDialog::Options FileDialogOptions = QFileDialog::DontUseNativeDialog;

struct PlotKind
{
    RecordedQuantities::TrendGroup group;
    const char *title;
    const char *unit;
    // Share of the page's height, and value ticks.
    int stretch;
    int ticks;
};

const PlotKind s_plotKinds[] = {
        {RecordedQuantities::TrendGroup::Temperature, "Temperature", "°C", 5, 6},
        {RecordedQuantities::TrendGroup::Humidity, "Humidity", "% RH", 2, 3},
        {RecordedQuantities::TrendGroup::Power, "Output power", "W", 3, 5},
};

const RecordedQuantities::Quantity &quantityOfSeries(int series)
{
    return RecordedQuantities::all().at(RecordedQuantities::trendIndexes().at(series));
}

int plotOfSeries(int series)
{
    const RecordedQuantities::TrendGroup group = quantityOfSeries(series).trend;
    for (int i = 0; i < int(std::size(s_plotKinds)); ++i) {
        if (s_plotKinds[i].group == group) {
            return i;
        }
    }
    return 0;
}

struct NiceScale
{
    double min;
    double max;
    int ticks;
};

// An axis from low to high with about the given number of ticks, on round values: the step
// is 1, 2 or 5 times a power of ten, whichever is nearest to an even division, and the ends
// are multiples of the step.
NiceScale niceScale(double low, double high, int ticks)
{
    const double rawStep = (high - low) / qMax(ticks - 1, 1);
    const double magnitude = std::pow(10.0, std::floor(std::log10(rawStep)));
    const double fraction = rawStep / magnitude;
    const double step = magnitude
                        * (fraction < 1.5   ? 1.0
                           : fraction < 3.0 ? 2.0
                           : fraction < 7.0 ? 5.0
                                            : 10.0);
    const double min = std::floor(low / step) * step;
    const double max = qMax(std::ceil(high / step) * step, min + step);
    return {min, max, int(std::lround((max - min) / step)) + 1};
}

QString windowLabel(qint64 milliseconds)
{
    const qint64 minutes = milliseconds / 60000;
    return minutes < 60 ? QObject::tr("%1 min").arg(minutes)
                        : QObject::tr("%1 h").arg(minutes / 60);
}

} // namespace

constexpr qint64 TrendsPage::WindowsMs[];

TrendsPage::TrendsPage(TrendsModel *model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_redrawTimer(new QTimer(this))
{
    setObjectName(QStringLiteral("TrendsPage"));
    // The plots are white, made for a light page; the page stays light whatever the theme,
    // docked or floating (a floating dock has no themed window behind it), and its own texts
    // dark on it.
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral("QWidget#TrendsPage { background-color: #f7f7f4; } "
                                 "QWidget#TrendsPage > QLabel { color: #202020; }"));
    m_redrawTimer->setSingleShot(true);
    m_redrawTimer->setInterval(RedrawDelayMs);
    connect(m_redrawTimer, &QTimer::timeout, this, &TrendsPage::redraw);

    auto *tools = new QHBoxLayout;
    m_windowCombo = new QComboBox(this);
    m_windowCombo->setObjectName(QStringLiteral("windowCombo"));
    for (const qint64 window : WindowsMs) {
        m_windowCombo->addItem(windowLabel(window));
    }
    m_windowCombo->setToolTip(tr("Time shown in live mode"));
    m_liveButton = new QToolButton(this);
    m_liveButton->setObjectName(QStringLiteral("liveButton"));
    m_liveButton->setText(tr("Live"));
    m_liveButton->setCheckable(true);
    m_liveButton->setChecked(true);
    m_liveButton->setToolTip(
            tr("Follow the newest values; the wheel zooms and a drag pans the time axis"));
    auto *exportPlotButton = new QToolButton(this);
    exportPlotButton->setObjectName(QStringLiteral("exportPlotButton"));
    exportPlotButton->setText(tr("Export plot…"));
    exportPlotButton->setToolTip(tr("Save the plots as shown, as PNG or PDF"));
    auto *exportDataButton = new QToolButton(this);
    exportDataButton->setObjectName(QStringLiteral("exportDataButton"));
    exportDataButton->setText(tr("Export data…"));
    exportDataButton->setToolTip(tr("Save the shown series over the shown time as CSV"));
    auto *windowLabel = new QLabel(tr("Window:"), this);
    windowLabel->setObjectName(QStringLiteral("windowLabel"));
    windowLabel->setMinimumSize(windowLabel->sizeHint());
    tools->addWidget(windowLabel);
    tools->addWidget(m_windowCombo);
    tools->addWidget(m_liveButton);
    tools->addStretch(1);
    tools->addWidget(exportPlotButton);
    tools->addWidget(exportDataButton);

    m_seriesList = new QListWidget(this);
    m_seriesList->setObjectName(QStringLiteral("seriesList"));

    m_plotArea = new QWidget(this);
    m_plotArea->setObjectName(QStringLiteral("plotArea"));
    // One row of plots at their smallest: the dock can be made that low, never lower.
    m_plotArea->setMinimumSize(MinimumPlotWidth, MinimumPlotHeight);
    m_plots = buildPlots(m_plotArea);
    m_plotLayout = qobject_cast<QBoxLayout *>(m_plotArea->layout());
    connectPlots();

    m_readout = new QLabel(this);
    m_readout->setObjectName(QStringLiteral("readout"));
    // One line that never takes height from the plots nor widens the page: the values of
    // the plot under the cursor, and all of them in the tool tip.
    m_readout->setWordWrap(false);
    m_readout->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_readout->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_readout->setText(tr("Point at a plot to read its values."));

    auto *body = new QHBoxLayout;
    body->addWidget(m_seriesList);
    body->addWidget(m_plotArea, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addLayout(tools);
    layout->addLayout(body, 1);
    layout->addWidget(m_readout);

    const QStringList hidden = RecordingSettings::hiddenSeries();
    for (int series = 0; series < m_plotOfSeries.size(); ++series) {
        const RecordedQuantities::Quantity &quantity = quantityOfSeries(series);
        const char *name = quantity.name;
        auto *item = new QListWidgetItem(QString::fromUtf8(name), m_seriesList);
        QPixmap swatch(12, 12);
        swatch.fill(QColor(quantity.colour));
        item->setIcon(QIcon(swatch));
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        const bool shown = !hidden.contains(QString::fromUtf8(name));
        item->setCheckState(shown ? Qt::Checked : Qt::Unchecked);
        linesOf(series)->setLineVisible(m_lineOfSeries.at(series), shown);
    }
    // Wide enough for every name, so that the list never needs a horizontal scroll bar.
    m_seriesList->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_seriesList->setFixedWidth(m_seriesList->sizeHintForColumn(0) + 2 * m_seriesList->frameWidth()
                                + m_seriesList->style()->pixelMetric(QStyle::PM_ScrollBarExtent)
                                + 4);
    connect(m_seriesList, &QListWidget::itemChanged, this, &TrendsPage::onItemChanged);

    const int window = qBound(0, RecordingSettings::trendWindow(), int(std::size(WindowsMs)) - 1);
    m_windowCombo->setCurrentIndex(window);
    connect(m_windowCombo, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &TrendsPage::onWindowChosen);
    connect(m_liveButton, &QToolButton::clicked, this, [this](bool checked) {
        if (checked) {
            goLive();
        } else {
            m_live = false;
        }
    });
    connect(exportPlotButton, &QToolButton::clicked, this, &TrendsPage::chooseExportPlot);
    connect(exportDataButton, &QToolButton::clicked, this, &TrendsPage::chooseExportData);
    connect(m_model, &TrendsModel::sigAppended, this, &TrendsPage::onAppended);
    goLive();
}

QVector<TrendsPage::Plot> TrendsPage::buildPlots(QWidget *area) const
{
    QVector<Plot> plots;
    auto *layout = new QBoxLayout(QBoxLayout::TopToBottom, area);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (const PlotKind &kind : s_plotKinds) {
        Plot plot;
        plot.chart = new QChart;
        plot.chart->legend()->hide();
        plot.chart->setMargins(QMargins(4, 0, 4, 0));
        plot.chart->layout()->setContentsMargins(0, 0, 0, 0);
        plot.chart->setBackgroundRoundness(0);
        // A plain fill: the theme's gradient costs about as much to paint as all the lines.
        plot.chart->setBackgroundBrush(QBrush(Qt::white));
        plot.timeAxis = new QDateTimeAxis(plot.chart);
        plot.timeAxis->setTickCount(TimeTicks);
        plot.valueAxis = new QValueAxis(plot.chart);
        // The unit tells the plots apart; a chart title would cost each plot a line of height.
        plot.valueAxis->setTitleText(QString::fromUtf8(kind.unit));
        plot.chart->setToolTip(QString::fromUtf8(kind.title));
        plot.valueAxis->setTickCount(kind.ticks);
        plot.valueAxis->setLabelFormat(QStringLiteral("%.4g"));
        plot.chart->addAxis(plot.timeAxis, Qt::AlignBottom);
        plot.chart->addAxis(plot.valueAxis, Qt::AlignLeft);
        plot.lines = new TrendLinesItem(plot.chart, plot.timeAxis, plot.valueAxis);
        plot.view = new TrendChartView(plot.chart, area);
        plot.view->setMinimumSize(MinimumPlotWidth / 2, MinimumPlotHeight / 2);
        // Equal shares: the humidity plot is read as much as the others.
        layout->addWidget(plot.view, 1);
        plots.append(plot);
    }
    for (int series = 0; series < RecordedQuantities::trendIndexes().size(); ++series) {
        const RecordedQuantities::Quantity &quantity = quantityOfSeries(series);
        // Cosmetic one-pixel lines take the painter's fast path; wider ones cost a stroke
        // per segment, which at thousands of points a line is most of a frame.
        QPen pen(QColor(quantity.colour));
        pen.setWidth(1);
        pen.setCosmetic(true);
        pen.setStyle(quantity.line == RecordedQuantities::Line::Dashed ? Qt::DashLine
                                                                       : Qt::SolidLine);
        plots.at(plotOfSeries(series)).lines->addLine(pen);
    }
    return plots;
}

void TrendsPage::connectPlots()
{
    for (int series = 0; series < RecordedQuantities::trendIndexes().size(); ++series) {
        const int plotIndex = plotOfSeries(series);
        m_plotOfSeries.append(plotIndex);
        m_lineOfSeries.append(
                int(std::count(m_plotOfSeries.cbegin(), m_plotOfSeries.cend(), plotIndex)) - 1);
    }
    for (const Plot &plot : qAsConst(m_plots)) {
        connect(plot.view, &TrendChartView::sigZoomRequested, this, &TrendsPage::onZoom);
        connect(plot.view, &TrendChartView::sigPanRequested, this, &TrendsPage::onPan);
        connect(plot.view, &TrendChartView::sigCursorMoved, this, &TrendsPage::onCursor);
    }
}

void TrendsPage::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    arrangePlots();
    // An axis whose range stays the same keeps the labels it shortened for the size it had
    // before; laid out afresh, it writes them whole.
    QTimer::singleShot(0, this, [this] {
        for (const Plot &plot : qAsConst(m_plots)) {
            plot.chart->layout()->invalidate();
        }
    });
}

void TrendsPage::arrangePlots()
{
    // The plot area's height once the tools and the readout have theirs.
    const int height = this->height() - (sizeHint().height() - m_plotArea->sizeHint().height());
    const int plotCount = int(m_plots.size());
    const QBoxLayout::Direction direction = height >= plotCount * MinimumPlotHeight
                                                    ? QBoxLayout::TopToBottom
                                                    : QBoxLayout::LeftToRight;
    if (m_plotLayout->direction() != direction) {
        m_plotLayout->setDirection(direction);
    }
}

int TrendsPage::plotAt(const QObject *view) const
{
    for (int i = 0; i < m_plots.size(); ++i) {
        if (m_plots.at(i).view == view) {
            return i;
        }
    }
    return -1;
}

bool TrendsPage::isLive() const
{
    return m_live;
}

qint64 TrendsPage::rangeStart() const
{
    return m_start;
}

qint64 TrendsPage::rangeEnd() const
{
    return m_end;
}

TrendLinesItem *TrendsPage::linesOf(int series) const
{
    return m_plots.at(m_plotOfSeries.at(series)).lines;
}

int TrendsPage::drawnPointCount(int series) const
{
    if (series < 0 || series >= m_plotOfSeries.size()) {
        return 0;
    }
    return linesOf(series)->pointCount(m_lineOfSeries.at(series));
}

bool TrendsPage::isSeriesShown(int series) const
{
    if (series < 0 || series >= m_plotOfSeries.size()) {
        return false;
    }
    return linesOf(series)->isLineVisible(m_lineOfSeries.at(series));
}

void TrendsPage::setSeriesShown(int series, bool shown)
{
    if (QListWidgetItem *item = m_seriesList->item(series)) {
        item->setCheckState(shown ? Qt::Checked : Qt::Unchecked);
    }
}

void TrendsPage::setWindowIndex(int index)
{
    m_windowCombo->setCurrentIndex(index);
}

void TrendsPage::goLive()
{
    m_live = true;
    m_liveButton->setChecked(true);
    const qint64 end = m_model->size() > 0 ? m_model->time(m_model->size() - 1)
                                           : QDateTime::currentMSecsSinceEpoch();
    setRange(end - WindowsMs[m_windowCombo->currentIndex()], end);
}

void TrendsPage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    redraw();
}

void TrendsPage::onAppended()
{
    // A hidden page (closed dock, another tab in front, a minimized window) draws nothing;
    // showing it redraws.
    if (m_redrawTimer->isActive() || !isVisible() || window()->isMinimized()) {
        return;
    }
    // Live, the picture moves by one pixel column per window / width: redrawing sooner
    // would show the same picture. A 24 h window is then redrawn about once a minute.
    // Until the chart has been laid out its plot area may be a few pixels wide, which would
    // put the first redraw off by up to a minute; the view's own width is known at once.
    const Plot &plot = m_plots.constFirst();
    const int width = std::max({int(plot.chart->plotArea().width()), plot.view->width() / 2, 1});
    const qint64 perColumn = (m_end - m_start) / width;
    m_redrawTimer->start(int(qBound(qint64(RedrawDelayMs), perColumn, qint64(60000))));
}

void TrendsPage::redraw()
{
    m_redrawTimer->stop();
    if (m_live) {
        const qint64 end = m_model->size() > 0 ? m_model->time(m_model->size() - 1)
                                               : QDateTime::currentMSecsSinceEpoch();
        m_start = end - WindowsMs[m_windowCombo->currentIndex()];
        m_end = end;
    }
    drawPlots(m_plots);
}

void TrendsPage::drawPlots(const QVector<Plot> &plots) const
{
    QVector<double> low(plots.size(), std::numeric_limits<double>::infinity());
    QVector<double> high(plots.size(), -std::numeric_limits<double>::infinity());
    QVector<QVector<QPointF>> pending(m_plotOfSeries.size());
    for (int series = 0; series < m_plotOfSeries.size(); ++series) {
        if (!isSeriesShown(series)) {
            continue;
        }
        const int plotIndex = m_plotOfSeries.at(series);
        const int bins = int(plots.at(plotIndex).chart->plotArea().width());
        pending[series]
                = m_model->decimated(series, m_start, m_end, bins > 1 ? bins : FallbackBins);
        for (const QPointF &point : qAsConst(pending.at(series))) {
            if (std::isfinite(point.y()) && point.x() >= double(m_start)
                && point.x() <= double(m_end)) {
                low[plotIndex] = qMin(low.at(plotIndex), point.y());
                high[plotIndex] = qMax(high.at(plotIndex), point.y());
            }
        }
    }
    const bool longWindow = m_end - m_start > WindowsMs[1];
    for (int i = 0; i < plots.size(); ++i) {
        const Plot &plot = plots.at(i);
        const QString format
                = longWindow ? QStringLiteral("dd.MM. HH:mm") : QStringLiteral("HH:mm:ss");
        if (plot.timeAxis->format() != format) {
            plot.timeAxis->setFormat(format);
        }
        plot.timeAxis->setRange(QDateTime::fromMSecsSinceEpoch(m_start),
                                QDateTime::fromMSecsSinceEpoch(m_end));
        // As many time labels as fit side by side without being cut short.
        const int timeLabelWidth
                = QFontMetrics(plot.timeAxis->labelsFont())
                          .horizontalAdvance(QDateTime::fromMSecsSinceEpoch(m_end).toString(format))
                  + TimeLabelGap;
        const int timeTicks
                = qBound(2, int(plot.chart->plotArea().width()) / timeLabelWidth + 1, TimeTicks);
        if (plot.timeAxis->tickCount() != timeTicks) {
            plot.timeAxis->setTickCount(timeTicks);
        }
        double bottom = low.at(i);
        double top = high.at(i);
        if (!std::isfinite(bottom) || !std::isfinite(top)) {
            bottom = 0.0;
            top = 1.0;
        }
        // A flat line gets a span of one unit: a thinner one has labels too long to fit.
        const double margin = qMax((top - bottom) * RangeMargin, MinimumFlatMargin);
        // Temperatures, humidity and power that are all positive keep zero as the floor
        // rather than a margin that reads as a negative value.
        const double floor = bottom >= 0.0 ? qMax(bottom - margin, 0.0) : bottom - margin;
        // Each change of an axis lays out the whole chart again, its labels set as rich text:
        // the range and ticks are worked out here and handed over only when they differ.
        // No more value ticks than the plot's height has room for labels: a label with less
        // room than its height is drawn as an ellipsis. Rounding to a round step may add a
        // tick; a coarser step then takes it away again.
        const int labelRoom = QFontMetrics(plot.valueAxis->labelsFont()).height() + LabelGap;
        const int maximumTicks = qBound(2, int(plot.chart->plotArea().height()) / labelRoom + 1,
                                        s_plotKinds[i].ticks);
        NiceScale scale = niceScale(floor, top + margin, maximumTicks);
        for (int asked = maximumTicks - 1; scale.ticks > maximumTicks && asked >= 2; --asked) {
            scale = niceScale(floor, top + margin, asked);
        }
        if (plot.valueAxis->min() != scale.min || plot.valueAxis->max() != scale.max) {
            plot.valueAxis->setRange(scale.min, scale.max);
        }
        if (plot.valueAxis->tickCount() != scale.ticks) {
            plot.valueAxis->setTickCount(scale.ticks);
        }
    }
    for (int series = 0; series < m_plotOfSeries.size(); ++series) {
        TrendLinesItem *lines = plots.at(m_plotOfSeries.at(series)).lines;
        lines->setLineVisible(m_lineOfSeries.at(series), isSeriesShown(series));
        lines->setPoints(m_lineOfSeries.at(series), std::move(pending[series]));
    }
}

void TrendsPage::setRange(qint64 start, qint64 end)
{
    m_start = start;
    m_end = qMax(end, start + qint64(MinimumSpanMs));
    redraw();
}

void TrendsPage::onZoom(double factor, double centreMs)
{
    m_live = false;
    m_liveButton->setChecked(false);
    const double span = qMax(double(m_end - m_start) * factor, MinimumSpanMs);
    const double centreShare = (centreMs - double(m_start)) / double(m_end - m_start);
    const double start = centreMs - span * qBound(0.0, centreShare, 1.0);
    setRange(qint64(start), qint64(start + span));
}

void TrendsPage::onPan(double deltaMs)
{
    m_live = false;
    m_liveButton->setChecked(false);
    setRange(m_start + qint64(deltaMs), m_end + qint64(deltaMs));
}

void TrendsPage::onCursor(double timeMs)
{
    m_readout->setText(readoutAt(qint64(timeMs), plotAt(sender())));
    m_readout->setToolTip(readoutAt(qint64(timeMs)));
}

QString TrendsPage::readoutAt(qint64 msecsSinceEpoch) const
{
    return readoutAt(msecsSinceEpoch, -1);
}

QString TrendsPage::readoutAt(qint64 msecsSinceEpoch, int plot) const
{
    if (m_model->size() == 0) {
        return tr("No values yet.");
    }
    // The sample nearest to the cursor.
    int index = m_model->lowerBound(msecsSinceEpoch);
    if (index >= m_model->size()
        || (index > 0
            && msecsSinceEpoch - m_model->time(index - 1)
                       < m_model->time(index) - msecsSinceEpoch)) {
        index = qMax(index - 1, 0);
    }
    QStringList parts;
    parts.append(QDateTime::fromMSecsSinceEpoch(m_model->time(index))
                         .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    for (int series = 0; series < m_plotOfSeries.size(); ++series) {
        if (!isSeriesShown(series) || (plot >= 0 && m_plotOfSeries.at(series) != plot)) {
            continue;
        }
        const int quantity = RecordedQuantities::trendIndexes().at(series);
        const float value = m_model->value(series, index);
        const QString text = std::isnan(value)
                                     ? QStringLiteral("–")
                                     : QString::number(double(value), 'g', 6) + QLatin1Char(' ')
                                               + QString::fromUtf8(
                                                       RecordedQuantities::all().at(quantity).unit);
        parts.append(QString::fromUtf8(quantityOfSeries(series).name) + QStringLiteral(": ")
                     + text.trimmed());
    }
    return parts.join(QStringLiteral(" · "));
}

void TrendsPage::onItemChanged(QListWidgetItem *item)
{
    const int series = m_seriesList->row(item);
    if (series < 0 || series >= m_plotOfSeries.size()) {
        return;
    }
    linesOf(series)->setLineVisible(m_lineOfSeries.at(series), item->checkState() == Qt::Checked);
    saveHiddenSeries();
    redraw();
}

void TrendsPage::saveHiddenSeries() const
{
    QStringList hidden;
    for (int series = 0; series < m_plotOfSeries.size(); ++series) {
        if (!isSeriesShown(series)) {
            hidden.append(QString::fromUtf8(quantityOfSeries(series).name));
        }
    }
    RecordingSettings::setHiddenSeries(hidden);
}

void TrendsPage::onWindowChosen(int index)
{
    RecordingSettings::setTrendWindow(index);
    goLive();
}

QImage TrendsPage::plotImage(QStringList *texts) const
{
    // Fresh plots off the screen, so that the picture is the same whatever the page's size:
    // a dock the height of a strip would otherwise give a strip of a picture.
    QWidget area;
    area.setAttribute(Qt::WA_DontShowOnScreen);
    const QVector<Plot> plots = buildPlots(&area);
    area.resize(ExportSize);
    // Shown, though never on a screen: only a shown view lays its chart out.
    area.show();
    // Twice: the first pass gives each chart its plot area, the second fits the ticks and
    // the decimation to it.
    for (int pass = 0; pass < 2; ++pass) {
        QCoreApplication::sendPostedEvents();
        drawPlots(plots);
    }
    QCoreApplication::sendPostedEvents();
    QImage image(ExportSize, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    area.render(&painter);
    painter.end();
    if (texts) {
        for (const Plot &plot : plots) {
            const QList<QGraphicsItem *> items = plot.view->scene()->items();
            for (QGraphicsItem *item : items) {
                if (const auto *text = dynamic_cast<QGraphicsTextItem *>(item)) {
                    if (text->isVisible() && !text->toPlainText().isEmpty()) {
                        texts->append(text->toPlainText());
                    }
                }
            }
        }
    }
    return image;
}

bool TrendsPage::exportPlot(const QString &path)
{
    const QImage image = plotImage();
    const bool pdf
            = QFileInfo(path).suffix().compare(QLatin1String("pdf"), Qt::CaseInsensitive) == 0;
    if (pdf) {
        QPdfWriter writer(path);
        writer.setPageSize(QPageSize(QPageSize::A4));
        writer.setPageOrientation(QPageLayout::Landscape);
        writer.setTitle(tr("Trends"));
        QPainter painter;
        if (!painter.begin(&writer)) {
            emit sigStatusMessage(tr("Trends: cannot write %1.").arg(path));
            return false;
        }
        const QRect page(0, 0, writer.width(), writer.height());
        painter.drawImage(
                QRect(QPoint(0, 0), image.size().scaled(page.size(), Qt::KeepAspectRatio)), image);
        painter.end();
        return true;
    }
    if (!image.save(path, "PNG")) {
        emit sigStatusMessage(tr("Trends: cannot write %1.").arg(path));
        return false;
    }
    return true;
}

bool TrendsPage::exportData(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        emit sigStatusMessage(tr("Trends: cannot write %1: %2.").arg(path, file.errorString()));
        return false;
    }
    QVector<int> shown;
    QString text = QStringLiteral("Time");
    for (int series = 0; series < m_plotOfSeries.size(); ++series) {
        if (isSeriesShown(series)) {
            shown.append(series);
            text += QLatin1Char(',')
                    + ValueRecorder::csvField(RecordedQuantities::header(
                            RecordedQuantities::trendIndexes().at(series)));
        }
    }
    text += QStringLiteral("\r\n");
    const int last = m_model->lowerBound(m_end + 1);
    for (int index = m_model->lowerBound(m_start); index < last; ++index) {
        text += ValueRecorder::timeText(QDateTime::fromMSecsSinceEpoch(m_model->time(index)));
        for (const int series : qAsConst(shown)) {
            text += QLatin1Char(',')
                    + RecordedQuantities::cellText(RecordedQuantities::trendIndexes().at(series),
                                                   double(m_model->value(series, index)));
        }
        text += QStringLiteral("\r\n");
    }
    const QByteArray bytes = text.toUtf8();
    if (file.write(bytes) != bytes.size()) {
        emit sigStatusMessage(tr("Trends: writing %1 failed: %2.").arg(path, file.errorString()));
        return false;
    }
    return true;
}

void TrendsPage::chooseExportPlot()
{
    const QString path = chooseExportPath(tr("Export plot"), QStringLiteral("trends.png"),
                                          tr("PNG image (*.png);;PDF document (*.pdf)"));
    if (!path.isEmpty()) {
        exportPlot(path);
    }
}

void TrendsPage::chooseExportData()
{
    const QString path = chooseExportPath(tr("Export data"), QStringLiteral("trends.csv"),
                                          tr("CSV file (*.csv)"));
    if (!path.isEmpty()) {
        exportData(path);
    }
}

QString TrendsPage::chooseExportPath(const QString &title, const QString &fileName,
                                     const QString &filter)
{
    return QFileDialog::getSaveFileName(this, title,
                                        QDir(RecordingSettings::folder()).filePath(fileName),
                                        filter, nullptr, FileDialogOptions);
}
