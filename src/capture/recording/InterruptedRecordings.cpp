#include "capture/recording/InterruptedRecordings.h"

#include "platform/RecordingBackend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace InterruptedRecordings {

namespace {
const QString prefix = QStringLiteral(".");
const QString suffix = QStringLiteral(".recording");
}

QString markerPath(const QString &videoPath)
{
    const QFileInfo info(videoPath);
    return info.dir().filePath(prefix + info.fileName() + suffix);
}

void begin(const QString &videoPath)
{
    QFile marker(markerPath(videoPath));
    marker.open(QIODevice::WriteOnly);
}

void end(const QString &videoPath)
{
    QFile::remove(markerPath(videoPath));
}

QStringList recover(const QString &folder, RecordingBackend &backend)
{
    QStringList recovered;
    const QDir dir(folder);
    const QStringList markers =
        dir.entryList({prefix + QStringLiteral("*") + suffix}, QDir::Files | QDir::Hidden, QDir::Name);
    for (const QString &marker : markers) {
        const QString name = marker.mid(prefix.size(), marker.size() - prefix.size() - suffix.size());
        const QString video = dir.filePath(name);
        if (QFileInfo::exists(video)) {
            const auto recovery = backend.finishInterrupted(video);
            if (recovery == RecordingBackend::Recovery::failed)
                continue;
            if (recovery == RecordingBackend::Recovery::finished)
                recovered.append(video);
            else
                QFile::remove(video);
        }
        QFile::remove(dir.filePath(marker));
    }
    return recovered;
}

} // namespace InterruptedRecordings
