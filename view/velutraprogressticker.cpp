#include "velutraprogressticker.h"

#include <QTimer>

VelutraProgressTicker::VelutraProgressTicker(QWidget *parent)
    : QProgressBar(parent)
    , m_timer(new QTimer(this))
{ }

VelutraProgressTicker::~VelutraProgressTicker() = default;

void VelutraProgressTicker::startTicker(int) { }
void VelutraProgressTicker::stopTicker() { }
void VelutraProgressTicker::slotTickHandler() { }
