#include "capture/scrolling/ScrollMetrics.h"
#include "capture/scrolling/SyntheticPage.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

namespace {

cv::Mat solid(int width, int height, uchar grey) { return cv::Mat(height, width, CV_8UC4, cv::Scalar::all(grey)); }

// b is a with one column (or row) changed by +30 in colour, alpha left alone.
double meanDifferenceWith(int width, int height, cv::Rect changed)
{
    const cv::Mat a = solid(width, height, 100);
    cv::Mat b = a.clone();
    b(changed).setTo(cv::Scalar(130, 130, 130, 100));
    return meanDifference(frameOf(a), frameOf(b));
}

TEST(ScrollMetrics, MeanDifferenceSamplesTheGridItIsMeantTo)
{
    // One column differs by 30; the mean is 30 / (columns sampled) when that column is on
    // the grid and 0 when it is not.
    const struct { const char *name; int width, height, column; double expected; } cases[] = {
        {"384 wide steps 12: x = 24 sampled", 384, 100, 24, 30.0 / 31},
        {"383 wide steps 12 too", 383, 100, 24, 30.0 / 31},
        {"768 wide steps 24: x = 24 skipped", 768, 100, 24, 0.0},
        {"768 wide steps 24: x = 36 sampled", 768, 100, 36, 30.0 / 32},
        {"outer 12 columns never sampled", 384, 100, 11, 0.0},
        {"12 x 12 has no samples", 12, 12, 5, 0.0},
        {"13 wide samples x = 12 only", 13, 13, 12, 30.0},
    };
    for (const auto &c : cases)
        EXPECT_NEAR(meanDifferenceWith(c.width, c.height, cv::Rect(c.column, 0, 1, c.height)), c.expected, 1e-12) << c.name;
    // At 480 rows the y step is 12; a row at y = 24 is on it. At 960 rows the step is 24.
    for (auto [height, row, sampled] : {std::tuple{480, 24, true}, {960, 24, false}, {960, 36, true}})
        EXPECT_EQ(meanDifferenceWith(100, height, cv::Rect(0, row, 100, 1)) > 0.0, sampled) << height << " rows, row " << row;
    const ScrollFrame a = frameOf(solid(100, 100, 100));
    EXPECT_EQ(meanDifference(a, a), 0.0);
}

TEST(ScrollMetrics, MotionPointsUseTheSevenThresholdOnAGridWithMargins)
{
    const struct { const char *name; cv::Scalar colour; bool point; } cases[] = {
        {"sum 21 is exactly 7.0", {21, 0, 0, 7}, true},
        {"sum 20 is 6.67", {10, 10, 0, 7}, false},
        {"spread over channels", {7, 7, 7, 7}, true},
        {"alpha ignored", {0, 0, 0, 7}, false},
    };
    for (const auto &c : cases) {
        const cv::Mat b(100, 100, CV_8UC4, c.colour);
        // 64 rows × 64 columns in a band of 100 rows of a 100-pixel-wide frame.
        EXPECT_EQ(buildMotionPoints(frameOf(solid(100, 100, 0)), frameOf(b), 0, 100).size(), c.point ? 64 * 64 : 0) << c.name;
    }
    // Usable width 5, so 5 columns at (j * 5) / 6 + 2 = 2, 3, 4, 5, 6; span 3 gives rows
    // 10 + (i * 3) / 4 = 10, 11, 12.
    QList<MotionPoint> expected;
    for (int y : {10, 11, 12})
        for (int x : {2, 3, 4, 5, 6})
            expected.append({x, y});
    EXPECT_EQ(buildMotionPoints(frameOf(solid(9, 40, 0)), frameOf(solid(9, 40, 200)), 10, 13), expected);
    EXPECT_TRUE(buildMotionPoints(frameOf(solid(4, 40, 0)), frameOf(solid(4, 40, 200)), 0, 40).isEmpty());
}

TEST(ScrollMetrics, OverlapScoreNeedsTwentyFourPointsAndTrimsTheWorst)
{
    // a is black; b's pixel at point k has distance k, so the sorted list is 0, 1, 2, ...
    const cv::Mat a = solid(40, 60, 0);
    cv::Mat b = a.clone();
    QList<MotionPoint> points;
    for (int k = 0; k < 30; ++k) {
        points.append({k, 5});
        b.at<cv::Vec4b>(5, k) = cv::Vec4b(uchar(k), uchar(k), uchar(k), 0);
    }
    const struct { const char *name; int points, shift; double expected; } cases[] = {
        {"23 points: no evidence", 23, 3, noEvidence},
        {"24 points: best 22 averaged", 24, 3, 10.5},   // mean of 0 ... 21
        {"30 points: best 28", 30, 3, 13.5},            // (30 * 95) / 100 = 28
        {"row + shift past the bottom is skipped", 30, 55, noEvidence},
        {"row + shift on the last row counts", 24, 54, 10.5},
    };
    for (const auto &c : cases)
        EXPECT_EQ(overlapScore(frameOf(a), frameOf(b), c.shift, points.first(c.points)), c.expected) << c.name;
}

TEST(ScrollMetrics, WebOverlapScoreSamplesEvenlySpreadRows)
{
    // overlap 5 samples rows at (i * 5) / 6 = 0, 1, 2, 3, 4 of b; poison one row at a time.
    const cv::Mat a = solid(30, 10, 100);
    for (int row = 0; row < 5; ++row) {
        cv::Mat b = a.clone();
        b.row(row).setTo(cv::Scalar(160, 160, 160, 100));
        EXPECT_DOUBLE_EQ(webOverlapScore(frameOf(a), frameOf(b), 5), 60.0 / 5) << "row " << row;
    }
    // 30 columns: 24 sampled at (j * 30) / 25; column 0 never is.
    cv::Mat b = a.clone();
    b.col(0).setTo(cv::Scalar(0, 0, 0, 100));
    EXPECT_EQ(webOverlapScore(frameOf(a), frameOf(b), 5), 0.0);
    EXPECT_EQ(webOverlapScore(frameOf(a), frameOf(b), 10), noEvidence);
}

TEST(ScrollMetrics, FramePixelRectWidensAndClips)
{
    const QRectF screen(0, 0, 800, 600);
    const struct { const char *name; QRectF region, frame; QSize image; std::optional<QRect> expected; } cases[] = {
        {"scale 2 doubles", {100, 50, 200, 100}, screen, {1600, 1200}, QRect(200, 100, 400, 200)},
        {"fraction widens outwards", {10.5, 10.5, 20, 20}, screen, {800, 600}, QRect(10, 10, 21, 21)},
        {"second screen offset", {900, 10, 50, 50}, {800, 0, 800, 600}, {800, 600}, QRect(100, 10, 50, 50)},
        {"partly outside is clipped", {-20, 580, 100, 100}, screen, {800, 600}, QRect(0, 580, 80, 20)},
        {"rounds to one pixel wide", {10.2, 10, 0.5, 50}, screen, {800, 600}, std::nullopt},
        {"two pixels is enough", {10, 10, 2, 2}, screen, {800, 600}, QRect(10, 10, 2, 2)},
        {"outside the screen", {900, 10, 50, 50}, screen, {800, 600}, std::nullopt},
    };
    for (const auto &c : cases)
        EXPECT_EQ(framePixelRect(c.region, c.frame, c.image), c.expected) << c.name;
}

} // namespace
