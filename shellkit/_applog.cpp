#include "_applog.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPlainTextDocumentLayout>
#include <QPrintDialog>
#include <QPrinter>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QThread>

_AppLog::_AppLog(QObject *parent)
    : QObject(parent)
    , m_document(new QTextDocument(this))
{
    // The log page is a QPlainTextEdit, which needs this layout on a shared document.
    m_document->setDocumentLayout(new QPlainTextDocumentLayout(m_document));
    m_document->setMaximumBlockCount(MaximumLines);
    m_document->setUndoRedoEnabled(false);
}

_AppLog *_AppLog::instance()
{
    // Created on first use, in the GUI thread by construction of the main window.
    static _AppLog *s_instance = nullptr;
    if (!s_instance) {
        s_instance = new _AppLog(QCoreApplication::instance());
        if (QCoreApplication::instance()) {
            QObject::connect(QCoreApplication::instance(), &QObject::destroyed,
                             [] { s_instance = nullptr; });
        }
    }
    return s_instance;
}

QTextDocument *_AppLog::getLogDocument()
{
    return instance()->m_document;
}

QString _AppLog::storedLogPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
           + QStringLiteral("/ApplicationLog.txt");
}

QString _AppLog::timeStampedLine(const QString &line)
{
    // A device line handed on whole still carries its CR or LF, which the document would
    // turn into an empty line of its own under the message.
    int end = line.size();
    while (end > 0
           && (line.at(end - 1) == QLatin1Char('\r') || line.at(end - 1) == QLatin1Char('\n'))) {
        --end;
    }
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"))
           + QStringLiteral("  ") + line.left(end);
}

void _AppLog::LoadLog()
{
    QFile file(storedLogPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return; // first start: nothing stored yet
    }
    const QString text = QString::fromUtf8(file.readAll());
    QTextDocument *document = getLogDocument();
    document->setPlainText(text.endsWith(QLatin1Char('\n')) ? text.chopped(1) : text);
}

void _AppLog::SaveLog()
{
    const QString path = storedLogPath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        qWarning("Cannot save the application log to %s: %s", qUtf8Printable(path),
                 qUtf8Printable(file.errorString()));
        return;
    }
    file.write(getLogDocument()->toPlainText().toUtf8());
    file.write("\n");
    if (!file.commit()) {
        qWarning("Cannot save the application log to %s: %s", qUtf8Printable(path),
                 qUtf8Printable(file.errorString()));
    }
}

void _AppLog::WriteLogLine(const QString &line)
{
    _AppLog *log = instance();
    const QString stamped = timeStampedLine(line);
    if (QThread::currentThread() == log->thread()) {
        log->appendLine(stamped);
    } else {
        QMetaObject::invokeMethod(
                log, [log, stamped] { log->appendLine(stamped); }, Qt::QueuedConnection);
    }
}

void _AppLog::appendLine(const QString &stampedLine)
{
    QTextCursor cursor(m_document);
    cursor.movePosition(QTextCursor::End);
    if (!m_document->isEmpty()) {
        cursor.insertBlock();
    }
    cursor.insertText(stampedLine);
    emit lineWritten(stampedLine);
}

void _AppLog::ClearLogLines(QWidget *)
{
    getLogDocument()->clear();
}

void _AppLog::SaveLogLines(QWidget *parent)
{
    const QString suggested
            = QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
                      .filePath(QStringLiteral("applicationlog_%1.txt")
                                        .arg(QDate::currentDate().toString(
                                                QStringLiteral("yyyyMMdd"))));
    const QString fileName = QFileDialog::getSaveFileName(
            parent, tr("Save Application Log"), suggested, tr("Text files (*.txt);;All files (*)"));
    if (fileName.isEmpty()) {
        return;
    }
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        QMessageBox::warning(parent, tr("Save Application Log"),
                             tr("Cannot write %1:\n%2").arg(fileName, file.errorString()));
        return;
    }
    file.write(getLogDocument()->toPlainText().toUtf8());
    file.write("\n");
    if (!file.commit()) {
        QMessageBox::warning(parent, tr("Save Application Log"),
                             tr("Cannot write %1:\n%2").arg(fileName, file.errorString()));
    }
}

void _AppLog::PrintLogLines(QWidget *parent)
{
    QPrinter printer;
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(tr("Print Application Log"));
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    getLogDocument()->print(&printer);
}
