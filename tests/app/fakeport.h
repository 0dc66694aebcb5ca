#ifndef FAKEPORT_H
#define FAKEPORT_H

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

class QSocketNotifier;

// The device end of a pseudo-terminal: the program opens path(), the test
// reads what it writes and answers the two handshake commands like a laser.
// What the laser says about itself can be changed, and the port can also be
// reached through a symbolic link, as a device name another device may take over.
class FakePort : public QObject
{
    Q_OBJECT

public:
    explicit FakePort(QObject *parent = nullptr);
    ~FakePort() override;

    bool isOpen() const;
    QString path() const;
    QList<QByteArray> receivedLines() const;
    // Every byte the program wrote, line ends or not.
    int bytesReceived() const;
    void setAnswerHandshake(bool answer);
    // The model and serial number in the answer to the identification command.
    void setIdentity(const QByteArray &model, const QByteArray &serialNumber);
    // Echoes every command other than the handshake's, so that polling goes on.
    void setEchoCommands(bool echo);
    // Makes `linkPath` a symbolic link to the port (replacing a link already there); the
    // link goes with unplug().
    bool makeLink(const QString &linkPath);
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
    QString m_link;
    QByteArray m_buffer;
    QList<QByteArray> m_lines;
    int m_bytesReceived = 0;
    bool m_answerHandshake = true;
    bool m_echoCommands = false;
    QByteArray m_model = "Velutra-10";
    QByteArray m_serialNumber;
};

#endif // FAKEPORT_H
