#include "editor/overlays/ImageOverlayGeometry.h"

#include <algorithm>
#include <cmath>

namespace {

using Handle = ImageResizeHandle;

bool movesLeftEdge(Handle h) { return h == Handle::topLeft || h == Handle::left || h == Handle::bottomLeft; }
bool movesRightEdge(Handle h) { return h == Handle::topRight || h == Handle::right || h == Handle::bottomRight; }
bool movesTopEdge(Handle h) { return h == Handle::topLeft || h == Handle::top || h == Handle::topRight; }
bool movesBottomEdge(Handle h) { return h == Handle::bottomLeft || h == Handle::bottom || h == Handle::bottomRight; }

} // namespace

std::array<std::pair<ImageResizeHandle, QRectF>, 8> ImageOverlayGeometry::handleRects(QSizeF size)
{
    const qreal w = size.width();
    const qreal h = size.height();
    const auto square = [](qreal cx, qreal cy) {
        return QRectF(cx - handleSize / 2, cy - handleSize / 2, handleSize, handleSize);
    };
    return {{
        {Handle::topLeft, square(0, 0)},
        {Handle::top, square(w / 2, 0)},
        {Handle::topRight, square(w, 0)},
        {Handle::right, square(w, h / 2)},
        {Handle::bottomRight, square(w, h)},
        {Handle::bottom, square(w / 2, h)},
        {Handle::bottomLeft, square(0, h)},
        {Handle::left, square(0, h / 2)},
    }};
}

ImageResizeHandle ImageOverlayGeometry::hitTest(QPointF point, QSizeF size)
{
    for (const auto &[handle, rect] : handleRects(size)) {
        if (rect.adjusted(-handleSlop, -handleSlop, handleSlop, handleSlop).contains(point))
            return handle;
    }
    // The right and bottom edges belong to the body, as a press exactly on them should.
    if (point.x() >= 0 && point.y() >= 0 && point.x() <= size.width() && point.y() <= size.height())
        return Handle::move;
    return Handle::none;
}

QRectF ImageOverlayGeometry::dragged(ImageResizeHandle handle, const QRectF &frameStart, QPointF delta,
                                     bool keepAspect, const QRectF &bounds)
{
    const qreal x0 = frameStart.x(), y0 = frameStart.y();
    const qreal w0 = frameStart.width(), h0 = frameStart.height();
    const qreal dx = delta.x(), dy = delta.y();
    qreal x = x0, y = y0, w = w0, h = h0;

    if (handle == Handle::move) {
        x += dx;
        y += dy;
    }
    if (movesLeftEdge(handle)) {
        x = x0 + dx;
        w = w0 - dx;
    }
    if (movesRightEdge(handle))
        w = w0 + dx;
    if (movesTopEdge(handle)) {
        y = y0 + dy;
        h = h0 - dy;
    }
    if (movesBottomEdge(handle))
        h = h0 + dy;

    if (keepAspect && handle != Handle::move && h0 > 0) {
        const qreal ratio = w0 / std::max(h0, 1.0);
        if (std::abs(w - w0) > std::abs(h - h0)) {
            h = w / ratio;
            // Unless the bottom edge is the one dragged, the bottom edge stays.
            y = movesBottomEdge(handle) ? y0 : y0 + h0 - h;
        } else {
            w = h * ratio;
            if (movesLeftEdge(handle))
                x = x0 + w0 - w;
        }
    }

    // Too small: the edge across from the dragged one stays where it is.
    if (w < minSize) {
        if (movesLeftEdge(handle))
            x = x + w - minSize;
        w = minSize;
    }
    if (h < minSize) {
        if (!movesBottomEdge(handle))
            y = y + h - minSize;
        h = minSize;
    }
    return clamped(QRectF(x, y, w, h), bounds);
}

QRectF ImageOverlayGeometry::nudged(const QRectF &frame, QPointF delta, bool resize, const QRectF &bounds)
{
    if (!resize)
        return clamped(frame.translated(delta), bounds);
    const qreal w = std::max(frame.width() + delta.x(), minSize);
    // Up (a negative y) makes the picture taller; its bottom edge stays.
    const qreal h = std::max(frame.height() - delta.y(), minSize);
    return clamped(QRectF(frame.x(), frame.bottom() - h, w, h), bounds);
}

QRectF ImageOverlayGeometry::clamped(const QRectF &rect, const QRectF &bounds)
{
    const qreal w = std::min(rect.width(), bounds.width());
    const qreal h = std::min(rect.height(), bounds.height());
    const qreal x = std::min(std::max(rect.x(), bounds.left()), bounds.right() - w);
    const qreal y = std::min(std::max(rect.y(), bounds.top()), bounds.bottom() - h);
    return QRectF(x, y, w, h);
}
