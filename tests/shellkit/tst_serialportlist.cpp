#include "serialportlist.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <unistd.h>

namespace {

void announce(const QString &fileName, const QString &path, const QString &description, qint64 pid)
{
    QDir().mkpath(SerialportList::advertisedPortsFolder());
    QFile file(SerialportList::advertisedPortsFolder() + QLatin1Char('/') + fileName);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QStringLiteral("path=%1\ndescription=%2\npid=%3\n")
                       .arg(path, description)
                       .arg(pid)
                       .toUtf8());
}

} // namespace

class TestSerialportList : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_runtime.isValid());
        QFile::setPermissions(m_runtime.path(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", m_runtime.path().toUtf8());
        SerialportList::setIncludeSystemPorts(false);
    }

    void init() { QDir(SerialportList::advertisedPortsFolder()).removeRecursively(); }

    void folderIsInTheRuntimeFolder()
    {
        QCOMPARE(SerialportList::advertisedPortsFolder(),
                 m_runtime.path() + QStringLiteral("/velutra-xp/ports"));
    }

    void noPortsGivesAnEmptyList() { QVERIFY(SerialportList::GetPipeNames().isEmpty()); }

    void announcedPortIsListedWithItsDescription()
    {
        const QString path = m_runtime.filePath(QStringLiteral("fake-tty"));
        QFile device(path);
        QVERIFY(device.open(QIODevice::WriteOnly));
        announce(QStringLiteral("sim-1.port"), path, QStringLiteral("Virtual laser Velutra-10"),
                 ::getpid());
        QCOMPARE(SerialportList::GetPipeNames(), QStringList{path});
        QCOMPARE(SerialportList::GetExtendedPipeName(path),
                 path + QStringLiteral(" - Virtual laser Velutra-10"));
        const QList<SerialportList::PortEntry> entries = SerialportList::ports();
        QCOMPARE(entries.size(), 1);
        QVERIFY(entries.first().isVirtual);
    }

    void announcementOfAGoneProcessIsIgnored()
    {
        // Above the kernel's largest process id, so certainly not running.
        constexpr qint64 GonePid = 2147483600;
        const QString path = m_runtime.filePath(QStringLiteral("fake-tty"));
        QFile device(path);
        QVERIFY(device.open(QIODevice::WriteOnly));
        announce(QStringLiteral("stale.port"), path, QStringLiteral("stale"), GonePid);
        QVERIFY(SerialportList::GetPipeNames().isEmpty());
    }

    void announcementOfAMissingPathIsIgnored()
    {
        announce(QStringLiteral("missing.port"), m_runtime.filePath(QStringLiteral("nothing-here")),
                 QStringLiteral("gone"), ::getpid());
        QVERIFY(SerialportList::GetPipeNames().isEmpty());
    }

    void malformedAnnouncementsAreIgnored()
    {
        QDir().mkpath(SerialportList::advertisedPortsFolder());
        QFile file(SerialportList::advertisedPortsFolder() + QStringLiteral("/garbage.port"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(10000, '\xff'));
        file.close();
        QVERIFY(SerialportList::GetPipeNames().isEmpty());
    }

    void unknownNameDescribesItself()
    {
        QCOMPARE(SerialportList::GetExtendedPipeName(QStringLiteral("/dev/ttyUSB7")),
                 QStringLiteral("/dev/ttyUSB7"));
    }

private:
    QTemporaryDir m_runtime;
};

QTEST_GUILESS_MAIN(TestSerialportList)
#include "tst_serialportlist.moc"
