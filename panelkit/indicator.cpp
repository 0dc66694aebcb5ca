#include "indicator.h"

#include "panelkit.h"
#include "panelkitprivate.h"

#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

Indicator::Indicator(QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

Indicator::Indicator(quint32 color, QWidget *parent)
    : Indicator(parent)
{
    m_color = color;
}

QSize Indicator::sizeHint() const
{
    // Room around the lamp for its glow.
    return QSize(m_diameter + 6, m_diameter + 6);
}

QSize Indicator::minimumSizeHint() const
{
    return sizeHint();
}

void Indicator::setColor(quint32 color)
{
    if (color == m_color) {
        return;
    }
    m_color = color;
    update();
}

void Indicator::setDiameter(int diameter)
{
    static constexpr int s_minimum = 6;
    static constexpr int s_maximum = 96;
    const int bounded = qBound(s_minimum, diameter, s_maximum);
    if (bounded != diameter) {
        qCWarning(lcPanelKit) << "Indicator diameter" << diameter << "is out of range, using"
                              << bounded;
    }
    if (bounded == m_diameter) {
        return;
    }
    m_diameter = bounded;
    updateGeometry();
    update();
}

void Indicator::paintLamp(QPainter *painter, const QRectF &rect, const QColor &color, bool round,
                          bool enabled)
{
    using namespace PanelKit;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);

    QColor lamp = color;
    if (!enabled) {
        lamp = mixColors(lamp, QColor::fromRgba(Palette::Panel), 0.6);
    }
    const bool lit = enabled && lamp.rgba() != QColor::fromRgba(Palette::IndicatorOff).rgba()
                     && lamp.alpha() > 0 && lamp.value() > 110;

    const double radius = round ? qMin(rect.width(), rect.height()) / 2.0 : 2.5;
    QPainterPath shape;
    shape.addRoundedRect(rect, radius, radius);

    // A lit lamp throws a soft halo onto the panel around it.
    if (lit) {
        const QRectF halo = rect.adjusted(-3, -3, 3, 3);
        QRadialGradient glow(halo.center(), qMax(halo.width(), halo.height()) / 2.0);
        QColor inner = lamp;
        inner.setAlpha(110);
        QColor outer = lamp;
        outer.setAlpha(0);
        glow.setColorAt(0.55, inner);
        glow.setColorAt(1.0, outer);
        painter->setPen(Qt::NoPen);
        painter->setBrush(glow);
        if (round) {
            painter->drawEllipse(halo);
        } else {
            painter->drawRoundedRect(halo, radius + 3, radius + 3);
        }
    }

    // Body: a lens that is brighter in the middle, darker at the rim.
    QRadialGradient body(rect.center() - QPointF(rect.width() * 0.15, rect.height() * 0.2),
                         qMax(rect.width(), rect.height()) * 0.75);
    body.setColorAt(0.0, lit ? lamp.lighter(150) : lamp.lighter(125));
    body.setColorAt(0.6, lamp);
    body.setColorAt(1.0, lamp.darker(lit ? 140 : 170));
    painter->setBrush(body);
    painter->setPen(QPen(QColor(0, 0, 0, 170), 1.0));
    painter->drawPath(shape);

    // A glossy highlight keeps an unlit lamp readable as a lamp.
    const QRectF shine(rect.left() + rect.width() * 0.22, rect.top() + rect.height() * 0.12,
                       rect.width() * 0.56, rect.height() * 0.34);
    QLinearGradient gloss(shine.topLeft(), shine.bottomLeft());
    gloss.setColorAt(0.0, QColor(255, 255, 255, lit ? 150 : 70));
    gloss.setColorAt(1.0, QColor(255, 255, 255, 0));
    painter->setPen(Qt::NoPen);
    painter->setBrush(gloss);
    const double shineRadius = round ? shine.height() / 2.0 : 2.0;
    painter->drawRoundedRect(shine, shineRadius, shineRadius);
    painter->restore();
}

void Indicator::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    const double d = m_diameter;
    const QRectF lamp((width() - d) / 2.0, (height() - d) / 2.0, d, d);
    paintLamp(&painter, lamp, QColor::fromRgba(m_color), true, isEnabled());
}
