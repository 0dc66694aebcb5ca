#pragma once

#include <QElapsedTimer>
#include <QList>
#include <QWidget>

// The drawn slider of a ComboSlider: a track with a scale of ticks and labels and a
// handle that stops on a fixed set of positions.
//
// valueChanged(double) belongs to the operator: it is emitted when a drag ends on a new
// value (once, on release), for each key press, focused wheel notch or click beside the
// handle that changes the value, and never for setValue or setScale. While the handle is
// dragged, sliderMoved reports the value under the hand so a read-out can follow it.
//
// A click on the groove beside the handle moves it by one step towards the click, as an
// arrow key does: a laser setting must never jump by a page or to wherever the hand landed.
// Only the handle itself can be dragged.
class ScaleSlider : public QWidget
{
    Q_OBJECT

public:
    // What the scale draws and how positions map to values.
    enum ScaleType {
        Linear = 0, // even spacing; ten divisions with the ends labelled
        Logarithmic = 1, // even spacing per decade, for ranges over several decades; a tick and
        // label per decade (falls back to Linear when the minimum is not above 0)
        Stepped = 2, // one tick per allowed value, for units that stop on a list of steps
    };
    Q_ENUM(ScaleType)

    // trackHeight is the height in pixels of the row the handle runs in.
    explicit ScaleSlider(int trackHeight = 25, QWidget *parent = nullptr);

    // Defines the scale. Program call: moves nothing the operator holds and emits nothing.
    // A drag in progress is cancelled when the scale really changes.
    void setScale(int type, double minimum, double maximum, int decimals,
                  const QList<double> &steps = {});

    int scaleType() const { return m_type; }
    double minimum() const { return m_minimum; }
    double maximum() const { return m_maximum; }
    int decimals() const { return m_decimals; }
    QList<double> steps() const { return m_steps; }
    int trackHeight() const { return m_trackHeight; }

    // The value the handle rests on (the last value set or committed).
    double value() const { return m_value; }
    // The value under the handle; differs from value() only while dragging.
    double handleValue() const;
    bool isDragging() const { return m_dragging; }
    int positionCount() const;
    // Where the handle is drawn, in the slider's own coordinates.
    QRect handleRect() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    void setValue(double value);

signals:
    void valueChanged(double value);
    void sliderMoved(double value);
    // The operator picked the handle up.
    void sliderPressed();
    // The drag is over, let go or abandoned; emitted after the valueChanged it may cause.
    void sliderReleased();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void changeEvent(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    bool isLogarithmic() const;
    double valueAt(int position) const;
    int positionOf(double value) const;
    int positionAtX(double x) const;
    double xOfPosition(double position) const;
    double xOfValue(double value) const;
    QRectF trackRect() const;
    double handleWidth() const;
    // Moves by count positions, skipping positions whose value prints like the current one.
    void stepBy(int count);
    void commit(int position);
    void cancelDrag();
    void paintTicks(QPainter &painter);

    static constexpr int s_maxPositions = 1001;

    int m_trackHeight = 25;
    int m_type = Linear;
    double m_minimum = 0.0;
    double m_maximum = 100.0;
    int m_decimals = 0;
    QList<double> m_steps;
    int m_positions = 101;

    double m_value = 0.0;
    int m_position = 0;
    bool m_dragging = false;
    double m_grabOffset = 0.0;
    int m_wheelRemainder = 0;
};
