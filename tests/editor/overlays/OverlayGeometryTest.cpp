#include "editor/overlays/ImageOverlayGeometry.h"
#include "editor/overlays/TextOverlayGeometry.h"

#include <gtest/gtest.h>

namespace {

using Handle = ImageResizeHandle;
namespace Image = ImageOverlayGeometry;
namespace Text = TextOverlayGeometry;

const QRectF canvas(0, 0, 800, 600);
const QRectF start(100, 200, 200, 100); // left 100, top 200, right 300, bottom 300

TEST(ImageOverlayGeometry, EachHandleMovesItsOwnEdges)
{
    for (const auto &[name, handle, delta, shift, expected] : {
        std::tuple{"none stays", Handle::none, QPointF(30, 40), false, start},
        {"move", Handle::move, {30, 40}, false, {130, 240, 200, 100}},
        {"topLeft", Handle::topLeft, {30, 40}, false, {130, 240, 170, 60}},
        {"top", Handle::top, {30, -40}, false, {100, 160, 200, 140}},
        {"topRight", Handle::topRight, {30, 40}, false, {100, 240, 230, 60}},
        {"right", Handle::right, {-30, 40}, false, {100, 200, 170, 100}},
        {"bottomRight", Handle::bottomRight, {30, 40}, false, {100, 200, 230, 140}},
        {"bottom", Handle::bottom, {30, -40}, false, {100, 200, 200, 60}},
        {"bottomLeft", Handle::bottomLeft, {30, 40}, false, {130, 200, 170, 140}},
        {"left", Handle::left, {-30, 40}, false, {70, 200, 230, 100}},
        // Past the opposite edge a side stops at 28 and that edge stays where it was.
        {"left beyond the right", Handle::left, {500, 0}, false, {272, 200, 28, 100}},
        {"right beyond the left", Handle::right, {-500, 0}, false, {100, 200, 28, 100}},
        {"top beyond the bottom", Handle::top, {0, 300}, false, {100, 272, 200, 28}},
        {"bottom beyond the top", Handle::bottom, {0, -300}, false, {100, 200, 200, 28}},
        // Shift: the ratio 2:1 stays; the leading direction decides which edges stay.
        {"bottomRight sideways keeps the top", Handle::bottomRight, {100, 10}, true, {100, 200, 300, 150}},
        {"bottomRight downwards keeps the left", Handle::bottomRight, {10, 100}, true, {100, 200, 400, 200}},
        {"bottomRight diagonally: the height leads", Handle::bottomRight, {30, 30}, true, {100, 200, 260, 130}},
        {"topLeft sideways keeps the bottom", Handle::topLeft, {-100, 10}, true, {0, 150, 300, 150}},
        {"topLeft upwards keeps the right", Handle::topLeft, {0, -50}, true, {0, 150, 300, 150}},
        {"right grows upwards", Handle::right, {100, 0}, true, {100, 150, 300, 150}},
        {"bottom grows rightwards", Handle::bottom, {0, 50}, true, {100, 200, 300, 150}},
        {"shift does not apply to moving", Handle::move, {10, 20}, true, {110, 220, 200, 100}},
        // The canvas holds the result; wider than the canvas, it is as wide as the canvas, moved back inside.
        {"move past the corner", Handle::move, {900, 900}, false, {600, 500, 200, 100}},
        {"right past the canvas", Handle::right, {900, 0}, false, {0, 200, 800, 100}},
    })
        EXPECT_EQ(Image::dragged(handle, start, delta, shift, canvas), expected) << name;
}

TEST(ImageOverlayGeometry, HitTestFindsHandlesWithSlackThenTheBody)
{
    const QSizeF size(200, 100);
    for (const auto &[point, expected] : {
        std::pair{QPointF(0, 0), Handle::topLeft},      {{-8, -8}, Handle::topLeft}, {{-10, 0}, Handle::none},
        {{100, 3}, Handle::top},        {{200, 0}, Handle::topRight}, {{205, 50}, Handle::right},
        {{200, 100}, Handle::bottomRight}, {{100, 108}, Handle::bottom}, {{0, 100}, Handle::bottomLeft},
        {{-4, 50}, Handle::left},       {{60, 30}, Handle::move},     {{199, 9}, Handle::topRight},
        {{199, 30}, Handle::move},      {{250, 50}, Handle::none},   {{200, 30}, Handle::move},
        {{0, 30}, Handle::move},        {{60, 0}, Handle::move}}) // the left and top edges are the body's too
        EXPECT_EQ(Image::hitTest(point, size), expected) << point.x() << "," << point.y();
}

TEST(ImageOverlayGeometry, ArrowKeysAndClampingKeepTheFrameInsideTheCanvas)
{
    EXPECT_EQ(Image::nudged(start, {1, 0}, false, canvas), QRectF(101, 200, 200, 100));
    EXPECT_EQ(Image::nudged({3, 5, 50, 50}, {-10, 0}, false, canvas), QRectF(0, 5, 50, 50)); // stops at the edge
    // Alt resizes: down shrinks from the top.
    EXPECT_EQ(Image::nudged(start, {0, 1}, true, canvas), QRectF(100, 201, 200, 99));
    EXPECT_EQ(Image::nudged({100, 200, 33, 100}, {-10, 0}, true, canvas), QRectF(100, 200, 28, 100)); // 28 at least
    EXPECT_EQ(Image::nudged({700, 200, 100, 100}, {10, 0}, true, canvas), QRectF(690, 200, 110, 100)); // back inside
    // Clamping shrinks only what does not fit.
    EXPECT_EQ(Image::clamped({-50, 700, 100, 100}, canvas), QRectF(0, 500, 100, 100));
    EXPECT_EQ(Image::clamped({100, 100, 1000, 50}, canvas), QRectF(0, 100, 800, 50));
    EXPECT_EQ(Image::clamped({10, 10, 20, 20}, canvas), QRectF(10, 10, 20, 20));
}

const QRectF box(100, 100, 430, 185);
const QSizeF parent(800, 600);

TEST(TextOverlayGeometry, TheGripMovesAndTheCornerResizesInsideTheCanvas)
{
    EXPECT_EQ(Text::moved(box, {50, -30}, parent), QRectF(150, 70, 430, 185));
    EXPECT_EQ(Text::moved(box, {-500, -500}, parent), QRectF(0, 0, 430, 185));
    // A box larger than the canvas stays at the top left.
    EXPECT_EQ(Text::moved(QRectF(0, 0, 430, 185), {40, 40}, QSizeF(300, 150)), QRectF(0, 0, 430, 185));
    EXPECT_EQ(Text::resized(box, {40, 60}, parent), QRectF(100, 100, 470, 245));
    EXPECT_EQ(Text::resized(box, {900, 0}, parent), QRectF(100, 100, 700, 185));     // not past the edges
    EXPECT_EQ(Text::resized(box, {0, 900}, parent), QRectF(100, 100, 430, 500));
    EXPECT_EQ(Text::resized({0, 0, 200, 150}, {100, 0}, {200, 400}), QRectF(0, 0, 200, 150)); // a narrow canvas caps it
    EXPECT_EQ(Text::resized({0, 500, 300, 100}, {0, 0}, parent), QRectF(0, 500, 300, 120)); // the minimum wins
}

TEST(TextOverlayGeometry, TheTextLandsAtTheTextAreaDividedByTheZoom)
{
    // Below the 34-point header and inside the 8-point margins.
    EXPECT_EQ(Text::textAreaRect(box.size()), QRectF(8, 42, 414, 135));
    EXPECT_EQ(Text::textImageRect(box.translated(100, 200), 1.0), QRectF(208, 342, 414, 135));
    EXPECT_EQ(Text::textImageRect(box.translated(100, 200), 2.0), QRectF(104, 171, 207, 67.5));
    // The header's buttons keep their distance from the right edge.
    EXPECT_EQ(Text::closeButtonRect({300, 150}), QRectF(228, 4, 30, 26));
    EXPECT_EQ(Text::resizeHandleRect({300, 150}), QRectF(284, 134, 16, 16));
}

} // namespace
