#include "_applog.h"
#include "applicationidentity.h"
#include "centertabwidget.h"
#include "fakeport.h"
#include "guiwidget.h"
#include "maincontrolpanel.h"
#include "mainwindow.h"
#include "serialmonitor.h"
#include "serialportlist.h"
#include "velutracontroller.h"

#include <QAction>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QLoggingCategory>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <QtTest>

#include <unistd.h>

namespace {

QStringList s_debugMessages;
QtMessageHandler s_previousHandler = nullptr;

void captureDebug(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtDebugMsg) {
        s_debugMessages << message;
    }
    if (s_previousHandler && type != QtDebugMsg) {
        s_previousHandler(type, context, message);
    }
}

QMenu *menuNamed(MainWindow &window, const char *objectName)
{
    return window.findChild<QMenu *>(QString::fromLatin1(objectName));
}

QStringList actionTexts(const QMenu *menu)
{
    QStringList texts;
    const QList<QAction *> actions = menu->actions();
    for (const QAction *action : actions) {
        texts << action->text();
    }
    return texts;
}

QString logText()
{
    return _AppLog::getLogDocument()->toPlainText();
}

QAction *openConnectMenuAction(MainWindow &window, const QString &text)
{
    QMenu *menu = menuNamed(window, "connectMenu");
    emit menu->aboutToShow();
    const QList<QAction *> actions = menu->actions();
    for (QAction *action : actions) {
        if (action->text() == text) {
            return action;
        }
    }
    return nullptr;
}

void announce(const QString &path, const QString &description)
{
    QDir().mkpath(SerialportList::advertisedPortsFolder());
    QFile file(SerialportList::advertisedPortsFolder() + QStringLiteral("/test.port"));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(QStringLiteral("path=%1\ndescription=%2\npid=%3\n")
                       .arg(path, description)
                       .arg(::getpid())
                       .toUtf8());
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
        qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
        QDir().mkpath(m_home.filePath(QStringLiteral("runtime")));
        QFile::setPermissions(m_home.filePath(QStringLiteral("runtime")),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", m_home.filePath(QStringLiteral("runtime")).toUtf8());
        ApplicationIdentity::apply(QCoreApplication::instance());
        SerialportList::setIncludeSystemPorts(false);
    }

    void init()
    {
        QDir(SerialportList::advertisedPortsFolder()).removeRecursively();
        _AppLog::getLogDocument()->clear();
    }

    void titleMenusAndDocks()
    {
        MainWindow window;
        QCOMPARE(window.windowTitle(), QStringLiteral("VELUTRA-XP - Version 1.0.25.680 - Date ")
                                               + qApp->property("BUILDDATE").toString());
        QStringList titles;
        const QList<QAction *> bar = window.menuBar()->actions();
        for (const QAction *action : bar) {
            titles << action->text();
        }
        QCOMPARE(titles, (QStringList{QStringLiteral("&File"), QStringLiteral("&Connect"),
                                      QStringLiteral("&Recording"), QStringLiteral("&Window"),
                                      QStringLiteral("&Help")}));

        QMenu *file = menuNamed(window, "fileMenu");
        QCOMPARE(actionTexts(file),
                 (QStringList{QStringLiteral("&Options..."), QString(), QStringLiteral("&Exit")}));
        QCOMPARE(file->actions().last()->shortcut(), QKeySequence(QStringLiteral("Ctrl+Q")));
        QCOMPARE(file->actions().last()->statusTip(), QStringLiteral("Exit this program"));
        QMenu *help = menuNamed(window, "helpMenu");
        QCOMPARE(actionTexts(help), (QStringList{QStringLiteral("About VELUTRA-XP"),
                                                 QStringLiteral("Show Instruction Manual")}));
        QCOMPARE(help->actions().at(1)->statusTip(),
                 QStringLiteral("Show the Zelmar VELUTRA-XP - Instruction Manual"));

        const QList<QDockWidget *> docks = window.accessoryDocks();
        QCOMPARE(docks.size(), 3);
        QCOMPARE(docks.at(0)->windowTitle(), QStringLiteral("Application Log"));
        QCOMPARE(window.dockWidgetArea(docks.at(0)), Qt::RightDockWidgetArea);
        QCOMPARE(docks.at(1)->windowTitle(), QStringLiteral("Serial Monitor"));
        QCOMPARE(window.dockWidgetArea(docks.at(1)), Qt::BottomDockWidgetArea);
        QCOMPARE(docks.at(2)->windowTitle(), QStringLiteral("Trends"));
        QCOMPARE(window.dockWidgetArea(docks.at(2)), Qt::BottomDockWidgetArea);
        QVERIFY(qobject_cast<CenterTabWidget *>(window.centralWidget()));

        QMenu *windowMenu = menuNamed(window, "windowMenu");
        emit windowMenu->aboutToShow();
        QCOMPARE(actionTexts(windowMenu),
                 (QStringList{QStringLiteral("Application Log"), QStringLiteral("Serial Monitor"),
                              QStringLiteral("Trends")}));

        QVERIFY(logText().contains(
                QStringLiteral("***** Application startup %1 *****")
                        .arg(QDate::currentDate().toString(QStringLiteral("dd/MM/yyyy")))));
    }

    void connectMenuWithoutPortsIsEmpty()
    {
        MainWindow window;
        QMenu *menu = menuNamed(window, "connectMenu");
        emit menu->aboutToShow();
        QCOMPARE(menu->title(), QStringLiteral("&Connect"));
        QVERIFY(menu->actions().isEmpty());
    }

    void connectMenuListsPortsAndOpensAndClosesThem()
    {
        FakePort port;
        QVERIFY(port.isOpen());
        announce(port.path(), QStringLiteral("Virtual laser for the test"));
        MainWindow window;
        // The serial monitor lays traffic out only while the operator can see it.
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QAction *open = openConnectMenuAction(window, QStringLiteral("Open ") + port.path());
        QVERIFY2(open,
                 qPrintable(actionTexts(menuNamed(window, "connectMenu")).join(QLatin1Char('|'))));
        QCOMPARE(open->toolTip(), port.path() + QStringLiteral(" - Virtual laser for the test"));

        open->trigger();
        QTRY_COMPARE(window.openPortName(), port.path());
        QVERIFY(logText().contains(
                QStringLiteral("Communication port %1 successfully opened.").arg(port.path())));
        QMenu *menu = menuNamed(window, "connectMenu");
        QCOMPARE(menu->title(), QStringLiteral("&Disconnect"));
        QCOMPARE(actionTexts(menu), QStringList{QStringLiteral("Close ") + port.path()});
        auto *tabs = qobject_cast<CenterTabWidget *>(window.centralWidget());
        QCOMPARE(tabs->count(), 1);
        QCOMPARE(tabs->tabText(0), QStringLiteral("Control Panel"));

        // The handshake goes out after the two quiet seconds, and the monitor shows it.
        QTRY_VERIFY_WITH_TIMEOUT(port.receivedLines().contains("ly_system_info\n"), 6000);
        auto *monitor = window.findChild<SerialMonitor *>();
        QVERIFY(monitor);
        auto *traffic = monitor->findChild<QPlainTextEdit *>();
        QVERIFY(traffic);
        QTRY_VERIFY(traffic->toPlainText().contains(QStringLiteral("TX: ly_system_info")));
        QTRY_VERIFY(traffic->toPlainText().contains(QStringLiteral("RX: Velutra-10")));

        QAction *close = openConnectMenuAction(window, QStringLiteral("Close ") + port.path());
        QVERIFY(close);
        close->trigger();
        QTRY_VERIFY(window.openPortName().isEmpty());
        QVERIFY(logText().contains(
                QStringLiteral("Communication port %1 closed.").arg(port.path())));
        QCOMPARE(menu->title(), QStringLiteral("&Connect"));
        QCOMPARE(tabs->count(), 0);
    }

    void connectFromTheCommandLineActsLikeTheMenu()
    {
        FakePort port;
        MainWindow window;
        window.show();
        window.connectToPort(port.path());
        QTRY_COMPARE(window.openPortName(), port.path());
        QTRY_VERIFY_WITH_TIMEOUT(port.receivedLines().contains("ly_vtx2_dev_status?\n"), 8000);
    }

    void openPortGetsAControllerThatPolls()
    {
        FakePort port;
        // A laser that echoes every command; the handshake answers come from the port itself.
        connect(&port, &FakePort::lineReceived, &port, [&port](const QByteArray &line) {
            if (line != "ly_system_info\n" && line != "ly_vtx2_dev_status?\n") {
                port.write(line);
            }
        });
        MainWindow window;
        QVERIFY(!window.findChild<VelutraController *>());
        for (int connection = 1; connection <= 2; ++connection) {
            const int before = port.receivedLines().size();
            window.connectToPort(port.path());
            QTRY_COMPARE(window.openPortName(), port.path());
            QPointer<VelutraController> controller = window.findChild<VelutraController *>();
            QVERIFY(controller);
            QCOMPARE(window.findChildren<VelutraController *>().size(), 1);

            // Its panel is what the control panel shows.
            auto *panel = window.findChild<MainControlPanel *>();
            QVERIFY(panel);
            QTRY_VERIFY(controller->panelWidget());
            QCOMPARE(panel->mainControl(), controller->panelWidget());

            // After the handshake: the queries of a new connection, then the base list.
            const auto sentSince = [&] {
                return port.receivedLines().mid(before);
            };
            QTRY_VERIFY_WITH_TIMEOUT(sentSince().contains("eira?\n"), 10000);
            QVERIFY(sentSince().contains("d2?\n"));
            QVERIFY(sentSince().contains("ezra?\n"));
            QTRY_VERIFY_WITH_TIMEOUT(sentSince().contains("e_div?\n"), 10000);
            for (const QByteArray &query :
                 {QByteArray("s6\n"), QByteArray("s7\n"), QByteArray("s8\n"), QByteArray("s9\n"),
                  QByteArray("ly_vtx2_power?\n"), QByteArray("e_power?\n"),
                  QByteArray("e_freq?\n")}) {
                QVERIFY2(sentSince().contains(query), query.constData());
            }
            QTRY_VERIFY(controller->panelWidget()->isEnabled());

            // The serial monitor's typed command goes out through the controller as typed.
            auto *monitor = window.findChild<SerialMonitor *>();
            emit monitor->sigSendCommand(QByteArray("manual_check?\n\0ignored", 22));
            QTRY_VERIFY_WITH_TIMEOUT(sentSince().contains("manual_check?\n"), 5000);
            QCOMPARE(sentSince().count("manual_check?\n"), 1);

            // Closing the port takes the controller and its panel away.
            QPointer<GUIWidget> widget = controller->panelWidget();
            openConnectMenuAction(window, QStringLiteral("Close ") + port.path())->trigger();
            QTRY_VERIFY(window.openPortName().isEmpty());
            QTRY_VERIFY(controller.isNull());
            QTRY_VERIFY(widget.isNull());
            QCOMPARE(qobject_cast<CenterTabWidget *>(window.centralWidget())->count(), 0);
        }
    }

    void missingPortLogsOpenFailedAndKeepsRunning()
    {
        MainWindow window;
        window.connectToPort(QStringLiteral("/dev/velutra-no-such-port"));
        QTRY_VERIFY(logText().contains(QStringLiteral(
                "Communication port /dev/velutra-no-such-port open failed. Reason: ")));
        QVERIFY(window.openPortName().isEmpty());
        QCOMPARE(menuNamed(window, "connectMenu")->title(), QStringLiteral("&Connect"));
    }

    void unpluggedDeviceClosesThePort()
    {
        auto *port = new FakePort;
        const QString path = port->path();
        MainWindow window;
        window.connectToPort(path);
        QTRY_COMPARE(window.openPortName(), path);
        delete port;
        QTRY_VERIFY_WITH_TIMEOUT(window.openPortName().isEmpty(), 5000);
        QVERIFY(logText().contains(QStringLiteral("Communication port %1 closed.").arg(path)));
        // The device may come back: its panel stays, greyed, while the port is looked for.
        QVERIFY(window.isReconnecting());
        auto *tabs = qobject_cast<CenterTabWidget *>(window.centralWidget());
        QCOMPARE(tabs->count(), 1);
        QVERIFY(!tabs->widget(0)->isEnabled());
    }

    void stopMarkerForStatusRecords_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("stop");
        QTest::newRow("s6") << QStringLiteral("Parsing error: s6 1 2 3") << true;
        QTest::newRow("s7 inside") << QStringLiteral("Velutra message: abcs7x") << true;
        QTest::newRow("s8") << QStringLiteral("s8") << true;
        QTest::newRow("s9") << QStringLiteral("xx s9") << true;
        QTest::newRow("s5") << QStringLiteral("s5 is not a record") << false;
        QTest::newRow("capital S6") << QStringLiteral("S6 upper case") << false;
        QTest::newRow("plain") << QStringLiteral("Communication port COM3 closed.") << false;
        QTest::newRow("s then blank then 6") << QStringLiteral("s 6") << false;
    }

    void stopMarkerForStatusRecords()
    {
        QFETCH(QString, line);
        QFETCH(bool, stop);
        // The marker is a debug trace of the application's category, off unless asked for.
        QLoggingCategory::setFilterRules(QStringLiteral("velutra.app.debug=true"));
        MainWindow window;
        const int before = _AppLog::getLogDocument()->blockCount();
        s_debugMessages.clear();
        s_previousHandler = qInstallMessageHandler(captureDebug);
        window.slotWriteLogLine(line);
        qInstallMessageHandler(s_previousHandler);
        QLoggingCategory::setFilterRules(QString());
        QCOMPARE(s_debugMessages, stop ? QStringList{QStringLiteral("STOP")} : QStringList{});
        QCOMPARE(_AppLog::getLogDocument()->blockCount(), before + 1);
        QVERIFY(_AppLog::getLogDocument()->lastBlock().text().endsWith(line));
    }

    void windowStateIsSavedAndRestored()
    {
        {
            MainWindow window;
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            window.resize(1000, 640);
            window.accessoryDocks().at(1)->hide();
            QTRY_COMPARE(window.size(), QSize(1000, 640));
            window.close();
        }
        QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Zelmar"),
                           QStringLiteral("VELUTRA-XP"));
        QVERIFY(settings.fileName().startsWith(m_home.path()));
        QVERIFY(!settings.value(QStringLiteral("MainWindow/Geometry")).toByteArray().isEmpty());
        QVERIFY(!settings.value(QStringLiteral("MainWindow/WindowState")).toByteArray().isEmpty());

        MainWindow restored;
        QCOMPARE(restored.size(), QSize(1000, 640));
        restored.show();
        QVERIFY(QTest::qWaitForWindowExposed(&restored));
        QVERIFY(restored.accessoryDocks().at(0)->isVisible());
        QVERIFY(!restored.accessoryDocks().at(1)->isVisible());
    }

    void shutdownIsLoggedAndTheLogSaved()
    {
        {
            MainWindow window;
            _AppLog::WriteLogLine(QStringLiteral("before shutdown"));
        }
        const QString last = _AppLog::getLogDocument()->lastBlock().text();
        QVERIFY2(last.endsWith(
                         QStringLiteral("***** Application shutdown %1  *****")
                                 .arg(QDate::currentDate().toString(QStringLiteral("dd/MM/yyyy")))),
                 qPrintable(last));
        QFile stored(_AppLog::storedLogPath());
        QVERIFY(stored.open(QIODevice::ReadOnly));
        const QByteArray text = stored.readAll();
        QVERIFY(text.contains("before shutdown"));
        QVERIFY(text.contains("***** Application shutdown"));
    }

    void missingManualIsReportedNotOpened()
    {
        MainWindow window;
        QMenu *help = menuNamed(window, "helpMenu");
        help->actions().at(1)->trigger();
        QVERIFY(logText().contains(QStringLiteral("No instruction manual was found in")));
    }

    void exitClosesTheWindow()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.findChild<QAction *>(QStringLiteral("exitAction"))->trigger();
        QTRY_VERIFY(!window.isVisible());
        // Closing takes the docks out of the window.
        QVERIFY(window.accessoryDocks().isEmpty());
    }

private:
    QTemporaryDir m_home;
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
