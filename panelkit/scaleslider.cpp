#include "scaleslider.h"

#include "panelkit.h"
#include "panelkitprivate.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace PanelKit;

namespace {

constexpr int s_minTrackHeight = 12;
constexpr int s_maxTrackHeight = 96;
constexpr int s_tickLength = 6;
constexpr int s_minorTickLength = 3;
constexpr int s_labelGap = 8;
constexpr int s_wheelNotch = 120;

QFont tickFont(const QFont &base)
{
    QFont font = base;
    font.setPointSizeF(qMax(6.0, base.pointSizeF() * 0.8));
    return font;
}

} // namespace

ScaleSlider::ScaleSlider(int trackHeight, QWidget *parent)
    : QWidget(parent)
    , m_trackHeight(qBound(s_minTrackHeight, trackHeight, s_maxTrackHeight))
{
    if (m_trackHeight != trackHeight) {
        qCWarning(lcPanelKit) << "Slider track height" << trackHeight << "is out of range, using"
                              << m_trackHeight;
    }
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
    m_positions = positionCount();
    m_position = positionOf(m_value);
}

bool ScaleSlider::isLogarithmic() const
{
    return m_type == Logarithmic && m_steps.isEmpty() && m_minimum > 0.0 && m_maximum > m_minimum;
}

int ScaleSlider::positionCount() const
{
    if (!m_steps.isEmpty()) {
        return m_steps.size();
    }
    if (!(m_maximum > m_minimum)) {
        return 1;
    }
    if (isLogarithmic()) {
        return s_maxPositions;
    }
    // As many positions as the decimals can tell apart, but not more than a hand can.
    const double span = (m_maximum - m_minimum) * std::pow(10.0, m_decimals);
    if (std::isfinite(span) && span + 1.0 <= s_maxPositions) {
        return qMax(2, static_cast<int>(std::lround(span)) + 1);
    }
    return s_maxPositions;
}

double ScaleSlider::valueAt(int position) const
{
    if (!m_steps.isEmpty()) {
        return m_steps.at(qBound(0, position, m_steps.size() - 1));
    }
    const int last = m_positions - 1;
    if (last <= 0 || position <= 0) {
        return m_minimum;
    }
    if (position >= last) {
        return m_maximum;
    }
    double value = 0.0;
    const double fraction = static_cast<double>(position) / last;
    if (isLogarithmic()) {
        value = m_minimum * std::pow(m_maximum / m_minimum, fraction);
    } else {
        value = m_minimum + (m_maximum - m_minimum) * fraction;
    }
    return qBound(m_minimum, roundToDecimals(value, m_decimals), m_maximum);
}

int ScaleSlider::positionOf(double value) const
{
    if (!m_steps.isEmpty()) {
        const auto above = std::lower_bound(m_steps.cbegin(), m_steps.cend(), value);
        if (above == m_steps.cbegin()) {
            return 0;
        }
        if (above == m_steps.cend()) {
            return m_steps.size() - 1;
        }
        const int index = static_cast<int>(above - m_steps.cbegin());
        return (value - *(above - 1) <= *above - value) ? index - 1 : index;
    }
    const int last = m_positions - 1;
    if (last <= 0 || !(value > m_minimum)) {
        return 0;
    }
    if (!(value < m_maximum)) {
        return last;
    }
    double fraction = 0.0;
    if (isLogarithmic()) {
        fraction = std::log(value / m_minimum) / std::log(m_maximum / m_minimum);
    } else {
        fraction = (value - m_minimum) / (m_maximum - m_minimum);
    }
    return qBound(0, static_cast<int>(std::lround(fraction * last)), last);
}

double ScaleSlider::handleValue() const
{
    return m_dragging ? valueAt(m_position) : m_value;
}

void ScaleSlider::setScale(int type, double minimum, double maximum, int decimals,
                           const QList<double> &steps)
{
    if (type != Linear && type != Logarithmic && type != Stepped) {
        qCWarning(lcPanelKit) << "Unknown scale type" << type << "- drawing a linear scale";
        type = Linear;
    }
    if (!std::isfinite(minimum) || !std::isfinite(maximum)) {
        qCWarning(lcPanelKit) << "Slider range" << minimum << maximum
                              << "is not finite - range kept";
        minimum = m_minimum;
        maximum = m_maximum;
    }
    if (minimum > maximum) {
        std::swap(minimum, maximum);
    }
    decimals = qBound(0, decimals, s_maxDecimals);
    QList<double> cleanSteps;
    for (double step : steps) {
        if (std::isfinite(step)) {
            cleanSteps.append(step);
        }
    }
    std::sort(cleanSteps.begin(), cleanSteps.end());
    cleanSteps.erase(std::unique(cleanSteps.begin(), cleanSteps.end()), cleanSteps.end());

    if (type == m_type && minimum == m_minimum && maximum == m_maximum && decimals == m_decimals
        && cleanSteps == m_steps) {
        return;
    }
    // The ground moved under the operator's hand: whatever was being dragged is void.
    cancelDrag();
    m_type = type;
    m_minimum = minimum;
    m_maximum = maximum;
    m_decimals = decimals;
    m_steps = cleanSteps;
    m_positions = positionCount();
    m_position = positionOf(m_value);
    update();
}

void ScaleSlider::setValue(double value)
{
    if (!std::isfinite(value)) {
        qCWarning(lcPanelKit) << "Slider value" << value << "is not a number - value kept";
        return;
    }
    // The polling loop repeats the same value every cycle; only a change is drawn.
    const int position = m_dragging ? m_position : positionOf(value);
    if (value == m_value && position == m_position) {
        return;
    }
    m_value = value;
    m_position = position;
    update();
}

QRectF ScaleSlider::trackRect() const
{
    const double margin = handleWidth() / 2.0 + 3.0;
    return QRectF(margin, 0.0, qMax(1.0, width() - 2.0 * margin), m_trackHeight);
}

double ScaleSlider::handleWidth() const
{
    return qMax(10.0, m_trackHeight * 0.56);
}

double ScaleSlider::xOfPosition(double position) const
{
    const QRectF track = trackRect();
    const int last = m_positions - 1;
    if (last <= 0) {
        return track.left();
    }
    return track.left() + track.width() * position / last;
}

double ScaleSlider::xOfValue(double value) const
{
    const QRectF track = trackRect();
    if (!m_steps.isEmpty() || !(m_maximum > m_minimum)) {
        return xOfPosition(positionOf(value));
    }
    double fraction = 0.0;
    if (isLogarithmic()) {
        fraction = std::log(value / m_minimum) / std::log(m_maximum / m_minimum);
    } else {
        fraction = (value - m_minimum) / (m_maximum - m_minimum);
    }
    return track.left() + track.width() * qBound(0.0, fraction, 1.0);
}

QRect ScaleSlider::handleRect() const
{
    const QRectF track = trackRect();
    const double w = handleWidth();
    return QRectF(xOfPosition(m_position) - w / 2.0, track.top(), w, track.height()).toRect();
}

int ScaleSlider::positionAtX(double x) const
{
    const QRectF track = trackRect();
    const int last = m_positions - 1;
    if (last <= 0) {
        return 0;
    }
    const double fraction = (x - track.left()) / track.width();
    return qBound(0, static_cast<int>(std::lround(fraction * last)), last);
}

QSize ScaleSlider::sizeHint() const
{
    const QFontMetrics metrics(tickFont(font()));
    return QSize(240, m_trackHeight + s_tickLength + metrics.height() + 4);
}

QSize ScaleSlider::minimumSizeHint() const
{
    const QSize hint = sizeHint();
    return QSize(120, hint.height());
}

void ScaleSlider::commit(int position)
{
    position = qBound(0, position, m_positions - 1);
    const double value = valueAt(position);
    if (sameAtDecimals(value, m_value, m_decimals)) {
        m_position = positionOf(m_value);
        update();
        emit sliderMoved(m_value);
        return;
    }
    m_value = value;
    m_position = position;
    update();
    emit valueChanged(value);
}

void ScaleSlider::cancelDrag()
{
    if (!m_dragging) {
        return;
    }
    m_dragging = false;
    m_position = positionOf(m_value);
    update();
    emit sliderMoved(m_value);
    emit sliderReleased();
}

void ScaleSlider::stepBy(int count)
{
    if (m_dragging || count == 0) {
        return;
    }
    const int direction = count > 0 ? 1 : -1;
    const int last = m_positions - 1;
    // A value between two stops (set by the program) steps to the stop on the chosen side.
    int from = positionOf(m_value);
    const double atFrom = valueAt(from);
    if (!sameAtDecimals(atFrom, m_value, m_decimals)) {
        if (direction > 0 && atFrom > m_value) {
            from -= 1;
        } else if (direction < 0 && atFrom < m_value) {
            from += 1;
        }
    }
    int target = qBound(0, from + count, last);
    // Rounded positions near the low end of a long logarithmic scale print alike; a key
    // press should always reach the next value the operator can see.
    while (target > 0 && target < last && sameAtDecimals(valueAt(target), m_value, m_decimals)) {
        target += direction;
    }
    commit(target);
}

void ScaleSlider::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !isEnabled()) {
        QWidget::mousePressEvent(event);
        return;
    }
    event->accept();
    const double handleX = xOfPosition(m_position);
    const double x = event->localPos().x();
    if (std::abs(x - handleX) > handleWidth() / 2.0) {
        stepBy(x > handleX ? 1 : -1);
        return;
    }
    // Picked up by the handle: it stays under the same spot of the hand.
    m_grabOffset = x - handleX;
    m_dragging = true;
    update();
    emit sliderPressed();
}

void ScaleSlider::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_dragging) {
        QWidget::mouseMoveEvent(event);
        return;
    }
    event->accept();
    const int position = positionAtX(event->localPos().x() - m_grabOffset);
    if (position != m_position) {
        m_position = position;
        update();
        emit sliderMoved(valueAt(position));
    }
}

void ScaleSlider::mouseReleaseEvent(QMouseEvent *event)
{
    if (!m_dragging || event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    event->accept();
    m_dragging = false;
    commit(m_position);
    emit sliderReleased();
}

void ScaleSlider::keyPressEvent(QKeyEvent *event)
{
    const int page = qMax(1, (m_positions - 1) / 10);
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        stepBy(-1);
        break;
    case Qt::Key_Right:
    case Qt::Key_Up:
        stepBy(1);
        break;
    case Qt::Key_PageDown:
        stepBy(-page);
        break;
    case Qt::Key_PageUp:
        stepBy(page);
        break;
    case Qt::Key_Home:
        if (!m_dragging) {
            commit(0);
        }
        break;
    case Qt::Key_End:
        if (!m_dragging) {
            commit(m_positions - 1);
        }
        break;
    case Qt::Key_Escape:
        if (!m_dragging) {
            QWidget::keyPressEvent(event);
            return;
        }
        cancelDrag();
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

void ScaleSlider::wheelEvent(QWheelEvent *event)
{
    // A scroll over the panel must never change a setting: only a focused slider listens.
    if (!hasFocus() || !isEnabled()) {
        event->ignore();
        return;
    }
    event->accept();
    if (m_dragging) {
        return;
    }
    const QPoint delta = event->angleDelta();
    m_wheelRemainder += delta.y() != 0 ? delta.y() : delta.x();
    while (qAbs(m_wheelRemainder) >= s_wheelNotch) {
        const int direction = m_wheelRemainder > 0 ? 1 : -1;
        m_wheelRemainder -= direction * s_wheelNotch;
        stepBy(direction);
    }
}

void ScaleSlider::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::EnabledChange && !isEnabled()) {
        cancelDrag();
    }
    QWidget::changeEvent(event);
}

void ScaleSlider::hideEvent(QHideEvent *event)
{
    cancelDrag();
    QWidget::hideEvent(event);
}

void ScaleSlider::focusOutEvent(QFocusEvent *event)
{
    cancelDrag();
    QWidget::focusOutEvent(event);
}

void ScaleSlider::paintTicks(QPainter &painter)
{
    const QRectF track = trackRect();
    const double tickTop = track.bottom() + 1.0;
    const QFont font = tickFont(this->font());
    const QFontMetricsF metrics(font);
    painter.setFont(font);
    const QColor tickColor
            = QColor::fromRgba(isEnabled() ? Palette::BorderStrong : Palette::Border);
    const QColor labelColor
            = QColor::fromRgba(isEnabled() ? Palette::TextMuted : Palette::TextDisabled);

    QList<QRectF> placed;
    auto tick = [&](double x, bool major) {
        painter.setPen(QPen(tickColor, 1.0));
        painter.drawLine(QPointF(x, tickTop),
                         QPointF(x, tickTop + (major ? s_tickLength : s_minorTickLength)));
    };
    // Labels are placed only where they do not crowd one already drawn.
    auto label = [&](double x, const QString &text, bool force) {
        const double w = metrics.horizontalAdvance(text);
        double left = x - w / 2.0;
        left = qBound(0.0, left, width() - w);
        const QRectF box(left, tickTop + s_tickLength, w, metrics.height());
        const QRectF padded = box.adjusted(-s_labelGap / 2.0, 0, s_labelGap / 2.0, 0);
        if (!force) {
            for (const QRectF &other : qAsConst(placed)) {
                if (other.intersects(padded)) {
                    return;
                }
            }
        }
        placed.append(padded);
        painter.setPen(labelColor);
        painter.drawText(box, Qt::AlignCenter, text);
    };

    const int last = m_positions - 1;
    label(track.left(), compactNumber(valueAt(0)), true);
    if (last > 0) {
        label(track.right(), compactNumber(valueAt(last)), true);
    }

    if (isLogarithmic()) {
        const int firstDecade = static_cast<int>(std::ceil(std::log10(m_minimum)));
        const int lastDecade = static_cast<int>(std::floor(std::log10(m_maximum)));
        for (int decade = firstDecade - 1; decade <= lastDecade; ++decade) {
            const double base = std::pow(10.0, decade);
            if (base >= m_minimum && base <= m_maximum) {
                tick(xOfValue(base), true);
                label(xOfValue(base), compactNumber(base), false);
            }
            for (int k = 2; k <= 9; ++k) {
                const double v = base * k;
                if (v > m_minimum && v < m_maximum) {
                    tick(xOfValue(v), false);
                }
            }
        }
        tick(track.left(), true);
        tick(track.right(), true);
        return;
    }

    const bool everyPosition
            = (m_type == Stepped || !m_steps.isEmpty()) && last > 0 && track.width() / last >= 4.0;
    if (everyPosition) {
        // A tick for each value the handle can stop on.
        for (int p = 0; p <= last; ++p) {
            tick(xOfPosition(p), p == 0 || p == last);
        }
        for (int p = 1; p < last; ++p) {
            label(xOfPosition(p), compactNumber(valueAt(p)), false);
        }
        return;
    }
    static constexpr int s_divisions = 10;
    for (int i = 0; i <= s_divisions; ++i) {
        const double x = track.left() + track.width() * i / s_divisions;
        tick(x, i % 5 == 0);
    }
    if (m_maximum > m_minimum) {
        label(track.center().x(), compactNumber((m_minimum + m_maximum) / 2.0), false);
    }
}

void ScaleSlider::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool enabled = isEnabled();
    const QRectF track = trackRect();
    const double centreY = track.center().y();

    // Groove: a recessed slot across the track.
    const double grooveHeight = qMax(4.0, m_trackHeight / 5.0);
    const QRectF groove(track.left() - 2.0, centreY - grooveHeight / 2.0, track.width() + 4.0,
                        grooveHeight);
    painter.setPen(QPen(QColor::fromRgba(Palette::Border), 1.0));
    painter.setBrush(QColor::fromRgba(Palette::Well));
    painter.drawRoundedRect(groove, grooveHeight / 2.0, grooveHeight / 2.0);

    // Filled part from the low end up to the handle.
    const double handleX = xOfPosition(m_position);
    QRectF filled = groove;
    filled.setRight(handleX);
    QColor fill = QColor::fromRgba(enabled ? Palette::Accent : Palette::Border);
    if (enabled && !hasFocus()) {
        fill = mixColors(fill, QColor::fromRgba(Palette::Well), 0.3);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(filled, grooveHeight / 2.0, grooveHeight / 2.0);

    paintTicks(painter);

    // Handle: a fader cap with a centre line.
    const double w = handleWidth();
    const QRectF cap(handleX - w / 2.0, track.top() + 2.0, w, track.height() - 4.0);
    if (hasFocus()) {
        QColor halo = QColor::fromRgba(Palette::Accent);
        halo.setAlpha(90);
        painter.setPen(Qt::NoPen);
        painter.setBrush(halo);
        painter.drawRoundedRect(cap.adjusted(-4, -2, 4, 2), 6, 6);
    }
    QLinearGradient face(cap.topLeft(), cap.bottomLeft());
    if (enabled) {
        const bool hot = m_dragging || underMouse();
        face.setColorAt(0.0, QColor(hot ? 0xf0f3f5 : 0xd7dde2));
        face.setColorAt(1.0, QColor(hot ? 0xa9b3bc : 0x8e98a2));
    } else {
        face.setColorAt(0.0, QColor(0x4a525a));
        face.setColorAt(1.0, QColor(0x3a4148));
    }
    painter.setBrush(face);
    painter.setPen(QPen(hasFocus() ? QColor::fromRgba(Palette::Accent) : QColor(0x111417),
                        hasFocus() ? 2.0 : 1.0));
    painter.drawRoundedRect(cap, 3.5, 3.5);
    painter.setPen(QPen(QColor(enabled ? 0x2a3036 : 0x5d666e), 2.0));
    painter.drawLine(QPointF(handleX, cap.top() + 4.0), QPointF(handleX, cap.bottom() - 4.0));
}
