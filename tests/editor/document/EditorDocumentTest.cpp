#include "editor/document/EditorDocument.h"

#include "editor/EditorTestImages.h"

#include <deque>

namespace {

// The plain design the tiled history must behave like: a full copy per step, thirty at most.
struct SnapshotReference {
    QImage current;
    std::deque<QImage> undo, redo;
    void push()
    {
        undo.push_back(current.copy());
        if (undo.size() > 30)
            undo.pop_front();
        redo.clear();
    }
    bool step(std::deque<QImage> &from, std::deque<QImage> &to)
    {
        if (from.empty())
            return false;
        to.push_back(current.copy());
        current = from.back();
        from.pop_back();
        return true;
    }
};

void fillRect(EditorDocument &document, const QRectF &r, const QColor &color)
{
    document.paint(r, [&](QPainter &p) { p.fillRect(r, color); });
}

TEST(EditorDocument, ImagesHandedOutNeverChangeAndNoImageHasNoPng)
{
    EditorDocument document(solid(40, 40, Qt::white));
    const QImage before = document.image();
    document.pushUndo();
    fillRect(document, QRectF(0, 0, 40, 40), Qt::black);
    EXPECT_TRUE(samePixels(before, solid(40, 40, Qt::white)));
    EXPECT_FALSE(samePixels(document.image(), before));
    EXPECT_FALSE(EditorDocument(QImage()).pngData().has_value());
}

// Random edits of every kind, undone and redone, give exactly the pixels, sizes and step
// counts of full snapshots. The larger image has enough tiles to pack on several threads.
void checkAgainstSnapshots(QSize imageSize, int rounds)
{
    QRandomGenerator rng(20240611);
    const QImage original = noise(imageSize.width(), imageSize.height(), 11);
    EditorDocument document(original);
    SnapshotReference reference{original.copy(), {}, {}};
    for (int round = 0; round < rounds; ++round) {
        const int op = rng.bounded(10);
        if (op < 2) {
            EXPECT_EQ(document.undo(), reference.step(reference.undo, reference.redo));
        } else if (op < 3) {
            EXPECT_EQ(document.redo(), reference.step(reference.redo, reference.undo));
        } else {
            document.pushUndo();
            reference.push();
            const QSize size = document.size();
            const QRectF r(rng.bounded(size.width()), rng.bounded(size.height()), 1 + rng.bounded(200), 1 + rng.bounded(200));
            if (op < 7) {
                const int strokes = 1 + rng.bounded(4); // several strokes in one step
                for (int s = 0; s < strokes; ++s)
                    fillRect(document, r.translated(s * 37, s * 11), QColor::fromRgb(rng.generate()));
            } else if (op < 8) {
                document.modifyPixels(r.toRect(), [](QImage &image, const QRect &rect) {
                    for (int y = rect.top(); y <= rect.bottom(); ++y)
                        image.setPixel(rect.left(), y, 0xff00ff00u);
                });
            } else if (op < 9 && size.width() > 40 && size.height() > 40) {
                document.replaceImage(document.image().copy(QRect(5, 3, size.width() - 20, size.height() - 9)));
            } else {
                const QSize other(imageSize.width() - 50 + rng.bounded(100), imageSize.height() - 60 + rng.bounded(80));
                const int kind = rng.bounded(3);
                if (kind == 0)
                    document.transformInPlace([](QImage &image, const QRect &rect) {
                        for (int y = rect.top(); y <= rect.bottom(); y += 3)
                            image.setPixel(rect.left() + y % rect.width(), y, 0xff123456u);
                    });
                else
                    document.replaceImage(kind == 1 ? document.image().mirrored(true, false)
                                                 : noise(other.width(), other.height(), rng.generate()));
            }
            reference.current = document.image().copy();
        }
        ASSERT_TRUE(samePixels(document.image(), reference.current)) << "round " << round;
        ASSERT_EQ(document.undoCount(), int(reference.undo.size()));
        ASSERT_EQ(document.redoCount(), int(reference.redo.size()));
    }
    while (document.undo()) {
        reference.step(reference.undo, reference.redo);
        ASSERT_TRUE(samePixels(document.image(), reference.current));
    }
    EXPECT_TRUE(samePixels(document.image(), reference.current)); // an empty stack changes nothing
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
