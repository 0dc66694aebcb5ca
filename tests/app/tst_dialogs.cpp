#include "aboutdialog.h"
#include "applicationidentity.h"
#include "layoutdebug.h"
#include "optionsdialog.h"
#include "panelkit.h"
#include "quickconnect.h"
#include "testoption.h"
#include "ttmenu.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLoggingCategory>
#include <QPushButton>
#include <QStackedWidget>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QtTest>

#include <cmath>

namespace {

QStringList s_debugMessages;

void captureDebug(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtDebugMsg) {
        s_debugMessages << message;
    }
}

QLabel *labelNamed(QWidget &parent, const char *name)
{
    return parent.findChild<QLabel *>(QString::fromLatin1(name));
}

} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { ApplicationIdentity::apply(QCoreApplication::instance()); }

    void aboutDialogShowsVersionBuildCopyrightAndLicence()
    {
        AboutDialog dialog;
        QCOMPARE(dialog.windowTitle(), QStringLiteral("About VELUTRA-XP"));
        QVERIFY(dialog.windowFlags().testFlag(Qt::Tool));
        QVERIFY(dialog.windowFlags().testFlag(Qt::MSWindowsFixedSizeDialogHint));
        const QString date = qApp->property("BUILDDATE").toString();
        const QString time = qApp->property("BUILDTIME").toString();
        QCOMPARE(labelNamed(dialog, "labelVersion")->text(),
                 QStringLiteral("Corvane VELUTRA XP laser control software - Version 1.0.25.680"));
        QCOMPARE(labelNamed(dialog, "labelBuild")->text(),
                 QStringLiteral("Build - %1 at %2").arg(date, time));
        QCOMPARE(labelNamed(dialog, "labelCopyright")->text(),
                 QStringLiteral("Copyright %1 - Zelmar. All rights reserved.").arg(date.left(4)));

        const QString licence = dialog.findChild<QTextBrowser *>()->toPlainText();
        QVERIFY(!licence.contains(QStringLiteral("[COMPANYNAMESTR]")));
        QVERIFY(!licence.contains(QStringLiteral("[PRODUCTNAME]")));
        QVERIFY(licence.contains(QStringLiteral("Zelmar")));
        QVERIFY(licence.contains(QStringLiteral("Corvane VELUTRA XP laser control software")));

        QLabel *link = labelNamed(dialog, "labelLink");
        QVERIFY(link->text().startsWith(QStringLiteral("<p>For updates visit <a href=")));
        QVERIFY(link->text().contains(QStringLiteral("color:#0000ff")));
        QVERIFY(link->openExternalLinks());
        QVERIFY(link->textInteractionFlags().testFlag(Qt::LinksAccessibleByKeyboard));
        QVERIFY(link->textInteractionFlags().testFlag(Qt::LinksAccessibleByMouse));
        QVERIFY(link->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
    }

    // The link keeps its blue; under the panel's dark style it must still stand out from what
    // is behind it (a contrast ratio of at least 4.5 to 1, as for body text).
    void aboutLinkIsReadableUnderThePanelStyle()
    {
        const QString previousStyle = qApp->styleSheet();
        PanelKit::loadApplicationFonts();
        qApp->setStyleSheet(PanelKit::getApplicationStylesheet());
        AboutDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QLabel *link = labelNamed(dialog, "labelLink");
        // The dialog draws what lies behind the label; grab that part of the dialog.
        const QImage image
                = dialog.grab(QRect(link->mapTo(&dialog, QPoint(0, 0)), link->size())).toImage();
        qApp->setStyleSheet(previousStyle);

        const auto luminance = [](QColor color) {
            const auto channel = [](double value) {
                return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * channel(color.redF()) + 0.7152 * channel(color.greenF())
                   + 0.0722 * channel(color.blueF());
        };
        // What is behind the text: the colour most of the label is painted in.
        QHash<QRgb, int> counts;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                ++counts[image.pixel(x, y)];
            }
        }
        QRgb mostUsed = 0;
        for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
            if (it.value() > counts.value(mostUsed)) {
                mostUsed = it.key();
            }
        }
        const QColor background = QColor::fromRgba(mostUsed);
        const double linkLuminance = luminance(QColor(0x00, 0x00, 0xff));
        const double backgroundLuminance = luminance(background);
        const double contrast = (qMax(linkLuminance, backgroundLuminance) + 0.05)
                                / (qMin(linkLuminance, backgroundLuminance) + 0.05);
        QVERIFY2(contrast >= 4.5, qPrintable(QStringLiteral("#0000ff on %1: %2 to 1")
                                                     .arg(background.name())
                                                     .arg(contrast, 0, 'f', 2)));
        // The link's blue is really drawn there.
        bool blueDrawn = false;
        for (int y = 0; y < image.height() && !blueDrawn; ++y) {
            for (int x = 0; x < image.width() && !blueDrawn; ++x) {
                const QColor pixel = image.pixelColor(x, y);
                blueDrawn = pixel.blue() > 200 && pixel.red() < 80 && pixel.green() < 80;
            }
        }
        QVERIFY(blueDrawn);
    }

    void aboutDialogOkAccepts()
    {
        AboutDialog dialog;
        dialog.show();
        auto *box = dialog.findChild<QDialogButtonBox *>();
        box->button(QDialogButtonBox::Ok)->click();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
    }

    void optionsDialogListsItsPagesAndTracesClicks()
    {
        OptionsDialog dialog;
        QCOMPARE(dialog.pageTree()->topLevelItemCount(), 0);
        QCOMPARE(dialog.buttonBox()->orientation(), Qt::Horizontal);
        QVERIFY(dialog.pageStack());
        dialog.addOptionPage(new TestOption);
        QCOMPARE(dialog.pageTree()->topLevelItemCount(), 1);
        QCOMPARE(dialog.pageTree()->topLevelItem(0)->text(0), QStringLiteral("Test option"));
        QCOMPARE(dialog.pageStack()->count(), 1);
        dialog.show();
        s_debugMessages.clear();
        // The trace belongs to the application's debug category, off unless asked for.
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.app.debug=true"));
        QtMessageHandler previous = qInstallMessageHandler(captureDebug);
        QPushButton *ok = dialog.buttonBox()->button(QDialogButtonBox::Ok);
        ok->click();
        qInstallMessageHandler(previous);
        QLoggingCategory::setFilterRules(QString());
        QCOMPARE(s_debugMessages.size(), 1);
        QVERIFY(s_debugMessages.first().startsWith(QStringLiteral("Clicked on")));
        QVERIFY(s_debugMessages.first().contains(ok->text()));
        // OK applies and closes.
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QVERIFY(!dialog.isVisible());
    }

    void testOptionPage()
    {
        TestOption option;
        QWidget parent;
        auto *label = qobject_cast<QLabel *>(option.optionWidget(&parent));
        QVERIFY(label);
        QCOMPARE(label->text(), QStringLiteral("Hello world - Option Widget"));
        QCOMPARE(label->parentWidget(), &parent);
        QVERIFY(!option.optionIcon().isNull());
    }

    void formOnlyClassesBuild()
    {
        QuickConnect quick;
        auto *button = quick.findChild<QPushButton *>();
        QVERIFY(button);
        QVERIFY(!button->styleSheet().isEmpty());
        button->click(); // reaches an empty slot; nothing to observe but that it is safe
        LayoutDebug layout;
        QVERIFY(layout.layout());
        TTMenu menu(QStringLiteral("menu"));
        QVERIFY(qobject_cast<QMenu *>(&menu));
    }
};

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
