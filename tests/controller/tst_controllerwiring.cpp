#include "guiwidget.h"
#include "velutracontroller.h"
#include "velutraremotecontrol.h"
#include "velutraresponsedecoder.h"
#include "velutraserialhandler.h"
#include "velutraview.h"

#include <QMetaMethod>
#include <QtTest>

// Wiring is checked through QObject::disconnect(): it answers true only when the very
// connection asked for existed, and a second call tells whether there was exactly one.

namespace {

QStringList s_warnings;
QtMessageHandler s_previousHandler = nullptr;

void captureWarnings(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg && message.startsWith(QLatin1String("VelutraController"))) {
        s_warnings << message;
    }
    if (s_previousHandler) {
        s_previousHandler(type, context, message);
    }
}

QList<QMetaMethod> ownSignals(const QMetaObject &meta)
{
    QList<QMetaMethod> methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal) {
            methods << meta.method(i);
        }
    }
    return methods;
}

QMetaMethod slotOf(const QObject *object, const QByteArray &signature)
{
    const QMetaObject *meta = object->metaObject();
    return meta->method(meta->indexOfSlot(QMetaObject::normalizedSignature(signature)));
}

QMetaMethod signalOf(const QObject *object, const QByteArray &signature)
{
    const QMetaObject *meta = object->metaObject();
    return meta->method(meta->indexOfSignal(QMetaObject::normalizedSignature(signature)));
}

// True when sender's signal reaches exactly receiver's slot, once, and nothing else.
bool wiredExactlyTo(QObject *sender, const QMetaMethod &signal, QObject *receiver,
                    const QMetaMethod &slot)
{
    if (!signal.isValid() || !slot.isValid()) {
        return false;
    }
    if (!QObject::disconnect(sender, signal, receiver, slot)) {
        return false;
    }
    if (QObject::disconnect(sender, signal, receiver, slot)) {
        return false;
    }
    return !QObject::disconnect(sender, signal, nullptr, QMetaMethod());
}

// The same for a connection made with pointers to members, which only pointers to members find.
template<typename Sender, typename Signal, typename Receiver, typename Slot>
bool memberWiredExactlyTo(Sender *sender, Signal signal, Receiver *receiver, Slot slot)
{
    if (!QObject::disconnect(sender, signal, receiver, slot)) {
        return false;
    }
    if (QObject::disconnect(sender, signal, receiver, slot)) {
        return false;
    }
    return !QObject::disconnect(sender, QMetaMethod::fromSignal(signal), nullptr, QMetaMethod());
}

bool wiredToNothing(QObject *sender, const QMetaMethod &signal)
{
    return signal.isValid() && !QObject::disconnect(sender, signal, nullptr, QMetaMethod());
}

// Remote-control partners of the controller's operating-state signals.
const QMap<QByteArray, QByteArray> s_remoteSlots = {
        {"enableOutEnable(bool)", "enableOutEnable(bool)"},
        {"enableLaserOn(bool)", "enableLaserOn(bool)"},
        {"enableStandby(bool)", "enableStandby(bool)"},
        {"enableListen(bool)", "enableListen(bool)"},
        {"setOutEnableOn(bool)", "setOutEnable(bool)"},
        {"setOutEnableOnFlash(bool)", "setOutEnableFlashing(bool)"},
        {"setOutEnableOnVisible(bool)", "setOutEnableVisible(bool)"},
        {"setLaserOn(bool)", "setLaserOn(bool)"},
        {"setLaserOnFlash(bool)", "setLaserOnFlashing(bool)"},
        {"setStandby(bool)", "setStandby(bool)"},
        {"setStandbyFlash(bool)", "setStandbyFlashing(bool)"},
        {"setListen(bool)", "setListen(bool)"},
};

// The same partners as pointers to members, which is how the controller connects them.
using ControllerBoolSignal = void (VelutraController::*)(bool);
const QList<QPair<ControllerBoolSignal, void (VelutraRemoteControl::*)(bool)>> s_remoteRoutes = {
        {&VelutraController::enableOutEnable, &VelutraRemoteControl::enableOutEnable},
        {&VelutraController::enableLaserOn, &VelutraRemoteControl::enableLaserOn},
        {&VelutraController::enableStandby, &VelutraRemoteControl::enableStandby},
        {&VelutraController::enableListen, &VelutraRemoteControl::enableListen},
        {&VelutraController::setOutEnableOn, &VelutraRemoteControl::setOutEnable},
        {&VelutraController::setOutEnableOnFlash, &VelutraRemoteControl::setOutEnableFlashing},
        {&VelutraController::setOutEnableOnVisible, &VelutraRemoteControl::setOutEnableVisible},
        {&VelutraController::setLaserOn, &VelutraRemoteControl::setLaserOn},
        {&VelutraController::setLaserOnFlash, &VelutraRemoteControl::setLaserOnFlashing},
        {&VelutraController::setStandby, &VelutraRemoteControl::setStandby},
        {&VelutraController::setStandbyFlash, &VelutraRemoteControl::setStandbyFlashing},
        {&VelutraController::setListen, &VelutraRemoteControl::setListen},
};
const QList<QPair<ControllerBoolSignal, void (VelutraView::*)(bool)>> s_temperatureRoutes = {
        {&VelutraController::setTemperatureVisibilty1, &VelutraView::setTemperatureVisibility1},
        {&VelutraController::setTemperatureVisibilty2, &VelutraView::setTemperatureVisibility2},
        {&VelutraController::setTemperatureVisibilty3, &VelutraView::setTemperatureVisibility3},
        {&VelutraController::setTemperatureVisibilty4, &VelutraView::setTemperatureVisibility4},
        {&VelutraController::setTemperatureVisibilty5, &VelutraView::setTemperatureVisibility5},
        {&VelutraController::setTemperatureVisibilty6, &VelutraView::setTemperatureVisibility6},
        {&VelutraController::setTemperatureVisibilty7, &VelutraView::setTemperatureVisibility7},
        {&VelutraController::setTemperatureVisibilty8, &VelutraView::setTemperatureVisibility8},
        {&VelutraController::setTemperatureVisibilty9, &VelutraView::setTemperatureVisibility9},
        {&VelutraController::setTemperatureVisibilty10, &VelutraView::setTemperatureVisibility10},
};
const QList<QPair<void (VelutraRemoteControl::*)(bool), void (VelutraController::*)(bool)>>
        s_remoteButtons = {
                {&VelutraRemoteControl::outEnableChanged, &VelutraController::outEnableChanged},
                {&VelutraRemoteControl::laserOnChanged, &VelutraController::laserOnChanged},
                {&VelutraRemoteControl::standbyChanged, &VelutraController::standbyChanged},
                {&VelutraRemoteControl::listenChanged, &VelutraController::listenChanged},
};

} // namespace

class TestControllerWiring : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void decoderSignalsReachTheirSlots();
    void handlerQueuesAndLinesAreWired();
    void nullHandlerLeavesTheQueuesUnwired();
    void exceptionListIsTheKnownOne();
    void controllerSignalsReachTheView();
    void exceptionsReachTheirPartners();
    void viewChangesReachTheController();
    void remoteButtonsReachTheController();
    void panelIsWiredOnce();
};

void TestControllerWiring::init()
{
    s_warnings.clear();
    s_previousHandler = qInstallMessageHandler(captureWarnings);
}

void TestControllerWiring::cleanup()
{
    qInstallMessageHandler(s_previousHandler);
    QCOMPARE(s_warnings, QStringList{});
}

void TestControllerWiring::decoderSignalsReachTheirSlots()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    VelutraResponseDecoder *decoder = controller.decoder();
    const QList<QMetaMethod> decoderSignals = ownSignals(*decoder->metaObject());
    QVERIFY(decoderSignals.size() > 100);
    // The decoder values nobody takes; each must have no slot to miss.
    const QList<QByteArray> unused = {"sigDigitalGateNotSupported", "sigiVelutraXPReadyChanged"};
    int wired = 0;
    for (const QMetaMethod &signal : decoderSignals) {
        QVERIFY(signal.name().startsWith("sig"));
        const QByteArray slot = "slot" + signal.methodSignature().mid(3);
        if (unused.contains(signal.name())) {
            QVERIFY2(wiredToNothing(decoder, signal), signal.methodSignature().constData());
            QCOMPARE(controller.metaObject()->indexOfSlot(slot.constData()), -1);
            continue;
        }
        QVERIFY2(wiredExactlyTo(decoder, signal, &controller, slotOf(&controller, slot)),
                 slot.constData());
        ++wired;
    }
    QCOMPARE(wired, decoderSignals.size() - unused.size());
}

void TestControllerWiring::handlerQueuesAndLinesAreWired()
{
    VelutraSerialHandler handler;
    VelutraController controller(nullptr, nullptr, &handler, nullptr);
    VelutraResponseDecoder *decoder = controller.decoder();
    QVERIFY(memberWiredExactlyTo(&controller, &VelutraController::sigAddMonitorCommand, &handler,
                                 &VelutraSerialHandler::slotAddMonitorCommand));
    QVERIFY(memberWiredExactlyTo(&controller, &VelutraController::sigDelMonitorCommand, &handler,
                                 &VelutraSerialHandler::slotDelMonitorCommand));
    QVERIFY(memberWiredExactlyTo(&controller, &VelutraController::sigClrAllMonitorCommands,
                                 &handler, &VelutraSerialHandler::slotClrAllMonitorCommands));
    QVERIFY(memberWiredExactlyTo(
            &controller, &VelutraController::sigAppendSettingsCommand, &handler,
            qOverload<const QString &>(&VelutraSerialHandler::slotAppendSettingsCommand)));
    QVERIFY(memberWiredExactlyTo(&handler, &VelutraSerialHandler::sigLineReceived, decoder,
                                 &VelutraResponseDecoder::slotLineReceived));
    // The link state reaches both, the controller first.
    QVERIFY(QObject::disconnect(&handler, &VelutraSerialHandler::sigConnectedStatus, &controller,
                                &VelutraController::slotConnectedStatus));
    QVERIFY(memberWiredExactlyTo(&handler, &VelutraSerialHandler::sigConnectedStatus, decoder,
                                 &VelutraResponseDecoder::slotConnectedStatus));
}

void TestControllerWiring::nullHandlerLeavesTheQueuesUnwired()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    for (const char *signal : {"sigAddMonitorCommand(QString)", "sigDelMonitorCommand(QString)",
                               "sigClrAllMonitorCommands()", "sigAppendSettingsCommand(QString)"}) {
        QVERIFY2(wiredToNothing(&controller, signalOf(&controller, signal)), signal);
    }
}

void TestControllerWiring::exceptionListIsTheKnownOne()
{
    QStringList expected;
    for (auto i = s_remoteSlots.cbegin(); i != s_remoteSlots.cend(); ++i) {
        expected << QString::fromLatin1(i.key().left(i.key().indexOf('(')));
    }
    for (int n = 1; n <= 10; ++n) {
        expected << QStringLiteral("setTemperatureVisibilty%1").arg(n);
    }
    QStringList listed = VelutraController::signalsWithoutViewSlot();
    listed.sort();
    expected.sort();
    QCOMPARE(listed, expected);
}

void TestControllerWiring::controllerSignalsReachTheView()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    controller.slotMainLoop();
    VelutraView *view = controller.view();
    QVERIFY(view);
    const QList<QMetaMethod> controllerSignals = ownSignals(*controller.metaObject());
    QCOMPARE(controllerSignals.size(), 159);
    int wired = 0;
    for (const QMetaMethod &signal : controllerSignals) {
        const QString name = QString::fromLatin1(signal.name());
        if (name.startsWith(QLatin1String("sig"))
            || VelutraController::signalsWithoutViewSlot().contains(name)) {
            continue;
        }
        QVERIFY2(wiredExactlyTo(&controller, signal, view, slotOf(view, signal.methodSignature())),
                 signal.methodSignature().constData());
        ++wired;
    }
    QCOMPARE(wired, 159 - 4 - VelutraController::signalsWithoutViewSlot().size());
}

void TestControllerWiring::exceptionsReachTheirPartners()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    controller.slotMainLoop();
    VelutraView *view = controller.view();
    VelutraRemoteControl *remote = controller.remoteControl();
    QVERIFY(remote);
    QCOMPARE(view->remoteControlWidget(), remote);

    // Each partner by its pointer to member, and the pair's names as the exception list has
    // them: the signal that no view slot of its name takes.
    QCOMPARE(s_remoteRoutes.size(), s_remoteSlots.size());
    for (const auto &route : s_remoteRoutes) {
        const QMetaMethod signal = QMetaMethod::fromSignal(route.first);
        QVERIFY2(s_remoteSlots.contains(signal.methodSignature()),
                 signal.methodSignature().constData());
        QVERIFY2(memberWiredExactlyTo(&controller, route.first, remote, route.second),
                 signal.methodSignature().constData());
    }
    for (int n = 1; n <= 10; ++n) {
        const QByteArray signal = "setTemperatureVisibilty" + QByteArray::number(n) + "(bool)";
        const auto &route = s_temperatureRoutes.at(n - 1);
        QCOMPARE(QMetaMethod::fromSignal(route.first).methodSignature(), signal);
        QVERIFY2(memberWiredExactlyTo(&controller, route.first, view, route.second),
                 signal.constData());
    }
    // The shutter lamp on the side panel shows what the device says.
    QVERIFY(wiredExactlyTo(&controller, signalOf(&controller, "setShutterIndicator(bool)"), view,
                           slotOf(view, "setShutterIndicator(bool)")));
}

void TestControllerWiring::viewChangesReachTheController()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    controller.slotMainLoop();
    VelutraView *view = controller.view();
    const QMap<QByteArray, QByteArray> renamed = {
            {"operatingModeChanged", "slotOperatingModeChanged"},
            {"dynamicWavelengthFeature", "dynamicWavelengthFeatureChanged"},
    };
    const QList<QMetaMethod> viewSignals = ownSignals(*view->metaObject());
    QVERIFY(!viewSignals.isEmpty());
    for (const QMetaMethod &signal : viewSignals) {
        if (signal.name() == "closeCrystalSpotWarningWindow") {
            // The view's own: it closes the view's wait dialog, not the controller's business.
            QVERIFY(!QObject::disconnect(view, signal, &controller, QMetaMethod()));
            continue;
        }
        QByteArray slot = signal.methodSignature();
        slot.replace(0, signal.name().size(), renamed.value(signal.name(), signal.name()));
        const QMetaMethod target = slotOf(&controller, slot);
        QVERIFY2(target.isValid(), slot.constData());
        QVERIFY2(QObject::disconnect(view, signal, &controller, target), slot.constData());
        QVERIFY2(!QObject::disconnect(view, signal, &controller, QMetaMethod()), slot.constData());
    }
}

void TestControllerWiring::remoteButtonsReachTheController()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    controller.slotMainLoop();
    VelutraRemoteControl *remote = controller.remoteControl();
    const QList<QMetaMethod> buttons = ownSignals(*remote->metaObject());
    QCOMPARE(buttons.size(), 4);
    for (const auto &button : s_remoteButtons) {
        const QMetaMethod signal = QMetaMethod::fromSignal(button.first);
        QVERIFY2(memberWiredExactlyTo(remote, button.first, &controller, button.second),
                 signal.methodSignature().constData());
        // The slot has the button's own name and arguments.
        QVERIFY2(slotOf(&controller, signal.methodSignature()).isValid(),
                 signal.methodSignature().constData());
    }
    for (const QMetaMethod &button : buttons) {
        QVERIFY2(wiredToNothing(remote, button), button.methodSignature().constData());
    }
}

void TestControllerWiring::panelIsWiredOnce()
{
    VelutraController controller(nullptr, nullptr, nullptr, nullptr);
    for (int turn = 0; turn < 4; ++turn) {
        controller.slotConnectedStatus(turn % 2 == 1);
        controller.slotMainLoop();
        controller.slotMainLoop();
    }
    VelutraView *view = controller.view();
    const QMetaMethod signal = signalOf(&controller, "setOperatingMode(int)");
    QVERIFY(wiredExactlyTo(&controller, signal, view, slotOf(view, "setOperatingMode(int)")));
    const QMetaMethod change = signalOf(view, "power_uJ_Changed(double)");
    QVERIFY(QObject::disconnect(view, change, &controller, QMetaMethod()));
    QVERIFY(!QObject::disconnect(view, change, &controller, QMetaMethod()));
}

QTEST_MAIN(TestControllerWiring)
#include "tst_controllerwiring.moc"
