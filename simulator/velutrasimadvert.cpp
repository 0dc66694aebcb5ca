#include "velutrasimadvert.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

#include <unistd.h>

VelutraSimAdvert::VelutraSimAdvert()
    : m_filePath(portsFolder() + QStringLiteral("/velutra-sim-%1.port").arg(::getpid()))
{ }

VelutraSimAdvert::~VelutraSimAdvert()
{
    withdraw();
}

QString VelutraSimAdvert::runtimeFolder()
{
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (runtime.isEmpty()) {
        runtime = QDir::tempPath();
    }
    return runtime + QStringLiteral("/velutra-xp");
}

QString VelutraSimAdvert::portsFolder()
{
    return runtimeFolder() + QStringLiteral("/ports");
}

bool VelutraSimAdvert::publish(const QString &portPath, const QString &description, QString *error)
{
    if (!QDir().mkpath(portsFolder())) {
        *error = QStringLiteral("cannot create %1").arg(portsFolder());
        return false;
    }
    // QSaveFile writes a temporary file beside the target and renames it into place,
    // so a reader never sees half a file.
    QSaveFile file(m_filePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        *error = QStringLiteral("cannot write %1: %2").arg(m_filePath, file.errorString());
        return false;
    }
    QString text = QStringLiteral("path=%1\ndescription=%2\npid=%3\n")
                           .arg(portPath, description)
                           .arg(::getpid());
    if (!m_serialNumber.isEmpty()) {
        text += QStringLiteral("serial-number=%1\n").arg(m_serialNumber);
    }
    if (m_vendorId >= 0 && m_productId >= 0) {
        text += QStringLiteral("vendor-id=%1\nproduct-id=%2\n")
                        .arg(m_vendorId, 4, 16, QLatin1Char('0'))
                        .arg(m_productId, 4, 16, QLatin1Char('0'));
    }
    file.write(text.toUtf8());
    if (!file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(m_filePath, file.errorString());
        return false;
    }
    m_published = true;
    return true;
}

void VelutraSimAdvert::setUsbIdentity(const QString &serialNumber, int vendorId, int productId)
{
    m_serialNumber = serialNumber;
    m_vendorId = vendorId;
    m_productId = productId;
}

void VelutraSimAdvert::withdraw()
{
    if (m_published) {
        QFile::remove(m_filePath);
        m_published = false;
    }
}
