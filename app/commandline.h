#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <QString>

class QCommandLineParser;
class QCoreApplication;

// The program's command line: --help, --version, --list-ports, --connect PORT, --verbose.
namespace CommandLine {

inline constexpr char ConnectOption[] = "connect";
inline constexpr char ListPortsOption[] = "list-ports";
inline constexpr char VerboseOption[] = "verbose";
inline constexpr char TrafficLogOption[] = "traffic-log";
inline constexpr char RecordOption[] = "record";

void configure(QCommandLineParser &parser);

// True unless the arguments only ask for text (help, version, port list):
// those must work on a machine without a display.
bool needsWindow(int argc, char **argv);

// True when a window can be opened: a display, or a platform chosen explicitly.
bool displayAvailable(int argc, char **argv);

// One line per port: name, a tab, its description.
QString portListing();

// Handles the text-only requests; returns the exit code.
int runWithoutWindow(QCoreApplication &application);

} // namespace CommandLine

#endif // COMMANDLINE_H
