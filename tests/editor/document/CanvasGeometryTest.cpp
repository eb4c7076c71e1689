#include "editor/document/CanvasGeometry.h"
#include "editor/document/EditorCanvasModel.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

TEST(CanvasGeometry, FitZoomStaysBetweenTheFloorAndTheMaximum)
{
    const struct {
        QSizeF image, available;
        qreal maximum, zoom;
    } cases[] = {
        {{4000, 3000}, {800, 600}, 1.0, 0.2},
        {{4000, 3000}, {100, 600}, 1.0, 0.08}, // 0.025 raised to the floor
        {{200, 100}, {1000, 800}, 1.0, 1.0},
        {{200, 100}, {1000, 800}, 3.0, 3.0},
        {{100, 0}, {10, 10}, 1.0, 1.0},
    };
    for (const auto &c : cases)
        EXPECT_DOUBLE_EQ(CanvasGeometry::fitZoom(c.image, c.available, c.maximum), c.zoom);
}

TEST(CanvasGeometry, ViewportFitKeepsAMarginFallsBackToHalfAndFramesAreAtLeastOnePoint)
{
    EXPECT_DOUBLE_EQ(CanvasGeometry::viewportFitZoom({4000, 3000}, {864, 664}), 0.2);
    EXPECT_DOUBLE_EQ(CanvasGeometry::viewportFitZoom({200, 100}, {864, 664}), 1.0);
    EXPECT_DOUBLE_EQ(CanvasGeometry::viewportFitZoom({200, 100}, {84, 500}), 0.5);
    EXPECT_EQ(CanvasGeometry::frameSize({0, 0}, 1.0), QSizeF(1, 1));
    EXPECT_EQ(CanvasGeometry::frameSize({300, 200}, 0.5), QSizeF(150, 100));
    EXPECT_EQ(CanvasGeometry::frameSize({3, 200}, 0.25), QSizeF(1, 50));
    EXPECT_EQ(EditorCanvasModel(QImage()).frameSize(), QSizeF(1, 1));
}

TEST(CanvasGeometry, TextBoxKeepsTheClickAtItsLowerLeftInsideTheView)
{
    const struct {
        QPointF click;
        QSizeF view;
        QRectF box;
    } cases[] = {
        {{100, 300}, {800, 600}, {100, 115, 430, 185}},
        {{700, 300}, {800, 600}, {370, 115, 430, 185}}, // pushed left
        {{100, 50}, {800, 600}, {100, 0, 430, 185}},    // pushed down from the top
        {{-5, 900}, {800, 600}, {0, 415, 430, 185}},    // click outside the view
        {{10, 10}, {300, 100}, {0, 0, 300, 100}},       // view smaller than the box
    };
    for (const auto &c : cases)
        EXPECT_EQ(CanvasGeometry::textBoxFrame(c.click, c.view), c.box);
}

TEST(CanvasGeometry, PastedImagesFloatCentredAtMostHalfTheView)
{
    EXPECT_EQ(CanvasGeometry::centeredOverlayRect({800, 600}, {4000, 3000}), QRectF(180, 135, 440, 330));
    EXPECT_EQ(CanvasGeometry::centeredOverlayRect({800, 600}, {10, 10}), QRectF(368, 268, 64, 64));
    EXPECT_EQ(CanvasGeometry::centeredOverlayRect({800, 600}, {1, 500}), QRectF(368, 135, 64, 330));
}

// Nothing else guards the signal only firing on a change.
TEST(CanvasZoom, StepsStopAtTheirLimitsAndReportOnlyChanges)
{
    EditorCanvasModel canvas(QImage(400, 200, QImage::Format_ARGB32_Premultiplied));
    QSignalSpy zooms(&canvas, &EditorCanvasModel::zoomChanged);
    for (int i = 0; i < 5; ++i)
        canvas.zoomIn();
    EXPECT_DOUBLE_EQ(canvas.zoom(), 2.0);
    EXPECT_EQ(zooms.count(), 4);
    canvas.resetZoom();
    for (int i = 0; i < 4; ++i)
        canvas.zoomOut();
    EXPECT_DOUBLE_EQ(canvas.zoom(), 0.25);
    EXPECT_EQ(zooms.count(), 8);
}

} // namespace
