#ifndef RECONNECTTESTHOME_H
#define RECONNECTTESTHOME_H

#include "applicationidentity.h"
#include "guiwidget.h"
#include "mainwindow.h"
#include "serialportlist.h"
#include "velutracontroller.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>

// Private settings, logs and runtime folder for a test of the whole program, so that its
// port list holds only the virtual lasers the test starts (children inherit the folders).
inline bool makeTestHome(const QTemporaryDir &home)
{
    if (!home.isValid()) {
        return false;
    }
    const QString runtime = home.filePath(QStringLiteral("runtime"));
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_DATA_HOME", home.filePath(QStringLiteral("data")).toUtf8());
    ApplicationIdentity::apply(QCoreApplication::instance());
    SerialportList::setIncludeSystemPorts(false);
    return true;
}

// The controller of the open port, when there is one.
inline VelutraController *currentController(MainWindow &window)
{
    const QList<VelutraController *> controllers = window.findChildren<VelutraController *>();
    return controllers.size() == 1 ? controllers.first() : nullptr;
}

// True once the handshake is through and the panel of the open port takes input.
inline bool linkIsUp(MainWindow &window)
{
    VelutraController *controller = currentController(window);
    return controller && !window.isReconnecting() && !window.openPortName().isEmpty()
           && controller->panelWidget() && controller->panelWidget()->isEnabled();
}

#endif // RECONNECTTESTHOME_H
