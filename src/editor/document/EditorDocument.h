#pragma once

#include "editor/document/UndoHistory.h"

#include <QByteArray>
#include <QImage>
#include <QRectF>

#include <functional>
#include <optional>

class QPainter;

// The image being edited and its undo history. Drawing is in image points; the image
// keeps its density as its device pixel ratio (2 for a capture from a 2x screen), fixed
// for the document's life, and is kept as ARGB32_Premultiplied. Undo tiles, filters and
// PNG output stay in pixels. Edits draw into the image where it is, after the history
// has saved the tiles they touch; an image handed out by image() stays as it was,
// because QImage copies its pixels before they are written while shared.
class EditorDocument {
public:
    static constexpr QImage::Format pixelFormat = QImage::Format_ARGB32_Premultiplied;

    explicit EditorDocument(const QImage &image);

    const QImage &image() const { return image_; }
    // In pixels.
    QSize size() const { return image_.size(); }
    QRect bounds() const { return QRect(QPoint(0, 0), image_.size()); }
    // Pixels per image point.
    qreal pixelRatio() const { return ratio_; }
    QSizeF pointSize() const { return image_.deviceIndependentSize(); }
    // Points to pixels, edges rounded to whole pixels.
    QRect toPixels(const QRectF &points) const;
    QRectF toPoints(const QRectF &pixels) const;

    // Opens an undo step for the edit that follows (and forgets what could be redone).
    void pushUndo();
    // Ends the open step; the next change without pushUndo() opens its own.
    void closeStep();
    // Step back or forward. `changed` receives the pixels that were rewritten (the whole
    // image when the size changed). False when there was nothing to take.
    bool undo(QRegion *changed = nullptr);
    bool redo(QRegion *changed = nullptr);
    bool canUndo() const { return history_.canUndo(); }
    bool canRedo() const { return history_.canRedo(); }
    int undoCount() const { return history_.undoCount(); }
    int redoCount() const { return history_.redoCount(); }
    size_t undoMemoryBytes() const { return history_.memoryBytes(); }

    // Draws with antialiasing in image points, clipped to `bounds` grown by two pixels for
    // the antialiased fringe. Returns the pixels that may have changed.
    QRect paint(const QRectF &bounds, const std::function<void(QPainter &)> &draw);
    // Lets `modify` rewrite the pixels of `rect` (pixels) in place (it may read anywhere).
    QRect modifyPixels(const QRect &rect, const std::function<void(QImage &image, const QRect &rect)> &modify);
    // Lets `transform` rewrite the whole image in place, after saving it packed for undo
    // (colour filters: nearly every tile changes, so nothing is copied raw first).
    void transformInPlace(const std::function<void(QImage &image, const QRect &rect)> &transform);
    // Replaces the whole image (crop, resize); the size may change, the density does not.
    void replaceImage(const QImage &next);

    // The image as PNG bytes; nothing when it cannot be encoded.
    std::optional<QByteArray> pngData() const;

    // `image` converted to the document's pixel format, keeping its density, never
    // sharing pixels with the argument.
    static QImage normalized(const QImage &image);

private:
    void keepDensity();
    QImage image_;
    qreal ratio_ = 1.0;
    UndoHistory history_;
};
