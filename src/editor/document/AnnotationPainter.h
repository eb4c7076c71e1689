#pragma once

#include "editor/document/EditTool.h"

#include "editor/document/DrawingStyle.h"

#include <QFont>
#include <QLineF>
#include <QPen>
#include <QRectF>

#include <array>

class QPainter;
class QPaintDevice;

// The marks the tools leave, drawn with a QPainter in whatever space it is set up for
// (image points when committing, view points for the preview). Stateless.
namespace AnnotationPainter {

// A solid pen; straight lines, shapes and arrow heads use butt caps and mitred corners.
QPen strokePen(const QColor &color, qreal width, Qt::PenCapStyle cap = Qt::FlatCap);
// The round-capped pen of the pen and marker tools.
QPen freehandPen(const QColor &color, qreal width);

// The two ends of an open arrow head at `end`: 30 degrees either side of the shaft,
// `length` long.
std::array<QPointF, 2> arrowHead(const QPointF &start, const QPointF &end, qreal length);
// Head length for a stroke width: four widths, at least 12.
qreal arrowHeadLength(qreal width);
void drawArrow(QPainter &painter, const QPointF &start, const QPointF &end, const QPen &pen, qreal headLength);
// Line, arrow, rectangle or ellipse from start to end with the painter's pen; the same
// strokes for the live preview and for the edit itself. Other tools draw nothing.
void drawShape(QPainter &painter, EditTool tool, const QPointF &start, const QPointF &end, qreal width);
// What an arrow can cover, grown by half the pen width.
QRectF arrowBounds(const QPointF &start, const QPointF &end, qreal width, qreal headLength);

// A numbered callout centred on a point: disc diameter max(7 × width, 28), white outline
// max(width / 2, 2), bold white label at 0.48 of the diameter.
struct CalloutShape {
    QRectF disc;
    qreal outlineWidth = 0;
    qreal labelSize = 0;
};
CalloutShape calloutShape(const QPointF &centre, qreal lineWidth);
void drawCallout(QPainter &painter, const QPointF &centre, qint64 number, const DrawingStyle &style);
// What drawCallout() can cover on `device`.
QRectF calloutBounds(const QPointF &centre, qint64 number, const DrawingStyle &style, const QPaintDevice &device);

// The bold system font at a size in pixels of `device` (QFont sizes are in points of the
// device's logical DPI).
QFont boldSystemFont(qreal pixelSize, const QPaintDevice &device);

} // namespace AnnotationPainter
