#include "editor/window/EditorWindowTestSupport.h"

#include <QFontInfo>
#include <QPlainTextEdit>
#include <QToolButton>

namespace {

class CanvasOverlaysTest : public CanvasTest {
protected:
    EditableTextOverlayView *openText(const QRectF &frame, const QString &text)
    {
        overlays->addText(frame);
        overlays->textOverlay()->textView()->setPlainText(text);
        return overlays->textOverlay();
    }
    EditableImageOverlayView *openImage(const QColor &color, const QRectF &frame)
    {
        overlays->addImageOverlay(solid(10, 10, color), frame);
        return overlays->imageOverlay();
    }
    // A widget position of a point given in the floating image's own coordinates.
    static QPoint on(const EditableImageOverlayView *overlay, QPointF point)
    {
        return (point + overlay->frame().topLeft() - QPointF(overlay->geometry().topLeft())).toPoint();
    }
    QColor at(int x, int y) { return canvas->image().pixelColor(x, y); }
};

TEST_F(CanvasOverlaysTest, HandlesResizeWithTheRatioAndTheBodyMoves)
{
    open(solid(800, 600, Qt::white));
    EditableImageOverlayView *overlay = openImage(Qt::blue, QRectF(100, 200, 200, 100));
    // Shift on the lower-right corner: the 2:1 ratio and the top edge stay.
    drag(overlay, on(overlay, {200, 100}), on(overlay, {300, 110}), Qt::ShiftModifier);
    EXPECT_EQ(overlay->frame(), QRectF(100, 200, 300, 150));
    EXPECT_EQ(overlay->activeHandle(), ImageResizeHandle::none);
    // The body moves it, and the canvas holds it.
    drag(overlay, on(overlay, {150, 75}), on(overlay, {1150, 75}));
    EXPECT_EQ(overlay->frame(), QRectF(500, 200, 300, 150));
    // A press in the shadow beside it is the canvas's: the rectangle tool draws.
    drag(overlay, on(overlay, {-15, 75}), on(overlay, {-115, 175}));
    EXPECT_EQ(overlay->frame(), QRectF(500, 200, 300, 150));
    EXPECT_EQ(model().undoCount(), 1);
}

TEST_F(CanvasOverlaysTest, KeysNudgeApplyAndRemove)
{
    open(solid(800, 600, Qt::white));
    EditableImageOverlayView *overlay = openImage(Qt::black, QRectF(100, 200, 200, 100));
    EXPECT_TRUE(overlay->hasFocus());
    for (const auto &[key, modifiers, expected] : {
        std::tuple{Qt::Key_Right, Qt::KeyboardModifiers(Qt::ShiftModifier), QRectF(110, 200, 200, 100)},
        {Qt::Key_Up, Qt::AltModifier, {110, 199, 200, 101}},
        {Qt::Key_Left, Qt::AltModifier | Qt::ShiftModifier, {110, 199, 190, 101}},
        {Qt::Key_Down, Qt::NoModifier, {110, 200, 190, 101}},
        {Qt::Key_Escape, Qt::NoModifier, {110, 200, 190, 101}}}) {
        QTest::keyClick(overlay, key, modifiers);
        EXPECT_EQ(overlay->frame(), expected) << key;
    }
    EXPECT_EQ(overlays->imageOverlay(), overlay);
    QTest::keyClick(overlay, Qt::Key_Return);
    EXPECT_EQ(overlays->imageOverlay(), nullptr);
    EXPECT_EQ(model().undoCount(), 1);
    for (const Qt::Key removal : {Qt::Key_Backspace, Qt::Key_Delete}) {
        QTest::keyClick(openImage(Qt::blue, QRectF(500, 400, 50, 50)), removal);
        EXPECT_EQ(overlays->imageOverlay(), nullptr);
        EXPECT_EQ(model().undoCount(), 1);
        EXPECT_EQ(at(525, 425), QColor(Qt::white));
    }
}

TEST_F(CanvasOverlaysTest, ADoubleClickAppliesAtTheOpacityAndZoomASlimImageIsDropped)
{
    open(solid(400, 300, Qt::white), 2.0);
    for (const QRectF &slim : {QRectF(50, 50, 2, 80), QRectF(50, 50, 80, 2)}) {
        openImage(Qt::black, slim);
        overlays->commitAll();
    }
    EXPECT_FALSE(model().canUndo());
    EXPECT_TRUE(samePixels(canvas->image(), solid(400, 300, Qt::white)));

    EditableImageOverlayView *overlay = openImage(Qt::black, QRectF(100, 100, 200, 100));
    model().setOpacity(0.5); // the opacity set while it floats is the one it goes in with
    EXPECT_DOUBLE_EQ(overlay->opacity(), 0.5);
    QTest::mouseDClick(overlay, Qt::LeftButton, {}, on(overlay, {100, 50}));
    EXPECT_EQ(overlays->imageOverlay(), nullptr);
    EXPECT_EQ(model().undoCount(), 1);
    // View (100, 100, 200, 100) at zoom 2 is image (50, 50, 100, 50).
    EXPECT_NEAR(at(100, 75).red(), 128, 2);
    EXPECT_EQ(at(45, 75), QColor(Qt::white));
    EXPECT_EQ(at(100, 105), QColor(Qt::white));
}

TEST_F(CanvasOverlaysTest, TextLandsAtTheBoxInImagePointsAtTheImagesDensity)
{
    // Blank lines above the text are kept; 32 points on screen at zoom 2 show at 64, and 16 at
    // zoom 0.25 at no less than 8 but go in at 16; in a 2x capture 32 points are 64 pixels.
    for (const auto &[zoom, density, fontSize, shownPixelSize, box, text, blankLinesAbove] : {
             std::tuple{2.0, 1.0, 32, 64, QRectF(200, 300, 430, 185), "HHH", 0}, {1.0, 2.0, 32, 32, {200, 300, 430, 185}, "HHH", 0},
             {0.25, 1.0, 16, 8, {10, 10, 190, 140}, "HH", 0}, {1.0, 1.0, 32, 32, {20, 20, 400, 200}, "\n\nHH\n", 2}}) {
        SCOPED_TRACE(testing::Message() << zoom << " " << density << " " << fontSize);
        open(solid(int(800 * density), int(600 * density), Qt::white, density), zoom);
        model().setTextFontSize(fontSize);
        EditableTextOverlayView *view = openText(box, text);
        EXPECT_EQ(QFontInfo(view->textView()->font()).pixelSize(), shownPixelSize);
        QTest::mouseClick(view->applyButton(), Qt::LeftButton);
        EXPECT_EQ(overlays->textOverlay(), nullptr);
        EXPECT_EQ(model().undoCount(), 1);
        EXPECT_EQ(canvas->image().devicePixelRatio(), density);
        const QRect ink = inkBounds(canvas->image(), [](QRgb p) { return qRed(p) > 180 && qGreen(p) < 150 && qBlue(p) < 150; });
        ASSERT_FALSE(ink.isEmpty());
        // The text area is the box + (8, 42) view points, over the zoom; pixels are points × density.
        const QPointF area = (box.topLeft() + QPointF(8, 42)) / zoom;
        QFont helvetica(QStringLiteral("Helvetica"));
        helvetica.setPixelSize(fontSize);
        const QFontMetricsF metrics(helvetica);
        const qreal top = area.y() + blankLinesAbove * metrics.lineSpacing() + metrics.ascent() - metrics.capHeight();
        EXPECT_GE(ink.left(), area.x() * density);
        EXPECT_LE(ink.left(), (area.x() + 6) * density);
        EXPECT_NEAR(ink.top(), top * density, 3 * density);
        EXPECT_NEAR(ink.height(), metrics.capHeight() * density, 2 * density);
    }
}

TEST_F(CanvasOverlaysTest, BlankOrClosedBoxesLeaveNoTrace)
{
    const QImage white = solid(600, 400, Qt::white);
    open(white);
    for (const char *blank : {"", "   ", "\n \n\t"}) {
        openText(QRectF(20, 20, 300, 150), blank)->apply();
        EXPECT_EQ(overlays->textOverlay(), nullptr);
    }
    EditableTextOverlayView *box = openText(QRectF(20, 20, 300, 150), QStringLiteral("kept out"));
    QTest::mouseClick(box->closeButton(), Qt::LeftButton);
    EXPECT_EQ(overlays->textOverlay(), nullptr);
    box->apply(); // a closed box that is no longer the open one is ignored
    EXPECT_FALSE(model().canUndo());
    EXPECT_TRUE(samePixels(canvas->image(), white));
}

TEST_F(CanvasOverlaysTest, TheTextToolOpensOneBoxStyledLikeTheCanvasThatMovesAndResizes)
{
    open(solid(800, 600, Qt::white));
    model().setTool(EditTool::text);
    QTest::mouseClick(canvas.get(), Qt::LeftButton, {}, QPoint(100, 400));
    EditableTextOverlayView *box = overlays->textOverlay();
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->frame(), QRectF(100, 215, 430, 185)); // the click is its lower-left corner
    EXPECT_EQ(box->textView()->textCursor().selectedText(), EditableTextOverlayView::placeholderText);
    EXPECT_EQ(box->textView()->toPlainText(), EditableTextOverlayView::placeholderText);
    EXPECT_TRUE(box->textView()->hasFocus());
    EXPECT_FALSE(model().canUndo());
    QTest::mouseClick(canvas.get(), Qt::LeftButton, {}, QPoint(600, 500));
    EXPECT_EQ(overlays->textOverlay(), box);

    model().setColor(Qt::blue);
    model().setTextFontName(QStringLiteral("Georgia"));
    model().setTextFontSize(48);
    EXPECT_EQ(std::tuple(box->textView()->palette().color(QPalette::Text), box->fontName(), QFontInfo(box->textView()->font()).pixelSize()),
              std::tuple(QColor(Qt::blue), QStringLiteral("Georgia"), 48));

    drag(box->dragHandle(), QPoint(20, 17), QPoint(2000, 2000));
    EXPECT_EQ(box->frame(), QRectF(370, 415, 430, 185));
    drag(box->resizeHandle(), QPoint(8, 8), QPoint(-500, -500));
    EXPECT_EQ(box->frame(), QRectF(370, 415, 260, 120));
    // The text area follows: the header and margins keep their sizes.
    EXPECT_EQ(box->scrollFrame(), QRectF(8, 42, 244, 70));
    EXPECT_EQ(box->applyButton()->geometry(), QRect(222, 4, 30, 26));
}

} // namespace
