#pragma once

#include "capture/scrolling/ScrollFrame.h"

#include <QList>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <cstdlib>
#include <limits>
#include <optional>

// The pixel comparisons a scrolling capture rests on. a is the earlier frame, b the later
// one, both of one size; "moved up by shift" means row r + shift of a shows row r of b.
namespace ScrollingCapture {

inline constexpr double noEvidence = std::numeric_limits<double>::max();

struct MotionPoint {
    int x = 0;
    int y = 0;
    bool operator==(const MotionPoint &) const = default;
};

// Three times the pixel distance, an integer in 0...765: what sorting and histograms use.
inline int pixelDistance3(const uchar *p, const uchar *q)
{
    return std::abs(p[0] - q[0]) + std::abs(p[1] - q[1]) + std::abs(p[2] - q[2]);
}
inline double pixelDistance(const uchar *p, const uchar *q) { return pixelDistance3(p, q) / 3.0; }

double meanDifference(const ScrollFrame &a, const ScrollFrame &b);
double webOverlapScore(const ScrollFrame &a, const ScrollFrame &b, int shift);
QList<MotionPoint> buildMotionPoints(const ScrollFrame &a, const ScrollFrame &b, int startY, int endY);
double overlapScore(const ScrollFrame &a, const ScrollFrame &b, int shift, const QList<MotionPoint> &points);

// The pixels of a screen image that a region covers: region and screen frame in global
// logical pixels (y down), the image at device pixels. Widened outwards to whole pixels,
// clipped to the image; nothing when under 2 pixels either way.
std::optional<QRect> framePixelRect(const QRectF &region, const QRectF &screenFrame, const QSize &imageSize);

} // namespace ScrollingCapture
