#include "combobox.h"

#include "panelkit.h"
#include "panelkitprivate.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QListView>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyleOptionComboBox>
#include <QTimer>
#include <QWheelEvent>

ComboBox::ComboBox(QWidget *parent)
    : QComboBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    // A list view can hide rows, which is how hidden items leave the popup.
    setView(new QListView(this));
    connect(this, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &ComboBox::onBaseIndexChanged);
    connect(this, QOverload<int>::of(&QComboBox::activated), this, &ComboBox::onActivated);
}

bool ComboBox::isItemVisible(int index) const
{
    if (index < 0 || index >= count()) {
        return false;
    }
    const auto *list = qobject_cast<QListView *>(view());
    return !(list && list->isRowHidden(index));
}

int ComboBox::visibleItemCount() const
{
    int visible = 0;
    for (int i = 0; i < count(); ++i) {
        if (isItemVisible(i)) {
            ++visible;
        }
    }
    return visible;
}

void ComboBox::setCurrentIndex(int index)
{
    if (index < -1 || index >= count()) {
        qCWarning(lcPanelKit) << "ComboBox" << objectName() << "has no item" << index
                              << "- selection kept";
        return;
    }
    m_agreedIndex = index;
    QComboBox::setCurrentIndex(index);
}

void ComboBox::setItemVisibility(int index, bool visible)
{
    if (index < 0 || index >= count()) {
        qCWarning(lcPanelKit) << "ComboBox" << objectName() << "has no item" << index
                              << "to show or hide";
        return;
    }
    if (isItemVisible(index) == visible) {
        return;
    }
    if (auto *list = qobject_cast<QListView *>(view())) {
        list->setRowHidden(index, !visible);
    }
    // A disabled item is also skipped by the popup's own keyboard handling.
    if (auto *items = qobject_cast<QStandardItemModel *>(model())) {
        if (QStandardItem *item = items->item(index, modelColumn())) {
            item->setEnabled(visible);
        }
    }
}

void ComboBox::onBaseIndexChanged(int index)
{
    // Every index change that is not the operator's choice is the program's: the box
    // filled, emptied or re-ordered. It becomes the agreed index without a signal.
    if (!m_popupOpen && !m_popupChoosing) {
        m_agreedIndex = index;
    }
}

void ComboBox::onActivated(int index)
{
    m_popupOpen = false;
    m_popupChoosing = false;
    chooseByOperator(index);
}

void ComboBox::chooseByOperator(int index)
{
    if (index < 0 || index >= count() || !isItemVisible(index)) {
        return;
    }
    const bool changed = index != m_agreedIndex;
    m_agreedIndex = index;
    if (currentIndex() != index) {
        QComboBox::setCurrentIndex(index);
    }
    if (changed) {
        emit currentIndexChanged(index);
    }
}

void ComboBox::showPopup()
{
    m_popupOpen = true;
    QComboBox::showPopup();
}

void ComboBox::hidePopup()
{
    // The popup closes first and reports the chosen row right after; remember that the
    // coming index change is the operator's. The flag is dropped on the next event loop turn
    // in case the popup closed without a choice.
    m_popupChoosing = true;
    m_popupOpen = false;
    QComboBox::hidePopup();
    QTimer::singleShot(0, this, [this] {
        if (m_popupChoosing) {
            // Closed without a choice: whatever the program did meanwhile stands.
            m_popupChoosing = false;
            m_agreedIndex = currentIndex();
        }
    });
}

int ComboBox::nextVisible(int from, int direction) const
{
    for (int i = from + direction; i >= 0 && i < count(); i += direction) {
        if (isItemVisible(i)) {
            return i;
        }
    }
    return -1;
}

namespace {

// The keys that step through the list, and which way: -1 up, +1 down, 0 for any other key.
int stepOfKey(int key)
{
    switch (key) {
    case Qt::Key_Up:
    case Qt::Key_Left:
    case Qt::Key_PageUp:
        return -1;
    case Qt::Key_Down:
    case Qt::Key_Right:
    case Qt::Key_PageDown:
        return +1;
    default:
        return 0;
    }
}

} // namespace

void ComboBox::keyPressEvent(QKeyEvent *event)
{
    const int current = currentIndex();
    int target = -1;
    switch (event->key()) {
    case Qt::Key_Home:
        target = nextVisible(-1, +1);
        break;
    case Qt::Key_End:
        target = nextVisible(count(), -1);
        break;
    default: {
        if (const int step = stepOfKey(event->key())) {
            // With Alt these keys open or close the list, as in any combo box.
            if (event->modifiers() & Qt::AltModifier) {
                QComboBox::keyPressEvent(event);
                return;
            }
            target = nextVisible(current, step);
            break;
        }
        // Typing a letter jumps to the next visible item that starts with it.
        const QString typed = event->text();
        if (typed.size() == 1 && typed.at(0).isLetterOrNumber()
            && !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier))) {
            for (int step = 1; step <= count(); ++step) {
                const int i = (current + step + count()) % count();
                if (isItemVisible(i) && itemText(i).startsWith(typed, Qt::CaseInsensitive)) {
                    target = i;
                    break;
                }
            }
            break;
        }
        QComboBox::keyPressEvent(event);
        return;
    }
    }
    event->accept();
    if (target >= 0) {
        chooseByOperator(target);
    }
}

void ComboBox::wheelEvent(QWheelEvent *event)
{
    // A scroll over the panel must never change a setting: only a focused box listens.
    if (!hasFocus()) {
        event->ignore();
        return;
    }
    event->accept();
    m_wheelRemainder += event->angleDelta().y();
    static constexpr int s_notch = 120;
    while (qAbs(m_wheelRemainder) >= s_notch) {
        const int direction = m_wheelRemainder > 0 ? -1 : +1;
        m_wheelRemainder -= (m_wheelRemainder > 0 ? s_notch : -s_notch);
        const int target = nextVisible(currentIndex(), direction);
        if (target >= 0) {
            chooseByOperator(target);
        }
    }
}

void ComboBox::paintEvent(QPaintEvent *event)
{
    QComboBox::paintEvent(event);
    // Our own chevron, drawn in the panel's colours instead of the platform arrow.
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect arrowArea
            = style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxArrow, this);
    const QPointF centre = QRectF(arrowArea).center();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor color = QColor::fromRgba(isEnabled() ? PanelKit::Palette::Text
                                                      : PanelKit::Palette::TextDisabled);
    painter.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const double w = 4.0;
    const QPointF points[] = {centre + QPointF(-w, -w / 2.0), centre + QPointF(0, w / 2.0),
                              centre + QPointF(w, -w / 2.0)};
    painter.drawPolyline(points, 3);
}
