#ifndef VELUTRASIMPORT_H
#define VELUTRASIMPORT_H

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QList>
#include <QObject>
#include <QRandomGenerator>
#include <QString>
#include <QTimer>

class QSocketNotifier;

// The device's end of the serial line: a pseudo-terminal whose other end the program
// opens like a real port. Incoming bytes are framed into command lines; outgoing
// lines are mangled by the wire faults that are switched on and then leave at the
// byte rate of 38400 baud 8N1, unless pacing is off. Between that line and the program
// sits what a USB-serial adapter would put there: a buffer that is handed on when its
// latency timer expires, or at once when it is full.
class VelutraSimPort : public QObject
{
    Q_OBJECT

public:
    static constexpr double s_bytesPerSecond = 3840.0;
    static constexpr int s_maxLineLength = 4096;
    static constexpr qint64 s_maxQueuedBytes = 1 << 20;
    // What the common USB-serial adapters wait before they hand on a partial buffer.
    static constexpr int s_defaultLatencyMs = 16;
    static constexpr int s_maxLatencyMs = 255;
    // The adapter's receive buffer; full, it goes out without waiting for the timer. At
    // 3840 bytes/s it takes 67 ms to fill, so with the usual latencies the timer decides.
    static constexpr int s_adapterBufferBytes = 256;

    explicit VelutraSimPort(QObject *parent = nullptr);
    ~VelutraSimPort() override;

    bool open(QString *error);
    void close();
    bool isOpen() const { return m_master >= 0; }
    QString slavePath() const { return m_slavePath; }
    // The name the program should open: the link when one is asked for.
    QString portName() const { return m_linkPath.isEmpty() ? m_slavePath : m_linkPath; }

    void setLinkPath(const QString &path) { m_linkPath = path; }
    void setPacing(bool on) { m_pacing = on; }
    bool pacing() const { return m_pacing; }
    // 0: every byte goes to the pseudo-terminal as soon as the line has carried it.
    void setLatencyMs(int ms);
    int latencyMs() const { return m_latencyMs; }
    bool setTraceFile(const QString &path, QString *error);
    // A remark in the trace, among the bytes ("---" records).
    void note(const QByteArray &text) { trace("---", text); }

    // Wire faults
    void setSilent(bool on) { m_silent = on; }
    bool silent() const { return m_silent; }
    void setCrLf(bool on) { m_crlf = on; }
    bool crlf() const { return m_crlf; }
    void setFragments(int bytes, int pauseMs);
    int fragmentBytes() const { return m_fragmentBytes; }
    int fragmentPauseMs() const { return m_fragmentPauseMs; }
    void setGarbageEach(int bytes) { m_garbageEach = qMax(0, bytes); }
    int garbageEach() const { return m_garbageEach; }
    void setUnknownEach(bool on) { m_unknownEach = on; }
    bool unknownEach() const { return m_unknownEach; }

    // Whole reply lines from the device; subject to the wire faults.
    void sendLines(const QByteArray &lines);
    // Bytes as they are, ahead of nothing and split by nothing.
    void sendRaw(const QByteArray &bytes);
    QByteArray garbage(int count);
    // Bytes without any line end; a negative count floods until stopFlood().
    void startFlood(qint64 count);
    void stopFlood();
    bool flooding() const { return m_floodLeft != 0; }

    qint64 bytesWritten() const { return m_bytesWritten; }
    qint64 bytesDropped() const { return m_bytesDropped; }
    qint64 queuedBytes() const;

signals:
    void sigLineReceived(const QByteArray &line);

private:
    struct Chunk
    {
        QByteArray bytes;
        int offset = 0;
        int pauseAfterMs = 0;
    };

    void enqueue(const QByteArray &bytes, int pauseAfterMs);
    void readMaster();
    void pump();
    void schedule(qint64 delayNs);
    // Hands bytes the line has carried on towards the program; returns how many were
    // taken, or -1 with errno set when the pseudo-terminal refused them.
    qint64 carry(const char *data, qint64 count);
    qint64 writeToProgram(const char *data, qint64 count, qint64 atNs);
    // After a refused write: true when the program is only not reading yet, and the write
    // notifier will say when to go on; false when the line is broken and everything that
    // was waiting to go out has been dropped.
    bool waitForDrainOrDrop();
    void scheduleDelivery();
    void deliverHeld();
    void onWritable();
    // atNs: when it happened on the port's clock; by default, now.
    void trace(const char *direction, const QByteArray &bytes, qint64 atNs = -1);
    void removeLink();

    int m_master = -1;
    int m_slave = -1; // kept open so the master never reads EIO while no program is attached
    QString m_slavePath;
    QString m_linkPath;
    bool m_linkCreated = false;
    QSocketNotifier *m_readNotifier = nullptr;
    QSocketNotifier *m_writeNotifier = nullptr;
    QTimer m_pumpTimer;
    QElapsedTimer m_clock;
    bool m_pacing = true;
    double m_credit = 0.0;
    qint64 m_lastPumpNs = 0;
    qint64 m_pauseUntilNs = 0;
    QList<Chunk> m_queue;
    int m_latencyMs = 0;
    QByteArray m_held; // in the adapter, waiting for its timer
    QTimer m_latencyTimer;
    qint64 m_lastDeliveryNs = 0;
    qint64 m_deliveryDueNs = 0;
    qint64 m_floodLeft = 0;
    qint64 m_floodCounter = 0;
    QByteArray m_inbox;
    bool m_discarding = false;
    qint64 m_bytesWritten = 0;
    qint64 m_bytesDropped = 0;
    QFile m_trace;
    QRandomGenerator m_random{3840u};

    bool m_silent = false;
    bool m_crlf = false;
    int m_fragmentBytes = 0;
    int m_fragmentPauseMs = 0;
    int m_garbageEach = 0;
    bool m_unknownEach = false;
    int m_unknownCounter = 0;
};

#endif // VELUTRASIMPORT_H
