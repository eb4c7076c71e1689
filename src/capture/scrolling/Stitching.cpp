#include "capture/scrolling/Stitching.h"

#include "capture/scrolling/ScrollMetrics.h"

#include <cstdlib>
#include <cstring>

namespace ScrollingCapture {
namespace {

bool consistent(const QList<ScrollFrame> &frames, const QList<int> &shifts)
{
    if (frames.isEmpty() || shifts.size() != frames.size() - 1 || !frames.first().isValid())
        return false;
    for (const ScrollFrame &f : frames) {
        if (f.width != frames.first().width || f.height != frames.first().height || !f.isValid())
            return false;
    }
    for (int s : shifts) {
        if (s < 1 || s > frames.first().height)
            return false;
    }
    return true;
}

qint64 totalRows(const QList<ScrollFrame> &frames, const QList<int> &shifts)
{
    qint64 total = frames.first().height;
    for (int s : shifts)
        total += s;
    return total;
}

void copyRows(uchar *canvas, qint64 canvasRow, const ScrollFrame &frame, qint64 firstRow, qint64 rows)
{
    const qint64 stride = frame.width * 4;
    std::memcpy(canvas + canvasRow * stride, frame.row(firstRow), size_t(rows * stride));
}

uchar *allocateCanvas(qint64 width, qint64 rows)
{
    return static_cast<uchar *>(std::calloc(size_t(width * 4), size_t(rows)));
}

} // namespace

QImage wrapCanvas(uchar *canvas, qint64 width, qint64 height, double logicalWidth)
{
    if (!canvas)
        return {};
    QImage image(canvas, int(width), int(height), qsizetype(width * 4), QImage::Format_RGBA8888_Premultiplied,
                 [](void *data) { std::free(data); }, canvas);
    if (image.isNull()) {
        std::free(canvas);
        return {};
    }
    if (logicalWidth > 0)
        image.setDevicePixelRatio(double(width) / logicalWidth);
    return image;
}

QImage stitchWeb(const QList<ScrollFrame> &frames, const QList<int> &shifts, double logicalWidth)
{
    if (!consistent(frames, shifts))
        return {};
    const ScrollFrame &first = frames.first();
    uchar *canvas = allocateCanvas(first.width, totalRows(frames, shifts));
    if (!canvas)
        return {};
    copyRows(canvas, 0, first, 0, first.height);
    qint64 y = first.height;
    for (qsizetype i = 1; i < frames.size(); ++i) {
        const qint64 s = shifts[i - 1];
        copyRows(canvas, y, frames[i], frames[i].height - s, s);
        y += s;
    }
    return wrapCanvas(canvas, first.width, y, logicalWidth);
}

int footerFromRowSums(const std::vector<double> &rowSums, double denominator, int maxFooter)
{
    int count = 0;
    for (size_t r = 1; r <= rowSums.size(); ++r) {
        if (rowSums[r - 1] / denominator > 2.5)
            return count;
        if (count == maxFooter - 1)
            return maxFooter;
        ++count;
    }
    return count;
}

int staticFooterHeight(const QList<ScrollFrame> &frames)
{
    const qsizetype n = frames.size();
    if (n < 2)
        return 0;
    const qint64 h = frames.first().height;
    const qint64 w = frames.first().width;
    const int maxFooter = maxFooterRows(h);
    const double denominator = double(std::max<qint64>((n - 1) * 64, 1));
    std::vector<double> sums;
    for (int r = 1; r <= maxFooter && r <= h; ++r) {
        const qint64 row = h - r;
        double sum = 0.0;
        for (qsizetype k = 1; k < n; ++k) {
            for (qint64 j = 1; j <= 64; ++j) {
                const qint64 x = (j * w) / 65;
                sum += pixelDistance(frames[k - 1].pixel(x, row), frames[k].pixel(x, row));
            }
        }
        sums.push_back(sum);
        // Later rows are only read while this one counts as static.
        if (sum / denominator > 2.5)
            break;
    }
    return footerFromRowSums(sums, denominator, maxFooter);
}

QImage stitch(const QList<ScrollFrame> &frames, const QList<int> &shifts, double logicalWidth)
{
    if (!consistent(frames, shifts))
        return {};
    const ScrollFrame &first = frames.first();
    const qint64 h = first.height;
    uchar *canvas = allocateCanvas(first.width, totalRows(frames, shifts));
    if (!canvas)
        return {};
    const qint64 footer = staticFooterHeight(frames);
    const qint64 body = h - footer;
    copyRows(canvas, 0, first, 0, body);
    qint64 y = body;
    for (qsizetype i = 1; i < frames.size(); ++i) {
        const qint64 s = shifts[i - 1];
        copyRows(canvas, y, frames[i], std::max<qint64>(body - s, 0), s);
        y += s;
    }
    if (footer > 0) {
        copyRows(canvas, y, frames.last(), body, footer);
        y += footer;
    }
    return wrapCanvas(canvas, first.width, y, logicalWidth);
}

} // namespace ScrollingCapture
