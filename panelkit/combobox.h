#pragma once

#include <QComboBox>

// A combo box whose change signal belongs to the operator.
//
// currentIndexChanged(int) is emitted only when the operator picks another item with the
// mouse, the keyboard or (while the box has focus) the wheel. setCurrentIndex, adding,
// removing or hiding items never emit it, so a value the program puts back is never sent
// to the device as if the operator had chosen it.
//
// Hidden items stay in the model with their indices but cannot be reached from the list
// or the keyboard. Hiding the current item keeps it current: the program's selection is
// the device's state, hiding only limits what the operator may pick.
class ComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit ComboBox(QWidget *parent = nullptr);

    bool isItemVisible(int index) const;
    int visibleItemCount() const;

    void showPopup() override;
    void hidePopup() override;

public slots:
    // Selects an item without emitting currentIndexChanged. Out-of-range indices are ignored.
    void setCurrentIndex(int index);
    void setItemVisibility(int index, bool visible);

signals:
    // The operator chose another item.
    void currentIndexChanged(int index);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void onBaseIndexChanged(int index);
    void onActivated(int index);
    // The next visible item from index in direction (+1 or -1), or -1.
    int nextVisible(int from, int direction) const;
    void chooseByOperator(int index);

    // The index the program and the operator both last agreed on.
    int m_agreedIndex = -1;
    bool m_popupOpen = false;
    bool m_popupChoosing = false;
    int m_wheelRemainder = 0;
};
