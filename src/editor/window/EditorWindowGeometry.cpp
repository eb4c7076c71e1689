#include "editor/window/EditorWindowGeometry.h"

#include <algorithm>

QSizeF EditorWindowGeometry::contentSize(const QSizeF &area)
{
    return QSizeF(std::min(area.width() * 0.86, 1100.0), std::min(area.height() * 0.82, 740.0));
}

QSizeF EditorWindowGeometry::minimumSize(const QSizeF &area)
{
    return QSizeF(std::min(area.width(), 760.0), std::min(area.height(), 520.0));
}

QSizeF EditorWindowGeometry::maximumSize(const QSizeF &area)
{
    return area;
}
