#include "editor/document/CanvasToolGesture.h"

#include "editor/document/AnnotationPainter.h"
#include "editor/document/CanvasGeometry.h"
#include "editor/document/EditorDocument.h"
#include "editor/imaging/RegionFilters.h"

#include <QPainter>

#include <cmath>

namespace {

// Shorter lines are taken for clicks.
constexpr qreal minimumLineLength = 3.0;
// Rectangles this thin (image points) are taken for clicks.
constexpr qreal minimumRegionSide = 2.0;
constexpr qreal markerWidthFactor = 4.0;

QRectF grown(const QRectF &r, qreal by)
{
    return r.adjusted(-by, -by, by, by);
}

} // namespace

ToolOutcome CanvasToolGesture::press(const ToolContext &context, QPointF point)
{
    ToolOutcome outcome;
    if (context.tool == EditTool::callout) {
        outcome.changedPixels = stampCallout(context, point);
        return outcome;
    }
    if (context.tool == EditTool::text) {
        outcome.textPressedAt = point;
        return outcome;
    }
    start_ = current_ = last_ = point;
    dragging_ = true;
    if (EditTools::isFreehand(context.tool))
        context.document.pushUndo();
    return outcome;
}

ToolOutcome CanvasToolGesture::drag(const ToolContext &context, QPointF point)
{
    ToolOutcome outcome;
    if (!dragging_)
        return outcome;
    current_ = CanvasGeometry::clampToFrame(point, context.frame);
    if (EditTools::isFreehand(context.tool))
        outcome.changedPixels = drawFreehandSegment(context);
    return outcome;
}

ToolOutcome CanvasToolGesture::release(const ToolContext &context, QPointF point)
{
    if (!dragging_)
        return ToolOutcome();
    current_ = CanvasGeometry::clampToFrame(point, context.frame);
    dragging_ = false;
    if (EditTools::isFreehand(context.tool)) {
        context.document.closeStep();
        return ToolOutcome();
    }
    if (!keepsDrag(context))
        return ToolOutcome();
    ToolOutcome outcome = applyDrag(context);
    context.document.closeStep();
    return outcome;
}

QRect CanvasToolGesture::stampCallout(const ToolContext &context, QPointF point)
{
    const QPointF centre = point / context.zoom;
    const qint64 number = calloutNumber_++;
    EditorDocument &document = context.document;
    document.pushUndo();
    const QRectF bounds = AnnotationPainter::calloutBounds(centre, number, context.style, document.image());
    const QRect changed = document.paint(bounds, [&](QPainter &painter) {
        AnnotationPainter::drawCallout(painter, centre, number, context.style);
    });
    document.closeStep();
    return changed;
}

QRect CanvasToolGesture::drawFreehandSegment(const ToolContext &context)
{
    const bool marker = context.tool == EditTool::marker;
    const qreal width = marker ? context.style.lineWidth * markerWidthFactor : context.style.lineWidth;
    const QColor color = marker ? context.style.markerColor() : context.style.color;
    const QLineF segment(last_ / context.zoom, current_ / context.zoom);
    last_ = current_;
    const QRectF bounds = grown(CanvasGeometry::spanned(segment.p1(), segment.p2()), width / 2);
    return context.document.paint(bounds, [&](QPainter &painter) {
        painter.setPen(AnnotationPainter::freehandPen(color, width));
        painter.drawLine(segment);
    });
}

bool CanvasToolGesture::keepsDrag(const ToolContext &context) const
{
    if (EditTools::isStraightLine(context.tool) && QLineF(start_, current_).length() > minimumLineLength)
        return true;
    const QRectF r = CanvasGeometry::spanned(start_ / context.zoom, current_ / context.zoom);
    return r.width() > minimumRegionSide && r.height() > minimumRegionSide;
}

QRect CanvasToolGesture::regionPixels(const ToolContext &context) const
{
    const QRectF r = CanvasGeometry::spanned(start_ / context.zoom, current_ / context.zoom);
    // Whole points first, so a crop keeps a whole point size at any density.
    const QRectF points(QPointF(std::round(r.left()), std::round(r.top())),
                        QPointF(std::round(r.right()), std::round(r.bottom())));
    return context.document.toPixels(points).intersected(context.document.bounds());
}

ToolOutcome CanvasToolGesture::applyDrag(const ToolContext &context)
{
    ToolOutcome outcome;
    EditorDocument &document = context.document;
    if (context.tool == EditTool::insertImage) {
        if (!context.insertImage.isNull())
            outcome.overlayRequested = CanvasGeometry::spanned(start_, current_);
        return outcome;
    }
    document.pushUndo();
    const QRect region = regionPixels(context);
    switch (context.tool) {
    case EditTool::crop:
        if (!region.isEmpty()) {
            document.replaceImage(document.image().copy(region));
            outcome.sizeChanged = true;
            outcome.changedPixels = document.bounds();
        }
        break;
    case EditTool::pixelate: {
        const qreal side = RegionFilters::pixelateCellSide(context.style.lineWidth) * document.pixelRatio();
        const int cell = int(std::lround(side));
        outcome.changedPixels = document.modifyPixels(
            region, [cell](QImage &image, const QRect &r) { RegionFilters::pixelate(image, r, cell); });
        break;
    }
    case EditTool::blur: {
        const double radius = RegionFilters::blurRadius(context.style.lineWidth) * document.pixelRatio();
        outcome.changedPixels = document.modifyPixels(
            region, [radius](QImage &image, const QRect &r) { RegionFilters::blur(image, r, radius); });
        break;
    }
    default:
        outcome.changedPixels = drawShape(context);
        break;
    }
    return outcome;
}

QRect CanvasToolGesture::drawShape(const ToolContext &context)
{
    const qreal width = context.style.lineWidth;
    const QPointF a = start_ / context.zoom;
    const QPointF b = current_ / context.zoom;
    const QRectF r = CanvasGeometry::spanned(a, b);
    const QPen pen = AnnotationPainter::strokePen(context.style.colorWithOpacity(), width);
    const EditTool tool = context.tool;
    const qreal headLength = AnnotationPainter::arrowHeadLength(width);
    const QRectF bounds = tool == EditTool::arrow ? AnnotationPainter::arrowBounds(a, b, width, headLength)
                                                  : grown(r, width);
    return context.document.paint(bounds, [&](QPainter &painter) {
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        AnnotationPainter::drawShape(painter, tool, a, b, width);
    });
}
