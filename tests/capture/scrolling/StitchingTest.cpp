#include "capture/scrolling/ScrollStitcher.h"
#include "capture/scrolling/Stitching.h"
#include "capture/scrolling/SyntheticPage.h"

#include <gtest/gtest.h>

using namespace ScrollingCapture;

namespace {

// Frame k of height h: each row says where it came from (B = frame, G = row). Rows at or
// below footerFrom are the same in every frame but for B, well under the footer threshold.
ScrollFrame taggedFrame(int k, int width, int height, int footerFrom)
{
    cv::Mat m(height, width, CV_8UC4);
    for (int r = 0; r < height; ++r)
        m.row(r).setTo(cv::Scalar(r >= footerFrom ? 200 : 60 * k, r, k, 255));
    return frameOf(m);
}

QList<ScrollFrame> taggedFrames(int count, int height, int footerFrom)
{
    QList<ScrollFrame> frames;
    for (int k = 0; k < count; ++k)
        frames.append(taggedFrame(k, 16, height, footerFrom));
    return frames;
}

// Where each result row came from, as (frame, row).
QList<std::pair<int, int>> origins(const QImage &image)
{
    QList<std::pair<int, int>> rows;
    for (int y = 0; y < image.height(); ++y)
        rows.append({image.constScanLine(y)[2], image.constScanLine(y)[1]});
    return rows;
}

QList<std::pair<int, int>> run(int frame, int firstRow, int count)
{
    QList<std::pair<int, int>> rows;
    for (int i = 0; i < count; ++i)
        rows.append({frame, firstRow + i});
    return rows;
}

} // namespace

TEST(Stitching, LaysOutRowsFromTheRightFrames)
{
    using Rows = QList<std::pair<int, int>>;
    struct Case { const char *name; bool manual; int frames, footerFrom; QList<int> shifts; Rows expected; } cases[] = {
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
    for (const Case &c : cases) {
        const QList<ScrollFrame> frames = taggedFrames(c.frames, 100, c.footerFrom);
        const QImage image = c.manual ? stitch(frames, c.shifts, 16) : stitchWeb(frames, c.shifts, 16);
        EXPECT_EQ(origins(image), c.expected) << c.name;
    }
}

TEST(Stitching, RefusesInputItCannotLayOut)
{
    const QList<ScrollFrame> two = taggedFrames(2, 100, 100);
    const QList<ScrollFrame> mixed{taggedFrame(0, 16, 100, 100), taggedFrame(1, 16, 90, 90)};
    for (auto stitcher : {&stitch, &stitchWeb}) {
        EXPECT_TRUE(stitcher({}, {}, 10).isNull());
        EXPECT_TRUE(stitcher(two, {}, 10).isNull());
        EXPECT_TRUE(stitcher(two, {0}, 10).isNull());
        EXPECT_TRUE(stitcher(two, {101}, 10).isNull());
        EXPECT_TRUE(stitcher(mixed, {10}, 10).isNull());
        EXPECT_EQ(stitcher(two, {100}, 10).height(), 200);
    }
}

TEST(Stitching, PresentsTheResultAtTheRegionsLogicalWidth)
{
    const QList<ScrollFrame> frames{taggedFrame(0, 1600, 100, 100), taggedFrame(1, 1600, 100, 100)};
    const QImage image = stitchWeb(frames, {50}, 800);
    EXPECT_EQ(image.size(), QSize(1600, 150));
    EXPECT_DOUBLE_EQ(image.devicePixelRatio(), 2.0);
    EXPECT_EQ(image.deviceIndependentSize(), QSizeF(800, 75));
}

TEST(Stitching, StreamingStitcherGivesTheReferenceImage)
{
    const cv::Mat page = syntheticPage(320, 6000);
    struct Case { const char *name; ScrollStitcher::Mode mode; int footer; QList<int> shifts; } cases[] = {
        {"web, even bursts", ScrollStitcher::Mode::web, 0, {120, 120, 120, 120, 60}},
        {"web, uneven, one full frame", ScrollStitcher::Mode::web, 30, {5, 240, 17, 200, 1}},
        {"manual, fixed footer", ScrollStitcher::Mode::manual, 30, {40, 8, 180, 90, 90, 12}},
        {"manual, footer over the cap", ScrollStitcher::Mode::manual, 70, {40, 100, 33}},
        {"manual, no footer, large shifts", ScrollStitcher::Mode::manual, 0, {216, 150, 200}},
        {"manual, one frame", ScrollStitcher::Mode::manual, 30, {}},
    };
    for (const Case &c : cases) {
        QList<ScrollFrame> frames{pageWindow(page, 0, 240, 0, c.footer)};
        int top = 0;
        for (int s : c.shifts)
            frames.append(pageWindow(page, top += s, 240, 0, c.footer));
        ScrollStitcher streaming(c.mode);
        ASSERT_TRUE(streaming.addFirst(frames.first())) << c.name;
        for (int i = 1; i < frames.size(); ++i)
            ASSERT_TRUE(streaming.add(frames[i], c.shifts[i - 1])) << c.name;
        const QImage reference = c.mode == ScrollStitcher::Mode::web ? stitchWeb(frames, c.shifts, 160)
                                                                     : stitch(frames, c.shifts, 160);
        const QImage streamed = streaming.finish(160);
        ASSERT_FALSE(reference.isNull()) << c.name;
        EXPECT_EQ(streamed, reference) << c.name;
        EXPECT_DOUBLE_EQ(streamed.devicePixelRatio(), 2.0) << c.name;
        EXPECT_EQ(streaming.frameCount(), 0) << c.name;
    }
}

TEST(Stitching, StreamingStitcherRejectsFramesThatDoNotFit)
{
    ScrollStitcher stitcher(ScrollStitcher::Mode::web);
    EXPECT_FALSE(stitcher.add(taggedFrame(0, 16, 100, 100), 10));   // before the first
    ASSERT_TRUE(stitcher.addFirst(taggedFrame(0, 16, 100, 100)));
    EXPECT_FALSE(stitcher.add(taggedFrame(1, 16, 90, 90), 10));
    EXPECT_FALSE(stitcher.add(taggedFrame(1, 16, 100, 100), 0));
    EXPECT_FALSE(stitcher.add(taggedFrame(1, 16, 100, 100), 101));
    EXPECT_EQ(stitcher.totalHeight(), 100);
    EXPECT_EQ(stitcher.finish(16).height(), 100);
}
