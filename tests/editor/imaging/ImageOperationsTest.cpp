#include "editor/document/EditorCanvasModel.h"
#include "editor/imaging/ColorFilters.h"
#include "editor/imaging/ImageResampler.h"

#include "editor/EditorTestImages.h"

namespace {

// The largest difference between the channels of two pixels.
int channelDistance(const QColor &a, const QColor &b)
{
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()), std::abs(a.blue() - b.blue()),
                     std::abs(a.alpha() - b.alpha())});
}

// Expected values worked out by hand from each filter's definition.
TEST(ImageFilters, ChangeKnownPatchesAsDefinedInOneUndoStep)
{
    using C = QColor;
    const struct {
        const char *name;
        std::function<void(EditorCanvasModel &)> apply;
        std::vector<std::pair<QColor, QColor>> patches; // in, out
    } cases[] = {
        {"grayscale: Rec. 709 luminance in linear light", [](EditorCanvasModel &c) { c.grayscale(); },
         {{C(255, 0, 0), C(127, 127, 127)}, {C(0, 255, 0), C(220, 220, 220)}, {C(0, 0, 255), C(76, 76, 76)}, {C(128, 128, 128), C(128, 128, 128)}}},
        {"brighten: +0.35 EV in linear light, clipped", [](EditorCanvasModel &c) { c.adjustExposure(0.35); },
         {{C(128, 128, 128), C(143, 143, 143)}, {C(200, 0, 255), C(223, 0, 255)}, {C(250, 250, 250), C(255, 255, 255)}}},
        {"darken: -0.35 EV in linear light", [](EditorCanvasModel &c) { c.adjustExposure(-0.35); },
         {{C(128, 128, 128), C(114, 114, 114)}, {C(0, 0, 0), C(0, 0, 0)}}},
        {"sepia at 0.75", [](EditorCanvasModel &c) { c.sepia(); }, {{C(128, 128, 128), C(162, 147, 122)}, {C(0, 0, 0), C(0, 0, 0)}}},
        // Alpha stays; the colour is inverted unpremultiplied.
        {"invert", [](EditorCanvasModel &c) { c.invertColors(); },
         {{C(10, 100, 250), C(245, 155, 5)}, {C(0, 0, 0), C(255, 255, 255)}, {C(204, 102, 0, 128), C(51, 153, 255, 128)}, {C(0, 0, 0, 0), C(0, 0, 0, 0)}}},
        {"sharpen leaves flat colour alone", [](EditorCanvasModel &c) { c.sharpen(); }, {{C(90, 140, 30), C(90, 140, 30)}}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        // One 4 × 4 patch per colour, side by side.
        QImage image = solid(int(c.patches.size()) * 4, 4, Qt::transparent);
        for (int i = 0; i < int(c.patches.size()); ++i)
            QPainter(&image).fillRect(i * 4, 0, 4, 4, c.patches[size_t(i)].first);
        EditorCanvasModel canvas(image);
        QSignalSpy undoable(&canvas, &EditorCanvasModel::canUndoChanged), redoable(&canvas, &EditorCanvasModel::canRedoChanged); // the buttons
        c.apply(canvas);
        for (int i = 0; i < int(c.patches.size()); ++i) {
            const QColor got = canvas.image().pixelColor(i * 4 + 1, 1);
            EXPECT_LE(channelDistance(got, c.patches[size_t(i)].second), 1) << "patch " << i << " got " << got.name().toStdString();
        }
        EXPECT_EQ(canvas.undoCount(), 1);
        EXPECT_EQ(undoable.count(), 1);
        canvas.undo();
        EXPECT_EQ(QList<QVariantList>(redoable), QList<QVariantList>{{true}}); // redo becomes possible, once
        EXPECT_TRUE(samePixels(canvas.image(), image));
    }
}

TEST(ImageFilters, SharpenSteepensAnEdgeAndKeepsHue)
{
    // Left half dark teal, right half light teal: the same hue at two luminances.
    QImage image = solid(40, 8, QColor(40, 80, 90));
    QPainter(&image).fillRect(20, 0, 20, 8, QColor(120, 160, 170));
    const QImage out = ColorFilters::applied(image, ColorFilters::sharpenLuminance(image, 0.85));
    const QColor darkSide = out.pixelColor(19, 4), lightSide = out.pixelColor(20, 4);
    EXPECT_LT(darkSide.green(), 80 - 5);
    EXPECT_GT(lightSide.green(), 160 + 5);
    EXPECT_EQ(lightSide.green() - lightSide.red(), 40); // the same shift on every channel
    EXPECT_EQ(out.pixelColor(2, 4), QColor(40, 80, 90)); // far from the edge nothing moves
    EXPECT_EQ(out.pixelColor(37, 4), QColor(120, 160, 170));
}

TEST(ImageOperations, ResizeHalvesAndDoublesWithAMinimumOfOnePixel)
{
    for (const auto &[size, scale, result] : {std::tuple{QSize(200, 100), 0.5, QSize(100, 50)}, {{200, 100}, 2.0, {400, 200}},
                                              {{3, 3}, 0.5, {2, 2}}, {{1, 7}, 0.5, {1, 4}}, {{20, 10}, 0.0, {20, 10}}}) {
        SCOPED_TRACE(testing::Message() << size.width() << "x" << size.height() << " x" << scale);
        EditorCanvasModel canvas(solid(size.width(), size.height(), QColor(30, 60, 90)));
        canvas.setZoom(0.5);
        canvas.resizeImage(scale);
        EXPECT_EQ(canvas.image().size(), result);
        EXPECT_EQ(canvas.undoCount(), scale > 0 ? 1 : 0);
        EXPECT_EQ(canvas.image().pixelColor(0, 0), QColor(30, 60, 90)); // flat colour survives resampling
        canvas.undo();
        EXPECT_EQ(canvas.image().size(), size);
        EXPECT_EQ(canvas.frameSize(), QSizeF(std::max(size.width() * 0.5, 1.0), std::max(size.height() * 0.5, 1.0)));
    }
    EXPECT_TRUE(ImageResampler::resized(QImage(), QSize(10, 10)).isNull());
}

TEST(ImageOperations, WholeImageOperationsCommitOverlaysFirst)
{
    EditorCanvasModel canvas(solid(20, 20, Qt::white));
    int commits = 0;
    canvas.setOverlayCommitHandler([&] {
        ++commits;
        canvas.commitPainting(QRectF(0, 0, 10, 10), [](QPainter &p) { p.fillRect(QRectF(0, 0, 10, 10), Qt::black); });
    });
    canvas.invertColors();
    // The overlay's black square was drawn first, then inverted with the picture.
    EXPECT_EQ(canvas.image().pixelColor(2, 2), QColor(Qt::white));
    EXPECT_EQ(canvas.image().pixelColor(15, 15), QColor(Qt::black));
    EXPECT_EQ(canvas.undoCount(), 2);
    canvas.resizeImage(0); // commits, then does nothing else
    for (const auto &operation : std::initializer_list<std::function<void()>>{
             [&] { canvas.grayscale(); }, [&] { canvas.adjustExposure(0.1); }, [&] { canvas.sepia(); }, [&] { canvas.sharpen(); }, [&] { canvas.setZoom(2); }})
        operation();
    EXPECT_EQ(commits, 7);
}

} // namespace
