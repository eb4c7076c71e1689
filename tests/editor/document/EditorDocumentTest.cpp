#include "editor/document/EditorDocument.h"

#include "editor/EditorTestImages.h"

namespace {

void fillRect(EditorDocument &document, const QRectF &r, const QColor &color) { document.paint(r, [&](QPainter &p) { p.fillRect(r, color); }); }

// Random edits of every kind, undone and redone, give exactly the pixels and step counts of
// full snapshots, thirty at most. The larger image has enough tiles to pack on several threads.
void checkAgainstSnapshots(QSize imageSize, int rounds)
{
    QRandomGenerator rng(20240611);
    EditorDocument document(noise(imageSize.width(), imageSize.height(), 11));
    std::vector<QImage> states{document.image().copy()};
    size_t at = 0;
    const auto pixelSetter = [](int step, QRgb colour) {
        return [=](QImage &image, const QRect &rect) {
            for (int y = rect.top(); y <= rect.bottom(); y += step)
                image.setPixel(rect.left() + y % rect.width(), y, colour);
        };
    };
    for (int round = 0; round < rounds; ++round) {
        const int op = rng.bounded(10);
        if (op < 3) {
            const bool can = op < 2 ? at > 0 : at + 1 < states.size();
            EXPECT_EQ(op < 2 ? document.undo() : document.redo(), can);
            at = can ? (op < 2 ? at - 1 : at + 1) : at;
        } else {
            document.pushUndo();
            const QSize size = document.size();
            const QRectF r(rng.bounded(size.width()), rng.bounded(size.height()), 1 + rng.bounded(200), 1 + rng.bounded(200));
            const int kind = rng.bounded(3);
            if (op < 7) {
                for (int s = 0; s <= kind; ++s) // several strokes in one step
                    fillRect(document, r.translated(s * 37, s * 11), QColor::fromRgb(rng.generate()));
            } else if (op < 8) {
                document.modifyPixels(r.toRect(), pixelSetter(1, 0xff00ff00u));
            } else if (op < 9 && size.width() > 40 && size.height() > 40) {
                document.replaceImage(document.image().copy(QRect(5, 3, size.width() - 20, size.height() - 9)));
            } else if (kind == 0) {
                document.transformInPlace(pixelSetter(3, 0xff123456u));
            } else {
                document.replaceImage(kind == 1 ? document.image().mirrored(true, false)
                                                : noise(imageSize.width() - 50 + rng.bounded(100),
                                                        imageSize.height() - 60 + rng.bounded(80), rng.generate()));
            }
            states.resize(at + 1);
            states.push_back(document.image().copy());
            if (states.size() > 31)
                states.erase(states.begin());
            at = states.size() - 1;
        }
        ASSERT_TRUE(samePixels(document.image(), states[at])) << "round " << round;
        ASSERT_EQ(document.undoCount(), int(at));
        ASSERT_EQ(document.redoCount(), int(states.size() - 1 - at));
    }
    while (document.undo()) {
        ASSERT_GT(at, 0u);
        ASSERT_TRUE(samePixels(document.image(), states[--at]));
    }
    EXPECT_EQ(at, 0u);
    EXPECT_TRUE(samePixels(document.image(), states[0])); // an empty stack changes nothing
}

TEST(EditorDocument, TiledHistoryMatchesFullSnapshots)
{
    checkAgainstSnapshots(QSize(300, 260), 400);
    checkAgainstSnapshots(QSize(1100, 700), 120);
}

TEST(EditorDocument, AReplacementDifferingOnlyInATilesLastRowIsUndone)
{
    const QImage original = noise(130, 130, 3);
    QImage changed = original.copy();
    changed.setPixel(5, 127, 0xff000000u); // tiles are 128 pixels square
    EditorDocument document(original);
    document.pushUndo();
    document.replaceImage(changed);
    ASSERT_TRUE(document.undo());
    EXPECT_TRUE(samePixels(document.image(), original));
}

TEST(EditorDocument, SmallEditsCostFarLessThanSnapshots)
{
    const QImage original = noise(1600, 1000, 2);
    EditorDocument document(original);
    for (int i = 0; i < 30; ++i) {
        document.pushUndo();
        const QRectF r(100 + i * 20, 100, 600, 400);
        document.paint(r, [r](QPainter &p) { p.setPen(QPen(Qt::red, 4)); p.drawRect(r); });
    }
    document.closeStep();
    EXPECT_LT(document.undoMemoryBytes(), 30 * size_t(original.sizeInBytes()) / 5);
}

} // namespace
