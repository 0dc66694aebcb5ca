#include "layoutdebug.h"
#include "ui_layoutdebug.h"

LayoutDebug::LayoutDebug(QWidget *parent)
    : QWidget(parent)
    , m_ui(new Ui::LayoutDebug)
{
    m_ui->setupUi(this);
}

LayoutDebug::~LayoutDebug()
{
    delete m_ui;
}
