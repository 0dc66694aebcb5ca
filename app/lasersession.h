#ifndef LASERSESSION_H
#define LASERSESSION_H

#include "laseridentitycheck.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>

class MainControlPanel;
class PortReconnector;
class QThread;
class QTimer;
class VelutraController;
class VelutraSerialHandler;

// The link to one laser, from the operator's choice of a port to the port's close: the
// serial handler in its worker thread, the controller of each connection, the check that
// the device is the laser, and the search for a port that went away. Every decision about
// opening, closing and reconnecting is made here, and only here; the window, recording and
// scripts follow the state and the controllers this object announces.
//
// Closed ──open()──▶ Opening ──port opened──▶ Handshaking ──ready, the laser expected─▶ Connected
//                       │                      ▲   ▲                                     │
//             open failed: Closed              │   └─────────── link broke down ─────────┤
//                                              │                                         │
// Reconnecting ──the port found and opened─────┘  no answer for LinkRecoveryMs: Closing ◀─┘
//      ▲
//      └── the port went away (or was given up on) while the reconnect option is on
//
// close() goes through Closing to Closed once the handler reports the port closed; a device
// that is not the laser, stopReconnecting() and shutDown() go to Closed at once, and nothing
// reopens on its own from there. A port that goes away while the option is off ends in Closed.
class LaserSession : public QObject
{
    Q_OBJECT

public:
    enum class State {
        // No port open and none looked for.
        Closed,
        // The operator chose a port; the handler has not opened it yet.
        Opening,
        // The port is open; the handshake (or, after a breakdown, its rerun) is not through,
        // or the device has not yet shown that it is the laser expected.
        Handshaking,
        // The laser answers and is the one the operator connected to.
        Connected,
        // The port went away (or was given up on) and is being looked for.
        Reconnecting,
        // A close was asked for and the handler has not reported it yet.
        Closing,
    };
    Q_ENUM(State)

    // A link that broke down (a command unanswered twice) and that the handshake has not
    // brought back within this time is closed and reopened: two further rounds of the
    // identification (a command and its resend, two seconds each) plus the settle time are
    // enough for a laser that was only busy, and a port that stays dumb longer than that is
    // more likely a hung adapter, which only a fresh open can cure.
    static constexpr int LinkRecoveryMs = 12000;

    // Makes the control panel that a connection's controller fills, given the port's name.
    using PanelFactory = std::function<MainControlPanel *(const QString &portName)>;

    explicit LaserSession(QObject *parent = nullptr);
    // Stops the serial thread; the handler goes with it.
    ~LaserSession() override;

    // Where controllers show their panel, and the window their dialogs belong to. Without a
    // host (a session under test, a program without a window) controllers run panel-less.
    void setPanelHost(QWidget *window, PanelFactory factory);

    State state() const;
    VelutraSerialHandler *handler() const;
    // The controller of the open port; null while no port is open.
    VelutraController *controller() const;
    // The open port's name; empty while no port is open (also while opening or reconnecting).
    QString portName() const;
    bool isReconnecting() const;
    // The port looked for while reconnecting.
    QString reconnectPortName() const;
    // The laser the operator connected to, as it identified itself; unknown before the first
    // handshake of an operator's open.
    LaserIdentity laser() const;
    // The laser the device on the open port must turn out to be; unknown on an operator's open.
    LaserIdentity expectedLaser() const;
    // What the current controller last reported about emission.
    bool isLaserOn() const;
    bool isOutputEnabled() const;

    // The name the operator knows a port by ("pts/3" for /dev/pts/3).
    static QString shortName(const QString &portName);

public slots:
    // The operator's choice of a port: whatever answers there is the laser from now on.
    void open(const QString &portName);
    // The operator's Disconnect of the open port.
    void close();
    // The operator calls off the search for a lost port.
    void stopReconnecting();
    // Nothing may open, reopen or write from here on (the window is closing); the controller
    // goes and the port is closed.
    void shutDown();

signals:
    void stateChanged(LaserSession::State state);
    // A port opened and its controller is made; its loop starts at the next turns of the
    // event loop, so connections made in reply catch everything it sends.
    void controllerCreated(VelutraController *controller);
    // The controller of the connection is on its way out (deleted later).
    void controllerGone();
    void portOpened(const QString &portName);
    void portClosed(const QString &portName);
    // Lines for the application log.
    void sigStatusMessage(const QString &line);
    // What the status bar should say until the next notice; empty clears it.
    void notice(const QString &text);
    // The laser's emission as its controller reports it changed.
    void emissionChanged();

    // To the serial handler, queued across the threads.
    void sigOpenCommunication(const QString &portName);
    void sigCloseCommunication();

private:
    void setState(State state);
    void requestOpen(const QString &portName);
    void onPortOpened(const QString &portName);
    void onPortClosed(const QString &portName);
    void onPortLost(const QString &portName);
    void onOpenFailed(const QString &portName);
    void onConnectedStatus(bool connected);
    void onLinkRecoveryTimeout();
    void onReconnectOpenRequested(const QString &portName);
    void onIdentityCheckFailed(LaserIdentityCheck::Outcome outcome);
    void createController(const QString &portName, bool reconnected);
    void dropController();
    void startReconnecting();
    void endReconnecting();
    // Closes the port of a device that is not the laser looked for, and says so.
    void refuseDevice(LaserIdentityCheck::Outcome outcome);

    State m_state = State::Closed;
    VelutraSerialHandler *m_handler = nullptr;
    QThread *m_thread = nullptr;
    QPointer<QWidget> m_window;
    PanelFactory m_panelFactory;
    QPointer<VelutraController> m_controller;
    QString m_portName;
    PortReconnector *m_reconnector = nullptr;
    QTimer *m_linkRecoveryTimer = nullptr;
    LaserIdentityCheck *m_identityCheck = nullptr;
    LaserIdentity m_laser;
    // Why the next close comes: the device went away, or the link was given up on.
    bool m_portLost = false;
    bool m_reopenAfterClose = false;
    // An open asked for and then called off (Disconnect while reconnecting, the window
    // closing) may still complete in the handler: its port is not taken up.
    bool m_openCalledOff = false;
    QElapsedTimer m_reconnectClock;
    bool m_laserOn = false;
    bool m_outputEnabled = false;
};

#endif // LASERSESSION_H
