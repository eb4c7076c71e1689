#pragma once

#include <QImage>
#include <QRect>
#include <optional>

// Cutting a selected region out of a frozen screen image at the screen's full density.
namespace ScreenshotCrop {

struct PixelRegion {
    QRect pixels;        // in the frozen image, whole pixels
    QSizeF pointSize;    // the selection clipped to the screen, in logical pixels
};

// Maps a selection (global logical pixels) on a screen whose frame is `frame` to the
// pixels of its frozen image of imageSize. The selection is clipped to the frame; the
// pixel rectangle is widened outwards to whole pixels, never narrowed, then clipped to
// the image. Nothing when the region is less than one point or one pixel thick.
std::optional<PixelRegion> pixelRegion(const QRectF &selection, const QRectF &frame,
                                       const QSize &imageSize);

struct Result {
    QImage image;        // the cut pixels; device pixel ratio = the screen's density
    QSizeF pointSize;
};

// The cut-out itself; nothing when pixelRegion gives nothing or the copy fails.
std::optional<Result> crop(const QImage &frozen, const QRectF &frame, const QRectF &selection);

} // namespace ScreenshotCrop
