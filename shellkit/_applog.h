#ifndef SHELLKIT_APPLOG_H
#define SHELLKIT_APPLOG_H

#include <QObject>
#include <QString>

class QTextDocument;
class QWidget;

// The operator's log: one text document per process, shown on the log page,
// kept across runs in the per-application data folder. Every line gets a time
// stamp. Lines may be written from any thread; they land in the document in
// the thread that owns it.
class _AppLog : public QObject
{
    Q_OBJECT

public:
    // The document keeps at most this many lines, so that a program left
    // running for weeks (or a device that babbles) cannot exhaust memory.
    static constexpr int MaximumLines = 50000;

    static _AppLog *instance();

    static QTextDocument *getLogDocument();
    static void LoadLog();
    static void SaveLog();
    static void WriteLogLine(const QString &line);
    static void ClearLogLines(QWidget *parent);
    static void SaveLogLines(QWidget *parent);
    static void PrintLogLines(QWidget *parent);

    // Where LoadLog()/SaveLog() keep the log between runs.
    static QString storedLogPath();
    static QString timeStampedLine(const QString &line);

signals:
    void lineWritten(const QString &stampedLine);

private:
    explicit _AppLog(QObject *parent = nullptr);

    // Runs in the thread that owns the document; WriteLogLine brings other threads' lines here.
    void appendLine(const QString &stampedLine);

    QTextDocument *m_document = nullptr;
};

#endif // SHELLKIT_APPLOG_H
