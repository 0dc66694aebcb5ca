// Leaving a laser that emits: Disconnect, Exit (Ctrl+Q) and the window's close button ask
// first, Cancel keeps the link and the program, going on sends nothing that changes the
// laser. A laser that does not emit, and a close by the program itself, ask nothing.
// The whole program in this process against velutra-sim.

#include "_applog.h"
#include "reconnecttesthome.h"
#include "simulatorsession.h"

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTextDocument>
#include <QTimer>
#include <QtTest/qtestspontaneevent.h>
#include <QtTest>

#include <memory>

namespace {

const QString s_emitting = QStringLiteral("The laser is on and its output is enabled.");

// Answers the next question about leaving an emitting laser by clicking the button with
// the given text, as the operator would; remembers what the question said.
class PromptAnswerer : public QObject
{
public:
    explicit PromptAnswerer(const QString &button)
        : m_button(button)
    {
        m_timer.setInterval(20);
        QObject::connect(&m_timer, &QTimer::timeout, this, [this] { look(); });
        m_timer.start();
    }

    bool seen() const { return !m_text.isEmpty(); }
    QString text() const { return m_text; }
    QStringList buttons() const { return m_buttons; }

private:
    void look()
    {
        auto *prompt = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!prompt || prompt->objectName() != QLatin1String("leaveEmittingLaserPrompt")) {
            return;
        }
        m_timer.stop();
        m_text = prompt->text();
        const QList<QPushButton *> buttons = prompt->findChildren<QPushButton *>();
        for (QPushButton *button : buttons) {
            m_buttons << button->text();
        }
        for (QPushButton *button : buttons) {
            if (button->text().remove(QLatin1Char('&')) == m_button) {
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        }
        QFAIL(qPrintable(QStringLiteral("no button %1 among %2")
                                 .arg(m_button, m_buttons.join(QLatin1Char('|')))));
    }

    QString m_button;
    QTimer m_timer;
    QString m_text;
    QStringList m_buttons;
};

QAction *connectMenuAction(MainWindow &window, const QString &text)
{
    auto *menu = window.findChild<QMenu *>(QStringLiteral("connectMenu"));
    emit menu->aboutToShow();
    const QList<QAction *> actions = menu->actions();
    for (QAction *action : actions) {
        if (action->text() == text) {
            return action;
        }
    }
    return nullptr;
}

QByteArrayList setCommandsAmong(const QByteArrayList &commands)
{
    QByteArrayList sets;
    for (const QByteArray &command : commands) {
        if (!isReadOnlyCommand(command)) {
            sets << command;
        }
    }
    return sets;
}

void sendCloseButtonClick(MainWindow &window)
{
    // What the window system delivers when the operator clicks the close button.
    // sendEvent() would mark it as the program's own.
    QCloseEvent close;
    QSpontaneKeyEvent::setSpontaneous(&close);
    QApplication::instance()->notify(&window, &close);
}

} // namespace

class TestLeaveEmitting : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(makeTestHome(m_home)); }

    void init()
    {
        _AppLog::getLogDocument()->clear();
        ++m_round;
    }

    void cleanup()
    {
        m_window.reset();
        m_laser.reset();
    }

    void disconnectWhileEmittingAsksFirst()
    {
        startEmitting();
        if (QTest::currentTestFailed()) {
            return;
        }
        MainWindow &window = *m_window;
        const QString link = window.openPortName();
        int before = m_laser->commands().size();
        {
            PromptAnswerer answer(QStringLiteral("Cancel"));
            QAction *close = connectMenuAction(window, QStringLiteral("Close ") + link);
            QVERIFY(close);
            close->trigger();
            QVERIFY(answer.seen());
            QCOMPARE(answer.text(), s_emitting);
            QVERIFY(answer.buttons().contains(QStringLiteral("Disconnect")));
        }
        // Cancel: the link stays, polling goes on, and nothing is set.
        QCOMPARE(window.openPortName(), link);
        const int polls = int(m_laser->commands().count("s7"));
        QTRY_VERIFY_WITH_TIMEOUT(m_laser->commands().count("s7") >= polls + 2, 10000);
        QVERIFY(linkIsUp(window));
        QCOMPARE(setCommandsAmong(m_laser->commands().mid(before)), QByteArrayList());

        before = m_laser->commands().size();
        {
            PromptAnswerer answer(QStringLiteral("Disconnect"));
            connectMenuAction(window, QStringLiteral("Close ") + link)->trigger();
            QCOMPARE(answer.text(), s_emitting);
        }
        QTRY_VERIFY_WITH_TIMEOUT(window.openPortName().isEmpty(), 5000);
        QVERIFY(!window.isReconnecting());
        QCOMPARE(setCommandsAmong(m_laser->commands().mid(before)), QByteArrayList());
        // The laser was left as it was.
        QVERIFY(m_laser->control("status").contains("state=enabled"));
    }

    void ctrlQWhileEmittingAsksFirst()
    {
        startEmitting();
        if (QTest::currentTestFailed()) {
            return;
        }
        MainWindow &window = *m_window;
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const int before = m_laser->commands().size();
        {
            PromptAnswerer answer(QStringLiteral("Cancel"));
            QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
            QCOMPARE(answer.text(), s_emitting);
            QVERIFY(answer.buttons().contains(QStringLiteral("Exit")));
        }
        QVERIFY(window.isVisible());
        QVERIFY(!window.openPortName().isEmpty());
        QTest::qWait(1500);
        QVERIFY(linkIsUp(window));

        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        {
            PromptAnswerer answer(QStringLiteral("Exit"));
            QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
            QCOMPARE(answer.text(), s_emitting);
        }
        QTRY_VERIFY(!window.isVisible());
        QTest::qWait(500);
        QCOMPARE(setCommandsAmong(m_laser->commands().mid(before)), QByteArrayList());
        QVERIFY(m_laser->control("status").contains("state=enabled"));
    }

    void closeButtonWhileEmittingAsksFirst()
    {
        startEmitting();
        if (QTest::currentTestFailed()) {
            return;
        }
        MainWindow &window = *m_window;
        {
            PromptAnswerer answer(QStringLiteral("Cancel"));
            sendCloseButtonClick(window);
            QTRY_VERIFY_WITH_TIMEOUT(answer.seen(), 5000);
            QCOMPARE(answer.text(), s_emitting);
        }
        QTest::qWait(200);
        QVERIFY(window.isVisible());
        QVERIFY(!window.openPortName().isEmpty());
        {
            PromptAnswerer answer(QStringLiteral("Exit"));
            sendCloseButtonClick(window);
            QTRY_VERIFY_WITH_TIMEOUT(answer.seen(), 5000);
        }
        QTRY_VERIFY(!window.isVisible());
        QVERIFY(m_laser->control("status").contains("state=enabled"));
    }

    void closeByTheProgramDoesNotAsk()
    {
        // A termination signal closes the window this way; so do tests.
        startEmitting();
        if (QTest::currentTestFailed()) {
            return;
        }
        PromptAnswerer guard(QStringLiteral("Cancel"));
        QVERIFY(m_window->close());
        QVERIFY(!m_window->isVisible());
        QTest::qWait(200);
        QVERIFY(!guard.seen());
        QVERIFY(m_laser->control("status").contains("state=enabled"));
    }

    void laserNotEmittingIsLeftWithoutAQuestion()
    {
        start(QStringLiteral("listen"));
        if (QTest::currentTestFailed()) {
            return;
        }
        MainWindow &window = *m_window;
        // The state has been read: the status records are polled.
        const int polls = int(m_laser->commands().count("s7"));
        QTRY_VERIFY_WITH_TIMEOUT(m_laser->commands().count("s7") >= polls + 2, 10000);
        QVERIFY(window.emissionState().isEmpty());

        PromptAnswerer guard(QStringLiteral("Cancel"));
        connectMenuAction(window, QStringLiteral("Close ") + window.openPortName())->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(window.openPortName().isEmpty(), 5000);
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
        QTRY_VERIFY(!window.isVisible());
        QVERIFY(!guard.seen());
    }

private:
    void start(const QString &state)
    {
        m_laser = std::make_unique<SimulatorSession>();
        const QString link = m_home.filePath(QStringLiteral("ttyUSB%1").arg(m_round));
        QVERIFY(m_laser->start(m_home.filePath(QStringLiteral("trace-%1.txt").arg(m_round)),
                               {QStringLiteral("--module"), QStringLiteral("0x93"),
                                QStringLiteral("--state"), state, QStringLiteral("--speed"),
                                QStringLiteral("10"), QStringLiteral("--no-pacing"),
                                QStringLiteral("--link"), link}));
        m_window = std::make_unique<MainWindow>();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        m_window->connectToPort(link);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(*m_window), 20000);
    }

    void startEmitting()
    {
        start(QStringLiteral("enabled"));
        if (QTest::currentTestFailed()) {
            return;
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_window->emissionState(), s_emitting, 15000);
    }

    QTemporaryDir m_home;
    int m_round = 0;
    std::unique_ptr<SimulatorSession> m_laser;
    std::unique_ptr<MainWindow> m_window;
};

QTEST_MAIN(TestLeaveEmitting)
#include "tst_leaveemitting.moc"
