#include "fileappender.h"

#include <cstdio>

namespace {

static constexpr qint64 CopyChunkBytes = 64 * 1024;

} // namespace

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

qint64 FileAppender::maximumBytes() const
{
    return m_maximumBytes;
}

void FileAppender::setMaximumBytes(qint64 bytes)
{
    m_maximumBytes = bytes <= 0 ? 0 : qMax(bytes, SmallestMaximumBytes);
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
    m_size = m_file.size();
    return true;
}

void FileAppender::closeFile()
{
    if (m_file.isOpen()) {
        m_file.flush();
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
    const QByteArray bytes = text.toUtf8();
    m_file.write(bytes);
    m_file.flush();
    m_size += bytes.size();
    if (m_maximumBytes > 0 && m_size > m_maximumBytes) {
        // Another instance of the program may append to the same daily file: ask
        // the file itself before cutting.
        m_size = m_file.size();
        if (m_size > m_maximumBytes) {
            trimToNewestLines(timeStamp);
        }
    }
}

void FileAppender::trimToNewestLines(const QDateTime &timeStamp)
{
    // The file is cut in place rather than replaced, so that a second instance
    // appending to it keeps writing to the same file.
    QFile editor(m_file.fileName());
    if (!editor.open(QIODevice::ReadWrite)) {
        // Try again only after another maximum's worth of lines.
        m_size = 0;
        return;
    }
    const qint64 size = editor.size();
    qint64 source = size - m_maximumBytes / 2;
    // Start at a whole line.
    editor.seek(source);
    char byte = 0;
    while (source < size && editor.getChar(&byte)) {
        ++source;
        if (byte == '\n') {
            break;
        }
    }

    const QByteArray note
            = formattedString(timeStamp, Logger::Info, "fileappender", 0, nullptr,
                              QStringLiteral("velutra.log"),
                              QStringLiteral("Log file over %1 bytes: older lines removed.")
                                      .arg(m_maximumBytes))
                      .toUtf8();
    editor.seek(0);
    editor.write(note);
    qint64 target = note.size();
    // The kept lines move towards the start; the source always stays ahead of the
    // target, so copying forwards chunk by chunk never overwrites unread bytes.
    while (source < size) {
        editor.seek(source);
        const QByteArray chunk = editor.read(qMin(CopyChunkBytes, size - source));
        if (chunk.isEmpty()) {
            break;
        }
        editor.seek(target);
        editor.write(chunk);
        source += chunk.size();
        target += chunk.size();
    }
    editor.flush();
    editor.resize(target);
    editor.close();
    m_size = target;
}
