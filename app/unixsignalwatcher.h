#ifndef UNIXSIGNALWATCHER_H
#define UNIXSIGNALWATCHER_H

#include <QObject>

class QSocketNotifier;

// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal delivered in the event
// loop, so that Ctrl+C or a service manager ends the program the normal way:
// window state saved, shutdown line written, log saved.
class UnixSignalWatcher : public QObject
{
    Q_OBJECT

public:
    explicit UnixSignalWatcher(QObject *parent = nullptr);
    ~UnixSignalWatcher() override;

signals:
    void terminationRequested(int signalNumber);

private:
    void readSignal();

    QSocketNotifier *m_notifier = nullptr;
};

#endif // UNIXSIGNALWATCHER_H
