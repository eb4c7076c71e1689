#include "capture/selector/RegionSelection.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

enum class Op { press, drag, release, cancel };
struct Step {
    Op op;
    QPointF at;
};

struct Case {
    const char *name;
    QRectF frame;
    std::vector<Step> steps;
    int completions;
    std::optional<QRectF> result;   // the answer when there is one
    bool dragging;                  // state after the last step
};

TEST(RegionSelection, EndsInExactlyOneAnswer)
{
    const QRectF screen(0, 0, 800, 600);
    const QRectF second(800, -100, 640, 480);
    const Case cases[] = {
        {"a drag completes in global coordinates", screen,
         {{Op::press, {10, 20}}, {Op::drag, {50, 60}}, {Op::release, {110, 70}}}, 1, QRectF(10, 20, 100, 50), false},
        {"a drag up and left is normalised", screen,
         {{Op::press, {300, 300}}, {Op::release, {200, 250}}}, 1, QRectF(200, 250, 100, 50), false},
        {"3 x 100 is too thin", screen, {{Op::press, {10, 10}}, {Op::release, {13, 110}}}, 0, std::nullopt, false},
        {"100 x 3.9 is too thin", screen, {{Op::press, {10, 10}}, {Op::release, {110, 13.9}}}, 0, std::nullopt, false},
        {"4 x 4 is enough", screen, {{Op::press, {10, 10}}, {Op::release, {14, 14}}}, 1, QRectF(10, 10, 4, 4), false},
        {"after a click a new drag may begin", screen,
         {{Op::press, {10, 10}}, {Op::release, {11, 11}}, {Op::press, {20, 20}}, {Op::release, {40, 40}}}, 1,
         QRectF(20, 20, 20, 20), false},
        {"past the right and bottom edges stops at the edge", screen,
         {{Op::press, {700, 500}}, {Op::drag, {5000, 5000}}, {Op::release, {900, 700}}}, 1, QRectF(700, 500, 100, 100), false},
        {"past the left and top edges of an offset screen", second,
         {{Op::press, {100, 100}}, {Op::release, {-300, -300}}}, 1, QRectF(800, -100, 100, 100), false},
        {"escape, then a stray release", screen,
         {{Op::press, {10, 10}}, {Op::cancel, {}}, {Op::release, {100, 100}}}, 1, std::nullopt, false},
        {"two escapes", screen, {{Op::cancel, {}}, {Op::cancel, {}}}, 1, std::nullopt, false},
        {"nothing after a completed drag", screen,
         {{Op::press, {10, 10}}, {Op::release, {100, 100}}, {Op::cancel, {}}, {Op::press, {1, 1}},
          {Op::release, {300, 300}}},
         1, QRectF(10, 10, 90, 90), false},
        {"moves without a press are ignored", screen, {{Op::drag, {10, 10}}, {Op::release, {100, 100}}}, 0, std::nullopt, false},
        {"still dragging", screen, {{Op::press, {10, 10}}, {Op::drag, {100, 100}}}, 0, std::nullopt, true},
    };
    for (const Case &c : cases) {
        RegionSelection selection(c.frame);
        std::vector<std::optional<QRectF>> answers;
        selection.onComplete = [&answers](std::optional<QRectF> r) { answers.push_back(r); };
        for (const Step &s : c.steps) {
            switch (s.op) {
            case Op::press: selection.press(s.at); break;
            case Op::drag: selection.drag(s.at); break;
            case Op::release: selection.release(s.at); break;
            case Op::cancel: selection.cancel(); break;
            }
        }
        ASSERT_EQ(int(answers.size()), c.completions) << c.name;
        EXPECT_EQ(selection.isFinished(), c.completions > 0) << c.name;
        EXPECT_EQ(selection.isDragging(), c.dragging) << c.name;
        if (c.completions) {
            EXPECT_EQ(answers.front(), c.result) << c.name;
        }
        if (answers.size() == 1 && answers.front()) {
            EXPECT_TRUE(c.frame.contains(*answers.front())) << c.name;
        }
    }
}

TEST(RegionSelection, OwnerMayDestroyItFromTheCompletion)
{
    auto selection = std::make_unique<RegionSelection>(QRectF(0, 0, 100, 100));
    int calls = 0;
    selection->onComplete = [&](std::optional<QRectF>) {
        ++calls;
        selection.reset();
    };
    selection->cancel();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(selection, nullptr);
}

} // namespace
