#ifndef VELUTRASERIALHANDLER_H
#define VELUTRASERIALHANDLER_H

#include "logepisode.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QSerialPort>
#include <QString>
#include <QStringList>

#include <map>

class QTimer;

// Owns the one serial port to the laser and drives all traffic on it.
//
// Lives in a worker thread of its own: create it without parent, move it to a
// QThread and connect the thread's started() to slotMainLoop(). Everything else
// reaches it through queued signal/slot connections, so none of its state needs
// a lock. Exactly one command is outstanding at any time; the next one is
// written only after the device has echoed the current one.
class VelutraSerialHandler : public QObject
{
    Q_OBJECT

public:
    // How far the link has come; each tick acts on it, in this order. Entering SendConnect
    // or WaitReady writes a debug trace (category velutra.serial).
    enum class LinkState {
        // The first tick creates the timers, in the worker thread.
        Initialise,
        WaitForOpen,
        // Two quiet seconds for the device after an open.
        Settle,
        // Identification is requested until the device has named itself.
        SendConnect,
        // The device status is requested until the device is ready.
        WaitReady,
        // Polling and settings commands.
        Running,
    };
    Q_ENUM(LinkState)

    explicit VelutraSerialHandler(QObject *parent = nullptr);
    ~VelutraSerialHandler() override;

public slots:
    // One tick of the link; re-arms itself. Connect the worker thread's started() here.
    void slotMainLoop();

    // Opens the named port on the next tick; an open port is closed first.
    void slotOpenCommunication(const QString &portName);
    void slotCloseCommunication();

    // The cyclic polling list: one copy of each command, in the order first added.
    void slotAddMonitorCommand(const QString &command);
    void slotDelMonitorCommand(const QString &command);
    void slotClrAllMonitorCommands();

    // One-shot commands. With hold set the command is parked and never written.
    // At most 256 wait; past that the oldest setting (not a query) is dropped. When the
    // link is lost (a command unanswered twice) or the port closes, every waiting
    // setting is discarded; queries stay.
    void slotAppendSettingsCommand(const QString &command, bool hold);
    void slotAppendSettingsCommand(const QString &command);

    // Delivers the bytes received since the last line end as a line now, with the "_"
    // traffic tag, for a caller that knows the device has finished a reply it does not end.
    // Nothing happens without an open port or with nothing waiting. Sending stays paused
    // for the rest of the read pause, as if the bytes were still waiting.
    void slotReadyReadEnded();

signals:
    // A complete line, echoes included, its CR or LF terminator still attached.
    void sigLineReceived(const QByteArray &line);
    // Open, close and port error reports for the application log. A fault that
    // repeats is reported when it begins and once more, with a count, when it ends.
    void sigStatusMessage(const QString &message);
    // false at start-up and when a command went unanswered twice; true once the
    // handshake has found the device ready.
    void sigConnectedStatus(bool connected);
    void sigCommunicationOpened(const QString &portName);
    void sigCommunicationClosed(const QString &portName);
    // Sent just before sigCommunicationClosed when the port closed because the device went
    // away (removed, hung up, a read-error storm) rather than because it was asked to.
    void sigCommunicationLost(const QString &portName);
    // The port asked for could not be opened (the log has the reason); nothing is open.
    void sigCommunicationOpenFailed(const QString &portName);
    // Traffic for the serial monitor: tag "<port>:<ss-zzz>" ("_" instead of ":"
    // for a partial line flushed without its terminator) and the bytes.
    void sigBytesReceived(const QString &tag, const QByteArray &bytes);
    void sigBytesTransmitted(const QString &tag, const QByteArray &bytes);
    // Bytes the framing drops without making a line of them (a lone CR or LF, a prompt
    // character): the monitor never shows them, a traffic log that must hold every byte
    // received does.
    void sigBytesDiscarded(const QString &tag, const QByteArray &bytes);

private slots:
    void slotReadyRead();
    void slotCommandTimeout();
    void slotErrorOccurred(QSerialPort::SerialPortError error);

private:
    // The connect handshake, in the order it runs: moved on by the lines received and by
    // unanswered commands (nextHandshake()), read by the ticks of SendConnect, WaitReady and
    // Running. A step "...Asked" means the request's echo has come and the next line of its
    // kind decides.
    enum class Handshake {
        Unidentified,
        // The next line beginning "Velutra-" identifies the device.
        IdentityAsked,
        Identified,
        // The next status line says whether the device is ready.
        StatusAsked,
        Ready,
        // The link was lost while a status reply was awaited: a late one still uses up an
        // attempt, but identifies nothing.
        StatusAskedUnidentified,
    };

    // What moves the handshake on, in the order it happens.
    enum class HandshakeEvent {
        IdentifyEchoed,
        IdentityReceived,
        StatusEchoed,
        ReadyReported,
        NotReadyReported,
        // A status line without a value.
        StatusUnreadable,
        // Any other command acknowledged by its echo.
        OtherEchoed,
        // A command went unanswered twice.
        Unanswered,
    };

    static Handshake nextHandshake(Handshake from, HandshakeEvent event);
    void advanceHandshake(HandshakeEvent event);
    void restartHandshake();
    static bool isIdentified(Handshake state);
    bool awaitsStatusReply() const;
    LinkState advance(LinkState state);
    void traceOnEntry();

    void rearmTick(int intervalMs);
    void initialise();
    bool openRequestedPort();
    LinkState sendConnectCommand();
    LinkState waitForReady();
    LinkState runScheduler();
    void closePort();
    void closeIfRequested();
    void treatPortAsGone();
    void dropOldestSettingsCommand();
    void discardSettingsOnLinkLoss();
    static bool isQuery(const QString &command);
    void endSettingsOverflow();
    LogEpisode faultEpisode(qint64 quietMs);
    void pollFaultEpisodes();
    void endPortEpisodes();
    static const char *stateTrace(LinkState state);

    bool isReadPaused() const;
    bool isFreeToSend() const;
    qint64 quietElapsed() const;
    void sendCommand(const QString &command);
    void writePendingCommand();
    void frameByte(char byte);
    void deliverLine(QChar separator);
    void checkEcho(const QByteArray &line);
    HandshakeEvent statusReplyEvent(const QByteArray &line);
    QString trafficTag(QChar separator) const;
    static QString withLineEnd(const QString &command);
    static QString errorText(QSerialPort::SerialPortError error);

    Handshake m_handshake = Handshake::Unidentified;
    int m_statusAttemptsLeft = 10;
    // Runs for a while after a read that left part of a line waiting; no command is written
    // until it expires. A default deadline has expired already.
    QDeadlineTimer m_readPause;
    QPointer<QSerialPort> m_port;
    bool m_openRequested = false;
    QString m_portName;
    bool m_closeRequested = false;
    QByteArray m_receiveBuffer;
    LinkState m_state = LinkState::Initialise;
    int m_resendsLeft = 1;
    QTimer *m_commandTimer = nullptr;
    QString m_pendingCommand;
    // Restarted on every write, read notification and acknowledged echo; an
    // invalid clock counts as long ago.
    QElapsedTimer m_quietClock;
    int m_monitorIndex = 0;
    bool m_monitorCycleComplete = false;
    QStringList m_monitorList;
    QStringList m_heldList;
    QStringList m_settingsQueue;
    // Set by the first drop from a full queue, cleared once the queue has emptied.
    bool m_settingsQueueOverflowing = false;
    int m_settingsDropped = 0;

    // Drives slotMainLoop(): a single shot re-armed at the end of every tick.
    QTimer *m_tickTimer = nullptr;
    // Robustness against devices that misbehave or vanish.
    QString m_openPortName;
    bool m_portGone = false;
    int m_readErrorsThisTick = 0;

    // What the log has been told, so that a fault that lasts is told once. The first tick's
    // state has no trace of its own.
    LinkState m_tracedState = LinkState::Initialise;
    LogEpisode m_lineCutEpisode;
    LogEpisode m_openFailureEpisode;
    QString m_openFailure;
    std::map<QSerialPort::SerialPortError, LogEpisode> m_portErrorEpisodes;
    // Link losses (a command unanswered twice) since the device last answered.
    int m_unansweredCount = 0;
};

#endif // VELUTRASERIALHANDLER_H
