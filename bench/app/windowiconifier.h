#ifndef WINDOWICONIFIER_H
#define WINDOWICONIFIER_H

#include <QString>
#include <QtGlobal>

// Minimizes another process's windows on an X display the way a window manager does: the
// window's WM_STATE becomes Iconic and the window is unmapped. The program then sees its
// window minimized and no longer exposed, exactly as on a desktop, even on a bare X server
// (Xvfb) where no window manager would do it on request.
namespace WindowIconifier {

// True when this build can talk to an X server at all.
bool isAvailable();

// Iconifies every mapped top-level window whose _NET_WM_PID is pid. Returns how many it
// iconified, or -1 with a reason in error when the display cannot be reached.
int iconifyWindowsOf(qint64 pid, QString *error);

} // namespace WindowIconifier

#endif // WINDOWICONIFIER_H
