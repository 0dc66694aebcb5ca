#include "commandline.h"

#include "serialportlist.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace CommandLine {

void configure(QCommandLineParser &parser)
{
    parser.setApplicationDescription(QCoreApplication::translate(
            "CommandLine",
            "Control program for Velutra pulsed lasers and their harmonic modules."));
    parser.addHelpOption();
    parser.addVersionOption();
    // In the order --help lists them; an option without a value name takes none.
    static const struct
    {
        const char *name;
        const char *description;
        const char *valueName;
    } s_options[] = {
            {ListPortsOption,
             QT_TRANSLATE_NOOP("CommandLine",
                               "Print the serial ports a laser can be reached on, with their "
                               "descriptions, and exit."),
             nullptr},
            {ConnectOption,
             QT_TRANSLATE_NOOP("CommandLine",
                               "Once the window is shown, open <port> as the Connect menu would (a "
                               "name such as ttyUSB0 or a path such as /dev/ttyUSB0)."),
             QT_TRANSLATE_NOOP("CommandLine", "port")},
            {VerboseOption,
             QT_TRANSLATE_NOOP("CommandLine",
                               "Write the debug traces of every part of the program (velutra.*) to "
                               "the daily log file. QT_LOGGING_RULES chooses finer, e.g. "
                               "\"velutra.serial.debug=true\"."),
             nullptr},
            // Recording, as the Recording menu would start it.
            {TrafficLogOption,
             QT_TRANSLATE_NOOP(
                     "CommandLine",
                     "Append every line sent to and received from the laser to <file> from "
                     "the start."),
             QT_TRANSLATE_NOOP("CommandLine", "file")},
            {RecordOption,
             QT_TRANSLATE_NOOP("CommandLine",
                               "Record the laser's values to the CSV file <file> from the start."),
             QT_TRANSLATE_NOOP("CommandLine", "file")},
    };
    for (const auto &option : s_options) {
        parser.addOption(QCommandLineOption(
                QString::fromLatin1(option.name),
                QCoreApplication::translate("CommandLine", option.description),
                option.valueName ? QCoreApplication::translate("CommandLine", option.valueName)
                                 : QString()));
    }
}

bool needsWindow(int argc, char **argv)
{
    static const char *const s_textOnly[]
            = {"-h",        "--help",       "-?",          "--help-all", "-v",
               "--version", "--list-ports", "-list-ports", "-help",      "-version"};
    for (int i = 1; i < argc; ++i) {
        for (const char *option : s_textOnly) {
            if (std::strcmp(argv[i], option) == 0) {
                return false;
            }
        }
    }
    return true;
}

bool displayAvailable(int argc, char **argv)
{
    const auto isSet = [](const char *name) {
        const char *value = std::getenv(name);
        return value && *value;
    };
    if (isSet("QT_QPA_PLATFORM") || isSet("DISPLAY") || isSet("WAYLAND_DISPLAY")) {
        return true;
    }
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-platform") == 0 || std::strcmp(argv[i], "--platform") == 0) {
            return true;
        }
    }
    return false;
}

QString portListing()
{
    QString text;
    const QList<SerialportList::PortEntry> ports = SerialportList::ports();
    for (const SerialportList::PortEntry &port : ports) {
        text += port.name + QLatin1Char('\t') + port.description + QLatin1Char('\n');
    }
    return text;
}

int runWithoutWindow(QCoreApplication &application)
{
    QCommandLineParser parser;
    configure(parser);
    parser.process(application); // answers --help and --version itself, and exits
    if (parser.isSet(QString::fromLatin1(ListPortsOption))) {
        QTextStream out(stdout);
        out << portListing();
        out.flush();
        return EXIT_SUCCESS;
    }
    return EXIT_SUCCESS;
}

} // namespace CommandLine
