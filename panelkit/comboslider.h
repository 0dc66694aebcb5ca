#pragma once

#include "scaleslider.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>

class ComboBox;
class LineEdit;
class QLabel;

// One unit of a ComboSlider scale: a name ("µJ", "%", "kHz" or empty), a range, the number
// of decimals shown and typed, optionally a list of the only values allowed, and the unit's
// own value.
//
// The value belongs to the device: it is kept as set, even outside the range, and shown
// bounded by the range; once a new range contains it, it shows as it is. The range and the
// step list only bound what the operator can choose.
class ComboSliderUnit : public QObject
{
    Q_OBJECT

public:
    ComboSliderUnit(const QString &name, double minimum, double maximum, int decimals,
                    QObject *parent = nullptr);
    ComboSliderUnit(const QString &name, double minimum, double maximum, int decimals,
                    int scaleType, QObject *parent = nullptr);

    QString name() const { return m_name; }
    double minimum() const { return m_minimum; }
    double maximum() const { return m_maximum; }
    int decimals() const { return m_decimals; }
    int scaleType() const { return m_scaleType; }
    bool isVisible() const { return m_visible; }
    // The step list as given (finite values, ascending, no repeats).
    QList<double> stepList() const { return m_steps; }
    // The steps inside the current range: where the slider stops.
    QList<double> allowedSteps() const;
    // The value as last set, possibly outside the range.
    double storedValue() const { return m_value; }
    // The value as shown: bounded by the range.
    double value() const;
    // The allowed value nearest to value: bounded, on a step when there are steps, and
    // rounded to the decimals.
    double nearestAllowed(double value) const;

public slots:
    // A (maximum, minimum) pair is accepted and turned round; non-finite bounds are ignored.
    void setRange(double minimum, double maximum);
    // The slider stops only on these values. Order does not matter, non-finite values are
    // dropped, and the first and last become the range. An empty list lifts the restriction
    // and keeps the range.
    void setStepList(const QList<double> &steps);
    void setValue(double value);
    void setDecimals(int decimals);
    void setName(const QString &name);
    void setScaleType(int scaleType);
    void setVisible(bool visible);

signals:
    // Something about the unit changed. This tells the slider showing the unit to redraw;
    // it is not operator input and never carries a command.
    void changed();

private:
    QString m_name;
    double m_minimum = 0.0;
    double m_maximum = 100.0;
    int m_decimals = 0;
    int m_scaleType = ScaleSlider::Linear;
    bool m_visible = true;
    QList<double> m_steps;
    double m_value = 0.0;
};

// A named set of units that one ComboSlider shows; the operator picks among its visible
// units with the unit selector. Each scale remembers which of its units is current.
class ComboSliderScale : public QObject
{
    Q_OBJECT

public:
    explicit ComboSliderScale(const QString &name, QObject *parent = nullptr);
    ComboSliderScale(const QString &name, int scaleType, QObject *parent = nullptr);

    // Takes ownership of unit.
    void addUnit(ComboSliderUnit *unit);
    ComboSliderUnit *addUnit(const QString &name, double minimum, double maximum, int decimals);

    QString name() const { return m_name; }
    int unitCount() const { return m_units.size(); }
    ComboSliderUnit *unit(int index) const;
    int indexOf(const ComboSliderUnit *unit) const;
    int currentUnitIndex() const { return m_currentUnit; }
    ComboSliderUnit *currentUnit() const { return unit(m_currentUnit); }
    int scaleType() const { return m_scaleType; }

public slots:
    void setName(const QString &name);
    // Applies the scale type to every unit of the scale, present and future.
    void setScaleType(int scaleType);
    void setCurrentUnitIndex(int index);

signals:
    // The scale or one of its units changed; for the slider that shows it.
    void changed();

private:
    void removeUnit(QObject *unit);

    QString m_name;
    QList<ComboSliderUnit *> m_units;
    int m_currentUnit = 0;
    int m_scaleType = -1;
};

// A slider with a typed read-out, a unit selector and a scale selector, for setting one
// device value.
//
// The operator drags the handle (one valueChanged when letting go), steps it with the
// keyboard or, when it has focus, the wheel (one valueChanged per step), or types an exact
// value and presses Enter (clamped to the range, snapped to the step list; Escape or
// leaving the field restores the shown value). The selectors appear when there is more than
// one visible unit or more than one scale.
//
// Every program call is silent: setValue, ranges, step lists, unit and scale switches never
// emit valueChanged, unitIndexChanged or scaleIndexChanged, whatever they do to the value.
//
// While the operator holds the slider (the handle in a drag, or a value half typed in the
// field), program calls are stored in the units but not shown: the device's polling would
// otherwise pull the handle or the text from under the hand. When the hand lets go, the
// released value is sent and shown until the device answers; a hold that sends nothing
// (dropped where it was picked up, Escape, leaving the field) shows the latest program value
// at once.
class ComboSlider : public QWidget
{
    Q_OBJECT

public:
    // sliderHeight is the height in pixels of the slider's handle row (25 suits a panel).
    explicit ComboSlider(int sliderHeight = 25, QWidget *parent = nullptr);
    ~ComboSlider() override;

    // Takes ownership of scale. The first scale added becomes the current one.
    void addScale(ComboSliderScale *scale);
    ComboSliderScale *addScale(const QString &name);

    int sliderHeight() const { return m_sliderHeight; }
    int scaleCount() const { return m_scales.size(); }
    ComboSliderScale *scale(int index) const;
    ComboSliderScale *currentScale() const { return scale(m_currentScale); }
    ComboSliderUnit *currentUnit() const;
    int currentScaleIndex() const { return m_currentScale; }
    int currentUnitIndex() const;
    // The current unit's value as shown (bounded by its range); 0 without a unit.
    double value() const;

public slots:
    // Sets the current unit's value.
    void setValue(double value);
    void setUnitRange(int scale, int unit, double minimum, double maximum);
    void setCurrentUnitIndex(int index);
    void setCurrentScaleIndex(int index);
    // Shows or hides a unit of the current scale in the unit selector. A hidden unit cannot
    // be chosen by the operator; hiding the current unit keeps it current.
    void setUnitVisibility(int unit, bool visible);
    void setUnitVisibility(int scale, int unit, bool visible);
    // Shows the current unit's range, steps and value again.
    void updateSlider();

signals:
    // The operator set a new value (of the current unit).
    void valueChanged(double value);
    // The operator chose another unit of the current scale.
    void unitIndexChanged(int index);
    // The operator chose another scale.
    void scaleIndexChanged(int index);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // What the operator's hand is doing with this slider.
    enum class Hold {
        None,
        Handle, // the handle is picked up
        Typing, // the value field holds text the operator has not sent yet
    };

    void beginHold(Hold hold);
    void endHold(Hold hold);
    // False, with a warning, when the program switched the unit during the hold.
    bool heldUnitIsCurrent() const;
    void onSliderMoved(double value);
    void onSliderValueChanged(double value);
    void onUnitChosen(int index);
    void onScaleChosen(int index);
    void commitTypedValue();
    void revertTypedValue();
    void removeScale(QObject *scale);
    ComboSliderUnit *unitAt(int scale, int unit, const char *operation) const;
    void showValue(double value, int decimals);

    int m_sliderHeight = 25;
    QList<ComboSliderScale *> m_scales;
    int m_currentScale = 0;

    QLabel *m_caption = nullptr;
    ComboBox *m_scaleSelector = nullptr;
    ScaleSlider *m_slider = nullptr;
    LineEdit *m_valueEdit = nullptr;
    ComboBox *m_unitSelector = nullptr;
    QLabel *m_unitLabel = nullptr;
    bool m_refreshing = false;
    Hold m_hold = Hold::None;
    // The unit the hold began on: a value meant for it never goes to another one.
    QPointer<ComboSliderUnit> m_heldUnit;
};
