#include "recordingservice.h"

#include "recordedquantities.h"
#include "recordingsettings.h"
#include "trafficlogwriter.h"
#include "trendsmodel.h"
#include "valuerecorder.h"
#include "velutraserialhandler.h"

RecordingService::RecordingService(QObject *parent)
    : QObject(parent)
    , m_trafficLog(new TrafficLogWriter(this))
    , m_values(new ValueRecorder(this))
{
    const int interval = RecordingSettings::intervalMs();
    m_values->setIntervalMs(interval);
    m_trends = new TrendsModel(RecordedQuantities::trendIndexes().size(),
                               TrendsModel::capacityFor(m_values->intervalMs()), this);
    m_trendRow.resize(m_trends->seriesCount());
    connect(m_values, &ValueRecorder::sigSample, this, &RecordingService::onSample);
}

void RecordingService::attachHandler(VelutraSerialHandler *handler)
{
    // The handler lives in its own thread: these are queued, in the order emitted.
    connect(handler, &VelutraSerialHandler::sigBytesReceived, m_trafficLog,
            &TrafficLogWriter::slotBytesReceived);
    connect(handler, &VelutraSerialHandler::sigBytesDiscarded, m_trafficLog,
            &TrafficLogWriter::slotBytesReceived);
    connect(handler, &VelutraSerialHandler::sigBytesTransmitted, m_trafficLog,
            &TrafficLogWriter::slotBytesTransmitted);
    connect(handler, &VelutraSerialHandler::sigConnectedStatus, m_values,
            &ValueRecorder::slotLinkUp);
    connect(handler, &VelutraSerialHandler::sigCommunicationClosed, m_values,
            [this] { m_values->slotLinkUp(false); });
}

void RecordingService::attachController(VelutraController *controller)
{
    m_values->attach(controller);
}

void RecordingService::setIntervalMs(int milliseconds)
{
    m_values->setIntervalMs(milliseconds);
    RecordingSettings::setIntervalMs(m_values->intervalMs());
    m_trends->setCapacity(TrendsModel::capacityFor(m_values->intervalMs()));
}

TrafficLogWriter *RecordingService::trafficLog() const
{
    return m_trafficLog;
}

ValueRecorder *RecordingService::values() const
{
    return m_values;
}

TrendsModel *RecordingService::trends() const
{
    return m_trends;
}

void RecordingService::onSample(qint64 msecsSinceEpoch, const QVector<double> &values)
{
    const QVector<int> &indexes = RecordedQuantities::trendIndexes();
    for (int series = 0; series < indexes.size(); ++series) {
        m_trendRow[series] = static_cast<float>(values.at(indexes.at(series)));
    }
    m_trends->append(msecsSinceEpoch, m_trendRow);
}
