#include "editor/document/EditorDocument.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr int antialiasFringe = 2;

} // namespace

EditorDocument::EditorDocument(const QImage &image)
    : image_(normalized(image)), ratio_(image_.isNull() ? 1.0 : image_.devicePixelRatio())
{
}

QRect EditorDocument::toPixels(const QRectF &points) const
{
    const auto edge = [this](qreal v) { return int(std::lround(v * ratio_)); };
    return QRect(QPoint(edge(points.left()), edge(points.top())),
                 QPoint(edge(points.right()) - 1, edge(points.bottom()) - 1));
}

QRectF EditorDocument::toPoints(const QRectF &pixels) const
{
    return QRectF(pixels.topLeft() / ratio_, pixels.size() / ratio_);
}

void EditorDocument::keepDensity()
{
    // Undo rebuilds a replaced image from raw tiles, which carry no density.
    if (!image_.isNull() && image_.devicePixelRatio() != ratio_)
        image_.setDevicePixelRatio(ratio_);
}

QImage EditorDocument::normalized(const QImage &image)
{
    if (image.isNull())
        return QImage();
    QImage out = image.convertToFormat(pixelFormat);
    if (out.constBits() == image.constBits())
        out = out.copy();
    return out;
}

void EditorDocument::pushUndo()
{
    history_.push(image_);
}

void EditorDocument::closeStep()
{
    history_.close(image_);
}

bool EditorDocument::undo(QRegion *changed)
{
    const bool moved = history_.undo(image_, changed);
    keepDensity();
    return moved;
}

bool EditorDocument::redo(QRegion *changed)
{
    const bool moved = history_.redo(image_, changed);
    keepDensity();
    return moved;
}

QRect EditorDocument::paint(const QRectF &bounds, const std::function<void(QPainter &)> &draw)
{
    const QRect pixels = QRectF(bounds.topLeft() * ratio_, bounds.size() * ratio_)
                             .toAlignedRect()
                             .adjusted(-antialiasFringe, -antialiasFringe, antialiasFringe, antialiasFringe)
                             .intersected(this->bounds());
    history_.recordBefore(image_, pixels);
    if (pixels.isEmpty())
        return QRect();
    // The painter scales by the image's density, so `draw` works in points.
    QPainter painter(&image_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setClipRect(toPoints(QRectF(pixels)));
    draw(painter);
    return pixels;
}

QRect EditorDocument::modifyPixels(const QRect &rect, const std::function<void(QImage &, const QRect &)> &modify)
{
    const QRect pixels = rect.intersected(bounds());
    history_.recordBefore(image_, pixels);
    if (pixels.isEmpty())
        return QRect();
    modify(image_, pixels);
    return pixels;
}

void EditorDocument::transformInPlace(const std::function<void(QImage &, const QRect &)> &transform)
{
    history_.recordPackedBefore(image_, bounds());
    transform(image_, bounds());
}

void EditorDocument::replaceImage(const QImage &next)
{
    const QImage replacement = next.format() == pixelFormat ? next : next.convertToFormat(pixelFormat);
    history_.recordReplace(image_, replacement);
    image_ = replacement;
    keepDensity();
}

std::optional<QByteArray> EditorDocument::pngData() const
{
    if (image_.isNull())
        return std::nullopt;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly))
        return std::nullopt;
    QImageWriter writer(&buffer, "png");
    if (!writer.write(image_))
        return std::nullopt;
    return bytes;
}
