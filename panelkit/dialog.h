#pragma once

#include <QDialog>

// A modal dialog in the panel's look. A frameless dialog has no title bar; it draws
// its own border and can be moved by dragging its background.
class Dialog : public QDialog
{
    Q_OBJECT

public:
    explicit Dialog(QWidget *parent = nullptr, bool frameless = false);

    bool isFrameless() const { return m_frameless; }

public slots:
    void setFrameless(bool frameless);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool m_frameless = false;
    bool m_moving = false;
    QPoint m_grabOffset;
};
