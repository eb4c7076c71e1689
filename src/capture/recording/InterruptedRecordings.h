#pragma once

#include <QString>
#include <QStringList>

class RecordingBackend;

// A recording in progress leaves a hidden marker beside its file, removed once the
// recording has ended one way or the other. A marker found later means the process died
// mid-recording: that file is finished then.
namespace InterruptedRecordings {

QString markerPath(const QString &videoPath);
void begin(const QString &videoPath);
void end(const QString &videoPath);

// Finishes every interrupted recording in folder. Returns the files that now play, for
// the history. A file with nothing playable in it is removed; one that cannot be
// rewritten now (a full disk) is kept as it is, with its marker, for the next launch.
QStringList recover(const QString &folder, RecordingBackend &backend);

} // namespace InterruptedRecordings
