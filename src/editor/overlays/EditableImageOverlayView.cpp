#include "editor/overlays/EditableImageOverlayView.h"

#include "editor/overlays/ImageOverlayGeometry.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <cmath>

namespace {

namespace Geometry = ImageOverlayGeometry;

// Room around the frame for the handles' outer halves and the shadow.
constexpr int outerMargin = 20;
const QColor outlineColor(73, 155, 224);
const QColor handleStroke(48, 108, 173);

bool isOverlayKey(const QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
        return true;
    default:
        return false;
    }
}

// A soft drop shadow below the frame: black at 0.24, blurred over 16 points, 4 points
// down. Nested rings, each adding just enough that the shadow's alpha at a distance d
// from the frame is 0.12 (1 - d/16)^2, the falloff of a blur of that radius.
void drawShadow(QPainter &painter, const QRectF &frame)
{
    constexpr int spread = 16;
    constexpr qreal edgeAlpha = 0.24 / 2;
    const auto shadowAt = [](qreal d) { return edgeAlpha * (1 - d / spread) * (1 - d / spread); };
    const QRectF base = frame.translated(0, 4);
    painter.setPen(Qt::NoPen);
    for (int ring = spread; ring >= 1; --ring) {
        const qreal alpha = 1 - (1 - shadowAt(ring - 1)) / (1 - shadowAt(ring));
        painter.setBrush(QColor::fromRgbF(0, 0, 0, float(alpha)));
        painter.drawRoundedRect(base.adjusted(-ring, -ring, ring, ring), ring, ring);
    }
}

} // namespace

EditableImageOverlayView::EditableImageOverlayView(const QImage &image, const QRectF &frame, qreal opacity,
                                                   QWidget *canvas)
    : QWidget(canvas), image_(image), opacity_(opacity)
{
    setFocusPolicy(Qt::ClickFocus);
    setToolTip(toolTipText);
    setMouseTracking(true);
    setFrame(frame);
}

void EditableImageOverlayView::setFrame(const QRectF &frame)
{
    frame_ = frame;
    setGeometry(frame.adjusted(-outerMargin, -outerMargin, outerMargin, outerMargin).toAlignedRect());
    update();
}

void EditableImageOverlayView::setOpacity(qreal opacity)
{
    opacity_ = opacity;
    update();
}

QPointF EditableImageOverlayView::toOverlay(QPointF widgetPoint) const
{
    return widgetPoint + QPointF(geometry().topLeft()) - frame_.topLeft();
}

QRectF EditableImageOverlayView::canvasBounds() const
{
    return parentWidget() ? QRectF(parentWidget()->rect()) : QRectF();
}

void EditableImageOverlayView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(frame_.topLeft() - QPointF(geometry().topLeft()));
    const QRectF bounds(QPointF(0, 0), frame_.size());

    painter.save();
    drawShadow(painter, bounds);
    painter.restore();

    painter.save();
    painter.setOpacity(qBound(0.0, opacity_, 1.0));
    painter.drawImage(bounds, image_);
    painter.restore();

    // Dashes of 7 on, 4 off at a width of 2 (Qt counts dashes in pen widths).
    QPen outline(outlineColor, 2);
    outline.setDashPattern({3.5, 2});
    outline.setCapStyle(Qt::FlatCap);
    painter.setPen(outline);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(bounds.adjusted(0.5, 0.5, -0.5, -0.5));

    painter.setPen(QPen(handleStroke, 1));
    painter.setBrush(Qt::white);
    for (const auto &[handle, rect] : Geometry::handleRects(frame_.size()))
        painter.drawRoundedRect(rect, 2, 2);
}

bool EditableImageOverlayView::event(QEvent *event)
{
    // Return, the delete keys and the arrows are this overlay's, not the window's shortcuts.
    if (event->type() == QEvent::ShortcutOverride && isOverlayKey(static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void EditableImageOverlayView::mousePressEvent(QMouseEvent *event)
{
    const ImageResizeHandle handle = Geometry::hitTest(toOverlay(event->position()), frame_.size());
    if (event->button() != Qt::LeftButton || handle == ImageResizeHandle::none) {
        // Only the frame and the handles are the overlay's; the shadow is the canvas's.
        activeHandle_ = ImageResizeHandle::none;
        event->ignore();
        return;
    }
    setFocus(Qt::MouseFocusReason);
    pointerStart_ = event->scenePosition();
    frameStart_ = frame_;
    activeHandle_ = handle;
}

void EditableImageOverlayView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton ||
        Geometry::hitTest(toOverlay(event->position()), frame_.size()) == ImageResizeHandle::none) {
        event->ignore();
        return;
    }
    activeHandle_ = ImageResizeHandle::none;
    if (applyHandler)
        applyHandler(this);
}

void EditableImageOverlayView::mouseMoveEvent(QMouseEvent *event)
{
    if (activeHandle_ == ImageResizeHandle::none) {
        if (event->buttons() == Qt::NoButton) {
            updateCursor(Geometry::hitTest(toOverlay(event->position()), frame_.size()));
            return;
        }
        event->ignore();
        return;
    }
    if (!parentWidget())
        return;
    const bool keepAspect = event->modifiers() & Qt::ShiftModifier;
    setFrame(Geometry::dragged(activeHandle_, frameStart_, event->scenePosition() - pointerStart_, keepAspect,
                               canvasBounds()));
}

void EditableImageOverlayView::mouseReleaseEvent(QMouseEvent *event)
{
    if (activeHandle_ == ImageResizeHandle::none) {
        event->ignore();
        return;
    }
    activeHandle_ = ImageResizeHandle::none;
}

void EditableImageOverlayView::keyPressEvent(QKeyEvent *event)
{
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    const bool alt = event->modifiers() & Qt::AltModifier;
    const qreal step = shift ? 10 : 1;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (applyHandler)
            applyHandler(this);
        return;
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
        if (cancelHandler)
            cancelHandler(this);
        return;
    case Qt::Key_Left:
        nudge(-step, 0, alt);
        return;
    case Qt::Key_Right:
        nudge(step, 0, alt);
        return;
    case Qt::Key_Up:
        nudge(0, -step, alt);
        return;
    case Qt::Key_Down:
        nudge(0, step, alt);
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void EditableImageOverlayView::nudge(qreal dx, qreal dy, bool resize)
{
    if (!parentWidget())
        return;
    setFrame(Geometry::nudged(frame_, QPointF(dx, dy), resize, canvasBounds()));
}

void EditableImageOverlayView::updateCursor(ImageResizeHandle handle)
{
    switch (handle) {
    case ImageResizeHandle::topLeft:
    case ImageResizeHandle::bottomRight:
        setCursor(Qt::SizeFDiagCursor);
        break;
    case ImageResizeHandle::topRight:
    case ImageResizeHandle::bottomLeft:
        setCursor(Qt::SizeBDiagCursor);
        break;
    case ImageResizeHandle::top:
    case ImageResizeHandle::bottom:
        setCursor(Qt::SizeVerCursor);
        break;
    case ImageResizeHandle::left:
    case ImageResizeHandle::right:
        setCursor(Qt::SizeHorCursor);
        break;
    case ImageResizeHandle::move:
        setCursor(Qt::SizeAllCursor);
        break;
    case ImageResizeHandle::none:
        unsetCursor();
        break;
    }
}
