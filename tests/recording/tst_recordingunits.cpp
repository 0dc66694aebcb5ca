// The recording classes on their own: the traffic log's escaping and its failures, the value
// recorder's table, cells, CSV and rollover, the trends model's decimation and memory, and
// the trends page's plotting and export.

#include "csvcheck.h"
#include "recordedquantities.h"
#include "recordingservice.h"
#include "trafficlogwriter.h"
#include "trendchartview.h"
#include "trendsmodel.h"
#include "trendspage.h"
#include "valuerecorder.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtCharts/QChart>
#include <QtTest>

#include <cmath>
#include <limits>

namespace {

int columnOf(const char *name)
{
    for (int i = 0; i < RecordedQuantities::count(); ++i) {
        if (qstrcmp(RecordedQuantities::all().at(i).name, name) == 0) {
            return i;
        }
    }
    return -1;
}

int seriesOf(const char *name)
{
    return RecordedQuantities::trendIndexes().indexOf(columnOf(name));
}

// The decimation rule applied the slow way, sample after sample: per bin the minimum and the
// maximum in the order they came (the first of equal values), a NaN point where values resume
// after missing ones, flat runs of three or more points reduced to their ends.
QVector<QPointF> decimatedByFullScan(const TrendsModel &model, int series, qint64 from, qint64 to,
                                     int bins)
{
    QVector<QPointF> points;
    if (model.size() == 0) {
        return points;
    }
    const int first = qMax(model.lowerBound(from) - 1, 0);
    const int last = qMin(model.lowerBound(to) + 1, model.size());
    const double span = double(to - from);
    const auto edge = [&](qint64 bin) {
        return from + qint64(std::ceil(double(bin + 1) * span / bins));
    };
    const auto binOf = [&](qint64 t) {
        qint64 bin = qint64(std::floor(double(t - from) * bins / span));
        while (edge(bin) <= t) {
            ++bin;
        }
        while (edge(bin - 1) > t) {
            --bin;
        }
        return bin;
    };
    const auto add = [&points](double x, double y) {
        const int count = points.size();
        if (count >= 2 && points.at(count - 1).y() == y && points.at(count - 2).y() == y) {
            points.last().setX(x);
        } else {
            points.append(QPointF(x, y));
        }
    };
    int minIndex = -1;
    int maxIndex = -1;
    const auto flush = [&] {
        if (minIndex < 0) {
            return;
        }
        for (const int index : {qMin(minIndex, maxIndex), qMax(minIndex, maxIndex)}) {
            add(double(model.time(index)), double(model.value(series, index)));
            if (minIndex == maxIndex) {
                break;
            }
        }
        minIndex = -1;
        maxIndex = -1;
    };
    qint64 currentBin = std::numeric_limits<qint64>::min();
    bool gap = false;
    for (int index = first; index < last; ++index) {
        const qint64 bin = binOf(model.time(index));
        if (bin != currentBin) {
            flush();
            currentBin = bin;
        }
        const float value = model.value(series, index);
        if (std::isnan(value)) {
            gap = true;
            continue;
        }
        if (gap) {
            flush();
            if (!points.isEmpty()) {
                points.append(QPointF(double(model.time(index)), qQNaN()));
            }
            gap = false;
        }
        if (minIndex < 0) {
            minIndex = index;
            maxIndex = index;
        } else if (value < model.value(series, minIndex)) {
            minIndex = index;
        } else if (value > model.value(series, maxIndex)) {
            maxIndex = index;
        }
    }
    flush();
    return points;
}

// Empty when both lists hold the same points (NaN equal to NaN), else the first difference.
QString differenceBetween(const QVector<QPointF> &actual, const QVector<QPointF> &expected)
{
    for (int i = 0; i < qMin(actual.size(), expected.size()); ++i) {
        const QPointF a = actual.at(i);
        const QPointF e = expected.at(i);
        const bool sameY = (std::isnan(a.y()) && std::isnan(e.y())) || a.y() == e.y();
        if (a.x() != e.x() || !sameY) {
            return QStringLiteral("point %1: (%2, %3) instead of (%4, %5)")
                    .arg(i)
                    .arg(qint64(a.x()))
                    .arg(a.y())
                    .arg(qint64(e.x()))
                    .arg(e.y());
        }
    }
    if (actual.size() != expected.size()) {
        return QStringLiteral("%1 points instead of %2").arg(actual.size()).arg(expected.size());
    }
    return {};
}

} // namespace

class TestRecordingUnits : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void escapingRoundTrips_data();
    void escapingRoundTrips();
    void trafficLogWritesLinesAsTheyCome();
    void trafficLogUnwritablePathIsReported();

    void everyQuantityFindsItsSignal();
    void absentTemperatureChannelIsNotRecorded();
    void cellsAreEmptyUntilReportedAndAfterLinkLoss();
    void csvParsesWithPythonAndNamesUnits();
    void csvQuotesWhatNeedsIt_data();
    void csvQuotesWhatNeedsIt();
    void timeIsIsoWithMillisecondsAndOffset();
    void rolloverAtSizeLimit();
    void rolloverAtMidnight();
    void existingFileIsNeverOverwritten();
    void valueRecordingUnwritablePathIsReported();

    void decimationKeepsASpikeIn24Hours();
    void decimationLeavesGapsForMissingValues();
    void decimationMatchesAFullScan_data();
    void decimationMatchesAFullScan();
    void memoryStaysBoundedAfter24Hours();
    void serviceFeedsTrendsFromValues();

    void trendsPageDrawsAndExports();
    void trendsPageZoomLeavesLiveAndLiveReturns();
    void trendsPageRestsWhileMinimized();
    void trendsPageReadsUnderTheCursorAndPansByDrag();
    void exportIsFullSizeWhateverTheDock_data();
    void exportIsFullSizeWhateverTheDock();

private:
    QTemporaryDir m_dir;
};

void TestRecordingUnits::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
}

void TestRecordingUnits::escapingRoundTrips_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("plain") << QByteArray("s7 1 2 3") << QByteArray("s7 1 2 3");
    QTest::newRow("lf") << QByteArray("e_div?\n") << QByteArray("e_div?[0Ah]");
    QTest::newRow("crlf") << QByteArray("ok\r\n") << QByteArray("ok[0Dh][0Ah]");
    QTest::newRow("tab") << QByteArray("ZEL HG\tErrorcode=0\n")
                         << QByteArray("ZEL HG[09h]Errorcode=0[0Ah]");
    QTest::newRow("zero and high") << QByteArray("a\0\xff", 3) << QByteArray("a[00h][FFh]");
    QTest::newRow("bracket") << QByteArray("[0Ah]") << QByteArray("[5Bh]0Ah]");
}

void TestRecordingUnits::escapingRoundTrips()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);
    QCOMPARE(TrafficLogWriter::escaped(bytes), text);
    QCOMPARE(TrafficLogWriter::unescaped(text), bytes);
}

void TestRecordingUnits::trafficLogWritesLinesAsTheyCome()
{
    const QString path = m_dir.filePath(QStringLiteral("sub/traffic.log"));
    TrafficLogWriter writer;
    QSignalSpy status(&writer, &TrafficLogWriter::sigStatusChanged);
    QVERIFY(writer.start(path));
    QVERIFY(writer.isRecording());
    QVERIFY(!status.isEmpty() && status.constLast().at(0).toBool());
    QVERIFY(status.constLast().at(1).toString().startsWith(QStringLiteral("traffic.log (")));

    writer.slotBytesTransmitted(QStringLiteral("/dev/pts/3:07-123"), "s7\n");
    // Read back while still open: the line is on disk without a close or a flush.
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    // The tag carries the time of day to the millisecond.
    const auto matches = [](const QByteArray &line, const char *pattern) {
        return QRegularExpression(QString::fromLatin1(pattern))
                .match(QString::fromLatin1(line))
                .hasMatch();
    };
    QByteArray line = file.readAll();
    QVERIFY2(matches(line, "^/dev/pts/3:\\d\\d:\\d\\d:07\\.123: TX: s7\\[0Ah\\]\n$"),
             line.constData());
    writer.slotBytesReceived(QStringLiteral("/dev/pts/3_07-190"), "partial");
    line = file.readAll();
    QVERIFY2(matches(line, "^/dev/pts/3_\\d\\d:\\d\\d:07\\.190: RX: partial\n$"), line.constData());

    writer.stop();
    QVERIFY(!writer.isRecording());
    writer.slotBytesReceived(QStringLiteral("x"), "after stop");
    QCOMPARE(file.readAll(), QByteArray());
    // Starting again appends.
    QVERIFY(writer.start(path));
    writer.slotBytesReceived(QStringLiteral("y"), "again");
    QCOMPARE(file.readAll(), QByteArray("y: RX: again\n"));
}

void TestRecordingUnits::trafficLogUnwritablePathIsReported()
{
    const QString blocker = m_dir.filePath(QStringLiteral("plainfile"));
    QFile file(blocker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    TrafficLogWriter writer;
    QSignalSpy messages(&writer, &TrafficLogWriter::sigStatusMessage);
    const QString path = blocker + QStringLiteral("/traffic.log");
    QVERIFY(!writer.start(path));
    QVERIFY(!writer.isRecording());
    QCOMPARE(messages.size(), 1);
    const QString message = messages.constFirst().at(0).toString();
    QVERIFY2(message.startsWith(QStringLiteral("Traffic log: cannot write to ") + path),
             qPrintable(message));
    writer.slotBytesReceived(QStringLiteral("t"), "nothing happens");
}

void TestRecordingUnits::everyQuantityFindsItsSignal()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    ValueRecorder recorder;
    QCOMPARE(recorder.attachSources(controller.decoder(), &controller), QStringList());
    // And a name that is not there is reported, not silently skipped: every quantity's own
    // signal and those that tell an absent channel.
    int signalCount = 0;
    for (const RecordedQuantities::Quantity &quantity : RecordedQuantities::all()) {
        ++signalCount;
        for (const RecordedQuantities::Tap &signal : quantity.absentWhenZero) {
            signalCount += signal ? 1 : 0;
        }
    }
    QObject nothing;
    QCOMPARE(recorder.attachSources(&nothing, &nothing).size(), signalCount);
}

// The status record carries ten temperature channels; a laser reports the ones it does not
// have as 0.00 with set-point and limits 0.00. Those are no measurement: empty cells, no
// line in the trends. Every temperature has its name and its unit.
void TestRecordingUnits::absentTemperatureChannelIsNotRecorded()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    VelutraResponseDecoder *decoder = controller.decoder();
    RecordingService service;
    service.attachController(&controller);
    ValueRecorder *recorder = service.values();
    const QString path = m_dir.filePath(QStringLiteral("channels.csv"));
    QVERIFY(recorder->startFile(path));

    // In the order of the status record: set-point, actual, lower and upper limit.
    emit decoder->sigfTemperature_set_1Changed(25.0);
    emit decoder->sigfTemperature_actual_1Changed(25.03);
    emit decoder->sigfTemperature_min_1Changed(20.0);
    emit decoder->sigfTemperature_max_1Changed(30.0);
    emit decoder->sigfTemperature_set_7Changed(0.0);
    emit decoder->sigfTemperature_actual_7Changed(0.0);
    emit decoder->sigfTemperature_min_7Changed(0.0);
    emit decoder->sigfTemperature_max_7Changed(0.0);
    // A fitted channel that happens to read 0.00 stays a measurement.
    emit decoder->sigfTemperature_set_2Changed(0.0);
    emit decoder->sigfTemperature_actual_2Changed(0.0);
    emit decoder->sigfTemperature_min_2Changed(-10.0);
    emit decoder->sigfTemperature_max_2Changed(10.0);
    QCOMPARE(recorder->value(columnOf("Temperature 1")), 25.03);
    QVERIFY(std::isnan(recorder->value(columnOf("Temperature 7"))));
    QCOMPARE(recorder->value(columnOf("Temperature 2")), 0.0);
    recorder->recordRow();
    recorder->stopFile();

    QString error;
    const QVector<QStringList> rows = readCsvWithPython(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(rows.size(), 2);
    for (int channel = 1; channel <= 10; ++channel) {
        const QString name = QStringLiteral("Temperature %1").arg(channel);
        QCOMPARE(rows.at(0).at(columnOf(qPrintable(name)) + 1), name + QStringLiteral(" [°C]"));
    }
    QCOMPARE(rows.at(1).at(columnOf("Temperature 1") + 1), QStringLiteral("25.03"));
    QCOMPARE(rows.at(1).at(columnOf("Temperature 2") + 1), QStringLiteral("0"));
    QCOMPARE(rows.at(1).at(columnOf("Temperature 7") + 1), QString());
    TrendsModel *trends = service.trends();
    QCOMPARE(trends->size(), 1);
    QCOMPARE(trends->value(seriesOf("Temperature 1"), 0), 25.03f);
    QVERIFY(std::isnan(trends->value(seriesOf("Temperature 7"), 0)));

    // The same channel fitted on the next laser: its value counts from the limits on.
    recorder->slotLinkUp(false);
    emit decoder->sigfTemperature_actual_7Changed(31.5);
    QCOMPARE(recorder->value(columnOf("Temperature 7")), 31.5);
    emit decoder->sigfTemperature_set_7Changed(30.0);
    emit decoder->sigfTemperature_min_7Changed(25.0);
    emit decoder->sigfTemperature_max_7Changed(35.0);
    QCOMPARE(recorder->value(columnOf("Temperature 7")), 31.5);
}

void TestRecordingUnits::cellsAreEmptyUntilReportedAndAfterLinkLoss()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    VelutraResponseDecoder *decoder = controller.decoder();
    ValueRecorder recorder;
    recorder.attach(&controller);
    for (int i = 0; i < RecordedQuantities::count(); ++i) {
        QVERIFY(std::isnan(recorder.value(i)));
    }
    emit decoder->sigOven1TempActualChanged(0.0);
    emit decoder->sigSystemStateChanged(SystemStateStandby);
    emit decoder->siguiTmpChar2Changed(uchar(33));
    emit decoder->sigHGCrystalCurRuntimeChanged(quint64(1800000));
    emit controller.setOutputPowerUVMeasuredW(0.25);
    QCOMPARE(recorder.value(columnOf("SHG oven actual")), 0.0);
    QCOMPARE(recorder.value(columnOf("Status word")), 33.0);
    QCOMPARE(recorder.value(columnOf("Crystal spot runtime")), 1800000.0);
    QCOMPARE(recorder.value(columnOf("Measured power UV")), 0.25);
    QCOMPARE(RecordedQuantities::cellText(columnOf("Operating state"),
                                          recorder.value(columnOf("Operating state"))),
             QStringLiteral("Standby"));
    // A zero that was reported is "0", never empty; one never reported is empty.
    QCOMPARE(RecordedQuantities::cellText(columnOf("SHG oven actual"), 0.0), QStringLiteral("0"));
    QCOMPARE(RecordedQuantities::cellText(columnOf("THG oven actual"),
                                          recorder.value(columnOf("THG oven actual"))),
             QString());

    recorder.slotLinkUp(true);
    QCOMPARE(recorder.value(columnOf("Status word")), 33.0);
    recorder.slotLinkUp(false);
    for (int i = 0; i < RecordedQuantities::count(); ++i) {
        QVERIFY(std::isnan(recorder.value(i)));
    }
}

void TestRecordingUnits::csvParsesWithPythonAndNamesUnits()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    VelutraResponseDecoder *decoder = controller.decoder();
    ValueRecorder recorder;
    recorder.attach(&controller);
    const QString path = m_dir.filePath(QStringLiteral("values.csv"));
    QVERIFY(recorder.startFile(path));
    recorder.recordRow();
    emit decoder->sigOven1TempActualChanged(149.98);
    emit decoder->sigHumidityActualChanged(8);
    emit decoder->sigSystemStateChanged(SystemStateStandbyToEnabled);
    emit controller.setPowerSetpoint_uJ(5.0);
    recorder.recordRow();
    recorder.slotLinkUp(false);
    recorder.recordRow();
    recorder.stopFile();

    QString error;
    const QVector<QStringList> rows = readCsvWithPython(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(rows.size(), 4);
    const QStringList &header = rows.at(0);
    QCOMPARE(header.size(), RecordedQuantities::count() + 1);
    QCOMPARE(header.at(0), QStringLiteral("Time"));
    QCOMPARE(header.at(columnOf("SHG oven actual") + 1), QStringLiteral("SHG oven actual [°C]"));
    QCOMPARE(header.at(columnOf("Set energy") + 1), QStringLiteral("Set energy [µJ]"));
    QCOMPARE(header.at(columnOf("Measured power IR") + 1), QStringLiteral("Measured power IR [W]"));
    QCOMPARE(header.at(columnOf("Status word") + 1), QStringLiteral("Status word"));
    for (const QStringList &row : rows) {
        QCOMPARE(row.size(), header.size());
    }
    // Before the first report and after the link went down: every value cell empty.
    for (const int rowIndex : {1, 3}) {
        for (int column = 1; column < header.size(); ++column) {
            QVERIFY2(rows.at(rowIndex).at(column).isEmpty(),
                     qPrintable(QStringLiteral("row %1 column %2").arg(rowIndex).arg(column)));
        }
    }
    const QStringList &row = rows.at(2);
    QCOMPARE(row.at(columnOf("SHG oven actual") + 1), QStringLiteral("149.98"));
    QCOMPARE(row.at(columnOf("Humidity") + 1), QStringLiteral("8"));
    QCOMPARE(row.at(columnOf("Operating state") + 1), QStringLiteral("Standby -> Output enabled"));
    QCOMPARE(row.at(columnOf("Set energy") + 1), QStringLiteral("5"));
    QVERIFY(row.at(columnOf("THG oven actual") + 1).isEmpty());
    QVERIFY(QDateTime::fromString(row.at(0), Qt::ISODateWithMs).isValid());
}

void TestRecordingUnits::csvQuotesWhatNeedsIt_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("field");
    QTest::newRow("plain") << "SHG oven actual [°C]"
                           << "SHG oven actual [°C]";
    QTest::newRow("comma") << "a,b"
                           << "\"a,b\"";
    QTest::newRow("quote") << "say \"hi\""
                           << "\"say \"\"hi\"\"\"";
    QTest::newRow("line break") << "a\r\nb"
                                << "\"a\r\nb\"";
    QTest::newRow("empty") << ""
                           << "";
}

void TestRecordingUnits::csvQuotesWhatNeedsIt()
{
    QFETCH(QString, text);
    QFETCH(QString, field);
    QCOMPARE(ValueRecorder::csvField(text), field);
}

void TestRecordingUnits::timeIsIsoWithMillisecondsAndOffset()
{
    const QDateTime time(QDate(2025, 3, 14), QTime(9, 41, 27, 5), Qt::OffsetFromUTC, 3600 + 1800);
    const QString text = ValueRecorder::timeText(time);
    const QRegularExpression form(QStringLiteral(
            "^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}[+-]\\d\\d:\\d\\d$"));
    QVERIFY2(form.match(text).hasMatch(), qPrintable(text));
    // The text names the same instant.
    QCOMPARE(QDateTime::fromString(text, Qt::ISODateWithMs).toMSecsSinceEpoch(),
             time.toMSecsSinceEpoch());
}

void TestRecordingUnits::rolloverAtSizeLimit()
{
    QTemporaryDir dir;
    ValueRecorder recorder;
    QSignalSpy changes(&recorder, &ValueRecorder::sigRecordingChanged);
    const QString path = dir.filePath(QStringLiteral("run.csv"));
    QVERIFY(recorder.startFile(path));
    // The header and a dozen rows fit; a limit of 2 KiB makes several files of them.
    recorder.setMaximumFileBytes(2 * 1024);
    for (int i = 0; i < 100; ++i) {
        recorder.recordRow();
    }
    recorder.stopFile();
    const QStringList files
            = QDir(dir.path()).entryList({QStringLiteral("run*.csv")}, QDir::Files, QDir::Name);
    QVERIFY2(files.size() >= 3, qPrintable(files.join(QLatin1Char(' '))));
    QCOMPARE(files.at(0), QStringLiteral("run.csv"));
    QCOMPARE(files.at(1), QStringLiteral("run_0001.csv"));
    QCOMPARE(files.at(2), QStringLiteral("run_0002.csv"));
    int dataRows = 0;
    for (const QString &name : files) {
        QVERIFY(QFileInfo(dir.filePath(name)).size() <= 2 * 1024);
        QString error;
        const QVector<QStringList> rows = readCsvWithPython(dir.filePath(name), &error);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        // Every file starts with its own header.
        QCOMPARE(rows.constFirst().constFirst(), QStringLiteral("Time"));
        dataRows += rows.size() - 1;
    }
    QCOMPARE(dataRows, 100);
    // Each new file was announced with its name.
    QCOMPARE(changes.constLast().at(0).toBool(), false);
    QCOMPARE(changes.at(changes.size() - 2).at(1).toString(), dir.filePath(files.constLast()));
}

void TestRecordingUnits::rolloverAtMidnight()
{
    QTemporaryDir dir;
    ValueRecorder recorder;
    QVERIFY(recorder.startFile(dir.filePath(QStringLiteral("night.csv"))));
    const QDate today = QDate::currentDate();
    recorder.recordRowAt(QDateTime(today, QTime(23, 59, 59, 900)));
    QCOMPARE(recorder.currentFileName(), dir.filePath(QStringLiteral("night.csv")));
    recorder.recordRowAt(QDateTime(today.addDays(1), QTime(0, 0, 0, 100)));
    QCOMPARE(recorder.currentFileName(), dir.filePath(QStringLiteral("night_0001.csv")));
    recorder.recordRowAt(QDateTime(today.addDays(1), QTime(0, 0, 1, 100)));
    recorder.stopFile();
    QString error;
    const QVector<QStringList> before
            = readCsvWithPython(dir.filePath(QStringLiteral("night.csv")), &error);
    const QVector<QStringList> after
            = readCsvWithPython(dir.filePath(QStringLiteral("night_0001.csv")), &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(before.size(), 2);
    QCOMPARE(after.size(), 3);
    QVERIFY(before.at(1).at(0).contains(QStringLiteral("T23:59:59.900")));
    QVERIFY(after.at(1).at(0).contains(QStringLiteral("T00:00:00.100")));
}

void TestRecordingUnits::existingFileIsNeverOverwritten()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("kept.csv"));
    QFile old(path);
    QVERIFY(old.open(QIODevice::WriteOnly));
    old.write("yesterday\n");
    old.close();
    ValueRecorder recorder;
    QVERIFY(recorder.startFile(path));
    QCOMPARE(recorder.currentFileName(), dir.filePath(QStringLiteral("kept_0001.csv")));
    recorder.stopFile();
    QVERIFY(old.open(QIODevice::ReadOnly));
    QCOMPARE(old.readAll(), QByteArray("yesterday\n"));
}

void TestRecordingUnits::valueRecordingUnwritablePathIsReported()
{
    const QString blocker = m_dir.filePath(QStringLiteral("notafolder"));
    QFile file(blocker);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    ValueRecorder recorder;
    QSignalSpy messages(&recorder, &ValueRecorder::sigStatusMessage);
    const QString path = blocker + QStringLiteral("/values.csv");
    QVERIFY(!recorder.startFile(path));
    QVERIFY(!recorder.isRecording());
    QCOMPARE(messages.size(), 1);
    const QString message = messages.constFirst().at(0).toString();
    QVERIFY2(message.startsWith(QStringLiteral("Value recording: cannot write to ") + path),
             qPrintable(message));
    recorder.recordRow();
}

void TestRecordingUnits::decimationKeepsASpikeIn24Hours()
{
    const int capacity = TrendsModel::capacityFor(1000);
    QCOMPARE(capacity, 86400);
    TrendsModel model(2, capacity);
    const qint64 start = 1700000000000;
    const int spikeAt = 51234;
    for (int i = 0; i < capacity; ++i) {
        const float values[] = {20.0f + 0.01f * float(i % 7), float(i)};
        float spiked[] = {values[0], values[1]};
        if (i == spikeAt) {
            spiked[0] = 95.0f;
        }
        if (i == spikeAt + 1000) {
            spiked[0] = -40.0f;
        }
        model.append(start + qint64(i) * 1000, spiked);
    }
    const qint64 end = start + qint64(capacity - 1) * 1000;
    for (const int bins : {100, 800, 1920}) {
        const QVector<QPointF> points = model.decimated(0, start, end, bins);
        QVERIFY(points.size() <= 2 * (bins + 2));
        double low = 1e9;
        double high = -1e9;
        for (const QPointF &point : points) {
            low = qMin(low, point.y());
            high = qMax(high, point.y());
        }
        QCOMPARE(high, 95.0);
        QCOMPARE(low, -40.0);
        // Time order is kept, so the line does not fold back on itself.
        for (int i = 1; i < points.size(); ++i) {
            QVERIFY(points.at(i).x() >= points.at(i - 1).x());
        }
    }
    // Each bin gives its minimum and its maximum: a ramp shows both ends of every bin.
    const QVector<QPointF> ramp = model.decimated(1, start, end, 10);
    QCOMPARE(ramp.constFirst().y(), 0.0);
    QCOMPARE(ramp.constLast().y(), double(capacity - 1));
}

void TestRecordingUnits::decimationLeavesGapsForMissingValues()
{
    TrendsModel model(1, 100);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float values[] = {1, 2, 3, nan, nan, nan, 7, 8, 9};
    for (int i = 0; i < 9; ++i) {
        model.append(1000 * i, &values[i]);
    }
    const QVector<QPointF> points = model.decimated(0, 0, 8000, 1000);
    QCOMPARE(points.size(), 7);
    QVERIFY(std::isnan(points.at(3).y()));
    QCOMPARE(points.at(2), QPointF(2000, 3));
    QCOMPARE(points.at(4), QPointF(6000, 7));
}

void TestRecordingUnits::decimationMatchesAFullScan_data()
{
    QTest::addColumn<quint32>("seed");
    QTest::addColumn<int>("capacity");
    QTest::addColumn<int>("samples");
    // Values are whole numbers below this, so that equal values and flat runs are common.
    QTest::addColumn<int>("levels");
    // Chance in a thousand that a run of missing values starts at a sample.
    QTest::addColumn<int>("gapsPerThousand");

    QTest::newRow("partly filled, smooth") << 1u << 20000 << 12345 << 100000 << 0;
    QTest::newRow("wrapped, capacity not a block multiple") << 2u << 9999 << 31337 << 1000 << 2;
    QTest::newRow("wrapped, few levels") << 3u << 8192 << 20000 << 4 << 1;
    QTest::newRow("many gaps") << 4u << 6000 << 15000 << 50 << 30;
    QTest::newRow("mostly missing") << 5u << 5000 << 7000 << 50 << 300;
}

void TestRecordingUnits::decimationMatchesAFullScan()
{
    QFETCH(quint32, seed);
    QFETCH(int, capacity);
    QFETCH(int, samples);
    QFETCH(int, levels);
    QFETCH(int, gapsPerThousand);
    QRandomGenerator random(seed);
    TrendsModel model(2, capacity);
    qint64 time = 1700000000000;
    int missingLeft = 0;
    for (int i = 0; i < samples; ++i) {
        // Mostly a steady second; sometimes jitter, a stall of minutes, or a clock set back.
        const int kind = random.bounded(100);
        time += kind < 80 ? 1000 : kind < 95 ? random.bounded(1, 3000) : kind < 98 ? 300000 : -5000;
        if (missingLeft == 0 && random.bounded(1000) < gapsPerThousand) {
            // Short gaps inside a block, long ones across many.
            missingLeft = random.bounded(2) == 0 ? random.bounded(1, 4) : random.bounded(20, 700);
        }
        float values[2];
        values[0] = float(random.bounded(levels));
        values[1] = float(std::round(10.0 * std::sin(i * 0.01)));
        if (missingLeft > 0) {
            --missingLeft;
            values[0] = qQNaN();
        }
        model.append(time, values);
    }
    const qint64 oldest = model.time(0);
    const qint64 newest = model.time(model.size() - 1);
    for (int trial = 0; trial < 60; ++trial) {
        qint64 from = oldest;
        qint64 to = newest;
        if (trial > 0) {
            // Windows inside, across either end, and wholly outside the data.
            from = oldest + random.bounded(-50000, int(newest - oldest) + 50000);
            to = from + random.bounded(10000, int(newest - oldest) + 100000);
        }
        const int bins = trial % 3 == 0 ? random.bounded(1, 20) : random.bounded(20, 2500);
        for (int series = 0; series < 2; ++series) {
            const QVector<QPointF> expected = decimatedByFullScan(model, series, from, to, bins);
            const QString difference
                    = differenceBetween(model.decimated(series, from, to, bins), expected);
            QVERIFY2(difference.isEmpty(),
                     qPrintable(QStringLiteral("series %1, %2 to %3 in %4 bins: %5")
                                        .arg(series)
                                        .arg(from)
                                        .arg(to)
                                        .arg(bins)
                                        .arg(difference)));
        }
    }
}

void TestRecordingUnits::memoryStaysBoundedAfter24Hours()
{
    TrendsModel model(15, TrendsModel::capacityFor(1000));
    const qint64 bytes = model.memoryBytes();
    // A time and 15 values a sample, and the values' block summaries: under a byte a value.
    QVERIFY2(bytes <= 86400LL * (8 + 15 * (4 + 1)), qPrintable(QString::number(bytes)));
    QVector<float> row(15, 1.0f);
    // Two days of samples: the second day replaces the first.
    for (int i = 0; i < 2 * 86400; ++i) {
        row[0] = float(i);
        model.append(qint64(i) * 1000, row);
    }
    QCOMPARE(model.size(), 86400);
    QCOMPARE(model.memoryBytes(), bytes);
    QCOMPARE(model.time(0), qint64(86400) * 1000);
    QCOMPARE(model.value(0, 0), 86400.0f);
    QCOMPARE(model.value(0, model.size() - 1), float(2 * 86400 - 1));
}

void TestRecordingUnits::serviceFeedsTrendsFromValues()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    RecordingService service;
    service.attachController(&controller);
    emit controller.decoder()->sigOven2TempActualChanged(59.5);
    service.values()->recordRow();
    TrendsModel *trends = service.trends();
    QCOMPARE(trends->size(), 1);
    QCOMPARE(trends->value(seriesOf("THG oven actual"), 0), 59.5f);
    QVERIFY(std::isnan(trends->value(seriesOf("SHG oven actual"), 0)));
    // Memory for 24 h at the interval is taken once, not grown.
    QCOMPARE(trends->capacity(), TrendsModel::capacityFor(service.values()->intervalMs()));
}

void TestRecordingUnits::trendsPageDrawsAndExports()
{
    TrendsModel model(RecordedQuantities::trendIndexes().size(), 3600);
    TrendsPage page(&model);
    page.resize(1000, 700);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    const qint64 start = QDateTime::currentMSecsSinceEpoch() - 300000;
    QVector<float> row(model.seriesCount(), std::numeric_limits<float>::quiet_NaN());
    for (int i = 0; i < 300; ++i) {
        row[seriesOf("SHG oven actual")] = 24.5f + 125.5f * (1.0f - std::exp(-float(i) / 40.0f));
        row[seriesOf("SHG oven set-point")] = 150.0f;
        row[seriesOf("Humidity")] = 8.0f;
        model.append(start + qint64(i) * 1000, row);
    }
    page.redraw();
    QVERIFY(page.isLive());
    QCOMPARE(page.rangeEnd(), start + 299000);
    QVERIFY(page.drawnPointCount(seriesOf("SHG oven actual")) > 100);
    QCOMPARE(page.drawnPointCount(seriesOf("THG oven actual")), 0);
    QVERIFY(page.readoutAt(start + 299000).contains(QStringLiteral("SHG oven set-point: 150 °C")));

    // A hidden series draws nothing and stays hidden for the next page.
    page.setSeriesShown(seriesOf("Humidity"), false);
    QCOMPARE(page.drawnPointCount(seriesOf("Humidity")), 0);
    TrendsPage second(&model);
    QVERIFY(!second.isSeriesShown(seriesOf("Humidity")));
    QVERIFY(second.isSeriesShown(seriesOf("SHG oven actual")));
    page.setSeriesShown(seriesOf("Humidity"), true);

    const QString png = m_dir.filePath(QStringLiteral("trends.png"));
    QVERIFY(page.exportPlot(png));
    QImage image(png);
    QVERIFY(!image.isNull());
    QVERIFY(image.width() > 500);
    const QString pdf = m_dir.filePath(QStringLiteral("trends.pdf"));
    QVERIFY(page.exportPlot(pdf));
    QFile pdfFile(pdf);
    QVERIFY(pdfFile.open(QIODevice::ReadOnly));
    QVERIFY(pdfFile.read(5) == "%PDF-");

    const QString csv = m_dir.filePath(QStringLiteral("trends.csv"));
    QVERIFY(page.exportData(csv));
    QString error;
    const QVector<QStringList> rows = readCsvWithPython(csv, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QCOMPARE(rows.size(), 301);
    QVERIFY(rows.at(0).contains(QStringLiteral("SHG oven actual [°C]")));
    QVERIFY(!page.exportPlot(m_dir.filePath(QStringLiteral("plainfile/x.png"))));
}

void TestRecordingUnits::trendsPageZoomLeavesLiveAndLiveReturns()
{
    TrendsModel model(RecordedQuantities::trendIndexes().size(), 100);
    TrendsPage page(&model);
    page.resize(900, 600);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    page.setWindowIndex(1);
    QVector<float> row(model.seriesCount(), 1.0f);
    model.append(10000000, row);
    page.redraw();
    QCOMPARE(page.rangeEnd() - page.rangeStart(), TrendsPage::WindowsMs[1]);
    QWheelEvent wheel(QPointF(200, 100), QPointF(200, 100), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    TrendChartView *view = page.findChildren<TrendChartView *>().constFirst();
    QApplication::sendEvent(view->viewport(), &wheel);
    QVERIFY(!page.isLive());
    QVERIFY(page.rangeEnd() - page.rangeStart() < TrendsPage::WindowsMs[1]);
    page.goLive();
    QVERIFY(page.isLive());
    QCOMPARE(page.rangeEnd(), qint64(10000000));
    QCOMPARE(page.rangeEnd() - page.rangeStart(), TrendsPage::WindowsMs[1]);
}

void TestRecordingUnits::trendsPageRestsWhileMinimized()
{
    // Live, the page follows each new sample; minimized (its widgets still count as visible)
    // it draws nothing until it is restored.
    TrendsModel model(RecordedQuantities::trendIndexes().size(), 100);
    TrendsPage page(&model);
    page.resize(900, 600);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    // The 5-minute window redraws within a second of a sample (the window is remembered
    // from the tests before).
    page.setWindowIndex(0);
    QVector<float> row(model.seriesCount(), 1.0f);
    model.append(10000000, row);
    QTRY_COMPARE(page.rangeEnd(), qint64(10000000));

    page.showMinimized();
    QTRY_VERIFY(page.isMinimized());
    model.append(10001000, row);
    // Two seconds is several times the live page's redraw delay.
    QTest::qWait(2000);
    QCOMPARE(page.rangeEnd(), qint64(10000000));

    page.showNormal();
    QTRY_COMPARE(page.rangeEnd(), qint64(10001000));
    model.append(10002000, row);
    QTRY_COMPARE(page.rangeEnd(), qint64(10002000));
}

void TestRecordingUnits::trendsPageReadsUnderTheCursorAndPansByDrag()
{
    TrendsModel model(RecordedQuantities::trendIndexes().size(), 600);
    TrendsPage page(&model);
    page.resize(1000, 700);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    page.setWindowIndex(0);
    // The SHG oven's value is the sample's number, so the readout tells which sample it found.
    const qint64 start = 1700000000000;
    QVector<float> row(model.seriesCount(), 20.0f);
    for (int i = 0; i <= 300; ++i) {
        row[seriesOf("SHG oven actual")] = float(i);
        model.append(start + qint64(i) * 1000, row);
    }
    page.redraw();
    QCOMPARE(page.rangeStart(), start);
    TrendChartView *view = page.findChildren<TrendChartView *>().constFirst();
    QtCharts::QChart *chart = view->chart();
    // Let the chart lay out its axes for the new range.
    QTRY_VERIFY(chart->plotArea().width() > 500);
    const QRectF area = chart->plotArea();
    const auto viewPoint = [&](double share) {
        return view->mapFromScene(
                chart->mapToScene(QPointF(area.left() + area.width() * share, area.center().y())));
    };
    const auto send = [&](QEvent::Type type, const QPoint &at, Qt::MouseButton button,
                          Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, view->viewport()->mapToGlobal(at), button, buttons,
                          Qt::NoModifier);
        QApplication::sendEvent(view->viewport(), &event);
    };

    // A quarter into the five minutes is sample 75, give or take a pixel's worth of time.
    send(QEvent::MouseMove, viewPoint(0.25), Qt::NoButton, Qt::NoButton);
    const QString text = page.findChild<QLabel *>(QStringLiteral("readout"))->text();
    const QRegularExpressionMatch match
            = QRegularExpression(QStringLiteral("SHG oven actual: (\\d+) °C")).match(text);
    QVERIFY2(match.hasMatch(), qPrintable(text));
    QVERIFY2(qAbs(match.captured(1).toInt() - 75) <= 1, qPrintable(text));

    // A drag of half the plot's width to the left moves the window by half: 150 s later.
    send(QEvent::MouseButtonPress, viewPoint(0.75), Qt::LeftButton, Qt::LeftButton);
    send(QEvent::MouseMove, viewPoint(0.25), Qt::NoButton, Qt::LeftButton);
    send(QEvent::MouseButtonRelease, viewPoint(0.25), Qt::LeftButton, Qt::NoButton);
    QVERIFY(!page.isLive());
    const qint64 pixel = qint64(300000 / area.width()) + 1;
    QVERIFY2(qAbs(page.rangeStart() - (start + 150000)) <= pixel,
             qPrintable(QString::number(page.rangeStart() - start)));
    QCOMPARE(page.rangeEnd() - page.rangeStart(), TrendsPage::WindowsMs[0]);
}

// The page docked as a strip, or as a floating window: the exported picture is the same full
// size, with every axis label and title written whole.
void TestRecordingUnits::exportIsFullSizeWhateverTheDock_data()
{
    QTest::addColumn<QSize>("pageSize");
    QTest::newRow("docked strip") << QSize(1300, 230);
    QTest::newRow("small floating") << QSize(520, 420);
    QTest::newRow("large") << QSize(1800, 900);
}

void TestRecordingUnits::exportIsFullSizeWhateverTheDock()
{
    QFETCH(QSize, pageSize);
    TrendsModel model(RecordedQuantities::trendIndexes().size(), 3600);
    TrendsPage page(&model);
    page.resize(pageSize);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
    const qint64 start = QDateTime::currentMSecsSinceEpoch() - 300000;
    QVector<float> row(model.seriesCount(), std::numeric_limits<float>::quiet_NaN());
    for (int i = 0; i < 300; ++i) {
        row[seriesOf("SHG oven actual")] = 24.5f + 125.5f * (1.0f - std::exp(-float(i) / 40.0f));
        row[seriesOf("Humidity")] = 8.0f + float(i % 3);
        row[seriesOf("Measured power IR")] = 1.5f;
        model.append(start + qint64(i) * 1000, row);
    }
    page.redraw();

    const QString png = m_dir.filePath(QStringLiteral("export-%1.png").arg(pageSize.width()));
    QVERIFY(page.exportPlot(png));
    const QImage image(png);
    QCOMPARE(image.size(), TrendsPage::ExportSize);
    QStringList texts;
    QCOMPARE(page.plotImage(&texts).size(), TrendsPage::ExportSize);
    for (const QString &unit :
         {QStringLiteral("°C"), QStringLiteral("% RH"), QStringLiteral("W")}) {
        QVERIFY2(texts.contains(unit), qPrintable(texts.join(QStringLiteral(" | "))));
    }
    QVERIFY2(texts.size() > 20, qPrintable(texts.join(QStringLiteral(" | "))));
    for (const QString &text : qAsConst(texts)) {
        QVERIFY2(!text.contains(QStringLiteral("...")) && !text.contains(QChar(0x2026)),
                 qPrintable(texts.join(QStringLiteral(" | "))));
    }
    // The time labels say the time.
    QVERIFY(texts.filter(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d$"))).size() >= 3);
    const QString folder = qEnvironmentVariable("VELUTRA_SCREENSHOT_DIR");
    if (!folder.isEmpty()) {
        image.save(QStringLiteral("%1/trends-export-from-%2x%3.png")
                           .arg(folder)
                           .arg(pageSize.width())
                           .arg(pageSize.height()));
    }
}

QTEST_MAIN(TestRecordingUnits)
#include "tst_recordingunits.moc"
