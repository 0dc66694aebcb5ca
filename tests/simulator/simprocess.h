#ifndef SIMPROCESS_H
#define SIMPROCESS_H

#include <QElapsedTimer>
#include <QProcess>
#include <QString>
#include <QStringList>

// Starts the velutra-sim executable and reads the port name from its first line.
// Tests that use it define VELUTRA_SIM_EXECUTABLE.
inline bool startSimulatorProcess(QProcess &process, const QStringList &arguments, QString *port)
{
    process.start(QStringLiteral(VELUTRA_SIM_EXECUTABLE), arguments);
    if (!process.waitForStarted(5000)) {
        return false;
    }
    QElapsedTimer timer;
    timer.start();
    while (!process.canReadLine() && timer.elapsed() < 10000) {
        process.waitForReadyRead(100);
    }
    if (!process.canReadLine()) {
        return false;
    }
    *port = QString::fromLocal8Bit(process.readLine()).trimmed();
    return !port->isEmpty();
}

#endif // SIMPROCESS_H
