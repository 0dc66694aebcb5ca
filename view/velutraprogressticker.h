#ifndef VELUTRAPROGRESSTICKER_H
#define VELUTRAPROGRESSTICKER_H

#include <QProgressBar>

class QTimer;

// A flat progress bar that counts seconds, shown while the harmonic module moves its crystal.
class VelutraProgressTicker : public QProgressBar
{
    Q_OBJECT

public:
    explicit VelutraProgressTicker(QWidget *parent = nullptr);
    ~VelutraProgressTicker() override;

public slots:
    void startTicker(int seconds);
    void stopTicker();

signals:
    void sigTimeElapsed();

private slots:
    void slotTickHandler();

private:
    void finish();

    QTimer *m_timer = nullptr;
};

#endif // VELUTRAPROGRESSTICKER_H
