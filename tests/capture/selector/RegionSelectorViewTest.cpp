#include "capture/selector/RegionSelectorPainter.h"
#include "capture/selector/RegionSelectorView.h"

#include <QPainter>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// Text is white on a dark box; nothing else in these pictures is that bright.
bool hasBrightPixel(const QImage &image, const QRect &area)
{
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (qGray(image.pixel(x, y)) > 200)
                return true;
    return false;
}

// Within 2 per channel: the raster engine's blending rounds.
void expectPixels(const QImage &image, std::initializer_list<std::tuple<const char *, QPoint, QRgb>> probes)
{
    for (const auto &[what, at, expected] : probes) {
        const QRgb a = image.pixel(at);
        EXPECT_LE(std::max({std::abs(qRed(a) - qRed(expected)), std::abs(qGreen(a) - qGreen(expected)),
                            std::abs(qBlue(a) - qBlue(expected))}), 2)
            << what << ": " << QColor(a).name().toStdString() << " is not " << QColor(expected).name().toStdString();
    }
}

TEST(RegionSelectorView, DrawsDimmingPromptRubberBandAndSizeLabel)
{
    const QRgb frozenColour = qRgb(200, 100, 50), blue = RegionSelectorPainter::border.rgb();
    QImage frozen(400, 300, QImage::Format_RGB32);
    frozen.fill(frozenColour);
    RegionSelectorView view(QRectF(0, 0, 400, 300), frozen, "Kéo để chọn");
    view.resize(400, 300);
    // Source-over of black at the dimming's alpha.
    const double keep = 1.0 - RegionSelectorPainter::dimming.alpha() / 255.0;
    const QRgb dimmed = qRgb(int(200 * keep + 0.5), int(100 * keep + 0.5), int(50 * keep + 0.5));
    const QRect prompt = RegionSelectorPainter::promptRect(QRectF(view.rect()), view.prompt(), view.font()).toRect();
    const QImage idle = view.grab().toImage();
    expectPixels(idle, {{"far corner", {390, 290}, dimmed}});
    EXPECT_TRUE(hasBrightPixel(idle, prompt)) << "prompt text";

    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(100, 150));
    QTest::mouseMove(&view, QPoint(200, 200));
    QTest::mouseMove(&view, QPoint(300, 250));
    ASSERT_TRUE(view.selection().isDragging());
    const QImage dragging = view.grab().toImage();
    expectPixels(dragging, {{"inside, undimmed", {200, 200}, frozenColour}, {"left border", {100, 200}, blue},
                            {"right border", {300, 200}, blue}, {"outside", {50, 200}, dimmed},
                            {"where the prompt was", prompt.topLeft() + QPoint(1, 1), dimmed}});
    EXPECT_TRUE(hasBrightPixel(dragging, RegionSelectorPainter::labelRect(QRectF(100, 150, 200, 100), view.font()).toRect()));
    EXPECT_FALSE(hasBrightPixel(dragging, prompt)) << "no prompt while dragging";

    // A release below the threshold returns to the prompt.
    QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(102, 152));
    EXPECT_FALSE(view.selection().isFinished());
    EXPECT_TRUE(hasBrightPixel(view.grab().toImage(), prompt));
}

TEST(RegionSelectorPainter, PunchesThroughToTheLiveScreenWithoutAFrozenImageAndLabelsWholePoints)
{
    QImage canvas(200, 150, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    RegionSelectorPainter::paint(painter, QRectF(canvas.rect()), QImage(), "x", QRectF(50, 60, 80, 40), QFont());
    painter.end();
    EXPECT_EQ(qAlpha(canvas.pixel(90, 80)), 0);   // the live screen shows through
    EXPECT_EQ(qAlpha(canvas.pixel(10, 140)), RegionSelectorPainter::dimming.alpha());
    EXPECT_EQ(canvas.pixel(50, 80), RegionSelectorPainter::border.rgb());
    EXPECT_EQ(RegionSelectorPainter::sizeText({1920.9, 240.99}), "1920 × 240");
}

} // namespace
