#ifndef CENTERTABWIDGET_H
#define CENTERTABWIDGET_H

#include <QTabWidget>

// The central area of the frame. While nothing is connected it shows a short
// hint instead of an empty grey rectangle.
class CenterTabWidget : public QTabWidget
{
    Q_OBJECT

public:
    explicit CenterTabWidget(QWidget *parent = nullptr);

    QString placeholderText() const;
    void setPlaceholderText(const QString &text);

protected:
    void paintEvent(QPaintEvent *event) override;
    void tabInserted(int index) override;
    void tabRemoved(int index) override;

private:
    void updateTabBar();

    QString m_placeholderText;
};

#endif // CENTERTABWIDGET_H
