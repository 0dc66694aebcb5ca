#ifndef ABSTRACTAPPENDER_H
#define ABSTRACTAPPENDER_H

#include "logger.h"

#include <QDateTime>
#include <QMutex>
#include <QString>

// A destination of the developer log. Lines below the details level are dropped.
class AbstractAppender
{
public:
    AbstractAppender() = default;
    virtual ~AbstractAppender() = default;
    AbstractAppender(const AbstractAppender &) = delete;
    AbstractAppender &operator=(const AbstractAppender &) = delete;

    Logger::LogLevel detailsLevel() const;
    void setDetailsLevel(Logger::LogLevel level);

    void write(const QDateTime &timeStamp, Logger::LogLevel level, const char *file, int line,
               const char *function, const QString &category, const QString &message);

protected:
    virtual void append(const QDateTime &timeStamp, Logger::LogLevel level, const char *file,
                        int line, const char *function, const QString &category,
                        const QString &message)
            = 0;

private:
    mutable QMutex m_mutex;
    Logger::LogLevel m_detailsLevel = Logger::Debug;
};

#endif // ABSTRACTAPPENDER_H
