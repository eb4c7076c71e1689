#include "editor/overlays/TextOverlayGeometry.h"

#include <algorithm>

namespace {

constexpr qreal buttonWidth = 30;
constexpr qreal buttonHeight = 26;
constexpr qreal buttonTop = 4;
constexpr qreal applyRightInset = 38;
constexpr qreal closeRightInset = 72;
constexpr qreal dragHandleWidth = 42;

} // namespace

QRectF TextOverlayGeometry::headerRect(QSizeF size)
{
    return QRectF(0, 0, size.width(), headerHeight);
}

QRectF TextOverlayGeometry::dragHandleRect()
{
    return QRectF(0, 0, dragHandleWidth, headerHeight);
}

QRectF TextOverlayGeometry::gripLabelRect()
{
    return QRectF(11, 7, 24, 20);
}

QRectF TextOverlayGeometry::closeButtonRect(QSizeF size)
{
    return QRectF(size.width() - closeRightInset, buttonTop, buttonWidth, buttonHeight);
}

QRectF TextOverlayGeometry::applyButtonRect(QSizeF size)
{
    return QRectF(size.width() - applyRightInset, buttonTop, buttonWidth, buttonHeight);
}

QRectF TextOverlayGeometry::textAreaRect(QSizeF size)
{
    const qreal top = headerHeight + margin;
    return QRectF(margin, top, size.width() - 2 * margin, size.height() - top - margin);
}

QRectF TextOverlayGeometry::resizeHandleRect(QSizeF size)
{
    return QRectF(size.width() - resizeHandleSide, size.height() - resizeHandleSide, resizeHandleSide,
                  resizeHandleSide);
}

QRectF TextOverlayGeometry::moved(const QRectF &frameStart, QPointF pointerDelta, QSizeF parent)
{
    const QPointF wanted = frameStart.topLeft() + pointerDelta;
    const qreal x = std::min(std::max(wanted.x(), 0.0), std::max(parent.width() - frameStart.width(), 0.0));
    const qreal y = std::min(std::max(wanted.y(), 0.0), std::max(parent.height() - frameStart.height(), 0.0));
    return QRectF(QPointF(x, y), frameStart.size());
}

QRectF TextOverlayGeometry::resized(const QRectF &frameStart, QPointF pointerDelta, QSizeF parent)
{
    const qreal width = std::min(std::max(frameStart.width() + pointerDelta.x(), minWidth),
                                 parent.width() - frameStart.x());
    // The bottom edge follows the pointer, stays on the canvas, and the minimum height
    // wins over the canvas's edge.
    const qreal top = frameStart.top();
    qreal bottom = std::min(frameStart.bottom() + pointerDelta.y(), parent.height());
    bottom = std::max(bottom, top + minHeight);
    return QRectF(frameStart.x(), top, width, bottom - top);
}

QRectF TextOverlayGeometry::textImageRect(const QRectF &boxFrame, qreal zoom)
{
    const QRectF area = textAreaRect(boxFrame.size()).translated(boxFrame.topLeft());
    return QRectF(area.topLeft() / zoom, area.size() / zoom);
}

qreal TextOverlayGeometry::displayFontSize(qreal fontSize, qreal displayScale)
{
    return std::max(fontSize * displayScale, minDisplayFontSize);
}
