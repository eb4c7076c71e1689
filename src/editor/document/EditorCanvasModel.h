#pragma once

#include "editor/document/CanvasToolGesture.h"
#include "editor/document/DrawingStyle.h"
#include "editor/document/EditTool.h"
#include "editor/document/EditorDocument.h"

#include <QByteArray>
#include <QImage>
#include <QObject>
#include <QRectF>
#include <QRegion>
#include <QSizeF>

#include <functional>
#include <optional>

class QPainter;

// Everything the editor canvas is, without the widget: the document and its undo, the
// tool and drawing style, the zoom with the view-to-image mapping, the pointer rules and
// the drawing of the view. View points have y pointing down and show image point
// view point / zoom. GUI thread only.
class EditorCanvasModel : public QObject {
    Q_OBJECT
public:
    explicit EditorCanvasModel(const QImage &image, QObject *parent = nullptr);

    // The document. image() stays valid until the next edit; copies of it never change.
    const QImage &image() const { return document_.image(); }
    // In image points.
    QSizeF imageSize() const { return document_.pointSize(); }
    std::optional<QByteArray> pngData() const { return document_.pngData(); }
    const EditorDocument &document() const { return document_; }

    EditTool tool() const { return tool_; }
    void setTool(EditTool tool);
    const DrawingStyle &style() const { return style_; }
    void setColor(const QColor &color);
    void setLineWidth(qreal width);
    void setOpacity(qreal opacity);
    void setTextFontName(const QString &name);
    void setTextFontSize(qreal size);
    // The image the insertion tool places.
    const QImage &insertImage() const { return insertImage_; }
    void setInsertImage(const QImage &image) { insertImage_ = image; }
    qint64 calloutNumber() const { return gesture_.calloutNumber(); }

    // Zoom. Every change commits the floating overlays first, since their frames are in
    // view points.
    qreal zoom() const { return zoom_; }
    void setZoom(qreal zoom);
    void zoomIn();  // +0.25, at most 2
    void zoomOut(); // -0.25, at least 0.25
    void resetZoom() { setZoom(1.0); }
    // Fits the image into a viewport of this size (see CanvasGeometry::viewportFitZoom).
    void fitToViewport(QSizeF viewport);
    qreal fitZoom(QSizeF available, qreal maximum) const;
    QSizeF frameSize() const;
    QPointF viewToImage(QPointF point) const { return point / zoom_; }
    QPointF imageToView(QPointF point) const { return point * zoom_; }
    QRectF viewToImage(const QRectF &rect) const;
    QRectF imageToView(const QRectF &rect) const;

    // Pointer events in view points.
    void press(QPointF point);
    void drag(QPointF point);
    void release(QPointF point);
    const CanvasToolGesture &gesture() const { return gesture_; }
    bool isDragging() const { return gesture_.isDragging(); }

    // Draws the part `exposed` (view points) of the view: black, the image, the preview.
    void paint(QPainter &painter, const QRectF &exposed) const;

    // Undo. undo() and redo() do not commit the overlays; callers do that first.
    void pushUndo();
    bool undo();
    bool redo();
    bool canUndo() const { return document_.canUndo(); }
    bool canRedo() const { return document_.canRedo(); }
    int undoCount() const { return document_.undoCount(); }
    int redoCount() const { return document_.redoCount(); }

    // Whole-image operations: each commits the overlays and is one undo step.
    void grayscale();
    void adjustExposure(qreal ev);
    void sepia();
    void invertColors();
    void sharpen();
    // New size max(side × scale, 1); a scale of 0 or less does nothing.
    void resizeImage(qreal scale);

    // Called before any whole-image operation or zoom change; the overlay layer installs
    // it to draw its floating text and image into the document.
    void setOverlayCommitHandler(std::function<void()> handler) { overlayCommitHandler_ = std::move(handler); }
    void commitActiveOverlays();
    // Draws an overlay's rendered image into `imageRect` (image points) at `opacity`,
    // source-over, as one undo step.
    void commitImage(const QImage &image, const QRectF &imageRect, qreal opacity);
    // Runs `draw` on the image (image points), clipped to `imageBounds`, as one undo step.
    void commitPainting(const QRectF &imageBounds, const std::function<void(QPainter &)> &draw);
    // Takes a pasted or chosen image for insertion and asks for it to float centred.
    void pasteImage(const QImage &image);

signals:
    void repaintNeeded(const QRectF &viewRect);
    void frameChanged(const QSizeF &frame);
    void zoomChanged(qreal zoom);
    void imageChanged();
    void canUndoChanged(bool canUndo);
    void canRedoChanged(bool canRedo);
    void toolChanged(EditTool tool);
    // Colour, width, opacity or font changed: floating overlays restyle themselves.
    void styleChanged();
    // The text tool was pressed at `viewPoint`; `boxFrame` is where a new box opens. When
    // a box is already open the overlay layer focuses it instead of opening another.
    void textToolPressed(const QPointF &viewPoint, const QRectF &boxFrame);
    // An image is to float over `viewRect` (insertion tool or paste). The overlay layer
    // commits the image overlay it already has first.
    void imageOverlayRequested(const QImage &image, const QRectF &viewRect);

private:
    ToolContext toolContext();
    QRectF previewBounds() const;
    void handle(const ToolOutcome &outcome, const QRectF &previewBefore);
    void afterEdit(const QRegion &changedPixels, bool sizeChanged);
    void applyFilter(const std::function<void(QImage &, const QRect &)> &filter);
    QRectF pixelsToView(const QRect &pixels) const;
    void repaintAll();
    void updateUndoAvailability();

    EditorDocument document_;
    DrawingStyle style_;
    EditTool tool_ = EditTool::rectangle;
    qreal zoom_ = 1.0;
    QImage insertImage_;
    CanvasToolGesture gesture_;
    std::function<void()> overlayCommitHandler_;
    bool couldUndo_ = false;
    bool couldRedo_ = false;
};
