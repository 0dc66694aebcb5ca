#include "applicationlog.h"
#include "ui_applicationlog.h"

#include "_applog.h"

#include <QScrollBar>

ApplicationLog::ApplicationLog(QWidget *parent)
    : QWidget(parent)
    , m_ui(new Ui::ApplicationLog)
{
    m_ui->setupUi(this);
    m_ui->plainTextEdit->setDocument(_AppLog::getLogDocument());
    m_ui->plainTextEdit->setReadOnly(true);
    m_ui->plainTextEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
    connect(m_ui->toolButtonClear, SIGNAL(clicked()), this, SLOT(onToolButtonClear_clicked()));
    connect(m_ui->toolButtonSave, SIGNAL(clicked()), this, SLOT(onToolButtonSave_clicked()));
    connect(m_ui->toolButtonPrint, SIGNAL(clicked()), this, SLOT(onToolButtonPrint_clicked()));
    connect(m_ui->plainTextEdit->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &ApplicationLog::onVScrollChanged);
    connect(m_ui->plainTextEdit, &QPlainTextEdit::textChanged, this,
            &ApplicationLog::onTextChanged);
}

ApplicationLog::~ApplicationLog()
{
    delete m_ui;
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
