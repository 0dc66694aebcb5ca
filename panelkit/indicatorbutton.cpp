#include "indicatorbutton.h"

#include "indicator.h"
#include "panelkit.h"
#include "panelkitprivate.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <cmath>

using namespace PanelKit;

namespace {

constexpr int s_minBlinkInterval = 50;
constexpr int s_maxBlinkInterval = 10000;
// About 30 frames a second keeps a fade smooth without loading the machine.
constexpr int s_frameInterval = 33;
constexpr int s_lampThickness = 7;

struct Face
{
    int code;
    QRgb top;
    QRgb bottom;
    QRgb border;
};

constexpr Face s_faces[] = {
        {0, 0xff3a424a, 0xff2a3036, 0xff4a545e}, {1, 0xff46661a, 0xff334c10, 0xff6f9a1a},
        {2, 0xff266b92, 0xff1a4f6d, 0xff3aa6dc}, {3, 0xff80501f, 0xff633c14, 0xfff58b2e},
        {4, 0xff872525, 0xff621818, 0xffff4040},
};

const Face &faceFor(int code)
{
    for (const Face &face : s_faces) {
        if (face.code == code) {
            return face;
        }
    }
    return s_faces[2];
}

} // namespace

IndicatorButton::IndicatorButton(const QString &text, int position, QWidget *parent)
    : QWidget(parent)
    , m_text(text)
{
    if (position < Left || position > Bottom) {
        qCWarning(lcPanelKit) << "IndicatorButton position" << position
                              << "is unknown - lamp on top";
        position = Top;
    }
    m_position = position;
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
    m_frameTimer.setSingleShot(true);
    connect(&m_frameTimer, &QTimer::timeout, this, &IndicatorButton::nextBlinkFrame);
}

QSize IndicatorButton::sizeHint() const
{
    const QFontMetrics metrics(font());
    const QSize textSize = metrics.size(0, m_text);
    const bool across = m_position == Top || m_position == Bottom;
    const int width = textSize.width() + 32 + (across ? 0 : s_lampThickness + 6);
    const int height = textSize.height() + 26 + (across ? s_lampThickness + 4 : 0);
    return QSize(qMax(120, width), qMax(56, height));
}

QSize IndicatorButton::minimumSizeHint() const
{
    return sizeHint();
}

void IndicatorButton::setText(const QString &text)
{
    if (text == m_text) {
        return;
    }
    m_text = text;
    updateGeometry();
    update();
}

void IndicatorButton::setColors(quint32 lit, quint32 unlit)
{
    if (lit == m_litColor && unlit == m_unlitColor) {
        return;
    }
    m_litColor = lit;
    m_unlitColor = unlit;
    update();
}

void IndicatorButton::setButtonColor(int color)
{
    if (!isButtonColor(color)) {
        qCWarning(lcPanelKit) << "IndicatorButton colour" << color << "is not one of 0 to 4";
        return;
    }
    if (takeNew(m_buttonColor, color)) {
        update();
    }
}

void IndicatorButton::setActive(bool active)
{
    if (active == m_active && active == m_checked) {
        return;
    }
    m_active = active;
    m_checked = active;
    update();
}

void IndicatorButton::setBlink(bool blink, int intervalMs, quint32 color)
{
    if (!blink) {
        if (m_blinking) {
            // Stop at once: the lamp goes straight back to the steady state.
            m_blinking = false;
            m_frameTimer.stop();
            update();
        }
        return;
    }
    const int interval = qBound(s_minBlinkInterval, intervalMs, s_maxBlinkInterval);
    if (interval != intervalMs) {
        qCWarning(lcPanelKit) << "Blink interval" << intervalMs << "ms is out of range, using"
                              << interval << "ms";
    }
    const bool newColor = color != m_blinkColor;
    m_blinkColor = color;
    if (m_blinking && interval == m_blinkInterval) {
        // The rhythm goes on; a new colour shows at once, not only at the next fade.
        if (newColor) {
            update();
        }
        return;
    }
    m_blinkInterval = interval;
    m_blinking = true;
    m_blinkClock.start();
    nextBlinkFrame();
}

void IndicatorButton::nextBlinkFrame()
{
    if (!m_blinking) {
        return;
    }
    // Only the lamp changes while it blinks; the face and the text stay as they are.
    const QRectF face = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
    update(lampRect(face).adjusted(-2.0, -2.0, 2.0, 3.0).toAlignedRect());

    // The lamp only changes during its fades: frames there, and none while it stays lit or
    // dark. A lamp that blinks every half second is then drawn about eight times a second
    // rather than thirty.
    const qint64 interval = m_blinkInterval;
    const qint64 phase = m_blinkClock.elapsed() % (2 * interval);
    const qint64 ramp = qMax<qint64>(interval / 5, 1);
    qint64 wait = 0;
    if (phase < ramp) {
        wait = qMin<qint64>(s_frameInterval, ramp - phase);
    } else if (phase < interval) {
        wait = interval - phase;
    } else if (phase < interval + ramp) {
        wait = qMin<qint64>(s_frameInterval, interval + ramp - phase);
    } else {
        wait = 2 * interval - phase;
    }
    m_frameTimer.start(int(qMax<qint64>(wait, 1)));
}

double IndicatorButton::blinkLevel() const
{
    if (!m_blinking || !m_blinkClock.isValid()) {
        return 0.0;
    }
    // One period is interval on, interval off; the edges fade over a fifth of an interval.
    const double interval = m_blinkInterval;
    const double phase = std::fmod(static_cast<double>(m_blinkClock.elapsed()), 2.0 * interval);
    const double ramp = interval * 0.2;
    auto smooth = [](double t) {
        return t * t * (3.0 - 2.0 * t);
    };
    if (phase < ramp) {
        return smooth(phase / ramp);
    }
    if (phase < interval) {
        return 1.0;
    }
    if (phase < interval + ramp) {
        return 1.0 - smooth((phase - interval) / ramp);
    }
    return 0.0;
}

quint32 IndicatorButton::indicatorColor() const
{
    if (m_blinking) {
        const double level = blinkLevel();
        if (level >= 1.0) {
            return m_blinkColor;
        }
        if (level <= 0.0) {
            return m_unlitColor;
        }
        return mixColors(QColor::fromRgba(m_unlitColor), QColor::fromRgba(m_blinkColor), level)
                .rgba();
    }
    return m_active ? m_litColor : m_unlitColor;
}

void IndicatorButton::pressByOperator()
{
    m_checked = !m_checked;
    update();
    emit toggled(m_checked);
}

void IndicatorButton::setFaceState(bool &state, bool on)
{
    if (state != on) {
        state = on;
        update();
    }
}

void IndicatorButton::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    setFaceState(m_pressed, true);
    event->accept();
}

void IndicatorButton::mouseMoveEvent(QMouseEvent *event)
{
    if (m_pressed) {
        // Sliding off the button lets it spring back, as with any push button.
        setFaceState(m_hovered, rect().contains(event->pos()));
    }
    QWidget::mouseMoveEvent(event);
}

void IndicatorButton::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !m_pressed) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    setFaceState(m_pressed, false);
    event->accept();
    if (rect().contains(event->pos())) {
        pressByOperator();
    }
}

void IndicatorButton::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!event->isAutoRepeat()) {
            setFaceState(m_pressed, true);
        }
        event->accept();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void IndicatorButton::keyReleaseEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        event->accept();
        if (!event->isAutoRepeat() && m_pressed) {
            setFaceState(m_pressed, false);
            pressByOperator();
        }
        return;
    default:
        QWidget::keyReleaseEvent(event);
    }
}

void IndicatorButton::focusOutEvent(QFocusEvent *event)
{
    setFaceState(m_pressed, false);
    QWidget::focusOutEvent(event);
}

void IndicatorButton::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::EnabledChange && !isEnabled()) {
        setFaceState(m_pressed, false);
    }
    QWidget::changeEvent(event);
}

void IndicatorButton::enterEvent(QEvent *event)
{
    setFaceState(m_hovered, true);
    QWidget::enterEvent(event);
}

void IndicatorButton::leaveEvent(QEvent *event)
{
    setFaceState(m_hovered, false);
    QWidget::leaveEvent(event);
}

QRectF IndicatorButton::lampRect(const QRectF &face) const
{
    const double inset = 8.0;
    switch (m_position) {
    case Left:
        return QRectF(face.left() + 6.0, face.top() + inset, s_lampThickness,
                      face.height() - 2 * inset);
    case Right:
        return QRectF(face.right() - 6.0 - s_lampThickness, face.top() + inset, s_lampThickness,
                      face.height() - 2 * inset);
    case Bottom:
        return QRectF(face.left() + inset * 2, face.bottom() - 6.0 - s_lampThickness,
                      face.width() - 4 * inset, s_lampThickness);
    case Top:
    default:
        return QRectF(face.left() + inset * 2, face.top() + 6.0, face.width() - 4 * inset,
                      s_lampThickness);
    }
}

void IndicatorButton::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool enabled = isEnabled();
    const bool down = m_pressed && (m_hovered || hasFocus());
    const Face &face = faceFor(m_buttonColor);

    QRectF body = QRectF(rect()).adjusted(2.5, 2.5, -2.5, -2.5);
    if (down) {
        body.translate(0, 1);
    }
    QColor top = QColor::fromRgba(face.top);
    QColor bottom = QColor::fromRgba(face.bottom);
    QColor border = QColor::fromRgba(face.border);
    if (!enabled) {
        top = QColor::fromRgba(Palette::Panel);
        bottom = QColor::fromRgba(Palette::Panel);
        border = QColor::fromRgba(Palette::Border);
    } else if (down || m_checked) {
        // A latched button sits lower: darker face, like a switch pushed in.
        std::swap(top, bottom);
        top = top.darker(115);
    } else if (m_hovered) {
        top = top.lighter(115);
        bottom = bottom.lighter(115);
    }
    QLinearGradient gradient(body.topLeft(), body.bottomLeft());
    gradient.setColorAt(0.0, top);
    gradient.setColorAt(1.0, bottom);
    painter.setBrush(gradient);
    painter.setPen(QPen(border, 1.0));
    painter.drawRoundedRect(body, 5, 5);

    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor::fromRgba(Palette::Text), 1.5, Qt::DashLine));
        painter.drawRoundedRect(body.adjusted(3, 3, -3, -3), 4, 4);
    }

    const QRectF lamp = lampRect(body);
    Indicator::paintLamp(&painter, lamp, QColor::fromRgba(indicatorColor()), false, enabled);

    QRectF textArea = body;
    switch (m_position) {
    case Left:
        textArea.setLeft(lamp.right() + 4);
        break;
    case Right:
        textArea.setRight(lamp.left() - 4);
        break;
    case Bottom:
        textArea.setBottom(lamp.top() - 2);
        break;
    case Top:
    default:
        textArea.setTop(lamp.bottom() + 2);
        break;
    }
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(QColor::fromRgba(enabled ? Palette::Text : Palette::TextDisabled));
    painter.drawText(textArea, Qt::AlignCenter, m_text);
}
