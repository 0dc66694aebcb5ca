#ifndef SERIALMONITOR_H
#define SERIALMONITOR_H

#include <QByteArray>
#include <QString>
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
class SerialMonitor : public QWidget
{
    Q_OBJECT

public:
    // The view keeps the newest this many lines. A few minutes of polling is what an
    // operator scrolls back through; more only costs memory (each line's layout takes
    // about two kilobytes) and makes every trim and repaint slower.
    static constexpr int MaximumLines = 5000;

    explicit SerialMonitor(QWidget *parent = nullptr);
    ~SerialMonitor() override;

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
    };

    void appendTraffic(const QString &tag, const QString &direction, const QByteArray &bytes);
    bool isOnScreen() const;
    void renderPendingLines();
    void insertTrafficLine(QTextCursor &cursor, const TrafficLine &line);
    void insertDroppedLinesNote(QTextCursor &cursor);
    void trimOldestLines();

    Ui::SerialMonitor *m_ui = nullptr;
    bool m_autoScroll = true;
    bool m_portOpen = false;
    // Lines not yet in the view: collected between two renderings while the page is
    // shown, kept raw (only the newest of them) while it is hidden.
    std::deque<TrafficLine> m_pendingLines;
    // Lines that fell out of the pending ones before they could be shown.
    qint64 m_droppedLines = 0;
    QTimer m_renderTimer;
};

#endif // SERIALMONITOR_H
