#include "editor/document/EditorCanvasModel.h"

#include "editor/document/CanvasGeometry.h"
#include "editor/imaging/ColorFilters.h"
#include "editor/imaging/ImageResampler.h"
#include "editor/document/ToolPreview.h"

#include <QPainter>

#include <cmath>

namespace {

constexpr double sepiaIntensity = 0.75;
constexpr double sharpenAmount = 0.85;

} // namespace

EditorCanvasModel::EditorCanvasModel(const QImage &image, QObject *parent)
    : QObject(parent), document_(image)
{
}

void EditorCanvasModel::setTool(EditTool tool)
{
    if (tool_ == tool)
        return;
    tool_ = tool;
    emit toolChanged(tool);
}

void EditorCanvasModel::setColor(const QColor &color)
{
    style_.color = color;
    emit styleChanged();
}

void EditorCanvasModel::setLineWidth(qreal width)
{
    style_.lineWidth = width;
    emit styleChanged();
}

void EditorCanvasModel::setOpacity(qreal opacity)
{
    style_.opacity = opacity;
    emit styleChanged();
}

void EditorCanvasModel::setTextFontName(const QString &name)
{
    style_.textFontName = name;
    emit styleChanged();
}

void EditorCanvasModel::setTextFontSize(qreal size)
{
    style_.textFontSize = size;
    emit styleChanged();
}

void EditorCanvasModel::setZoom(qreal zoom)
{
    if (!(zoom > 0) || !std::isfinite(zoom))
        return;
    commitActiveOverlays();
    const bool changed = zoom != zoom_;
    zoom_ = zoom;
    emit frameChanged(frameSize());
    repaintAll();
    if (changed)
        emit zoomChanged(zoom_);
}

void EditorCanvasModel::zoomIn()
{
    setZoom(std::min(zoom_ + CanvasGeometry::zoomStep, CanvasGeometry::maximumStepZoom));
}

void EditorCanvasModel::zoomOut()
{
    setZoom(std::max(zoom_ - CanvasGeometry::zoomStep, CanvasGeometry::minimumStepZoom));
}

void EditorCanvasModel::fitToViewport(QSizeF viewport)
{
    setZoom(CanvasGeometry::viewportFitZoom(imageSize(), viewport));
}

qreal EditorCanvasModel::fitZoom(QSizeF available, qreal maximum) const
{
    return CanvasGeometry::fitZoom(imageSize(), available, maximum);
}

QSizeF EditorCanvasModel::frameSize() const
{
    return CanvasGeometry::frameSize(imageSize(), zoom_);
}

QRectF EditorCanvasModel::viewToImage(const QRectF &rect) const
{
    return QRectF(rect.topLeft() / zoom_, rect.size() / zoom_);
}

QRectF EditorCanvasModel::imageToView(const QRectF &rect) const
{
    return QRectF(rect.topLeft() * zoom_, rect.size() * zoom_);
}

ToolContext EditorCanvasModel::toolContext()
{
    return ToolContext{document_, style_, tool_, zoom_, frameSize(), insertImage_};
}

QRectF EditorCanvasModel::previewBounds() const
{
    if (!gesture_.isDragging())
        return QRectF();
    return ToolPreview::bounds(tool_, gesture_.startPoint(), gesture_.currentPoint(), style_, zoom_);
}

void EditorCanvasModel::press(QPointF point)
{
    const QRectF before = previewBounds();
    handle(gesture_.press(toolContext(), point), before);
}

void EditorCanvasModel::drag(QPointF point)
{
    const QRectF before = previewBounds();
    handle(gesture_.drag(toolContext(), point), before);
}

void EditorCanvasModel::release(QPointF point)
{
    const QRectF before = previewBounds();
    handle(gesture_.release(toolContext(), point), before);
}

void EditorCanvasModel::handle(const ToolOutcome &outcome, const QRectF &previewBefore)
{
    const QRectF previewAfter = previewBounds();
    if (!previewBefore.isEmpty() || !previewAfter.isEmpty())
        emit repaintNeeded(previewBefore | previewAfter);
    afterEdit(outcome.changedPixels, outcome.sizeChanged);
    if (outcome.textPressedAt)
        emit textToolPressed(*outcome.textPressedAt, CanvasGeometry::textBoxFrame(*outcome.textPressedAt, frameSize()));
    if (outcome.overlayRequested)
        emit imageOverlayRequested(insertImage_, *outcome.overlayRequested);
}

void EditorCanvasModel::afterEdit(const QRegion &changedPixels, bool sizeChanged)
{
    // Past this many pieces one rectangle round them all is cheaper to repaint.
    constexpr int maxRepaintPieces = 64;
    if (sizeChanged) {
        emit frameChanged(frameSize());
        repaintAll();
    } else if (changedPixels.rectCount() > maxRepaintPieces) {
        emit repaintNeeded(pixelsToView(changedPixels.boundingRect()));
    } else {
        for (const QRect &piece : changedPixels)
            emit repaintNeeded(pixelsToView(piece));
    }
    if (sizeChanged || !changedPixels.isEmpty())
        emit imageChanged();
    updateUndoAvailability();
}

QRectF EditorCanvasModel::pixelsToView(const QRect &pixels) const
{
    return imageToView(document_.toPoints(QRectF(pixels))).adjusted(-1, -1, 1, 1);
}

void EditorCanvasModel::repaintAll()
{
    emit repaintNeeded(QRectF(QPointF(0, 0), frameSize()));
}

void EditorCanvasModel::updateUndoAvailability()
{
    if (canUndo() != couldUndo_) {
        couldUndo_ = canUndo();
        emit canUndoChanged(couldUndo_);
    }
    if (canRedo() != couldRedo_) {
        couldRedo_ = canRedo();
        emit canRedoChanged(couldRedo_);
    }
}

void EditorCanvasModel::paint(QPainter &painter, const QRectF &exposed) const
{
    const QRectF frame(QPointF(0, 0), frameSize());
    const QRectF area = exposed.intersected(frame);
    painter.save();
    painter.setClipRect(area);
    if (image().isNull()) {
        painter.fillRect(area, Qt::black);
    } else {
        // The image covers the whole frame and replaces what is below, so the black
        // ground never shows through; it is not painted.
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        if (zoom_ == 1.0 && document_.pixelRatio() == 1.0) {
            const QRect pixels = area.toAlignedRect();
            painter.drawImage(pixels.topLeft(), image(), pixels);
        } else {
            painter.setRenderHint(QPainter::SmoothPixmapTransform);
            painter.drawImage(frame, image());
        }
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (gesture_.isDragging())
        ToolPreview::paint(painter, tool_, gesture_.startPoint(), gesture_.currentPoint(), style_, zoom_, insertImage_);
    painter.restore();
}

void EditorCanvasModel::pushUndo()
{
    document_.pushUndo();
    updateUndoAvailability();
}

bool EditorCanvasModel::undo()
{
    const QSize before = document_.size();
    QRegion changed;
    if (!document_.undo(&changed))
        return false;
    afterEdit(changed, document_.size() != before);
    return true;
}

bool EditorCanvasModel::redo()
{
    const QSize before = document_.size();
    QRegion changed;
    if (!document_.redo(&changed))
        return false;
    afterEdit(changed, document_.size() != before);
    return true;
}

void EditorCanvasModel::applyFilter(const std::function<void(QImage &, const QRect &)> &filter)
{
    if (image().isNull())
        return;
    document_.pushUndo();
    document_.transformInPlace(filter);
    document_.closeStep();
    afterEdit(document_.bounds(), false);
}

void EditorCanvasModel::grayscale()
{
    commitActiveOverlays();
    applyFilter(ColorFilters::grayscale());
}

void EditorCanvasModel::adjustExposure(qreal ev)
{
    commitActiveOverlays();
    applyFilter(ColorFilters::adjustExposure(ev));
}

void EditorCanvasModel::sepia()
{
    commitActiveOverlays();
    applyFilter(ColorFilters::sepia(sepiaIntensity));
}

void EditorCanvasModel::invertColors()
{
    commitActiveOverlays();
    applyFilter(ColorFilters::invert());
}

void EditorCanvasModel::sharpen()
{
    commitActiveOverlays();
    // The detail is measured after the overlays are in the picture.
    applyFilter(ColorFilters::sharpenLuminance(image(), sharpenAmount));
}

void EditorCanvasModel::resizeImage(qreal scale)
{
    commitActiveOverlays();
    if (!(scale > 0) || image().isNull())
        return;
    // Scaling the pixels scales the points alike: the density stays.
    QImage next = ImageResampler::resized(image(), ImageResampler::scaledSize(document_.size(), scale));
    if (next.isNull())
        return;
    next.setDevicePixelRatio(document_.pixelRatio());
    document_.pushUndo();
    document_.replaceImage(next);
    document_.closeStep();
    afterEdit(document_.bounds(), true);
}

void EditorCanvasModel::commitActiveOverlays()
{
    if (overlayCommitHandler_)
        overlayCommitHandler_();
}

void EditorCanvasModel::commitImage(const QImage &image, const QRectF &imageRect, qreal opacity)
{
    commitPainting(imageRect, [&](QPainter &painter) {
        painter.setOpacity(qBound(0.0, opacity, 1.0));
        painter.drawImage(imageRect, image);
    });
}

void EditorCanvasModel::commitPainting(const QRectF &imageBounds, const std::function<void(QPainter &)> &draw)
{
    document_.pushUndo();
    const QRect changed = document_.paint(imageBounds, draw);
    document_.closeStep();
    afterEdit(changed, false);
}

void EditorCanvasModel::pasteImage(const QImage &image)
{
    if (image.isNull())
        return;
    commitActiveOverlays();
    insertImage_ = image;
    emit imageOverlayRequested(image, CanvasGeometry::centeredOverlayRect(frameSize(), image.deviceIndependentSize()));
}
