#ifndef CONSOLEAPPENDER_H
#define CONSOLEAPPENDER_H

#include "abstractstringappender.h"

// Writes formatted log lines to standard error.
class ConsoleAppender : public AbstractStringAppender
{
protected:
    void append(const QDateTime &timeStamp, Logger::LogLevel level, const char *file, int line,
                const char *function, const QString &category, const QString &message) override;
};

#endif // CONSOLEAPPENDER_H
