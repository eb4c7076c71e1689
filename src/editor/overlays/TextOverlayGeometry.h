#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

// Layout and pointer rules of the floating text box. Frames are in view points with y
// pointing down: the header runs along the top, the resize corner sits at the bottom
// right. Stateless.
namespace TextOverlayGeometry {

constexpr qreal headerHeight = 34;
constexpr qreal minWidth = 260;
constexpr qreal minHeight = 120;
constexpr qreal margin = 8;
constexpr qreal cornerRadius = 8;
constexpr qreal borderWidth = 2;
constexpr qreal resizeHandleSide = 16;
// The text is never shown smaller than this, however far the canvas is zoomed out.
constexpr qreal minDisplayFontSize = 8;

// Children, in the box's own coordinates for a box of `size`.
QRectF headerRect(QSizeF size);
QRectF dragHandleRect();
QRectF gripLabelRect();
QRectF closeButtonRect(QSizeF size);
QRectF applyButtonRect(QSizeF size);
// The text area: everything below the header, inside the margins.
QRectF textAreaRect(QSizeF size);
QRectF resizeHandleRect(QSizeF size);

// The grip dragged: the box follows the pointer and stays inside `parent`.
QRectF moved(const QRectF &frameStart, QPointF pointerDelta, QSizeF parent);
// The corner dragged: the top-left corner stays; at least 260 by 120 unless the canvas is
// narrower, never beyond the canvas's right or bottom edge.
QRectF resized(const QRectF &frameStart, QPointF pointerDelta, QSizeF parent);

// Where the text lands in the image: the text area of a box at `boxFrame`, divided by the
// zoom. The header and the margins are not part of it.
QRectF textImageRect(const QRectF &boxFrame, qreal zoom);

// The size the text is shown at on a canvas zoomed by `displayScale`.
qreal displayFontSize(qreal fontSize, qreal displayScale);

} // namespace TextOverlayGeometry
