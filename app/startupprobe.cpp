#include "startupprobe.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QWidget>
#include <QWindow>

#include <cstdio>
#include <ctime>
#include <unistd.h>

StartupProbe::StartupProbe(QWidget *window)
    : QObject(window)
    , m_window(window)
{ }

void StartupProbe::installIfRequested(QWidget *window)
{
    if (!window || !qEnvironmentVariableIsSet(EnvironmentVariable)) {
        return;
    }
    // The window's QWindow may not exist yet, and creating it early would change what is
    // measured; an application-wide filter sees its expose whenever it comes.
    QCoreApplication::instance()->installEventFilter(new StartupProbe(window));
}

qint64 StartupProbe::millisecondsSinceProcessStart()
{
    // Field 22 of /proc/self/stat is the start time in clock ticks after boot; the command
    // name (field 2) may hold blanks, so fields are counted from its closing parenthesis.
    QFile stat(QStringLiteral("/proc/self/stat"));
    if (!stat.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray text = stat.readAll();
    const int nameEnd = text.lastIndexOf(')');
    if (nameEnd < 0) {
        return -1;
    }
    const QList<QByteArray> fields = text.mid(nameEnd + 2).split(' ');
    // Fields from 3 on: index 0 is field 3, so field 22 is index 19.
    if (fields.size() < 20) {
        return -1;
    }
    bool ok = false;
    const qint64 startTicks = fields.at(19).toLongLong(&ok);
    const long ticksPerSecond = ::sysconf(_SC_CLK_TCK);
    timespec now{};
    if (!ok || ticksPerSecond <= 0 || ::clock_gettime(CLOCK_BOOTTIME, &now) != 0) {
        return -1;
    }
    const qint64 nowMs = qint64(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
    return nowMs - startTicks * 1000 / ticksPerSecond;
}

bool StartupProbe::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Expose && m_window->windowHandle() == watched
        && m_window->windowHandle()->isExposed()) {
        std::fprintf(stderr, "first-expose-ms %lld\n", millisecondsSinceProcessStart());
        std::fflush(stderr);
        QCoreApplication::instance()->removeEventFilter(this);
        deleteLater();
    }
    return QObject::eventFilter(watched, event);
}
