#include "capture/scrolling/ShiftEstimation.h"

#include "capture/scrolling/ScrollMetrics.h"

#include <algorithm>
#include <cmath>

namespace ScrollingCapture {
namespace {

// The near-tie rule of the motion-point search: within 0.75 the larger shift wins and
// its score becomes the reference.
void considerMotionScore(double score, int s, double &best, int &bestShift)
{
    if (score < best - 0.75) {
        best = score;
        bestShift = s;
    } else if (std::fabs(score - best) <= 0.75 && bestShift < s) {
        best = score;
        bestShift = s;
    }
}

bool plausibleRegistration(const Translation &t, qint64 h)
{
    return std::fabs(t.x) <= 3.0 && t.y > 1.0 && t.y <= 0.85 * double(h);
}

cv::Mat wrap(const ScrollFrame &f)
{
    return cv::Mat(int(f.height), int(f.width), CV_8UC4, const_cast<char *>(f.pixels.constData()));
}

// Step A: a shift from the strip vote or the whole frame, or nothing.
std::optional<int> registeredShift(const ScrollFrame &a, const ScrollFrame &b, const Registration &registration)
{
    const qint64 h = a.height;
    const qint64 w = a.width;
    const cv::Mat previous = wrap(a);
    const cv::Mat current = wrap(b);
    qint64 band = h > 239 ? h / 3 : 80;
    band = std::min(band, h);
    const qint64 span = std::max<qint64>(h - band, 0);

    QList<Translation> candidates;
    for (qint64 i = 0; i < 5; ++i) {
        const qint64 top = (i * span) / 4;
        const cv::Rect strip(0, int(top), int(w), int(band));
        const auto t = registration(previous(strip), current(strip));
        if (t && plausibleRegistration(*t, h))
            candidates.append(*t);
    }

    QList<double> kept;
    for (const Translation &ci : candidates) {
        QList<double> cluster;
        for (const Translation &cj : candidates) {
            if (std::fabs(cj.y - ci.y) <= 3.0)
                cluster.append(cj.y);
        }
        if (cluster.size() > kept.size())
            kept = cluster;
    }
    if (kept.size() >= 4) {
        double sum = 0.0;
        for (double y : kept)
            sum += y;
        return int(std::round(sum / double(kept.size())));
    }

    const auto whole = registration(previous, current);
    if (!whole || !plausibleRegistration(*whole, h))
        return std::nullopt;
    if (kept.size() == 3 && whole->confidence >= 0.8f) {
        const double m = (kept[0] + kept[1] + kept[2]) / 3.0;
        if (std::fabs(m - whole->y) <= 3.0)
            return int(std::round(m));
    }
    if (whole->confidence >= 0.9f)
        return int(std::round(whole->y));
    return std::nullopt;
}

// Step B: the sampled overlap search; nothing sends the cascade on to the motion points.
std::optional<int> overlapSearchShift(const ScrollFrame &a, const ScrollFrame &b)
{
    const qint64 h = a.height;
    if (meanDifference(a, b) < 2.2)
        return std::nullopt;
    const qint64 minShift = h > 95 ? h / 12 : 8;
    // Tiny frames: only shifts that leave an overlapping row.
    const qint64 maxShift = std::min(std::max((5 * h) / 6, minShift), h - 1);
    const qint64 step = h > 479 ? h / 240 : 2;
    double best = noEvidence;
    qint64 bestShift = 0;
    for (qint64 s = minShift; s <= maxShift; s += step) {
        const double score = webOverlapScore(a, b, int(s));
        if (score < best) {
            best = score;
            bestShift = s;
        }
    }
    const qint64 fineEnd = std::min(bestShift + step, maxShift);
    for (qint64 s = std::max(bestShift - step, minShift); s <= fineEnd; ++s) {
        const double score = webOverlapScore(a, b, int(s));
        if (score < best) {
            best = score;
            bestShift = s;
        }
    }
    if (best > 18.0 || bestShift == 0)
        return std::nullopt;
    return int(bestShift);
}

} // namespace

int verticalShift(const ScrollFrame &a, const ScrollFrame &b)
{
    const qint64 h = a.height;
    qint64 startY = h > 23 ? h / 12 : 2;
    qint64 endY = std::max(h / 3, startY + 4);
    QList<MotionPoint> points = buildMotionPoints(a, b, int(startY), int(endY));
    if (points.size() < 24) {
        startY = 2;
        endY = h > 15 ? h / 2 : 8;
        points = buildMotionPoints(a, b, int(startY), int(endY));
        if (points.size() < 24)
            return 0;
    }
    const qint64 maxShift = std::max<qint64>(std::min(h - endY - 2, (2 * h) / 3), 2);
    const qint64 step = h > 319 ? h / 320 : 1;
    double best = noEvidence;
    int bestShift = 0;
    for (qint64 s = 2; s <= maxShift; s += step)
        considerMotionScore(overlapScore(a, b, int(s), points), int(s), best, bestShift);
    const qint64 fineEnd = std::min<qint64>(bestShift + step, maxShift);
    for (qint64 s = std::max<qint64>(bestShift - step, 2); s <= fineEnd; ++s)
        considerMotionScore(overlapScore(a, b, int(s), points), int(s), best, bestShift);
    return best <= 18.0 ? bestShift : 0;
}

int estimateWebShift(const ScrollFrame &a, const ScrollFrame &b, int lastShift, const Registration &registration)
{
    const qint64 bh = b.height;
    const int fallback = int(std::min<qint64>((3 * bh) / 4, lastShift));
    // Validation of a shift from the registration, the overlap search or the motion points.
    auto validated = [&](int shift) { return shift <= 1 || shift > (9 * bh) / 10 ? fallback : shift; };
    auto motionPointShift = [&]() {
        if (meanDifference(a, b) < 1.0)
            return fallback;
        const int s = verticalShift(a, b);
        return s < 2 ? fallback : validated(s);
    };

    const bool wrappable = a.isValid() && b.isValid() && a.width == b.width && a.height == b.height;
    if (wrappable && registration) {
        if (const auto s = registeredShift(a, b, registration))
            return *s == 0 ? motionPointShift() : validated(*s);
    }
    if (const auto s = overlapSearchShift(a, b))
        return validated(*s);
    return motionPointShift();
}

std::optional<int> manualShift(const ScrollFrame &a, const ScrollFrame &b)
{
    if (meanDifference(a, b) < 1.0)
        return std::nullopt;
    const int s = verticalShift(a, b);
    if (s < 8 || s > (9 * b.height) / 10)
        return std::nullopt;
    return s;
}

} // namespace ScrollingCapture
