#include "capture/scrolling/SyntheticPage.h"
#include "capture/scrollingflow/ScrollingCaptureLoop.h"

#include <gtest/gtest.h>

namespace {

using Script = std::function<int(int grabs)>;   // unset scripts never fire

// A page in a viewport: a wheel step moves it by a fixed number of rows, the user's hand
// (manual mode) by a scripted amount before a given grab.
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
    Script escapeAt, returnAt, grabFailsAt, handScroll;
};

TEST(ScrollingCaptureLoop, WebModeScrollsToTheEndAndStitchesThePage)
{
    const cv::Mat page = syntheticPage(640, 2400);
    ScriptedPage steps(page, 400, 40);   // a burst moves 320 rows
    const auto image = ScrollingCaptureLoop::capture(steps, true, 320);
    ASSERT_TRUE(image && image->size() == QSize(640, 2400));
    const cv::Mat result(2400, 640, CV_8UC4, const_cast<uchar *>(image->constBits()), size_t(image->bytesPerLine()));
    EXPECT_EQ(cv::norm(result, page, cv::NORM_INF), 0.0);
    EXPECT_DOUBLE_EQ(image->devicePixelRatio(), 2.0);
    // Tops 0, 320 ... 1920 and the end at 2000 kept, then three still bursts end the run.
    QList<std::pair<int, bool>> kept;
    for (int count = 1; count <= 8; ++count)
        kept.append({count, false});
    EXPECT_EQ(std::tuple(steps.reports, steps.wheelSteps, steps.prepared), std::tuple(kept, (7 + 3) * ScrollingCaptureLoop::stepsPerBurst, 1));
}

TEST(ScrollingCaptureLoop, EndsAndCancelsWhereItShould)
{
    const cv::Mat page = syntheticPage(300, 3000);
    const auto from = [](int n) -> Script { return [n](int g) { return g >= n; }; };
    const auto at = [](int n) -> Script { return [n](int g) { return g == n; }; };
    const struct {
        const char *name;
        bool web;
        int pageRows;   // the viewport travels pageRows - 300
        Script escape, enter, grabFails, hand;
        bool image;
        qsizetype frames;
        int grabs, height;
    } cases[] = {
        {"web: page already at its end gives one frame", true, 300, {}, {}, {}, {}, true, 1, 4, 300},
        {"web: Escape after two bursts cancels", true, 3000, from(3), {}, {}, {}, false, 3, 3, 0},
        {"web: a failed grab finishes with what it has", true, 3000, {}, {}, at(3), {}, true, 3, 4, 300 + 2 * 160},
        {"web: the first grab failing gives nothing", true, 3000, {}, {}, at(0), {}, false, 0, 1, 0},
        {"manual: Return before the first poll", false, 3000, {}, from(0), {}, {}, true, 1, 1, 300},
        {"manual: Escape cancels", false, 3000, from(2), {}, {}, [](int) { return 60; }, false, 2, 2, 0},
        {"manual: hand scrolls 60 twice, then Return", false, 3000, {}, from(3), {},
         [](int g) { return g == 1 || g == 2 ? 60 : 0; }, true, 3, 3, 420},
        {"manual: a 7-row nudge is dropped, 8 kept", false, 3000, {}, from(3), {},
         [](int g) { return g == 1 ? 7 : g == 2 ? 1 : 0; }, true, 2, 3, 308},
        {"manual: nobody scrolls, 2400 polls", false, 3000, {}, {}, {}, {}, true, 1, 2401, 300},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedPage steps(page(cv::Rect(0, 0, 300, c.pageRows)).clone(), 300, 20);
        std::tie(steps.escapeAt, steps.returnAt, steps.grabFailsAt, steps.handScroll) = std::tie(c.escape, c.enter, c.grabFails, c.hand);
        const auto image = ScrollingCaptureLoop::capture(steps, c.web, 300);
        EXPECT_EQ(std::tuple(image.has_value(), steps.reports.size(), steps.grabs, image ? image->height() : 0),
                  std::tuple(c.image, c.frames, c.grabs, c.height));
        for (const auto &report : steps.reports)
            EXPECT_EQ(report.second, !c.web);
    }
    // Bands of 160 rows, each 3 apart in one channel: a burst of 160 changes every pixel by
    // exactly 1.0, which is motion, not stillness, so every burst up to top 2560 keeps a frame.
    cv::Mat bands(3000, 300, CV_8UC4);
    for (int y = 0; y < bands.rows; ++y)
        bands.row(y).setTo(cv::Scalar(3 * (y / 160), 0, 0, 255));
    ScriptedPage banded(bands, 300, 20);
    ScrollingCaptureLoop::capture(banded, true, 300);
    EXPECT_EQ(banded.reports.size(), 2560 / 160 + 1);
}

TEST(ScrollingCaptureLoop, StopsAtItsCaps)
{
    // Noise longer than any run: every shift is certain and only the caps end it.
    cv::Mat page(62000, 200, CV_8UC4);
    cv::randu(page, cv::Scalar::all(0), cv::Scalar::all(256));
    const struct { const char *name; bool web; int viewport, rowsPerStep, hand; int height; qsizetype frames; } cases[] = {
        {"web: 480 + 186 bursts of 320 reach 60,000 rows", true, 480, 40, 0, 60000, 187},
        {"web: 200 bursts of 160", true, 300, 20, 0, 300 + 200 * 160, 201},
        {"manual: 400 + 298 hand scrolls of 200 reach 60,000 rows", false, 400, 0, 200, 60000, 299},
    };
    for (const auto &c : cases) {
        ScriptedPage steps(page, c.viewport, c.rowsPerStep);
        steps.handScroll = [&c](int g) { return g >= 1 ? c.hand : 0; };
        const auto image = ScrollingCaptureLoop::capture(steps, c.web, 200);
        ASSERT_TRUE(image) << c.name;
        EXPECT_EQ(std::pair(image->height(), steps.reports.size()), std::pair(c.height, c.frames)) << c.name;
    }
}

TEST(ScrollingCaptureLoop, ActivatesTheFrontmostOrdinaryWindowOfAnotherProcess)
{
    const OnScreenWindow dock{10, WindowList::dockLayer, QRect(0, 0, 1920, 1080)}, own{99, WindowList::normalLayer, QRect(0, 0, 800, 800)},
        elsewhere{20, WindowList::normalLayer, QRect(900, 0, 400, 400)}, browser{30, WindowList::normalLayer, QRect(100, 100, 1000, 800)},
        behind{40, WindowList::normalLayer, QRect(0, 0, 1920, 1080)};
    const struct { const char *name; QList<OnScreenWindow> windows; std::optional<qint64> pid; } cases[] = {
        {"skips docks, its own window and windows elsewhere", {dock, own, elsewhere, browser, behind}, 30},
        {"front to back: the first match wins", {behind, browser}, 40},
    };
    for (const auto &c : cases) {
        const auto window = ScrollingCaptureLoop::windowUnder(c.windows, QPoint(500, 400), 99);
        EXPECT_EQ(window ? std::optional(window->pid) : std::nullopt, c.pid) << c.name;
    }
}

} // namespace
