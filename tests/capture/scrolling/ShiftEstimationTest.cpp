#include "capture/scrolling/ShiftEstimation.h"
#include "capture/scrolling/SyntheticPage.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

namespace {

// Rows repeat every `period`, so several shifts fit equally well.
cv::Mat periodicPage(int width, int height, int period)
{
    return cv::repeat(syntheticPage(width, period, 3), height / period + 1, 1).rowRange(0, height).clone();
}

std::optional<Translation> at(double y, float confidence = 1.0f, double x = 0.0) { return Translation{x, y, confidence}; }

TEST(ShiftEstimation, VerticalShiftFindsSyntheticShifts)
{
    const cv::Mat page = syntheticPage(800, 3000), periodic = periodicPage(400, 1200, 40);
    const struct { const char *name; ScrollFrame a, b; int expected; } cases[] = {
        {"small shift", pageWindow(page, 0, 600), pageWindow(page, 9, 600), 9},
        {"large shift", pageWindow(page, 100, 600), pageWindow(page, 450, 600), 350},
        {"full-height frames, coarse step 3", pageWindow(page, 0, 1080), pageWindow(page, 500, 1080), 500},
        // The header covers the whole first band (rows h/12 ... h/3): the second band moves.
        {"sticky header uses the second band", pageWindow(page, 0, 300, 110), pageWindow(page, 40, 300, 110), 40},
        // 30, 70 ... 190 all fit; near-ties go to the larger, up to min(300 - 100 - 2, 200).
        {"near-ties go to the larger shift", pageWindow(periodic, 0, 300), pageWindow(periodic, 30, 300), 190},
        {"identical frames", pageWindow(page, 0, 600), pageWindow(page, 0, 600), 0},
        {"narrower than 5 pixels", frameOf(page(cv::Rect(0, 0, 4, 200)).clone()), frameOf(page(cv::Rect(0, 20, 4, 200)).clone()), 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(verticalShift(c.a, c.b), c.expected) << c.name;

    // Red raised by k puts every motion point k / 3 away at the right shift: 18 passes, 18.33 not.
    cv::Mat noise(1000, 600, CV_8UC4);
    cv::randu(noise, cv::Scalar(100, 0, 0, 255), cv::Scalar(101, 256, 256, 256));
    for (auto [k, expected] : {std::pair{54, 40}, {55, 0}})
        EXPECT_EQ(verticalShift(pageWindow(noise, 0, 400), pageWindow(noise + cv::Scalar(k, 0, 0, 0), 40, 400)), expected) << k;
}

TEST(ShiftEstimation, WebCascadeVotesOnStripsThenTheWholeFrame)
{
    const ScrollFrame still = pageWindow(syntheticPage(300, 800), 0, 200);
    const struct {
        const char *name;
        QList<std::optional<Translation>> answers;   // five strips, then the whole frame
        int lastShift, expected;
    } cases[] = {
        {"four of five agree: mean 41.5 rounds to 42", {at(40), at(41), at(42), at(43), at(90)}, 300, 42},
        {"cluster of three confirmed by the whole frame", {at(39), at(40), at(41), at(90), {}, at(42.5, 0.85f)}, 300, 40},
        {"0.8 exactly confirms three", {at(40), at(40), at(40), {}, {}, at(41, 0.8f)}, 300, 40},
        {"whole frame far from the three, but sure", {at(39), at(40), at(41), at(90), {}, at(50.2, 0.95f)}, 300, 50},
        {"whole frame 0.9 exactly is sure", {{}, {}, {}, {}, {}, at(60, 0.9f)}, 300, 60},
        {"whole frame 0.89 is not: fallback", {{}, {}, {}, {}, {}, at(60, 0.89f)}, 300, 150},
        {"three strips and 0.79 whole: fallback", {at(40), at(40), at(40), {}, {}, at(40, 0.79f)}, 300, 150},
        {"y = 0.85 h is accepted", {at(170), at(170), at(170), at(170), at(170)}, 300, 170},
        {"y = 1.0 is not a candidate", {at(1), at(1), at(1), at(1), at(1), at(1)}, 300, 150},
        {"|x| = 3 accepted, more is not", {at(50, 1, 3), at(50, 1, -3), at(50, 1, 3.01), at(50, 1, 3), at(50, 1, 3)}, 300, 50},
        {"a vote rounding to 1 falls back", {at(1.4), at(1.4), at(1.4), at(1.4), at(1.4)}, 40, 40},
        {"fallback capped at three quarters of the frame", {}, 300, 150},
        {"fallback is the last shift when smaller", {}, 60, 60},
    };
    for (const auto &c : cases) {
        int calls = 0;
        const Registration scripted = [&](const cv::Mat &, const cv::Mat &) {
            return calls < c.answers.size() ? c.answers[calls++] : std::nullopt;
        };
        EXPECT_EQ(estimateWebShift(still, still, c.lastShift, scripted), c.expected) << c.name;
    }
    // Without registration the sampled overlap search decides, keeping the smaller of equal shifts.
    const cv::Mat periodic = periodicPage(400, 1200, 40);
    EXPECT_EQ(estimateWebShift(pageWindow(periodic, 0, 300), pageWindow(periodic, 31, 300), 100,
                               [](const cv::Mat &, const cv::Mat &) { return std::optional<Translation>(); }), 31);
}

} // namespace
