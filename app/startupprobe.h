#ifndef STARTUPPROBE_H
#define STARTUPPROBE_H

#include <QObject>

class QWidget;

// Tells how long the program took to put its main window on the screen: with the
// environment variable VELUTRA_STARTUP_PROBE set, the first expose of the window prints
// "first-expose-ms <n>" on standard error, counted from the start of the process as the
// kernel recorded it (so the dynamic loader and static initialisers are included).
// Without the variable it does nothing at all.
class StartupProbe : public QObject
{
    Q_OBJECT

public:
    static constexpr char EnvironmentVariable[] = "VELUTRA_STARTUP_PROBE";

    // Call before the window is shown; the probe lives as long as the window and removes
    // itself after the first expose.
    static void installIfRequested(QWidget *window);

    // Milliseconds since this process was started, -1 when the system cannot tell.
    static qint64 millisecondsSinceProcessStart();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    explicit StartupProbe(QWidget *window);

    QWidget *m_window = nullptr;
};

#endif // STARTUPPROBE_H
