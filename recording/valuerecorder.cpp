#include "valuerecorder.h"

#include "recordedquantities.h"
#include "velutracontroller.h"
#include "velutraresponsedecoder.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

namespace {

static constexpr double NotReported = std::numeric_limits<double>::quiet_NaN();
static constexpr char TimeHeader[] = "Time";
static constexpr char LineEnd[] = "\r\n";
static constexpr int SuffixDigits = 4;

} // namespace

ValueRecorder::ValueRecorder(QObject *parent)
    : QObject(parent)
    , m_values(RecordedQuantities::count(), NotReported)
    , m_reported(RecordedQuantities::count(), NotReported)
    , m_absenceValues(RecordedQuantities::count(), {NotReported, NotReported, NotReported})
    , m_timer(new QTimer(this))
{
    m_timer->setInterval(DefaultIntervalMs);
    connect(m_timer, &QTimer::timeout, this, &ValueRecorder::recordRow);
    m_timer->start();
}

ValueRecorder::~ValueRecorder()
{
    m_file.close();
}

void ValueRecorder::attach(VelutraController *controller)
{
    if (controller) {
        attachSources(controller->decoder(), controller);
    }
}

QStringList ValueRecorder::attachSources(QObject *decoder, QObject *controller)
{
    for (const QMetaObject::Connection &connection : qAsConst(m_connections)) {
        disconnect(connection);
    }
    m_connections.clear();

    QStringList missing;
    const QVector<RecordedQuantities::Quantity> &quantities = RecordedQuantities::all();
    for (int i = 0; i < quantities.size(); ++i) {
        const RecordedQuantities::Quantity &quantity = quantities.at(i);
        QObject *sender = quantity.signal.source == RecordedQuantities::Source::Decoder
                                  ? decoder
                                  : controller;
        if (!sender) {
            continue;
        }
        connectTap(
                sender, quantity.signal, [this, i](double value) { setValue(i, value); }, &missing);
        for (int signal = 0; signal < int(std::size(quantity.absentWhenZero)); ++signal) {
            if (const RecordedQuantities::Tap &tap = quantity.absentWhenZero[signal]) {
                connectTap(
                        sender, tap,
                        [this, i, signal](double value) { setAbsenceValue(i, signal, value); },
                        &missing);
            }
        }
    }
    if (!missing.isEmpty()) {
        emit sigStatusMessage(
                tr("Value recording: no signal for %1.").arg(missing.join(QStringLiteral(", "))));
    }
    return missing;
}

void ValueRecorder::connectTap(QObject *sender, const RecordedQuantities::Tap &tap,
                               RecordedQuantities::ValueSink sink, QStringList *missing)
{
    const QMetaObject::Connection connection = tap.connect(sender, this, std::move(sink));
    if (!connection) {
        missing->append(QString::fromLatin1(tap.name()));
        return;
    }
    m_connections.append(connection);
}

int ValueRecorder::intervalMs() const
{
    return m_timer->interval();
}

void ValueRecorder::setIntervalMs(int milliseconds)
{
    m_timer->setInterval(qMax(milliseconds, MinimumIntervalMs));
}

void ValueRecorder::setMaximumFileBytes(qint64 bytes)
{
    m_maximumFileBytes = bytes;
}

bool ValueRecorder::startFile(const QString &path)
{
    stopFile();
    m_basePath = QFileInfo(path).absoluteFilePath();
    m_suffix = 0;
    if (!openNext(QDate::currentDate())) {
        m_basePath.clear();
        return false;
    }
    emit sigStatusMessage(tr("Value recording: recording to %1 every %2 ms.")
                                  .arg(m_file.fileName())
                                  .arg(intervalMs()));
    return true;
}

void ValueRecorder::stopFile()
{
    const QString name = m_file.stop();
    if (name.isEmpty()) {
        return;
    }
    m_basePath.clear();
    emit sigStatusMessage(tr("Value recording: recording to %1 stopped.").arg(name));
    emit sigRecordingChanged(false, QString());
}

bool ValueRecorder::isRecording() const
{
    return m_file.isRecording();
}

QString ValueRecorder::currentFileName() const
{
    return m_file.recordingName();
}

double ValueRecorder::value(int quantity) const
{
    return m_values.value(quantity, NotReported);
}

const QVector<double> &ValueRecorder::values() const
{
    return m_values;
}

QString ValueRecorder::timeText(const QDateTime &time)
{
    const QDateTime local = time.toLocalTime();
    const int offsetMinutes = local.offsetFromUtc() / 60;
    const int magnitude = qAbs(offsetMinutes);
    return local.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz"))
           + (offsetMinutes < 0 ? QLatin1Char('-') : QLatin1Char('+'))
           + QStringLiteral("%1:%2")
                     .arg(magnitude / 60, 2, 10, QLatin1Char('0'))
                     .arg(magnitude % 60, 2, 10, QLatin1Char('0'));
}

QString ValueRecorder::csvField(const QString &text)
{
    static const QString s_special = QStringLiteral(",\"\r\n");
    bool needsQuotes = false;
    for (const QChar character : text) {
        if (s_special.contains(character)) {
            needsQuotes = true;
            break;
        }
    }
    if (!needsQuotes) {
        return text;
    }
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

void ValueRecorder::slotLinkUp(bool up)
{
    if (!up) {
        m_values.fill(NotReported);
        m_reported.fill(NotReported);
        m_absenceValues.fill({NotReported, NotReported, NotReported});
    }
}

void ValueRecorder::recordRow()
{
    recordRowAt(QDateTime::currentDateTime());
}

void ValueRecorder::recordRowAt(const QDateTime &time)
{
    const QDateTime now = time.toLocalTime();
    emit sigSample(now.toMSecsSinceEpoch(), m_values);
    if (!m_file.isOpen()) {
        return;
    }
    QString row = timeText(now);
    for (int i = 0; i < m_values.size(); ++i) {
        row += QLatin1Char(',') + csvField(RecordedQuantities::cellText(i, m_values.at(i)));
    }
    row += QLatin1String(LineEnd);
    const QByteArray bytes = row.toUtf8();
    const QDate today = now.date();
    if (today != m_fileDay || m_file.size() + bytes.size() > m_maximumFileBytes) {
        m_file.close();
        if (!openNext(today)) {
            return;
        }
    }
    writeText(bytes);
}

void ValueRecorder::setValue(int quantity, double value)
{
    m_reported[quantity] = value;
    m_values[quantity] = isAbsent(quantity) ? NotReported : value;
}

void ValueRecorder::setAbsenceValue(int quantity, int signal, double value)
{
    m_absenceValues[quantity][signal] = value;
    m_values[quantity] = isAbsent(quantity) ? NotReported : m_reported.at(quantity);
}

bool ValueRecorder::isAbsent(int quantity) const
{
    const RecordedQuantities::Quantity &entry = RecordedQuantities::all().at(quantity);
    bool any = false;
    for (int signal = 0; signal < int(m_absenceValues.at(quantity).size()); ++signal) {
        if (!entry.absentWhenZero[signal]) {
            continue;
        }
        // Not known yet, or not zero: the channel counts as fitted.
        if (m_absenceValues.at(quantity).at(signal) != 0.0) {
            return false;
        }
        any = true;
    }
    return any;
}

bool ValueRecorder::openNext(const QDate &day)
{
    const QFileInfo base(m_basePath);
    QDir().mkpath(base.absolutePath());
    const QString stem = base.absolutePath() + QLatin1Char('/') + base.completeBaseName();
    const QString suffix = base.suffix().isEmpty() ? QString() : QLatin1Char('.') + base.suffix();
    // The first file has the name asked for; rollovers and names already taken add a number.
    QString name;
    do {
        name = m_suffix == 0 ? m_basePath
                             : QStringLiteral("%1_%2%3")
                                       .arg(stem)
                                       .arg(m_suffix, SuffixDigits, 10, QLatin1Char('0'))
                                       .arg(suffix);
        ++m_suffix;
    } while (QFileInfo::exists(name));

    m_file.setFileName(name);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) {
        failAndStop(tr("cannot write to %1: %2").arg(name, m_file.errorString()));
        return false;
    }
    m_fileDay = day;
    QString header = QLatin1String(TimeHeader);
    for (int i = 0; i < RecordedQuantities::count(); ++i) {
        header += QLatin1Char(',') + csvField(RecordedQuantities::header(i));
    }
    header += QLatin1String(LineEnd);
    if (!writeText(header.toUtf8())) {
        return false;
    }
    emit sigRecordingChanged(true, name);
    return true;
}

bool ValueRecorder::writeText(const QByteArray &bytes)
{
    if (m_file.write(bytes) != bytes.size()) {
        failAndStop(tr("writing to %1 failed: %2").arg(m_file.fileName(), m_file.errorString()));
        return false;
    }
    return true;
}

void ValueRecorder::failAndStop(const QString &what)
{
    m_file.close();
    m_basePath.clear();
    emit sigStatusMessage(tr("Value recording: %1. Values are not recorded.").arg(what));
    emit sigRecordingChanged(false, QString());
}
