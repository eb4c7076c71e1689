#include "capture/screenshot/ScreenshotCrop.h"

#include <cmath>

namespace ScreenshotCrop {

std::optional<PixelRegion> pixelRegion(const QRectF &selection, const QRectF &frame,
                                       const QSize &imageSize)
{
    if (frame.width() <= 0 || frame.height() <= 0 || imageSize.isEmpty())
        return std::nullopt;
    const QRectF r = selection.normalized().intersected(frame);
    if (r.isEmpty() || r.width() < 1.0 || r.height() < 1.0)
        return std::nullopt;

    const double sx = imageSize.width() / frame.width();
    const double sy = imageSize.height() / frame.height();
    // Image rows and global y both grow downwards, so no flip is needed.
    const double x = sx * (r.left() - frame.left());
    const double y = sy * (r.top() - frame.top());
    const double right = x + sx * r.width();
    const double bottom = y + sy * r.height();

    const int left = int(std::floor(x));
    const int top = int(std::floor(y));
    const QRect widened(QPoint(left, top),
                        QSize(int(std::ceil(right)) - left, int(std::ceil(bottom)) - top));
    const QRect pixels = widened.intersected(QRect(QPoint(0, 0), imageSize));
    if (pixels.width() < 1 || pixels.height() < 1)
        return std::nullopt;
    return PixelRegion{pixels, r.size()};
}

std::optional<Result> crop(const QImage &frozen, const QRectF &frame, const QRectF &selection)
{
    const auto region = pixelRegion(selection, frame, frozen.size());
    if (!region)
        return std::nullopt;
    // A whole-screen selection shares the frozen pixels instead of copying them.
    QImage image = region->pixels == frozen.rect() ? frozen : frozen.copy(region->pixels);
    if (image.isNull())
        return std::nullopt;
    // Setting the ratio on a shared image would copy every pixel; the grab usually set it.
    const qreal ratio = frozen.width() / frame.width();
    if (!qFuzzyCompare(image.devicePixelRatio(), ratio))
        image.setDevicePixelRatio(ratio);
    return Result{std::move(image), region->pointSize};
}

} // namespace ScreenshotCrop
