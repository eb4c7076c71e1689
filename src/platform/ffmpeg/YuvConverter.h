#pragma once

#include <QSize>
#include <cstdint>
#include <vector>

struct AVFrame;

// Screen frames (BGRA, as X delivers them) into the encoder's I420, scaled to the output
// size when that differs. libyuv's row functions are vectorised; swscale's chroma path for
// this pair is scalar and took half of a 4K recording's CPU.
class YuvConverter {
public:
    YuvConverter(QSize source, QSize output);

    // Fills the three planes of a writable I420 frame of the output size.
    bool convert(const std::uint8_t *bgra, int bytesPerLine, AVFrame *i420);

private:
    const QSize m_source;
    const QSize m_output;
    std::vector<std::uint8_t> m_scaled;   // the frame at the output size, when it is scaled
};
