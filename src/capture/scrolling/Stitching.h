#pragma once

#include "capture/scrolling/ScrollFrame.h"

#include <QImage>
#include <QList>
#include <vector>

// Laying kept frames into one tall image. Shift k belongs to frame k + 1: the number of
// new rows it brings. The result is RGBA at the frames' density, presented logicalWidth
// logical pixels wide. A null image for no frames or inconsistent input (frames of
// different sizes, a shift outside 1...frame height, a count mismatch).
namespace ScrollingCapture {

// Web mode: each new frame contributes its bottom rows.
QImage stitchWeb(const QList<ScrollFrame> &frames, const QList<int> &shifts, double logicalWidth);
// Manual mode: the same, with a static footer (rows at the bottom that never change)
// kept once, at the very bottom.
QImage stitch(const QList<ScrollFrame> &frames, const QList<int> &shifts, double logicalWidth);

// The footer's height in rows for frames of height H: the run of bottom rows whose mean
// difference between consecutive frames is at most 2.5, capped at H / 5; 0 for one frame.
int staticFooterHeight(const QList<ScrollFrame> &frames);

inline int maxFooterRows(qint64 frameHeight) { return frameHeight > 4 ? int(frameHeight / 5) : 1; }
// The footer from per-row sums: rowSums[r - 1] is the summed distance of row H - r.
int footerFromRowSums(const std::vector<double> &rowSums, double denominator, int maxFooter);

// Wraps a malloc'ed W × T RGBA buffer as the result image; the image frees it.
QImage wrapCanvas(uchar *canvas, qint64 width, qint64 height, double logicalWidth);

} // namespace ScrollingCapture
