#include "consoleappender.h"

#include <cstdio>

void ConsoleAppender::append(const QDateTime &timeStamp, Logger::LogLevel level, const char *file,
                             int line, const char *function, const QString &category,
                             const QString &message)
{
    const QByteArray text
            = formattedString(timeStamp, level, file, line, function, category, message)
                      .toLocal8Bit();
    std::fwrite(text.constData(), 1, size_t(text.size()), stderr);
    std::fflush(stderr);
}
