#include "logfiles.h"

#include "consoleappender.h"
#include "fileappender.h"
#include "logcategory.h"
#include "logger.h"

#include <QDate>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>

namespace LogFiles {

QString logFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString logFilePath(const QString &folder)
{
    if (folder.isEmpty()) {
        return QString();
    }
    QDir dir(folder);
    if (!dir.exists() && !dir.mkpath(QStringLiteral("."))) {
        return QString();
    }
    const QString name = QStringLiteral("applog_%1.log")
                                 .arg(QDate::currentDate().toString(QStringLiteral("yyMMdd")));
    return QFileInfo(dir.absoluteFilePath(name)).absoluteFilePath();
}

void pruneLogFiles(const QString &folder)
{
    if (folder.isEmpty()) {
        return;
    }
    QDir dir(folder);
    if (!dir.exists()) {
        return;
    }
    QFileInfoList files = dir.entryInfoList({QStringLiteral("applog_*.log")}, QDir::Files);
    std::sort(files.begin(), files.end(), [](const QFileInfo &a, const QFileInfo &b) {
        return a.lastModified() < b.lastModified();
    });
    while (files.size() > KeptFiles) {
        const QFileInfo oldest = files.takeFirst();
        if (!QFile::remove(oldest.absoluteFilePath())) {
            qCWarning(lcLog, "Cannot delete the old log file %s",
                      qUtf8Printable(oldest.absoluteFilePath()));
        }
    }
}

AbstractAppender *startLogging(const QString &folder, qint64 maximumBytes)
{
    const QString path = logFilePath(folder);
    AbstractAppender *appender = nullptr;
    if (!path.isEmpty()) {
        auto *fileAppender = new FileAppender(path);
        fileAppender->setMaximumBytes(maximumBytes);
        appender = fileAppender;
    } else {
        appender = new ConsoleAppender;
    }
    Logger::registerAppender(appender);
    Logger::write(Logger::Info, "main", 0, "qMain", "default",
                  QStringLiteral("***** Application startup *****"));
    if (path.isEmpty()) {
        Logger::write(Logger::Warning, "main", 0, "qMain", "default",
                      QStringLiteral("The log folder %1 cannot be created; logging to the console.")
                              .arg(folder));
    }
    pruneLogFiles(path.isEmpty() ? QString() : folder);
    return appender;
}

void setTracesEnabled(bool enabled)
{
    // Rules set here rank below QT_LOGGING_RULES and the configuration files Qt reads,
    // so an operator's own rules always win. The categories declare debug off
    // themselves; "default" covers any trace still written without a category.
    QLoggingCategory::setFilterRules(enabled ? QStringLiteral("velutra.*.debug=true\n"
                                                              "default.debug=true")
                                             : QStringLiteral("default.debug=false"));
}

} // namespace LogFiles
