#ifndef FAKEPORT_H
#define FAKEPORT_H

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

class QSocketNotifier;

// The device end of a pseudo-terminal: the program opens path(), the test
// reads what it writes and answers the two handshake commands like a laser.
class FakePort : public QObject
{
    Q_OBJECT

public:
    explicit FakePort(QObject *parent = nullptr);
    ~FakePort() override;

    bool isOpen() const;
    QString path() const;
    QList<QByteArray> receivedLines() const;
    void setAnswerHandshake(bool answer);
    void write(const QByteArray &bytes);
    // Closes the device end, as when a USB adapter is pulled.
    void unplug();

signals:
    void lineReceived(const QByteArray &line);

private:
    void readAvailable();

    int m_master = -1;
    int m_slave = -1;
    QString m_path;
    QSocketNotifier *m_notifier = nullptr;
    QByteArray m_buffer;
    QList<QByteArray> m_lines;
    bool m_answerHandshake = true;
};

#endif // FAKEPORT_H
