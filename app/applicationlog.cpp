#include "applicationlog.h"
#include "ui_applicationlog.h"

#include "_applog.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QResizeEvent>
#include <QScrollBar>
#include <QTextOption>
#include <QTimer>
#include <QToolButton>

namespace {

// Room for a time stamp and a short message side by side before the first start's layout.
constexpr int s_defaultWidthInCharacters = 60;

} // namespace

ApplicationLog::ApplicationLog(QWidget *parent)
    : QWidget(parent)
    , m_ui(new Ui::ApplicationLog)
{
    m_ui->setupUi(this);
    m_ui->plainTextEdit->setDocument(_AppLog::getLogDocument());
    m_ui->plainTextEdit->setReadOnly(true);
    // A docked page is narrow: a long message wraps instead of running off the right edge,
    // where only a few letters after the time stamp would show.
    m_ui->plainTextEdit->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_ui->plainTextEdit->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    connect(m_ui->toolButtonClear, &QToolButton::clicked, this,
            &ApplicationLog::onToolButtonClear_clicked);
    connect(m_ui->toolButtonSave, &QToolButton::clicked, this,
            &ApplicationLog::onToolButtonSave_clicked);
    connect(m_ui->toolButtonPrint, &QToolButton::clicked, this,
            &ApplicationLog::onToolButtonPrint_clicked);
    connect(m_ui->plainTextEdit->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &ApplicationLog::onVScrollChanged);
    connect(m_ui->plainTextEdit, &QPlainTextEdit::textChanged, this,
            &ApplicationLog::onTextChanged);
}

ApplicationLog::~ApplicationLog()
{
    delete m_ui;
}

QSize ApplicationLog::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * s_defaultWidthInCharacters,
            QWidget::sizeHint().height()};
}

namespace {

struct DockPlace
{
    QMainWindow *window = nullptr;
    QDockWidget *dock = nullptr;
    Qt::Orientation across = Qt::Horizontal;
};

DockPlace dockPlace(QWidget *page)
{
    auto *dock = qobject_cast<QDockWidget *>(page->parentWidget());
    auto *window = dock ? qobject_cast<QMainWindow *>(dock->parentWidget()) : nullptr;
    if (!window || dock->isFloating()) {
        return {};
    }
    const Qt::DockWidgetArea area = window->dockWidgetArea(dock);
    const bool side = area == Qt::LeftDockWidgetArea || area == Qt::RightDockWidgetArea;
    return {window, dock, side ? Qt::Horizontal : Qt::Vertical};
}

} // namespace

void ApplicationLog::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (!isVisible()) {
        return;
    }
    const DockPlace place = dockPlace(this);
    if (place.dock) {
        m_dockSize = place.across == Qt::Horizontal ? place.dock->width() : place.dock->height();
    }
}

void ApplicationLog::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // After the main window has laid the dock out again, which happens once this event is over.
    // The size is taken now: the layout resizes the page before then.
    const int wanted = m_dockSize;
    if (wanted > 0) {
        QTimer::singleShot(0, this, [this, wanted] { restoreDockSize(wanted); });
    }
}

void ApplicationLog::restoreDockSize(int size)
{
    const DockPlace place = dockPlace(this);
    if (!place.dock || !place.dock->isVisible()) {
        return;
    }
    place.window->resizeDocks({place.dock}, {size}, place.across);
}
void ApplicationLog::onToolButtonClear_clicked()
{
    _AppLog::ClearLogLines(this);
}

void ApplicationLog::onToolButtonSave_clicked()
{
    _AppLog::SaveLogLines(this);
}

void ApplicationLog::onToolButtonPrint_clicked()
{
    _AppLog::PrintLogLines(this);
}

void ApplicationLog::onVScrollChanged(int value)
{
    m_autoScroll = value == m_ui->plainTextEdit->verticalScrollBar()->maximum();
}

void ApplicationLog::onTextChanged()
{
    if (m_autoScroll) {
        QScrollBar *bar = m_ui->plainTextEdit->verticalScrollBar();
        bar->setValue(bar->maximum());
    }
}
