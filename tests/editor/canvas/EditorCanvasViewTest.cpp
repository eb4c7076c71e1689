#include "editor/window/EditorWindowTestSupport.h"

namespace {

// The tools themselves are covered on the model; here the mouse must reach it.
TEST_F(CanvasTest, DragsDrawThroughTheModelAndReportUndoOnce)
{
    const QImage white = solid(200, 150, Qt::white);
    open(white);
    QSignalSpy undoSpy(&model(), &EditorCanvasModel::canUndoChanged), redoSpy(&model(), &EditorCanvasModel::canRedoChanged);
    canvas->clearFocus();
    drag(canvas.get(), {30, 40}, {150, 120});
    EXPECT_TRUE(canvas->hasFocus()); // the press focuses the canvas
    EXPECT_GT(differingPixels(canvas->image(), white), 0);
    drag(canvas.get(), {40, 50}, {140, 110});
    while (canvas->undo()) {
    }
    EXPECT_TRUE(samePixels(canvas->image(), white));
    EXPECT_EQ(QList<QVariantList>(undoSpy), (QList<QVariantList>{{true}, {false}})); // once each way
    EXPECT_EQ(QList<QVariantList>(redoSpy), QList<QVariantList>{{true}});
}

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
}

} // namespace
