#ifndef QUICKCONNECT_H
#define QUICKCONNECT_H

#include <QWidget>

namespace Ui {
class QuickConnect;
}

// A one-button connect page kept for bus-scanning controllers; it reacts to nothing yet.
class QuickConnect : public QWidget
{
    Q_OBJECT

public:
    explicit QuickConnect(QWidget *parent = nullptr);
    ~QuickConnect() override;

public slots:
    void onConnectButtonClick();
    void onControllerOpened(QString name);
    void onControllerOpenFail(QString name, QString reason);
    void onControllerClosed(QString name);
    void onControllerBusScanStarted(QString name);
    void onControllerBusScanDeviceFound(QString name, uchar address, uchar type);
    void onControllerBusScanEnded(QString name, bool success);
    void onBusScanningEnded(bool success);

private:
    Ui::QuickConnect *m_ui = nullptr;
};

#endif // QUICKCONNECT_H
