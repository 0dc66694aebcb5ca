// The virtual laser can advertise itself like a USB adapter: a serial number and vendor and
// product ids in its advertisement, which the program's port list reads, kept when it is
// plugged back in under another name.

#include "serialportlist.h"
#include "simulatorsession.h"
#include "velutrasimoptions.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

SerialportList::PortEntry listedEntry(const QString &name, bool *found)
{
    const QList<SerialportList::PortEntry> entries = SerialportList::ports();
    for (const SerialportList::PortEntry &entry : entries) {
        if (entry.name == name) {
            *found = true;
            return entry;
        }
    }
    *found = false;
    return SerialportList::PortEntry();
}

} // namespace

class TestSimAdvert : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_folder.isValid());
        SerialportList::setIncludeSystemPorts(false);
    }

    void usbOptions_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("serialNumber");
        QTest::addColumn<int>("vendor");
        QTest::addColumn<int>("product");
        QTest::newRow("none") << QStringList{} << true << QString() << -1 << -1;
        QTest::newRow("serial number")
                << QStringList{QStringLiteral("--serial-number"), QStringLiteral("FT-1")} << true
                << QStringLiteral("FT-1") << -1 << -1;
        QTest::newRow("usb ids") << QStringList{QStringLiteral("--usb-id"),
                                                QStringLiteral("0403:6001")}
                                 << true << QString() << 0x0403 << 0x6001;
        QTest::newRow("upper-case hex")
                << QStringList{QStringLiteral("--usb-id"), QStringLiteral("10C4:EA60")} << true
                << QString() << 0x10c4 << 0xea60;
        QTest::newRow("one id") << QStringList{QStringLiteral("--usb-id"), QStringLiteral("0403")}
                                << false << QString() << -1 << -1;
        QTest::newRow("not hex") << QStringList{QStringLiteral("--usb-id"),
                                                QStringLiteral("04g3:6001")}
                                 << false << QString() << -1 << -1;
        QTest::newRow("too large")
                << QStringList{QStringLiteral("--usb-id"), QStringLiteral("10000:1")} << false
                << QString() << -1 << -1;
    }

    void usbOptions()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, accepted);
        QFETCH(QString, serialNumber);
        QFETCH(int, vendor);
        QFETCH(int, product);
        VelutraSimOptions options;
        QString message;
        bool help = false;
        QCOMPARE(VelutraSimOptions::parse(QStringList{QStringLiteral("velutra-sim")} + arguments,
                                          &options, &message, &help),
                 accepted);
        if (!accepted) {
            QVERIFY(!message.isEmpty());
            return;
        }
        QCOMPARE(options.serialNumber, serialNumber);
        QCOMPARE(options.usbVendorId, vendor);
        QCOMPARE(options.usbProductId, product);
    }

    void advertisedLikeAUsbAdapterUnderEveryName()
    {
        const QString first = m_folder.filePath(QStringLiteral("ttyUSB0"));
        SimulatorSession laser;
        QVERIFY(laser.start({QStringLiteral("--no-pacing"), QStringLiteral("--link"), first,
                             QStringLiteral("--serial-number"), QStringLiteral("FT-A1B2C3"),
                             QStringLiteral("--usb-id"), QStringLiteral("0403:6001")}));
        QCOMPARE(laser.port(), first);

        QFile advert(SerialportList::advertisedPortsFolder()
                     + QStringLiteral("/velutra-sim-%1.port").arg(laser.processId()));
        QVERIFY(advert.open(QIODevice::ReadOnly));
        const QByteArray text = advert.readAll();
        QVERIFY2(text.contains("\nserial-number=FT-A1B2C3\n"), text.constData());
        QVERIFY2(text.contains("\nvendor-id=0403\nproduct-id=6001\n"), text.constData());
        advert.close();

        bool found = false;
        SerialportList::PortEntry entry = listedEntry(first, &found);
        QVERIFY(found);
        QCOMPARE(entry.serialNumber, QStringLiteral("FT-A1B2C3"));
        QVERIFY(entry.hasUsbIdentifiers);
        QCOMPARE(entry.vendorIdentifier, quint16(0x0403));
        QCOMPARE(entry.productIdentifier, quint16(0x6001));
        QCOMPARE(SerialportList::entryFor(first).serialNumber, QStringLiteral("FT-A1B2C3"));

        // Pulled out and put back under another name: the old one is gone, the identity stays.
        QCOMPARE(laser.control("unplug"), QByteArray("ok"));
        QVERIFY(!QFileInfo::exists(first));
        const QString second = m_folder.filePath(QStringLiteral("ttyUSB1"));
        QCOMPARE(laser.control("replug " + second.toLocal8Bit()), "ok " + second.toLocal8Bit());
        listedEntry(first, &found);
        QVERIFY(!found);
        entry = listedEntry(second, &found);
        QVERIFY(found);
        QCOMPARE(entry.serialNumber, QStringLiteral("FT-A1B2C3"));
        QCOMPARE(entry.vendorIdentifier, quint16(0x0403));
    }

    void plainVirtualLaserHasNoUsbIdentity()
    {
        SimulatorSession laser;
        QVERIFY(laser.start({QStringLiteral("--no-pacing")}));
        bool found = false;
        const SerialportList::PortEntry entry = listedEntry(laser.port(), &found);
        QVERIFY(found);
        QVERIFY(entry.serialNumber.isEmpty());
        QVERIFY(!entry.hasUsbIdentifiers);
        // Not listed at all: only the name is known.
        const SerialportList::PortEntry unlisted
                = SerialportList::entryFor(QStringLiteral("/dev/velutra-nowhere"));
        QCOMPARE(unlisted.name, QStringLiteral("/dev/velutra-nowhere"));
        QVERIFY(unlisted.serialNumber.isEmpty());
    }

private:
    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestSimAdvert)
#include "tst_simadvert.moc"
