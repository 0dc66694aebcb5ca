#include "zelmmainwindow.h"

#include "centertabwidget.h"

#include <QDockWidget>

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
