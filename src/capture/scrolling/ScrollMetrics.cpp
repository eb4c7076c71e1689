#include "capture/scrolling/ScrollMetrics.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ScrollingCapture {

double meanDifference(const ScrollFrame &a, const ScrollFrame &b)
{
    const qint64 stepX = a.width < 384 ? 12 : a.width / 32;
    const qint64 stepY = a.height < 480 ? 12 : a.height / 40;
    double sum = 0.0;
    qint64 count = 0;
    for (qint64 y = 12; y < a.height; y += stepY) {
        for (qint64 x = 12; x < a.width; x += stepX) {
            sum += pixelDistance(a.pixel(x, y), b.pixel(x, y));
            ++count;
        }
    }
    return sum / double(std::max<qint64>(count, 1));
}

double webOverlapScore(const ScrollFrame &a, const ScrollFrame &b, int shift)
{
    const qint64 overlap = a.height - shift;
    if (overlap < 1 || shift < 0 || a.width < 1)
        return noEvidence;
    const qint64 columns = std::min<qint64>(a.width, 24);
    const qint64 rows = std::min<qint64>(overlap, 42);
    double sum = 0.0;
    for (qint64 i = 1; i <= rows; ++i) {
        const qint64 offset = (i * overlap) / (rows + 1);
        for (qint64 j = 1; j <= columns; ++j) {
            const qint64 x = (j * a.width) / (columns + 1);
            sum += pixelDistance(a.pixel(x, offset + shift), b.pixel(x, offset));
        }
    }
    return sum / double(std::max<qint64>(columns * rows, 1));
}

QList<MotionPoint> buildMotionPoints(const ScrollFrame &a, const ScrollFrame &b, int startY, int endY)
{
    QList<MotionPoint> points;
    const qint64 usable = a.width - 4;
    if (usable < 1)
        return points;
    const qint64 span = qint64(endY) - startY;
    const qint64 rows = std::min<qint64>(std::max<qint64>(span, 1), 64);
    const qint64 columns = std::min<qint64>(usable, 64);
    points.reserve(rows * columns);
    for (qint64 i = 1; i <= rows; ++i) {
        const qint64 y = startY + (i * span) / (rows + 1);
        if (y < 0 || y >= a.height)
            continue;
        for (qint64 j = 1; j <= columns; ++j) {
            const qint64 x = (j * usable) / (columns + 1) + 2;
            // d >= 7.0 exactly when the integer sum is at least 21.
            if (pixelDistance3(a.pixel(x, y), b.pixel(x, y)) >= 21)
                points.append({int(x), int(y)});
        }
    }
    return points;
}

double overlapScore(const ScrollFrame &a, const ScrollFrame &b, int shift, const QList<MotionPoint> &points)
{
    // Distances are thirds of integers 0...765, so a histogram sorts them, and summing it
    // from the bottom adds the same values in the same order as a sorted list would.
    std::array<int, 766> histogram{};
    qint64 n = 0;
    for (const MotionPoint &p : points) {
        const qint64 yy = qint64(p.y) + shift;
        if (yy >= a.height || yy < 0)
            continue;
        ++histogram[size_t(pixelDistance3(a.pixel(p.x, yy), b.pixel(p.x, p.y)))];
        ++n;
    }
    if (n < 24)
        return noEvidence;
    const qint64 keep = std::max<qint64>((n * 95) / 100, 1);
    qint64 left = keep;
    double sum = 0.0;
    for (int v = 0; v < 766 && left > 0; ++v) {
        const double value = v / 3.0;
        for (int c = histogram[size_t(v)]; c > 0 && left > 0; --c, --left)
            sum += value;
    }
    return sum / double(keep);
}

std::optional<QRect> framePixelRect(const QRectF &region, const QRectF &screenFrame, const QSize &imageSize)
{
    if (screenFrame.width() <= 0 || screenFrame.height() <= 0 || imageSize.isEmpty())
        return std::nullopt;
    const double sx = imageSize.width() / screenFrame.width();
    const double sy = imageSize.height() / screenFrame.height();
    const double x = (region.left() - screenFrame.left()) * sx;
    const double y = (region.top() - screenFrame.top()) * sy;
    const double right = x + region.width() * sx;
    const double bottom = y + region.height() * sy;
    const int left = int(std::floor(x));
    const int top = int(std::floor(y));
    const QRect widened(QPoint(left, top), QPoint(int(std::ceil(right)) - 1, int(std::ceil(bottom)) - 1));
    const QRect clipped = widened.intersected(QRect(QPoint(0, 0), imageSize));
    if (clipped.width() < 2 || clipped.height() < 2)
        return std::nullopt;
    return clipped;
}

} // namespace ScrollingCapture
