// Recording against the velutra-sim executable, wired as the main window wires it: the
// serial handler in its own thread, a controller made for each connection and attached to
// the recording service, the traffic log and the values across an unplug and re-plug.

#include "csvcheck.h"
#include "recordedquantities.h"
#include "recordingservice.h"
#include "simulatorsession.h"
#include "trafficlogwriter.h"
#include "trendsmodel.h"
#include "trendspage.h"
#include "valuerecorder.h"
#include "velutracontroller.h"
#include "velutraserialhandler.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPointer>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <cmath>
#include <limits>
#include <memory>

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

// The simulator's trace: the bytes it read (IN) and wrote (OUT), each stream in order.
void readTrace(const QString &path, QByteArray *in, QByteArray *out)
{
    static const QRegularExpression record(QStringLiteral("^\\s*\\d+\\.\\d+ (IN |OUT) \"(.*)\"$"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().chopped(1);
        const QRegularExpressionMatch match = record.match(QString::fromLatin1(line));
        if (!match.hasMatch()) {
            continue;
        }
        const QByteArray text = match.captured(2).toLatin1();
        QByteArray bytes;
        for (int i = 0; i < text.size(); ++i) {
            if (text.at(i) != '\\' || i + 1 >= text.size()) {
                bytes.append(text.at(i));
                continue;
            }
            const char kind = text.at(++i);
            if (kind == 'n') {
                bytes.append('\n');
            } else if (kind == 'r') {
                bytes.append('\r');
            } else if (kind == 't') {
                bytes.append('\t');
            } else if (kind == 'x' && i + 2 < text.size()) {
                bytes.append(static_cast<char>(text.mid(i + 1, 2).toInt(nullptr, 16)));
                i += 2;
            } else {
                bytes.append(kind);
            }
        }
        (match.captured(1) == QLatin1String("OUT") ? out : in)->append(bytes);
    }
}

// The traffic log read back: what it says was transmitted and received, each in order.
void readTrafficLog(const QString &path, QByteArray *transmitted, QByteArray *received, int *lines)
{
    static const QRegularExpression entry(QStringLiteral("^(.*?): (TX|RX): (.*)$"));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().chopped(1);
        const QRegularExpressionMatch match = entry.match(QString::fromLatin1(line));
        if (!match.hasMatch()) {
            continue;
        }
        ++*lines;
        const QByteArray bytes = TrafficLogWriter::unescaped(match.captured(3).toLatin1());
        (match.captured(2) == QLatin1String("TX") ? transmitted : received)->append(bytes);
    }
}

} // namespace

class TestRecordingWithSimulator : public QObject
{
    Q_OBJECT

signals:
    void sigOpenCommunication(const QString &portName);
    void sigCloseCommunication();

private slots:
    void initTestCase();
    void cleanup();
    void trafficLogHoldsTheBytesOnTheWire();
    void valuesMatchTheSimulatorAcrossAReconnect();
    void trendsFillWhileTheOvensWarmUp();

private:
    bool start(const QStringList &simulatorArguments);
    void control(const QByteArray &command);
    QString nextPortName(int timeoutMs);

    QTemporaryDir m_dir;
    std::unique_ptr<QProcess> m_simulator;
    QThread *m_thread = nullptr;
    VelutraSerialHandler *m_handler = nullptr;
    std::unique_ptr<RecordingService> m_recording;
    QPointer<VelutraController> m_controller;
    bool m_open = false;
    bool m_linkUp = false;
};

void TestRecordingWithSimulator::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
}

bool TestRecordingWithSimulator::start(const QStringList &simulatorArguments)
{
    m_simulator = std::make_unique<QProcess>();
    QString port;
    if (!startSimulatorProcess(*m_simulator, simulatorArguments, &port)) {
        return false;
    }
    m_handler = new VelutraSerialHandler;
    m_thread = new QThread;
    m_handler->moveToThread(m_thread);
    connect(m_thread, &QThread::started, m_handler, &VelutraSerialHandler::slotMainLoop);
    connect(this, &TestRecordingWithSimulator::sigOpenCommunication, m_handler,
            &VelutraSerialHandler::slotOpenCommunication);
    connect(this, &TestRecordingWithSimulator::sigCloseCommunication, m_handler,
            &VelutraSerialHandler::slotCloseCommunication);
    m_recording = std::make_unique<RecordingService>();
    m_recording->attachHandler(m_handler);
    // As the main window does: a controller per connection, attached as it is made.
    connect(m_handler, &VelutraSerialHandler::sigCommunicationOpened, this, [this] {
        m_open = true;
        delete m_controller;
        m_controller = new VelutraController(nullptr, nullptr, m_handler, this);
        m_recording->attachController(m_controller);
        QTimer::singleShot(10, m_controller, &VelutraController::slotMainLoop);
    });
    connect(m_handler, &VelutraSerialHandler::sigCommunicationClosed, this, [this] {
        m_open = false;
        m_linkUp = false;
        if (m_controller) {
            m_controller->disconnect(m_handler);
            m_controller->deleteLater();
        }
    });
    connect(m_handler, &VelutraSerialHandler::sigConnectedStatus, this,
            [this](bool up) { m_linkUp = up; });
    m_thread->start();
    emit sigOpenCommunication(port);
    return true;
}

void TestRecordingWithSimulator::cleanup()
{
    delete m_controller;
    if (m_thread) {
        m_thread->quit();
        QVERIFY(m_thread->wait(5000));
        delete m_handler;
        delete m_thread;
        m_handler = nullptr;
        m_thread = nullptr;
    }
    m_recording.reset();
    if (m_simulator) {
        stopSimulatorProcess(*m_simulator);
    }
    m_simulator.reset();
    m_open = false;
    m_linkUp = false;
}

void TestRecordingWithSimulator::control(const QByteArray &command)
{
    m_simulator->write(command + '\n');
    m_simulator->waitForBytesWritten(1000);
}

QString TestRecordingWithSimulator::nextPortName(int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    while (!m_simulator->canReadLine() && clock.elapsed() < timeoutMs) {
        QTest::qWait(20);
    }
    return QString::fromLocal8Bit(m_simulator->readLine()).trimmed();
}

void TestRecordingWithSimulator::trafficLogHoldsTheBytesOnTheWire()
{
    const QString trace = m_dir.filePath(QStringLiteral("wire.trace"));
    const QString logPath = m_dir.filePath(QStringLiteral("wire.log"));
    QVERIFY(start({QStringLiteral("--module"), QStringLiteral("0x93"),
                   QStringLiteral("--no-pacing"), QStringLiteral("--trace"), trace}));
    QVERIFY(m_recording->trafficLog()->start(logPath));
    QTRY_VERIFY_WITH_TIMEOUT(m_linkUp, 20000);
    // The polling list runs: the status record has been answered.
    const int statusWord = columnOf("Status word");
    QTRY_VERIFY_WITH_TIMEOUT(m_recording->values()->value(statusWord) == 9.0, 20000);

    // The faults, each while the program polls: CR LF line ends, bytes that are no text, a
    // line that never ends.
    control("crlf on");
    QTest::qWait(300);
    control("crlf off");
    control("garbage 40");
    QTest::qWait(200);
    control("flood 300");
    QTest::qWait(300);

    // Unplugged while quiet (nothing in flight), then plugged in again.
    control("silent on");
    QTest::qWait(400);
    control("unplug");
    QTRY_VERIFY_WITH_TIMEOUT(!m_open, 10000);
    control("replug");
    const QString second = nextPortName(5000);
    QVERIFY(second.startsWith(QLatin1Char('/')));
    control("silent off");
    emit sigOpenCommunication(second);
    QTRY_VERIFY_WITH_TIMEOUT(m_open, 10000);
    QElapsedTimer clock;
    clock.start();
    QTRY_VERIFY_WITH_TIMEOUT(m_linkUp, 45000);
    qInfo("link up %lld ms after the re-plug", clock.elapsed());
    QTest::qWait(500);

    control("silent on");
    QTest::qWait(400);
    emit sigCloseCommunication();
    QTRY_VERIFY_WITH_TIMEOUT(!m_open, 10000);

    QByteArray wireIn;
    QByteArray wireOut;
    QByteArray transmitted;
    QByteArray received;
    int lines = 0;
    // The simulator writes its trace as it goes; the last records may lag a little.
    QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                wireIn.clear();
                wireOut.clear();
                readTrace(trace, &wireIn, &wireOut);
                return wireOut.size() > 0 && QFileInfo(logPath).size() > 0 && [&] {
                    transmitted.clear();
                    received.clear();
                    lines = 0;
                    readTrafficLog(logPath, &transmitted, &received, &lines);
                    return received.size() == wireOut.size() && transmitted.size() == wireIn.size();
                }();
            }(),
            10000);
    qInfo("%d log lines, %lld bytes sent, %lld bytes received", lines, qint64(wireIn.size()),
          qint64(wireOut.size()));
    QVERIFY(lines > 50);
    QVERIFY(wireOut.contains("\r\n"));
    QVERIFY(wireOut.contains(QByteArray(300, '\0')) || wireOut.size() > 300);
    QCOMPARE(received, wireOut);
    QCOMPARE(transmitted, wireIn);
}

void TestRecordingWithSimulator::valuesMatchTheSimulatorAcrossAReconnect()
{
    const QString path = m_dir.filePath(QStringLiteral("values.csv"));
    // Complete rows are counted in the 300 ms after the values are first known, which
    // wants the rest of a polling cycle to fit in it: replies as fast as the pseudo-terminal
    // passes them, without an adapter's latency timer (which adds up to 16 ms to each).
    QVERIFY(start({QStringLiteral("--module"), QStringLiteral("0x93"),
                   QStringLiteral("--no-pacing"), QStringLiteral("--latency"),
                   QStringLiteral("0")}));
    ValueRecorder *values = m_recording->values();
    values->setIntervalMs(ValueRecorder::MinimumIntervalMs);
    QVERIFY(values->startFile(path));

    const auto known = [values] {
        return values->value(columnOf("SHG oven set-point")) == 150.0
               && values->value(columnOf("THG oven set-point")) == 60.0
               && values->value(columnOf("Crystal spot")) == 3.0
               // About 8 %, with the device's measurement noise.
               && qAbs(values->value(columnOf("Humidity")) - 8.0) <= 1.0
               && values->value(columnOf("Status word")) == 9.0
               && values->value(columnOf("Division factor")) == 1.0;
    };
    QElapsedTimer clock;
    clock.start();
    QTRY_VERIFY_WITH_TIMEOUT(known(), 30000);
    qInfo("first connection: known values after %lld ms", clock.elapsed());
    QTest::qWait(300);

    control("unplug");
    QTRY_VERIFY_WITH_TIMEOUT(!m_open, 10000);
    QTest::qWait(400);
    control("replug");
    const QString second = nextPortName(5000);
    QVERIFY(second.startsWith(QLatin1Char('/')));
    emit sigOpenCommunication(second);
    QTRY_VERIFY_WITH_TIMEOUT(m_open, 10000);
    clock.restart();
    QTRY_VERIFY_WITH_TIMEOUT(known(), 45000);
    qInfo("second connection: known values after %lld ms", clock.elapsed());
    QTest::qWait(300);
    values->stopFile();

    QString error;
    const QVector<QStringList> rows = readCsvWithPython(path, &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QVERIFY(rows.size() > 10);
    QCOMPARE(rows.at(0).at(columnOf("SHG oven actual") + 1),
             QStringLiteral("SHG oven actual [°C]"));
    const auto cell = [](const QStringList &row, const char *name) {
        return row.at(columnOf(name) + 1);
    };
    const auto empty = [](const QStringList &row) {
        for (int column = 1; column < row.size(); ++column) {
            if (!row.at(column).isEmpty()) {
                return false;
            }
        }
        return true;
    };
    // Empty before the first report, filled with what the device says, empty while
    // unplugged, filled again after the re-plug.
    QVERIFY(empty(rows.at(1)));
    int phase = 0;
    int filledRows = 0;
    int ovenRows = 0;
    int temperatureRows = 0;
    for (int i = 1; i < rows.size(); ++i) {
        const QStringList &row = rows.at(i);
        const bool complete = cell(row, "SHG oven set-point") == QLatin1String("150")
                              && cell(row, "THG oven set-point") == QLatin1String("60")
                              && cell(row, "Crystal spot") == QLatin1String("3")
                              && cell(row, "Status word") == QLatin1String("9")
                              && qAbs(cell(row, "Humidity").toInt() - 8) <= 1
                              && cell(row, "Module error code") == QLatin1String("0");
        if (complete) {
            ++filledRows;
            // The virtual laser has six temperature channels; the other four are no
            // measurement and stay empty, never 0.
            for (const char *absent :
                 {"Temperature 7", "Temperature 8", "Temperature 9", "Temperature 10"}) {
                QVERIFY2(cell(row, absent).isEmpty(), absent);
            }
            if (!cell(row, "Temperature 1").isEmpty()) {
                ++temperatureRows;
            }
            bool number = false;
            const double oven = cell(row, "SHG oven actual").toDouble(&number);
            if (number) {
                ++ovenRows;
                QVERIFY(oven > 20.0 && oven < 155.0);
            }
            if (phase == 0 || phase == 2) {
                ++phase;
            }
        } else if (empty(row) && phase == 1) {
            phase = 2;
        }
    }
    QCOMPARE(phase, 3);
    QVERIFY(filledRows >= 4);
    QVERIFY(ovenRows >= 2);
    QVERIFY(temperatureRows >= 2);
}

void TestRecordingWithSimulator::trendsFillWhileTheOvensWarmUp()
{
    // The device clock runs 30 times faster; the plot is drawn on that clock, so a few
    // seconds here are minutes of warm-up on the page.
    static constexpr int Speed = 30;
    QVERIFY(start({QStringLiteral("--module"), QStringLiteral("0x93"),
                   QStringLiteral("--no-pacing"), QStringLiteral("--speed"), QString::number(Speed),
                   QStringLiteral("--churn"), QStringLiteral("20")}));
    ValueRecorder *values = m_recording->values();
    values->setIntervalMs(ValueRecorder::MinimumIntervalMs);
    TrendsModel model(RecordedQuantities::trendIndexes().size(), 10000);
    const qint64 origin = QDateTime::currentMSecsSinceEpoch();
    connect(values, &ValueRecorder::sigSample, &model,
            [&model, origin](qint64 time, const QVector<double> &row) {
                QVector<float> trend;
                for (const int index : RecordedQuantities::trendIndexes()) {
                    trend.append(float(row.at(index)));
                }
                model.append(origin + (time - origin) * Speed, trend);
            });
    TrendsPage page(&model);
    page.setWindowIndex(0);
    for (int series = 0; series < model.seriesCount(); ++series) {
        page.setSeriesShown(series, true);
    }
    page.resize(1200, 820);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));

    QTRY_VERIFY_WITH_TIMEOUT(m_linkUp && m_controller, 20000);
    // The module starts heating at power-up; let it cool to near room temperature first.
    const int oven1Column = columnOf("SHG oven actual");
    const int oven1 = RecordedQuantities::trendIndexes().indexOf(oven1Column);
    m_controller->slotSendManualCommand("ls_enable=2\n");
    // The plot's own newest point: the recorder's latest value runs up to one interval (three
    // seconds of device time) ahead of the row the plot last took.
    QTRY_VERIFY_WITH_TIMEOUT(model.size() > 0 && model.value(oven1, model.size() - 1) < 35.0f,
                             30000);
    const int warmUpStart = model.size() - 1;
    const qint64 warmUpTime = model.time(warmUpStart);
    m_controller->slotSendManualCommand("ls_enable=4\n");
    // Five minutes of device time.
    QTRY_VERIFY_WITH_TIMEOUT(model.time(model.size() - 1) - warmUpTime > 5 * 60 * 1000, 30000);
    page.redraw();
    QVERIFY(page.drawnPointCount(oven1) > 20);
    // The oven warmed up from room temperature towards its set-point of 150 °C.
    const float first = model.value(oven1, warmUpStart);
    const float last = model.value(oven1, model.size() - 1);
    QVERIFY2(first < 40.0f && last > 140.0f,
             qPrintable(QStringLiteral("%1 -> %2").arg(double(first)).arg(double(last))));

    const QImage shot = page.grab().toImage();
    QVERIFY(!shot.isNull());
    QString folder = qEnvironmentVariable("VELUTRA_SCREENSHOT_DIR");
    if (folder.isEmpty() && qEnvironmentVariableIsSet("VELUTRA_BUILD_DIR")) {
        folder = qEnvironmentVariable("VELUTRA_BUILD_DIR") + QStringLiteral("/screenshots");
    }
    if (!folder.isEmpty()) {
        QDir().mkpath(folder);
        QVERIFY(shot.save(QDir(folder).filePath(QStringLiteral("trends-page.png"))));
    }
}

QTEST_MAIN(TestRecordingWithSimulator)
#include "tst_recordingwithsimulator.moc"
