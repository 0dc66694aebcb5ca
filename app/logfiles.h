#ifndef LOGFILES_H
#define LOGFILES_H

#include <QString>

class AbstractAppender;

namespace LogFiles {

// How many daily files survive a start.
inline constexpr int KeptFiles = 10;
// The largest a daily file grows: past it, its oldest lines make way for new ones.
inline constexpr qint64 MaximumFileBytes = 20 * 1024 * 1024;

// The per-application data folder.
QString logFolder();

// Today's file, "applog_yyMMdd.log", in `folder`, which is created with its
// parents when missing. Empty when the folder cannot be created.
QString logFilePath(const QString &folder = logFolder());

// Deletes the oldest "applog_*.log" files of `folder` until KeptFiles remain.
// Nothing else in the folder is touched; a missing folder is left alone.
void pruneLogFiles(const QString &folder = logFolder());

// Start-up: registers a file appender on today's file (at most maximumBytes),
// or a console appender when there is no usable folder, writes the start-up
// line and prunes old files. Returns the registered appender (owned by the logger).
AbstractAppender *startLogging(const QString &folder = logFolder(),
                               qint64 maximumBytes = MaximumFileBytes);

// Debug traces of every "velutra.*" category (and of code without a category) are off
// unless enabled here (--verbose); QT_LOGGING_RULES still overrides both ways.
void setTracesEnabled(bool enabled);

} // namespace LogFiles

#endif // LOGFILES_H
