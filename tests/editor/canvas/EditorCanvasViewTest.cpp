#include "editor/canvas/EditorCanvasView.h"

#include "editor/window/EditorWindowTestSupport.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

using namespace EditorWindowTestSupport;

namespace {

// A canvas shown in its own window, driven with Qt Test's mouse helpers.
class CanvasViewTest : public ::testing::Test {
protected:
    void open(const QImage &image, qreal zoom = 1.0)
    {
        view = std::make_unique<EditorCanvasView>(image);
        view->model().setZoom(zoom);
        view->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
        undoSpy = std::make_unique<QSignalSpy>(&view->model(), &EditorCanvasModel::canUndoChanged);
    }

    void dragWith(EditTool tool, QPoint from, QPoint to)
    {
        view->model().setTool(tool);
        drag(view.get(), from, to);
    }

    std::unique_ptr<EditorCanvasView> view;
    std::unique_ptr<QSignalSpy> undoSpy;
};

// The tools themselves are covered on the model; here the mouse must reach it.
TEST_F(CanvasViewTest, DragsDrawThroughTheModelAndReportUndoOnce)
{
    const QImage white = solid(200, 150, Qt::white);
    open(white);
    view->clearFocus();
    dragWith(EditTool::rectangle, {30, 40}, {150, 120});
    EXPECT_TRUE(view->hasFocus()); // the press focuses the canvas
    EXPECT_GT(differingPixels(view->image(), white), 0);
    dragWith(EditTool::rectangle, {40, 50}, {140, 110});
    ASSERT_EQ(undoSpy->count(), 1);
    EXPECT_TRUE(undoSpy->at(0).at(0).toBool());

    QSignalSpy redoSpy(&view->model(), &EditorCanvasModel::canRedoChanged);
    while (view->undo()) {
    }
    EXPECT_TRUE(samePixels(view->image(), white));
    EXPECT_FALSE(undoSpy->last().at(0).toBool());
    ASSERT_EQ(redoSpy.count(), 1);
    EXPECT_TRUE(redoSpy.at(0).at(0).toBool());
}

TEST_F(CanvasViewTest, CropAndUndoResizeTheWidgetToTheFrame)
{
    const QImage original = noise(400, 300, 12);
    open(original, 0.5);
    EXPECT_EQ(view->size(), QSize(200, 150));
    dragWith(EditTool::crop, {20, 30}, {120, 80});
    EXPECT_TRUE(samePixels(view->image(), original.copy(40, 60, 200, 100)));
    EXPECT_EQ(view->size(), QSize(100, 50));

    view->undo();
    EXPECT_EQ(view->size(), QSize(200, 150));
    view->redo();
    EXPECT_EQ(view->size(), QSize(100, 50));
}

TEST_F(CanvasViewTest, RegionDragsShowADashedWhiteFrame)
{
    open(solid(200, 150, Qt::black));
    view->model().setTool(EditTool::crop);
    QTest::mousePress(view.get(), Qt::LeftButton, {}, {20, 20});
    QTest::mouseMove(view.get(), {150, 100});
    const QImage shown = view->grab().toImage();
    int white = 0, dark = 0;
    for (int x = 20; x < 150; ++x)
        (shown.pixelColor(x, 20).lightness() > 200 ? white : dark)++;
    EXPECT_GT(white, 60); // 7 on, 5 off along the top edge
    EXPECT_GT(dark, 35);
    QTest::mouseRelease(view.get(), Qt::LeftButton, {}, {150, 100});
    EXPECT_EQ(view->image().size(), QSize(130, 80));
    EXPECT_EQ(view->grab().toImage().pixelColor(5, 5), QColor(Qt::black));
}

} // namespace
