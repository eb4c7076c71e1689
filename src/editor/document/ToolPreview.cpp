#include "editor/document/ToolPreview.h"

#include "editor/document/AnnotationPainter.h"
#include "editor/document/CanvasGeometry.h"

#include <QPainter>

namespace {

constexpr qreal dashOn = 7.0;
constexpr qreal dashOff = 5.0;
constexpr qreal insertPreviewOpacity = 0.75;

bool hasPreview(EditTool tool)
{
    return !EditTools::isFreehand(tool) && !EditTools::actsOnPress(tool);
}

} // namespace

qreal ToolPreview::lineWidth(const DrawingStyle &style, qreal zoom)
{
    return std::max(style.lineWidth * zoom, 1.0);
}

void ToolPreview::paint(QPainter &painter, EditTool tool, QPointF start, QPointF current, const DrawingStyle &style,
                        qreal zoom, const QImage &insertImage)
{
    if (!hasPreview(tool))
        return;
    const qreal width = lineWidth(style, zoom);
    const QRectF r = CanvasGeometry::spanned(start, current);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    if (EditTools::isRegion(tool)) {
        QPen pen = AnnotationPainter::strokePen(Qt::white, width);
        // Qt measures dashes in pen widths.
        pen.setDashPattern({dashOn / width, dashOff / width});
        pen.setDashOffset(0);
        painter.setPen(pen);
        painter.drawRect(r);
        painter.restore();
        return;
    }
    const QPen pen = AnnotationPainter::strokePen(style.color, width);
    painter.setPen(pen);
    switch (tool) {
    case EditTool::line:
    case EditTool::arrow:
    case EditTool::rectangle:
    case EditTool::ellipse:
        AnnotationPainter::drawShape(painter, tool, start, current, width);
        break;
    case EditTool::insertImage:
        if (!insertImage.isNull()) {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.setOpacity(insertPreviewOpacity);
            painter.drawImage(r, insertImage);
            painter.setOpacity(1.0);
        }
        painter.drawRect(r);
        break;
    default:
        break;
    }
    painter.restore();
}

QRectF ToolPreview::bounds(EditTool tool, QPointF start, QPointF current, const DrawingStyle &style, qreal zoom)
{
    if (!hasPreview(tool))
        return QRectF();
    const qreal width = lineWidth(style, zoom);
    if (tool == EditTool::arrow)
        return AnnotationPainter::arrowBounds(start, current, width, AnnotationPainter::arrowHeadLength(width))
            .adjusted(-2, -2, 2, 2);
    const qreal grow = width + 2;
    return CanvasGeometry::spanned(start, current).adjusted(-grow, -grow, grow, grow);
}
