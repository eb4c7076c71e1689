#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

// Geometry of the canvas view, in view points with y pointing down. A view point p shows
// the image point p / zoom; there is no other scale and no offset.
namespace CanvasGeometry {

constexpr qreal minimumFitZoom = 0.08;
constexpr qreal zoomStep = 0.25;
constexpr qreal minimumStepZoom = 0.25;
constexpr qreal maximumStepZoom = 2.0;
// Room kept around the image when fitting it into a viewport.
constexpr qreal fitMargin = 32.0;

// The view's size: the image's size times the zoom, at least 1 by 1.
QSizeF frameSize(QSizeF imageSize, qreal zoom);

// The zoom at which the whole image fits `available`, between 0.08 and `maximum`; 1.0
// for an empty image.
qreal fitZoom(QSizeF imageSize, QSizeF available, qreal maximum);
// The zoom that fits the image into a viewport of this size with a 32-point margin all
// round, never above 1; 0.5 when the viewport leaves no room.
qreal viewportFitZoom(QSizeF imageSize, QSizeF viewport);

// A pointer position held inside the view.
QPointF clampToFrame(QPointF point, QSizeF frame);

// The rectangle spanned by two corners.
QRectF spanned(QPointF a, QPointF b);

// Where the text tool opens its box for a click at `point`: 430 by 185 at most, the click
// at the box's lower-left corner, moved only as far as needed to stay inside the view.
QRectF textBoxFrame(QPointF point, QSizeF frame);

// Where a pasted or chosen image first floats: centred, at most 55 % of the view either
// way, never enlarged, at least 64 by 64, never larger than the view.
QRectF centeredOverlayRect(QSizeF frame, QSizeF imageSize);

} // namespace CanvasGeometry
