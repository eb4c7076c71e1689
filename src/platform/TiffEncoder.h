#pragma once

#include <QByteArray>
#include <QImage>

// TIFF for the clipboard, beside PNG: the form image editors paste fastest.
namespace TiffEncoder {

// True when the TIFF image plugin is installed.
bool available();
// Uncompressed TIFF; empty when unavailable.
QByteArray encode(const QImage &image);

} // namespace TiffEncoder
