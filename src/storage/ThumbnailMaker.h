#pragma once

#include "storage/CaptureItem.h"

#include <QColor>
#include <QImage>
#include <QSize>
#include <functional>

// The history list's small pictures. Stateless and touches no GUI-thread object, so the
// list can make them on a worker thread.
namespace ThumbnailMaker {

// What a thumbnail fills: its size in points, the pixel density of the screen it is shown
// on, and the window colour that letter-boxes an image of another shape.
struct Tile {
    QSize size;
    qreal devicePixelRatio = 1.0;
    QColor background;
    // Reads the upright frame shown at a time into a video file (null when there is
    // none); without it every video shows the placeholder. Called on worker threads.
    std::function<QImage(const QString &path, double seconds)> videoFrame;
};

// How far into a recording its thumbnail is taken.
inline constexpr double videoFrameSeconds = 0.2;

// An image of exactly tile.size points, drawn at tile.devicePixelRatio. A screenshot is
// fitted from its file; anything that cannot be shown (another kind, a missing or unreadable
// file, a video without a frame) gives a dark grey tile with a white "play" triangle.
QImage image(const CaptureItem &item, const Tile &tile);

} // namespace ThumbnailMaker
