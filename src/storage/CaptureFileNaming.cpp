#include "storage/CaptureFileNaming.h"

#include <QDir>
#include <QFileInfo>

namespace CaptureFileNaming {

QString freePath(const QString &folder, const QString &prefix, const QString &extension,
                 const QDateTime &now)
{
    const QDir dir(folder);
    // One stamp per call, so every candidate of this call shares it.
    const QString stem = prefix + QLatin1Char('_')
                         + now.toLocalTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
    const QString suffix = QLatin1Char('.') + extension;

    QString candidate = dir.filePath(stem + suffix);
    for (int n = 1; QFileInfo::exists(candidate) || QFileInfo(candidate).isSymLink(); ++n)
        candidate = dir.filePath(stem + QLatin1Char('_') + QString::number(n) + suffix);
    return candidate;
}

} // namespace CaptureFileNaming
