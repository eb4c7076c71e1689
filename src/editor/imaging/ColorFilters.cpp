#include "editor/imaging/ColorFilters.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

constexpr double sharpenRadius = 1.69;

inline int unpremultiply(int c, int a) { return (c * 255 + a / 2) / a; }
inline int premultiply(int c, int a) { return (c * a + 127) / 255; }
inline int clampByte(int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// `f(r, g, b, x, y)` applied to the straight colour of one premultiplied pixel.
template <typename F>
inline uint32_t mapPixel(uint32_t p, F &f, int x, int y)
{
    const int a = int(p >> 24);
    if (a == 0)
        return p;
    int red = int((p >> 16) & 0xff), green = int((p >> 8) & 0xff), blue = int(p & 0xff);
    if (a != 255) {
        red = unpremultiply(red, a);
        green = unpremultiply(green, a);
        blue = unpremultiply(blue, a);
    }
    f(red, green, blue, x, y);
    if (a != 255) {
        red = premultiply(red, a);
        green = premultiply(green, a);
        blue = premultiply(blue, a);
    }
    return (uint32_t(a) << 24) | (uint32_t(red) << 16) | (uint32_t(green) << 8) | uint32_t(blue);
}

// Maps every pixel of `rect` by its colour alone. A pixel equal to its left neighbour
// reuses its result: screenshots are mostly runs of one colour.
template <typename F>
void mapColors(QImage &image, const QRect &rect, F f)
{
    const QRect r = rect.intersected(image.rect());
    for (int y = r.top(); y <= r.bottom(); ++y) {
        auto *row = reinterpret_cast<uint32_t *>(image.scanLine(y));
        uint32_t lastIn = 0, lastOut = 0; // transparent maps to itself
        for (int x = r.left(); x <= r.right(); ++x) {
            const uint32_t p = row[x];
            if (p != lastIn) {
                lastIn = p;
                lastOut = mapPixel(p, f, x, y);
            }
            row[x] = lastOut;
        }
    }
}

using Table = std::array<uint8_t, 256>;

ColorFilters::Operation channelTableOperation(const Table &table)
{
    return [table](QImage &image, const QRect &rect) {
        mapColors(image, rect, [&table](int &r, int &g, int &b, int, int) {
            r = table[size_t(r)];
            g = table[size_t(g)];
            b = table[size_t(b)];
        });
    };
}

} // namespace

double ColorFilters::srgbToLinear(double v)
{
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

double ColorFilters::linearToSrgb(double v)
{
    return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
}

ColorFilters::Operation ColorFilters::grayscale()
{
    // Linear light at 16 bits keeps every 8-bit grey exactly where it was.
    auto toLinear = std::make_shared<std::array<uint32_t, 256>>();
    for (int c = 0; c < 256; ++c)
        (*toLinear)[size_t(c)] = uint32_t(std::lround(srgbToLinear(c / 255.0) * 65535.0));
    auto fromLinear = std::make_shared<std::vector<uint8_t>>(65536);
    for (int v = 0; v < 65536; ++v)
        (*fromLinear)[size_t(v)] = uint8_t(clampByte(int(std::lround(linearToSrgb(v / 65535.0) * 255.0))));
    return [toLinear, fromLinear](QImage &image, const QRect &rect) {
        // Rec. 709 weights in 1/65536, summing to 65536.
        constexpr uint32_t wr = 13933, wg = 46871, wb = 4732;
        const auto &lin = *toLinear;
        const auto &srgb = *fromLinear;
        mapColors(image, rect, [&](int &r, int &g, int &b, int, int) {
            const uint32_t y = (wr * lin[size_t(r)] + wg * lin[size_t(g)] + wb * lin[size_t(b)] + 32768) >> 16;
            r = g = b = srgb[y];
        });
    };
}

ColorFilters::Operation ColorFilters::adjustExposure(double ev)
{
    const double gain = std::pow(2.0, ev);
    Table table{};
    for (int c = 0; c < 256; ++c)
        table[size_t(c)] = uint8_t(clampByte(int(std::lround(linearToSrgb(std::min(srgbToLinear(c / 255.0) * gain, 1.0)) * 255.0))));
    return channelTableOperation(table);
}

ColorFilters::Operation ColorFilters::invert()
{
    Table table{};
    for (int c = 0; c < 256; ++c)
        table[size_t(c)] = uint8_t(255 - c);
    return channelTableOperation(table);
}

ColorFilters::Operation ColorFilters::sepia(double intensity)
{
    const int k = int(std::lround(std::clamp(intensity, 0.0, 1.0) * 256.0));
    return [k](QImage &image, const QRect &rect) {
        // The classic sepia matrix in 1/4096 and the blend in 1/256: 32-bit integers suffice.
        constexpr int one = 4096;
        constexpr int m[3][3] = {{1610, 3150, 774}, {1430, 2810, 688}, {1114, 2187, 537}};
        const auto tone = [k](int c, int s) {
            const int original = c * one;
            const int blended = original + (k * (std::min(s, 255 * one) - original)) / 256;
            return clampByte((blended + one / 2) / one);
        };
        mapColors(image, rect, [&](int &r, int &g, int &b, int, int) {
            const int sr = m[0][0] * r + m[0][1] * g + m[0][2] * b;
            const int sg = m[1][0] * r + m[1][1] * g + m[1][2] * b;
            const int sb = m[2][0] * r + m[2][1] * g + m[2][2] * b;
            r = tone(r, sr);
            g = tone(g, sg);
            b = tone(b, sb);
        });
    };
}

ColorFilters::Operation ColorFilters::sharpenLuminance(const QImage &source, double sharpness)
{
    const QImage pixels = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int w = pixels.width(), h = pixels.height();
    auto detail = std::make_shared<cv::Mat>();
    if (w == 0 || h == 0)
        return [](QImage &, const QRect &) {};
    // Luminance of the picture as composited (premultiplied), its blur, and the change per
    // pixel: sharpness × (luminance − blur), in whole levels.
    const cv::Mat bgra(h, w, CV_8UC4, const_cast<uchar *>(pixels.constBits()), size_t(pixels.bytesPerLine()));
    cv::Mat luma, blurred, difference;
    cv::cvtColor(bgra, luma, cv::COLOR_BGRA2GRAY);
    cv::GaussianBlur(luma, blurred, cv::Size(0, 0), sharpenRadius, sharpenRadius, cv::BORDER_REPLICATE);
    cv::subtract(luma, blurred, difference, cv::noArray(), CV_16S);
    difference.convertTo(*detail, CV_16S, sharpness);
    return [detail](QImage &image, const QRect &rect) {
        if (image.width() != detail->cols || image.height() != detail->rows)
            return;
        const QRect area = rect.intersected(image.rect());
        for (int y = area.top(); y <= area.bottom(); ++y) {
            auto *row = reinterpret_cast<uint32_t *>(image.scanLine(y));
            const auto *change = detail->ptr<int16_t>(y);
            for (int x = area.left(); x <= area.right(); ++x) {
                const int delta = change[x];
                if (delta == 0)
                    continue; // flat areas, most of a screenshot
                auto add = [delta](int &r, int &g, int &b, int, int) {
                    r = clampByte(r + delta);
                    g = clampByte(g + delta);
                    b = clampByte(b + delta);
                };
                row[x] = mapPixel(row[x], add, x, y);
            }
        }
    };
}

QImage ColorFilters::applied(const QImage &image, const Operation &operation)
{
    QImage out = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (out.constBits() == image.constBits())
        out = out.copy();
    if (!out.isNull())
        operation(out, out.rect());
    return out;
}
