#pragma once

#include <QImage>
#include <QRect>

#include <algorithm>

// Filters that rewrite one rectangle of an ARGB32_Premultiplied image in place. They
// read beyond the rectangle as a whole-image filter would, so the result inside is the
// same as filtering everything and copying the rectangle back.
namespace RegionFilters {

// Square cells of `cellSide` pixels on a grid anchored at the image's origin; each cell
// takes the mean colour of the whole cell.
void pixelate(QImage &image, const QRect &rect, int cellSide);
// Gaussian blur of standard deviation `radius`; the image's edge pixels extend outwards.
void blur(QImage &image, const QRect &rect, double radius);

// The tools' parameters for a stroke width.
inline int pixelateCellSide(qreal lineWidth) { return qRound(std::max(lineWidth * 3.0, 8.0)); }
inline double blurRadius(qreal lineWidth) { return std::max(lineWidth * 1.5, 4.0); }

} // namespace RegionFilters
