#include "capture/CaptureTestDoubles.h"
#include "capture/screenshot/ScreenshotCrop.h"

TEST(ScreenshotCrop, MapsSelectionsToWholeDevicePixels)
{
    const QRectF hd(0, 0, 1920, 1080), second(1920, 0, 1280, 800);
    const struct { const char *name; QRectF selection, frame; QSize image; std::optional<QRect> pixels; QSizeF pointSize; } cases[] = {
        {"scale 2 doubles every side", {100, 50, 100, 50}, hd, {3840, 2160}, QRect(200, 100, 200, 100), {100, 50}},
        {"second screen is offset", {2020, 10, 30, 40}, second, {2560, 1600}, QRect(200, 20, 60, 80), {30, 40}},
        // 1.5 × 11 = 16.5 floors to 16; far edge 16.5 + 150 = 166.5 ceils to 167.
        {"scale 1.5 fractional origin widens", {11, 11, 100, 50}, hd, {2880, 1620}, QRect(16, 16, 151, 76), {100, 50}},
        {"scale 1.5 fractional size widens", {10, 10, 101, 51}, hd, {2880, 1620}, QRect(15, 15, 152, 77), {101, 51}},
        {"past the left and top edges", {-50, -30, 150, 80}, hd, {1920, 1080}, QRect(0, 0, 100, 50), {100, 50}},
        {"past the right and bottom edges at scale 2", {1900, 1000, 100, 200}, hd, {3840, 2160}, QRect(3800, 2000, 40, 160), {20, 80}},
        {"one point tall", {10, 10, 50, 1}, hd, {1920, 1080}, QRect(10, 10, 50, 1), {50, 1}},
        {"one point wide", {10, 10, 1, 50}, hd, {1920, 1080}, QRect(10, 10, 1, 50), {1, 50}},
        {"touching the edge only", {1920, 10, 50, 50}, hd, {1920, 1080}, std::nullopt, {}},
        {"thinner than a point after clipping", {1919.5, 10, 50, 50}, hd, {1920, 1080}, std::nullopt, {}},
        {"empty image", {10, 10, 50, 50}, hd, {0, 0}, std::nullopt, {}},
    };
    for (const auto &c : cases) {
        const auto region = ScreenshotCrop::pixelRegion(c.selection, c.frame, c.image);
        EXPECT_EQ(region ? std::optional(std::pair(region->pixels, region->pointSize)) : std::nullopt,
                  c.pixels ? std::optional(std::pair(*c.pixels, c.pointSize)) : std::nullopt) << c.name;
    }
}

TEST(ScreenshotCrop, CutsTheSelectedPixelsAtFullDensity)
{
    const QImage frozen = coordinateImage({1600, 1200});   // an 800 × 600 screen at scale 2
    const QRectF frame(800, 0, 800, 600);
    const auto result = ScreenshotCrop::crop(frozen, frame, QRectF(900, 50, 100, 50));
    ASSERT_TRUE(result);
    EXPECT_DOUBLE_EQ(result->image.devicePixelRatio(), 2.0);
    EXPECT_EQ(result->image, frozen.copy(200, 100, 200, 100));
    // A selection past every edge takes the whole frozen image.
    EXPECT_EQ(ScreenshotCrop::crop(frozen, frame, frame.adjusted(-10, -10, 10, 10)).value().image, frozen);

    EXPECT_FALSE(ScreenshotCrop::crop(frozen, frame, QRectF(0, 0, 100, 100)));
}
