#pragma once

#include <QLayout>
#include <QList>
#include <QStyle>

// Lays its items out left to right and wraps them onto the next row when the width
// runs out, like words in a paragraph.
class FlowLayout : public QLayout
{
    Q_OBJECT

public:
    explicit FlowLayout(QWidget *parent = nullptr, int margin = -1, int horizontalSpacing = -1,
                        int verticalSpacing = -1);
    ~FlowLayout() override;

    void addItem(QLayoutItem *item) override;
    int count() const override;
    QLayoutItem *itemAt(int index) const override;
    QLayoutItem *takeAt(int index) override;

    int horizontalSpacing() const;
    int verticalSpacing() const;

    Qt::Orientations expandingDirections() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;
    QSize minimumSize() const override;
    QSize sizeHint() const override;
    void setGeometry(const QRect &rect) override;

private:
    // Places the items in rect (or only measures when apply is false); returns the height used.
    int arrange(const QRect &rect, bool apply) const;
    int spacingFromStyle(QStyle::PixelMetric metric) const;

    QList<QLayoutItem *> m_items;
    int m_horizontalSpacing = -1;
    int m_verticalSpacing = -1;
};
