#ifndef VALUERECORDER_H
#define VALUERECORDER_H

#include "recordedquantities.h"
#include "recordingfile.h"

#include <QDate>
#include <QList>
#include <QMetaObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <array>

class QTimer;
class VelutraController;

// Keeps the latest value of every recorded quantity (see RecordedQuantities) and, once per
// interval, makes a row of them: written to a CSV file while recording, and handed to the
// trends through sigSample() always.
//
// Values arrive through the typed, change-filtered signals of the decoder and the controller
// of the current connection: nothing is polled for recording. A value never reported, or
// not reported since the link went down, is NaN here and an empty cell in the file; so is
// the value of a channel the device reports as not fitted (see RecordedQuantities).
//
// The file: RFC 4180 (CRLF, fields quoted where they need it), UTF-8 without a byte-order
// mark, a header row of names and units, the time as ISO 8601 local time with milliseconds
// and the UTC offset. Rows are flushed as they are written. A new file is started at local
// midnight and when the next row would pass the size limit: "name.csv", "name_0001.csv",
// "name_0002.csv"... An existing file is never overwritten; its name is skipped.
class ValueRecorder : public QObject
{
    Q_OBJECT

public:
    static constexpr int DefaultIntervalMs = 1000;
    // About one turn of the shortest polling list: a shorter interval would only repeat rows.
    static constexpr int MinimumIntervalMs = 100;
    static constexpr qint64 DefaultMaximumFileBytes = 64LL * 1024 * 1024;

    explicit ValueRecorder(QObject *parent = nullptr);
    ~ValueRecorder() override;

    // Listens to the controller's decoder and to the controller, instead of any earlier
    // ones; the values heard so far stay until the link reports down.
    void attach(VelutraController *controller);
    // The same with any two objects; returns the names of the table's signals that could not
    // be connected because an object is not of the class that sends them.
    QStringList attachSources(QObject *decoder, QObject *controller);

    int intervalMs() const;
    void setIntervalMs(int milliseconds);
    void setMaximumFileBytes(qint64 bytes);

    // Starts a new recording at path (folder made if missing). On failure the reason goes
    // out through sigStatusMessage() and false comes back; the program carries on.
    bool startFile(const QString &path);
    void stopFile();
    bool isRecording() const;
    // The file being written now (changes at each rollover); empty when not recording.
    QString currentFileName() const;

    double value(int quantity) const;
    const QVector<double> &values() const;

    // The row's time as it is written: 2025-03-14T09:41:27.123+01:00.
    static QString timeText(const QDateTime &time);
    // One CSV field, quoted when it holds a comma, a quote or a line break.
    static QString csvField(const QString &text);

public slots:
    // false: the link is down, every value is forgotten (empty cells until reported again).
    void slotLinkUp(bool up);
    // Makes a row now; the interval timer calls it.
    void recordRow();
    // The same for a given time (a new file starts when its day differs from the file's).
    void recordRowAt(const QDateTime &time);

signals:
    void sigSample(qint64 msecsSinceEpoch, const QVector<double> &values);
    void sigStatusMessage(const QString &message);
    void sigRecordingChanged(bool recording, const QString &fileName);

private:
    void setValue(int quantity, double value);
    void setAbsenceValue(int quantity, int signal, double value);
    bool isAbsent(int quantity) const;
    void connectTap(QObject *sender, const RecordedQuantities::Tap &tap,
                    RecordedQuantities::ValueSink sink, QStringList *missing);
    bool openNext(const QDate &day);
    bool writeText(const QByteArray &bytes);
    void failAndStop(const QString &what);

    // What is recorded, and what the device reported (they differ for absent channels).
    QVector<double> m_values;
    QVector<double> m_reported;
    // Per quantity, the last values of its absentWhenZero signals; NaN until reported.
    QVector<std::array<double, 3>> m_absenceValues;
    QList<QMetaObject::Connection> m_connections;
    QTimer *m_timer = nullptr;
    qint64 m_maximumFileBytes = DefaultMaximumFileBytes;

    // The path asked for, the suffix number last used, the day of the open file.
    QString m_basePath;
    int m_suffix = 0;
    QDate m_fileDay;
    RecordingFile m_file;
};

#endif // VALUERECORDER_H
