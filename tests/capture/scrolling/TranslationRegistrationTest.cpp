#include "capture/scrolling/ScrollFrame.h"
#include "capture/scrolling/SyntheticPage.h"
#include "capture/scrolling/TranslationRegistration.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

TEST(TranslationRegistration, ReportsContentMovingUpAsPositiveYWithHighConfidence)
{
    const cv::Mat page = syntheticPage(1920, 4000);
    struct Case { const char *name; int height, shift; } cases[] = {
        {"strip, small", 360, 12},
        {"strip, 200 rows", 360, 200},
        {"strip, 250 rows", 360, 250},
        {"frame, 424 rows", 1080, 424},
        {"frame, 700 rows", 1080, 700},
        {"content moved down", 360, -30},
    };
    for (const Case &c : cases) {
        const cv::Mat a = page(cv::Rect(0, 1000, 1920, c.height));
        const cv::Mat b = page(cv::Rect(0, 1000 + c.shift, 1920, c.height));
        const auto t = visionTranslation(a, b);
        ASSERT_TRUE(t) << c.name;
        EXPECT_EQ(t->y, c.shift) << c.name;
        EXPECT_EQ(t->x, 0.0) << c.name;
        EXPECT_GE(t->confidence, 0.9f) << c.name;
    }
}

TEST(TranslationRegistration, ConfidenceIsLowWhenTheAnswerCannotBeTrusted)
{
    const cv::Mat page = syntheticPage(800, 3000);
    // Rows repeating every 30: every multiple of 30 fits as well as the true shift, so
    // there is no answer, or one that says it cannot be trusted.
    cv::Mat repeated(600, 800, CV_8UC4);
    for (int y = 0; y < 600; ++y)
        page.row(500 + y % 30).copyTo(repeated.row(y));
    const auto periodic = visionTranslation(repeated(cv::Rect(0, 0, 800, 300)), repeated(cv::Rect(0, 60, 800, 300)));
    EXPECT_TRUE(!periodic || periodic->confidence < 0.5f);

    // Two unrelated parts of the page.
    const auto unrelated = visionTranslation(page(cv::Rect(0, 0, 800, 300)), page(cv::Rect(0, 2000, 800, 300)));
    EXPECT_TRUE(!unrelated || unrelated->confidence < 0.8f);

    // A blank page has nothing to register on.
    const cv::Mat blank(300, 800, CV_8UC4, cv::Scalar(255, 255, 255, 255));
    EXPECT_FALSE(visionTranslation(blank, blank));
    // Mismatched sizes are refused.
    EXPECT_FALSE(visionTranslation(page(cv::Rect(0, 0, 800, 300)), page(cv::Rect(0, 0, 800, 301))));
}
