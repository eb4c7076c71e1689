#include "editor/overlays/OverlayPointerView.h"

#include <QMouseEvent>
#include <QPainter>

OverlayPointerView::OverlayPointerView(QWidget *parent) : QWidget(parent) {}

void OverlayPointerView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (background_.alpha() != 0)
        painter.fillRect(rect(), background_);
    if (!showsResizeGrip_)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(19, 21, 19, 150), 1.2, Qt::SolidLine, Qt::RoundCap));
    const QRectF r = QRectF(rect());
    painter.drawLine(QPointF(r.right() - 4, r.bottom() - 11), QPointF(r.right() - 11, r.bottom() - 4));
    painter.drawLine(QPointF(r.right() - 4, r.bottom() - 7), QPointF(r.right() - 7, r.bottom() - 4));
}

void OverlayPointerView::mousePressEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() == Qt::LeftButton && began)
        began(event->globalPosition());
}

void OverlayPointerView::mouseMoveEvent(QMouseEvent *event)
{
    event->accept();
    if ((event->buttons() & Qt::LeftButton) && moved)
        moved(event->globalPosition());
}

void OverlayPointerView::mouseReleaseEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() == Qt::LeftButton && ended)
        ended();
}
