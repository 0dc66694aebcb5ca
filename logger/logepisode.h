#ifndef LOGEPISODE_H
#define LOGEPISODE_H

#include <QString>

#include <functional>

// Keeps a repeating log message from flooding a log.
//
// An episode begins with the first message recorded and lasts while more keep
// coming. Its first few messages are written as they come; the rest are only
// counted. The count is written as one summary line when the episode ends: by
// end(), or by poll() once no message came for the quiet time. An episode that
// never pauses writes its count every summary interval instead, so that even a
// device babbling for days adds a handful of lines an hour.
//
// Not thread-safe: use it from the thread of its owner. Nothing is written from
// the destructor; the owner ends the episode while its writer is still valid.
class LogEpisode
{
public:
    using Writer = std::function<void(const QString &line)>;

    static constexpr int DefaultVerbatimCount = 10;
    static constexpr qint64 DefaultQuietMs = 10 * 1000;
    static constexpr qint64 DefaultSummaryIntervalMs = 5 * 60 * 1000;
    // A quiet time that never ends the episode: only end() does.
    static constexpr qint64 Never = -1;

    explicit LogEpisode(Writer writer);

    // The summary reads "<subject> (N more suppressed)". Without a subject of its
    // own, an episode is named by its first message.
    void setSubject(const QString &subject);
    static QString summaryLine(const QString &subject, int suppressed);

    void setVerbatimCount(int count);
    void setQuietMs(qint64 milliseconds);
    void setSummaryIntervalMs(qint64 milliseconds);

    // `nowMs` is any monotonic clock in milliseconds; the overloads without it
    // read the system's monotonic clock.
    void record(const QString &message);
    void record(const QString &message, qint64 nowMs);
    void poll();
    void poll(qint64 nowMs);
    void end();

    bool isActive() const;
    // Messages of the current episode, written or not.
    int count() const;
    // Messages counted since the last line about them.
    int suppressed() const;

    static qint64 monotonicMs();

private:
    void writeSummary();

    QString m_subject;
    QString m_firstMessage;
    Writer m_writer;
    int m_verbatimCount = DefaultVerbatimCount;
    qint64 m_quietMs = DefaultQuietMs;
    qint64 m_summaryIntervalMs = DefaultSummaryIntervalMs;

    bool m_active = false;
    int m_count = 0;
    int m_suppressed = 0;
    qint64 m_lastMessageMs = 0;
    qint64 m_lastSummaryMs = 0;
};

#endif // LOGEPISODE_H
