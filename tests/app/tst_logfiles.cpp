#include "consoleappender.h"
#include "fileappender.h"
#include "logfiles.h"
#include "logger.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QtTest>

namespace {

void createFile(const QString &path, const QDateTime &modified)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("x\n");
    // Flushed first, or closing would write again and stamp the file with the present time.
    QVERIFY(file.flush());
    QVERIFY(file.setFileTime(modified, QFileDevice::FileModificationTime));
}

// A folder that cannot be created: a plain file stands where its parent should be.
QString folderBehindAFile(const QTemporaryDir &dir)
{
    const QString blocker = dir.filePath(QStringLiteral("plainfile"));
    QFile file(blocker);
    file.open(QIODevice::WriteOnly);
    return blocker + QStringLiteral("/logs");
}

// A category declared like the program's own: debug off unless switched on.
Q_LOGGING_CATEGORY(lcTracesUnderTest, "velutra.undertest", QtInfoMsg)

} // namespace

class TestLogFiles : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { Logger::removeAllAppenders(); }

    void pathIsTodaysFileAndFolderIsCreated()
    {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("a/b/c"));
        const QString path = LogFiles::logFilePath(folder);
        QCOMPARE(path, QDir(folder).absoluteFilePath(QStringLiteral("applog_%1.log")
                                                             .arg(QDate::currentDate().toString(
                                                                     QStringLiteral("yyMMdd")))));
        QVERIFY(QDir(folder).exists());
    }

    void uncreatableFolderGivesEmptyPath()
    {
        QTemporaryDir dir;
        QCOMPARE(LogFiles::logFilePath(folderBehindAFile(dir)), QString());
    }

    void pruningKeepsTheNewestTen()
    {
        QTemporaryDir dir;
        const QDateTime now = QDateTime::currentDateTime();
        // Names sort differently from ages, so only modification times can decide.
        for (int i = 0; i < 14; ++i) {
            createFile(dir.filePath(QStringLiteral("applog_2101%1.log")
                                            .arg(13 - i, 2, 10, QLatin1Char('0'))),
                       now.addDays(-i));
        }
        LogFiles::pruneLogFiles(dir.path());
        const QStringList left
                = QDir(dir.path())
                          .entryList({QStringLiteral("applog_*.log")}, QDir::Files, QDir::Name);
        QCOMPARE(left.size(), 10);
        for (int i = 0; i < 10; ++i) {
            QVERIFY2(left.contains(QStringLiteral("applog_2101%1.log")
                                           .arg(13 - i, 2, 10, QLatin1Char('0'))),
                     qPrintable(left.join(QLatin1Char(' '))));
        }
    }

    void pruningTouchesNothingElse()
    {
        QTemporaryDir dir;
        const QDateTime old = QDateTime::currentDateTime().addYears(-3);
        const QStringList others
                = {QStringLiteral("applog_old.txt"), QStringLiteral("notes.log"),
                   QStringLiteral("ApplicationLog.txt"), QStringLiteral("xapplog_1.log")};
        for (const QString &name : others) {
            createFile(dir.filePath(name), old);
        }
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("applog_folder.log")));
        for (int i = 0; i < 12; ++i) {
            createFile(dir.filePath(QStringLiteral("applog_%1.log").arg(i)), old.addDays(i + 1));
        }
        LogFiles::pruneLogFiles(dir.path());
        for (const QString &name : others) {
            QVERIFY2(QFile::exists(dir.filePath(name)), qPrintable(name));
        }
        QVERIFY(QDir(dir.filePath(QStringLiteral("applog_folder.log"))).exists());
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("applog_0.log"))));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("applog_1.log"))));
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("applog_2.log"))));
    }

    void tenOrFewerAreAllKept()
    {
        QTemporaryDir dir;
        for (int i = 0; i < 10; ++i) {
            createFile(dir.filePath(QStringLiteral("applog_%1.log").arg(i)),
                       QDateTime::currentDateTime());
        }
        LogFiles::pruneLogFiles(dir.path());
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 10);
    }

    void startLoggingWritesTodaysFileAndPrunes()
    {
        QTemporaryDir dir;
        for (int i = 0; i < 11; ++i) {
            createFile(dir.filePath(
                               QStringLiteral("applog_0001%1.log").arg(i, 2, 10, QLatin1Char('0'))),
                       QDateTime::currentDateTime().addDays(-30 + i));
        }
        AbstractAppender *appender = LogFiles::startLogging(dir.path());
        QVERIFY(dynamic_cast<FileAppender *>(appender));
        QFile today(LogFiles::logFilePath(dir.path()));
        QVERIFY(today.open(QIODevice::ReadOnly));
        const QByteArray text = today.readAll();
        QVERIFY2(text.contains("[Info   ] <main:qMain> ***** Application startup *****"),
                 text.constData());
        // Today's file counts among the ten kept.
        QCOMPARE(QDir(dir.path()).entryList({QStringLiteral("applog_*.log")}, QDir::Files).size(),
                 10);
    }

    void uncreatableFolderLogsToConsoleAndPrunesNothing()
    {
        QTemporaryDir dir;
        const QString folder = folderBehindAFile(dir);
        AbstractAppender *appender = LogFiles::startLogging(folder);
        QVERIFY(dynamic_cast<ConsoleAppender *>(appender));
        QVERIFY(QFileInfo(QFileInfo(folder).path()).isFile());
        QVERIFY(!QFileInfo::exists(folder));
    }

    void todaysFileIsBoundBySize()
    {
        QTemporaryDir dir;
        AbstractAppender *appender = LogFiles::startLogging(dir.path(), 8 * 1024);
        auto *file = dynamic_cast<FileAppender *>(appender);
        QVERIFY(file);
        QCOMPARE(file->maximumBytes(), qint64(8 * 1024));
        for (int i = 0; i < 1000; ++i) {
            qInfo("line %04d of a program that talks a lot", i);
        }
        QFile today(LogFiles::logFilePath(dir.path()));
        QVERIFY(today.size() <= 8 * 1024);
        QVERIFY(today.open(QIODevice::ReadOnly));
        const QByteArray text = today.readAll();
        QVERIFY(text.endsWith("line 0999 of a program that talks a lot\n"));
        QVERIFY(!text.contains("line 0000 "));
    }

    void defaultBoundIsTwentyMegabytes()
    {
        QTemporaryDir dir;
        auto *file = dynamic_cast<FileAppender *>(LogFiles::startLogging(dir.path()));
        QVERIFY(file);
        QCOMPARE(file->maximumBytes(), qint64(20 * 1024 * 1024));
    }

    void tracesFollowTheSwitch_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::newRow("off") << false;
        QTest::newRow("on") << true;
    }

    void tracesFollowTheSwitch()
    {
        QFETCH(bool, enabled);
        LogFiles::setTracesEnabled(enabled);
        QCOMPARE(lcTracesUnderTest().isDebugEnabled(), enabled);
        QCOMPARE(QLoggingCategory::defaultCategory()->isDebugEnabled(), enabled);
        // Warnings and information are never switched off.
        QVERIFY(lcTracesUnderTest().isInfoEnabled());
        QVERIFY(lcTracesUnderTest().isWarningEnabled());
        LogFiles::setTracesEnabled(false);
    }
};

QTEST_GUILESS_MAIN(TestLogFiles)
#include "tst_logfiles.moc"
