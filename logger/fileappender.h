#ifndef FILEAPPENDER_H
#define FILEAPPENDER_H

#include "abstractstringappender.h"

#include <QFile>

// Appends formatted log lines to a file; a second start on the same day adds
// to the same file. Each line is flushed so that nothing is lost on a crash.
//
// The file never grows past its maximum size: when a line takes it over, the
// oldest half is cut away and the newest lines move to the front, behind one
// line saying so. Each byte is thus copied at most once more, however long the
// program runs, and the file always ends with the newest lines.
class FileAppender : public AbstractStringAppender
{
public:
    static constexpr qint64 DefaultMaximumBytes = 20 * 1024 * 1024;
    // Below this a trim would keep hardly a line.
    static constexpr qint64 SmallestMaximumBytes = 4 * 1024;

    explicit FileAppender(const QString &fileName = QString());
    ~FileAppender() override;

    QString fileName() const;
    void setFileName(const QString &fileName);

    // 0 lets the file grow without bound; other values below SmallestMaximumBytes
    // are raised to it.
    qint64 maximumBytes() const;
    void setMaximumBytes(qint64 bytes);

protected:
    void append(const QDateTime &timeStamp, Logger::LogLevel level, const char *file, int line,
                const char *function, const QString &category, const QString &message) override;

private:
    bool openFile();
    void closeFile();
    void trimToNewestLines(const QDateTime &timeStamp);

    QFile m_file;
    qint64 m_maximumBytes = DefaultMaximumBytes;
    // The file's size as this appender last knew it.
    qint64 m_size = 0;
};

#endif // FILEAPPENDER_H
