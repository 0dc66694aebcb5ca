// The program's serial handler (and its reply decoder) against the real velutra-sim
// executable: the handshake completes, a whole polling cycle decodes without a
// single parsing error, and an unplugged virtual laser is survived.

#include "simulatorsession.h"
#include "velutraresponsedecoder.h"
#include "velutraserialhandler.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <memory>

class TestEndToEnd : public QObject
{
    Q_OBJECT

signals:
    void sigOpenCommunication(const QString &portName);
    void sigAddMonitorCommand(const QString &command);
    void sigAppendSettingsCommand(const QString &command);

private slots:
    void init();
    void cleanup();
    void handshakeReachesConnected();
    void pollingCycleDecodesCleanly();
    void unpluggedLaserIsSurvived();

private:
    void startHandler();

    std::unique_ptr<SimulatorSession> m_simulator;
    QThread *m_thread = nullptr;
    VelutraSerialHandler *m_handler = nullptr;
};

void TestEndToEnd::init()
{
    m_simulator = std::make_unique<SimulatorSession>();
}

void TestEndToEnd::cleanup()
{
    if (m_thread != nullptr) {
        m_thread->quit();
        QVERIFY(m_thread->wait(5000));
        delete m_handler;
        delete m_thread;
        m_handler = nullptr;
        m_thread = nullptr;
    }
    m_simulator.reset();
}

void TestEndToEnd::startHandler()
{
    // As the main window does it: no parent, own thread, started() runs the loop.
    m_handler = new VelutraSerialHandler;
    m_thread = new QThread;
    m_handler->moveToThread(m_thread);
    connect(m_thread, &QThread::started, m_handler, &VelutraSerialHandler::slotMainLoop);
    connect(this, &TestEndToEnd::sigOpenCommunication, m_handler,
            &VelutraSerialHandler::slotOpenCommunication);
    connect(this, &TestEndToEnd::sigAddMonitorCommand, m_handler,
            &VelutraSerialHandler::slotAddMonitorCommand);
    connect(this, &TestEndToEnd::sigAppendSettingsCommand, m_handler,
            qOverload<const QString &>(&VelutraSerialHandler::slotAppendSettingsCommand));
    m_thread->start();
}

void TestEndToEnd::handshakeReachesConnected()
{
    // Real pacing and real delays: exactly what the program meets on a real line.
    QVERIFY(m_simulator->start({QStringLiteral("--module"), QStringLiteral("0x93")}));
    startHandler();
    QSignalSpy connected(m_handler, &VelutraSerialHandler::sigConnectedStatus);
    QSignalSpy opened(m_handler, &VelutraSerialHandler::sigCommunicationOpened);
    QSignalSpy lines(m_handler, &VelutraSerialHandler::sigLineReceived);

    QElapsedTimer clock;
    clock.start();
    emit sigOpenCommunication(m_simulator->port());
    QTRY_COMPARE_WITH_TIMEOUT(opened.count(), 1, 5000);
    QCOMPARE(opened.first().first().toString(), m_simulator->port());
    QTRY_VERIFY_WITH_TIMEOUT(!connected.isEmpty() && connected.last().first().toBool(), 20000);
    QVERIFY2(clock.elapsed() >= 2000,
             qPrintable(QString::number(clock.elapsed()))); // the settle time

    QList<QByteArray> received;
    for (const QList<QVariant> &arguments : qAsConst(lines)) {
        received << arguments.first().toByteArray();
    }
    const int echo = received.indexOf("ly_system_info\n");
    QVERIFY(echo >= 0);
    QVERIFY(received.value(echo + 1).startsWith("Velutra-10 Hardware:"));
    const int statusEcho = received.indexOf("ly_vtx2_dev_status?\n");
    QVERIFY(statusEcho > echo);
    QCOMPARE(received.value(statusEcho + 1), QByteArray("ly_vtx2_dev_status 9\n"));
}

void TestEndToEnd::pollingCycleDecodesCleanly()
{
    QVERIFY(m_simulator->start({QStringLiteral("--module"), QStringLiteral("0x93"),
                                QStringLiteral("--no-pacing"), QStringLiteral("--speed"),
                                QStringLiteral("20")}));
    startHandler();
    VelutraResponseDecoder decoder;
    connect(m_handler, &VelutraSerialHandler::sigLineReceived, &decoder,
            &VelutraResponseDecoder::slotLineReceived);
    QSignalSpy connected(m_handler, &VelutraSerialHandler::sigConnectedStatus);
    QSignalSpy parsingErrors(&decoder, &VelutraResponseDecoder::sigParsingError);
    QSignalSpy unhandled(&decoder, &VelutraResponseDecoder::sigUnhandledLineData);
    QSignalSpy states(&decoder, &VelutraResponseDecoder::sigSystemStateChanged);
    QSignalSpy module(&decoder, &VelutraResponseDecoder::sigExistsTHGiModule);
    QSignalSpy divisions(&decoder, &VelutraResponseDecoder::sigFrequencyDivListChanged);
    QSignalSpy range(&decoder, &VelutraResponseDecoder::sigPowerSetting_nJ_RangeChanged);
    QSignalSpy runtimes(&decoder, &VelutraResponseDecoder::sigHGCrystalAllRuntimesChanged);
    QSignalSpy ovens(&decoder, &VelutraResponseDecoder::sigOven2TempSettingChanged);
    QSignalSpy s9(&decoder, &VelutraResponseDecoder::sigfTemperature_max_10Changed);
    QSignalSpy dwls(&decoder, &VelutraResponseDecoder::sigDynamicWLS_UVChanged);

    // The controller's full polling plan for a third-harmonic module, in its order.
    const QStringList monitor = {"s6\n",
                                 "s7\n",
                                 "s8\n",
                                 "s9\n",
                                 "ly_vtx2_power?\n",
                                 "e_power?\n",
                                 "e_freq?\n",
                                 "e_div?\n",
                                 "ls_humidity?\n",
                                 "ls_enable?",
                                 "ls_temp_setpoint?\n",
                                 "ls_temp_oven?\n",
                                 "ly_vtx2_output?\n",
                                 "ls_crystal_allRuntimes?\n",
                                 "ls_crystal_curSpot?\n",
                                 "ls_crystal_curRuntime?\n",
                                 "ls_crystal_maxRuntime?\n",
                                 "ls_wavelength?\n",
                                 "ls_status?\n",
                                 "ls_errorcode?\n",
                                 "ls_output_power?\n",
                                 "ls_module_runtime?\n",
                                 "ls_dwls_enable?\n",
                                 "ls_dwls_default?\n"};
    for (const QString &command : monitor) {
        emit sigAddMonitorCommand(command);
    }
    const QStringList settings = {"d2?\n",
                                  "ezra?\n",
                                  "eira?\n",
                                  "ly_vtx2_digiop?\n",
                                  "ls?\n",
                                  "ls_output_config?\n",
                                  "ls_dwls_feature?",
                                  "ly_vtx2_standby\n"};
    for (const QString &command : settings) {
        emit sigAppendSettingsCommand(command);
    }
    emit sigOpenCommunication(m_simulator->port());
    QTRY_VERIFY_WITH_TIMEOUT(!connected.isEmpty() && connected.last().first().toBool(), 20000);

    // Listen -> standby takes 6 s of device time, 300 ms at speed 20; give it several cycles.
    QTRY_VERIFY_WITH_TIMEOUT(states.size() >= 2, 10000);
    QTest::qWait(1500);

    QVERIFY2(parsingErrors.isEmpty(),
             parsingErrors.isEmpty() ? ""
                                     : parsingErrors.first().first().toByteArray().constData());
    // The only line the decoder does not know is the echo of the debug query, which is not
    // on its list of echoes; everything the device itself says is understood.
    for (const QList<QVariant> &arguments : qAsConst(unhandled)) {
        QCOMPARE(arguments.first().toByteArray(), QByteArray("d2?\n"));
    }
    QCOMPARE(states.at(0).first().toInt(), 2); // listen -> standby
    QCOMPARE(states.at(1).first().toInt(), 3); // standby
    QCOMPARE(module.count(), 1);
    QVERIFY(!divisions.isEmpty());
    using DivisionList = QMap<int, double>;
    QCOMPARE(divisions.last().first().value<DivisionList>().size(), 7);
    QVERIFY(!range.isEmpty());
    QVERIFY(!runtimes.isEmpty());
    using Runtimes = QMap<int, quint64>;
    QCOMPARE(runtimes.last().first().value<Runtimes>().size(), 12);
    QVERIFY(!ovens.isEmpty());
    QVERIFY(!s9.isEmpty());
    QVERIFY(!dwls.isEmpty());
}

void TestEndToEnd::unpluggedLaserIsSurvived()
{
    QVERIFY(m_simulator->start(
            {QStringLiteral("--module"), QStringLiteral("0x86"), QStringLiteral("--no-pacing")}));
    startHandler();
    QSignalSpy connected(m_handler, &VelutraSerialHandler::sigConnectedStatus);
    QSignalSpy closed(m_handler, &VelutraSerialHandler::sigCommunicationClosed);
    emit sigAddMonitorCommand(QStringLiteral("s7\n"));
    emit sigOpenCommunication(m_simulator->port());
    QTRY_VERIFY_WITH_TIMEOUT(!connected.isEmpty() && connected.last().first().toBool(), 20000);

    QCOMPARE(m_simulator->controlBySocket("unplug"), QByteArray("ok"));
    QTRY_COMPARE_WITH_TIMEOUT(closed.count(), 1, 5000);

    // Plugged in again, the same handler connects to the new port.
    const QByteArray answer = m_simulator->controlBySocket("replug");
    QVERIFY2(answer.startsWith("ok "), answer.constData());
    connected.clear();
    emit sigOpenCommunication(QString::fromLatin1(answer.mid(3)));
    QTRY_VERIFY_WITH_TIMEOUT(!connected.isEmpty() && connected.last().first().toBool(), 20000);
}

QTEST_GUILESS_MAIN(TestEndToEnd)
#include "tst_endtoend.moc"
