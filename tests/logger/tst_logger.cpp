#include "abstractstringappender.h"
#include "consoleappender.h"
#include "fileappender.h"
#include "logger.h"

#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <cstdio>
#include <unistd.h>

namespace {

// Collects what the logger hands to an appender.
class RecordingAppender : public AbstractStringAppender
{
public:
    QStringList lines() const
    {
        QMutexLocker locker(&m_linesMutex);
        return m_lines;
    }

protected:
    void append(const QDateTime &timeStamp, Logger::LogLevel level, const char *file, int line,
                const char *function, const QString &category, const QString &message) override
    {
        QMutexLocker locker(&m_linesMutex);
        m_lines << formattedString(timeStamp, level, file, line, function, category, message);
    }

private:
    mutable QMutex m_linesMutex;
    QStringList m_lines;
};

QString readAll(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QString();
    }
    return QString::fromUtf8(file.readAll());
}

} // namespace

class TestLogger : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { Logger::removeAllAppenders(); }

    void fileAppenderWritesTimeLevelSourceAndMessage()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("applog_test.log"));
        Logger::registerAppender(new FileAppender(path));
        Logger::write(Logger::Info, "main", 0, "qMain", "default",
                      QStringLiteral("***** Application startup *****"));
        const QString text = readAll(path);
        const QRegularExpression line(QStringLiteral(
                "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} \\[Info   \\] <main:qMain> "
                "\\*\\*\\*\\*\\* Application startup \\*\\*\\*\\*\\*\\n$"));
        QVERIFY2(line.match(text).hasMatch(), qPrintable(text));
    }

    void secondAppenderOnSameFileAppends()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("applog_test.log"));
        Logger::registerAppender(new FileAppender(path));
        Logger::write(Logger::Info, "main", 0, "qMain", "default", QStringLiteral("first run"));
        Logger::removeAllAppenders();
        Logger::registerAppender(new FileAppender(path));
        Logger::write(Logger::Info, "main", 0, "qMain", "default", QStringLiteral("second run"));
        const QString text = readAll(path);
        QVERIFY(text.contains(QStringLiteral("first run")));
        QVERIFY(text.contains(QStringLiteral("second run")));
        QCOMPARE(text.count(QLatin1Char('\n')), 2);
    }

    void qtMessagesReachEveryAppender()
    {
        auto *first = new RecordingAppender;
        auto *second = new RecordingAppender;
        Logger::registerAppender(first);
        Logger::registerAppender(second);
        qDebug("stSendConnectCmd");
        qInfo("information");
        qWarning("a warning");
        for (RecordingAppender *appender : {first, second}) {
            const QStringList lines = appender->lines();
            QCOMPARE(lines.size(), 3);
            QVERIFY(lines.at(0).contains(QStringLiteral("[Debug  ]")));
            QVERIFY(lines.at(0).endsWith(QStringLiteral("stSendConnectCmd\n")));
            QVERIFY(lines.at(1).contains(QStringLiteral("[Info   ]")));
            QVERIFY(lines.at(2).contains(QStringLiteral("[Warning]")));
            // The source names this file and this function.
            QVERIFY2(lines.at(0).contains(QStringLiteral("<tst_logger:")), qPrintable(lines.at(0)));
            QVERIFY2(lines.at(0).contains(QStringLiteral("qtMessagesReachEveryAppender")),
                     qPrintable(lines.at(0)));
        }
    }

    void detailsLevelFiltersLowerLevels()
    {
        auto *appender = new RecordingAppender;
        appender->setDetailsLevel(Logger::Warning);
        Logger::registerAppender(appender);
        qDebug("dropped");
        qInfo("dropped too");
        qWarning("kept");
        QCOMPARE(appender->lines().size(), 1);
        QVERIFY(appender->lines().first().contains(QStringLiteral("kept")));
    }

    void consoleAppenderWritesToStandardError()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("stderr.txt"));
        std::fflush(stderr);
        const int saved = ::dup(STDERR_FILENO);
        QVERIFY(saved >= 0);
        FILE *capture = std::fopen(QFile::encodeName(path).constData(), "w");
        QVERIFY(capture);
        ::dup2(::fileno(capture), STDERR_FILENO);
        Logger::registerAppender(new ConsoleAppender);
        Logger::write(Logger::Warning, "main", 0, "qMain", "default",
                      QStringLiteral("to the console"));
        std::fflush(stderr);
        ::dup2(saved, STDERR_FILENO);
        ::close(saved);
        std::fclose(capture);
        const QString text = readAll(path);
        QVERIFY2(text.contains(QStringLiteral("[Warning] <main:qMain> to the console")),
                 qPrintable(text));
    }

    void messagesFromAnotherThreadAreKept()
    {
        auto *appender = new RecordingAppender;
        Logger::registerAppender(appender);
        constexpr int PerThread = 500;
        QThread *worker = QThread::create([] {
            for (int i = 0; i < PerThread; ++i) {
                qDebug("worker %d", i);
            }
        });
        worker->start();
        for (int i = 0; i < PerThread; ++i) {
            qDebug("gui %d", i);
        }
        QVERIFY(worker->wait(10000));
        delete worker;
        QCOMPARE(appender->lines().size(), 2 * PerThread);
    }

    void removingAppendersRestoresQtHandler()
    {
        auto *appender = new RecordingAppender;
        Logger::registerAppender(appender);
        Logger::removeAllAppenders();
        // With Qt's own handler back, QTest sees the message again.
        QTest::ignoreMessage(QtWarningMsg, "back to Qt");
        qWarning("back to Qt");
    }

    void functionNamesAreShortened()
    {
        auto *appender = new RecordingAppender;
        Logger::registerAppender(appender);
        Logger::write(Logger::Debug, "/src/app/mainwindow.cpp", 42,
                      "void MainWindow::slotWriteLogLine(QString)", "default", QStringLiteral("x"));
        QVERIFY2(appender->lines().first().contains(
                         QStringLiteral("<mainwindow:42:MainWindow::slotWriteLogLine> x")),
                 qPrintable(appender->lines().first()));
    }

    void fileStaysUnderItsBoundWithTheNewestLines_data()
    {
        QTest::addColumn<qint64>("maximumBytes");
        QTest::addColumn<int>("lines");
        QTest::newRow("16 KiB, just over") << qint64(16 * 1024) << 160;
        QTest::newRow("16 KiB, far past") << qint64(16 * 1024) << 5000;
        QTest::newRow("64 KiB") << qint64(64 * 1024) << 3000;
    }

    void fileStaysUnderItsBoundWithTheNewestLines()
    {
        QFETCH(qint64, maximumBytes);
        QFETCH(int, lines);
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("applog_test.log"));
        auto *appender = new FileAppender(path);
        appender->setMaximumBytes(maximumBytes);
        QCOMPARE(appender->maximumBytes(), maximumBytes);
        Logger::registerAppender(appender);
        qint64 largest = 0;
        for (int index = 0; index < lines; ++index) {
            Logger::write(Logger::Info, "main", 0, "qMain", "default",
                          QStringLiteral("line %1 of the test, padded to about a hundred bytes")
                                  .arg(index, 6, 10, QLatin1Char('0')));
            largest = qMax(largest, QFileInfo(path).size());
        }
        QVERIFY2(largest <= maximumBytes, qPrintable(QString::number(largest)));

        const QStringList kept = readAll(path).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        // Whole lines only, the newest last and in order, nothing missing between them.
        QVERIFY(kept.last().contains(
                QStringLiteral("line %1 ").arg(lines - 1, 6, 10, QLatin1Char('0'))));
        const QRegularExpression numbered(QStringLiteral("<main:qMain> line (\\d{6}) of the "
                                                         "test, padded to about a hundred bytes$"));
        int previous = -1;
        int trimNotes = 0;
        for (const QString &line : kept) {
            const QRegularExpressionMatch match = numbered.match(line);
            if (!match.hasMatch()) {
                QVERIFY2(line.contains(QStringLiteral("(velutra.log) Log file over %1 bytes: older "
                                                      "lines removed.")
                                               .arg(maximumBytes)),
                         qPrintable(line));
                ++trimNotes;
                continue;
            }
            const int number = match.captured(1).toInt();
            if (previous >= 0) {
                QCOMPARE(number, previous + 1);
            }
            previous = number;
        }
        // At most one note, at the top; at least half the bound survives a trim.
        QVERIFY(trimNotes <= 1);
        if (trimNotes == 1) {
            QVERIFY(kept.first().contains(QStringLiteral("older lines removed")));
            QVERIFY(QFileInfo(path).size() >= maximumBytes / 2 - 200);
        }
    }

    void fileOverItsBoundAtStartIsTrimmed()
    {
        // A file left large by a run with a higher bound shrinks on the next line.
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("applog_test.log"));
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            for (int index = 0; index < 1000; ++index) {
                file.write(QStringLiteral("old line %1\n").arg(index).toUtf8());
            }
        }
        auto *appender = new FileAppender(path);
        appender->setMaximumBytes(4096);
        Logger::registerAppender(appender);
        Logger::write(Logger::Info, "main", 0, "qMain", "default", QStringLiteral("new line"));
        const QString text = readAll(path);
        QVERIFY(QFileInfo(path).size() <= 4096);
        QVERIFY(text.endsWith(QStringLiteral("new line\n")));
        QVERIFY(text.contains(QStringLiteral("old line 999\n")));
        QVERIFY(!text.contains(QStringLiteral("old line 0\n")));
    }

    void boundSettings_data()
    {
        QTest::addColumn<qint64>("requested");
        QTest::addColumn<qint64>("expected");
        QTest::newRow("default") << qint64(-2) << FileAppender::DefaultMaximumBytes;
        QTest::newRow("unbounded") << qint64(0) << qint64(0);
        QTest::newRow("negative") << qint64(-5) << qint64(0);
        QTest::newRow("tiny") << qint64(10) << FileAppender::SmallestMaximumBytes;
        QTest::newRow("1 MiB") << qint64(1024 * 1024) << qint64(1024 * 1024);
    }

    void boundSettings()
    {
        QFETCH(qint64, requested);
        QFETCH(qint64, expected);
        FileAppender appender;
        if (requested != -2) {
            appender.setMaximumBytes(requested);
        }
        QCOMPARE(appender.maximumBytes(), expected);
    }

    void unboundedFileKeepsEverything()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("applog_test.log"));
        auto *appender = new FileAppender(path);
        appender->setMaximumBytes(0);
        Logger::registerAppender(appender);
        for (int index = 0; index < 200; ++index) {
            Logger::write(Logger::Info, "main", 0, "qMain", "default",
                          QString(100, QLatin1Char('x')));
        }
        QCOMPARE(readAll(path).count(QLatin1Char('\n')), 200);
    }
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
