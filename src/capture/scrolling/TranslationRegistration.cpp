#include "capture/scrolling/TranslationRegistration.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ScrollingCapture {
namespace {

constexpr int signatureColumns = 24;
constexpr double minimumConfidence = 0.6;

// One row of floats per image row: R, G, B averaged over signatureColumns column blocks,
// from every fourth pixel of each block (plenty for telling rows apart, and cheap).
cv::Mat rowSignatures(const cv::Mat &rgba)
{
    cv::Mat signatures(rgba.rows, signatureColumns * 3, CV_32F);
    const int width = rgba.cols;
    for (int y = 0; y < rgba.rows; ++y) {
        const uchar *row = rgba.ptr<uchar>(y);
        float *out = signatures.ptr<float>(y);
        for (int block = 0; block < signatureColumns; ++block) {
            const int begin = block * width / signatureColumns;
            const int end = std::max(begin + 1, (block + 1) * width / signatureColumns);
            int r = 0, g = 0, b = 0, n = 0;
            for (int x = begin; x < end; x += 4, ++n) {
                r += row[x * 4];
                g += row[x * 4 + 1];
                b += row[x * 4 + 2];
            }
            out[block * 3] = float(r) / float(n);
            out[block * 3 + 1] = float(g) / float(n);
            out[block * 3 + 2] = float(b) / float(n);
        }
    }
    return signatures;
}

// Mean absolute signature difference when previous row r + s shows current row r,
// over every rowStep-th overlapping row.
double offsetError(const cv::Mat &previous, const cv::Mat &current, int s, int rowStep)
{
    const int rows = previous.rows;
    const int first = std::max(0, -s);
    const int end = std::min(rows, rows - s);
    const int width = previous.cols;
    double sum = 0.0;
    int count = 0;
    for (int r = first; r < end; r += rowStep) {
        const float *p = previous.ptr<float>(r + s);
        const float *c = current.ptr<float>(r);
        float rowSum = 0.0f;
        for (int k = 0; k < width; ++k)
            rowSum += std::fabs(p[k] - c[k]);
        sum += rowSum;
        ++count;
    }
    return count ? sum / (double(count) * width) : 1e300;
}

} // namespace

std::optional<Translation> visionTranslation(const cv::Mat &previous, const cv::Mat &current)
{
    if (previous.size() != current.size() || previous.type() != CV_8UC4 || current.type() != CV_8UC4
        || previous.rows < 8 || previous.cols < 4)
        return std::nullopt;
    const cv::Mat a = rowSignatures(previous);
    const cv::Mat b = rowSignatures(current);
    const int rows = a.rows;
    // A tenth of the image must overlap (scrolls of up to 0.85 of a frame happen), or a
    // few blank rows at the edges would match anything.
    const int minOverlap = std::max(4, rows / 10);
    const int maxOffset = rows - minOverlap;

    // Coarse profile on at most about 64 rows per offset.
    std::vector<double> error(size_t(2 * maxOffset + 1));
    for (int s = -maxOffset; s <= maxOffset; ++s) {
        const int overlap = rows - std::abs(s);
        error[size_t(s + maxOffset)] = offsetError(a, b, s, std::max(1, overlap / 64));
    }
    auto at = [&](int s) { return error[size_t(s + maxOffset)]; };
    int best = 0;
    for (int s = -maxOffset; s <= maxOffset; ++s) {
        if (at(s) < at(best) || (at(s) == at(best) && std::abs(s) < std::abs(best)))
            best = s;
    }
    // Refine on every row around the coarse answer.
    double bestError = offsetError(a, b, best, 1);
    for (int s = std::max(-maxOffset, best - 2); s <= std::min(maxOffset, best + 2); ++s) {
        const double e = offsetError(a, b, s, 1);
        if (e < bestError) {
            bestError = e;
            best = s;
        }
    }
    // The best competing offset: the lowest local minimum more than 3 rows away.
    double rival = -1.0;
    for (int s = -maxOffset; s <= maxOffset; ++s) {
        if (std::abs(s - best) <= 3)
            continue;
        const bool localMinimum = (s == -maxOffset || at(s) <= at(s - 1)) && (s == maxOffset || at(s) <= at(s + 1));
        if (localMinimum && (rival < 0.0 || at(s) < rival))
            rival = at(s);
    }
    if (rival < 0.0)
        rival = *std::max_element(error.begin(), error.end());
    if (rival - bestError < 1e-3)
        return std::nullopt;   // nothing to tell offsets apart: a blank or uniform image
    // The best offset at the edge of the search may only be the nearest to a true one
    // outside it.
    if (std::abs(best) == maxOffset)
        return std::nullopt;
    const double confidence = std::clamp((rival - bestError) / rival, 0.0, 1.0);
    // An answer that another offset nearly equals is no answer: callers that vote on
    // answers without weighing them must not see it.
    if (confidence < minimumConfidence)
        return std::nullopt;
    return Translation{0.0, double(best), float(confidence)};
}

} // namespace ScrollingCapture
