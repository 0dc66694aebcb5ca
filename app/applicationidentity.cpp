#include "applicationidentity.h"

#include <QCoreApplication>
#include <QDate>
#include <QLocale>
#include <QTime>

namespace ApplicationIdentity {

QString buildDateFromCompilerText(const char *compilerDate)
{
    const QString text = QString::fromLatin1(compilerDate).simplified();
    const QDate date = QLocale::c().toDate(text, QStringLiteral("MMM d yyyy"));
    return date.isValid() ? date.toString(QStringLiteral("yyyy-MM-dd")) : QString();
}

QString buildTimeFromCompilerText(const char *compilerTime)
{
    const QTime time = QLocale::c().toTime(QString::fromLatin1(compilerTime).simplified(),
                                           QStringLiteral("HH:mm:ss"));
    return time.isValid() ? time.toString(QStringLiteral("HH:mm:ss")) : QString();
}

void applyNames()
{
    QCoreApplication::setOrganizationName(QString::fromLatin1(OrganizationName));
    QCoreApplication::setOrganizationDomain(QString::fromLatin1(OrganizationDomain));
    QCoreApplication::setApplicationName(QString::fromLatin1(ApplicationName));
    QCoreApplication::setApplicationVersion(QString::fromLatin1(ApplicationVersion));
}

void apply(QCoreApplication *application)
{
    applyNames();
    if (application) {
        application->setProperty("BUILDDATE", buildDateFromCompilerText(__DATE__));
        application->setProperty("BUILDTIME", buildTimeFromCompilerText(__TIME__));
    }
}

} // namespace ApplicationIdentity
