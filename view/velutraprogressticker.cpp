#include "velutraprogressticker.h"

#include <QTimer>
#include <QVariant>

namespace {

constexpr int s_tickIntervalMs = 1000;

} // namespace

VelutraProgressTicker::VelutraProgressTicker(QWidget *parent)
    : QProgressBar(parent)
    , m_timer(new QTimer(this))
{
    setProperty("flat", true);
    setRange(0, 1);
    setValue(0);
    setTextVisible(false);
    m_timer->setObjectName(QStringLiteral("tickTimer"));
    m_timer->setInterval(s_tickIntervalMs);
    connect(m_timer, &QTimer::timeout, this, &VelutraProgressTicker::slotTickHandler);
}

VelutraProgressTicker::~VelutraProgressTicker() = default;

void VelutraProgressTicker::startTicker(int seconds)
{
    // A range of 0..0 would turn the bar into a busy indicator; one second is the shortest
    // wait it shows.
    setRange(0, qMax(1, seconds));
    setValue(1);
    m_timer->start();
}

void VelutraProgressTicker::stopTicker()
{
    m_timer->stop();
}

void VelutraProgressTicker::slotTickHandler()
{
    const int next = value() + 1;
    if (next > maximum()) {
        // Only a one-second wait starts full; its first tick still ends it. A stray call on
        // an idle ticker changes nothing.
        if (m_timer->isActive()) {
            finish();
        }
        return;
    }
    setValue(next);
    if (next == maximum()) {
        finish();
    }
}

void VelutraProgressTicker::finish()
{
    m_timer->stop();
    // Whoever waits on the bar learns once that the time allowed is up.
    emit sigTimeElapsed();
}
