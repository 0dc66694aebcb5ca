#ifndef LOGGER_H
#define LOGGER_H

#include <QString>

class AbstractAppender;

// The developer log: one process-wide sink for Qt's own qDebug/qInfo/qWarning
// output and for explicit writes, fanned out to every registered appender.
// Safe to call from any thread.
class Logger
{
public:
    enum LogLevel { Trace, Debug, Info, Warning, Error, Fatal };

    // Takes ownership. The first registration also installs the Qt message
    // handler, so that everything Qt and the program print reaches the appenders.
    static void registerAppender(AbstractAppender *appender);

    // Drops and deletes every appender and gives Qt its default handler back.
    static void removeAllAppenders();

    static void write(LogLevel level, const char *file, int line, const char *function,
                      const char *category, const QString &message);

    static QString levelToString(LogLevel level);

private:
    Logger() = delete;
};

#endif // LOGGER_H
