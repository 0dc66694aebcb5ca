#include "recordingfile.h"

bool RecordingFile::isRecording() const
{
    return isOpen();
}

QString RecordingFile::recordingName() const
{
    return isOpen() ? fileName() : QString();
}

QString RecordingFile::stop()
{
    const QString name = recordingName();
    close();
    return name;
}
