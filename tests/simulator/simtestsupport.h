#ifndef SIMTESTSUPPORT_H
#define SIMTESTSUPPORT_H

#include "velutrasimulator.h"

#include <QString>

#include <memory>

// A simulator in this process with these options, plugged in and ready.
inline std::unique_ptr<VelutraSimulator> startSimulator(const VelutraSimOptions &options)
{
    auto simulator = std::make_unique<VelutraSimulator>(options);
    QString error;
    if (!simulator->plugIn(&error)) {
        qWarning("cannot plug the simulator in: %s", qPrintable(error));
        return nullptr;
    }
    return simulator;
}

// A simulator in this process, plugged in and ready; pacing off unless asked for.
inline std::unique_ptr<VelutraSimulator>
startSimulator(const QString &module, double speed = 1.0,
               VelutraSimLaser::State state = VelutraSimLaser::State::Listen, bool pacing = false,
               const QString &model = QStringLiteral("Velutra-10"))
{
    VelutraSimOptions options;
    VelutraSimLaser::parseModule(module, &options.laser.module);
    options.laser.speed = speed;
    options.laser.initialState = state;
    options.laser.model = model;
    options.pacing = pacing;
    return startSimulator(options);
}

#endif // SIMTESTSUPPORT_H
