#include "velutraprogressticker.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

class TestVelutraProgressTicker : public QObject
{
    Q_OBJECT

private:
    static QTimer *timerOf(const VelutraProgressTicker &ticker)
    {
        return ticker.findChild<QTimer *>();
    }

    // One second passing, without waiting for it.
    static void tick(VelutraProgressTicker &ticker)
    {
        QVERIFY(QMetaObject::invokeMethod(&ticker, "slotTickHandler"));
    }

private slots:
    void startsIdleFlatAndWithoutText()
    {
        VelutraProgressTicker ticker;
        QCOMPARE(ticker.property("flat").toBool(), true);
        QCOMPARE(ticker.minimum(), 0);
        QCOMPARE(ticker.maximum(), 1);
        QCOMPARE(ticker.value(), 0);
        QVERIFY(!ticker.isTextVisible());
        QTimer *timer = timerOf(ticker);
        QVERIFY(timer);
        QCOMPARE(timer->interval(), 1000);
        QVERIFY(!timer->isActive());
    }

    void fillsOneStepPerTickThenStops_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<int>("maximum");
        QTest::addColumn<int>("ticksToFull");
        QTest::newRow("ten seconds") << 10 << 10 << 9;
        QTest::newRow("crystal moved three spots") << 30 << 30 << 29;
        QTest::newRow("two seconds") << 2 << 2 << 1;
        // Starts full: the first second still has to pass before the wait is over.
        QTest::newRow("one second") << 1 << 1 << 1;
        QTest::newRow("zero") << 0 << 1 << 1;
        QTest::newRow("negative") << -5 << 1 << 1;
    }

    void fillsOneStepPerTickThenStops()
    {
        QFETCH(int, seconds);
        QFETCH(int, maximum);
        QFETCH(int, ticksToFull);
        VelutraProgressTicker ticker;
        QSignalSpy elapsed(&ticker, &VelutraProgressTicker::sigTimeElapsed);
        QTimer *timer = timerOf(ticker);
        ticker.startTicker(seconds);
        QCOMPARE(ticker.minimum(), 0);
        QCOMPARE(ticker.maximum(), maximum);
        QCOMPARE(ticker.value(), 1);
        QVERIFY(timer->isActive());

        for (int done = 1; done < ticksToFull; ++done) {
            tick(ticker);
            QCOMPARE(ticker.value(), qMin(1 + done, maximum));
            QVERIFY(timer->isActive());
            QCOMPARE(elapsed.count(), 0);
        }
        tick(ticker);
        QCOMPARE(ticker.value(), maximum);
        QVERIFY(!timer->isActive());
        QCOMPARE(elapsed.count(), 1);

        // Beyond the maximum nothing moves and the end is not announced again.
        tick(ticker);
        tick(ticker);
        QCOMPARE(ticker.value(), maximum);
        QVERIFY(!timer->isActive());
        QCOMPARE(elapsed.count(), 1);
    }

    void stopKeepsTheValue()
    {
        VelutraProgressTicker ticker;
        QSignalSpy elapsed(&ticker, &VelutraProgressTicker::sigTimeElapsed);
        ticker.startTicker(10);
        tick(ticker);
        tick(ticker);
        ticker.stopTicker();
        QCOMPARE(ticker.value(), 3);
        QVERIFY(!timerOf(ticker)->isActive());
        QCOMPARE(elapsed.count(), 0);
    }

    void restartBeginsAgainAtOne()
    {
        VelutraProgressTicker ticker;
        QSignalSpy elapsed(&ticker, &VelutraProgressTicker::sigTimeElapsed);
        ticker.startTicker(2);
        tick(ticker);
        QCOMPARE(elapsed.count(), 1);
        ticker.startTicker(20);
        QCOMPARE(ticker.maximum(), 20);
        QCOMPARE(ticker.value(), 1);
        QVERIFY(timerOf(ticker)->isActive());
        tick(ticker);
        QCOMPARE(ticker.value(), 2);
        QCOMPARE(elapsed.count(), 1);
    }

    void countsRealSeconds()
    {
        VelutraProgressTicker ticker;
        QSignalSpy elapsed(&ticker, &VelutraProgressTicker::sigTimeElapsed);
        QElapsedTimer clock;
        clock.start();
        ticker.startTicker(3);
        QTRY_COMPARE_WITH_TIMEOUT(ticker.value(), 2, 3000);
        // Timers may fire a few milliseconds early; a tick well before a second is a fault.
        QVERIFY2(clock.elapsed() >= 900, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(elapsed.count(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(elapsed.count(), 1, 3000);
        QCOMPARE(ticker.value(), 3);
        QVERIFY2(clock.elapsed() >= 1900, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(!timerOf(ticker)->isActive());
        QTest::qWait(1200);
        QCOMPARE(ticker.value(), 3);
        QCOMPARE(elapsed.count(), 1);
    }
};

QTEST_MAIN(TestVelutraProgressTicker)
#include "tst_velutraprogressticker.moc"
