#include "editor/document/CanvasGeometry.h"

#include <algorithm>

QSizeF CanvasGeometry::frameSize(QSizeF imageSize, qreal zoom)
{
    return QSizeF(std::max(imageSize.width() * zoom, 1.0), std::max(imageSize.height() * zoom, 1.0));
}

qreal CanvasGeometry::fitZoom(QSizeF imageSize, QSizeF available, qreal maximum)
{
    if (imageSize.width() <= 0 || imageSize.height() <= 0)
        return 1.0;
    const qreal fit = std::min(available.width() / imageSize.width(), available.height() / imageSize.height());
    return std::min(std::max(fit, minimumFitZoom), maximum);
}

qreal CanvasGeometry::viewportFitZoom(QSizeF imageSize, QSizeF viewport)
{
    const QSizeF available(viewport.width() - 2 * fitMargin, viewport.height() - 2 * fitMargin);
    if (available.width() > 20 && available.height() > 20)
        return fitZoom(imageSize, available, 1.0);
    return 0.5;
}

QPointF CanvasGeometry::clampToFrame(QPointF point, QSizeF frame)
{
    return QPointF(std::clamp(point.x(), 0.0, frame.width()), std::clamp(point.y(), 0.0, frame.height()));
}

QRectF CanvasGeometry::spanned(QPointF a, QPointF b)
{
    return QRectF(QPointF(std::min(a.x(), b.x()), std::min(a.y(), b.y())),
                  QPointF(std::max(a.x(), b.x()), std::max(a.y(), b.y())));
}

QRectF CanvasGeometry::textBoxFrame(QPointF point, QSizeF frame)
{
    const qreal w = std::min(frame.width(), 430.0);
    const qreal h = std::min(frame.height(), 185.0);
    const qreal x = std::min(std::max(frame.width() - w, 0.0), std::max(point.x(), 0.0));
    // The click is the bottom edge; with y down the box grows upwards from it.
    const qreal top = std::min(std::max(frame.height() - h, 0.0), std::max(point.y() - h, 0.0));
    return QRectF(x, top, w, h);
}

QRectF CanvasGeometry::centeredOverlayRect(QSizeF frame, QSizeF imageSize)
{
    const qreal s = std::min({frame.width() * 0.55 / std::max(imageSize.width(), 1.0),
                              frame.height() * 0.55 / std::max(imageSize.height(), 1.0), 1.0});
    const qreal w = std::max(imageSize.width() * s, 64.0);
    const qreal h = std::max(imageSize.height() * s, 64.0);
    const QPointF origin(std::max((frame.width() - w) / 2, 0.0), std::max((frame.height() - h) / 2, 0.0));
    return QRectF(origin, QSizeF(std::min(w, frame.width()), std::min(h, frame.height())));
}
