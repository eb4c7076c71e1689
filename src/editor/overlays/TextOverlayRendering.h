#pragma once

#include <QColor>
#include <QFont>
#include <QRectF>
#include <QString>

class QPainter;
class QPaintDevice;

// How the text box's text looks, on screen and once drawn into the image. Stateless.
namespace TextOverlayRendering {

// `family` at `pixelSize` pixels of `device`. A family the font system does not know
// comes out as the system font of that size.
QFont font(const QString &family, qreal pixelSize, const QPaintDevice &device);

// Only white space and line breaks: such a box draws nothing.
bool isBlank(const QString &text);

// Draws `text` as it is (blank lines kept) from the top left of `rect`, wrapped at word
// boundaries (a word wider than the rectangle is broken), clipped to the rectangle.
void drawText(QPainter &painter, const QRectF &rect, const QString &text, const QFont &font,
              const QColor &color);

} // namespace TextOverlayRendering
