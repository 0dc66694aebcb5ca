#include "quantitytap.h"

#include <utility>

QuantityTap::QuantityTap(int quantity, Sink sink, QObject *parent)
    : QObject(parent)
    , m_quantity(quantity)
    , m_sink(std::move(sink))
{ }

void QuantityTap::takeDouble(double value)
{
    m_sink(m_quantity, value);
}

void QuantityTap::takeInt(int value)
{
    m_sink(m_quantity, value);
}

void QuantityTap::takeUChar(uchar value)
{
    m_sink(m_quantity, value);
}

void QuantityTap::takeUShort(quint16 value)
{
    m_sink(m_quantity, value);
}

void QuantityTap::takeULongLong(quint64 value)
{
    m_sink(m_quantity, static_cast<double>(value));
}

void QuantityTap::takeBool(bool value)
{
    m_sink(m_quantity, value ? 1.0 : 0.0);
}

void QuantityTap::takeState(SystemState value)
{
    m_sink(m_quantity, static_cast<int>(value));
}
