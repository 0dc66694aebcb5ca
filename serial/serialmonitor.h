#ifndef SERIALMONITOR_H
#define SERIALMONITOR_H

#include <QByteArray>
#include <QByteArrayList>
#include <QElapsedTimer>
#include <QString>
#include <QTime>
#include <QTimer>
#include <QWidget>

#include <deque>

class QTextCursor;

namespace Ui {
class SerialMonitor;
}

// Shows the serial traffic as coloured lines and lets the operator type a raw
// command. Typed commands leave through sigSendCommand; whoever owns the link
// decides when they are written.
//
// Each line carries the time of day it was tagged at, to the millisecond. Pause holds the
// view still while traffic goes on being collected; "Typed commands only" hides the polling,
// leaving the commands typed here and what the device answered to each of them (the lines
// received after it until the next write).
class SerialMonitor : public QWidget
{
    Q_OBJECT

public:
    // The view keeps the newest this many lines. A few minutes of polling is what an
    // operator scrolls back through; more only costs memory (each line's layout takes
    // about two kilobytes) and makes every trim and repaint slower.
    static constexpr int MaximumLines = 5000;
    // While the operator reads scrolled-up lines, the cut stops short of them, and the view
    // may hold up to this many; beyond it the oldest go even from under the operator's eyes.
    static constexpr int MaximumHeldLines = 2 * MaximumLines;

    // What a docked monitor shows at first: a typed command and its reply among the polling
    // of a turn or two.
    static constexpr int PreferredVisibleLines = 12;

    explicit SerialMonitor(QWidget *parent = nullptr);
    ~SerialMonitor() override;

    QSize sizeHint() const override;

    // One traffic line as HTML: the tag, the direction mark, the bytes as text
    // (up to the first zero byte, escaped) and a hexadecimal dump of all of them.
    static QString formatTrafficLine(const QString &tag, const QString &direction,
                                     const QByteArray &bytes);

signals:
    // A command typed by the operator, terminated by LF.
    void sigSendCommand(const QByteArray &command);
    // The operator ticked or cleared "Record to file…"; whoever records answers with
    // setTrafficLogStatus(), which also sets the box back when recording could not start.
    void sigRecordToFileToggled(bool record);

public slots:
    void slotBytesReceived(const QString &tag, const QByteArray &bytes);
    void slotBytesTransmitted(const QString &tag, const QByteArray &bytes);
    // Typed commands can only be sent while a port is open; closed at construction.
    void setPortOpen(bool open);
    // What the traffic log is doing: the box follows recording, the text (file name and
    // size) is shown beside it.
    void setTrafficLogStatus(bool recording, const QString &text);
    // Pause and the filter, as their button and box set them.
    void setPaused(bool paused);
    void setTypedCommandsOnly(bool typedOnly);

protected:
    void showEvent(QShowEvent *event) override;

private slots:
    void onToolButtonClear_clicked();
    void onToolButtonSend_clicked();
    void onVScrollChanged(int value);
    void onTextChanged();

private:
    struct TrafficLine
    {
        QString tag;
        QString direction;
        QByteArray bytes;
        // Milliseconds on m_clock: reading the wall clock costs a time-zone check of the
        // system's files every time, too much for every line of a night's polling.
        qint64 arrivalMs = 0;
        // A command typed here, or a line the device sent in answer to one.
        bool typed = false;
    };

    void appendTraffic(const QString &tag, const QString &direction, const QByteArray &bytes);
    bool isOnScreen() const;
    void renderPendingLines();
    void insertTrafficLine(QTextCursor &cursor, const TrafficLine &line, const QTime &arrival);
    void insertDroppedLinesNote(QTextCursor &cursor);
    void trimOldestLines();
    void applyFilter();
    int pendingLinesLimit() const;

    Ui::SerialMonitor *m_ui = nullptr;
    bool m_autoScroll = true;
    bool m_portOpen = false;
    bool m_paused = false;
    bool m_typedOnly = false;
    // Typed commands not yet seen on the wire, oldest first.
    QByteArrayList m_typedCommands;
    // The last write was a typed command: what comes in now answers it.
    bool m_inTypedExchange = false;
    // Lines not yet in the view: collected between two renderings while the page is
    // shown, kept raw (only the newest of them) while it is hidden or paused.
    std::deque<TrafficLine> m_pendingLines;
    // Lines that fell out of the pending ones before they could be shown.
    qint64 m_droppedLines = 0;
    QTimer m_renderTimer;
    QElapsedTimer m_clock;
};

#endif // SERIALMONITOR_H
