#pragma once

#include "editor/document/DrawingStyle.h"
#include "editor/document/EditTool.h"

#include <QImage>
#include <QPointF>
#include <QRectF>

class QPainter;

// The live preview of a drag with a shape, insertion or region tool, in view points.
// It ignores the opacity; region tools show a dashed white frame.
namespace ToolPreview {

// Stroke width on screen: the line width at the current zoom, at least 1.
qreal lineWidth(const DrawingStyle &style, qreal zoom);

void paint(QPainter &painter, EditTool tool, QPointF start, QPointF current, const DrawingStyle &style, qreal zoom,
           const QImage &insertImage);

// What paint() can cover, for repainting as little as possible. Empty for tools without a preview.
QRectF bounds(EditTool tool, QPointF start, QPointF current, const DrawingStyle &style, qreal zoom);

} // namespace ToolPreview
