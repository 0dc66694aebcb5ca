#include "button.h"
#include "flowlayout.h"
#include "panelkit.h"

#include <QFontDatabase>
#include <QLabel>
#include <QtTest>

class TestPanelKitStyle : public QObject
{
    Q_OBJECT

private slots:
    void fontsLoad()
    {
        PanelKit::loadApplicationFonts();
        PanelKit::loadApplicationFonts(); // twice is harmless
        if (!QFile::exists(QStringLiteral("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"))) {
            QSKIP("fonts-dejavu-core is not installed");
        }
        QVERIFY(QFontDatabase().families().contains(QStringLiteral("DejaVu Sans")));
    }

    void sheetKeysOnTypeAndFlat()
    {
        const QString sheet = PanelKit::getApplicationStylesheet();
        for (const char *type :
             {"label", "title", "heading", "panel-label", "panel-text", "label-header", "text"}) {
            QVERIFY2(sheet.contains(QStringLiteral("[type=\"%1\"]").arg(QLatin1String(type))),
                     type);
        }
        QVERIFY(sheet.contains(QStringLiteral("[flat=\"true\"]")));
        QVERIFY(!sheet.contains(QLatin1Char('@')));
        QVERIFY(sheet.count(QLatin1Char('{')) == sheet.count(QLatin1Char('}')));
        const QString buttons = PanelKit::getButtonStylesheet();
        QVERIFY(buttons.contains(QStringLiteral("QPushButton")));
        QVERIFY(!buttons.contains(QLatin1Char('@')));
    }

    void typedLabelsTakeTheirLook()
    {
        qApp->setStyleSheet(PanelKit::getApplicationStylesheet());
        QLabel title(QStringLiteral("Energy"));
        title.setProperty("type", QStringLiteral("title"));
        QLabel label(QStringLiteral("Energy"));
        label.setProperty("type", QStringLiteral("label"));
        title.ensurePolished();
        label.ensurePolished();
        QVERIFY(title.font().pointSizeF() > label.font().pointSizeF());
        qApp->setStyleSheet(QString());
    }

    void buttonSizesAndColours()
    {
        Button small(QStringLiteral("OK"), Button::Compact, Button::Action);
        Button large(QStringLiteral("set AOM\nenergy level"), 6, 2);
        QCOMPARE(large.buttonSize(), 6);
        QCOMPARE(large.buttonColor(), 2);
        QVERIFY(large.sizeHint().width() > small.sizeHint().width());
        QVERIFY(small.sizeHint().width() >= 96);
        large.setButtonSize(42);
        QCOMPARE(large.buttonSize(), 6);
        large.setButtonColor(4);
        QCOMPARE(large.property("buttonColor").toInt(), 4);
    }

    void flowLayoutWraps()
    {
        QWidget host;
        auto *flow = new FlowLayout(&host, 0, 4, 4);
        for (int i = 0; i < 6; ++i) {
            auto *item = new QWidget;
            item->setFixedSize(50, 20);
            flow->addWidget(item);
        }
        QCOMPARE(flow->count(), 6);
        QCOMPARE(flow->heightForWidth(400), 20);
        QCOMPARE(flow->heightForWidth(110), 3 * 20 + 2 * 4);
        host.resize(110, 200);
        host.show();
        QTRY_COMPARE(flow->itemAt(2)->geometry().topLeft(), QPoint(0, 24));
        delete flow->takeAt(0);
        QCOMPARE(flow->count(), 5);
    }
};

QTEST_MAIN(TestPanelKitStyle)
#include "tst_panelkitstyle.moc"
