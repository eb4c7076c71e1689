#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

// File and format helpers for saved captures.
namespace CaptureFiles {

// Replaces or creates the file in one step: readers see the old file or the whole new
// one, never a part. False when the file could not be written or renamed into place.
bool writeAtomically(const QString &path, const QByteArray &bytes);

// True when the TIFF image plugin is installed.
bool tiffAvailable();
// Uncompressed TIFF, the form image editors paste fastest; empty when unavailable.
QByteArray encodeTiff(const QImage &image);

} // namespace CaptureFiles
