#include "editor/document/EditorCanvasModel.h"

#include "editor/EditorTestImages.h"

namespace {

void drag(EditorCanvasModel &canvas, QLineF d, int steps = 4)
{
    canvas.press(d.p1());
    for (int i = 1; i <= steps; ++i)
        canvas.drag(d.pointAt(qreal(i) / steps));
    canvas.release(d.p2());
}

void use(EditorCanvasModel &canvas, EditTool tool, const QColor &color, qreal lineWidth)
{
    canvas.setTool(tool);
    canvas.setColor(color);
    canvas.setLineWidth(lineWidth);
}

QColor at(const EditorCanvasModel &canvas, int x, int y) { return canvas.image().pixelColor(x, y); }

TEST(CanvasTools, ClicksAndThinDragsLeaveNoTrace)
{
    const QImage white = solid(200, 160, Qt::white);
    for (const auto &[name, tool, zoom, line, steps, step, draws] : {
        std::tuple{"rectangle click", EditTool::rectangle, 1., QLineF(50, 50, 50, 50), 4, false, false},
        {"rectangle 2 high", EditTool::rectangle, 1, {20, 50, 180, 52}, 4, false, false},
        {"rectangle 2 wide", EditTool::rectangle, 1, {50, 20, 52, 150}, 4, false, false},
        {"rectangle 3 by 3", EditTool::rectangle, 1, {50, 50, 53, 53}, 4, true, true},
        {"rectangle 2 image points at zoom 2", EditTool::rectangle, 2, {50, 50, 54, 150}, 4, false, false},
        {"horizontal line of 4", EditTool::line, 1, {40, 50, 44, 50}, 4, true, true},
        {"horizontal line of 3", EditTool::line, 1, {40, 50, 43, 50}, 4, false, false},
        {"vertical arrow of 30", EditTool::arrow, 1, {40, 20, 40, 50}, 4, true, true},
        {"line 3 across 3 up at zoom 0.5", EditTool::line, 0.5, {20, 23, 23, 20}, 4, true, true},
        // A free-hand press records its step even without movement.
        {"pen press", EditTool::pen, 1, {10, 10, 10, 10}, 0, true, false}}) {
        SCOPED_TRACE(name);
        EditorCanvasModel canvas(white);
        canvas.setZoom(zoom);
        use(canvas, tool, Qt::black, 2);
        drag(canvas, line, steps);
        EXPECT_EQ(canvas.undoCount(), step ? 1 : 0);
        EXPECT_EQ(differingPixels(canvas.image(), white) > 0 || canvas.imageSize() != QSizeF(200, 160), draws);
    }
}

TEST(CanvasTools, StrokeColourAndWidthFollowTheToolNotAlwaysTheOpacity)
{
    // Red at alpha a over white leaves green at 255 × (1 − a); the marker is four times as wide as the
    // pen and always translucent. Rows marked across a horizontal stroke of width 4; 0 to skip.
    for (const auto &[tool, opacity, green, markedRows] :
         {std::tuple{EditTool::pen, 0.3, 0, 4}, {EditTool::pen, 1.0, 0, 4}, {EditTool::marker, 1.0, 179, 16},
          {EditTool::marker, 0.3, 179, 16}, {EditTool::rectangle, 0.5, 128, 0}, {EditTool::rectangle, 1.0, 0, 0}}) {
        SCOPED_TRACE(testing::Message() << int(tool) << " at opacity " << opacity);
        EditorCanvasModel canvas(solid(200, 100, Qt::white));
        use(canvas, tool, QColor(255, 0, 0), 4);
        canvas.setOpacity(opacity);
        // A rectangle's top edge and a free-hand stroke both cross (100, 30).
        drag(canvas, {20, 30, 180, tool == EditTool::rectangle ? 80. : 30.}, 1);
        const QColor p = at(canvas, 100, 30);
        EXPECT_EQ(std::pair(p.red(), p.alpha()), std::pair(255, 255));
        EXPECT_NEAR(p.green(), green, 2);
        int marked = 0;
        for (int y = 0; y < 100; ++y)
            marked += at(canvas, 100, y) != QColor(Qt::white);
        EXPECT_NEAR(markedRows > 0 ? marked : 0, markedRows, 2);
    }
}

TEST(CanvasTools, ArrowHeadOpensThirtyDegreesEitherSide)
{
    EditorCanvasModel canvas(solid(200, 100, Qt::white));
    use(canvas, EditTool::arrow, Qt::black, 2); // head length max(8, 12) = 12
    drag(canvas, {20, 50, 150, 50});
    // The barbs end at E - 12 (cos 30°, ±sin 30°) = (139.6, 44) and (139.6, 56).
    EXPECT_LT(at(canvas, 141, 45).lightness(), 128);
    EXPECT_LT(at(canvas, 141, 55).lightness(), 128);
    EXPECT_EQ(at(canvas, 141, 40), QColor(Qt::white)); // not a wider head
    EXPECT_EQ(at(canvas, 130, 44), QColor(Qt::white)); // not a longer head
    EXPECT_EQ(at(canvas, 155, 50), QColor(Qt::white)); // nothing past the tip
}

TEST(CanvasTools, CalloutDiscFollowsTheLineWidthAndNumbersNeverComeBack)
{
    // Disc d = max(7w, 28) plus half the white outline max(w/2, 2) on each side.
    for (const auto &[lineWidth, expected] : {std::pair{2, 30}, {4, 30}, {10, 75}}) {
        EditorCanvasModel canvas(solid(200, 200, Qt::black));
        use(canvas, EditTool::callout, QColor(0, 0, 255), lineWidth);
        canvas.press({100, 100});
        int width = 0;
        for (int x = 0; x < 200; ++x)
            width += at(canvas, x, 100) != QColor(Qt::black);
        EXPECT_NEAR(width, expected, 2) << lineWidth;
    }
    const auto stamp = [](int stamps, int undosBeforeLast) {
        EditorCanvasModel canvas(solid(160, 120, Qt::darkGray));
        canvas.setTool(EditTool::callout);
        for (int i = 0; i < stamps - 1; ++i)
            canvas.press({40.0 + 30 * i, 30});
        for (int i = 0; i < undosBeforeLast; ++i)
            canvas.undo();
        canvas.press({80, 90});
        return canvas.image().copy(50, 60, 60, 60);
    };
    EXPECT_GT(differingPixels(stamp(1, 0), stamp(2, 0)), 20);
    EXPECT_GT(differingPixels(stamp(2, 0), stamp(3, 0)), 20);
    EXPECT_EQ(differingPixels(stamp(3, 2), stamp(3, 0)), 0); // two stamped, both undone: still "3"
}

TEST(CanvasTools, PixelateAndBlurChangeOnlyTheDraggedRectangle)
{
    const QImage original = noise(200, 160, 8);
    const QRect region(40, 24, 96, 96);
    // The side of uniform cells; 0 for blur.
    for (const auto &[tool, lineWidth, cell] :
         {std::tuple{EditTool::pixelate, 2, 8}, {EditTool::pixelate, 4, 12}, {EditTool::blur, 2, 0}, {EditTool::blur, 10, 0}}) {
        SCOPED_TRACE(int(tool));
        EditorCanvasModel canvas(original);
        use(canvas, tool, Qt::black, lineWidth);
        drag(canvas, {40, 24, 136, 120});
        const QImage out = canvas.image();
        EXPECT_EQ(differingPixels(out, original) - differingPixels(out, original, region), 0);
        EXPECT_GT(differingPixels(out, original, region), region.width() * region.height() * 9 / 10);
        if (cell > 0) {
            // Cells anchored at the origin: one inside the region is a single colour.
            const int x0 = (region.left() / cell + 1) * cell, y0 = (region.top() / cell + 1) * cell;
            const QImage one = out.copy(x0, y0, cell, cell);
            EXPECT_EQ(differingPixels(one, solid(cell, cell, one.pixelColor(0, 0))), 0);
            EXPECT_NE(one.pixel(0, 0), out.pixel(x0 + cell, y0));
        }
        canvas.undo();
        EXPECT_TRUE(samePixels(canvas.image(), original));
    }
}

TEST(CanvasTools, InsertionDragsAndPastesReachTheOverlayHook)
{
    EditorCanvasModel canvas(solid(600, 400, Qt::white));
    QSignalSpy overlays(&canvas, &EditorCanvasModel::imageOverlayRequested);
    canvas.setTool(EditTool::insertImage);
    drag(canvas, {100, 100, 300, 250});
    EXPECT_EQ(overlays.count(), 0); // no image chosen
    canvas.setInsertImage(solid(10, 10, Qt::green));
    drag(canvas, {300, 250, 100, 100});
    ASSERT_EQ(overlays.count(), 1);
    EXPECT_EQ(overlays[0][1].toRectF(), QRectF(100, 100, 200, 150));
    EXPECT_FALSE(canvas.canUndo()); // the overlay records its own step when committed

    canvas.pasteImage(solid(4000, 3000, Qt::red));
    EXPECT_EQ(overlays.count(), 2);
    EXPECT_EQ(canvas.insertImage().size(), QSize(4000, 3000));
}

TEST(CanvasTools, MarksOnADenseImageAreSizedInImagePoints)
{
    // Rectangle sides at x = 20 and 60, 4 wide: points 18 to 62, pixels 36 to 123. A 28-point
    // disc under a 2-point white outline shows 26 points red across. Drags are in image points.
    for (const auto &[tool, line, row, first, last] :
         {std::tuple{EditTool::rectangle, QLineF(20, 20, 60, 50), 70, 36, 123}, {EditTool::callout, {50, 40, 50, 40}, 80, 74, 125}}) {
        SCOPED_TRACE(int(tool));
        EditorCanvasModel canvas(solid(200, 160, Qt::white, 2));
        use(canvas, tool, Qt::red, 4);
        drag(canvas, line);
        const QRect red = inkBounds(canvas.image().copy(0, row, 200, 1), [](QRgb p) { return qRed(p) > 200 && qGreen(p) < 100; });
        EXPECT_NEAR(red.left(), first, 1);
        EXPECT_NEAR(red.right(), last, 1);
    }
}

TEST(CanvasTools, CropResizeUndoAndPngKeepADenseImagesPixels)
{
    QImage original = noise(200, 160, 7);
    original.setPixel(20, 40, qRgba(0, 0, 0, 0)); // transparency survives the PNG too
    const QImage cut = original.copy(20, 40, 180, 120); // points (10, 20) to the corner
    original.setDevicePixelRatio(2);
    EditorCanvasModel canvas(original);
    canvas.setTool(EditTool::crop);
    // The expected pixels, none to compare when null.
    for (const auto &[name, step, expected, points] : {
        std::tuple<const char *, std::function<void()>, const QImage *, QSizeF>{
            "crop held by the view", [&] { drag(canvas, {10, 20, 500, 500}); }, &cut, {90, 60}},
        {"resize to half", [&] { canvas.resizeImage(0.5); }, nullptr, {45, 30}},
        {"undo the resize", [&] { canvas.undo(); }, &cut, {90, 60}},
        {"undo the crop", [&] { canvas.undo(); }, &original, {100, 80}},
        {"redo the crop", [&] { canvas.redo(); }, &cut, {90, 60}}}) {
        SCOPED_TRACE(name);
        step();
        EXPECT_EQ(canvas.imageSize(), points);
        EXPECT_EQ(canvas.frameSize(), points);
        EXPECT_EQ(canvas.image().size(), (points * 2).toSize());
        EXPECT_EQ(canvas.image().devicePixelRatio(), 2.0);
        EXPECT_TRUE(!expected || samePixels(canvas.image(), *expected));
    }
    // The PNG keeps every pixel, not the point size.
    const auto png = canvas.pngData();
    ASSERT_TRUE(png.has_value());
    EXPECT_TRUE(samePixels(QImage::fromData(*png, "PNG"), cut));
}

} // namespace
