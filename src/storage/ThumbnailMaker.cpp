#include "storage/ThumbnailMaker.h"

#include <QImageReader>
#include <QPainter>
#include <QPointF>
#include <QRect>

#include <algorithm>
#include <cmath>

namespace ThumbnailMaker {
namespace {

QSize devicePixels(const Tile &tile)
{
    return (QSizeF(tile.size) * tile.devicePixelRatio).toSize();
}

// Aspect-fit and centred, enlarged when small; whole pixels keep the edges crisp.
QRect fittedRect(QSize source, QSize tile)
{
    const double scale = std::min(double(tile.width()) / source.width(), double(tile.height()) / source.height());
    const QSize size(std::clamp(int(std::lround(source.width() * scale)), 1, tile.width()),
                     std::clamp(int(std::lround(source.height() * scale)), 1, tile.height()));
    return QRect(QPoint((tile.width() - size.width()) / 2, (tile.height() - size.height()) / 2), size);
}

QImage blankTile(const Tile &tile, const QColor &colour)
{
    QImage image(devicePixels(tile), QImage::Format_ARGB32_Premultiplied);
    image.fill(colour);
    return image;
}

QImage placeholder(const Tile &tile)
{
    QImage image = blankTile(tile, QColor::fromRgbF(1.0 / 3, 1.0 / 3, 1.0 / 3));
    image.setDevicePixelRatio(tile.devicePixelRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    const qreal w = tile.size.width(), h = tile.size.height();
    // Symmetric about the middle line, so the same corners hold with y pointing down.
    const QPointF triangle[] = {{0.42 * w, 0.28 * h}, {0.70 * w, 0.50 * h}, {0.42 * w, 0.72 * h}};
    painter.drawPolygon(triangle, 3);
    return image;
}

// Painted in device pixels; the ratio is set afterwards so the painter does not scale.
QImage fitted(const QImage &source, const Tile &tile)
{
    QImage image = blankTile(tile, tile.background);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(fittedRect(source.size(), image.size()), source);
    }
    image.setDevicePixelRatio(tile.devicePixelRatio);
    return image;
}

QImage screenshot(const QString &path, QSize tilePixels)
{
    QImageReader reader(path);
    const QSize full = reader.size();
    // Decoding straight to the fitted size never holds a whole 4K screenshot in memory.
    if (full.isValid() && !full.isEmpty()) {
        const QSize target = fittedRect(full, tilePixels).size();
        if (target.width() < full.width())
            reader.setScaledSize(target);
    }
    return reader.read();
}

} // namespace

QImage image(const CaptureItem &item, const Tile &tile)
{
    const QImage source = item.kind == CaptureKind::screenshot ? screenshot(item.path, devicePixels(tile))
                                                               : tile.videoFrame ? tile.videoFrame(item.path, videoFrameSeconds)
                                                                               : QImage();
    return source.isNull() ? placeholder(tile) : fitted(source, tile);
}

} // namespace ThumbnailMaker
