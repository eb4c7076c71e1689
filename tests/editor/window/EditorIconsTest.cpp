#include "editor/window/EditorIconShapes.h"
#include "editor/window/EditorIcons.h"

#include "editor/EditorTestImages.h"

namespace {

// Pixels at least as opaque as `alpha`.
int inkAbove(const QImage &image, int alpha)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    const auto *pixels = reinterpret_cast<const QRgb *>(argb.constBits());
    return int(std::count_if(pixels, pixels + argb.width() * argb.height(), [alpha](QRgb p) { return qAlpha(p) > alpha; }));
}

TEST(EditorIcons, EverySymbolReadsAtButtonSizeAndOnHighDensityScreens)
{
    for (const qreal scale : {1.0, 2.0}) {
        QList<QImage> drawn;
        for (const QString &name : EditorIconShapes::names()) {
            SCOPED_TRACE(testing::Message() << name.toStdString() << " at " << scale);
            const QPixmap pixmap = EditorIcons::icon(name).pixmap(QSize(18, 18), scale);
            ASSERT_EQ(pixmap.size(), QSize(18, 18) * scale);
            const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
            // Something solid, spread over much of the square, and not a filled block.
            const int area = image.width() * image.height(), ink = inkAbove(image, 64);
            EXPECT_TRUE(ink > area / 20 && ink < area * 3 / 4) << ink;
            const QRect bounds = inkBounds(image, [](QRgb p) { return qAlpha(p) > 64; });
            EXPECT_GE(std::max(bounds.width(), bounds.height()), image.width() / 2);
            EXPECT_FALSE(drawn.contains(image));
            drawn.append(image);
        }
    }
}

TEST(EditorIcons, DisabledIconsAreFainterAndUnknownNamesEmpty)
{
    const QIcon icon = EditorIcons::icon(QStringLiteral("trash"));
    const QImage normal = icon.pixmap(QSize(24, 24), QIcon::Normal).toImage();
    const QImage disabled = icon.pixmap(QSize(24, 24), QIcon::Disabled).toImage();
    // Faded as a whole: where strokes cross it is no darker than elsewhere.
    EXPECT_GT(inkAbove(normal, 240), 0);
    EXPECT_GT(inkAbove(disabled, 60), 0);
    EXPECT_EQ(inkAbove(disabled, 92), 0);
    EXPECT_TRUE(EditorIcons::icon(QStringLiteral("no.such.symbol")).isNull());
}

} // namespace
