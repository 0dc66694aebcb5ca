#pragma once

#include <QColor>
#include <QWidget>

// A round status lamp. The colour is a 32-bit ARGB value, e.g. 0xff95d400 for green;
// a fully opaque grey (0xff555555) reads as "off".
class Indicator : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(quint32 color READ color WRITE setColor)

public:
    static constexpr quint32 Off = 0xff555555;
    static constexpr quint32 Green = 0xff95d400;
    static constexpr quint32 Orange = 0xfff58b2e;
    static constexpr quint32 Red = 0xffff0000;

    explicit Indicator(QWidget *parent = nullptr);
    explicit Indicator(quint32 color, QWidget *parent = nullptr);

    quint32 color() const { return m_color; }
    int diameter() const { return m_diameter; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    // Draws a lamp into rect; shared with IndicatorButton so both glow alike.
    static void paintLamp(QPainter *painter, const QRectF &rect, const QColor &color, bool round,
                          bool enabled);

public slots:
    void setColor(quint32 color);
    void setDiameter(int diameter);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    static constexpr int s_defaultDiameter = 16;

    quint32 m_color = Off;
    int m_diameter = s_defaultDiameter;
};
