#include "capture/scrolling/ShiftEstimation.h"
#include "capture/scrolling/Stitching.h"
#include "capture/scrolling/SyntheticPage.h"
#include "capture/scrollingflow/ScrollingCaptureLoop.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

// A page in a viewport: wheel steps move it by a fixed number of rows until its end; the
// user's hand (manual mode) moves it by a scripted amount before given polls. Unset
// scripts never fire.
struct ScriptedPage : ScrollCaptureSteps {
    ScriptedPage(cv::Mat page, int viewport, int rowsPerStep) : page(std::move(page)), viewport(viewport), step(rowsPerStep) {}

    std::optional<ScrollFrame> grabFrame() override
    {
        moveBy(handScroll ? handScroll(grabs) : 0);
        if (const int n = grabs++; grabFailsAt && grabFailsAt(n))
            return std::nullopt;
        return pageWindow(page, top, viewport);
    }
    void scrollLineDown() override { ++wheelSteps; moveBy(step); }
    void moveBy(int rows) { top = std::clamp(top + rows, 0, page.rows - viewport); }
    void prepare() override { ++prepared; }
    bool isEscapeHeld() override { return escapeAt && escapeAt(grabs); }
    bool isReturnHeld() override { return returnAt && returnAt(grabs); }
    void sleep(std::chrono::milliseconds) override {}
    void block(std::chrono::microseconds) override {}
    void frameKept(int count, bool manual) override { reports.append({count, manual}); }

    cv::Mat page;
    int viewport, step, top = 0, grabs = 0, wheelSteps = 0, prepared = 0;
    QList<std::pair<int, bool>> reports;
    std::function<bool(int grabs)> escapeAt, returnAt, grabFailsAt;
    std::function<int(int grabs)> handScroll;
};

} // namespace

TEST(ScrollingCaptureLoop, WebModeScrollsToTheEndAndStitchesThePage)
{
    const cv::Mat page = syntheticPage(640, 2400);
    ScriptedPage steps(page, 400, 40);   // a burst moves 320 rows
    const auto image = ScrollingCaptureLoop::capture(steps, true, 320);
    ASSERT_TRUE(image);
    // The whole page, exactly.
    const cv::Mat result(image->height(), image->width(), CV_8UC4, const_cast<uchar *>(image->constBits()),
                         size_t(image->bytesPerLine()));
    ASSERT_EQ(image->size(), QSize(640, 2400));
    EXPECT_EQ(cv::norm(result, page, cv::NORM_INF), 0.0);
    EXPECT_DOUBLE_EQ(image->devicePixelRatio(), 2.0);
    // Eight frames kept (tops 0, 320, ..., 1920 and the end at 2000), then three still
    // bursts end the run.
    ASSERT_EQ(steps.reports.size(), 8);
    EXPECT_EQ(steps.reports.last(), std::pair(8, false));
    EXPECT_EQ(steps.wheelSteps, (7 + 3) * ScrollingCaptureLoop::stepsPerBurst);
    EXPECT_EQ(steps.prepared, 1);
}

TEST(ScrollingCaptureLoop, EndsAndCancelsWhereItShould)
{
    const cv::Mat page = syntheticPage(300, 3000);
    struct Case {
        const char *name;
        bool web;
        int pageRows;   // rows the viewport can travel is pageRows - 300
        std::function<bool(int)> escape, enter, grabFails;
        std::function<int(int)> hand;
        bool image;
        int frames, grabs, height;
    } cases[] = {
        {"web: page already at its end gives one frame", true, 300, {}, {}, {}, {}, true, 1, 4, 300},
        {"web: Escape at the first check cancels", true, 3000, [](int g) { return g >= 1; }, {}, {}, {}, false, 1, 1, 0},
        {"web: Escape after two bursts cancels", true, 3000, [](int g) { return g >= 3; }, {}, {}, {}, false, 3, 3, 0},
        {"web: a failed grab finishes with what it has", true, 3000, {}, {}, [](int g) { return g == 3; }, {}, true, 3, 4, 300 + 2 * 160},
        {"web: the first grab failing gives nothing", true, 3000, {}, {}, [](int g) { return g == 0; }, {}, false, 0, 1, 0},
        {"manual: Return before the first poll", false, 3000, {}, [](int) { return true; }, {}, {}, true, 1, 1, 300},
        {"manual: Escape cancels", false, 3000, [](int g) { return g >= 2; }, {}, {}, [](int) { return 60; }, false, 2, 2, 0},
        {"manual: hand scrolls 60 twice, then Return", false, 3000, {}, [](int g) { return g >= 3; }, {},
         [](int g) { return g == 1 || g == 2 ? 60 : 0; }, true, 3, 3, 420},
        {"manual: a 7-row nudge is dropped, 8 kept", false, 3000, {}, [](int g) { return g >= 3; }, {},
         [](int g) { return g == 1 ? 7 : g == 2 ? 1 : 0; }, true, 2, 3, 308},
        {"manual: nobody scrolls, 2400 polls", false, 3000, {}, {}, {}, {}, true, 1, 2401, 300},
    };
    for (const Case &c : cases) {
        ScriptedPage steps(page(cv::Rect(0, 0, 300, c.pageRows)).clone(), 300, 20);
        std::tie(steps.escapeAt, steps.returnAt, steps.grabFailsAt, steps.handScroll) = std::tie(c.escape, c.enter, c.grabFails, c.hand);
        const auto image = ScrollingCaptureLoop::capture(steps, c.web, 300);
        EXPECT_EQ(image.has_value(), c.image) << c.name;
        EXPECT_EQ(steps.reports.size(), c.frames) << c.name;
        EXPECT_EQ(steps.grabs, c.grabs) << c.name;
        EXPECT_EQ(image ? image->height() : 0, c.height) << c.name;
        for (const auto &report : steps.reports)
            EXPECT_EQ(report.second, !c.web) << c.name;
    }
}

TEST(ScrollingCaptureLoop, WebModeStopsAtItsCaps)
{
    // A page of noise longer than any run, so every shift is certain and only the caps
    // end it.
    cv::Mat page(62000, 200, CV_8UC4);
    cv::randu(page, cv::Scalar::all(0), cv::Scalar::all(256));
    struct Case { const char *name; int viewport, rowsPerStep; int height, frames; } cases[] = {
        // 400 + 187 × 320 = 60,240: the first total at or past 60,000 rows.
        {"60,000 rows", 400, 40, 60240, 188},
        // 200 bursts of 160 rows.
        {"200 bursts", 300, 20, 300 + 200 * 160, 201},
    };
    for (const Case &c : cases) {
        ScriptedPage steps(page, c.viewport, c.rowsPerStep);
        const auto image = ScrollingCaptureLoop::capture(steps, true, 200);
        ASSERT_TRUE(image) << c.name;
        EXPECT_EQ(image->height(), c.height) << c.name;
        EXPECT_EQ(steps.reports.size(), c.frames) << c.name;
    }
}

TEST(ScrollingCaptureLoop, ActivatesTheFrontmostOrdinaryWindowOfAnotherProcess)
{
    const QPoint centre(500, 400);
    const OnScreenWindow dock{10, WindowList::dockLayer, QRect(0, 0, 1920, 1080)};
    const OnScreenWindow own{99, WindowList::normalLayer, QRect(0, 0, 800, 800)};
    const OnScreenWindow elsewhere{20, WindowList::normalLayer, QRect(900, 0, 400, 400)};
    const OnScreenWindow browser{30, WindowList::normalLayer, QRect(100, 100, 1000, 800)};
    const OnScreenWindow behind{40, WindowList::normalLayer, QRect(0, 0, 1920, 1080)};
    struct Case { const char *name; QList<OnScreenWindow> windows; std::optional<qint64> pid; } cases[] = {
        {"skips docks, its own window and windows elsewhere", {dock, own, elsewhere, browser, behind}, 30},
        {"front to back: the first match wins", {behind, browser}, 40},
        {"only its own window", {own}, std::nullopt},
        {"nothing on screen", {}, std::nullopt},
    };
    for (const Case &c : cases) {
        const auto window = ScrollingCaptureLoop::windowUnder(c.windows, centre, 99);
        EXPECT_EQ(window ? std::optional(window->pid) : std::nullopt, c.pid) << c.name;
    }
}
