#include "capture/scrolling/ScrollMetrics.h"
#include "capture/scrolling/SyntheticPage.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

namespace {

cv::Mat solid(int width, int height, uchar grey) { return cv::Mat(height, width, CV_8UC4, cv::Scalar::all(grey)); }

TEST(ScrollMetrics, MeanDifferenceSamplesItsGrid)
{
    // One column (or row) is 30 brighter in colour, alpha alone: the mean is 30 / samples
    // when it is on the grid, 0 when not. The step is 12 up to 383 pixels, then 24.
    const struct { const char *name; int width, height; cv::Rect changed; double expected; } cases[] = {
        {"384 wide: x = 24 sampled", 384, 100, {24, 0, 1, 100}, 30.0 / 31},
        {"768 wide: x = 24 skipped", 768, 100, {24, 0, 1, 100}, 0.0},
        {"768 wide: x = 36 sampled", 768, 100, {36, 0, 1, 100}, 30.0 / 32},
        {"outer 12 columns never sampled", 384, 100, {11, 0, 1, 100}, 0.0},
        {"12 x 12 has no samples", 12, 12, {5, 0, 1, 12}, 0.0},
        {"13 wide samples x = 12 only", 13, 13, {12, 0, 1, 13}, 30.0},
        {"480 rows: y = 24 sampled", 100, 480, {0, 24, 100, 1}, 30.0 / 39},
        {"960 rows: y = 24 skipped", 100, 960, {0, 24, 100, 1}, 0.0},
        {"960 rows: y = 36 sampled", 100, 960, {0, 36, 100, 1}, 30.0 / 40},
    };
    for (const auto &c : cases) {
        const cv::Mat a = solid(c.width, c.height, 100);
        cv::Mat b = a.clone();
        b(c.changed).setTo(cv::Scalar(130, 130, 130, 100));
        EXPECT_NEAR(meanDifference(frameOf(a), frameOf(b)), c.expected, 1e-12) << c.name;
    }
}

TEST(ScrollMetrics, MotionPointsUseTheSevenThresholdOnAGridWithMargins)
{
    const struct { const char *name; cv::Scalar colour; qsizetype points; } cases[] = {
        {"sum 21 is exactly 7.0", {21, 0, 0, 7}, 64 * 64}, {"sum 20 is 6.67", {10, 10, 0, 7}, 0},
        {"spread over channels", {7, 7, 7, 7}, 64 * 64},   {"alpha ignored", {0, 0, 0, 7}, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(buildMotionPoints(frameOf(solid(100, 100, 0)), frameOf(cv::Mat(100, 100, CV_8UC4, c.colour)), 0, 100).size(),
                  c.points) << c.name;
    // Usable width 5: columns (j * 5) / 6 + 2; rows 10 + (i * 3) / 4 for a span of 3.
    QList<MotionPoint> expected;
    for (int y : {10, 11, 12})
        for (int x : {2, 3, 4, 5, 6})
            expected.append({x, y});
    EXPECT_EQ(buildMotionPoints(frameOf(solid(9, 40, 0)), frameOf(solid(9, 40, 200)), 10, 13), expected);
    EXPECT_TRUE(buildMotionPoints(frameOf(solid(4, 40, 0)), frameOf(solid(4, 40, 200)), 0, 40).isEmpty());
}

TEST(ScrollMetrics, OverlapScoreNeedsTwentyFourPointsAndTrimsTheWorst)
{
    // Point k is k away, so the sorted distances are 0, 1, 2, ...
    const cv::Mat a = solid(40, 60, 0);
    cv::Mat b = a.clone();
    QList<MotionPoint> points;
    for (int k = 0; k < 30; ++k) {
        points.append({k, 5});
        b.at<cv::Vec4b>(5, k) = cv::Vec4b(uchar(k), uchar(k), uchar(k), 0);
    }
    const struct { int points, shift; double expected; } cases[] = {
        {23, 3, noEvidence}, {24, 3, 10.5} /* best 22 */, {30, 3, 13.5} /* best 28 */,
        {30, 55, noEvidence} /* past the bottom */, {24, 54, 10.5} /* the last row counts */,
    };
    for (const auto &c : cases)
        EXPECT_EQ(overlapScore(frameOf(a), frameOf(b), c.shift, points.first(c.points)), c.expected) << c.points << "/" << c.shift;
}

TEST(ScrollMetrics, WebOverlapScoreSamplesEvenlySpreadRows)
{
    // Overlap 5 samples rows (i * 5) / 6 = 0 ... 4 of b, and 24 of 30 columns, never column 0.
    const cv::Mat a = solid(30, 10, 100);
    for (int row = 0; row < 5; ++row) {
        cv::Mat b = a.clone();
        b.row(row).setTo(cv::Scalar(160, 160, 160, 100));
        EXPECT_DOUBLE_EQ(webOverlapScore(frameOf(a), frameOf(b), 5), 60.0 / 5) << "row " << row;
    }
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
