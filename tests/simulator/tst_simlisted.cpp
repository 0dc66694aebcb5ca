// The program's port list shows a running virtual laser, with its description, and
// forgets it when the laser is unplugged or ends.

#include "serialportlist.h"
#include "simulatorsession.h"

#include <QProcess>
#include <QTest>

class TestSimListed : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void portListShowsTheVirtualLaser();
    void programListsTheVirtualLaser();
};

namespace {

bool listed(const QString &port, QString *description = nullptr)
{
    const QList<SerialportList::PortEntry> ports = SerialportList::ports();
    for (const SerialportList::PortEntry &entry : ports) {
        if (entry.name == port && entry.isVirtual) {
            if (description != nullptr) {
                *description = entry.description;
            }
            return true;
        }
    }
    return false;
}

} // namespace

void TestSimListed::initTestCase()
{
    SerialportList::setIncludeSystemPorts(false);
}

void TestSimListed::portListShowsTheVirtualLaser()
{
    SimulatorSession laser;
    QVERIFY(laser.start(
            {QStringLiteral("--module"), QStringLiteral("0x93"), QStringLiteral("--no-pacing")}));
    const QString port = laser.port();
    const qint64 pid = laser.processId();
    QString description;
    QVERIFY(listed(port, &description));
    QCOMPARE(description,
             QStringLiteral("Virtual laser Velutra-10, harmonic module 0x93 (velutra-sim %1)")
                     .arg(pid));

    QCOMPARE(laser.controlBySocket("unplug"), QByteArray("ok"));
    QVERIFY(!listed(port));
    const QByteArray answer = laser.controlBySocket("replug");
    QVERIFY2(answer.startsWith("ok "), answer.constData());
    const QString newPort = QString::fromLatin1(answer.mid(3));
    QVERIFY(listed(newPort));

    laser.process().terminate();
    QVERIFY(laser.process().waitForFinished(10000));
    QVERIFY(!listed(newPort));
}

void TestSimListed::programListsTheVirtualLaser()
{
#ifndef VELUTRA_XP_EXECUTABLE
    QSKIP("the program is not part of this build");
#else
    SimulatorSession laser;
    QVERIFY(laser.start({QStringLiteral("--module"), QStringLiteral("0x93")}));
    const QString port = laser.port();
    QProcess program;
    program.start(QStringLiteral(VELUTRA_XP_EXECUTABLE), {QStringLiteral("--list-ports")});
    QVERIFY(program.waitForFinished(20000));
    QCOMPARE(program.exitCode(), 0);
    const QByteArray listing = program.readAllStandardOutput();
    QVERIFY2(listing.contains(port.toLocal8Bit()), listing.constData());
    QVERIFY2(listing.contains("Virtual laser Velutra-10, harmonic module 0x93"),
             listing.constData());
#endif
}

QTEST_GUILESS_MAIN(TestSimListed)
#include "tst_simlisted.moc"
