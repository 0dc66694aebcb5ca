#ifndef VELUTRASIMCONTROL_H
#define VELUTRASIMCONTROL_H

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

class QSocketNotifier;
class VelutraSimulator;

// The control channel: control commands arrive one per line on standard input and on
// a Unix-domain socket in the runtime folder; each gets its answer back on the same
// channel (standard error for standard input, so that standard output carries only
// port names).
class VelutraSimControl : public QObject
{
    Q_OBJECT

public:
    static constexpr int s_maxLineLength = 4096;

    explicit VelutraSimControl(VelutraSimulator *simulator, QObject *parent = nullptr);
    ~VelutraSimControl() override;

    void listenOnStandardInput();
    bool listenOnSocket(const QString &path, QString *error);
    QString socketPath() const { return m_socketPath; }

private:
    struct Client
    {
        int fd = -1;
        QSocketNotifier *notifier = nullptr;
        QByteArray buffer;
    };

    void readStandardInput();
    void acceptClient();
    void readClient(int fd);
    void dropClient(int fd);
    QByteArray answer(QByteArray &buffer, const QByteArray &bytes);

    VelutraSimulator *m_simulator;
    QSocketNotifier *m_stdinNotifier = nullptr;
    QByteArray m_stdinBuffer;
    int m_server = -1;
    QSocketNotifier *m_serverNotifier = nullptr;
    QString m_socketPath;
    QList<Client> m_clients;
};

#endif // VELUTRASIMCONTROL_H
