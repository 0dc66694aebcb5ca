// What recording costs: per traffic line, per value change, per row (CSV and trends), turned
// into a share of one core at the rates a connected laser produces; the trends page's redraw
// of 24 h of every series; the memory 24 h of 15 series take.
//
//     build/bench/recording/bench_recording
//
// Run it in a build without sanitizers for figures that mean anything.

#include "recordedquantities.h"
#include "recordingservice.h"
#include "trafficlogwriter.h"
#include "trendchartview.h"
#include "trendsmodel.h"
#include "trendspage.h"
#include "valuerecorder.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTextStream>
#include <QWheelEvent>

#include <cmath>
#include <cstdio>
#include <functional>

namespace {

// The rates a connected laser gives at most: 38400 baud is 3840 bytes/s, lines of the
// polling list average about 40 bytes; a whole polling turn changes about every recorded
// value, and a turn takes about a second.
static constexpr double LinesPerSecond = 3840.0 / 40.0;
static constexpr double ValueChangesPerSecond = 34.0;

double microsecondsPer(qint64 nanoseconds, int count)
{
    return double(nanoseconds) / 1000.0 / count;
}

long residentKiB()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields.at(1).toLong() * 4 : 0;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTemporaryDir dir;
    QTextStream out(stdout);

    // ---- Traffic log: one line -----------------------------------------------------------
    TrafficLogWriter trafficLog;
    trafficLog.start(dir.filePath(QStringLiteral("traffic.log")));
    const QByteArray line = "s7 1 2 0 1 2048 1 4 5000.1 1 0 0 0 0 0 0 129\n";
    const QString tag = QStringLiteral("/dev/ttyUSB0:41-123");
    static constexpr int Lines = 20000;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < Lines; ++i) {
        trafficLog.slotBytesReceived(tag, line);
    }
    const double perLine = microsecondsPer(clock.nsecsElapsed(), Lines);

    // ---- Values: one change through a tap ----------------------------------------------------
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    RecordingService service;
    service.attachController(&controller);
    ValueRecorder *values = service.values();
    static constexpr int Changes = 200000;
    clock.restart();
    for (int i = 0; i < Changes; ++i) {
        emit controller.decoder()->sigOven1TempActualChanged(100.0 + (i % 100) * 0.01);
    }
    const double perChange = microsecondsPer(clock.nsecsElapsed(), Changes);
    for (int i = 0; i < RecordedQuantities::count(); ++i) {
        emit controller.decoder()->sigfTemperature_actual_1Changed(25.0);
    }
    emit controller.decoder()->sigSystemStateChanged(SystemStateEnabled);

    // ---- Rows: CSV line plus the trends sample --------------------------------------------
    values->startFile(dir.filePath(QStringLiteral("values.csv")));
    static constexpr int Rows = 20000;
    clock.restart();
    for (int i = 0; i < Rows; ++i) {
        values->recordRow();
    }
    const double perRow = microsecondsPer(clock.nsecsElapsed(), Rows);
    values->stopFile();

    out << "Traffic log line:        " << perLine << " us\n";
    out << "Value change (tap):      " << perChange << " us\n";
    out << "Row (CSV + trends):      " << perRow << " us\n";
    for (const int interval : {1000, ValueRecorder::MinimumIntervalMs}) {
        const double perSecond = LinesPerSecond * perLine + ValueChangesPerSecond * perChange
                                 + 1000.0 / interval * perRow;
        out << "CPU share, rows every " << interval << " ms (" << LinesPerSecond << " lines/s, "
            << ValueChangesPerSecond << " changes/s): " << perSecond / 1e4 << " % of one core\n";
    }

    // ---- Trends: memory and redraw -----------------------------------------------------------
    const long before = residentKiB();
    {
        TrendsModel fifteen(15, TrendsModel::capacityFor(1000));
        QVector<float> row(15);
        for (int i = 0; i < fifteen.capacity(); ++i) {
            for (int s = 0; s < 15; ++s) {
                row[s] = float(20.0 + s + std::sin(i * 0.001 + s));
            }
            fifteen.append(qint64(i) * 1000, row);
        }
        out << "Trends memory, 24 h x 15 series at 1 s: " << fifteen.memoryBytes() / 1024
            << " KiB in the buffers, " << residentKiB() - before << " KiB resident added\n";
    }

    const int seriesCount = RecordedQuantities::trendIndexes().size();
    TrendsModel model(seriesCount, TrendsModel::capacityFor(1000));
    QVector<float> row(seriesCount);
    const qint64 start = 1700000000000;
    for (int i = 0; i < model.capacity(); ++i) {
        for (int s = 0; s < seriesCount; ++s) {
            row[s] = float(20.0 + s + std::sin(i * 0.001 + s) + ((i * 7919 + s) % 97) * 0.001);
        }
        model.append(start + qint64(i) * 1000, row);
    }
    {
        // Decimation alone, every series into as many columns as a wide plot has.
        static constexpr int Columns = 1300;
        static constexpr int Passes = 20;
        const qint64 end = model.time(model.size() - 1);
        qint64 points = 0;
        clock.restart();
        for (int pass = 0; pass < Passes; ++pass) {
            for (int s = 0; s < seriesCount; ++s) {
                points += model.decimated(s, end - TrendsModel::RetainedMs, end, Columns).size();
            }
        }
        out << "Decimation, 24 h x " << seriesCount << " series into " << Columns
            << " columns: " << double(clock.nsecsElapsed()) / Passes / 1e6 << " ms ("
            << points / Passes / seriesCount << " points a line)\n";
    }
    // Plot size from the command line (width height), default 1600 x 900.
    const QStringList arguments = application.arguments();
    const QSize size = arguments.size() > 2
                               ? QSize(arguments.at(1).toInt(), arguments.at(2).toInt())
                               : QSize(1600, 900);
    TrendsPage page(&model);
    page.setWindowIndex(3);
    for (int s = 0; s < seriesCount; ++s) {
        page.setSeriesShown(s, true);
    }
    page.resize(size);
    page.show();
    application.processEvents();
    // A frame is what the page does when the picture moves, then what the event loop does
    // next: the charts lay themselves out again and the shown page is painted (offscreen,
    // into its backing store), as on a screen.
    // Live, the window moves on by a new sample; zoomed, a wheel notch in or out (alternately)
    // changes the range. Both move the axes every frame, as they do in use.
    qint64 newest = model.time(model.size() - 1);
    const auto appendAndRedraw = [&](int) {
        newest += 1000;
        model.append(newest, row);
        page.redraw();
    };
    TrendChartView *view = page.findChildren<TrendChartView *>().constFirst();
    const auto wheel = [&](int frame) {
        const QPointF centre = QRectF(view->viewport()->rect()).center();
        QWheelEvent event(centre, QPointF(view->viewport()->mapToGlobal(centre.toPoint())),
                          QPoint(), QPoint(0, frame % 2 == 0 ? 120 : -120), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(view->viewport(), &event);
    };
    const auto measure = [&](const QString &what, const std::function<void(int)> &step) {
        static constexpr int Frames = 20;
        qint64 update = 0;
        qint64 paint = 0;
        for (int i = 0; i < Frames; ++i) {
            clock.restart();
            step(i);
            update += clock.nsecsElapsed();
            clock.restart();
            application.processEvents();
            paint += clock.nsecsElapsed();
        }
        out << "Trends frame, " << what << ", " << size.width() << "x" << size.height() << ": "
            << double(update) / Frames / 1e6 << " ms decimate and update + "
            << double(paint) / Frames / 1e6
            << " ms lay out and paint = " << double(update + paint) / Frames / 1e6 << " ms ("
            << page.drawnPointCount(0) << " points a line)\n";
    };
    measure(QStringLiteral("24 h x %1 series, live").arg(seriesCount), appendAndRedraw);
    for (int s = 15; s < seriesCount; ++s) {
        page.setSeriesShown(s, false);
    }
    measure(QStringLiteral("24 h x 15 series, live"), appendAndRedraw);
    measure(QStringLiteral("24 h x 15 series, zoom"), wheel);
    page.goLive();
    page.setWindowIndex(0);
    measure(QStringLiteral("5 min x 15 series, live"), appendAndRedraw);
    for (int s = 15; s < seriesCount; ++s) {
        page.setSeriesShown(s, true);
    }
    return 0;
}
