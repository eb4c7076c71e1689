#include "editor/EditorDocument.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int antialiasFringe = 2;

} // namespace

EditorDocument::EditorDocument(const QImage &image) : image_(normalized(image)) {}

QImage EditorDocument::normalized(const QImage &image)
{
    if (image.isNull())
        return QImage();
    QImage out = image.convertToFormat(pixelFormat);
    if (out.constBits() == image.constBits())
        out = out.copy();
    out.setDevicePixelRatio(1.0);
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
    return history_.undo(image_, changed);
}

bool EditorDocument::redo(QRegion *changed)
{
    return history_.redo(image_, changed);
}

QRect EditorDocument::paint(const QRectF &bounds, const std::function<void(QPainter &)> &draw)
{
    const QRect pixels = bounds.toAlignedRect()
                             .adjusted(-antialiasFringe, -antialiasFringe, antialiasFringe, antialiasFringe)
                             .intersected(this->bounds());
    history_.recordBefore(image_, pixels);
    if (pixels.isEmpty())
        return QRect();
    QPainter painter(&image_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setClipRect(pixels);
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
    image_.setDevicePixelRatio(1.0);
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
