#include "abstractstringappender.h"
#include "consoleappender.h"
#include "fileappender.h"
#include "logger.h"

#include <QFile>
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
};

QTEST_GUILESS_MAIN(TestLogger)
#include "tst_logger.moc"
