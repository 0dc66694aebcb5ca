#include "mainview.h"

#include "panelkit.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>

namespace {

constexpr int s_sidePanelWidth = 270;
// Where the whole tab titles do not fit beside the full side panel (a 1366 px laptop screen
// with the log docked beside the panel), the side panel gives up this much of its width.
constexpr int s_compactSidePanelWidth = 240;
constexpr int s_pageMargin = 10;

QScrollArea *makeScrollFrame(QWidget *content, QWidget *parent)
{
    auto *frame = new QScrollArea(parent);
    frame->setFrameShape(QFrame::NoFrame);
    frame->setWidgetResizable(true);
    frame->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    frame->setWidget(content);
    return frame;
}

} // namespace

MainView::MainView(QWidget *parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_StyledBackground);

    auto *headerBar = new QWidget(this);
    headerBar->setObjectName(QStringLiteral("panelHeader"));
    headerBar->setAttribute(Qt::WA_StyledBackground);
    m_tinyHeaderLabel = new QLabel(headerBar);
    m_tinyHeaderLabel->setObjectName(QStringLiteral("panelTinyHeader"));
    m_headerLabel = new QLabel(headerBar);
    m_headerLabel->setObjectName(QStringLiteral("panelHeaderText"));
    auto *headerLayout = new QVBoxLayout(headerBar);
    headerLayout->setContentsMargins(14, 6, 14, 6);
    headerLayout->setSpacing(0);
    headerLayout->addWidget(m_tinyHeaderLabel);
    headerLayout->addWidget(m_headerLabel);

    m_sidePanel = new QWidget;
    m_sidePanel->setObjectName(QStringLiteral("panelSide"));
    m_sidePanel->setAttribute(Qt::WA_StyledBackground);
    auto *sideFrame = makeScrollFrame(m_sidePanel, this);
    sideFrame->setObjectName(QStringLiteral("panelSideFrame"));
    sideFrame->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    sideFrame->setFixedWidth(s_sidePanelWidth);
    m_sideFrame = sideFrame;

    m_tabs = new QTabBar(this);
    m_tabs->setObjectName(QStringLiteral("panelTabs"));
    m_tabs->setExpanding(false);
    m_tabs->setFocusPolicy(Qt::StrongFocus);
    // The titles are read whole: where they do not fit even beside a narrower side panel,
    // the bar scrolls rather than cutting them short.
    m_tabs->setUsesScrollButtons(true);
    m_tabs->setElideMode(Qt::ElideNone);
    m_stack = new QStackedWidget(this);
    m_stack->setObjectName(QStringLiteral("panelPages"));
    m_noPage = new QLabel(tr("No page is available"), m_stack);
    m_noPage->setAlignment(Qt::AlignCenter);
    m_noPage->setProperty("type", QStringLiteral("label"));
    m_stack->addWidget(m_noPage);
    auto *pageColumn = new QVBoxLayout;
    pageColumn->setContentsMargins(s_pageMargin, 8, s_pageMargin, 0);
    pageColumn->setSpacing(0);
    pageColumn->addWidget(m_tabs);
    pageColumn->addWidget(m_stack, 1);

    m_remoteColumn = new QWidget(this);
    m_remoteColumn->setObjectName(QStringLiteral("panelRemote"));
    m_remoteColumn->setAttribute(Qt::WA_StyledBackground);
    m_remoteLayout = new QVBoxLayout(m_remoteColumn);
    m_remoteLayout->setContentsMargins(10, 12, 10, 12);
    m_remoteColumn->hide();

    auto *body = new QHBoxLayout;
    body->setContentsMargins(0, 0, 0, 0);
    body->setSpacing(0);
    body->addWidget(sideFrame);
    body->addLayout(pageColumn, 1);
    body->addWidget(m_remoteColumn);

    auto *root = new QVBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);
    root->addWidget(headerBar);
    root->addLayout(body, 1);

    connect(m_tabs, &QTabBar::currentChanged, this, &MainView::onTabChosen);
    auto *next = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_PageDown), this);
    next->setContext(Qt::WidgetWithChildrenShortcut);
    connect(next, &QShortcut::activated, this, [this] { stepPage(1); });
    auto *previous = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_PageUp), this);
    previous->setContext(Qt::WidgetWithChildrenShortcut);
    connect(previous, &QShortcut::activated, this, [this] { stepPage(-1); });
}

void MainView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitSidePanel();
}

void MainView::fitSidePanel()
{
    const int remote = m_remoteColumn->isVisibleTo(this) ? m_remoteColumn->sizeHint().width() : 0;
    const int tabsRoom = width() - s_sidePanelWidth - remote - 2 * s_pageMargin;
    const int sideWidth
            = tabsRoom >= m_tabs->sizeHint().width() ? s_sidePanelWidth : s_compactSidePanelWidth;
    if (m_sideFrame->width() != sideWidth) {
        m_sideFrame->setFixedWidth(sideWidth);
    }
}

MainView::~MainView()
{
    m_syncingTabs = true;
    disconnect(m_tabs, nullptr, this, nullptr);
}

int MainView::addControlPage(QWidget *page, const QString &title)
{
    if (!page) {
        qCWarning(lcPanelKit) << "MainView was given no page for" << title;
        return -1;
    }
    Page entry;
    entry.widget = page;
    entry.title = title;
    entry.frame = makeScrollFrame(page, m_stack);
    page->setAttribute(Qt::WA_StyledBackground);
    m_stack->addWidget(entry.frame);
    m_pages.append(entry);
    syncTabs();
    if (m_pages.size() == 1) {
        showPage(0);
    }
    return m_pages.size() - 1;
}

QWidget *MainView::addControlPage(const QString &title)
{
    auto *page = new QWidget;
    addControlPage(page, title);
    return page;
}

QWidget *MainView::controlPage(int index) const
{
    return (index >= 0 && index < m_pages.size()) ? m_pages.at(index).widget.data() : nullptr;
}

int MainView::currentControlPage() const
{
    for (int i = 0; i < m_pages.size(); ++i) {
        if (m_pages.at(i).frame == m_stack->currentWidget()) {
            return i;
        }
    }
    return -1;
}

bool MainView::hasSettingsPageAccess(int index) const
{
    return index >= 0 && index < m_pages.size() && m_pages.at(index).access;
}

void MainView::setHeader(const QString &text)
{
    m_header = text;
    m_headerLabel->setText(text);
}

void MainView::setHeader(int number)
{
    setHeader(QString::number(number));
}

void MainView::setTinyHeader(const QString &text)
{
    m_tinyHeader = text;
    // A trailing line break only pads the bar.
    m_tinyHeaderLabel->setText(text.trimmed());
    m_tinyHeaderLabel->setVisible(!text.trimmed().isEmpty());
}

void MainView::setRemoteControlWidget(QWidget *widget)
{
    if (widget == m_remoteControl) {
        return;
    }
    if (m_remoteControl) {
        m_remoteLayout->removeWidget(m_remoteControl);
        m_remoteControl->hide();
        m_remoteControl->deleteLater();
    }
    m_remoteControl = widget;
    if (widget) {
        m_remoteLayout->addWidget(widget);
        widget->show();
    }
    m_remoteColumn->setVisible(widget != nullptr);
    fitSidePanel();
}

void MainView::setControlPage(int index)
{
    if (index < 0 || index >= m_pages.size()) {
        qCWarning(lcPanelKit) << "MainView has no page" << index;
        return;
    }
    if (!m_pages.at(index).access) {
        qCWarning(lcPanelKit) << "MainView page" << index << m_pages.at(index).title
                              << "has no access and is not shown";
        return;
    }
    showPage(index);
}

void MainView::setSettingsPageAccess(int index, bool access)
{
    if (index < 0 || index >= m_pages.size()) {
        qCWarning(lcPanelKit) << "MainView has no page" << index << "to grant or deny access to";
        return;
    }
    if (m_pages.at(index).access == access) {
        return;
    }
    m_pages[index].access = access;
    syncTabs();
    if (!access && currentControlPage() == index) {
        const int fallback = firstAccessiblePage();
        if (fallback >= 0) {
            showPage(fallback);
        } else {
            // Nothing may be shown; an empty frame is better than a forbidden page.
            m_stack->setCurrentWidget(m_noPage);
        }
    }
    if (access && currentControlPage() < 0) {
        showPage(index);
    }
}

int MainView::firstAccessiblePage() const
{
    for (int i = 0; i < m_pages.size(); ++i) {
        if (m_pages.at(i).access) {
            return i;
        }
    }
    return -1;
}

void MainView::showPage(int index)
{
    if (index < 0 || index >= m_pages.size() || !m_pages.at(index).access) {
        return;
    }
    m_stack->setCurrentWidget(m_pages.at(index).frame);
    m_syncingTabs = true;
    m_tabs->setCurrentIndex(index);
    m_syncingTabs = false;
}

void MainView::syncTabs()
{
    m_syncingTabs = true;
    while (m_tabs->count() < m_pages.size()) {
        m_tabs->addTab(m_pages.at(m_tabs->count()).title);
    }
    for (int i = 0; i < m_pages.size(); ++i) {
        m_tabs->setTabText(i, m_pages.at(i).title);
        m_tabs->setTabEnabled(i, m_pages.at(i).access);
        m_tabs->setTabVisible(i, m_pages.at(i).access);
    }
    fitSidePanel();
    const int current = currentControlPage();
    if (current >= 0) {
        m_tabs->setCurrentIndex(current);
    }
    m_syncingTabs = false;
}

void MainView::onTabChosen(int tab)
{
    if (m_syncingTabs) {
        return;
    }
    if (hasSettingsPageAccess(tab)) {
        showPage(tab);
    } else {
        // The tab bar moved by itself onto a page without access: put it back.
        showPage(currentControlPage());
    }
}

void MainView::stepPage(int direction)
{
    const int count = m_pages.size();
    int index = currentControlPage();
    for (int step = 0; step < count; ++step) {
        index = (index + direction + count) % count;
        if (m_pages.at(index).access) {
            showPage(index);
            return;
        }
    }
}
