#ifndef QUANTITYTAP_H
#define QUANTITYTAP_H

#include "velutrasystemstate.h"

#include <QObject>

#include <functional>

// Receives one quantity's signal, whatever its argument type, and hands the value on as a
// double. The recorder picks the slot whose argument type names match the signal's.
class QuantityTap : public QObject
{
    Q_OBJECT

public:
    using Sink = std::function<void(int quantity, double value)>;

    QuantityTap(int quantity, Sink sink, QObject *parent);

public slots:
    void takeDouble(double value);
    void takeInt(int value);
    void takeUChar(uchar value);
    void takeUShort(quint16 value);
    void takeULongLong(quint64 value);
    void takeBool(bool value);
    void takeState(SystemState value);

private:
    int m_quantity = 0;
    Sink m_sink;
};

#endif // QUANTITYTAP_H
