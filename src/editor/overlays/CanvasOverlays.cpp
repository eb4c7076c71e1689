#include "editor/overlays/CanvasOverlays.h"

#include "editor/document/CanvasGeometry.h"
#include "editor/overlays/EditableImageOverlayView.h"
#include "editor/overlays/EditableTextOverlayView.h"
#include "editor/canvas/EditorCanvasView.h"
#include "editor/overlays/TextOverlayGeometry.h"
#include "editor/overlays/TextOverlayRendering.h"

#include <QApplication>
#include <QPainter>

CanvasOverlays::CanvasOverlays(EditorCanvasView &canvas) : QObject(&canvas), canvas_(canvas)
{
    EditorCanvasModel &model = canvas.model();
    // Direct connections: the canvas expects the overlays drawn in before it goes on.
    connect(&canvas, &EditorCanvasView::overlaysCommitRequested, this, &CanvasOverlays::commitAll,
            Qt::DirectConnection);
    connect(&model, &EditorCanvasModel::styleChanged, this, &CanvasOverlays::styleChanged);
    connect(&model, &EditorCanvasModel::textToolPressed, this, [this](const QPointF &, const QRectF &boxFrame) {
        if (textOverlay_)
            textOverlay_->focusText();
        else
            addText(boxFrame);
    });
    connect(&model, &EditorCanvasModel::imageOverlayRequested, this,
            [this](const QImage &image, const QRectF &frame) {
                if (imageOverlay_)
                    commitImageOverlay(imageOverlay_);
                addImageOverlay(image, frame);
            });
}

CanvasOverlays::~CanvasOverlays() = default;

void CanvasOverlays::addText(const QRectF &frame)
{
    if (textOverlay_)
        commitTextOverlay(textOverlay_);
    auto *box = new EditableTextOverlayView(frame, &canvas_);
    QPointer<CanvasOverlays> self(this);
    box->applyHandler = [self](EditableTextOverlayView *b) {
        if (self)
            self->commitTextOverlay(b);
    };
    box->cancelHandler = [self](EditableTextOverlayView *b) {
        if (self)
            self->closeTextOverlay(b);
    };
    textOverlay_ = box;
    updateTextOverlayStyle();
    box->show();
    box->raise();
    box->focusText();
}

void CanvasOverlays::commitTextOverlay(EditableTextOverlayView *box)
{
    if (!box || box != textOverlay_)
        return;
    const QString text = box->text();
    if (!TextOverlayRendering::isBlank(text)) {
        EditorCanvasModel &model = canvas_.model();
        const QRectF area = TextOverlayGeometry::textImageRect(box->frame(), model.zoom());
        const QString family = box->fontName();
        const qreal size = box->fontSize();
        const QColor color = box->textColor();
        // The canvas's opacity is for shapes; text goes in with its colour as it is.
        model.commitPainting(area, [&](QPainter &painter) {
            TextOverlayRendering::drawText(painter, area, text,
                                           TextOverlayRendering::font(family, size, *painter.device()), color);
        });
    }
    removeText();
}

void CanvasOverlays::closeTextOverlay(EditableTextOverlayView *box)
{
    if (box && box == textOverlay_)
        removeText();
}

void CanvasOverlays::updateTextOverlayStyle()
{
    if (!textOverlay_)
        return;
    const EditorCanvasModel &model = canvas_.model();
    const DrawingStyle &style = model.style();
    textOverlay_->setTextStyle(style.textFontName, style.textFontSize, style.color, model.zoom());
}

void CanvasOverlays::addImageOverlay(const QImage &image, const QRectF &frame)
{
    auto *overlay = new EditableImageOverlayView(image, frame, canvas_.model().style().opacity, &canvas_);
    QPointer<CanvasOverlays> self(this);
    overlay->applyHandler = [self](EditableImageOverlayView *o) {
        if (self)
            self->commitImageOverlay(o);
    };
    overlay->cancelHandler = [self](EditableImageOverlayView *o) {
        if (self && o == self->imageOverlay_)
            self->cancelImageOverlay();
    };
    imageOverlay_ = overlay;
    overlay->show();
    overlay->raise();
    overlay->setFocus(Qt::OtherFocusReason);
}

void CanvasOverlays::addCenteredImageOverlay(const QImage &image)
{
    if (image.isNull())
        return;
    // Only the floating image gives way; an open text box stays open.
    if (imageOverlay_)
        commitImageOverlay(imageOverlay_);
    EditorCanvasModel &model = canvas_.model();
    model.setInsertImage(image);
    addImageOverlay(image, CanvasGeometry::centeredOverlayRect(model.frameSize(), image.deviceIndependentSize()));
}

void CanvasOverlays::commitImageOverlay(EditableImageOverlayView *overlay)
{
    if (!overlay || overlay != imageOverlay_)
        return;
    const QRectF frame = overlay->frame();
    if (frame.width() > 2 && frame.height() > 2) {
        EditorCanvasModel &model = canvas_.model();
        model.commitImage(overlay->image(), model.viewToImage(frame), overlay->opacity());
    }
    removeImage();
}

void CanvasOverlays::cancelImageOverlay()
{
    if (imageOverlay_)
        removeImage();
}

void CanvasOverlays::commitAll()
{
    if (textOverlay_)
        commitTextOverlay(textOverlay_);
    if (imageOverlay_)
        commitImageOverlay(imageOverlay_);
}

void CanvasOverlays::removeText()
{
    EditableTextOverlayView *box = textOverlay_;
    textOverlay_ = nullptr;
    remove(box);
}

void CanvasOverlays::removeImage()
{
    EditableImageOverlayView *overlay = imageOverlay_;
    imageOverlay_ = nullptr;
    remove(overlay);
}

void CanvasOverlays::remove(QWidget *overlay)
{
    // The keyboard goes back to the canvas (where Return saves), not to the next button.
    const bool hadFocus = overlay->isAncestorOf(QApplication::focusWidget()) || overlay->hasFocus();
    // Its own button or key may be what is calling: it goes once the event is handled.
    overlay->hide();
    overlay->deleteLater();
    if (hadFocus)
        canvas_.setFocus(Qt::OtherFocusReason);
    canvas_.update();
}

void CanvasOverlays::styleChanged()
{
    updateTextOverlayStyle();
    if (imageOverlay_)
        imageOverlay_->setOpacity(canvas_.model().style().opacity);
}
