#include "dialog.h"
#include "mainview.h"
#include "panelkit.h"
#include "panelkitgallery.h"

#include <QDir>
#include <QSet>
#include <QtTest>

// Renders the gallery offscreen and keeps the pictures under the build folder, so that
// what the panel looks like can be checked by eye after every build.
class TestPanelKitGallery : public QObject
{
    Q_OBJECT

private:
    QString m_folder;

    static int distinctColours(const QImage &image)
    {
        QSet<QRgb> colours;
        for (int y = 0; y < image.height(); y += 3) {
            for (int x = 0; x < image.width(); x += 3) {
                colours.insert(image.pixel(x, y));
            }
        }
        return colours.size();
    }

    void save(const QImage &image, const QString &name)
    {
        QVERIFY(!image.isNull());
        QVERIFY2(distinctColours(image) > 50, qPrintable(name));
        QVERIFY(image.save(m_folder + QLatin1Char('/') + name));
    }

private slots:
    void initTestCase()
    {
        PanelKit::loadApplicationFonts();
        qApp->setStyleSheet(PanelKit::getApplicationStylesheet());
        const QByteArray build = qgetenv("VELUTRA_BUILD_DIR");
        m_folder = (build.isEmpty() ? QDir::currentPath() : QString::fromLocal8Bit(build))
                   + QStringLiteral("/screenshots");
        QVERIFY(QDir().mkpath(m_folder));
    }

    void renderEveryPage()
    {
        PanelKitGallery gallery;
        gallery.resize(1366, 768);
        gallery.show();
        QVERIFY(QTest::qWaitForWindowExposed(&gallery));
        QApplication::setActiveWindow(&gallery);
        QVERIFY(QTest::qWaitForWindowActive(&gallery));
        gallery.focusSample();
        QCOMPARE(gallery.mainView()->controlPageCount(), 4);
        const char *names[] = {"panelkit-gallery.png", "panelkit-gallery-buttons.png",
                               "panelkit-gallery-inputs.png"};
        for (int page = 0; page < 3; ++page) {
            gallery.mainView()->setControlPage(page);
            QCOMPARE(gallery.mainView()->currentControlPage(), page);
            QTest::qWait(50);
            const QImage image = gallery.grab().toImage();
            QCOMPARE(image.size(), QSize(1366, 768));
            save(image, QString::fromLatin1(names[page]));
        }
        // The locked page stays locked.
        gallery.mainView()->setControlPage(3);
        QCOMPARE(gallery.mainView()->currentControlPage(), 2);
    }

    void renderFullHd()
    {
        PanelKitGallery gallery;
        gallery.resize(1920, 1080);
        gallery.show();
        QVERIFY(QTest::qWaitForWindowExposed(&gallery));
        save(gallery.grab().toImage(), QStringLiteral("panelkit-gallery-1920.png"));
    }

    void renderDialog()
    {
        PanelKitGallery gallery;
        Dialog *dialog = gallery.createSampleDialog(&gallery);
        QVERIFY(dialog->isFrameless());
        dialog->adjustSize();
        dialog->show();
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        save(dialog->grab().toImage(), QStringLiteral("panelkit-gallery-dialog.png"));
        dialog->reject();
    }
};

QTEST_MAIN(TestPanelKitGallery)
#include "tst_panelkitgallery.moc"
