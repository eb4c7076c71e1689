#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <optional>

// Screen choice and window placement, in Qt's global space (logical pixels, y down).
namespace ScreenGeometry {

// True when point lies in frame, counting the left and top edges but not the right and
// bottom ones, so a point on the seam between two screens belongs to exactly one.
bool frameContains(const QRectF &frame, const QPointF &point);

// Index of the screen to use for point: the first frame (in list order) containing it;
// else the main screen; else the first screen; nothing when there are no screens.
std::optional<qsizetype> screenIndexContaining(const QList<QRectF> &frames,
                                               const QPointF &point,
                                               std::optional<qsizetype> mainIndex);

// Top-left corner that centres a window of windowSize in the available area, keeping the
// size. Fractions are rounded down so the result does not wobble between calls.
QPoint centredTopLeft(const QSize &windowSize, const QRect &available);

} // namespace ScreenGeometry
