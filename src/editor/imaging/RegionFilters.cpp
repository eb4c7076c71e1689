#include "editor/imaging/RegionFilters.h"

#include <opencv2/imgproc.hpp>

#include <array>
#include <cmath>
#include <cstdint>

namespace {

// Beyond this a Gaussian is approximated by three box blurs, which cost the same at any radius.
constexpr double directGaussianLimit = 6.0;

cv::Mat wrap(QImage &image)
{
    return cv::Mat(image.height(), image.width(), CV_8UC4, image.bits(), size_t(image.bytesPerLine()));
}

// Box widths whose three passes give a Gaussian of standard deviation sigma.
std::array<int, 3> boxesForGaussian(double sigma)
{
    const double ideal = std::sqrt(12.0 * sigma * sigma / 3.0 + 1.0);
    int lower = int(std::floor(ideal));
    if (lower % 2 == 0)
        --lower;
    const int upper = lower + 2;
    const double m = std::round((12.0 * sigma * sigma - 3.0 * lower * lower - 12.0 * lower - 9.0) / (-4.0 * lower - 4.0));
    std::array<int, 3> sizes{};
    for (int i = 0; i < 3; ++i)
        sizes[size_t(i)] = i < m ? lower : upper;
    return sizes;
}

} // namespace

void RegionFilters::pixelate(QImage &image, const QRect &rect, int cellSide)
{
    const QRect bounds(QPoint(0, 0), image.size());
    const QRect target = rect.intersected(bounds);
    if (target.isEmpty() || cellSide < 1)
        return;
    const int col0 = target.left() / cellSide, col1 = target.right() / cellSide;
    const int row0 = target.top() / cellSide, row1 = target.bottom() / cellSide;
    for (int row = row0; row <= row1; ++row) {
        for (int col = col0; col <= col1; ++col) {
            const QRect cell = QRect(col * cellSide, row * cellSide, cellSide, cellSide).intersected(bounds);
            uint64_t sum[4] = {0, 0, 0, 0};
            for (int y = cell.top(); y <= cell.bottom(); ++y) {
                const auto *p = reinterpret_cast<const uint32_t *>(image.constScanLine(y));
                for (int x = cell.left(); x <= cell.right(); ++x)
                    for (int c = 0; c < 4; ++c)
                        sum[c] += (p[x] >> (8 * c)) & 0xff;
            }
            const uint64_t n = uint64_t(cell.width()) * uint64_t(cell.height());
            uint32_t mean = 0;
            for (int c = 0; c < 4; ++c)
                mean |= uint32_t((sum[c] + n / 2) / n) << (8 * c);
            const QRect fill = cell.intersected(target);
            for (int y = fill.top(); y <= fill.bottom(); ++y) {
                auto *p = reinterpret_cast<uint32_t *>(image.scanLine(y));
                std::fill(p + fill.left(), p + fill.right() + 1, mean);
            }
        }
    }
}

void RegionFilters::blur(QImage &image, const QRect &rect, double radius)
{
    const QRect bounds(QPoint(0, 0), image.size());
    const QRect target = rect.intersected(bounds);
    if (target.isEmpty() || radius <= 0)
        return;
    const int margin = int(std::ceil(radius * 3.0)) + 1;
    const QRect source = target.adjusted(-margin, -margin, margin, margin).intersected(bounds);
    cv::Mat whole = wrap(image);
    cv::Mat region = whole(cv::Rect(source.x(), source.y(), source.width(), source.height())).clone();
    cv::Mat blurred;
    if (radius <= directGaussianLimit) {
        cv::GaussianBlur(region, blurred, cv::Size(0, 0), radius, radius, cv::BORDER_REPLICATE);
    } else {
        blurred = region;
        for (int side : boxesForGaussian(radius))
            cv::blur(blurred, blurred, cv::Size(side, side), cv::Point(-1, -1), cv::BORDER_REPLICATE);
    }
    const cv::Rect inner(target.x() - source.x(), target.y() - source.y(), target.width(), target.height());
    blurred(inner).copyTo(whole(cv::Rect(target.x(), target.y(), target.width(), target.height())));
}
