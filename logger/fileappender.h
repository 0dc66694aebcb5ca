#ifndef FILEAPPENDER_H
#define FILEAPPENDER_H

#include "abstractstringappender.h"

#include <QFile>
#include <QTextStream>

// Appends formatted log lines to a file; a second start on the same day adds
// to the same file. Each line is flushed so that nothing is lost on a crash.
class FileAppender : public AbstractStringAppender
{
public:
    explicit FileAppender(const QString &fileName = QString());
    ~FileAppender() override;

    QString fileName() const;
    void setFileName(const QString &fileName);

protected:
    void append(const QDateTime &timeStamp, Logger::LogLevel level, const char *file, int line,
                const char *function, const QString &category, const QString &message) override;

private:
    bool openFile();
    void closeFile();

    QFile m_file;
    QTextStream m_stream;
};

#endif // FILEAPPENDER_H
