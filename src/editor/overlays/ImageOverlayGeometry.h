#pragma once

#include "editor/document/ImageResizeHandle.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <array>
#include <utility>

// The rules of a floating image: its handles, what a drag with each of them does, arrow
// key nudges and keeping it inside the canvas. Frames are in the canvas's view points,
// y pointing down. Stateless.
namespace ImageOverlayGeometry {

constexpr qreal handleSize = 10;
// A handle answers presses this much beyond its square.
constexpr qreal handleSlop = 4;
constexpr qreal minSize = 28;

// The eight handle squares in the overlay's own coordinates, in hit-test order.
std::array<std::pair<ImageResizeHandle, QRectF>, 8> handleRects(QSizeF size);

// What a press at `point` (overlay coordinates) grabs: a handle, the body, or nothing.
ImageResizeHandle hitTest(QPointF point, QSizeF size);

// The frame after dragging `handle` by `delta` from `frameStart`, inside `bounds`. With
// `keepAspect` the start's ratio is kept and the edges across from the dragged ones stay
// put; a side is never dragged below 28.
QRectF dragged(ImageResizeHandle handle, const QRectF &frameStart, QPointF delta, bool keepAspect,
               const QRectF &bounds);

// An arrow key: moves by `delta`, or with `resize` grows or shrinks the right and top
// edges (the left and bottom ones stay), never below 28.
QRectF nudged(const QRectF &frame, QPointF delta, bool resize, const QRectF &bounds);

// `rect` moved (and shrunk only if it is larger than `bounds`) so that it lies inside.
QRectF clamped(const QRectF &rect, const QRectF &bounds);

} // namespace ImageOverlayGeometry
