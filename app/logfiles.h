#ifndef LOGFILES_H
#define LOGFILES_H

#include <QString>

class AbstractAppender;

namespace LogFiles {

// How many daily files survive a start.
inline constexpr int KeptFiles = 10;

// The per-application data folder.
QString logFolder();

// Today's file, "applog_yyMMdd.log", in `folder`, which is created with its
// parents when missing. Empty when the folder cannot be created.
QString logFilePath(const QString &folder = logFolder());

// Deletes the oldest "applog_*.log" files of `folder` until KeptFiles remain.
// Nothing else in the folder is touched; a missing folder is left alone.
void pruneLogFiles(const QString &folder = logFolder());

// Start-up: registers a file appender on today's file, or a console appender
// when there is no usable folder, writes the start-up line and prunes old
// files. Returns the registered appender (owned by the logger).
AbstractAppender *startLogging(const QString &folder = logFolder());

} // namespace LogFiles

#endif // LOGFILES_H
