#ifndef ABSTRACTSTRINGAPPENDER_H
#define ABSTRACTSTRINGAPPENDER_H

#include "abstractappender.h"

// An appender that writes each entry as one text line:
//   2026-11-21 14:03:07.512 [Info   ] <main:qMain> ***** Application startup *****
// time stamp, level, source (file base name and function), message.
class AbstractStringAppender : public AbstractAppender
{
public:
    static QString formattedString(const QDateTime &timeStamp, Logger::LogLevel level,
                                   const char *file, int line, const char *function,
                                   const QString &category, const QString &message);

protected:
    // Qt's function names carry the whole signature; the log shows only "Class::method".
    static QString stripFunctionName(const char *function);
};

#endif // ABSTRACTSTRINGAPPENDER_H
