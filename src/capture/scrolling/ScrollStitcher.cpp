#include "capture/scrolling/ScrollStitcher.h"

#include "capture/scrolling/ScrollMetrics.h"
#include "capture/scrolling/Stitching.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace ScrollingCapture;

ScrollStitcher::~ScrollStitcher()
{
    std::free(m_canvas);
}

qint64 ScrollStitcher::bytesHeld() const
{
    if (m_mode == Mode::web)
        return m_canvasRows * m_width * 4;
    qint64 bytes = m_first.pixels.size();
    for (const Slice &s : m_slices)
        bytes += s.rows.size();
    return bytes;
}

bool ScrollStitcher::append(const uchar *rows, qint64 count)
{
    const qint64 stride = m_width * 4;
    if (m_canvasRows + count > m_capacityRows) {
        const qint64 capacity = std::max(m_canvasRows + count, m_capacityRows * 2);
        auto *grown = static_cast<uchar *>(std::realloc(m_canvas, size_t(capacity * stride)));
        if (!grown)
            return false;
        m_canvas = grown;
        m_capacityRows = capacity;
    }
    std::memcpy(m_canvas + m_canvasRows * stride, rows, size_t(count * stride));
    m_canvasRows += count;
    return true;
}

bool ScrollStitcher::addFirst(const ScrollFrame &frame)
{
    if (m_frameCount != 0 || !frame.isValid())
        return false;
    m_width = frame.width;
    m_height = frame.height;
    if (m_mode == Mode::web) {
        if (!append(frame.row(0), frame.height))
            return false;
    } else {
        m_first = frame;
        m_previous = frame;
        m_footerSums.assign(size_t(maxFooterRows(frame.height)), 0.0);
    }
    m_totalHeight = frame.height;
    m_frameCount = 1;
    return true;
}

bool ScrollStitcher::add(const ScrollFrame &frame, int shift)
{
    if (m_frameCount == 0 || !frame.isValid() || frame.width != m_width || frame.height != m_height || shift < 1
        || shift > m_height)
        return false;
    if (m_mode == Mode::web) {
        if (!append(frame.row(m_height - shift), shift))
            return false;
    } else {
        // Pair sums in the order the footer rule adds them: pair by pair, left to right.
        for (size_t r = 1; r <= m_footerSums.size(); ++r) {
            const qint64 row = m_height - qint64(r);
            double sum = m_footerSums[r - 1];
            for (qint64 j = 1; j <= 64; ++j) {
                const qint64 x = (j * m_width) / 65;
                sum += pixelDistance(m_previous.pixel(x, row), frame.pixel(x, row));
            }
            m_footerSums[r - 1] = sum;
        }
        const qint64 firstRow = std::max<qint64>(m_height - qint64(m_footerSums.size()) - shift, 0);
        const qint64 stride = m_width * 4;
        m_slices.append({QByteArray(reinterpret_cast<const char *>(frame.row(firstRow)),
                                    qsizetype((m_height - firstRow) * stride)),
                         firstRow, shift});
        m_previous = frame;
    }
    m_totalHeight += shift;
    ++m_frameCount;
    return true;
}

QImage ScrollStitcher::finish(double logicalWidth)
{
    QImage image;
    if (m_frameCount > 0 && m_mode == Mode::web) {
        auto *exact = static_cast<uchar *>(std::realloc(m_canvas, size_t(m_canvasRows * m_width * 4)));
        if (exact)
            m_canvas = exact;
        image = wrapCanvas(m_canvas, m_width, m_canvasRows, logicalWidth);
        m_canvas = nullptr;
    } else if (m_frameCount > 0) {
        image = finishManual(logicalWidth);
    }
    m_canvasRows = m_capacityRows = 0;
    m_first = m_previous = {};
    m_slices.clear();
    m_footerSums.clear();
    m_frameCount = 0;
    m_totalHeight = 0;
    return image;
}

QImage ScrollStitcher::finishManual(double logicalWidth)
{
    const qint64 stride = m_width * 4;
    const qint64 footer = m_frameCount < 2
                              ? 0
                              : footerFromRowSums(m_footerSums, double((m_frameCount - 1) * 64),
                                                  int(m_footerSums.size()));
    const qint64 body = m_height - footer;
    // calloc'ed pages become resident as they are written, and each slice is freed once
    // copied, so the peak stays near one image.
    auto *canvas = static_cast<uchar *>(std::calloc(size_t(stride), size_t(m_totalHeight)));
    if (!canvas)
        return {};
    std::memcpy(canvas, m_first.row(0), size_t(body * stride));
    qint64 y = body;
    for (Slice &slice : m_slices) {
        const qint64 src = std::max<qint64>(body - slice.shift, 0);
        std::memcpy(canvas + y * stride, slice.rows.constData() + (src - slice.firstRow) * stride,
                    size_t(slice.shift * stride));
        y += slice.shift;
        if (&slice != &m_slices.last())
            slice.rows = QByteArray();
    }
    if (footer > 0) {
        const Slice *last = m_slices.isEmpty() ? nullptr : &m_slices.last();
        const uchar *source = last ? reinterpret_cast<const uchar *>(last->rows.constData()) + (body - last->firstRow) * stride
                                   : m_first.row(body);
        std::memcpy(canvas + y * stride, source, size_t(footer * stride));
        y += footer;
    }
    return wrapCanvas(canvas, m_width, y, logicalWidth);
}
