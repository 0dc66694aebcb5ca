#pragma once

#include <QLineEdit>

// A line edit that can take the dark, recessed look of an instrument read-out.
class LineEdit : public QLineEdit
{
    Q_OBJECT
    Q_PROPERTY(bool darkBackground READ hasDarkBackground WRITE setDarkBackground)

public:
    explicit LineEdit(QWidget *parent = nullptr);
    explicit LineEdit(const QString &text, QWidget *parent = nullptr);

    bool hasDarkBackground() const { return m_darkBackground; }

public slots:
    void setDarkBackground(bool dark = true);

protected:
    void wheelEvent(QWheelEvent *event) override;

private:
    bool m_darkBackground = false;
};
