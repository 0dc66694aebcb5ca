#include "logepisode.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <limits>
#include <utility>

LogEpisode::LogEpisode(Writer writer)
    : m_writer(std::move(writer))
{ }

void LogEpisode::setSubject(const QString &subject)
{
    m_subject = subject;
}

QString LogEpisode::summaryLine(const QString &subject, int suppressed)
{
    // Both in one arg() call: a subject holding "%1" stays as it is.
    return QCoreApplication::translate("LogEpisode", "%1 (%2 more suppressed)")
            .arg(subject, QString::number(suppressed));
}

void LogEpisode::setVerbatimCount(int count)
{
    m_verbatimCount = qMax(0, count);
}

void LogEpisode::setQuietMs(qint64 milliseconds)
{
    m_quietMs = milliseconds;
}

void LogEpisode::setSummaryIntervalMs(qint64 milliseconds)
{
    m_summaryIntervalMs = milliseconds;
}

void LogEpisode::record(const QString &message)
{
    record(message, monotonicMs());
}

void LogEpisode::record(const QString &message, qint64 nowMs)
{
    if (!m_active) {
        m_active = true;
        m_count = 0;
        m_suppressed = 0;
        m_lastSummaryMs = nowMs;
        m_firstMessage = message;
    }
    m_lastMessageMs = nowMs;
    // Saturate rather than wrap: a count is only ever reported, never relied on.
    if (m_count < std::numeric_limits<int>::max()) {
        ++m_count;
    }
    if (m_count <= m_verbatimCount) {
        if (m_writer) {
            m_writer(message);
        }
        return;
    }
    if (m_suppressed < std::numeric_limits<int>::max()) {
        ++m_suppressed;
    }
}

void LogEpisode::poll()
{
    if (m_active) {
        poll(monotonicMs());
    }
}

void LogEpisode::poll(qint64 nowMs)
{
    if (!m_active) {
        return;
    }
    if (m_quietMs >= 0 && nowMs - m_lastMessageMs >= m_quietMs) {
        end();
        return;
    }
    if (m_suppressed > 0 && m_summaryIntervalMs > 0
        && nowMs - m_lastSummaryMs >= m_summaryIntervalMs) {
        writeSummary();
        m_lastSummaryMs = nowMs;
    }
}

void LogEpisode::end()
{
    if (!m_active) {
        return;
    }
    writeSummary();
    m_active = false;
    m_count = 0;
    m_firstMessage.clear();
}

bool LogEpisode::isActive() const
{
    return m_active;
}

int LogEpisode::count() const
{
    return m_count;
}

int LogEpisode::suppressed() const
{
    return m_suppressed;
}

qint64 LogEpisode::monotonicMs()
{
    static const QElapsedTimer s_clock = [] {
        QElapsedTimer clock;
        clock.start();
        return clock;
    }();
    return s_clock.elapsed();
}

void LogEpisode::writeSummary()
{
    if (m_suppressed > 0 && m_writer) {
        m_writer(summaryLine(m_subject.isEmpty() ? m_firstMessage : m_subject, m_suppressed));
    }
    m_suppressed = 0;
}
