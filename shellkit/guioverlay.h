#ifndef GUIOVERLAY_H
#define GUIOVERLAY_H

#include <QWidget>

// A veil over its parent while the parent is disabled, so the operator sees at
// a glance that the controls are waiting for the device, not broken.
class GUIOverlay : public QWidget
{
    Q_OBJECT

public:
    explicit GUIOverlay(QWidget *parent);

    QString text() const;
    void setText(const QString &text);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void follow();

    QString m_text;
};

#endif // GUIOVERLAY_H
