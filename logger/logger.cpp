#include "logger.h"

#include "abstractappender.h"

#include <QDateTime>
#include <QList>
#include <QMutex>
#include <QMutexLocker>

#include <cstdio>
#include <cstdlib>

namespace {

struct LoggerState
{
    QMutex mutex;
    QList<AbstractAppender *> appenders;
    QtMessageHandler previousHandler = nullptr;
    bool handlerInstalled = false;
};

LoggerState &state()
{
    static LoggerState s_state;
    return s_state;
}

Logger::LogLevel levelFor(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return Logger::Debug;
    case QtInfoMsg:
        return Logger::Info;
    case QtWarningMsg:
        return Logger::Warning;
    case QtCriticalMsg:
        return Logger::Error;
    case QtFatalMsg:
        return Logger::Fatal;
    }
    return Logger::Debug;
}

void messageHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    Logger::write(levelFor(type), context.file, context.line, context.function, context.category,
                  message);
    if (type == QtFatalMsg) {
        // qFatal must still end the program, as it would without us.
        std::fflush(stderr);
        std::abort();
    }
}

} // namespace

void Logger::registerAppender(AbstractAppender *appender)
{
    if (!appender) {
        return;
    }
    LoggerState &s = state();
    QMutexLocker locker(&s.mutex);
    if (!s.appenders.contains(appender)) {
        s.appenders.append(appender);
    }
    if (!s.handlerInstalled) {
        s.previousHandler = qInstallMessageHandler(messageHandler);
        s.handlerInstalled = true;
    }
}

void Logger::removeAllAppenders()
{
    LoggerState &s = state();
    QList<AbstractAppender *> appenders;
    {
        QMutexLocker locker(&s.mutex);
        appenders.swap(s.appenders);
        if (s.handlerInstalled) {
            qInstallMessageHandler(s.previousHandler);
            s.previousHandler = nullptr;
            s.handlerInstalled = false;
        }
    }
    qDeleteAll(appenders);
}

void Logger::write(LogLevel level, const char *file, int line, const char *function,
                   const char *category, const QString &message)
{
    const QDateTime now = QDateTime::currentDateTime();
    LoggerState &s = state();
    QMutexLocker locker(&s.mutex);
    if (s.appenders.isEmpty()) {
        // Nobody registered yet: never lose a line, print it as Qt would.
        std::fprintf(stderr, "%s\n", qUtf8Printable(message));
        return;
    }
    for (AbstractAppender *appender : qAsConst(s.appenders)) {
        appender->write(now, level, file, line, function, QString::fromLatin1(category), message);
    }
}

QString Logger::levelToString(LogLevel level)
{
    static const char *const s_names[] = {"Trace", "Debug", "Info", "Warning", "Error", "Fatal"};
    if (level < Trace || level > Fatal) {
        return QStringLiteral("Unknown");
    }
    return QString::fromLatin1(s_names[level]);
}
