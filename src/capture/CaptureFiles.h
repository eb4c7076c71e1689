#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

// File and format helpers for saved captures.
namespace CaptureFiles {

// True when the TIFF image plugin is installed.
bool tiffAvailable();
// Uncompressed TIFF, the form image editors paste fastest; empty when unavailable.
QByteArray encodeTiff(const QImage &image);

} // namespace CaptureFiles
