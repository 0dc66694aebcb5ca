#pragma once

#include <QPushButton>

// A push button in one of six sizes and five colours. Sizes and colours are plain
// codes so that callers may write either Button::Panel or 6.
class Button : public QPushButton
{
    Q_OBJECT
    Q_PROPERTY(int buttonSize READ buttonSize WRITE setButtonSize)
    Q_PROPERTY(int buttonColor READ buttonColor WRITE setButtonColor)

public:
    // Minimum face size grows with the code; the text may make a button larger still.
    enum Size {
        Compact = 1, // 96 x 36: dialog buttons, small actions
        Regular = 2, // 112 x 40
        Medium = 3, // 128 x 44
        Large = 4, // 148 x 52
        ExtraLarge = 5, // 172 x 58
        Panel = 6, // 196 x 64: prominent actions on a page
    };
    Q_ENUM(Size)

    enum Color {
        Neutral = 0, // grey
        Go = 1, // green
        Action = 2, // steel blue, the standard action
        Caution = 3, // orange
        Stop = 4, // red
    };
    Q_ENUM(Color)

    explicit Button(QWidget *parent = nullptr);
    explicit Button(const QString &text, QWidget *parent = nullptr);
    Button(const QString &text, int size, int color, QWidget *parent = nullptr);

    int buttonSize() const { return m_size; }
    int buttonColor() const { return m_color; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    void setButtonSize(int size);
    void setButtonColor(int color);

private:
    int m_size = Compact;
    int m_color = Action;
};
