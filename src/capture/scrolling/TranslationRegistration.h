#pragma once

#include <opencv2/core.hpp>
#include <functional>
#include <optional>

namespace ScrollingCapture {

// The translation that carries a previous image onto a current one: y > 0 when the
// content moved up by y rows. confidence is how sure the registration is that this is the
// right translation, 0...1.
struct Translation {
    double x = 0.0;
    double y = 0.0;
    float confidence = 0.0f;
};

// previous and current: 8-bit RGBA images of one size (views into frames are fine).
using Registration = std::function<std::optional<Translation>(const cv::Mat &previous, const cv::Mat &current)>;

// Vertical registration by an exhaustive search over row signatures, checked afterwards:
// each row is reduced to a few column averages, every vertical offset with enough overlap
// is scored by the mean signature difference, and the best offset is refined on all rows.
// Scroll content moves only vertically, so x is always 0. The confidence compares the best
// offset's error with the best error anywhere else: 1 for a unique exact match, near 0
// when another offset matches as well (repeated rows, a static band that dominates).
// Nothing when the images differ in size, are tiny, have no texture to register on, or
// when the answer is too uncertain (confidence under 0.6) to be worth handing out.
std::optional<Translation> visionTranslation(const cv::Mat &previous, const cv::Mat &current);

} // namespace ScrollingCapture
