#include "capture/library/PngEncoder.h"

#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

// Flat areas, text-like edges and noise, so every deflate path gets exercised.
QImage screenLike(int width, int height, bool alpha, quint32 seed)
{
    QImage image(width, height, alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    QRandomGenerator rng(seed);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int v = (x / 16 + y / 16) % 3 == 0 ? int(rng.bounded(256)) : ((x / 7) % 2 ? 240 : 30);
            image.setPixel(x, y, qRgba(v, (v + y) & 0xff, (x * 3) & 0xff, alpha ? (x + y) & 0xff : 255));
        }
    return image;
}

TEST(PngEncoder, RoundTripsThroughAStandardDecoder)
{
    const struct { int width, height; bool alpha; int level, threads; } cases[] = {
        {1, 1, false, 1, 0},
        {3, 7, false, 1, 4},        // more threads than the image is worth
        {1500, 1000, false, 1, 2},  // two stripes joined into one stream
        {2000, 1001, false, 6, 4},  // three uneven stripes
        {1024, 1025, true, 1, 2},   // RGBA
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height);
        const QImage source = screenLike(c.width, c.height, c.alpha, quint32(c.width * 31 + c.height));
        const QImage decoded = QImage::fromData(PngEncoder::encode(source, c.level, c.threads), "PNG");
        EXPECT_EQ(decoded.hasAlphaChannel(), c.alpha);
        EXPECT_EQ(decoded.convertToFormat(source.format()), source);
    }
    // Premultiplied colours come back as they were; a null image gives nothing.
    QImage premultiplied(8, 8, QImage::Format_ARGB32_Premultiplied);
    premultiplied.fill(qPremultiply(qRgba(200, 100, 50, 128)));
    EXPECT_EQ(QImage::fromData(PngEncoder::encode(premultiplied), "PNG").convertToFormat(premultiplied.format()), premultiplied);
    EXPECT_TRUE(PngEncoder::encode(QImage()).isEmpty());
}

} // namespace
