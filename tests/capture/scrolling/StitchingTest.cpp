#include "capture/scrolling/ScrollStitcher.h"
#include "capture/scrolling/Stitching.h"
#include "capture/scrolling/SyntheticPage.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

namespace {

using Rows = QList<std::pair<int, int>>;   // where each result row came from: (frame, row)

// Frame k: each row says where it came from (channel 2 = frame, 1 = row). Rows from footerFrom
// on differ between frames only by that tag, well under the footer threshold.
ScrollFrame tagged(int k, int height = 100, int footerFrom = 100, int width = 16)
{
    cv::Mat m(height, width, CV_8UC4);
    for (int r = 0; r < height; ++r)
        m.row(r).setTo(cv::Scalar(r >= footerFrom ? 200 : 60 * k, r, k, 255));
    return frameOf(m);
}

Rows origins(const QImage &image)
{
    Rows rows;
    for (int y = 0; y < image.height(); ++y)
        rows.append({image.constScanLine(y)[2], image.constScanLine(y)[1]});
    return rows;
}

Rows run(int frame, int firstRow, int count)
{
    Rows rows;
    for (int i = 0; i < count; ++i)
        rows.append({frame, firstRow + i});
    return rows;
}

TEST(Stitching, LaysOutRowsFromTheRightFrames)
{
    const struct { const char *name; bool manual; int frames, footerFrom; QList<int> shifts; Rows expected; } cases[] = {
        {"web: bottom rows of each frame", false, 3, 100, {30, 40}, run(0, 0, 100) + run(1, 70, 30) + run(2, 60, 40)},
        {"web ignores a footer", false, 3, 88, {30, 40}, run(0, 0, 100) + run(1, 70, 30) + run(2, 60, 40)},
        {"manual: 12-row footer once at the bottom", true, 3, 88, {30, 40},
         run(0, 0, 88) + run(1, 58, 30) + run(2, 48, 40) + run(2, 88, 12)},
        {"manual: a 40-row footer is capped at 20", true, 3, 60, {30, 40},
         run(0, 0, 80) + run(1, 50, 30) + run(2, 40, 40) + run(2, 80, 20)},
        {"manual without a footer", true, 3, 100, {30, 40}, run(0, 0, 100) + run(1, 70, 30) + run(2, 60, 40)},
        {"manual: one frame keeps its footer in place", true, 1, 88, {}, run(0, 0, 100)},
        {"manual: a shift above the body starts at row 0", true, 2, 88, {95}, run(0, 0, 88) + run(1, 0, 95) + run(1, 88, 12)},
    };
    for (const auto &c : cases) {
        QList<ScrollFrame> frames;
        for (int k = 0; k < c.frames; ++k)
            frames.append(tagged(k, 100, c.footerFrom));
        EXPECT_EQ(origins(c.manual ? stitch(frames, c.shifts, 16) : stitchWeb(frames, c.shifts, 16)), c.expected) << c.name;
    }
    // Presented at the region's logical width.
    const QImage wide = stitchWeb({tagged(0, 100, 100, 1600), tagged(1, 100, 100, 1600)}, {50}, 800);
    EXPECT_EQ(std::tuple(wide.size(), wide.devicePixelRatio()), std::tuple(QSize(1600, 150), 2.0));
}

TEST(Stitching, RefusesInputItCannotLayOut)
{
    const QList<ScrollFrame> two{tagged(0), tagged(1)}, mixed{tagged(0), tagged(1, 90, 90)};
    for (auto stitcher : {&stitch, &stitchWeb}) {
        for (const auto &[frames, shifts] : {std::pair<QList<ScrollFrame>, QList<int>>{{}, {}}, {two, {}}, {two, {0}},
                                             {two, {101}}, {mixed, {10}}})
            EXPECT_TRUE(stitcher(frames, shifts, 10).isNull()) << frames.size() << " frames, " << shifts.value(0);
        EXPECT_EQ(stitcher(two, {100}, 10).height(), 200);
    }
    ScrollStitcher streaming(ScrollStitcher::Mode::web);
    EXPECT_FALSE(streaming.add(tagged(0), 10));   // before the first
    ASSERT_TRUE(streaming.addFirst(tagged(0)));
    EXPECT_FALSE(streaming.add(tagged(1, 90, 90), 10) || streaming.add(tagged(1), 0) || streaming.add(tagged(1), 101));
    EXPECT_EQ(streaming.totalHeight(), 100);
    EXPECT_EQ(streaming.finish(16).height(), 100);
}

TEST(Stitching, StreamingStitcherGivesTheReferenceImage)
{
    const cv::Mat page = syntheticPage(320, 6000);
    using Mode = ScrollStitcher::Mode;
    const struct { const char *name; Mode mode; int footer; QList<int> shifts; } cases[] = {
        {"web, even bursts", Mode::web, 0, {120, 120, 120, 120, 60}},
        {"web, uneven, one full frame", Mode::web, 30, {5, 240, 17, 200, 1}},
        {"manual, fixed footer", Mode::manual, 30, {40, 8, 180, 90, 90, 12}},
        {"manual, footer over the cap", Mode::manual, 70, {40, 100, 33}},
        {"manual, no footer, large shifts", Mode::manual, 0, {216, 150, 200}},
        {"manual, one frame", Mode::manual, 30, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ScrollStitcher streaming(c.mode);
        QList<ScrollFrame> frames{pageWindow(page, 0, 240, 0, c.footer)};
        ASSERT_TRUE(streaming.addFirst(frames.first()));
        int top = 0;
        for (int s : c.shifts) {
            frames.append(pageWindow(page, top += s, 240, 0, c.footer));
            ASSERT_TRUE(streaming.add(frames.last(), s));
        }
        const QImage reference = c.mode == Mode::web ? stitchWeb(frames, c.shifts, 160) : stitch(frames, c.shifts, 160);
        const QImage streamed = streaming.finish(160);
        ASSERT_FALSE(reference.isNull());
        EXPECT_EQ(std::tuple(streamed, streamed.devicePixelRatio(), streaming.frameCount()), std::tuple(reference, 2.0, 0));
    }
}

} // namespace
