#pragma once

#include "editor/document/EditorCanvasModel.h"

#include <QWidget>

// The editor canvas as a widget: its size is the image's size times the zoom, it draws
// the model and turns pointer events into tool gestures. Everything else is the model's;
// the operations the editor window uses are forwarded here by their usual names.
class EditorCanvasView : public QWidget {
    Q_OBJECT
public:
    explicit EditorCanvasView(const QImage &image, QWidget *parent = nullptr);

    EditorCanvasModel &model() { return *model_; }
    const EditorCanvasModel &model() const { return *model_; }

    const QImage &image() const { return model_->image(); }
    std::optional<QByteArray> pngData() const { return model_->pngData(); }
    qreal zoom() const { return model_->zoom(); }
    qreal fitZoom(QSizeF available, qreal maximum) const { return model_->fitZoom(available, maximum); }

    // Sets the widget's size to the model's frame and repaints.
    void updateFrame();
    // Asks the floating overlays to draw themselves into the image (overlaysCommitRequested).
    void commitActiveOverlays();

    void pushUndo() { model_->pushUndo(); }
    bool undo() { return model_->undo(); }
    bool redo() { return model_->redo(); }

signals:
    // Emitted synchronously: handlers must commit their overlay before returning.
    void overlaysCommitRequested();

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    EditorCanvasModel *model_;
};
