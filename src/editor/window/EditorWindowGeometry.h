#pragma once

#include <QRectF>
#include <QSizeF>

// The editor window's size on a screen, from the screen's available area (logical
// pixels). Stateless.
namespace EditorWindowGeometry {

// Used when there is no screen at all.
inline const QRectF fallbackArea(0, 0, 1280, 800);

// 86 % of the width and 82 % of the height, at most 1100 by 740.
QSizeF contentSize(const QSizeF &area);
// 760 by 520, or the whole area when it is smaller.
QSizeF minimumSize(const QSizeF &area);
// The window never outgrows the area.
QSizeF maximumSize(const QSizeF &area);

} // namespace EditorWindowGeometry
