#include "zelmmainwindow.h"

#include "centertabwidget.h"

#include <QDockWidget>
#include <QScreen>
#include <QVector>

namespace {

// The smallest free screen area on which the window is not maximized at its first start.
constexpr QSize SpaciousScreen(1600, 900);

} // namespace

ZELMMainWindow::ZELMMainWindow(QWidget *parent)
    : QMainWindow(parent)
{
    setDockOptions(QMainWindow::AnimatedDocks | QMainWindow::AllowTabbedDocks);
}

ZELMMainWindow::~ZELMMainWindow() = default;

QDockWidget *ZELMMainWindow::createGenericDockWidget(QWidget *widget, const QString &title,
                                                     Qt::DockWidgetArea area, bool floating)
{
    auto *dock = new QDockWidget(title, this);
    dock->setObjectName(title);
    dock->setFeatures(QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable
                      | QDockWidget::DockWidgetFloatable);
    if (widget) {
        widget->setParent(dock);
        dock->setWidget(widget);
        // A dock behind another one's tab is only moved out of sight, not hidden: its page
        // would still count as visible and go on laying out and drawing what nobody can see.
        // Hiding the page with its dock lets it rest until its tab comes to the front.
        connect(dock, &QDockWidget::visibilityChanged, widget, &QWidget::setVisible);
        // Hidden, the page still counts in its dock's size: a dock whose page is gone
        // would take its title's height as its largest, and hold the whole tab group of
        // docks there, the separator beside it stuck.
        QSizePolicy policy = widget->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        widget->setSizePolicy(policy);
    }
    addDockWidget(area, dock);
    dock->setFloating(floating);
    m_accessoryDocks.append(dock);
    return dock;
}

QWidget *ZELMMainWindow::createSystemWidget(QWidget *widget, const QString &title)
{
    CenterTabWidget *tabs = centerTabWidget();
    if (!widget || !tabs) {
        return widget;
    }
    const int index = tabs->addTab(widget, title);
    tabs->setCurrentIndex(index);
    return widget;
}

void ZELMMainWindow::removeAllSystemWidgets()
{
    CenterTabWidget *tabs = centerTabWidget();
    if (!tabs) {
        return;
    }
    while (tabs->count() > 0) {
        QWidget *page = tabs->widget(0);
        tabs->removeTab(0);
        if (page) {
            page->hide();
            page->deleteLater();
        }
    }
}

void ZELMMainWindow::removeAllAccessoryDocks()
{
    const QList<QPointer<QDockWidget>> docks = m_accessoryDocks;
    m_accessoryDocks.clear();
    for (const QPointer<QDockWidget> &dock : docks) {
        if (dock) {
            removeDockWidget(dock);
            dock->deleteLater();
        }
    }
}

QRect ZELMMainWindow::availableScreenArea() const
{
    const QScreen *current = screen();
    return current ? current->availableGeometry() : QRect(QPoint(0, 0), SpaciousScreen);
}

bool ZELMMainWindow::isSmallScreen(const QSize &available)
{
    // A laptop's 1366x768 and anything short of a full-HD screen.
    return available.width() < SpaciousScreen.width()
           || available.height() < SpaciousScreen.height();
}

void ZELMMainWindow::fitToScreen(const QRect &available, int sideDockWidth, int bottomDockHeight)
{
    setGeometry(available);
    // Docks beside each other in one area share its size; tabbed ones take it each.
    QList<QDockWidget *> sideDocks;
    QList<QDockWidget *> bottomDocks;
    const QList<QDockWidget *> docks = accessoryDocks();
    for (QDockWidget *dock : docks) {
        if (dock->isFloating()) {
            continue;
        }
        switch (dockWidgetArea(dock)) {
        case Qt::LeftDockWidgetArea:
        case Qt::RightDockWidgetArea:
            sideDocks.append(dock);
            break;
        case Qt::TopDockWidgetArea:
        case Qt::BottomDockWidgetArea:
            bottomDocks.append(dock);
            break;
        default:
            break;
        }
    }
    resizeDocks(sideDocks, QVector<int>(sideDocks.size(), sideDockWidth).toList(), Qt::Horizontal);
    resizeDocks(bottomDocks, QVector<int>(bottomDocks.size(), bottomDockHeight).toList(),
                Qt::Vertical);
}

QList<QDockWidget *> ZELMMainWindow::accessoryDocks() const
{
    QList<QDockWidget *> docks;
    for (const QPointer<QDockWidget> &dock : m_accessoryDocks) {
        if (dock) {
            docks.append(dock);
        }
    }
    return docks;
}

QList<QWidget *> ZELMMainWindow::systemWidgets() const
{
    QList<QWidget *> pages;
    if (CenterTabWidget *tabs = centerTabWidget()) {
        for (int i = 0; i < tabs->count(); ++i) {
            pages.append(tabs->widget(i));
        }
    }
    return pages;
}

CenterTabWidget *ZELMMainWindow::centerTabWidget() const
{
    return qobject_cast<CenterTabWidget *>(centralWidget());
}
