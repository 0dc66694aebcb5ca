#include "recordingsettings.h"

#include "valuerecorder.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>

namespace RecordingSettings {

namespace {

static constexpr char FolderKey[] = "Recording/Folder";
static constexpr char IntervalKey[] = "Recording/IntervalMs";
static constexpr char HiddenSeriesKey[] = "Trends/HiddenSeries";
static constexpr char WindowKey[] = "Trends/Window";
static constexpr char DefaultSubfolder[] = "VELUTRA-XP";

} // namespace

QString folder()
{
    const QString fallback
            = QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
                      .filePath(QString::fromLatin1(DefaultSubfolder));
    return QSettings().value(QString::fromLatin1(FolderKey), fallback).toString();
}

void setFolder(const QString &folder)
{
    QSettings().setValue(QString::fromLatin1(FolderKey), folder);
}

int intervalMs()
{
    const int stored
            = QSettings()
                      .value(QString::fromLatin1(IntervalKey), ValueRecorder::DefaultIntervalMs)
                      .toInt();
    return qMax(stored, ValueRecorder::MinimumIntervalMs);
}

void setIntervalMs(int milliseconds)
{
    QSettings().setValue(QString::fromLatin1(IntervalKey), milliseconds);
}

QStringList hiddenSeries()
{
    return QSettings().value(QString::fromLatin1(HiddenSeriesKey)).toStringList();
}

void setHiddenSeries(const QStringList &names)
{
    QSettings().setValue(QString::fromLatin1(HiddenSeriesKey), names);
}

int trendWindow()
{
    return QSettings().value(QString::fromLatin1(WindowKey), 0).toInt();
}

void setTrendWindow(int index)
{
    QSettings().setValue(QString::fromLatin1(WindowKey), index);
}

} // namespace RecordingSettings
