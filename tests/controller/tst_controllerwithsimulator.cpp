// The controller, its panel, the serial handler in its own thread and the decoder, against
// the real velutra-sim executable: what goes on the wire for each harmonic module, what one
// operator action puts there, and that the program puts nothing there on its own.

#include "maincontrolpanel.h"
#include "simulatorsession.h"
#include "velutracontroller.h"
#include "velutraserialhandler.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <memory>

namespace {

const QStringList s_baseList = {"s6\n",       "s7\n",      "s8\n",    "s9\n", "ly_vtx2_power?\n",
                                "e_power?\n", "e_freq?\n", "e_div?\n"};

const QStringList s_harmonicTail = {"ls_wavelength?\n", "ls_status?\n", "ls_errorcode?\n",
                                    "ls_output_power?\n", "ls_module_runtime?\n"};

const QStringList s_crystalQueries = {"ls_crystal_allRuntimes?\n", "ls_crystal_curSpot?\n",
                                      "ls_crystal_curRuntime?\n", "ls_crystal_maxRuntime?\n"};

const QStringList s_dynamicWavelengthQueries = {"ls_dwls_enable?\n", "ls_dwls_default?\n"};

const QStringList s_ovenQueries = {"ls_temp_setpoint?\n", "ls_temp_oven?\n"};

// A command that only reads: a query, or one of the status records and the identity block.
bool isQuery(const QByteArray &command)
{
    static const QList<QByteArray> plainReads
            = {"s6\n", "s7\n", "s8\n", "s9\n", "ly_system_info\n"};
    return command.endsWith("?\n") || plainReads.contains(command);
}

} // namespace

class TestControllerWithSimulator : public QObject
{
    Q_OBJECT

signals:
    void sigOpenCommunication(const QString &portName);
    void sigCloseCommunication();

private slots:
    void init();
    void cleanup();
    void pollingListFollowsTheModule_data();
    void pollingListFollowsTheModule();
    void operatorPowerChangeWritesOneCommand();
    void refusedPowerSnapsBack();
    void nothingIsSetWithoutTheOperator_data();
    void nothingIsSetWithoutTheOperator();

private:
    bool start(const QStringList &simulatorArguments);
    void createController();
    bool waitConnected(int timeoutMs);
    QStringList oneFullCycle(int timeoutMs);
    QList<QByteArray> writtenSince(int first) const;

    std::unique_ptr<QProcess> m_simulator;
    QString m_port;
    QThread *m_thread = nullptr;
    VelutraSerialHandler *m_handler = nullptr;
    std::unique_ptr<MainControlPanel> m_panel;
    VelutraController *m_controller = nullptr;
    QList<QByteArray> m_written;
    QList<bool> m_connectedStates;
};

void TestControllerWithSimulator::init()
{
    m_simulator = std::make_unique<QProcess>();
    m_written.clear();
    m_connectedStates.clear();
}

void TestControllerWithSimulator::cleanup()
{
    delete m_controller;
    m_controller = nullptr;
    m_panel.reset();
    if (m_thread != nullptr) {
        // The handler's timers belong to its thread: it is deleted there.
        QMetaObject::invokeMethod(
                m_handler, [handler = m_handler] { delete handler; }, Qt::BlockingQueuedConnection);
        m_thread->quit();
        QVERIFY(m_thread->wait(5000));
        delete m_thread;
        m_handler = nullptr;
        m_thread = nullptr;
    }
    stopSimulatorProcess(*m_simulator);
    m_simulator.reset();
}

bool TestControllerWithSimulator::start(const QStringList &simulatorArguments)
{
    if (!startSimulatorProcess(*m_simulator, simulatorArguments, &m_port)) {
        return false;
    }
    // As the main window does it: the handler in its own thread, the controller in this one
    // with the panel it builds on its first turn.
    m_handler = new VelutraSerialHandler;
    m_thread = new QThread;
    m_handler->moveToThread(m_thread);
    connect(m_thread, &QThread::started, m_handler, &VelutraSerialHandler::slotMainLoop);
    connect(this, &TestControllerWithSimulator::sigOpenCommunication, m_handler,
            &VelutraSerialHandler::slotOpenCommunication);
    connect(this, &TestControllerWithSimulator::sigCloseCommunication, m_handler,
            &VelutraSerialHandler::slotCloseCommunication);
    connect(m_handler, &VelutraSerialHandler::sigBytesTransmitted, this,
            [this](const QString &, const QByteArray &bytes) { m_written.append(bytes); });
    connect(m_handler, &VelutraSerialHandler::sigConnectedStatus, this,
            [this](bool connected) { m_connectedStates.append(connected); });
    m_thread->start();

    m_panel = std::make_unique<MainControlPanel>();
    createController();
    emit sigOpenCommunication(m_port);
    return true;
}

void TestControllerWithSimulator::createController()
{
    m_controller = new VelutraController(nullptr, m_panel.get(), m_handler, nullptr);
    QTimer::singleShot(10, m_controller, &VelutraController::slotMainLoop);
}

bool TestControllerWithSimulator::waitConnected(int timeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < timeoutMs) {
        if (!m_connectedStates.isEmpty() && m_connectedStates.constLast()) {
            return true;
        }
        QTest::qWait(20);
    }
    return false;
}

// The commands of one whole turn of the polling list, from one "s6\n" to the next; one-shot
// commands written in between are left out.
QStringList TestControllerWithSimulator::oneFullCycle(int timeoutMs)
{
    const int from = m_written.size();
    QElapsedTimer clock;
    clock.start();
    int firstStart = -1;
    int secondStart = -1;
    while (clock.elapsed() < timeoutMs && secondStart < 0) {
        QTest::qWait(20);
        for (int i = (firstStart < 0 ? from : firstStart + 1); i < m_written.size(); ++i) {
            if (m_written.at(i) == "s6\n") {
                if (firstStart < 0) {
                    firstStart = i;
                } else {
                    secondStart = i;
                    break;
                }
            }
        }
    }
    QStringList cycle;
    if (secondStart < 0) {
        return cycle;
    }
    for (int i = firstStart; i < secondStart; ++i) {
        cycle.append(QString::fromLatin1(m_written.at(i)));
    }
    return cycle;
}

QList<QByteArray> TestControllerWithSimulator::writtenSince(int first) const
{
    return m_written.mid(first);
}

void TestControllerWithSimulator::pollingListFollowsTheModule_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QStringList>("moduleList");

    QTest::newRow("none") << "none" << QStringList();
    // Second harmonic, first generation: humidity, one oven, no crystal spots.
    QTest::newRow("0x86 SHG") << "0x86"
                              << (QStringList{"ls_humidity?\n", "ls_enable?\n"} + s_ovenQueries
                                  + QStringList{"ly_vtx2_output?\n"} + s_harmonicTail);
    // Third harmonic, first generation: two ovens and crystal spots, no humidity sensor.
    QTest::newRow("0x8d THG") << "0x8d"
                              << (QStringList{"ls_enable?\n"} + s_ovenQueries
                                  + QStringList{"ly_vtx2_output?\n"} + s_crystalQueries
                                  + s_harmonicTail);
    // The later generations also offer dynamic wavelength switching.
    QTest::newRow("0x90 SHGg") << "0x90"
                               << (QStringList{"ls_humidity?\n", "ls_enable?\n"} + s_ovenQueries
                                   + QStringList{"ly_vtx2_output?\n"} + s_harmonicTail
                                   + s_dynamicWavelengthQueries);
    QTest::newRow("0x93 THGi") << "0x93"
                               << (QStringList{"ls_humidity?\n", "ls_enable?\n"} + s_ovenQueries
                                   + QStringList{"ly_vtx2_output?\n"} + s_crystalQueries
                                   + s_harmonicTail + s_dynamicWavelengthQueries);
}

void TestControllerWithSimulator::pollingListFollowsTheModule()
{
    QFETCH(QString, module);
    QFETCH(QStringList, moduleList);

    QVERIFY(start({"--module", module, "--no-pacing", "--speed", "50"}));
    QVERIFY(waitConnected(20000));
    const QStringList expected = s_baseList + moduleList;

    // The module list joins once the module has reported itself: wait for a whole cycle of it.
    QStringList cycle;
    QElapsedTimer clock;
    clock.start();
    while (cycle != expected && clock.elapsed() < 20000) {
        cycle = oneFullCycle(10000);
    }
    QCOMPARE(cycle, expected);

    // A reconnect, as the main window makes it: the controller goes with the closed port and
    // a new one builds the same list on the new connection: nothing twice, nothing missing.
    QSignalSpy closed(m_handler, &VelutraSerialHandler::sigCommunicationClosed);
    delete m_controller;
    m_controller = nullptr;
    emit sigCloseCommunication();
    QVERIFY(closed.wait(5000));
    m_connectedStates.clear();
    createController();
    emit sigOpenCommunication(m_port);
    QVERIFY(waitConnected(20000));
    clock.restart();
    cycle.clear();
    while (cycle != expected && clock.elapsed() < 20000) {
        cycle = oneFullCycle(10000);
    }
    QCOMPARE(cycle, expected);
    // The one-shot queries of a new connection went out again, once.
    QCOMPARE(m_written.count("d2?\n"), 2);
    QCOMPARE(m_written.count("ezra?\n"), 2);
    QCOMPARE(m_written.count("eira?\n"), 2);
}

void TestControllerWithSimulator::operatorPowerChangeWritesOneCommand()
{
    QVERIFY(start({"--module", "0x93", "--no-pacing", "--speed", "50"}));
    QVERIFY(waitConnected(20000));
    QVERIFY(!oneFullCycle(10000).isEmpty());

    QSignalSpy shown(m_controller, &VelutraController::setPowerSetpoint_uJ);
    const int from = m_written.size();
    m_controller->power_uJ_Changed(12.5);
    QTRY_VERIFY_WITH_TIMEOUT(!shown.isEmpty() && shown.last().first().toDouble() == 12.5, 10000);
    // Let a few more cycles pass: still exactly one set command.
    QVERIFY(!oneFullCycle(10000).isEmpty());
    QVERIFY(!oneFullCycle(10000).isEmpty());
    QCOMPARE(writtenSince(from).count("ly_vtx2_power=12500\n"), 1);
    int setCommands = 0;
    for (const QByteArray &command : writtenSince(from)) {
        setCommands += isQuery(command) ? 0 : 1;
    }
    QCOMPARE(setCommands, 1);
}

void TestControllerWithSimulator::refusedPowerSnapsBack()
{
    QVERIFY(start(
            {"--module", "0x93", "--no-pacing", "--speed", "50", "--refuse", "ly_vtx2_power"}));
    QVERIFY(waitConnected(20000));
    QVERIFY(!oneFullCycle(10000).isEmpty());

    QSignalSpy shown(m_controller, &VelutraController::setPowerSetpoint_uJ);
    QTRY_VERIFY_WITH_TIMEOUT(!shown.isEmpty(), 10000);
    const double before = shown.last().first().toDouble();
    QVERIFY(before != 12.5);
    shown.clear();
    const int from = m_written.size();
    // The slider already shows 12.5 when the operator lets go; the device refuses, and the
    // slider must go back to what the device holds.
    m_controller->power_uJ_Changed(12.5);
    QTRY_VERIFY_WITH_TIMEOUT(writtenSince(from).contains("ly_vtx2_power=12500\n"), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(!shown.isEmpty(), 10000);
    QCOMPARE(shown.last().first().toDouble(), before);
}

void TestControllerWithSimulator::nothingIsSetWithoutTheOperator_data()
{
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("churn");
    QTest::addColumn<int>("seconds");
    QTest::addColumn<int>("minimumCycles");

    // The richest device for the full minute; every other kind for a shorter, faster run.
    const int minute = qEnvironmentVariableIntValue("VELUTRA_SAFETY_SECONDS") > 0
                               ? qEnvironmentVariableIntValue("VELUTRA_SAFETY_SECONDS")
                               : 60;
    QTest::newRow("0x93") << "0x93"
                          << "1" << minute << minute / 6;
    // Fewer kinds of change without a module: a slower churn still leaves the device the two
    // quiet seconds the handshake waits for after opening the port.
    for (const char *module : {"none", "0x86", "0x8d", "0x90"}) {
        QTest::newRow(module) << module << "2" << 12 << 2;
    }
}

void TestControllerWithSimulator::nothingIsSetWithoutTheOperator()
{
    QFETCH(QString, module);
    QFETCH(QString, churn);
    QFETCH(int, seconds);
    QFETCH(int, minimumCycles);

    // A device that changes on its own every second or two: state, module errors coming and
    // going, flags, shutter warnings, temperatures, power; its debug output starts on.
    QVERIFY(start({"--module", module, "--churn", churn, "--debug-output"}));
    QVERIFY(waitConnected(20000));
    QTest::qWait(seconds * 1000);

    QList<QByteArray> setCommands;
    int cycles = 0;
    for (const QByteArray &command : qAsConst(m_written)) {
        if (!isQuery(command)) {
            setCommands.append(command);
        }
        cycles += command == "s6\n" ? 1 : 0;
    }
    // The one set command the program owes the device: switching its debug output off.
    QCOMPARE(setCommands, QList<QByteArray>{"d2=0\n"});
    QVERIFY2(cycles >= minimumCycles, qPrintable(QString::number(cycles)));
}

QTEST_MAIN(TestControllerWithSimulator)
#include "tst_controllerwithsimulator.moc"
