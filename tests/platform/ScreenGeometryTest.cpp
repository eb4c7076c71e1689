#include "platform/ScreenGeometry.h"

#include <gtest/gtest.h>

TEST(ScreenGeometry, ChoosesTheScreenUnderThePointWithFallbacks)
{
    const QRectF left(0, 0, 1920, 1080), right(1920, 0, 1280, 800), above(-200, -900, 1440, 900);
    const struct { const char *name; QList<QRectF> frames; QPointF point; std::optional<qsizetype> mainIndex, expected; } cases[] = {
        {"on the seam belongs to the right screen", {left, right}, {1920, 10}, 0, 1},
        {"last column of the left screen", {left, right}, {1919.5, 10}, 1, 0},
        {"bottom edge is outside", {left, right}, {100, 1080}, 1, 1},
        {"top edge is inside", {left, right.translated(0, 100)}, {2000, 100}, 0, 1},
        {"negative coordinates above", {left, above}, {0, -1}, 0, 1},
        {"below the shorter screen falls back to main", {left, right}, {2000, 900}, 1, 1},
        {"outside everything, no main", {left, right}, {-50, -50}, std::nullopt, 0},
        {"main index out of range", {left, right}, {-50, -50}, 7, 0},
        {"overlapping frames: list order wins", {left, QRectF(100, 100, 50, 50)}, {120, 120}, 1, 0},
        {"no screens at all", {}, {0, 0}, 0, std::nullopt},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ScreenGeometry::screenIndexContaining(c.frames, c.point, c.mainIndex), c.expected)
            << c.name;
}

TEST(ScreenGeometry, CentresAWindowInTheAvailableArea)
{
    const struct { QSize window; QRect available; QPoint expected; } cases[] = {
        {{800, 600}, {1920, 25, 1280, 775}, {2160, 112}},     // second screen, panel on top
        {{801, 601}, {0, 0, 1920, 1080}, {559, 239}},         // half pixels round down
        {{2000, 1200}, {0, 0, 1920, 1080}, {-40, -60}},       // bigger than the area
        {{300, 200}, {-1440, -900, 1440, 900}, {-870, -550}},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ScreenGeometry::centredTopLeft(c.window, c.available), c.expected) << c.window.width();
}
