#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QRectF>

class EditableImageOverlayView;
class EditableTextOverlayView;
class EditorCanvasView;
class QWidget;

// The floating text box and the floating inserted image of one canvas: opens them when
// the tools ask, keeps them styled, and draws them into the image (one undo step each) or
// throws them away. At most one of each exists. GUI thread only.
class CanvasOverlays : public QObject {
    Q_OBJECT
public:
    explicit CanvasOverlays(EditorCanvasView &canvas);
    ~CanvasOverlays() override;

    EditableTextOverlayView *textOverlay() const { return textOverlay_; }
    EditableImageOverlayView *imageOverlay() const { return imageOverlay_; }

    // Opens a text box at `frame` (view points), styled as the canvas draws, with its
    // hint selected so typing replaces it.
    void addText(const QRectF &frame);
    // Draws the box's text into the image at the box's place and the font's image size;
    // a blank box is only closed.
    void commitTextOverlay(EditableTextOverlayView *box);
    // Closes the box without drawing, if it is still the open one.
    void closeTextOverlay(EditableTextOverlayView *box);
    // Copies the canvas's font, size, colour and zoom into the open box.
    void updateTextOverlayStyle();

    // Floats `image` over `frame` (view points), taking the keyboard focus.
    void addImageOverlay(const QImage &image, const QRectF &frame);
    // Applies the image floating now (not the text box), then floats `image` centred.
    void addCenteredImageOverlay(const QImage &image);
    // Draws the overlay into the image at its place and opacity, if it is still the
    // current one; one 2 points wide or high or less is only removed.
    void commitImageOverlay(EditableImageOverlayView *overlay);
    // Removes the floating image without drawing it.
    void cancelImageOverlay();

    // The text box first, then the image.
    void commitAll();

private:
    void removeText();
    void removeImage();
    void remove(QWidget *overlay);
    void styleChanged();

    EditorCanvasView &canvas_;
    QPointer<EditableTextOverlayView> textOverlay_;
    QPointer<EditableImageOverlayView> imageOverlay_;
};
