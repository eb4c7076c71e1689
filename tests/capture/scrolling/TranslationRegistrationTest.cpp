#include "capture/scrolling/ShiftEstimation.h"
#include "capture/scrolling/SyntheticPage.h"
#include "capture/scrolling/TranslationRegistration.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

TEST(TranslationRegistration, FindsSyntheticShiftsOnItsOwnAndInTheWebCascade)
{
    const cv::Mat page = syntheticPage(1920, 4000);
    // Strips of 360 rows and whole frames of 1080; -30 is content moving down.
    for (auto [height, shift] : {std::pair{360, 12}, {360, 200}, {360, 250}, {1080, 424}, {1080, 700}, {360, -30}}) {
        const auto t = visionTranslation(page(cv::Rect(0, 1000, 1920, height)), page(cv::Rect(0, 1000 + shift, 1920, height)));
        ASSERT_TRUE(t) << shift;
        EXPECT_TRUE(t->x == 0.0 && t->y == shift && t->confidence >= 0.9f) << shift << ": " << t->y << ", " << t->confidence;
    }
    // One wheel step, just under a strip, a burst larger than one, most of the frame, sticky headers.
    for (auto [shift, header] : {std::pair{53, 0}, {350, 0}, {424, 0}, {800, 0}, {424, 120}, {60, 120}})
        EXPECT_EQ(estimateWebShift(pageWindow(page, 300, 1080, header), pageWindow(page, 300 + shift, 1080, header), 360), shift)
            << shift << " under a header of " << header;
}

TEST(TranslationRegistration, ConfidenceIsLowWhenTheAnswerCannotBeTrusted)
{
    const cv::Mat page = syntheticPage(800, 3000);
    // Rows repeating every 30: every multiple of 30 fits as well as the true shift.
    cv::Mat repeated(600, 800, CV_8UC4);
    for (int y = 0; y < 600; ++y)
        page.row(500 + y % 30).copyTo(repeated.row(y));
    const auto periodic = visionTranslation(repeated(cv::Rect(0, 0, 800, 300)), repeated(cv::Rect(0, 60, 800, 300)));
    EXPECT_TRUE(!periodic || periodic->confidence < 0.5f);
    const cv::Mat blank(300, 800, CV_8UC4, cv::Scalar::all(255));
    EXPECT_FALSE(visionTranslation(blank, blank));
}
