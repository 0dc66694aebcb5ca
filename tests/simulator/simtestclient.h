#ifndef SIMTESTCLIENT_H
#define SIMTESTCLIENT_H

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QSerialPort>
#include <QString>
#include <QTest>

#include <functional>

// The program's side of the line for the simulator's tests: a real QSerialPort on
// the simulator's pseudo-terminal, read by running the event loop, so that a
// simulator in the same process keeps answering while the test waits.
class SimTestClient
{
public:
    struct Chunk
    {
        qint64 atNs;
        QByteArray bytes;
    };

    ~SimTestClient() { close(); }

    bool open(const QString &path)
    {
        m_port.setPortName(path);
        if (!m_port.open(QIODevice::ReadWrite)) {
            return false;
        }
        m_port.setBaudRate(QSerialPort::Baud38400);
        m_port.setDataBits(QSerialPort::Data8);
        m_port.setParity(QSerialPort::NoParity);
        m_port.setStopBits(QSerialPort::OneStop);
        m_port.setFlowControl(QSerialPort::NoFlowControl);
        m_port.clear();
        m_clock.start();
        return true;
    }

    void close()
    {
        if (m_port.isOpen()) {
            m_port.close();
        }
    }

    QSerialPort &port() { return m_port; }

    void send(const QByteArray &bytes)
    {
        m_port.write(bytes);
        m_port.flush();
    }

    // Reads what has arrived, running the event loop for up to ms milliseconds.
    void pump(int ms)
    {
        QTest::qWait(ms);
        collect();
    }

    void collect()
    {
        if (!m_port.isOpen()) {
            return;
        }
        const QByteArray bytes = m_port.readAll();
        if (!bytes.isEmpty()) {
            m_received += bytes;
            m_chunks.append({m_clock.nsecsElapsed(), bytes});
        }
    }

    bool waitFor(const std::function<bool()> &condition, int timeoutMs)
    {
        QElapsedTimer timer;
        timer.start();
        collect();
        while (!condition()) {
            if (timer.elapsed() > timeoutMs) {
                return false;
            }
            pump(2);
        }
        return true;
    }

    bool waitForText(const QByteArray &text, int timeoutMs)
    {
        return waitFor([&]() { return m_received.contains(text); }, timeoutMs);
    }

    // Sends a command and returns everything that arrives until the line has been
    // quiet for quietMs after a line end.
    QByteArray exchange(const QByteArray &command, int quietMs = 150, int timeoutMs = 5000)
    {
        clear();
        send(command);
        QElapsedTimer total;
        total.start();
        QElapsedTimer quiet;
        quiet.start();
        int size = 0;
        while (total.elapsed() < timeoutMs) {
            pump(2);
            if (m_received.size() != size) {
                size = m_received.size();
                quiet.restart();
            } else if (!m_received.isEmpty() && m_received.endsWith('\n')
                       && quiet.elapsed() >= quietMs) {
                break;
            }
        }
        return m_received;
    }

    static QList<QByteArray> lines(const QByteArray &bytes)
    {
        QList<QByteArray> result = bytes.split('\n');
        if (!result.isEmpty() && result.last().isEmpty()) {
            result.removeLast();
        }
        return result;
    }

    QByteArray received() const { return m_received; }
    const QList<Chunk> &chunks() const { return m_chunks; }
    qint64 nowNs() const { return m_clock.nsecsElapsed(); }
    void clear()
    {
        collect();
        m_received.clear();
        m_chunks.clear();
    }

private:
    QSerialPort m_port;
    QByteArray m_received;
    QList<Chunk> m_chunks;
    QElapsedTimer m_clock;
};

#endif // SIMTESTCLIENT_H
