#include "quickconnect.h"
#include "ui_quickconnect.h"

#include "panelkit.h"

QuickConnect::QuickConnect(QWidget *parent)
    : QWidget(parent)
    , m_ui(new Ui::QuickConnect)
{
    m_ui->setupUi(this);
    m_ui->connectButton->setStyleSheet(PanelKit::getButtonStylesheet());
    connect(m_ui->connectButton, &QPushButton::clicked, this, &QuickConnect::onConnectButtonClick);
}

QuickConnect::~QuickConnect()
{
    delete m_ui;
}

void QuickConnect::onConnectButtonClick() { }

void QuickConnect::onControllerOpened(QString) { }

void QuickConnect::onControllerOpenFail(QString, QString) { }

void QuickConnect::onControllerClosed(QString) { }

void QuickConnect::onControllerBusScanStarted(QString) { }

void QuickConnect::onControllerBusScanDeviceFound(QString, uchar, uchar) { }

void QuickConnect::onControllerBusScanEnded(QString, bool) { }

void QuickConnect::onBusScanningEnded(bool) { }
