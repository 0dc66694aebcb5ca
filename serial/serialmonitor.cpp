#include "serialmonitor.h"
#include "ui_serialmonitor.h"

#include <QScrollBar>

#include <cstring>

namespace {

static constexpr char TransmitMark[] = "TX:";
static constexpr char ReceiveMark[] = "RX:";

struct DirectionColour
{
    const char *mark;
    const char *format;
};

// Colour of the direction mark; anything unexpected stands out in red.
static constexpr DirectionColour DirectionColours[] = {
        {TransmitMark, "<font color=#0000ff>%1</font>"},
        {ReceiveMark, "<font color=#00aaff>%1</font>"},
};
static constexpr char OtherDirectionFormat[] = "<font color=#ff0000>%1</font>";
static constexpr char TagFormat[] = "<font color=#000000>%1: </font>";
static constexpr char HexDumpFormat[] = "<font color=#ff00ff>%1</font>";

} // namespace

SerialMonitor::SerialMonitor(QWidget *parent)
    : QWidget(parent)
    , m_ui(new Ui::SerialMonitor)
{
    m_ui->setupUi(this);
    setPortOpen(false);
    m_ui->plainTextEditTraffic->setMaximumBlockCount(MaximumLines);
    // The traffic colours (black tags, blue marks, magenta bytes) are made for a light
    // page; keep this view light whatever the application's theme.
    m_ui->plainTextEditTraffic->setStyleSheet(
            QStringLiteral("QPlainTextEdit { background-color: #f7f7f4; color: #202020; "
                           "selection-background-color: #9cc7e6; selection-color: #000000; }"));

    connect(m_ui->toolButtonClear, &QToolButton::clicked, this,
            &SerialMonitor::onToolButtonClear_clicked);
    connect(m_ui->toolButtonSend, &QToolButton::clicked, this,
            &SerialMonitor::onToolButtonSend_clicked);
    connect(m_ui->lineEditCommand, &QLineEdit::returnPressed, this,
            &SerialMonitor::onToolButtonSend_clicked);
    connect(m_ui->plainTextEditTraffic->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &SerialMonitor::onVScrollChanged);
    connect(m_ui->plainTextEditTraffic, &QPlainTextEdit::textChanged, this,
            &SerialMonitor::onTextChanged);
    connect(m_ui->checkBoxRecord, &QCheckBox::toggled, this,
            &SerialMonitor::sigRecordToFileToggled);
}

SerialMonitor::~SerialMonitor()
{
    delete m_ui;
}

QString SerialMonitor::formatTrafficLine(const QString &tag, const QString &direction,
                                         const QByteArray &bytes)
{
    const char *directionFormat = OtherDirectionFormat;
    for (const DirectionColour &entry : DirectionColours) {
        if (direction == QLatin1String(entry.mark)) {
            directionFormat = entry.format;
            break;
        }
    }

    // The text part stops at the first zero byte; the dump shows everything. The device's
    // text is shown as it came, never read as markup: a "<" in a reply must not hide the
    // rest of the line.
    const int textLength = static_cast<int>(qstrnlen(bytes.constData(), bytes.size()));
    const QString text = QString::fromLatin1(bytes.constData(), textLength).toHtmlEscaped();

    QString hexDump;
    hexDump.reserve(bytes.size() * 4);
    for (const char byte : bytes) {
        hexDump += QString::number(static_cast<unsigned char>(byte), 16)
                           .rightJustified(2, QLatin1Char('0'))
                           .toUpper()
                   + QLatin1String("h ");
    }

    return QString::fromLatin1(TagFormat).arg(tag.toHtmlEscaped())
           + QString::fromLatin1(directionFormat).arg(direction) + QLatin1Char(' ') + text
           + QLatin1Char(' ') + QString::fromLatin1(HexDumpFormat).arg(hexDump);
}

void SerialMonitor::slotBytesReceived(const QString &tag, const QByteArray &bytes)
{
    appendTraffic(tag, QString::fromLatin1(ReceiveMark), bytes);
}

void SerialMonitor::slotBytesTransmitted(const QString &tag, const QByteArray &bytes)
{
    appendTraffic(tag, QString::fromLatin1(TransmitMark), bytes);
}

void SerialMonitor::appendTraffic(const QString &tag, const QString &direction,
                                  const QByteArray &bytes)
{
    m_ui->plainTextEditTraffic->appendHtml(formatTrafficLine(tag, direction, bytes));
}

void SerialMonitor::setPortOpen(bool open)
{
    m_portOpen = open;
    m_ui->toolButtonSend->setEnabled(open);
}

void SerialMonitor::setTrafficLogStatus(bool recording, const QString &text)
{
    const QSignalBlocker blocker(m_ui->checkBoxRecord);
    m_ui->checkBoxRecord->setChecked(recording);
    m_ui->labelRecordFile->setText(text);
}

void SerialMonitor::onToolButtonClear_clicked()
{
    m_ui->plainTextEditTraffic->clear();
}

void SerialMonitor::onToolButtonSend_clicked()
{
    // Return in the command line reaches here even while the button is disabled. The text
    // stays, so that it can be sent once a port is open.
    const QString command = m_ui->lineEditCommand->text();
    if (!m_portOpen || command.isEmpty()) {
        return;
    }
    QByteArray bytes = command.toLatin1();
    bytes.append('\n');
    emit sigSendCommand(bytes);
    m_ui->lineEditCommand->clear();
}

void SerialMonitor::onVScrollChanged(int value)
{
    m_autoScroll = value == m_ui->plainTextEditTraffic->verticalScrollBar()->maximum();
}

void SerialMonitor::onTextChanged()
{
    if (m_autoScroll) {
        QScrollBar *scrollBar = m_ui->plainTextEditTraffic->verticalScrollBar();
        scrollBar->setValue(scrollBar->maximum());
    }
}
