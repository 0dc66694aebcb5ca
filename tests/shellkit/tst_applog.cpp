#include "_applog.h"

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <QThread>
#include <QtTest>

class TestAppLog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // A data folder of our own: other tests run at the same time.
        QVERIFY(m_home.isValid());
        qputenv("XDG_DATA_HOME", m_home.path().toUtf8());
    }

    void init() { _AppLog::getLogDocument()->clear(); }

    void writeLogLineStampsEveryLine()
    {
        _AppLog::WriteLogLine(QStringLiteral("Communication port COM3 successfully opened."));
        _AppLog::WriteLogLine(QStringLiteral("second"));
        QTextDocument *document = _AppLog::getLogDocument();
        QCOMPARE(document->blockCount(), 2);
        const QRegularExpression stamp(
                QStringLiteral("^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3}  "));
        const QString first = document->firstBlock().text();
        QVERIFY2(stamp.match(first).hasMatch(), qPrintable(first));
        QVERIFY(first.endsWith(QStringLiteral("Communication port COM3 successfully opened.")));
        QVERIFY(document->lastBlock().text().endsWith(QStringLiteral("second")));
    }

    void deviceLineEndsMakeNoEmptyLine_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("CR") << QStringLiteral("Velutra message: d2?\r");
        QTest::newRow("LF") << QStringLiteral("Velutra message: d2?\n");
        QTest::newRow("CR LF") << QStringLiteral("Velutra message: d2?\r\n");
    }

    void deviceLineEndsMakeNoEmptyLine()
    {
        QFETCH(QString, line);
        _AppLog::WriteLogLine(line);
        _AppLog::WriteLogLine(QStringLiteral("next"));
        QTextDocument *document = _AppLog::getLogDocument();
        QCOMPARE(document->blockCount(), 2);
        QVERIFY(document->firstBlock().text().endsWith(QStringLiteral("Velutra message: d2?")));
        QVERIFY(document->lastBlock().text().endsWith(QStringLiteral("  next")));
    }

    void linesFromAnotherThreadArriveInOrder()
    {
        QThread *worker = QThread::create([] {
            for (int i = 0; i < 100; ++i) {
                _AppLog::WriteLogLine(QStringLiteral("worker %1").arg(i));
            }
        });
        worker->start();
        QVERIFY(worker->wait(10000));
        delete worker;
        QTRY_COMPARE(_AppLog::getLogDocument()->blockCount(), 100);
        QVERIFY(_AppLog::getLogDocument()->firstBlock().text().endsWith(
                QStringLiteral("worker 0")));
        QVERIFY(_AppLog::getLogDocument()->lastBlock().text().endsWith(
                QStringLiteral("worker 99")));
    }

    void saveAndLoadKeepTheLog()
    {
        _AppLog::WriteLogLine(QStringLiteral("kept across runs"));
        _AppLog::SaveLog();
        QVERIFY(_AppLog::storedLogPath().startsWith(m_home.path()));
        QVERIFY(QFile::exists(_AppLog::storedLogPath()));
        _AppLog::getLogDocument()->clear();
        _AppLog::LoadLog();
        QCOMPARE(_AppLog::getLogDocument()->blockCount(), 1);
        QVERIFY(_AppLog::getLogDocument()->firstBlock().text().endsWith(
                QStringLiteral("kept across runs")));
        // A further line goes below the loaded ones.
        _AppLog::WriteLogLine(QStringLiteral("new"));
        QCOMPARE(_AppLog::getLogDocument()->blockCount(), 2);
    }

    void clearEmptiesTheLog()
    {
        _AppLog::WriteLogLine(QStringLiteral("one"));
        _AppLog::ClearLogLines(nullptr);
        QVERIFY(_AppLog::getLogDocument()->isEmpty());
    }

    void lineCountIsBounded()
    {
        // A device that floods the log for weeks must not exhaust memory.
        for (int i = 0; i < _AppLog::MaximumLines + 25; ++i) {
            _AppLog::WriteLogLine(QStringLiteral("line %1").arg(i));
        }
        QTextDocument *document = _AppLog::getLogDocument();
        QCOMPARE(document->blockCount(), _AppLog::MaximumLines);
        QVERIFY(document->lastBlock().text().endsWith(
                QStringLiteral("line %1").arg(_AppLog::MaximumLines + 24)));
        QVERIFY(document->firstBlock().text().endsWith(QStringLiteral("line 25")));
    }

    void lineWrittenIsSignalled()
    {
        QSignalSpy spy(_AppLog::instance(), &_AppLog::lineWritten);
        _AppLog::WriteLogLine(QStringLiteral("signalled"));
        QCOMPARE(spy.count(), 1);
        QVERIFY(spy.first().first().toString().endsWith(QStringLiteral("signalled")));
    }

private:
    QTemporaryDir m_home;
};

QTEST_MAIN(TestAppLog)
#include "tst_applog.moc"
