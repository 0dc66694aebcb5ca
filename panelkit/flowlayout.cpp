#include "flowlayout.h"

#include <QStyle>
#include <QWidget>

FlowLayout::FlowLayout(QWidget *parent, int margin, int horizontalSpacing, int verticalSpacing)
    : QLayout(parent)
    , m_horizontalSpacing(horizontalSpacing)
    , m_verticalSpacing(verticalSpacing)
{
    if (margin >= 0) {
        setContentsMargins(margin, margin, margin, margin);
    }
}

FlowLayout::~FlowLayout()
{
    while (!m_items.isEmpty()) {
        delete m_items.takeLast();
    }
}

void FlowLayout::addItem(QLayoutItem *item)
{
    m_items.append(item);
    invalidate();
}

int FlowLayout::count() const
{
    return m_items.size();
}

QLayoutItem *FlowLayout::itemAt(int index) const
{
    return (index >= 0 && index < m_items.size()) ? m_items.at(index) : nullptr;
}

QLayoutItem *FlowLayout::takeAt(int index)
{
    if (index < 0 || index >= m_items.size()) {
        return nullptr;
    }
    QLayoutItem *item = m_items.takeAt(index);
    invalidate();
    return item;
}

int FlowLayout::horizontalSpacing() const
{
    return m_horizontalSpacing >= 0 ? m_horizontalSpacing
                                    : spacingFromStyle(QStyle::PM_LayoutHorizontalSpacing);
}

int FlowLayout::verticalSpacing() const
{
    return m_verticalSpacing >= 0 ? m_verticalSpacing
                                  : spacingFromStyle(QStyle::PM_LayoutVerticalSpacing);
}

Qt::Orientations FlowLayout::expandingDirections() const
{
    return {};
}

bool FlowLayout::hasHeightForWidth() const
{
    return true;
}

int FlowLayout::heightForWidth(int width) const
{
    return arrange(QRect(0, 0, width, 0), false);
}

QSize FlowLayout::minimumSize() const
{
    QSize size;
    for (const QLayoutItem *item : m_items) {
        size = size.expandedTo(item->minimumSize());
    }
    const QMargins margins = contentsMargins();
    return size + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
}

QSize FlowLayout::sizeHint() const
{
    return minimumSize();
}

void FlowLayout::setGeometry(const QRect &rect)
{
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

int FlowLayout::arrange(const QRect &rect, bool apply) const
{
    const QMargins margins = contentsMargins();
    const QRect area = rect.marginsRemoved(margins);
    int x = area.x();
    int y = area.y();
    int rowHeight = 0;
    const int gapX = qMax(0, horizontalSpacing());
    const int gapY = qMax(0, verticalSpacing());

    for (QLayoutItem *item : m_items) {
        if (item->isEmpty()) {
            continue;
        }
        const QSize hint = item->sizeHint();
        // Wrap before an item that would cross the right edge, unless it starts the row.
        if (x + hint.width() > area.right() + 1 && rowHeight > 0) {
            x = area.x();
            y += rowHeight + gapY;
            rowHeight = 0;
        }
        if (apply) {
            item->setGeometry(QRect(QPoint(x, y), hint));
        }
        x += hint.width() + gapX;
        rowHeight = qMax(rowHeight, hint.height());
    }
    return y + rowHeight - rect.y() + margins.bottom();
}

int FlowLayout::spacingFromStyle(QStyle::PixelMetric metric) const
{
    QObject *owner = parent();
    if (!owner) {
        return -1;
    }
    if (owner->isWidgetType()) {
        auto *widget = static_cast<QWidget *>(owner);
        return widget->style()->pixelMetric(metric, nullptr, widget);
    }
    return static_cast<QLayout *>(owner)->spacing();
}
