#ifndef RECORDINGSETTINGS_H
#define RECORDINGSETTINGS_H

#include <QString>
#include <QStringList>

// What the operator chose for recording, kept in the program's QSettings.
namespace RecordingSettings {

// Default: "<documents>/VELUTRA-XP".
QString folder();
void setFolder(const QString &folder);

int intervalMs();
void setIntervalMs(int milliseconds);

// Names (RecordedQuantities) of the trend series the operator hid.
QStringList hiddenSeries();
void setHiddenSeries(const QStringList &names);

// Index into the trends page's time windows (5 min, 1 h, 8 h, 24 h).
int trendWindow();
void setTrendWindow(int index);

} // namespace RecordingSettings

#endif // RECORDINGSETTINGS_H
