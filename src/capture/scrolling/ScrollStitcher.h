#pragma once

#include "capture/scrolling/ScrollFrame.h"

#include <QImage>
#include <QList>
#include <vector>

// Stitches while the capture runs, so a long capture never holds all its frames: web mode
// appends each frame's new rows to a growing canvas; manual mode keeps of each frame only
// the rows the footer rule can still ask for (its shift plus the largest footer) and the
// footer's row sums. finish() gives the same image as stitchWeb / stitch would from the
// same frames and shifts. Owned by one thread.
class ScrollStitcher {
public:
    enum class Mode { web, manual };
    explicit ScrollStitcher(Mode mode) : m_mode(mode) {}
    ~ScrollStitcher();
    ScrollStitcher(const ScrollStitcher &) = delete;
    ScrollStitcher &operator=(const ScrollStitcher &) = delete;

    // The first frame, then each kept frame with its shift. False for a frame of another
    // size or a shift outside 1...height (the frame is not taken).
    bool addFirst(const ScrollFrame &frame);
    bool add(const ScrollFrame &frame, int shift);

    int frameCount() const { return m_frameCount; }
    qint64 totalHeight() const { return m_totalHeight; }
    // Bytes held for the result so far (the canvas or the kept rows).
    qint64 bytesHeld() const;

    // The stitched image; a null image without frames. The stitcher is empty afterwards.
    QImage finish(double logicalWidth);

private:
    bool append(const uchar *rows, qint64 count);
    QImage finishManual(double logicalWidth);

    Mode m_mode;
    int m_frameCount = 0;
    qint64 m_width = 0;
    qint64 m_height = 0;
    qint64 m_totalHeight = 0;
    // web: the canvas, grown with realloc so that large blocks move by remapping, not copying.
    uchar *m_canvas = nullptr;
    qint64 m_canvasRows = 0;
    qint64 m_capacityRows = 0;
    // manual
    ScrollFrame m_first;
    ScrollFrame m_previous;
    struct Slice {
        QByteArray rows;     // rows [firstRow, height) of the frame
        qint64 firstRow = 0;
        int shift = 0;
    };
    QList<Slice> m_slices;
    std::vector<double> m_footerSums;   // [r - 1]: summed distance at row height - r
};
