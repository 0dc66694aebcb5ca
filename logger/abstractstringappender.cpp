#include "abstractstringappender.h"

#include <QFileInfo>

QString AbstractStringAppender::stripFunctionName(const char *function)
{
    if (!function) {
        return QString();
    }
    QString name = QString::fromLatin1(function);
    const int paren = name.indexOf(QLatin1Char('('));
    if (paren >= 0) {
        name.truncate(paren);
    }
    const int space = name.lastIndexOf(QLatin1Char(' '));
    if (space >= 0) {
        name = name.mid(space + 1);
    }
    while (name.startsWith(QLatin1Char('*')) || name.startsWith(QLatin1Char('&'))) {
        name.remove(0, 1);
    }
    return name;
}

QString AbstractStringAppender::formattedString(const QDateTime &timeStamp, Logger::LogLevel level,
                                                const char *file, int line, const char *function,
                                                const QString &category, const QString &message)
{
    QString source;
    if (file && *file) {
        source = QFileInfo(QString::fromLocal8Bit(file)).completeBaseName();
        if (line > 0) {
            source += QLatin1Char(':') + QString::number(line);
        }
    }
    const QString functionName = stripFunctionName(function);
    if (!functionName.isEmpty()) {
        source += (source.isEmpty() ? QString() : QStringLiteral(":")) + functionName;
    }
    QString categoryText;
    if (!category.isEmpty() && category != QLatin1String("default")) {
        categoryText = QLatin1Char('(') + category + QStringLiteral(") ");
    }
    return QStringLiteral("%1 [%2] <%3> %4%5\n")
            .arg(timeStamp.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")),
                 Logger::levelToString(level).leftJustified(7), source, categoryText, message);
}
