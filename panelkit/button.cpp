#include "button.h"

#include "panelkit.h"
#include "panelkitprivate.h"

namespace {

struct FaceSize
{
    int size;
    QSize minimum;
};

constexpr FaceSize s_faceSizes[] = {
        {Button::Compact, {96, 36}}, {Button::Regular, {112, 40}},    {Button::Medium, {128, 44}},
        {Button::Large, {148, 52}},  {Button::ExtraLarge, {172, 58}}, {Button::Panel, {196, 64}},
};

QSize minimumFor(int size)
{
    for (const FaceSize &face : s_faceSizes) {
        if (face.size == size) {
            return face.minimum;
        }
    }
    return s_faceSizes[0].minimum;
}

} // namespace

Button::Button(QWidget *parent)
    : Button(QString(), Compact, Action, parent)
{ }

Button::Button(const QString &text, QWidget *parent)
    : Button(text, Compact, Action, parent)
{ }

Button::Button(const QString &text, int size, int color, QWidget *parent)
    : QPushButton(text, parent)
{
    setAutoDefault(false);
    setProperty("buttonColor", m_color);
    setButtonSize(size);
    setButtonColor(color);
}

void Button::setButtonSize(int size)
{
    if (size < Compact || size > Panel) {
        qCWarning(lcPanelKit) << "Button size" << size << "is not one of 1 to 6; keeping" << m_size;
        return;
    }
    if (PanelKit::takeNew(m_size, size)) {
        updateGeometry();
    }
}

void Button::setButtonColor(int color)
{
    if (!PanelKit::isButtonColor(color)) {
        qCWarning(lcPanelKit) << "Button colour" << color << "is not one of 0 to 4; keeping"
                              << m_color;
        return;
    }
    if (PanelKit::takeNew(m_color, color)) {
        setProperty("buttonColor", m_color);
        PanelKit::repolish(this);
    }
}

QSize Button::sizeHint() const
{
    return QPushButton::sizeHint().expandedTo(minimumFor(m_size));
}

QSize Button::minimumSizeHint() const
{
    return QPushButton::minimumSizeHint().expandedTo(minimumFor(m_size));
}
