#include "editor/imaging/ImageResampler.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>

QSize ImageResampler::scaledSize(QSize size, double scale)
{
    const auto side = [scale](int v) { return std::max(int(std::lround(std::max(v * scale, 1.0))), 1); };
    return QSize(side(size.width()), side(size.height()));
}

QImage ImageResampler::resized(const QImage &image, QSize size)
{
    if (image.isNull() || size.isEmpty())
        return QImage();
    QImage src = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QImage out(size, QImage::Format_ARGB32_Premultiplied);
    if (out.isNull())
        return out;
    const cv::Mat in(src.height(), src.width(), CV_8UC4, const_cast<uchar *>(src.constBits()),
                     size_t(src.bytesPerLine()));
    cv::Mat dst(out.height(), out.width(), CV_8UC4, out.bits(), size_t(out.bytesPerLine()));
    const bool shrinking = size.width() <= src.width() && size.height() <= src.height();
    cv::resize(in, dst, dst.size(), 0, 0, shrinking ? cv::INTER_AREA : cv::INTER_CUBIC);
    if (!shrinking) {
        // Bicubic overshoot can leave a colour above its alpha, which premultiplied forbids.
        for (int y = 0; y < out.height(); ++y) {
            auto *p = reinterpret_cast<uint32_t *>(out.scanLine(y));
            for (int x = 0; x < out.width(); ++x) {
                const uint32_t a = p[x] >> 24;
                if (a == 255)
                    continue;
                uint32_t v = p[x] & 0xff000000u;
                for (int shift = 0; shift < 24; shift += 8)
                    v |= std::min((p[x] >> shift) & 0xffu, a) << shift;
                p[x] = v;
            }
        }
    }
    return out;
}
