// The whole program in this process, a virtual laser as its own process: unplugged and
// plugged back in again and again, the program takes it up each time with a new controller,
// never sets anything on its own, and does not grow.

#include "_applog.h"
#include "maincontrolpanel.h"
#include "reconnecttesthome.h"
#include "simulatorsession.h"

#include "serialmonitor.h"

#include <QStatusBar>
#include <QTextDocument>
#include <QToolButton>
#include <QtTest>

#include <algorithm>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
// From the sanitizer runtime; gcc does not install the header that declares it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace {

static constexpr int Cycles = 20;

qint64 residentBytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QList<QByteArray> fields = statm.readAll().simplified().split(' ');
    return fields.value(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

// What the program holds on the heap, without what the allocator keeps for reuse (and,
// under AddressSanitizer, without its quarantine of freed blocks, which fills the resident
// size for a while whatever the program does).
qint64 liveHeapBytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return qint64(__sanitizer_get_current_allocated_bytes());
#else
    return qint64(mallinfo2().uordblks);
#endif
}

QString megabytes(const QList<qint64> &values)
{
    QStringList texts;
    for (qint64 bytes : values) {
        texts << QString::number(double(bytes) / 1048576.0, 'f', 2);
    }
    return texts.join(QLatin1Char(' '));
}

double average(const QList<qint64> &values, int from, int to)
{
    qint64 sum = 0;
    for (int index = from; index < to; ++index) {
        sum += values.at(index);
    }
    return double(sum) / double(to - from);
}

} // namespace

class TestReconnect : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(makeTestHome(m_home));
        m_link = m_home.filePath(QStringLiteral("ttyUSB0"));
        QVERIFY(m_simulator.startOnLink(m_home.filePath(QStringLiteral("trace.txt")), m_link,
                                        QStringLiteral("0x93")));
        QCOMPARE(m_simulator.port(), m_link);
    }

    void unplugAndReplugTwentyTimes()
    {
        MainWindow window;
        window.show();
        window.connectToPort(m_link);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(m_simulator.commands().count("d2?"), 1, 10000);

        auto *monitor = window.findChild<SerialMonitor *>();
        QVERIFY(monitor);
        auto *clearTraffic = monitor->findChild<QToolButton *>(QStringLiteral("toolButtonClear"));
        QVERIFY(clearTraffic);

        const QString reconnecting = QStringLiteral("Reconnecting to ttyUSB0…");
        QList<qint64> reconnectMs;
        QList<qint64> resident;
        QList<qint64> heap;
        QList<int> widgets;
        for (int cycle = 1; cycle <= Cycles; ++cycle) {
            const QPointer<VelutraController> before = currentController(window);
            QVERIFY(before);

            QCOMPARE(m_simulator.control("unplug"), QByteArray("ok"));
            QTRY_VERIFY_WITH_TIMEOUT(window.isReconnecting(), 5000);
            QCOMPARE(window.statusBar()->currentMessage(), reconnecting);
            QVERIFY(window.openPortName().isEmpty());
            // The last panel stays on screen, greyed, while the controller is gone.
            auto *panel = window.findChild<MainControlPanel *>();
            QVERIFY(panel);
            QVERIFY(!panel->isEnabled());
            QTRY_VERIFY(before.isNull());

            QElapsedTimer sinceReplug;
            sinceReplug.start();
            QVERIFY(m_simulator.control("replug").startsWith("ok "));
            QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 15000);
            reconnectMs << sinceReplug.elapsed();
            QCOMPARE(window.openPortName(), m_link);
            QVERIFY(window.statusBar()->currentMessage().isEmpty());
            // The new controller asks again what a new connection asks.
            QTRY_VERIFY_WITH_TIMEOUT(m_simulator.commands().count("d2?") >= cycle + 1, 10000);
            // The serial monitor keeps the traffic of a whole day; emptied, what is left to
            // grow is what each connection leaves behind.
            clearTraffic->click();
            resident << residentBytes();
            heap << liveHeapBytes();
            widgets << QApplication::allWidgets().size();
        }

        std::sort(reconnectMs.begin(), reconnectMs.end());
        const qint64 median = reconnectMs.at(reconnectMs.size() / 2);
        qInfo("Reconnect time after a replug (to a panel that takes input), %d cycles: "
              "min %lld ms, median %lld ms, max %lld ms",
              Cycles, reconnectMs.first(), median, reconnectMs.last());
        // The goal is 3 s (two of them the handshake's settle time); a loaded CI machine with
        // sanitizers gets room.
        QVERIFY2(median < 6000, qPrintable(QString::number(median)));

        // Every connection's controller, panel and dialogs go when the next one comes.
        QCOMPARE(widgets.last(), widgets.first());
        // Early cycles fill caches and pools; after that the heap must stay level. The
        // resident size is looser: under AddressSanitizer it also carries the quarantine of
        // freed blocks and the allocator's own growth (about 0.6 MB a cycle here, while the
        // live heap grows by the application log's few lines).
        qInfo("Resident size after each cycle (MB): %s", qPrintable(megabytes(resident)));
        qInfo("Live heap after each cycle (MB): %s", qPrintable(megabytes(heap)));
        const double residentGrowth
                = average(resident, Cycles - 5, Cycles) - average(resident, 3, 8);
        const double heapGrowth = average(heap, Cycles - 5, Cycles) - average(heap, 3, 8);
        QVERIFY2(heapGrowth < 1.0 * 1048576.0,
                 qPrintable(QStringLiteral("heap grew by %1 MB").arg(heapGrowth / 1048576.0)));
        QVERIFY2(residentGrowth < 24.0 * 1048576.0,
                 qPrintable(QStringLiteral("RSS grew by %1 MB").arg(residentGrowth / 1048576.0)));

        const QString log = _AppLog::getLogDocument()->toPlainText();
        QCOMPARE(log.count(reconnecting), Cycles);

        // A fresh handshake and the queries of a new connection every time, and nothing that
        // sets anything.
        const QByteArrayList commands = m_simulator.commands();
        QVERIFY(commands.count("ly_system_info") >= Cycles + 1);
        QVERIFY(commands.count("d2?") >= Cycles + 1);
        for (const QByteArray &command : commands) {
            QVERIFY2(isReadOnlyCommand(command), command.constData());
        }
    }

private:
    QTemporaryDir m_home;
    QString m_link;
    SimulatorSession m_simulator;
};

QTEST_MAIN(TestReconnect)
#include "tst_reconnect.moc"
