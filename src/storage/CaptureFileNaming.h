#pragma once

#include <QDateTime>
#include <QString>

namespace CaptureFileNaming {

// prefix_yyyy-MM-dd_HH-mm-ss.ext in folder, with _1, _2, ... before the extension while
// a file of that name exists. Returns the full path; nothing is created.
QString freePath(const QString &folder, const QString &prefix, const QString &extension,
                 const QDateTime &now = QDateTime::currentDateTime());

} // namespace CaptureFileNaming
