#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

// A latching push button with a lamp, for switching an operating state of the device.
//
// The lamp shows what the device reports (setActive, setBlink); the button's checked state
// is what the operator asked for. A click or Space/Enter flips the checked state and emits
// toggled(bool) — the only way that signal is ever emitted. setActive lights the lamp and
// sets the checked state silently, so the next click toggles from what the device reported.
//
// Blinking fades smoothly between the blink colour and the unlit colour and, when switched
// off, leaves the lamp at once in its steady state. Repeating setBlink with the same
// arguments (as a polling loop does) keeps the rhythm instead of restarting it.
class IndicatorButton : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString text READ text WRITE setText)
    Q_PROPERTY(bool active READ isActive WRITE setActive)

public:
    // Where the lamp sits on the button face.
    enum Position {
        Left = 0, // a vertical bar along the left edge
        Top = 1, // a horizontal bar across the top, like an illuminated push switch
        Right = 2,
        Bottom = 3,
    };
    Q_ENUM(Position)

    static constexpr int s_defaultBlinkInterval = 500;

    explicit IndicatorButton(const QString &text, int position = Top, QWidget *parent = nullptr);

    QString text() const { return m_text; }
    int position() const { return m_position; }
    quint32 litColor() const { return m_litColor; }
    quint32 unlitColor() const { return m_unlitColor; }
    quint32 blinkColor() const { return m_blinkColor; }
    int buttonColor() const { return m_buttonColor; }
    bool isActive() const { return m_active; }
    bool isChecked() const { return m_checked; }
    bool isBlinking() const { return m_blinking; }
    int blinkInterval() const { return m_blinkInterval; }
    // The colour the lamp shows at this moment (mid-fade while blinking).
    quint32 indicatorColor() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    void setText(const QString &text);
    // lit: the lamp when active; unlit: the lamp when not.
    void setColors(quint32 lit, quint32 unlit);
    // The face colour, one of Button::Color (0 neutral, 1 green, 2 steel blue, 3 orange, 4 red).
    void setButtonColor(int color);
    void setActive(bool active);
    // Blinks the lamp between colour and the unlit colour, intervalMs on and intervalMs off.
    void setBlink(bool blink, int intervalMs = s_defaultBlinkInterval, quint32 color = 0xffff0000);

signals:
    // The operator pressed the button; checked is the new checked state.
    void toggled(bool checked);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void changeEvent(QEvent *event) override;
    void enterEvent(QEvent *event) override;
    void leaveEvent(QEvent *event) override;

private:
    void pressByOperator();
    // Sets m_pressed or m_hovered, which the face is drawn from, and repaints if it changed.
    void setFaceState(bool &state, bool on);
    // 0..1: how far the lamp is towards the blink colour at this moment.
    double blinkLevel() const;
    void nextBlinkFrame();
    QRectF lampRect(const QRectF &face) const;

    QString m_text;
    int m_position = Top;
    quint32 m_litColor = 0xffff0000;
    quint32 m_unlitColor = 0xff555555;
    quint32 m_blinkColor = 0xffff0000;
    int m_buttonColor = 2;
    bool m_active = false;
    bool m_checked = false;
    bool m_blinking = false;
    int m_blinkInterval = s_defaultBlinkInterval;
    bool m_pressed = false;
    bool m_hovered = false;
    QElapsedTimer m_blinkClock;
    QTimer m_frameTimer;
};
