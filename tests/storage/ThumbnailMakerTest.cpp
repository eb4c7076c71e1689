#include "storage/ThumbnailMaker.h"
#include "support/TestFiles.h"

#include <cstdlib>

namespace {

const QColor background(242, 242, 242);
const QColor paint(200, 30, 40);

bool near(QColor a, QColor b, int tolerance)
{
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance
        && std::abs(a.blue() - b.blue()) <= tolerance;
}

// Videos read through a stand-in decoder: "clip.mp4" has a 16:9 frame at 0.2 s.
QImage videoFrame(const QString &path, double seconds)
{
    return path.endsWith("clip.mp4") && seconds == ThumbnailMaker::videoFrameSeconds ? filled({160, 90}, paint) : QImage();
}

QImage thumbnail(CaptureKind kind, const QString &path, qreal ratio)
{
    return ThumbnailMaker::image(CaptureItem{1, kind, path, {}}, {QSize(92, 54), ratio, background, videoFrame});
}

void expectTileShape(const QImage &tile, qreal ratio)
{
    EXPECT_EQ(tile.size(), QSize(qRound(92 * ratio), qRound(54 * ratio)));
    EXPECT_EQ(tile.devicePixelRatio(), ratio);
    EXPECT_EQ(tile.deviceIndependentSize(), QSizeF(92, 54));
}

// The smallest rectangle holding every pixel that is not the background.
QRect paintedArea(const QImage &tile)
{
    QRect area;
    for (int y = 0; y < tile.height(); ++y)
        for (int x = 0; x < tile.width(); ++x)
            if (tile.pixelColor(x, y) != background)
                area |= QRect(x, y, 1, 1);
    return area;
}

TEST(ThumbnailMaker, FitsTheImageCentredOnTheBackgroundAtDevicePixels)
{
    struct Case { const char *name; QSize source; qreal ratio; QSize drawn; };   // source empty: the video clip
    const Case cases[] = {
        {"wide: full width, bands above and below", {1600, 400}, 1, {92, 23}},
        {"small: enlarged to full height", {50, 50}, 1, {54, 54}},
        {"tall: full height, bands left and right", {200, 1080}, 1, {10, 54}},
        {"the tile's own shape fills it", {920, 540}, 1, {92, 54}},
        {"wide at 2x", {1600, 400}, 2, {184, 46}},
        {"small at 2x", {50, 50}, 2, {108, 108}},
        {"tall at 1.5x", {200, 1080}, 1.5, {15, 81}},
        {"video frame", {}, 1, {92, 52}},
        {"video frame at 2x", {}, 2, {184, 103}},
    };
    QTemporaryDir dir;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const QImage source = filled(c.source, paint);
        const QString path = c.source.isEmpty() ? QStringLiteral("/videos/clip.mp4")
                                                : dir.filePath(QStringLiteral("%1x%2.png").arg(c.source.width()).arg(c.source.height()));
        ASSERT_TRUE(c.source.isEmpty() || source.save(path));

        const QImage tile = thumbnail(c.source.isEmpty() ? CaptureKind::video : CaptureKind::screenshot, path, c.ratio);
        expectTileShape(tile, c.ratio);
        const QRect area = paintedArea(tile);
        EXPECT_EQ(area.size(), c.drawn);
        // Centred to the pixel: the bands on either side differ by at most one.
        EXPECT_LE(std::abs(area.left() + area.right() - (tile.width() - 1)), 1) << area.left();
        EXPECT_LE(std::abs(area.top() + area.bottom() - (tile.height() - 1)), 1) << area.top();
        int off = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                off += !near(tile.pixelColor(x, y), paint, 3);
        EXPECT_EQ(off, 0);
    }
}

TEST(ThumbnailMaker, DrawsThePlaceholderForAnythingItCannotShow)
{
    QTemporaryDir dir;
    ASSERT_TRUE(filled({40, 40}, paint).save(dir.filePath("picture.png")));
    writeFile(dir.filePath("notes.png"), "not a picture");
    struct Case { const char *name; CaptureKind kind; QString path; qreal ratio; };
    const Case cases[] = {
        {"missing screenshot at 2x", CaptureKind::screenshot, dir.filePath("gone.png"), 2},
        {"unreadable screenshot", CaptureKind::screenshot, dir.filePath("notes.png"), 1},
        {"not a screenshot, even with a picture at its path", CaptureKind::video, dir.filePath("picture.png"), 1},
        {"a video without a frame", CaptureKind::video, dir.filePath("other.mp4"), 1},
        {"a screenshot never asks the video decoder", CaptureKind::screenshot, "/videos/clip.mp4", 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const QImage tile = thumbnail(c.kind, c.path, c.ratio);
        expectTileShape(tile, c.ratio);
        const auto at = [&](double fx, double fy) {
            return tile.pixelColor(int(fx * tile.width()), int(fy * tile.height()));
        };
        const QColor grey = at(0, 0);
        EXPECT_TRUE(grey.red() == grey.green() && grey.green() == grey.blue() && grey.red() > 50 && grey.red() < 110)
            << grey.name().toStdString();
        // Inside the triangle, then outside each of its three sides and in the far corner.
        EXPECT_TRUE(near(at(0.51, 0.5), Qt::white, 0));
        for (const auto &[x, y] : {std::pair{0.38, 0.5}, {0.5, 0.26}, {0.5, 0.74}, {0.74, 0.5}, {0.99, 0.99}})
            EXPECT_EQ(at(x, y), grey) << x << ", " << y;
    }
}

} // namespace
