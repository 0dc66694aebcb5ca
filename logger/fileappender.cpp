#include "fileappender.h"

#include <cstdio>

FileAppender::FileAppender(const QString &fileName)
{
    setFileName(fileName);
}

FileAppender::~FileAppender()
{
    closeFile();
}

QString FileAppender::fileName() const
{
    return m_file.fileName();
}

void FileAppender::setFileName(const QString &fileName)
{
    closeFile();
    m_file.setFileName(fileName);
}

bool FileAppender::openFile()
{
    if (m_file.isOpen()) {
        return true;
    }
    if (m_file.fileName().isEmpty()) {
        return false;
    }
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        std::fprintf(stderr, "Cannot open the log file %s: %s\n", qUtf8Printable(m_file.fileName()),
                     qUtf8Printable(m_file.errorString()));
        return false;
    }
    m_stream.setDevice(&m_file);
    m_stream.setCodec("UTF-8");
    return true;
}

void FileAppender::closeFile()
{
    if (m_file.isOpen()) {
        m_stream.flush();
        m_stream.setDevice(nullptr);
        m_file.close();
    }
}

void FileAppender::append(const QDateTime &timeStamp, Logger::LogLevel level, const char *file,
                          int line, const char *function, const QString &category,
                          const QString &message)
{
    const QString text = formattedString(timeStamp, level, file, line, function, category, message);
    if (!openFile()) {
        // Better on the console than nowhere.
        std::fputs(qUtf8Printable(text), stderr);
        return;
    }
    m_stream << text;
    m_stream.flush();
}
