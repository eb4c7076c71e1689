#include "editor/EditorCanvasView.h"

#include "EditorTestImages.h"

#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using namespace EditorTestImages;

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

    void dragWith(EditTool tool, QPoint from, QPoint to, int steps = 3)
    {
        view->model().setTool(tool);
        QTest::mousePress(view.get(), Qt::LeftButton, {}, from);
        for (int i = 1; i <= steps; ++i)
            QTest::mouseMove(view.get(), from + (to - from) * i / steps);
        QTest::mouseRelease(view.get(), Qt::LeftButton, {}, to);
    }

    void clickWith(EditTool tool, QPoint at)
    {
        view->model().setTool(tool);
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, at);
    }

    std::unique_ptr<EditorCanvasView> view;
    std::unique_ptr<QSignalSpy> undoSpy;
};

TEST_F(CanvasViewTest, ATwoPointRectangleDrawsNothingAndRecordsNoStep)
{
    const QImage white = solid(200, 150, Qt::white);
    open(white);
    dragWith(EditTool::rectangle, {30, 40}, {150, 42});
    dragWith(EditTool::rectangle, {60, 60}, {60, 60}, 0);
    EXPECT_EQ(differingPixels(view->image(), white), 0);
    EXPECT_FALSE(view->model().canUndo());
    EXPECT_EQ(undoSpy->count(), 0);

    dragWith(EditTool::rectangle, {30, 40}, {150, 120});
    EXPECT_GT(differingPixels(view->image(), white), 0);
    ASSERT_EQ(undoSpy->count(), 1);
    EXPECT_TRUE(undoSpy->at(0).at(0).toBool());
}

TEST_F(CanvasViewTest, AHorizontalFourPointLineDraws)
{
    open(solid(120, 80, Qt::white));
    view->model().setColor(Qt::black);
    dragWith(EditTool::line, {50, 40}, {54, 40}, 2);
    EXPECT_LT(view->image().pixelColor(52, 40).lightness(), 64);
    EXPECT_EQ(view->image().pixelColor(52, 30), QColor(Qt::white));
    EXPECT_TRUE(view->model().canUndo());
}

TEST_F(CanvasViewTest, CalloutsCountUpAndAnUndoneNumberIsNotReused)
{
    open(solid(300, 100, Qt::darkGray));
    for (int i = 0; i < 3; ++i)
        clickWith(EditTool::callout, {50 + 100 * i, 50});
    const QImage three = view->image().copy();
    EXPECT_EQ(view->model().calloutNumber(), 4);

    view->undo();
    clickWith(EditTool::callout, {250, 50});
    // The stamp in the third place now shows "4", not the "3" that was undone.
    EXPECT_GT(differingPixels(view->image(), three, QRect(230, 30, 40, 40)), 10);
    EXPECT_EQ(differingPixels(view->image(), three, QRect(0, 0, 200, 100)), 0);

    // The same click as the fourth on a fresh canvas gives the same pixels.
    EditorCanvasModel fresh(solid(300, 100, Qt::darkGray));
    fresh.setTool(EditTool::callout);
    for (QPointF p : {QPointF(50, 50), QPointF(150, 50), QPointF(10, 10), QPointF(250, 50)})
        fresh.press(p);
    EXPECT_EQ(differingPixels(view->image(), fresh.image(), QRect(200, 0, 100, 100)), 0);
}

TEST_F(CanvasViewTest, CropAndUndoRestoreSizeAndFrame)
{
    const QImage original = noise(400, 300, 12);
    open(original, 0.5);
    EXPECT_EQ(view->size(), QSize(200, 150));
    dragWith(EditTool::crop, {20, 30}, {120, 80});
    EXPECT_EQ(view->image().size(), QSize(200, 100));
    EXPECT_TRUE(samePixels(view->image(), original.copy(40, 60, 200, 100)));
    EXPECT_EQ(view->size(), QSize(100, 50));

    view->undo();
    EXPECT_TRUE(samePixels(view->image(), original));
    EXPECT_EQ(view->size(), QSize(200, 150));
    view->redo();
    EXPECT_EQ(view->size(), QSize(100, 50));
}

TEST_F(CanvasViewTest, ThirtyOneEditsLoseTheFirst)
{
    const QImage white = solid(200, 200, Qt::white);
    open(white);
    view->model().setColor(Qt::blue);
    dragWith(EditTool::rectangle, {10, 10}, {60, 60});
    const QImage afterFirst = view->image().copy();
    for (int i = 1; i < 31; ++i)
        dragWith(EditTool::rectangle, {70 + i * 3, 70}, {120 + i * 2, 120 + i});
    EXPECT_EQ(view->model().undoCount(), 30);
    QSignalSpy redoSpy(&view->model(), &EditorCanvasModel::canRedoChanged);
    while (view->undo()) {
    }
    EXPECT_TRUE(samePixels(view->image(), afterFirst));
    EXPECT_FALSE(view->model().canUndo());
    EXPECT_FALSE(undoSpy->isEmpty());
    EXPECT_FALSE(undoSpy->last().at(0).toBool());
    ASSERT_EQ(redoSpy.count(), 1);
    EXPECT_TRUE(redoSpy.at(0).at(0).toBool());

    dragWith(EditTool::rectangle, {10, 100}, {60, 150}); // a new edit forgets the redo steps
    EXPECT_FALSE(view->model().canRedo());
}

TEST_F(CanvasViewTest, EachFilterChangesAKnownPatch)
{
    struct Case {
        std::string name;
        std::function<void(EditorCanvasModel &)> apply;
        QColor expected; // from a (200, 120, 40) patch
    };
    const std::vector<Case> cases = {
        {"grayscale", [](EditorCanvasModel &m) { m.grayscale(); }, QColor(139, 139, 139)},
        {"brighten", [](EditorCanvasModel &m) { m.adjustExposure(0.35); }, QColor(223, 134, 46)},
        {"darken", [](EditorCanvasModel &m) { m.adjustExposure(-0.35); }, QColor(179, 107, 35)},
        {"sepia", [](EditorCanvasModel &m) { m.sepia(); }, QColor(184, 149, 103)},
        {"invert", [](EditorCanvasModel &m) { m.invertColors(); }, QColor(55, 135, 215)},
        {"sharpen", [](EditorCanvasModel &m) { m.sharpen(); }, QColor(200, 120, 40)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        open(solid(40, 30, QColor(200, 120, 40)));
        c.apply(view->model());
        const QColor got = view->image().pixelColor(20, 15);
        EXPECT_NEAR(got.red(), c.expected.red(), 1);
        EXPECT_NEAR(got.green(), c.expected.green(), 1);
        EXPECT_NEAR(got.blue(), c.expected.blue(), 1);
        EXPECT_EQ(undoSpy->count(), 1);
    }
}

TEST_F(CanvasViewTest, AMarkerStrokeStaysTranslucentWhateverTheOpacity)
{
    for (qreal opacity : {0.3, 0.5, 1.0}) {
        SCOPED_TRACE(opacity);
        open(solid(200, 100, Qt::white));
        view->model().setColor(QColor(0, 0, 255));
        view->model().setOpacity(opacity);
        dragWith(EditTool::marker, {20, 50}, {180, 50}, 1);
        const QColor c = view->image().pixelColor(100, 50);
        EXPECT_NEAR(c.red(), 179, 2); // 30 % blue over white
        EXPECT_EQ(c.blue(), 255);
        EXPECT_EQ(view->model().undoCount(), 1);
    }
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

TEST_F(CanvasViewTest, ThePressFocusesTheCanvasAndAClickWithTextOpensTheHook)
{
    open(solid(600, 300, Qt::white));
    QSignalSpy texts(&view->model(), &EditorCanvasModel::textToolPressed);
    clickWith(EditTool::text, {50, 250});
    EXPECT_TRUE(view->hasFocus());
    ASSERT_EQ(texts.count(), 1);
    EXPECT_EQ(texts.at(0).at(1).toRectF(), QRectF(50, 65, 430, 185));
    EXPECT_FALSE(view->model().canUndo());
}

} // namespace
