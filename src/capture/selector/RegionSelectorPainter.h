#pragma once

#include <QColor>
#include <QFont>
#include <QImage>
#include <QRectF>
#include <QString>
#include <optional>

class QPainter;

// How the region selector looks, apart from any widget: the frozen screen (or the live
// screen through a transparent window) dimmed, the selection shown undimmed with a blue
// border and its size above its top-left corner, and a prompt while nothing is dragged.
namespace RegionSelectorPainter {

inline const QColor dimming{0, 0, 0, 115};        // black at 45 %
inline const QColor border{0, 122, 255};          // the system accent blue
inline const QColor labelBackground{0, 0, 0, 166};   // black at 65 %
inline const QColor promptBackground{0, 0, 0, 179};  // black at 70 %
inline constexpr qreal borderWidth = 2.0;
inline constexpr qreal promptTopMargin = 45.0;
inline constexpr QPointF labelOffset{8.0, 6.0};   // right of the left edge, above the top

QFont labelFont(const QFont &base);    // 13 px, medium
QFont promptFont(const QFont &base);   // 16 px, semibold

// "320 × 240": the selection's size in logical pixels, truncated.
QString sizeText(const QSizeF &size);

// Where the size label and the prompt go, for repainting only what changed.
QRectF labelRect(const QRectF &selection, const QFont &base);
QRectF promptRect(const QRectF &bounds, const QString &prompt, const QFont &base);
// Everything a selection paints outside the plain dimming.
QRectF selectionFootprint(const QRectF &selection, const QFont &base);

// Paints into bounds (logical pixels). frozen may be null: then the window is expected
// to be translucent and the selection is punched through to the live screen.
// selection is set while a drag is in progress.
void paint(QPainter &painter, const QRectF &bounds, const QImage &frozen, const QString &prompt,
           const std::optional<QRectF> &selection, const QFont &base);

} // namespace RegionSelectorPainter
