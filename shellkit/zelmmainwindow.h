#ifndef ZELMMAINWINDOW_H
#define ZELMMAINWINDOW_H

#include <QList>
#include <QMainWindow>
#include <QPointer>

class CenterTabWidget;
class QDockWidget;

// Application frame: a main window whose central area holds "system widgets"
// (pages that exist while a device is connected) and whose sides hold
// "accessory docks" (pages that live as long as the window).
class ZELMMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit ZELMMainWindow(QWidget *parent = nullptr);
    ~ZELMMainWindow() override;

    // Docks `widget` under `title` in `area`; `floating` starts it undocked.
    // The dock's object name is the title, so that saveState() can find it again.
    // The page is hidden whenever its dock is out of sight (closed, or behind another
    // dock's tab) and shown again with it.
    QDockWidget *createGenericDockWidget(QWidget *widget, const QString &title,
                                         Qt::DockWidgetArea area, bool floating);

    // Adds `widget` as a page of the central tab widget and shows it; returns `widget`.
    QWidget *createSystemWidget(QWidget *widget, const QString &title);

    // Takes every page out of the central area and deletes it once control returns to the loop.
    void removeAllSystemWidgets();

    // Takes every accessory dock out of the window and deletes it later.
    void removeAllAccessoryDocks();

    // The first start on a screen whose free area is available: the window takes all of it,
    // the side docks sideDockWidth and the bottom docks bottomDockHeight, the central area
    // the rest.
    void fitToScreen(const QRect &available, int sideDockWidth, int bottomDockHeight);
    // The free area (without task bars) of the screen the window is on.
    QRect availableScreenArea() const;
    // A screen without room to spare, where a first start maximizes the window.
    static bool isSmallScreen(const QSize &available);

    QList<QDockWidget *> accessoryDocks() const;
    QList<QWidget *> systemWidgets() const;
    CenterTabWidget *centerTabWidget() const;

private:
    QList<QPointer<QDockWidget>> m_accessoryDocks;
};

#endif // ZELMMAINWINDOW_H
