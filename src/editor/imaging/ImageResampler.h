#pragma once

#include <QImage>

// High-quality resizing of ARGB32_Premultiplied images: area averaging when shrinking,
// bicubic when enlarging.
namespace ImageResampler {

QImage resized(const QImage &image, QSize size);

// The editor's resize rule: max(side × scale, 1), rounded to whole pixels.
QSize scaledSize(QSize size, double scale);

} // namespace ImageResampler
