#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

class QLabel;
class QResizeEvent;
class QScrollArea;
class QStackedWidget;
class QTabBar;
class QVBoxLayout;

// The frame of a control panel: a header bar with a small and a large header, a side panel
// that stays beside the pages, the pages themselves with a tab bar to move between them,
// and a column on the right for a remote-control widget.
//
// Pages are numbered in the order they are added. A page without access has no tab and
// cannot be shown; taking access from the page on display moves to the first page that
// still has access. Ctrl+PgUp / Ctrl+PgDown step through the reachable pages.
class MainView : public QWidget
{
    Q_OBJECT

public:
    explicit MainView(QWidget *parent = nullptr);
    ~MainView() override;

    // The widget beside the pages; install a layout on it and fill it.
    QWidget *sidePanel() const { return m_sidePanel; }

    // Adds a page (taking ownership) under a tab titled title; returns its index.
    int addControlPage(QWidget *page, const QString &title);
    // Adds an empty page to fill and returns it.
    QWidget *addControlPage(const QString &title);

    int controlPageCount() const { return m_pages.size(); }
    QWidget *controlPage(int index) const;
    int currentControlPage() const;
    bool hasSettingsPageAccess(int index) const;

    QString header() const { return m_header; }
    QString tinyHeader() const { return m_tinyHeader; }
    QWidget *remoteControlWidget() const { return m_remoteControl; }

public slots:
    void setHeader(const QString &text);
    void setHeader(int number);
    void setTinyHeader(const QString &text);
    // Puts widget (taking ownership) into the remote-control column, replacing and deleting
    // any previous one; nullptr empties the column.
    void setRemoteControlWidget(QWidget *widget);
    // Shows page index; a page that does not exist or has no access is refused.
    void setControlPage(int index);
    void setSettingsPageAccess(int index, bool access);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    struct Page
    {
        QPointer<QWidget> widget;
        QScrollArea *frame = nullptr;
        QString title;
        bool access = true;
    };

    void onTabChosen(int tab);
    void stepPage(int direction);
    void showPage(int index);
    void syncTabs();
    int firstAccessiblePage() const;
    // The side panel narrows where the whole tab titles would not fit beside it.
    void fitSidePanel();

    QLabel *m_tinyHeaderLabel = nullptr;
    QLabel *m_headerLabel = nullptr;
    QWidget *m_sidePanel = nullptr;
    QScrollArea *m_sideFrame = nullptr;
    QTabBar *m_tabs = nullptr;
    QStackedWidget *m_stack = nullptr;
    QLabel *m_noPage = nullptr;
    QWidget *m_remoteColumn = nullptr;
    QVBoxLayout *m_remoteLayout = nullptr;
    QPointer<QWidget> m_remoteControl;
    QList<Page> m_pages;
    QString m_header;
    QString m_tinyHeader;
    bool m_syncingTabs = false;
};
