#ifndef RECORDINGFILE_H
#define RECORDINGFILE_H

#include <QFile>
#include <QString>

// A file something is being recorded into. It records while it is open, and only then has
// a name to show: a closed file's last name never reaches a status line.
class RecordingFile : public QFile
{
public:
    bool isRecording() const;
    // The file written now; empty when not recording.
    QString recordingName() const;
    // Closes the file and returns the name it had; empty when nothing was being recorded,
    // so that a second stop has nothing to announce.
    QString stop();
};

#endif // RECORDINGFILE_H
