#include "editor/document/CanvasGeometry.h"
#include "editor/document/EditorCanvasModel.h"

#include "editor/EditorTestImages.h"

namespace G = CanvasGeometry;

TEST(CanvasGeometry, FitZoomStaysBetweenTheFloorAndTheMaximum)
{
    EXPECT_DOUBLE_EQ(G::fitZoom({4000, 3000}, {800, 600}, 1.0), 0.2);
    EXPECT_DOUBLE_EQ(G::fitZoom({4000, 3000}, {100, 600}, 1.0), 0.08); // 0.025 raised to the floor
    EXPECT_DOUBLE_EQ(G::fitZoom({200, 100}, {1000, 800}, 1.0), 1.0);
    EXPECT_DOUBLE_EQ(G::fitZoom({200, 100}, {1000, 800}, 3.0), 3.0);
    EXPECT_DOUBLE_EQ(G::fitZoom({100, 0}, {10, 10}, 1.0), 1.0);
    EXPECT_DOUBLE_EQ(G::fitZoom({0, 100}, {10, 10}, 1.0), 1.0);
    // The viewport keeps a margin and falls back to half.
    EXPECT_DOUBLE_EQ(G::viewportFitZoom({4000, 3000}, {864, 664}), 0.2);
    EXPECT_DOUBLE_EQ(G::viewportFitZoom({200, 100}, {864, 664}), 1.0);
    EXPECT_DOUBLE_EQ(G::viewportFitZoom({200, 100}, {84, 500}), 0.5);
    EXPECT_DOUBLE_EQ(G::viewportFitZoom({200, 100}, {500, 84}), 0.5);
}

TEST(CanvasGeometry, FramesAreAtLeastOnePointAndOverlaysStayInTheView)
{
    EXPECT_EQ(G::frameSize({0, 0}, 1.0), QSizeF(1, 1));
    EXPECT_EQ(G::frameSize({300, 200}, 0.5), QSizeF(150, 100));
    EXPECT_EQ(G::frameSize({3, 200}, 0.25), QSizeF(1, 50));
    EXPECT_EQ(EditorCanvasModel(QImage()).frameSize(), QSizeF(1, 1));
    EXPECT_FALSE(EditorCanvasModel(QImage()).pngData().has_value());
    // A text box keeps the click at its lower left, inside the view.
    EXPECT_EQ(G::textBoxFrame({700, 300}, {800, 600}), QRectF(370, 115, 430, 185));
    EXPECT_EQ(G::textBoxFrame({100, 50}, {800, 600}), QRectF(100, 0, 430, 185));
    EXPECT_EQ(G::textBoxFrame({-5, 900}, {800, 600}), QRectF(0, 415, 430, 185));
    EXPECT_EQ(G::textBoxFrame({10, 10}, {300, 100}), QRectF(0, 0, 300, 100));
    // A pasted image floats centred, at most half the view.
    EXPECT_EQ(G::centeredOverlayRect({800, 600}, {4000, 3000}), QRectF(180, 135, 440, 330));
    EXPECT_EQ(G::centeredOverlayRect({800, 600}, {1, 500}), QRectF(368, 135, 64, 330));
}
