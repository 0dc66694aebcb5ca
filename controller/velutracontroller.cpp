#include "velutracontroller.h"

#include "guiwidget.h"
#include "velutraremotecontrol.h"
#include "velutraresponsedecoder.h"
#include "velutraview.h"

void VelutraController::slotsVelutraTypeChanged(const QString &) { }
void VelutraController::slotsApplicationNameChanged(const QString &) { }
void VelutraController::slotiModeOfOperationAOMChanged(int) { }
void VelutraController::slotDebuggingStatusChanged(bool) { }
void VelutraController::slotExistsSHGModule(bool) { }
void VelutraController::slotExistsSHGgModule(bool) { }
void VelutraController::slotExistsTHGModule(bool) { }
void VelutraController::slotExistsTHGiModule(bool) { }
void VelutraController::slotDynamicWavelengthFeatureSupported(bool) { }
void VelutraController::slotUnhandledLineData(const QByteArray &) { }
void VelutraController::slotParsingError(const QByteArray &) { }
void VelutraController::systemInfoViewChanged(bool) { }

VelutraController::VelutraController(QWidget *mainWindow, MainControlPanel *panel,
                                     VelutraSerialHandler *handler, QObject *parent)
    : QObject(parent)
    , m_mainWindow(mainWindow)
    , m_controlPanel(panel)
    , m_serialHandler(handler)
    , m_decoder(new VelutraResponseDecoder(this))
{ }

VelutraController::~VelutraController() = default;

VelutraResponseDecoder *VelutraController::decoder() const
{
    return m_decoder;
}

GUIWidget *VelutraController::panelWidget() const
{
    return m_panelWidget;
}

VelutraView *VelutraController::view() const
{
    return m_view;
}

VelutraRemoteControl *VelutraController::remoteControl() const
{
    return m_remoteControl;
}

const QStringList &VelutraController::signalsWithoutViewSlot()
{
    static const QStringList names;
    return names;
}

void VelutraController::buildPanel() { }
void VelutraController::wirePanel() { }
void VelutraController::installBaseMonitorList() { }
void VelutraController::installModuleList(int) { }
void VelutraController::emitModuleVisibilitySteps(int) { }
bool VelutraController::runFirmwareIdCheck()
{
    return false;
}
void VelutraController::loadSettings() { }
void VelutraController::saveSettings() const { }
void VelutraController::queueSettings(const QString &command)
{
    emit sigAppendSettingsCommand(command);
}

void VelutraController::queueMonitor(const QString &command)
{
    emit sigAddMonitorCommand(command);
}

void VelutraController::sendSetCommand(const QString &command, const char *staleGroup)
{
    // The device may refuse or clamp the value: forgetting what was last shown makes the next
    // reply repaint the control even when the device kept its old value.
    if (staleGroup) {
        const QByteArray slot = QByteArray("markStale_") + staleGroup;
        if (!QMetaObject::invokeMethod(m_decoder, slot.constData(), Qt::DirectConnection)) {
            qWarning("VelutraController: the decoder has no %s()", slot.constData());
        }
    }
    emit sigAppendSettingsCommand(command);
}
