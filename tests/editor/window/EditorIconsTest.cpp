#include "editor/window/EditorWindowTestSupport.h"

#include "editor/window/EditorIconShapes.h"
#include "editor/window/EditorIcons.h"

#include <QImage>
#include <QPainter>
#include <QPixmap>

#include <gtest/gtest.h>

using EditorWindowTestSupport::inkBounds;

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
            const auto solid = [](QRgb pixel) { return qAlpha(pixel) > 64; };
            int ink = 0;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    ink += solid(image.pixel(x, y));
            // Something solid, spread over much of the square, and not a filled block.
            const int area = image.width() * image.height();
            EXPECT_GT(ink, area / 20) << name << " at " << scale;
            EXPECT_LT(ink, area * 3 / 4) << name << " at " << scale;
            const QRect bounds = inkBounds(image, solid);
            EXPECT_GE(std::max(bounds.width(), bounds.height()), image.width() / 2) << name;
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
    const auto strongest = [](const QImage &image) {
        int alpha = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                alpha = std::max(alpha, qAlpha(image.pixel(x, y)));
        return alpha;
    };
    // Faded as a whole: where strokes cross it is no darker than elsewhere.
    EXPECT_GT(strongest(normal), 240);
    EXPECT_LE(strongest(disabled), 92);
    EXPECT_GT(strongest(disabled), 60);
    EXPECT_TRUE(EditorIcons::icon(QStringLiteral("no.such.symbol")).isNull());
    EXPECT_EQ(EditorIconShapes::names().size(), int(std::size(usedSymbols)));
}

} // namespace
