#pragma once

#include <QByteArray>
#include <QString>

namespace AtomicFile {

// Replaces or creates the file in one step: readers see the old file or the whole new
// one, never a part. False when the file could not be written or renamed into place.
bool write(const QString &path, const QByteArray &bytes);

} // namespace AtomicFile
