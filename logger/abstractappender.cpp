#include "abstractappender.h"

#include <QMutexLocker>

Logger::LogLevel AbstractAppender::detailsLevel() const
{
    QMutexLocker locker(&m_mutex);
    return m_detailsLevel;
}

void AbstractAppender::setDetailsLevel(Logger::LogLevel level)
{
    QMutexLocker locker(&m_mutex);
    m_detailsLevel = level;
}

void AbstractAppender::write(const QDateTime &timeStamp, Logger::LogLevel level, const char *file,
                             int line, const char *function, const QString &category,
                             const QString &message)
{
    QMutexLocker locker(&m_mutex);
    if (level < m_detailsLevel) {
        return;
    }
    append(timeStamp, level, file, line, function, category, message);
}
