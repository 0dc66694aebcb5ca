// The program's port list shows a running virtual laser, with its description, and
// forgets it when the laser is unplugged or ends.

#include "serialportlist.h"
#include "simprocess.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

class TestSimListed : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void portListShowsTheVirtualLaser();
    void programListsTheVirtualLaser();
};

namespace {

struct ProcessGuard
{
    QProcess &process;
    ~ProcessGuard()
    {
        if (process.state() != QProcess::NotRunning) {
            process.terminate();
            if (!process.waitForFinished(3000)) {
                process.kill();
                process.waitForFinished(3000);
            }
        }
    }
};

QByteArray control(qint64 pid, const QByteArray &command)
{
    const QByteArray path
            = QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation)
                                + QStringLiteral("/velutra-xp/velutra-sim-%1.sock").arg(pid));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(),
                size_t(qMin<int>(path.size(), sizeof address.sun_path - 1)));
    QByteArray answer;
    const QByteArray line = command + '\n';
    if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0
        && ::write(fd, line.constData(), size_t(line.size())) == line.size()) {
        pollfd poller{fd, POLLIN, 0};
        if (::poll(&poller, 1, 5000) > 0) {
            char buffer[256];
            const ssize_t count = ::read(fd, buffer, sizeof buffer);
            if (count > 0) {
                answer = QByteArray(buffer, int(count)).trimmed();
            }
        }
    }
    ::close(fd);
    return answer;
}

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
    QProcess process;
    ProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(
            process,
            {QStringLiteral("--module"), QStringLiteral("0x93"), QStringLiteral("--no-pacing")},
            &port));
    const qint64 pid = process.processId();
    QString description;
    QVERIFY(listed(port, &description));
    QCOMPARE(description,
             QStringLiteral("Virtual laser Velutra-10, harmonic module 0x93 (velutra-sim %1)")
                     .arg(pid));

    QCOMPARE(control(pid, "unplug"), QByteArray("ok"));
    QVERIFY(!listed(port));
    const QByteArray answer = control(pid, "replug");
    QVERIFY2(answer.startsWith("ok "), answer.constData());
    const QString newPort = QString::fromLatin1(answer.mid(3));
    QVERIFY(listed(newPort));

    process.terminate();
    QVERIFY(process.waitForFinished(10000));
    QVERIFY(!listed(newPort));
}

void TestSimListed::programListsTheVirtualLaser()
{
#ifndef VELUTRA_XP_EXECUTABLE
    QSKIP("the program is not part of this build");
#else
    QProcess process;
    ProcessGuard guard{process};
    QString port;
    QVERIFY(startSimulatorProcess(process, {QStringLiteral("--module"), QStringLiteral("0x93")},
                                  &port));
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
