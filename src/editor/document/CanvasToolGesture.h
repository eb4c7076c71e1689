#pragma once

#include "editor/document/DrawingStyle.h"
#include "editor/document/EditTool.h"

#include <QImage>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QSizeF>

#include <optional>

class EditorDocument;

// What the tools read from the canvas for one pointer event.
struct ToolContext {
    EditorDocument &document;
    const DrawingStyle &style;
    EditTool tool;
    qreal zoom;
    QSizeF frame; // the view's size in view points
    const QImage &insertImage;
};

// What one pointer event did, for the canvas to pass on.
struct ToolOutcome {
    QRect changedPixels;                    // image pixels drawn into
    bool sizeChanged = false;               // crop
    std::optional<QPointF> textPressedAt;   // the text tool was pressed here (view points)
    std::optional<QRectF> overlayRequested; // the insertion tool's image goes here (view points)
};

// The pointer rules of the twelve tools: press, drag and release in view points, turned
// into edits of the document. Free-hand strokes go into the image as they are drawn and
// make one undo step; the other tools draw on release, and a release whose image
// rectangle is 2 points or less either way leaves no trace (a line or arrow longer than
// 3 view points is kept whatever its rectangle).
class CanvasToolGesture {
public:
    ToolOutcome press(const ToolContext &context, QPointF point);
    ToolOutcome drag(const ToolContext &context, QPointF point);
    ToolOutcome release(const ToolContext &context, QPointF point);

    bool isDragging() const { return dragging_; }
    QPointF startPoint() const { return start_; }
    QPointF currentPoint() const { return current_; }
    QPointF lastPoint() const { return last_; }
    // The number the next callout shows; undo does not give numbers back.
    qint64 calloutNumber() const { return calloutNumber_; }

private:
    QRect stampCallout(const ToolContext &context, QPointF point);
    QRect drawFreehandSegment(const ToolContext &context);
    bool keepsDrag(const ToolContext &context) const;
    ToolOutcome applyDrag(const ToolContext &context);
    QRect drawShape(const ToolContext &context);
    QRect regionPixels(const ToolContext &context) const;

    QPointF start_;
    QPointF current_;
    QPointF last_;
    bool dragging_ = false;
    qint64 calloutNumber_ = 1;
};
