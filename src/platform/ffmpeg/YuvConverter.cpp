#include "platform/ffmpeg/YuvConverter.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <libyuv/convert_from_argb.h>
#include <libyuv/scale_argb.h>

YuvConverter::YuvConverter(QSize source, QSize output) : m_source(source), m_output(output)
{
    if (source != output)
        m_scaled.resize(std::size_t(output.width()) * output.height() * 4);
}

bool YuvConverter::convert(const std::uint8_t *bgra, int bytesPerLine, AVFrame *i420)
{
    const int width = m_output.width(), height = m_output.height();
    if (i420->width != width || i420->height != height)
        return false;
    // libyuv's "ARGB" is B, G, R, A in memory: X's byte order on a little-endian machine.
    if (!m_scaled.empty()) {
        if (libyuv::ARGBScale(bgra, bytesPerLine, m_source.width(), m_source.height(), m_scaled.data(), width * 4,
                              width, height, libyuv::kFilterBilinear) != 0)
            return false;
        bgra = m_scaled.data();
        bytesPerLine = width * 4;
    }
    return libyuv::ARGBToI420(bgra, bytesPerLine, i420->data[0], i420->linesize[0], i420->data[1], i420->linesize[1],
                              i420->data[2], i420->linesize[2], width, height) == 0;
}
