#ifndef SIGNALRECORDER_H
#define SIGNALRECORDER_H

#include <QObject>
#include <QStringList>

// Connects to every signal of one object and writes down each emission as text, e.g.
// "sigSystemStateChanged(3)" or "sigOven1TempSettingRangeChanged(20,200)", in the order
// they happen. Tests compare whole lists, so a signal that should not be there shows up.
class SignalRecorder : public QObject
{
public:
    explicit SignalRecorder(QObject *watched);

    QStringList takeAll();
    const QStringList &recorded() const { return m_recorded; }

    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override;

    /// The text an argument of the given meta-type is written as.
    static QString argumentText(int typeId, const void *argument);

private:
    QObject *m_watched = nullptr;
    QVector<int> m_signalIndexes;
    QStringList m_recorded;
};

#endif // SIGNALRECORDER_H
