#pragma once

#include <QColor>
#include <QImage>
#include <QRandomGenerator>
#include <QRect>

#include <algorithm>
#include <cstdlib>

// Small images with known content for the editor tests.
namespace EditorTestImages {

inline QImage solid(int width, int height, const QColor &color)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    return image;
}

// Deterministic noise: every pixel differs from its neighbours, so any change shows.
inline QImage noise(int width, int height, quint32 seed)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    QRandomGenerator rng(seed);
    for (int y = 0; y < height; ++y) {
        auto *row = reinterpret_cast<quint32 *>(image.scanLine(y));
        for (int x = 0; x < width; ++x)
            row[x] = 0xff000000u | (rng.generate() & 0x00ffffffu);
    }
    return image;
}

// Pixels of `rect` that differ between two images of the same size.
inline int differingPixels(const QImage &a, const QImage &b, const QRect &rect)
{
    int count = 0;
    const QRect r = rect.intersected(a.rect());
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y);
    return count;
}

inline int differingPixels(const QImage &a, const QImage &b) { return differingPixels(a, b, a.rect()); }

// The largest difference between the colour channels of two pixels.
inline int channelDistance(const QColor &a, const QColor &b)
{
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue())});
}

// The same pixels, whatever the formats.
inline bool samePixels(const QImage &a, const QImage &b)
{
    return a.size() == b.size()
           && a.convertToFormat(QImage::Format_ARGB32_Premultiplied) == b.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace EditorTestImages
