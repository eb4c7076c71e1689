#include "editor/canvas/EditorCanvasView.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

#include <cmath>

EditorCanvasView::EditorCanvasView(const QImage &image, QWidget *parent)
    : QWidget(parent), model_(new EditorCanvasModel(image, this))
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    model_->setOverlayCommitHandler([this] { commitActiveOverlays(); });
    connect(model_, &EditorCanvasModel::frameChanged, this, &EditorCanvasView::updateFrame);
    connect(model_, &EditorCanvasModel::repaintNeeded, this,
            [this](const QRectF &rect) { update(rect.toAlignedRect()); });
    updateFrame();
}

void EditorCanvasView::updateFrame()
{
    const QSizeF frame = model_->frameSize();
    resize(std::max(int(std::ceil(frame.width())), 1), std::max(int(std::ceil(frame.height())), 1));
    update();
}

void EditorCanvasView::commitActiveOverlays()
{
    emit overlaysCommitRequested();
}

void EditorCanvasView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    model_->paint(painter, QRectF(event->rect()));
}

void EditorCanvasView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    setFocus(Qt::MouseFocusReason);
    model_->press(event->position());
}

void EditorCanvasView::mouseMoveEvent(QMouseEvent *event)
{
    if (model_->isDragging())
        model_->drag(event->position());
}

void EditorCanvasView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        model_->release(event->position());
}
