#include "button.h"
#include "dialog.h"

#include <QApplication>
#include <QSignalSpy>
#include <QTimer>
#include <QtTest>

class TestDialog : public QObject
{
    Q_OBJECT

private slots:
    void framelessAndModal()
    {
        Dialog dialog(nullptr, true);
        QVERIFY(dialog.isModal());
        QVERIFY(dialog.isFrameless());
        QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
        QVERIFY(!(dialog.windowFlags() & Qt::WindowTitleHint));
        dialog.show();
        QTRY_COMPARE(QApplication::activeModalWidget(), &dialog);
        QCOMPARE(dialog.windowModality(), Qt::ApplicationModal);
        dialog.reject();
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    }

    void framedWhenNotAsked()
    {
        Dialog dialog;
        QVERIFY(dialog.isModal());
        QVERIFY(!dialog.isFrameless());
        QVERIFY(!(dialog.windowFlags() & Qt::FramelessWindowHint));
        QVERIFY(dialog.windowFlags() & Qt::WindowTitleHint);
        dialog.setFrameless(true);
        QVERIFY(dialog.windowFlags() & Qt::FramelessWindowHint);
    }

    void execReturnsTheOperatorsAnswer()
    {
        Dialog dialog(nullptr, true);
        auto *ok = new Button(QStringLiteral("OK"), Button::Compact, Button::Action, &dialog);
        connect(ok, &QPushButton::clicked, &dialog, &QDialog::accept);
        QTimer::singleShot(50, ok, [ok] { QTest::mouseClick(ok, Qt::LeftButton); });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    }
};

QTEST_MAIN(TestDialog)
#include "tst_dialog.moc"
