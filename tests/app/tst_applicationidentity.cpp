#include "applicationidentity.h"

#include <QCoreApplication>
#include <QtTest>

class TestApplicationIdentity : public QObject
{
    Q_OBJECT

private slots:
    void buildDate_data()
    {
        QTest::addColumn<QByteArray>("compilerText");
        QTest::addColumn<QString>("expected");
        QTest::newRow("one-digit day, padded")
                << QByteArray("Nov  3 2026") << QStringLiteral("2026-11-03");
        QTest::newRow("two-digit day") << QByteArray("Feb 18 2021") << QStringLiteral("2021-02-18");
        QTest::newRow("extra blanks")
                << QByteArray(" Dec   31  2025 ") << QStringLiteral("2025-12-31");
        QTest::newRow("unreadable") << QByteArray("??? ?? ????") << QString();
    }

    void buildDate()
    {
        QFETCH(QByteArray, compilerText);
        QFETCH(QString, expected);
        QCOMPARE(ApplicationIdentity::buildDateFromCompilerText(compilerText.constData()),
                 expected);
    }

    void buildTime()
    {
        QCOMPARE(ApplicationIdentity::buildTimeFromCompilerText("07:04:09"),
                 QStringLiteral("07:04:09"));
        QCOMPARE(ApplicationIdentity::buildTimeFromCompilerText("25:99:00"), QString());
    }

    void applySetsNamesAndBuildProperties()
    {
        ApplicationIdentity::apply(QCoreApplication::instance());
        QCOMPARE(QCoreApplication::organizationName(), QStringLiteral("Zelmar"));
        QCOMPARE(QCoreApplication::applicationName(), QStringLiteral("VELUTRA-XP"));
        QCOMPARE(QCoreApplication::applicationVersion(), QStringLiteral("1.0.25.680"));
        QVERIFY(!QCoreApplication::organizationDomain().isEmpty());
        const QString date = QCoreApplication::instance()->property("BUILDDATE").toString();
        const QString time = QCoreApplication::instance()->property("BUILDTIME").toString();
        QVERIFY2(
                QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d$")).match(date).hasMatch(),
                qPrintable(date));
        QVERIFY2(
                QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d$")).match(time).hasMatch(),
                qPrintable(time));
    }
};

QTEST_GUILESS_MAIN(TestApplicationIdentity)
#include "tst_applicationidentity.moc"
