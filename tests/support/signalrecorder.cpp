#include "signalrecorder.h"

#include "velutrasystemstate.h"

#include <QList>
#include <QLocale>
#include <QMap>
#include <QMetaMethod>

SignalRecorder::SignalRecorder(QObject *watched)
    : m_watched(watched)
{
    const QMetaObject *meta = watched->metaObject();
    const int slotOffset = QObject::staticMetaObject.methodCount();
    for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
        if (meta->method(i).methodType() != QMetaMethod::Signal) {
            continue;
        }
        // Like QSignalSpy: a receiver index past our own methods lands in qt_metacall().
        QMetaObject::connect(watched, i, this, slotOffset + m_signalIndexes.size(),
                             Qt::DirectConnection, nullptr);
        m_signalIndexes.append(i);
    }
}

QStringList SignalRecorder::takeAll()
{
    QStringList all;
    all.swap(m_recorded);
    return all;
}

int SignalRecorder::qt_metacall(QMetaObject::Call call, int id, void **arguments)
{
    id = QObject::qt_metacall(call, id, arguments);
    if (id < 0 || call != QMetaObject::InvokeMetaMethod) {
        return id;
    }
    if (id < m_signalIndexes.size()) {
        const QMetaMethod method = m_watched->metaObject()->method(m_signalIndexes.at(id));
        QStringList texts;
        for (int p = 0; p < method.parameterCount(); ++p) {
            texts.append(argumentText(method.parameterType(p), arguments[p + 1]));
        }
        m_recorded.append(QString::fromLatin1(method.name()) + QLatin1Char('(')
                          + texts.join(QLatin1Char(',')) + QLatin1Char(')'));
    }
    return -1;
}

QString SignalRecorder::argumentText(int typeId, const void *argument)
{
    if (typeId == qMetaTypeId<SystemState>()) {
        return QString::number(int(*static_cast<const SystemState *>(argument)));
    }
    if (typeId == qMetaTypeId<QMap<int, double>>()) {
        const auto &map = *static_cast<const QMap<int, double> *>(argument);
        QStringList items;
        for (auto i = map.cbegin(); i != map.cend(); ++i) {
            items.append(QStringLiteral("%1:%2").arg(i.key()).arg(
                    QString::number(i.value(), 'g', QLocale::FloatingPointShortest)));
        }
        return QLatin1Char('{') + items.join(QLatin1Char(',')) + QLatin1Char('}');
    }
    if (typeId == qMetaTypeId<QList<double>>()) {
        const auto &list = *static_cast<const QList<double> *>(argument);
        QStringList items;
        for (double value : list) {
            items.append(QString::number(value, 'g', QLocale::FloatingPointShortest));
        }
        return QLatin1Char('[') + items.join(QLatin1Char(',')) + QLatin1Char(']');
    }
    if (typeId == qMetaTypeId<QMap<int, quint64>>()) {
        const auto &map = *static_cast<const QMap<int, quint64> *>(argument);
        QStringList items;
        for (auto i = map.cbegin(); i != map.cend(); ++i) {
            items.append(QStringLiteral("%1:%2").arg(i.key()).arg(i.value()));
        }
        return QLatin1Char('{') + items.join(QLatin1Char(',')) + QLatin1Char('}');
    }
    switch (typeId) {
    case QMetaType::Bool:
        return *static_cast<const bool *>(argument) ? QStringLiteral("true")
                                                    : QStringLiteral("false");
    case QMetaType::Int:
        return QString::number(*static_cast<const int *>(argument));
    case QMetaType::UChar:
        return QString::number(*static_cast<const uchar *>(argument));
    case QMetaType::UShort:
        return QString::number(*static_cast<const ushort *>(argument));
    case QMetaType::ULongLong:
        return QString::number(*static_cast<const qulonglong *>(argument));
    case QMetaType::Double:
        return QString::number(*static_cast<const double *>(argument), 'g',
                               QLocale::FloatingPointShortest);
    case QMetaType::QString:
        return QLatin1Char('"') + *static_cast<const QString *>(argument) + QLatin1Char('"');
    case QMetaType::QByteArray:
        return QLatin1Char('"') + QString::fromLatin1(*static_cast<const QByteArray *>(argument))
               + QLatin1Char('"');
    default:
        return QStringLiteral("<type %1>").arg(typeId);
    }
}
