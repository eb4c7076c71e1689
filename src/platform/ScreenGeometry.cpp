#include "platform/ScreenGeometry.h"

#include <cmath>

namespace ScreenGeometry {

bool frameContains(const QRectF &frame, const QPointF &point)
{
    return point.x() >= frame.left() && point.x() < frame.left() + frame.width()
        && point.y() >= frame.top() && point.y() < frame.top() + frame.height();
}

std::optional<qsizetype> screenIndexContaining(const QList<QRectF> &frames,
                                               const QPointF &point,
                                               std::optional<qsizetype> mainIndex)
{
    for (qsizetype i = 0; i < frames.size(); ++i) {
        if (frameContains(frames[i], point))
            return i;
    }
    if (mainIndex && *mainIndex >= 0 && *mainIndex < frames.size())
        return mainIndex;
    if (!frames.isEmpty())
        return 0;
    return std::nullopt;
}

QPoint centredTopLeft(const QSize &windowSize, const QRect &available)
{
    const double midX = available.x() + available.width() / 2.0;
    const double midY = available.y() + available.height() / 2.0;
    return QPoint(int(std::floor(midX - windowSize.width() / 2.0)),
                  int(std::floor(midY - windowSize.height() / 2.0)));
}

} // namespace ScreenGeometry
