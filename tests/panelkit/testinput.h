#pragma once

// Operator input the QtTest helpers do not cover: a drag with the button held, and a
// wheel turn.

#include <QApplication>
#include <QMouseEvent>
#include <QObject>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>

namespace TestInput {

inline bool wheel(QWidget *widget, int notches)
{
    const QPointF centre = QRectF(widget->rect()).center();
    QWheelEvent event(centre, widget->mapToGlobal(centre.toPoint()), QPoint(),
                      QPoint(0, notches * 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                      false);
    QApplication::sendEvent(widget, &event);
    return event.isAccepted();
}

inline void press(QWidget *widget, QPoint at)
{
    QMouseEvent event(QEvent::MouseButtonPress, at, widget->mapToGlobal(at), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

inline void moveHeld(QWidget *widget, QPoint to)
{
    QMouseEvent event(QEvent::MouseMove, to, widget->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

inline void release(QWidget *widget, QPoint at)
{
    QMouseEvent event(QEvent::MouseButtonRelease, at, widget->mapToGlobal(at), Qt::LeftButton,
                      Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

// Presses at from, passes through steps points on the way and lets go at to.
inline void drag(QWidget *widget, QPoint from, QPoint to, int steps)
{
    press(widget, from);
    for (int i = 1; i <= steps; ++i) {
        const QPoint at = from + (to - from) * i / steps;
        moveHeld(widget, at);
    }
    release(widget, to);
}

} // namespace TestInput

namespace TestInput {

// Focus only reaches widgets of the active window.
inline void showActive(QWidget *widget, QSize size = QSize(640, 120))
{
    widget->resize(size);
    widget->show();
    QApplication::setActiveWindow(widget);
    widget->activateWindow();
    if (!QTest::qWaitForWindowActive(widget)) {
        qWarning("The test window did not become active");
    }
}

// Counts the paint events a widget receives: what a program that repeats the same values
// every polling cycle must not cause.
class PaintCounter : public QObject
{
public:
    explicit PaintCounter(QWidget *widget) { widget->installEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            ++count;
        }
        return QObject::eventFilter(watched, event);
    }
};

} // namespace TestInput
