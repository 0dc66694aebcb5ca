#include "portreconnector.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

namespace {

static constexpr int MinimumLookGapMs = 250;
static constexpr char DeviceFolder[] = "/dev";

// QSerialPort accepts "ttyUSB0" for "/dev/ttyUSB0"; the file system does not.
QString systemLocation(const QString &name)
{
    if (name.startsWith(QLatin1Char('/'))) {
        return name;
    }
    return QString::fromLatin1(DeviceFolder) + QLatin1Char('/') + name;
}

bool sameDevice(const SerialportList::PortEntry &remembered,
                const SerialportList::PortEntry &candidate)
{
    if (remembered.serialNumber.isEmpty() || candidate.serialNumber != remembered.serialNumber) {
        return false;
    }
    if (remembered.hasUsbIdentifiers
        && (!candidate.hasUsbIdentifiers
            || candidate.vendorIdentifier != remembered.vendorIdentifier
            || candidate.productIdentifier != remembered.productIdentifier)) {
        return false;
    }
    return true;
}

} // namespace

PortReconnector::PortReconnector(QObject *parent)
    : QObject(parent)
    , m_retryTimer(new QTimer(this))
    , m_soonTimer(new QTimer(this))
{
    m_retryTimer->setInterval(RetryIntervalMs);
    connect(m_retryTimer, &QTimer::timeout, this, &PortReconnector::lookNow);
    m_soonTimer->setSingleShot(true);
    connect(m_soonTimer, &QTimer::timeout, this, &PortReconnector::lookNow);
}

PortReconnector::~PortReconnector() = default;

void PortReconnector::rememberPort(const QString &name)
{
    m_identity = SerialportList::entryFor(name);
}

QString PortReconnector::portName() const
{
    return m_identity.name;
}

void PortReconnector::start()
{
    watchFolders();
    m_retryTimer->start();
    lookNow();
}

void PortReconnector::stop()
{
    m_retryTimer->stop();
    m_soonTimer->stop();
    delete m_watcher;
    m_watcher = nullptr;
}

bool PortReconnector::isActive() const
{
    return m_retryTimer->isActive();
}

QString PortReconnector::shortName(const QString &name)
{
    static const QString s_devicePrefix = QString::fromLatin1(DeviceFolder) + QLatin1Char('/');
    if (name.startsWith(s_devicePrefix)) {
        return name.mid(s_devicePrefix.size());
    }
    if (name.contains(QLatin1Char('/'))) {
        return QFileInfo(name).fileName();
    }
    return name;
}

QString PortReconnector::locatePort() const
{
    if (m_identity.name.isEmpty()) {
        return QString();
    }
    const QList<SerialportList::PortEntry> entries = SerialportList::ports();
    for (const SerialportList::PortEntry &entry : entries) {
        if (entry.name == m_identity.name) {
            return entry.name;
        }
    }
    for (const SerialportList::PortEntry &entry : entries) {
        if (sameDevice(m_identity, entry)) {
            return entry.name;
        }
    }
    // Not every port is listed (a pseudo-terminal named on the command line): one that is
    // there again under its own name is worth a try.
    if (QFileInfo::exists(systemLocation(m_identity.name))) {
        return m_identity.name;
    }
    return QString();
}

void PortReconnector::lookNow()
{
    if (!isActive()) {
        return;
    }
    m_soonTimer->stop();
    m_sinceLastLook.start();
    const QString name = locatePort();
    if (!name.isEmpty()) {
        emit openRequested(name);
    }
}

void PortReconnector::lookSoon()
{
    if (!isActive() || m_soonTimer->isActive()) {
        return;
    }
    const qint64 since = m_sinceLastLook.isValid() ? m_sinceLastLook.elapsed() : MinimumLookGapMs;
    m_soonTimer->start(int(qMax<qint64>(0, MinimumLookGapMs - since)));
}

void PortReconnector::watchFolders()
{
    delete m_watcher;
    m_watcher = new QFileSystemWatcher(this);
    QStringList folders{SerialportList::advertisedPortsFolder(), QString::fromLatin1(DeviceFolder),
                        QFileInfo(systemLocation(m_identity.name)).absolutePath()};
    folders.removeDuplicates();
    for (const QString &folder : qAsConst(folders)) {
        if (QFileInfo(folder).isDir()) {
            m_watcher->addPath(folder);
        }
    }
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, &PortReconnector::lookSoon);
}
