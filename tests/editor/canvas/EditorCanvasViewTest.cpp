#include "editor/window/EditorWindowTestSupport.h"

namespace {

TEST_F(CanvasTest, CropShowsADashedWhiteFrameAndUndoAndResizingResizeTheWidget)
{
    const QImage original = noise(400, 300, 12);
    open(original, 0.5);
    EXPECT_EQ(canvas->size(), QSize(200, 150));
    model().setTool(EditTool::crop);
    QTest::mousePress(canvas.get(), Qt::LeftButton, {}, {20, 30});
    QTest::mouseMove(canvas.get(), {120, 80});
    const auto whiteAlongTheTop = [this] {
        const QImage shown = canvas->grab().toImage();
        int white = 0;
        for (int x = 20; x < 100; ++x)
            white += shown.pixelColor(x, 30) == QColor(Qt::white);
        return white;
    };
    EXPECT_NEAR(whiteAlongTheTop(), 80 * 7 / 12, 12); // 7 on, 5 off
    QTest::mouseRelease(canvas.get(), Qt::LeftButton, {}, {120, 80});
    EXPECT_TRUE(samePixels(canvas->image(), original.copy(40, 60, 200, 100)));
    EXPECT_EQ(canvas->size(), QSize(100, 50));
    EXPECT_LT(whiteAlongTheTop(), 5);
    canvas->undo();
    EXPECT_EQ(canvas->size(), QSize(200, 150));
    canvas->redo();
    EXPECT_EQ(canvas->size(), QSize(100, 50));
    model().resizeImage(2);
    EXPECT_EQ(canvas->size(), QSize(200, 100));
    // The helper's press is sent, not spontaneous: Qt leaves the focus to the canvas.
    canvas->clearFocus();
    drag(canvas.get(), {10, 10}, {10, 10});
    EXPECT_TRUE(canvas->hasFocus());
}

} // namespace
