#include "_applog.h"
#include "applicationlog.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextDocument>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

class TestApplicationLog : public QObject
{
    Q_OBJECT

private:
    static QPlainTextEdit *view(ApplicationLog &page) { return page.findChild<QPlainTextEdit *>(); }
    static QToolButton *button(ApplicationLog &page, const char *name)
    {
        return page.findChild<QToolButton *>(QString::fromLatin1(name));
    }
    static void writeLines(int count)
    {
        for (int i = 0; i < count; ++i) {
            _AppLog::WriteLogLine(QStringLiteral("line %1").arg(i));
        }
    }

private slots:
    void init() { _AppLog::getLogDocument()->clear(); }

    void showsTheSharedLogReadOnlyWithoutWrapping()
    {
        ApplicationLog page;
        QCOMPARE(view(page)->document(), _AppLog::getLogDocument());
        QVERIFY(view(page)->isReadOnly());
        QCOMPARE(view(page)->lineWrapMode(), QPlainTextEdit::NoWrap);
        _AppLog::WriteLogLine(QStringLiteral("visible on the page"));
        QVERIFY(view(page)->toPlainText().endsWith(QStringLiteral("visible on the page")));
    }

    void followsNewLinesOnlyAtTheBottom()
    {
        ApplicationLog page;
        page.resize(400, 200);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
        QScrollBar *bar = view(page)->verticalScrollBar();
        writeLines(200);
        QTRY_VERIFY(bar->maximum() > 0);
        QTRY_COMPARE(bar->value(), bar->maximum());

        // Scrolled up by the operator: new lines must not pull the view away.
        bar->setValue(bar->maximum() / 2);
        const int held = bar->value();
        writeLines(50);
        QCoreApplication::processEvents();
        QCOMPARE(bar->value(), held);

        // Back at the bottom: following resumes.
        bar->setValue(bar->maximum());
        writeLines(50);
        QTRY_COMPARE(bar->value(), bar->maximum());
    }

    void clearButtonEmptiesTheLog()
    {
        ApplicationLog page;
        writeLines(3);
        button(page, "toolButtonClear")->click();
        QVERIFY(_AppLog::getLogDocument()->isEmpty());
    }

    void saveButtonWritesTheChosenFile()
    {
        QTemporaryDir dir;
        ApplicationLog page;
        writeLines(3);
        bool dialogSeen = false;
        QString target;
        QTimer::singleShot(200, this, [&] {
            auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            if (dialog) {
                dialogSeen = true;
                // Keep the proposed name, in a folder of our own.
                dialog->setDirectory(dir.path());
                target = dialog->selectedFiles().value(0);
                QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
            }
        });
        button(page, "toolButtonSave")->click();
        QVERIFY(dialogSeen);
        QVERIFY2(target.startsWith(dir.path()), qPrintable(target));
        QVERIFY(target.endsWith(QStringLiteral(".txt")));
        QFile file(target);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QVERIFY(text.contains("line 0"));
        QVERIFY(text.contains("line 2"));
    }
};

QTEST_MAIN(TestApplicationLog)
#include "tst_applicationlog.moc"
