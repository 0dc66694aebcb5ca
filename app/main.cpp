#include "applicationidentity.h"
#include "commandline.h"
#include "logfiles.h"
#include "logger.h"
#include "mainwindow.h"
#include "startupprobe.h"
#include "unixsignalwatcher.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include <cstdio>

int main(int argc, char *argv[])
{
    if (!CommandLine::needsWindow(argc, argv)) {
        QCoreApplication application(argc, argv);
        ApplicationIdentity::apply(&application);
        return CommandLine::runWithoutWindow(application);
    }
    if (!CommandLine::displayAvailable(argc, argv)) {
        // Qt would abort here; say why instead.
        std::fprintf(stderr, "velutra-xp: no display. Set DISPLAY, run it under xvfb-run, or pass "
                             "-platform offscreen.\n");
        return 2;
    }

    // Nothing here draws with OpenGL, yet on X11 Qt loads the system's GL driver at start-up
    // to offer it: some 50 MB of resident memory and a slower first window, for nothing.
    // Whoever needs it can still ask for an integration by name.
    if (!qEnvironmentVariableIsSet("QT_XCB_GL_INTEGRATION")) {
        qputenv("QT_XCB_GL_INTEGRATION", "none");
    }
    auto *application = new QApplication(argc, argv);
    ApplicationIdentity::apply(application);

    QCommandLineParser parser;
    CommandLine::configure(parser);
    parser.process(*application);

    LogFiles::setTracesEnabled(parser.isSet(QString::fromLatin1(CommandLine::VerboseOption)));
    LogFiles::startLogging();

    auto *window = new MainWindow;
    UnixSignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &UnixSignalWatcher::terminationRequested, window,
                     [window](int signalNumber) {
                         window->slotWriteLogLine(
                                 QObject::tr("Signal %1 received: closing.").arg(signalNumber));
                         window->close();
                     });
    StartupProbe::installIfRequested(window);
    window->show();
    // Recording starts before any port opens, so that the first bytes are in the log.
    const QString trafficLog = parser.value(QString::fromLatin1(CommandLine::TrafficLogOption));
    if (!trafficLog.isEmpty()) {
        window->startTrafficLog(trafficLog);
    }
    const QString valueRecord = parser.value(QString::fromLatin1(CommandLine::RecordOption));
    if (!valueRecord.isEmpty()) {
        window->startValueRecording(valueRecord);
    }
    const QString port = parser.value(QString::fromLatin1(CommandLine::ConnectOption));
    if (!port.isEmpty()) {
        QTimer::singleShot(0, window, [window, port] { window->connectToPort(port); });
    }
    const int result = application->exec();
    delete window;
    delete application;
    Logger::removeAllAppenders();
    return result;
}
