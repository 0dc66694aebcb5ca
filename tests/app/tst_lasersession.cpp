// The laser session without a window: a virtual laser and a silent pseudo-terminal on one
// side, the session's state and announcements on the other. What the window, recording and
// scripts see of a connection's life is exactly the order of these signals.

#include "fakeport.h"
#include "lasersession.h"
#include "portreconnector.h"
#include "reconnecttesthome.h"
#include "simulatorsession.h"
#include "velutracontroller.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

using State = LaserSession::State;

QString stateName(State state)
{
    return QString::fromLatin1(QMetaEnum::fromType<State>().valueToKey(int(state)));
}

// Every announcement of a session, in the order it came, as short words.
class SessionRecord : public QObject
{
public:
    explicit SessionRecord(LaserSession *session)
        : m_session(session)
    {
        connect(session, &LaserSession::stateChanged, this,
                [this](State state) { m_events << stateName(state); });
        connect(session, &LaserSession::controllerCreated, this,
                [this](VelutraController *controller) {
                    m_events << QStringLiteral("controllerCreated");
                    QVERIFY(controller);
                    QCOMPARE(m_session->controller(), controller);
                });
        connect(session, &LaserSession::controllerGone, this, [this] {
            m_events << QStringLiteral("controllerGone");
            QVERIFY(!m_session->controller());
        });
        connect(session, &LaserSession::portOpened, this,
                [this](const QString &) { m_events << QStringLiteral("portOpened"); });
        connect(session, &LaserSession::portClosed, this,
                [this](const QString &) { m_events << QStringLiteral("portClosed"); });
        connect(session, &LaserSession::notice, this,
                [this](const QString &text) { m_notices << text; });
        connect(session, &LaserSession::sigStatusMessage, this,
                [this](const QString &line) { m_log << line; });
    }

    // What came since the last call.
    QStringList take()
    {
        const QStringList events = m_events;
        m_events.clear();
        return events;
    }
    QStringList notices() const { return m_notices; }
    QStringList log() const { return m_log; }

private:
    LaserSession *m_session;
    QStringList m_events;
    QStringList m_notices;
    QStringList m_log;
};

const QStringList s_openToConnected{QStringLiteral("Opening"), QStringLiteral("Handshaking"),
                                    QStringLiteral("controllerCreated"),
                                    QStringLiteral("portOpened"), QStringLiteral("Connected")};

} // namespace

class TestLaserSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(makeTestHome(m_home));
        m_link = m_home.filePath(QStringLiteral("ttyUSB0"));
        QVERIFY(m_simulator.startOnLink(m_home.filePath(QStringLiteral("trace.txt")), m_link,
                                        QStringLiteral("0x93")));
        QCOMPARE(m_simulator.port(), m_link);
    }

    void startsClosedWithItsHandlerRunning()
    {
        LaserSession session;
        QCOMPARE(session.state(), State::Closed);
        QVERIFY(session.handler());
        QVERIFY(!session.controller());
        QVERIFY(session.portName().isEmpty());
        QVERIFY(!session.isReconnecting());
        QVERIFY(!session.laser().isKnown());
    }

    void aPortThatCannotBeOpenedEndsClosed()
    {
        LaserSession session;
        SessionRecord record(&session);
        session.open(m_home.filePath(QStringLiteral("ttyUSB7")));
        QCOMPARE(session.state(), State::Opening);
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Closed, 5000);
        QCOMPARE(record.take(), (QStringList{QStringLiteral("Opening"), QStringLiteral("Closed")}));
        QVERIFY(!session.controller());
        QVERIFY(session.portName().isEmpty());
        QVERIFY(!session.isReconnecting());
    }

    void openHandshakeConnected()
    {
        LaserSession session;
        SessionRecord record(&session);
        session.open(m_link);
        QCOMPARE(session.state(), State::Opening);
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Connected, 20000);
        QCOMPARE(record.take(), s_openToConnected);
        QCOMPARE(session.portName(), m_link);
        QVERIFY(session.controller());
        QVERIFY(session.laser().model.startsWith(QLatin1String("Velutra-")));
        QVERIFY(!session.laser().serialNumber.isEmpty());

        // The operator's Disconnect: the controller goes before the port is reported closed.
        session.close();
        QCOMPARE(session.state(), State::Closing);
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Closed, 5000);
        QCOMPARE(record.take(),
                 (QStringList{QStringLiteral("Closing"), QStringLiteral("controllerGone"),
                              QStringLiteral("Closed"), QStringLiteral("portClosed")}));
        QVERIFY(session.portName().isEmpty());
        QVERIFY(!session.isReconnecting());
        // A session never sets anything on its own.
        const QByteArrayList commands = m_simulator.commands();
        for (const QByteArray &command : commands) {
            QVERIFY2(isReadOnlyCommand(command), command.constData());
        }
    }

    void lossReconnectsToTheSameLaser()
    {
        LaserSession session;
        SessionRecord record(&session);
        session.open(m_link);
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Connected, 20000);
        const LaserIdentity laser = session.laser();
        record.take();

        QCOMPARE(m_simulator.control("unplug"), QByteArray("ok"));
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Reconnecting, 5000);
        QCOMPARE(record.take(),
                 (QStringList{QStringLiteral("controllerGone"), QStringLiteral("Reconnecting"),
                              QStringLiteral("portClosed")}));
        QVERIFY(session.isReconnecting());
        QCOMPARE(session.reconnectPortName(), m_link);
        QVERIFY(session.portName().isEmpty());
        QCOMPARE(record.notices().last(), QStringLiteral("Reconnecting to ttyUSB0…"));

        QVERIFY(m_simulator.control("replug").startsWith("ok "));
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Connected, 20000);
        QCOMPARE(record.take(),
                 (QStringList{QStringLiteral("Handshaking"), QStringLiteral("controllerCreated"),
                              QStringLiteral("portOpened"), QStringLiteral("Connected")}));
        QCOMPARE(session.laser(), laser);
        QVERIFY(!session.isReconnecting());
        QVERIFY(record.log().last().startsWith(QLatin1String("Reconnected to ttyUSB0 after ")));
        QVERIFY(record.notices().last().isEmpty());
    }

    void disconnectDuringReconnectStopsTheSearch()
    {
        LaserSession session;
        SessionRecord record(&session);
        session.open(m_link);
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Connected, 20000);
        QCOMPARE(m_simulator.control("unplug"), QByteArray("ok"));
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Reconnecting, 5000);
        record.take();

        session.stopReconnecting();
        QCOMPARE(session.state(), State::Closed);
        QCOMPARE(record.take(), QStringList{QStringLiteral("Closed")});
        QVERIFY(!session.isReconnecting());
        QCOMPARE(record.log().last(), QStringLiteral("Reconnecting to ttyUSB0 stopped."));
        QVERIFY(record.notices().last().isEmpty());

        // The laser comes back, and nothing takes it up: the search is over.
        QSignalSpy created(&session, &LaserSession::controllerCreated);
        QVERIFY(m_simulator.control("replug").startsWith("ok "));
        QVERIFY(!created.wait(PortReconnector::RetryIntervalMs + 1500));
        QCOMPARE(session.state(), State::Closed);
        QVERIFY(record.take().isEmpty());
    }

    void closeDuringHandshake()
    {
        FakePort silent;
        silent.setAnswerHandshake(false);
        QVERIFY(silent.isOpen());
        LaserSession session;
        SessionRecord record(&session);
        session.open(silent.path());
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Handshaking, 5000);
        // The handshake is written and goes unanswered.
        QTRY_VERIFY_WITH_TIMEOUT(!silent.receivedLines().isEmpty(), 5000);
        QCOMPARE(session.state(), State::Handshaking);

        session.close();
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Closed, 5000);
        QCOMPARE(record.take(),
                 (QStringList{QStringLiteral("Opening"), QStringLiteral("Handshaking"),
                              QStringLiteral("controllerCreated"), QStringLiteral("portOpened"),
                              QStringLiteral("Closing"), QStringLiteral("controllerGone"),
                              QStringLiteral("Closed"), QStringLiteral("portClosed")}));
        QVERIFY(!session.isReconnecting());
    }

    void somethingElseOnFirstOpenIsRefused()
    {
        // Talks, but never like the laser.
        FakePort other;
        other.setAnswerHandshake(false);
        connect(&other, &FakePort::lineReceived, &other,
                [&other](const QByteArray &) { other.write("OK\r\n"); });
        LaserSession session;
        SessionRecord record(&session);
        session.open(other.path());
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Closed,
                                  LaserIdentityCheck::IdentifyTimeoutMs + 10000);
        QCOMPARE(record.take(),
                 (QStringList{QStringLiteral("Opening"), QStringLiteral("Handshaking"),
                              QStringLiteral("controllerCreated"), QStringLiteral("portOpened"),
                              QStringLiteral("controllerGone"), QStringLiteral("Closed")}));
        const QString message
                = QStringLiteral("The device on %1 does not answer like a Velutra laser; "
                                 "the port is closed.")
                          .arg(LaserSession::shortName(other.path()));
        QCOMPARE(record.log().last(), message);
        QCOMPARE(record.notices().last(), message);
        QVERIFY(!session.isReconnecting());
        QVERIFY(!session.laser().isKnown());
    }

    void shutDownEndsEverythingAtOnce()
    {
        LaserSession session;
        SessionRecord record(&session);
        session.open(m_link);
        QTRY_COMPARE_WITH_TIMEOUT(session.state(), State::Connected, 20000);
        record.take();
        session.shutDown();
        QCOMPARE(session.state(), State::Closed);
        QVERIFY(!session.controller());
        QVERIFY(session.portName().isEmpty());
        QCOMPARE(record.take(),
                 (QStringList{QStringLiteral("controllerGone"), QStringLiteral("Closed")}));
        // The handler's report of the close it was sent changes nothing any more.
        QSignalSpy states(&session, &LaserSession::stateChanged);
        QVERIFY(!states.wait(500));
    }

private:
    QTemporaryDir m_home;
    QString m_link;
    SimulatorSession m_simulator;
};

QTEST_MAIN(TestLaserSession)
#include "tst_lasersession.moc"
