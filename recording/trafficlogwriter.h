#ifndef TRAFFICLOGWRITER_H
#define TRAFFICLOGWRITER_H

#include "recordingfile.h"

#include <QByteArray>
#include <QObject>
#include <QString>

// Appends the serial traffic to a plain-text file, one line per line on the wire, as it
// happens: "<tag>: TX: <bytes>" or "<tag>: RX: <bytes>", with the tag (its time of day put
// back, "COM3:14:31:07.042") and the direction mark the serial monitor shows. Printable ASCII stands as it is; every other byte, and "[" so
// that the escape can be read back without doubt, is written as "[0Dh]", the monitor's
// hexadecimal notation in brackets. Each line is flushed to the system before the next one,
// so a crash loses nothing that was received.
//
// The writer knows nothing of ports: it stays open while the link goes and comes back.
class TrafficLogWriter : public QObject
{
    Q_OBJECT

public:
    explicit TrafficLogWriter(QObject *parent = nullptr);
    ~TrafficLogWriter() override;

    // Opens the file for appending (made, with its folder, if missing). On failure the
    // reason goes out through sigStatusMessage() and false comes back.
    bool start(const QString &path);
    void stop();

    bool isRecording() const;
    QString fileName() const;
    qint64 fileSize() const;
    // "name (12.3 KiB)" while recording, empty otherwise.
    QString statusText() const;

    static QByteArray escaped(const QByteArray &bytes);
    // The inverse of escaped(); for tools and tests that read a log back.
    static QByteArray unescaped(const QByteArray &text);

public slots:
    void slotBytesReceived(const QString &tag, const QByteArray &bytes);
    void slotBytesTransmitted(const QString &tag, const QByteArray &bytes);

signals:
    // Start, stop and write failures, for the application log.
    void sigStatusMessage(const QString &message);
    // Recording started or stopped, or the file grew (at most a few times a second).
    void sigStatusChanged(bool recording, const QString &text);

private:
    void writeLine(const QString &tag, const char *direction, const QByteArray &bytes);
    void announceSize();

    RecordingFile m_file;
    qint64 m_lastAnnouncedMs = 0;
};

#endif // TRAFFICLOGWRITER_H
