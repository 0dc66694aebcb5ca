#include "serialmonitor.h"
#include "ui_serialmonitor.h"

#include "traffictag.h"

#include <QAbstractButton>
#include <QScrollBar>
#include <QShowEvent>
#include <QTextBlock>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>

#include <cstring>

namespace {

static constexpr char TransmitMark[] = "TX:";
static constexpr char ReceiveMark[] = "RX:";

struct DirectionColour
{
    const char *mark;
    const char *format;
    QRgb colour;
};

// Colour of the direction mark; anything unexpected stands out in red.
static constexpr DirectionColour DirectionColours[] = {
        {TransmitMark, "<font color=#0000ff>%1</font>", 0xff0000ff},
        {ReceiveMark, "<font color=#00aaff>%1</font>", 0xff00aaff},
};
static constexpr char OtherDirectionFormat[] = "<font color=#ff0000>%1</font>";
static constexpr QRgb OtherDirectionColour = 0xffff0000;
static constexpr char TagFormat[] = "<font color=#000000>%1: </font>";
static constexpr QRgb TagColour = 0xff000000;
static constexpr char HexDumpFormat[] = "<font color=#ff00ff>%1</font>";
static constexpr QRgb HexDumpColour = 0xffff00ff;

// Traffic is gathered and shown twice a second: one document edit and one repaint for all
// lines that came in meanwhile, instead of one of each per line. Every rendering scrolls and
// lays out and draws the visible lines anew, which costs about as much as laying out the new
// lines themselves; the laser answers about one polling turn a second, so half a second
// still reads as live.
static constexpr int RenderIntervalMs = 500;
// How often a view of a minimized window looks whether it has been restored.
static constexpr int MinimizedCheckIntervalMs = 1000;
// Raw lines kept for the view until it renders them: what a hidden page shows when it comes
// back, and the most one rendering can be asked for. A paused view keeps as many as it
// shows, so that nothing the view would have held is lost by pausing.
static constexpr int PendingLinesLimit = 2000;
// Typed commands waiting to be recognised on the wire; the controller queues them behind a
// polling turn, so a handful is all there ever is, unless the port never writes them.
static constexpr int TypedCommandsLimit = 64;
// Block states: which lines the "typed commands only" filter keeps.
static constexpr int PollingLineState = 0;
static constexpr int TypedLineState = 1;
// Lines laid into the document in one turn of the event loop; the rest follow in the next
// turns, so that a burst never holds the GUI thread for long.
static constexpr int LinesPerTurn = 250;
// Once the view holds more than its maximum, the oldest lines go in one cut of this many:
// removing at the top of the document is then rare instead of happening with every line.
static constexpr int TrimmedLines = 500;
// A device that babbles can send a line of 64 KiB; its first bytes tell what it is, and
// laying out all of it would hold the GUI thread for a second.
static constexpr int DisplayedBytes = 256;
static constexpr qint64 MaximumNoteCount = 2000000000;

QString directionFormat(const QString &direction)
{
    for (const DirectionColour &entry : DirectionColours) {
        if (direction == QLatin1String(entry.mark)) {
            return QString::fromLatin1(entry.format);
        }
    }
    return QString::fromLatin1(OtherDirectionFormat);
}

QColor directionColour(const QString &direction)
{
    for (const DirectionColour &entry : DirectionColours) {
        if (direction == QLatin1String(entry.mark)) {
            return QColor::fromRgb(entry.colour);
        }
    }
    return QColor::fromRgb(OtherDirectionColour);
}

// Each byte as two upper-case hexadecimal digits, an "h" and a blank.
QString hexDump(const char *bytes, int size)
{
    static constexpr char Digits[] = "0123456789ABCDEF";
    QString dump(size * 4, Qt::Uninitialized);
    QChar *out = dump.data();
    for (int index = 0; index < size; ++index) {
        const auto byte = static_cast<unsigned char>(bytes[index]);
        *out++ = QLatin1Char(Digits[byte >> 4]);
        *out++ = QLatin1Char(Digits[byte & 0x0f]);
        *out++ = QLatin1Char('h');
        *out++ = QLatin1Char(' ');
    }
    return dump;
}

// The bytes up to the first zero byte, as Latin-1.
QString textPart(const char *bytes, int size)
{
    return QString::fromLatin1(bytes, static_cast<int>(qstrnlen(bytes, size)));
}

// The view once took each line as rich text, where a run of white space (a line end, a tab,
// blanks) reads as one blank; lines look the same as they always did, and a carriage
// return cannot split one traffic line into two blocks.
QString collapsedWhiteSpace(const QString &text)
{
    QString result;
    result.reserve(text.size());
    bool afterSpace = false;
    for (const QChar character : text) {
        if (character.isSpace() && character != QChar(QChar::Nbsp)) {
            if (!afterSpace) {
                result += QLatin1Char(' ');
            }
            afterSpace = true;
        } else {
            result += character;
            afterSpace = false;
        }
    }
    return result;
}

QTextCharFormat colouredFormat(const QColor &colour)
{
    QTextCharFormat format;
    format.setForeground(colour);
    return format;
}

// Moves a toggle to a state set from elsewhere without its toggled() calling back.
void showChecked(QAbstractButton *button, bool checked)
{
    if (button->isChecked() != checked) {
        const QSignalBlocker blocker(button);
        button->setChecked(checked);
    }
}

} // namespace

SerialMonitor::SerialMonitor(QWidget *parent)
    : QWidget(parent)
    , m_ui(new Ui::SerialMonitor)
{
    m_ui->setupUi(this);
    m_clock.start();
    setPortOpen(false);
    // The traffic colours (black tags, blue marks, magenta bytes) are made for a light
    // page; keep this view light whatever the application's theme.
    m_ui->plainTextEditTraffic->setStyleSheet(
            QStringLiteral("QPlainTextEdit { background-color: #f7f7f4; color: #202020; "
                           "selection-background-color: #9cc7e6; selection-color: #000000; }"));

    m_renderTimer.setSingleShot(true);
    m_renderTimer.setInterval(RenderIntervalMs);
    connect(&m_renderTimer, &QTimer::timeout, this, &SerialMonitor::renderPendingLines);

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
    connect(m_ui->toolButtonPause, &QToolButton::toggled, this, &SerialMonitor::setPaused);
    connect(m_ui->checkBoxTypedOnly, &QCheckBox::toggled, this,
            &SerialMonitor::setTypedCommandsOnly);
}

SerialMonitor::~SerialMonitor()
{
    delete m_ui;
}

QSize SerialMonitor::sizeHint() const
{
    const QPlainTextEdit *view = m_ui->plainTextEditTraffic;
    const int frame = 2 * view->frameWidth() + view->horizontalScrollBar()->sizeHint().height()
                      + 2 * int(view->document()->documentMargin());
    const int traffic = PreferredVisibleLines * view->fontMetrics().lineSpacing() + frame;
    const QSize whole = QWidget::sizeHint();
    return QSize(whole.width(), whole.height() - view->sizeHint().height()
                                        + qMax(traffic, view->sizeHint().height()));
}

QString SerialMonitor::formatTrafficLine(const QString &tag, const QString &direction,
                                         const QByteArray &bytes)
{
    // The text part stops at the first zero byte; the dump shows everything. The device's
    // text is shown as it came, never read as markup: a "<" in a reply must not hide the
    // rest of the line.
    const QString text = textPart(bytes.constData(), bytes.size()).toHtmlEscaped();
    return QString::fromLatin1(TagFormat).arg(tag.toHtmlEscaped())
           + directionFormat(direction).arg(direction) + QLatin1Char(' ') + text + QLatin1Char(' ')
           + QString::fromLatin1(HexDumpFormat).arg(hexDump(bytes.constData(), bytes.size()));
}

void SerialMonitor::slotBytesReceived(const QString &tag, const QByteArray &bytes)
{
    static const QString mark = QString::fromLatin1(ReceiveMark);
    appendTraffic(tag, mark, bytes);
}

void SerialMonitor::slotBytesTransmitted(const QString &tag, const QByteArray &bytes)
{
    static const QString mark = QString::fromLatin1(TransmitMark);
    appendTraffic(tag, mark, bytes);
}

void SerialMonitor::appendTraffic(const QString &tag, const QString &direction,
                                  const QByteArray &bytes)
{
    // A typed command is known by its bytes when the handler writes it; the replies are the
    // lines that come in after it until the next write.
    bool typed = m_inTypedExchange;
    if (direction == QLatin1String(TransmitMark)) {
        const QByteArray written(bytes.constData(),
                                 static_cast<int>(qstrnlen(bytes.constData(), bytes.size())));
        const int index = m_typedCommands.indexOf(written);
        typed = index >= 0;
        if (typed) {
            m_typedCommands.removeAt(index);
        }
        m_inTypedExchange = typed;
    }
    // Only raw lines are kept here; nothing is formatted until the page is seen.
    m_pendingLines.push_back(TrafficLine{tag, direction, bytes, m_clock.elapsed(), typed});
    if (m_pendingLines.size() > static_cast<size_t>(pendingLinesLimit())) {
        m_pendingLines.pop_front();
        ++m_droppedLines;
    }
    if (isOnScreen() && !m_paused && !m_renderTimer.isActive()) {
        m_renderTimer.start(RenderIntervalMs);
    }
}

int SerialMonitor::pendingLinesLimit() const
{
    return m_paused ? MaximumLines : PendingLinesLimit;
}

bool SerialMonitor::isOnScreen() const
{
    // A minimized window keeps its widgets "visible"; laying out lines nobody can see for a
    // night of polling is wasted. Restoring the window shows each page again, and the
    // show event brings the view up to date.
    return isVisible() && !window()->isMinimized();
}

void SerialMonitor::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // What came while the page was hidden (its dock closed or behind another tab).
    if (!m_paused && (!m_pendingLines.empty() || m_droppedLines > 0)) {
        m_renderTimer.start(0);
    }
}

void SerialMonitor::renderPendingLines()
{
    if (m_paused) {
        return;
    }
    if (!isOnScreen()) {
        // Restoring a minimized window does not always show its pages again (the window
        // system may expose it before it reports the new state); look again now and then.
        if (isVisible()) {
            m_renderTimer.start(MinimizedCheckIntervalMs);
        }
        return;
    }
    QPlainTextEdit *view = m_ui->plainTextEditTraffic;
    QTextCursor cursor(view->document());
    cursor.beginEditBlock();
    cursor.movePosition(QTextCursor::End);
    int rendered = 0;
    if (m_droppedLines > 0) {
        insertDroppedLinesNote(cursor);
        ++rendered;
    }
    // One reading of the wall clock for the whole batch: each line's time of day is this
    // instant less how long the line has waited.
    const QTime now = QTime::currentTime();
    const qint64 nowMs = m_clock.elapsed();
    while (!m_pendingLines.empty() && rendered < LinesPerTurn) {
        const TrafficLine &line = m_pendingLines.front();
        insertTrafficLine(cursor, line, now.addMSecs(static_cast<int>(line.arrivalMs - nowMs)));
        m_pendingLines.pop_front();
        ++rendered;
    }
    cursor.endEditBlock();
    trimOldestLines();
    if (!m_pendingLines.empty()) {
        m_renderTimer.start(0);
    }
}

void SerialMonitor::insertTrafficLine(QTextCursor &cursor, const TrafficLine &line,
                                      const QTime &arrival)
{
    static const QTextCharFormat tagFormat = colouredFormat(QColor::fromRgb(TagColour));
    static const QTextCharFormat hexDumpFormat = colouredFormat(QColor::fromRgb(HexDumpColour));
    static const QTextCharFormat plainFormat;

    const int shownBytes = qMin(line.bytes.size(), DisplayedBytes);
    QString text = QLatin1Char(' ') + textPart(line.bytes.constData(), shownBytes);
    if (shownBytes < line.bytes.size()) {
        text += QStringLiteral("\u2026 (%1 bytes)").arg(line.bytes.size());
    }
    text += QLatin1Char(' ');

    if (!cursor.document()->isEmpty()) {
        cursor.insertBlock(QTextBlockFormat(), plainFormat);
    }
    QTextBlock block = cursor.block();
    block.setUserState(line.typed ? TypedLineState : PollingLineState);
    block.setVisible(line.typed || !m_typedOnly);
    const QString tag = TrafficTag::withTimeOfDay(line.tag, arrival);
    cursor.insertText(collapsedWhiteSpace(tag + QLatin1String(": ")), tagFormat);
    cursor.insertText(collapsedWhiteSpace(line.direction),
                      colouredFormat(directionColour(line.direction)));
    cursor.insertText(collapsedWhiteSpace(text), plainFormat);
    cursor.insertText(hexDump(line.bytes.constData(), shownBytes), hexDumpFormat);
}

void SerialMonitor::insertDroppedLinesNote(QTextCursor &cursor)
{
    static const QTextCharFormat noteFormat = colouredFormat(QColor::fromRgb(OtherDirectionColour));
    if (!cursor.document()->isEmpty()) {
        cursor.insertBlock(QTextBlockFormat(), QTextCharFormat());
    }
    // What is missing matters whatever the filter hides.
    cursor.block().setUserState(TypedLineState);
    const int dropped = static_cast<int>(qMin<qint64>(m_droppedLines, MaximumNoteCount));
    cursor.insertText(tr("\u2026 %n line(s) not shown", nullptr, dropped), noteFormat);
    m_droppedLines = 0;
}

void SerialMonitor::trimOldestLines()
{
    QPlainTextEdit *view = m_ui->plainTextEditTraffic;
    QTextDocument *document = view->document();
    const int blocks = document->blockCount();
    if (blocks <= MaximumLines) {
        return;
    }
    // One cut well below the maximum, so that cutting at the top of the document is rare
    // instead of happening with every line.
    int removed = blocks - MaximumLines + TrimmedLines;
    QScrollBar *scrollBar = view->verticalScrollBar();
    const int firstShownLine = scrollBar->value();
    if (!m_autoScroll && blocks <= MaximumHeldLines) {
        // The operator reads older lines: the cut stops above the first one on screen.
        removed = qMin(removed, document->findBlockByLineNumber(firstShownLine).blockNumber());
        if (removed <= 0) {
            return;
        }
    }
    const QTextBlock firstKept = document->findBlockByNumber(removed);
    // The view counts lines, and a hidden line counts none.
    const int removedLines = firstKept.firstLineNumber();
    // A cut of its own, apart from the appending: the view then lays out again only what it
    // shows, not the whole document between the two ends. The cut's end is found by block
    // number, not by moving a cursor over the blocks, which would lay out every one of them.
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.setPosition(firstKept.position(), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    cursor.endEditBlock();
    if (!m_autoScroll) {
        // The view keeps its line number, which now belongs to a later line: back to the
        // line the operator was reading.
        scrollBar->setValue(qMax(firstShownLine - removedLines, 0));
    }
}

void SerialMonitor::setPaused(bool paused)
{
    showChecked(m_ui->toolButtonPause, paused);
    if (m_paused == paused) {
        return;
    }
    m_paused = paused;
    m_ui->toolButtonPause->setText(paused ? tr("Resume") : tr("Pause"));
    if (!paused && (!m_pendingLines.empty() || m_droppedLines > 0)) {
        m_renderTimer.start(0);
    }
}

void SerialMonitor::setTypedCommandsOnly(bool typedOnly)
{
    showChecked(m_ui->checkBoxTypedOnly, typedOnly);
    if (m_typedOnly == typedOnly) {
        return;
    }
    m_typedOnly = typedOnly;
    applyFilter();
}

void SerialMonitor::applyFilter()
{
    QPlainTextEdit *view = m_ui->plainTextEditTraffic;
    QTextDocument *document = view->document();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        block.setVisible(!m_typedOnly || block.userState() == TypedLineState);
    }
    // The layout does not notice a block's visibility by itself.
    document->markContentsDirty(0, document->characterCount());
    if (m_autoScroll) {
        QScrollBar *scrollBar = view->verticalScrollBar();
        scrollBar->setValue(scrollBar->maximum());
    }
}

void SerialMonitor::setPortOpen(bool open)
{
    m_portOpen = open;
    m_ui->toolButtonSend->setEnabled(open);
    if (!open) {
        // Whatever was typed and not written died with the link.
        m_typedCommands.clear();
        m_inTypedExchange = false;
    }
}

void SerialMonitor::setTrafficLogStatus(bool recording, const QString &text)
{
    const QSignalBlocker blocker(m_ui->checkBoxRecord);
    m_ui->checkBoxRecord->setChecked(recording);
    m_ui->labelRecordFile->setText(text);
}

void SerialMonitor::onToolButtonClear_clicked()
{
    m_pendingLines.clear();
    m_droppedLines = 0;
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
    m_typedCommands.append(bytes);
    if (m_typedCommands.size() > TypedCommandsLimit) {
        m_typedCommands.removeFirst();
    }
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
