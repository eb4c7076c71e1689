#include "editor/window/EditorIconShapes.h"
#include "editor/window/EditorIcons.h"

#include <QImage>
#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

// Every symbol a button of the editor shows.
const char *const usedSymbols[] = {
    "pencil", "highlighter", "line.diagonal", "arrow.up.right", "rectangle", "circle", "textformat", "1.circle",
    "photo.badge.plus", "crop", "square.grid.3x3", "drop.halffull", "arrow.uturn.backward", "arrow.uturn.forward",
    "doc.on.doc", "photo.on.rectangle", "xmark", "checkmark", "arrow.down.right.and.arrow.up.left",
    "rectangle.compress.vertical", "wand.and.stars", "trash", "sun.max", "moon", "camera.filters",
    "circle.righthalf.filled", "sparkles", "square.and.arrow.down", "minus.magnifyingglass",
    "plus.magnifyingglass", "arrow.up.left.and.arrow.down.right",
};

struct Ink {
    int pixels = 0;
    QRect bounds;
};

Ink inkOf(const QImage &image)
{
    Ink ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 64) {
                ++ink.pixels;
                ink.bounds |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

TEST(EditorIcons, EverySymbolReadsAtButtonSizeAndOnHighDensityScreens)
{
    for (const qreal scale : {1.0, 2.0}) {
        QList<QImage> drawn;
        for (const char *name : usedSymbols) {
            const QIcon icon = EditorIcons::icon(QString::fromLatin1(name));
            ASSERT_FALSE(icon.isNull()) << name;
            const QPixmap pixmap = icon.pixmap(QSize(18, 18), scale);
            EXPECT_EQ(pixmap.size(), QSize(18, 18) * scale) << name;
            const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
            const Ink ink = inkOf(image);
            // Something solid, spread over much of the square, and not a filled block.
            const int area = image.width() * image.height();
            EXPECT_GT(ink.pixels, area / 20) << name << " at " << scale;
            EXPECT_LT(ink.pixels, area * 3 / 4) << name << " at " << scale;
            EXPECT_GE(std::max(ink.bounds.width(), ink.bounds.height()), image.width() / 2) << name;
            for (int i = 0; i < drawn.size(); ++i)
                EXPECT_NE(drawn[i], image) << name << " looks like " << usedSymbols[i];
            drawn.append(image);
        }
    }
}

TEST(EditorIcons, DisabledIconsAreFainterAndUnknownNamesEmpty)
{
    const QIcon icon = EditorIcons::icon(QStringLiteral("trash"));
    const QImage normal = icon.pixmap(QSize(24, 24), QIcon::Normal).toImage();
    const QImage disabled = icon.pixmap(QSize(24, 24), QIcon::Disabled).toImage();
    int strongest = 0, strongestDisabled = 0;
    for (int y = 0; y < 24; ++y) {
        for (int x = 0; x < 24; ++x) {
            strongest = std::max(strongest, qAlpha(normal.pixel(x, y)));
            strongestDisabled = std::max(strongestDisabled, qAlpha(disabled.pixel(x, y)));
        }
    }
    // Faded as a whole: where strokes cross it is no darker than elsewhere.
    EXPECT_GT(strongest, 240);
    EXPECT_LE(strongestDisabled, 92);
    EXPECT_GT(strongestDisabled, 60);
    EXPECT_TRUE(EditorIcons::icon(QStringLiteral("no.such.symbol")).isNull());
    EXPECT_EQ(EditorIconShapes::names().size(), int(std::size(usedSymbols)));
}

} // namespace
