#include "serialportlist.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSerialPortInfo>
#include <QStandardPaths>
#include <QTextStream>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace {

std::atomic<bool> s_includeSystemPorts{true};

bool processAlive(qint64 pid)
{
    if (pid <= 0) {
        return false;
    }
    return ::kill(pid_t(pid), 0) == 0 || errno == EPERM;
}

QString describeSystemPort(const QSerialPortInfo &info)
{
    QStringList parts;
    if (!info.description().isEmpty()) {
        parts << info.description();
    }
    if (!info.manufacturer().isEmpty()) {
        parts << info.manufacturer();
    }
    if (!info.serialNumber().isEmpty()) {
        parts << QStringLiteral("S/N %1").arg(info.serialNumber());
    }
    if (info.hasVendorIdentifier() && info.hasProductIdentifier()) {
        parts << QStringLiteral("USB %1:%2")
                         .arg(info.vendorIdentifier(), 4, 16, QLatin1Char('0'))
                         .arg(info.productIdentifier(), 4, 16, QLatin1Char('0'));
    }
    parts << info.systemLocation();
    return parts.join(QStringLiteral(", "));
}

quint16 parseUsbIdentifier(const QString &text, bool *ok)
{
    const uint value = text.toUInt(ok, 16);
    if (!*ok || value > 0xffff) {
        *ok = false;
        return 0;
    }
    return quint16(value);
}

QList<SerialportList::PortEntry> advertisedPorts()
{
    QList<SerialportList::PortEntry> entries;
    const QDir folder(SerialportList::advertisedPortsFolder());
    const QFileInfoList files
            = folder.entryInfoList({QStringLiteral("*.port")}, QDir::Files, QDir::Name);
    for (const QFileInfo &fileInfo : files) {
        QFile file(fileInfo.absoluteFilePath());
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
            continue;
        }
        QString path;
        QString description;
        qint64 pid = 0;
        SerialportList::PortEntry entry;
        bool vendorKnown = false;
        bool productKnown = false;
        QTextStream stream(&file);
        int lines = 0;
        while (!stream.atEnd() && lines++ < 64) {
            const QString line = stream.readLine(4096);
            const int equals = line.indexOf(QLatin1Char('='));
            if (equals <= 0) {
                continue;
            }
            const QString key = line.left(equals).trimmed();
            const QString value = line.mid(equals + 1).trimmed();
            if (key == QLatin1String("path")) {
                path = value;
            } else if (key == QLatin1String("description")) {
                description = value;
            } else if (key == QLatin1String("pid")) {
                pid = value.toLongLong();
            } else if (key == QLatin1String("serial-number")) {
                entry.serialNumber = value;
            } else if (key == QLatin1String("vendor-id")) {
                entry.vendorIdentifier = parseUsbIdentifier(value, &vendorKnown);
            } else if (key == QLatin1String("product-id")) {
                entry.productIdentifier = parseUsbIdentifier(value, &productKnown);
            }
        }
        if (path.isEmpty() || !QFileInfo::exists(path) || !processAlive(pid)) {
            continue;
        }
        entry.hasUsbIdentifiers = vendorKnown && productKnown;
        entry.name = path;
        entry.description = description.isEmpty() ? QObject::tr("Virtual laser") : description;
        entry.isVirtual = true;
        entries.append(entry);
    }
    return entries;
}

} // namespace

QString SerialportList::advertisedPortsFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)
           + QStringLiteral("/velutra-xp/ports");
}

void SerialportList::setIncludeSystemPorts(bool include)
{
    s_includeSystemPorts = include;
}

bool SerialportList::includeSystemPorts()
{
    return s_includeSystemPorts;
}

QList<SerialportList::PortEntry> SerialportList::ports()
{
    QList<PortEntry> entries;
    if (s_includeSystemPorts) {
        QList<QSerialPortInfo> infos = QSerialPortInfo::availablePorts();
        std::sort(infos.begin(), infos.end(),
                  [](const QSerialPortInfo &a, const QSerialPortInfo &b) {
                      return a.portName() < b.portName();
                  });
        for (const QSerialPortInfo &info : qAsConst(infos)) {
            PortEntry entry;
            entry.name = info.portName();
            entry.description = describeSystemPort(info);
            entry.serialNumber = info.serialNumber();
            entry.hasUsbIdentifiers = info.hasVendorIdentifier() && info.hasProductIdentifier();
            entry.vendorIdentifier = info.vendorIdentifier();
            entry.productIdentifier = info.productIdentifier();
            entries.append(entry);
        }
    }
    const QList<PortEntry> virtualPorts = advertisedPorts();
    for (const PortEntry &entry : virtualPorts) {
        const bool known = std::any_of(entries.cbegin(), entries.cend(),
                                       [&](const PortEntry &e) { return e.name == entry.name; });
        if (!known) {
            entries.append(entry);
        }
    }
    return entries;
}

QStringList SerialportList::GetPipeNames()
{
    QStringList names;
    const QList<PortEntry> entries = ports();
    for (const PortEntry &entry : entries) {
        names << entry.name;
    }
    return names;
}

QString SerialportList::GetExtendedPipeName(const QString &name)
{
    const QList<PortEntry> entries = ports();
    for (const PortEntry &entry : entries) {
        if (entry.name == name) {
            return QStringLiteral("%1 - %2").arg(entry.name, entry.description);
        }
    }
    return name;
}

SerialportList::PortEntry SerialportList::entryFor(const QString &name)
{
    const QList<PortEntry> entries = ports();
    for (const PortEntry &entry : entries) {
        if (entry.name == name) {
            return entry;
        }
    }
    PortEntry unlisted;
    unlisted.name = name;
    return unlisted;
}
