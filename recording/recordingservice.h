#ifndef RECORDINGSERVICE_H
#define RECORDINGSERVICE_H

#include <QObject>

class TrafficLogWriter;
class TrendsModel;
class ValueRecorder;
class VelutraController;
class VelutraSerialHandler;

// Everything that records, wired to the link: the traffic log, the value recorder and the
// trends behind it. It outlives connections: the handler is attached once, each new
// controller as it is made, and the link going down empties the values.
class RecordingService : public QObject
{
    Q_OBJECT

public:
    explicit RecordingService(QObject *parent = nullptr);

    // The handler's traffic reaches the log; its open, close and link status reach the values.
    void attachHandler(VelutraSerialHandler *handler);
    // Values come from this controller and its decoder from now on.
    void attachController(VelutraController *controller);

    // Applies to the recorder and resizes the trends to 24 h at that interval (dropping
    // what they held); saved in the settings.
    void setIntervalMs(int milliseconds);

    TrafficLogWriter *trafficLog() const;
    ValueRecorder *values() const;
    TrendsModel *trends() const;

private slots:
    void onSample(qint64 msecsSinceEpoch, const QVector<double> &values);

private:
    TrafficLogWriter *m_trafficLog = nullptr;
    ValueRecorder *m_values = nullptr;
    TrendsModel *m_trends = nullptr;
    QVector<float> m_trendRow;
};

#endif // RECORDINGSERVICE_H
