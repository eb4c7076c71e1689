#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace ScreenPlacement {

// Top-left that centres a window of this size in a screen's available area.
inline QPoint centredOrigin(const QSize &window, const QRect &available)
{
    return {available.x() + (available.width() - window.width()) / 2,
            available.y() + (available.height() - window.height()) / 2};
}

} // namespace ScreenPlacement
