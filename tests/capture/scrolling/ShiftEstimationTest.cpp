#include "capture/scrolling/ScrollMetrics.h"
#include "capture/scrolling/ShiftEstimation.h"
#include "capture/scrolling/SyntheticPage.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

namespace {

// A page whose rows repeat every `period` rows, so several shifts fit equally well.
cv::Mat periodicPage(int width, int height, int period)
{
    return cv::repeat(syntheticPage(width, period, 3), height / period + 1, 1).rowRange(0, height).clone();
}

// Scripted registration: strip answers in call order, then the whole frame's answer.
Registration scripted(QList<std::optional<Translation>> answers)
{
    auto calls = std::make_shared<int>(0);
    return [answers, calls](const cv::Mat &, const cv::Mat &) -> std::optional<Translation> {
        const int i = (*calls)++;
        return i < answers.size() ? answers[i] : std::nullopt;
    };
}

std::optional<Translation> at(double y, float confidence = 1.0f, double x = 0.0) { return Translation{x, y, confidence}; }

} // namespace

TEST(ShiftEstimation, VerticalShiftFindsSyntheticShifts)
{
    const cv::Mat page = syntheticPage(800, 3000);
    const cv::Mat periodic = periodicPage(400, 1200, 40);
    cv::Mat offsetPage = syntheticPage(600, 2000);
    struct Case { const char *name; ScrollFrame a, b; int expected; } cases[] = {
        {"small shift", pageWindow(page, 0, 600), pageWindow(page, 9, 600), 9},
        {"large shift", pageWindow(page, 100, 600), pageWindow(page, 450, 600), 350},
        {"full-height frames, coarse step 3", pageWindow(page, 0, 1080), pageWindow(page, 500, 1080), 500},
        // Header static over the whole first band (rows h/12 ... h/3): the second band moves.
        {"sticky header uses the second band", pageWindow(page, 0, 300, 110), pageWindow(page, 40, 300, 110), 40},
        // Rows repeat every 40: 30, 70, 110, 150 and 190 all fit; near-ties go to the larger
        // shift, up to maxShift = min(300 - 100 - 2, 200) = 198.
        {"near-ties go to the larger shift", pageWindow(periodic, 0, 300), pageWindow(periodic, 30, 300), 190},
        {"identical frames", pageWindow(page, 0, 600), pageWindow(page, 0, 600), 0},
        {"narrower than 5 pixels", frameOf(page(cv::Rect(0, 0, 4, 200)).clone()),
         frameOf(page(cv::Rect(0, 20, 4, 200)).clone()), 0},
    };
    for (const Case &c : cases)
        EXPECT_EQ(verticalShift(c.a, c.b), c.expected) << c.name;
}

TEST(ShiftEstimation, VerticalShiftAcceptsEighteenButNotMore)
{
    // b is a moved up by 40 with red raised by k: every motion point's distance at the
    // right shift is k / 3; any other shift scores far worse.
    cv::Mat page(1000, 600, CV_8UC4);
    cv::randu(page, cv::Scalar(100, 0, 0, 255), cv::Scalar(101, 256, 256, 256));
    for (auto [k, expected] : {std::pair{54, 40}, {55, 0}}) {
        cv::Mat later = page.clone();
        later += cv::Scalar(k, 0, 0, 0);
        EXPECT_EQ(verticalShift(pageWindow(page, 0, 400), pageWindow(later, 40, 400)), expected) << "red + " << k;
    }
}

TEST(ShiftEstimation, WebCascadeVotesOnStripsThenTheWholeFrame)
{
    const cv::Mat page = syntheticPage(300, 800);
    const ScrollFrame still = pageWindow(page, 0, 200);
    struct Case {
        const char *name;
        QList<std::optional<Translation>> answers;   // five strips, then the whole frame
        int lastShift;
        int expected;
    } cases[] = {
        {"four of five agree: mean 41.5 rounds to 42", {at(40), at(41), at(42), at(43), at(90)}, 300, 42},
        {"cluster of three confirmed by the whole frame", {at(39), at(40), at(41), at(90), {}, at(42.5, 0.85f)}, 300, 40},
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
    for (const Case &c : cases)
        EXPECT_EQ(estimateWebShift(still, still, c.lastShift, scripted(c.answers)), c.expected) << c.name;
}

TEST(ShiftEstimation, WebOverlapSearchKeepsTheSmallerOfEqualShifts)
{
    // No registration: the sampled overlap search decides. The page repeats every 40 rows.
    const cv::Mat periodic = periodicPage(400, 1200, 40);
    const Registration none = [](const cv::Mat &, const cv::Mat &) { return std::optional<Translation>(); };
    EXPECT_EQ(estimateWebShift(pageWindow(periodic, 0, 300), pageWindow(periodic, 31, 300), 100, none), 31);
}

TEST(ShiftEstimation, WebCascadeWithRealRegistrationMatchesSyntheticShifts)
{
    const cv::Mat page = syntheticPage(1920, 4000);
    struct Case { const char *name; int shift, header; } cases[] = {
        {"one wheel step", 53, 0},
        {"just under the strip height", 350, 0},
        {"a burst larger than a strip", 424, 0},
        {"most of the frame", 800, 0},
        {"sticky header of 120 rows", 424, 120},
        {"sticky header, small shift", 60, 120},
    };
    for (const Case &c : cases) {
        const ScrollFrame a = pageWindow(page, 300, 1080, c.header);
        const ScrollFrame b = pageWindow(page, 300 + c.shift, 1080, c.header);
        EXPECT_EQ(estimateWebShift(a, b, 360), c.shift) << c.name;
    }
}

TEST(ShiftEstimation, ManualAcceptanceWindow)
{
    cv::Mat page(2000, 500, CV_8UC4);
    cv::randu(page, cv::Scalar::all(0), cv::Scalar::all(256));
    const ScrollFrame a = pageWindow(page, 0, 400);
    EXPECT_EQ(manualShift(a, pageWindow(page, 7, 400)), std::nullopt);
    EXPECT_EQ(manualShift(a, pageWindow(page, 8, 400)), 8);
    EXPECT_EQ(manualShift(a, pageWindow(page, 200, 400)), 200);
    EXPECT_EQ(manualShift(a, a), std::nullopt);
}
