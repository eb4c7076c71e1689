#pragma once

#include <QImage>

class QMimeData;

// The first image a clipboard entry carries: image data, then encoded images (PNG, TIFF,
// JPEG, GIF, WebP, BMP), then an image file it names. Null when it carries none.
namespace PastedImage {

QImage fromMimeData(const QMimeData &data);

} // namespace PastedImage
