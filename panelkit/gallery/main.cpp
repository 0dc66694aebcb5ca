#include "dialog.h"
#include "mainview.h"
#include "panelkit.h"
#include "panelkitgallery.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

// With --screenshot the gallery renders itself into a picture and exits, so a build
// machine without a display can show what the panel looks like.
int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("panelkit-gallery"));
    PanelKit::loadApplicationFonts();
    app.setStyleSheet(PanelKit::getApplicationStylesheet());

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows every PanelKit widget in every state."));
    parser.addHelpOption();
    const QCommandLineOption screenshot(
            QStringLiteral("screenshot"),
            QStringLiteral("Save a picture of page <page> to <file> and exit."),
            QStringLiteral("file"));
    const QCommandLineOption page(QStringLiteral("page"), QStringLiteral("Page to show."),
                                  QStringLiteral("page"), QStringLiteral("0"));
    const QCommandLineOption size(QStringLiteral("size"),
                                  QStringLiteral("Window size as WIDTHxHEIGHT."),
                                  QStringLiteral("size"), QStringLiteral("1366x768"));
    parser.addOptions({screenshot, page, size});
    parser.process(app);

    PanelKitGallery gallery;
    gallery.setWindowTitle(QStringLiteral("PanelKit gallery"));
    const QStringList dimensions = parser.value(size).split(QLatin1Char('x'));
    const int width = dimensions.value(0).toInt();
    const int height = dimensions.value(1).toInt();
    gallery.resize(width > 0 ? width : 1366, height > 0 ? height : 768);
    gallery.mainView()->setControlPage(parser.value(page).toInt());
    gallery.show();
    gallery.focusSample();

    if (parser.isSet(screenshot)) {
        const QString file = parser.value(screenshot);
        QTimer::singleShot(200, &app, [&gallery, &app, file] {
            const bool saved = gallery.grab().save(file);
            app.exit(saved ? 0 : 1);
        });
    }
    return app.exec();
}
