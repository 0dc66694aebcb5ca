#ifndef PTYDEVICE_H
#define PTYDEVICE_H

#include <QByteArray>
#include <QLockFile>
#include <QString>
#include <QTemporaryDir>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// Plays the laser on the master side of a pseudo-terminal pair.
//
// The pair is put in raw mode at once and a slave descriptor is kept open, so
// that the master side stays quiet while no program has the port open. Every
// line the program writes is logged with its arrival time; a responder decides
// what to answer, and the answer is written at once from the device's own
// thread (or from pump() when the caller drives the device itself).
//
// The port belongs to the test alone. Pseudo-terminal numbers are handed out
// again as soon as they are free, and a program elsewhere on the machine that
// lost its port (the virtual laser of another test went away) reopens its old
// name every few seconds; it would take this device's port, lock file and all,
// and the handler's open would fail. So the device holds the serial-port lock of
// its /dev/pts name for its whole life, and the handler opens it through a
// symbolic link of its own, whose lock no other program knows.
class PtyDevice
{
public:
    struct Line
    {
        QByteArray text; // including its LF
        qint64 arrivalNs = 0;
    };
    struct Write
    {
        QByteArray bytes;
        qint64 beforeNs = 0; // just before the bytes went into the master
        qint64 afterNs = 0; // once the write returned
    };
    // Returns the bytes to answer with; empty for silence.
    using Responder = std::function<QByteArray(const QByteArray &line)>;

    PtyDevice();
    ~PtyDevice();
    PtyDevice(const PtyDevice &) = delete;
    PtyDevice &operator=(const PtyDevice &) = delete;

    bool isValid() const { return m_masterFd >= 0; }
    // The name the program opens: a link to the pseudo-terminal.
    QString slavePath() const { return m_linkPath; }
    // The pseudo-terminal's own name, which other programs may try.
    QString systemPath() const { return m_slavePath; }
    // Bytes the device wrote that the program has not read yet.
    int unreadByProgram() const;
    QString errorText() const { return m_errorText; }

    void setResponder(Responder responder);
    // Runs the device in a background thread until stop() or closeMaster().
    void start();
    void stop();
    // One round: waits up to timeoutMs for bytes, logs complete lines and
    // answers them. Returns false once the master cannot be read any more.
    bool pump(int timeoutMs);

    void write(const QByteArray &bytes);
    // The device goes away: the program's side sees a hang-up.
    void closeMaster();
    // Keeps only the master open, as when a device process forgets its slave.
    void closeSlaveKeepAlive();

    std::vector<Line> lines() const;
    std::vector<Write> writes() const;
    int lineCount() const;
    int countLines(const QByteArray &text) const;
    QByteArray pendingBytes() const;
    void clearLog();

    // A monotonic clock shared with the tests, in nanoseconds.
    static qint64 nowNs();

private:
    void run();
    static QString serialLockPath(const QString &devicePath);

    int m_masterFd = -1;
    int m_slaveFd = -1;
    QString m_slavePath;
    QString m_linkPath;
    QString m_lockPath;
    QString m_errorText;
    std::unique_ptr<QTemporaryDir> m_linkFolder;
    std::unique_ptr<QLockFile> m_foreignOpenGuard;

    mutable std::mutex m_mutex;
    Responder m_responder;
    QByteArray m_partial;
    std::vector<Line> m_lines;
    std::vector<Write> m_writes;

    std::thread m_thread;
    std::atomic<bool> m_running{false};
};

// The usual laser: echoes every command and answers the handshake as a ready
// device would; other commands get "ok".
QByteArray readyLaserReply(const QByteArray &line);

#endif // PTYDEVICE_H
