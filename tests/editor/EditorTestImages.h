#pragma once

#include <QPainter>
#include <QRandomGenerator>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <functional>

// Small images with known content for the editor tests.
inline QImage solid(int width, int height, const QColor &color, qreal density = 1)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    image.setDevicePixelRatio(density);
    return image;
}

// Deterministic noise: every pixel differs from its neighbours, so any change shows.
inline QImage noise(int width, int height, quint32 seed)
{
    QImage image(width, height, QImage::Format_RGB32); // the conversion makes every pixel opaque
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32 *>(image.bits()), qsizetype(width) * height);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// Pixels of `rect` that differ between two images of the same size.
inline int differingPixels(const QImage &a, const QImage &b, const QRect &rect = QRect(0, 0, 1 << 20, 1 << 20))
{
    int count = 0;
    const QRect r = rect.intersected(a.rect());
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y);
    return count;
}

// The same pixels, whatever the formats.
inline bool samePixels(const QImage &a, const QImage &b)
{
    return a.size() == b.size()
           && a.convertToFormat(QImage::Format_ARGB32_Premultiplied) == b.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// The smallest rectangle holding every pixel for which `ink` is true; empty when none.
inline QRect inkBounds(const QImage &image, const std::function<bool(QRgb)> &ink)
{
    QRect bounds;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (ink(image.pixel(x, y)))
                bounds |= QRect(x, y, 1, 1);
    return bounds;
}
