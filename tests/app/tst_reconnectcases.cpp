// Reconnection case by case, the whole program in this process against velutra-sim: a USB
// adapter that comes back under another name, Disconnect while the search runs, a setting
// queued before the loss, the option turned off, and a link that falls silent.

#include "_applog.h"
#include "centertabwidget.h"
#include "maincontrolpanel.h"
#include "optionsdialog.h"
#include "portreconnector.h"
#include "reconnectoption.h"
#include "reconnecttesthome.h"
#include "serialmonitor.h"
#include "simulatorsession.h"

#include <QAction>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QMenu>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTextDocument>
#include <QTreeWidget>
#include <QtTest>

namespace {

// The log as written since the mark; a window loads the log of earlier runs when it starts.
QString logSince(int mark)
{
    return _AppLog::getLogDocument()->toPlainText().mid(mark);
}

int logMark()
{
    return _AppLog::getLogDocument()->toPlainText().size();
}

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

int tabCount(MainWindow &window)
{
    return qobject_cast<CenterTabWidget *>(window.centralWidget())->count();
}

QStringList simulatorArguments(const QString &link)
{
    return {QStringLiteral("--module"),
            QStringLiteral("0x93"),
            QStringLiteral("--speed"),
            QStringLiteral("10"),
            QStringLiteral("--no-pacing"),
            QStringLiteral("--link"),
            link};
}

} // namespace

class TestReconnectCases : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY(makeTestHome(m_home)); }

    void init()
    {
        _AppLog::getLogDocument()->clear();
        ReconnectOption::setReconnectEnabled(true);
        ++m_round;
    }

    void shortNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shortName");
        QTest::newRow("system port") << QStringLiteral("/dev/ttyUSB0") << QStringLiteral("ttyUSB0");
        QTest::newRow("as listed") << QStringLiteral("ttyUSB1") << QStringLiteral("ttyUSB1");
        QTest::newRow("pseudo-terminal") << QStringLiteral("/dev/pts/3") << QStringLiteral("pts/3");
        QTest::newRow("link elsewhere")
                << QStringLiteral("/tmp/lab/ttyUSB0") << QStringLiteral("ttyUSB0");
    }

    void shortNames()
    {
        QFETCH(QString, name);
        QFETCH(QString, shortName);
        QCOMPARE(PortReconnector::shortName(name), shortName);
    }

    void usbAdapterComesBackUnderAnotherName()
    {
        const QString usb0 = path("ttyUSB0");
        SimulatorSession adapter;
        QVERIFY(adapter.start(path("trace-usb.txt"), simulatorArguments(usb0)
                                                             << QStringLiteral("--serial-number")
                                                             << QStringLiteral("FT-A1B2C3")
                                                             << QStringLiteral("--usb-id")
                                                             << QStringLiteral("0403:6001")));
        // Another adapter of the same make, already plugged in: not the laser's.
        SimulatorSession other;
        QVERIFY(other.start(path("trace-other.txt"), simulatorArguments(path("ttyUSB2"))
                                                             << QStringLiteral("--serial-number")
                                                             << QStringLiteral("FT-ZZZZZZ")
                                                             << QStringLiteral("--usb-id")
                                                             << QStringLiteral("0403:6001")));

        MainWindow window;
        const int mark = logMark();
        window.connectToPort(usb0);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 20000);

        QCOMPARE(adapter.control("unplug"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(window.isReconnecting(), 5000);
        QCOMPARE(window.statusBar()->currentMessage(), QStringLiteral("Reconnecting to ttyUSB0…"));
        QVERIFY(logSince(mark).contains(QStringLiteral("Reconnecting to ttyUSB0…")));
        // The menu offers to stop the search, or to open another port instead.
        QVERIFY(connectMenuAction(window, QStringLiteral("Close ") + usb0));
        QVERIFY(connectMenuAction(window, QStringLiteral("Open ") + path("ttyUSB2")));
        QVERIFY(!connectMenuAction(window, QStringLiteral("Open ") + usb0));

        const QString usb1 = path("ttyUSB1");
        QCOMPARE(adapter.control("replug " + usb1.toLocal8Bit()), "ok " + usb1.toLocal8Bit());
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 15000);
        QCOMPARE(window.openPortName(), usb1);
        QVERIFY(logSince(mark).contains(QStringLiteral("ttyUSB0 is back as ttyUSB1.")));
        // The other adapter was never written to.
        QVERIFY(other.commands().isEmpty());
    }

    void disconnectStopsReconnecting()
    {
        const QString link = path("ttyUSB0");
        SimulatorSession laser;
        QVERIFY(laser.start(path("trace.txt"), simulatorArguments(link)));
        MainWindow window;
        const int mark = logMark();
        window.connectToPort(link);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 20000);

        QCOMPARE(laser.control("unplug"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(window.isReconnecting(), 5000);
        auto *menu = window.findChild<QMenu *>(QStringLiteral("connectMenu"));
        QAction *close = connectMenuAction(window, QStringLiteral("Close ") + link);
        QVERIFY(close);
        QCOMPARE(menu->title(), QStringLiteral("&Disconnect"));
        close->trigger();

        QVERIFY(!window.isReconnecting());
        QVERIFY(window.statusBar()->currentMessage().isEmpty());
        QVERIFY(logSince(mark).contains(QStringLiteral("Reconnecting to ttyUSB0 stopped.")));
        QTRY_COMPARE(tabCount(window), 0);
        emit menu->aboutToShow();
        QCOMPARE(menu->title(), QStringLiteral("&Connect"));

        // The laser comes back and is left alone: proving that takes two search intervals.
        const int before = laser.commands().size();
        QVERIFY(laser.control("replug").startsWith("ok "));
        QTest::qWait(2 * 2000 + 500);
        QVERIFY(window.openPortName().isEmpty());
        QVERIFY(!window.isReconnecting());
        QCOMPARE(laser.commands().size(), before);
    }

    void settingQueuedBeforeTheLossIsNeverSent()
    {
        const QString link = path("ttyUSB0");
        SimulatorSession laser;
        QVERIFY(laser.start(path("trace.txt"), simulatorArguments(link)));
        MainWindow window;
        window.connectToPort(link);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 20000);
        auto *monitor = window.findChild<SerialMonitor *>();
        QVERIFY(monitor);

        // A laser that stops answering holds the setting in the queue behind the command
        // it never answers; then the cable goes.
        QCOMPARE(laser.control("silent on"), QByteArray("ok"));
        emit monitor->sigSendCommand(QByteArray("ly_vtx2_power=1234\n"));
        QCOMPARE(laser.control("unplug"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(window.isReconnecting(), 5000);
        QCOMPARE(laser.control("silent off"), QByteArray("ok"));
        QVERIFY(laser.control("replug").startsWith("ok "));
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 15000);

        // Polling goes on after the reconnection, and the setting is not among it.
        const int polls = laser.commands().count("s7");
        QTRY_VERIFY_WITH_TIMEOUT(laser.commands().count("s7") >= polls + 3, 10000);
        QCOMPARE(laser.commands().count("ly_vtx2_power=1234"), 0);

        // The same setting asked for now does reach the laser: the trace would have shown it.
        emit monitor->sigSendCommand(QByteArray("ly_vtx2_power=1234\n"));
        QTRY_COMPARE_WITH_TIMEOUT(laser.commands().count("ly_vtx2_power=1234"), 1, 10000);
    }

    void optionTurnsReconnectingOff()
    {
        // The options page writes the setting when the dialog applies it.
        {
            OptionsDialog dialog;
            dialog.addOptionPage(new ReconnectOption);
            QCOMPARE(dialog.pageTree()->topLevelItemCount(), 1);
            QCOMPARE(dialog.pageTree()->topLevelItem(0)->text(0), QStringLiteral("Connection"));
            auto *box = dialog.pageStack()->findChild<QCheckBox *>(
                    QStringLiteral("reconnectCheckBox"));
            QVERIFY(box);
            QVERIFY(box->isChecked());
            box->click();
            dialog.buttonBox()->button(QDialogButtonBox::Apply)->click();
        }
        QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Zelmar"),
                           QStringLiteral("VELUTRA-XP"));
        QVERIFY(settings.fileName().startsWith(m_home.path()));
        QCOMPARE(settings.value(QStringLiteral("Connection/Reconnect")), QVariant(false));
        QVERIFY(!ReconnectOption::isReconnectEnabled());

        const QString link = path("ttyUSB0");
        SimulatorSession laser;
        QVERIFY(laser.start(path("trace.txt"), simulatorArguments(link)));
        MainWindow window;
        const int mark = logMark();
        window.connectToPort(link);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 20000);

        QCOMPARE(laser.control("unplug"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(window.openPortName().isEmpty(), 5000);
        QVERIFY(!window.isReconnecting());
        QTRY_COMPARE(tabCount(window), 0);
        QVERIFY(!logSince(mark).contains(QStringLiteral("Reconnecting")));

        const int before = laser.commands().size();
        QVERIFY(laser.control("replug").startsWith("ok "));
        QTest::qWait(2 * 2000 + 500);
        QVERIFY(window.openPortName().isEmpty());
        QCOMPARE(laser.commands().size(), before);
        ReconnectOption::setReconnectEnabled(true);
    }

    void silentLinkIsReopened()
    {
        const QString link = path("ttyUSB0");
        SimulatorSession laser;
        QVERIFY(laser.start(path("trace.txt"), simulatorArguments(link)));
        MainWindow window;
        const int mark = logMark();
        window.connectToPort(link);
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 20000);

        // A command unanswered twice (4 s), then the handshake's own retries for the
        // recovery time, then the port is closed and opened again.
        QCOMPARE(laser.control("silent on"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(logSince(mark).contains(QStringLiteral(
                                         "No answer from ttyUSB0 for 12 s: reopening the port.")),
                                 4000 + MainWindow::LinkRecoveryMs + 8000);
        QTRY_VERIFY_WITH_TIMEOUT(
                logSince(mark).contains(QStringLiteral("Reconnecting to ttyUSB0…")), 5000);
        QCOMPARE(laser.control("silent off"), QByteArray("ok"));
        QTRY_VERIFY_WITH_TIMEOUT(linkIsUp(window), 15000);
        QCOMPARE(window.openPortName(), link);
        for (const QByteArray &command : laser.commands()) {
            QVERIFY2(isReadOnlyCommand(command), command.constData());
        }
    }

private:
    // Each test's own folder, so its device names are the plain ones the log shows.
    QString path(const char *name) const
    {
        const QString folder = m_home.filePath(QStringLiteral("round-%1").arg(m_round));
        QDir().mkpath(folder);
        return folder + QLatin1Char('/') + QLatin1String(name);
    }

    QTemporaryDir m_home;
    int m_round = 0;
};

QTEST_MAIN(TestReconnectCases)
#include "tst_reconnectcases.moc"
