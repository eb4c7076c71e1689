#pragma once

#include "editor/document/ImageResizeHandle.h"

#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QString>
#include <QWidget>

#include <functional>

// An inserted image floating over the canvas until it is applied or removed: moved by its
// body, resized by eight handles (Shift keeps the ratio), nudged with the arrow keys
// (Shift: by 10; Alt: resize), applied by Return or a double click, removed by Backspace
// or Delete. Its frame is in the canvas's view points; the widget reaches a little beyond
// it so the handles and the shadow show whole.
class EditableImageOverlayView : public QWidget {
    Q_OBJECT
public:
    static inline const QString toolTipText = QStringLiteral("Kéo để di chuyển, kéo cạnh/góc để đổi kích thước");

    EditableImageOverlayView(const QImage &image, const QRectF &frame, qreal opacity, QWidget *canvas);

    std::function<void(EditableImageOverlayView *)> applyHandler;
    std::function<void(EditableImageOverlayView *)> cancelHandler;

    const QImage &image() const { return image_; }
    QRectF frame() const { return frame_; }
    void setFrame(const QRectF &frame);
    qreal opacity() const { return opacity_; }
    void setOpacity(qreal opacity);
    ImageResizeHandle activeHandle() const { return activeHandle_; }

    // One arrow-key step: moves by (dx, dy), or with `resize` changes the size, inside the
    // canvas. Nothing happens without a canvas.
    void nudge(qreal dx, qreal dy, bool resize);

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    // A widget position in the overlay's own coordinates (origin at the frame's corner).
    QPointF toOverlay(QPointF widgetPoint) const;
    QRectF canvasBounds() const;
    void updateCursor(ImageResizeHandle handle);

    QImage image_;
    QRectF frame_;
    qreal opacity_;
    ImageResizeHandle activeHandle_ = ImageResizeHandle::none;
    QPointF pointerStart_;
    QRectF frameStart_;
};
