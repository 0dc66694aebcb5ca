#include "logepisode.h"

#include <QtTest>

namespace {

// What an episode writes, in order.
struct Written
{
    QStringList lines;
    LogEpisode::Writer writer()
    {
        return [this](const QString &line) {
            lines.append(line);
        };
    }
};

} // namespace

class TestLogEpisode : public QObject
{
    Q_OBJECT

private slots:
    void firstMessagesWrittenRestCounted_data()
    {
        QTest::addColumn<int>("verbatim");
        QTest::addColumn<int>("messages");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("one of one") << 1 << 1 << QStringList{QStringLiteral("m0")};
        QTest::newRow("one of many")
                << 1 << 1000
                << QStringList{QStringLiteral("m0"), QStringLiteral("m0 (999 more suppressed)")};
        QTest::newRow("three of three")
                << 3 << 3
                << QStringList{QStringLiteral("m0"), QStringLiteral("m1"), QStringLiteral("m2")};
        QTest::newRow("three of four")
                << 3 << 4
                << QStringList{QStringLiteral("m0"), QStringLiteral("m1"), QStringLiteral("m2"),
                               QStringLiteral("m0 (1 more suppressed)")};
        QTest::newRow("none shown")
                << 0 << 5 << QStringList{QStringLiteral("m0 (5 more suppressed)")};
    }

    void firstMessagesWrittenRestCounted()
    {
        QFETCH(int, verbatim);
        QFETCH(int, messages);
        QFETCH(QStringList, expected);
        Written written;
        LogEpisode episode(written.writer());
        episode.setVerbatimCount(verbatim);
        for (int index = 0; index < messages; ++index) {
            episode.record(QStringLiteral("m%1").arg(index), 1000 + index);
        }
        QCOMPARE(episode.count(), messages);
        episode.end();
        QVERIFY(!episode.isActive());
        QCOMPARE(written.lines, expected);
        // Ending twice writes nothing more.
        episode.end();
        QCOMPARE(written.lines, expected);
    }

    void subjectNamesTheSummary()
    {
        Written written;
        LogEpisode episode(written.writer());
        episode.setSubject(QStringLiteral("Velutra message: …"));
        episode.setVerbatimCount(2);
        for (int index = 0; index < 5; ++index) {
            episode.record(QStringLiteral("Velutra message: line %1").arg(index), index);
        }
        episode.end();
        QCOMPARE(written.lines,
                 (QStringList{QStringLiteral("Velutra message: line 0"),
                              QStringLiteral("Velutra message: line 1"),
                              QStringLiteral("Velutra message: … (3 more suppressed)")}));
    }

    void percentSignsInTheSubjectStay()
    {
        Written written;
        LogEpisode episode(written.writer());
        episode.setVerbatimCount(0);
        episode.record(QStringLiteral("100% %1 %2"), 0);
        episode.end();
        QCOMPARE(written.lines, QStringList{QStringLiteral("100% %1 %2 (1 more suppressed)")});
    }

    void quietTimeEndsTheEpisode()
    {
        Written written;
        LogEpisode episode(written.writer());
        episode.setVerbatimCount(1);
        episode.setQuietMs(1000);
        episode.record(QStringLiteral("a"), 0);
        episode.record(QStringLiteral("a"), 500);
        episode.record(QStringLiteral("a"), 1400);
        // Quiet for 999 ms: still the same episode.
        episode.poll(2399);
        QVERIFY(episode.isActive());
        QCOMPARE(written.lines, QStringList{QStringLiteral("a")});
        episode.poll(2400);
        QVERIFY(!episode.isActive());
        QCOMPARE(written.lines,
                 (QStringList{QStringLiteral("a"), QStringLiteral("a (2 more suppressed)")}));

        // The next message begins a new episode and is written again.
        episode.record(QStringLiteral("b"), 5000);
        QCOMPARE(written.lines.last(), QStringLiteral("b"));
        QCOMPARE(episode.count(), 1);
    }

    void neverQuietEndsOnlyByEnd()
    {
        Written written;
        LogEpisode episode(written.writer());
        episode.setVerbatimCount(1);
        episode.setQuietMs(LogEpisode::Never);
        episode.setSummaryIntervalMs(0);
        episode.record(QStringLiteral("a"), 0);
        episode.record(QStringLiteral("a"), 1);
        episode.poll(1000 * 1000 * 1000);
        QVERIFY(episode.isActive());
        QCOMPARE(written.lines.size(), 1);
        episode.end();
        QCOMPARE(written.lines.last(), QStringLiteral("a (1 more suppressed)"));
    }

    void endlessEpisodeWritesItsCountPeriodically()
    {
        // One message every 100 ms for an hour of clock, a summary every ten minutes:
        // the first message and six counts, however many messages came.
        Written written;
        LogEpisode episode(written.writer());
        episode.setVerbatimCount(1);
        episode.setQuietMs(1000);
        episode.setSummaryIntervalMs(10 * 60 * 1000);
        for (qint64 now = 0; now < 60 * 60 * 1000; now += 100) {
            episode.record(QStringLiteral("babble"), now);
            episode.poll(now);
        }
        QCOMPARE(written.lines.size(), 6);
        QCOMPARE(written.lines.first(), QStringLiteral("babble"));
        int counted = 0;
        for (const QString &line : written.lines.mid(1)) {
            QVERIFY2(line.startsWith(QStringLiteral("babble (")), qPrintable(line));
            counted += line.mid(8).section(QLatin1Char(' '), 0, 0).toInt();
        }
        episode.end();
        counted += written.lines.last().mid(8).section(QLatin1Char(' '), 0, 0).toInt();
        // Every message is accounted for: written or counted.
        QCOMPARE(1 + counted, 36000);
    }

    void pollWithoutEpisodeWritesNothing()
    {
        Written written;
        LogEpisode episode(written.writer());
        episode.poll();
        episode.poll(123456);
        episode.end();
        QVERIFY(written.lines.isEmpty());
        QVERIFY(!episode.isActive());
    }

    void monotonicClockAdvances()
    {
        const qint64 first = LogEpisode::monotonicMs();
        QTRY_VERIFY(LogEpisode::monotonicMs() > first);
    }
};

QTEST_GUILESS_MAIN(TestLogEpisode)
#include "tst_logepisode.moc"
