#include "capture/selector/RegionSelection.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

using Step = std::function<void(RegionSelection &)>;
Step P(qreal x, qreal y) { return [=](RegionSelection &s) { s.press({x, y}); }; }
Step D(qreal x, qreal y) { return [=](RegionSelection &s) { s.drag({x, y}); }; }
Step R(qreal x, qreal y) { return [=](RegionSelection &s) { s.release({x, y}); }; }
const Step C = &RegionSelection::cancel;

TEST(RegionSelection, EndsInExactlyOneAnswer)
{
    const QRectF screen(0, 0, 800, 600), second(800, -100, 640, 480);
    const struct {
        const char *name;
        QRectF frame;
        std::vector<Step> steps;
        int completions;
        std::optional<QRectF> result;   // the answer when there is one
        bool dragging = false;          // after the last step
    } cases[] = {
        {"a drag completes in global coordinates", screen, {P(10, 20), D(50, 60), R(110, 70)}, 1, QRectF(10, 20, 100, 50)},
        {"3 x 100 is too thin", screen, {P(10, 10), R(13, 110)}, 0, std::nullopt},
        {"4 x 4 is enough", screen, {P(10, 10), R(14, 14)}, 1, QRectF(10, 10, 4, 4)},
        {"past the right and bottom edges stops at the edge", screen, {P(700, 500), D(5000, 5000), R(900, 700)}, 1,
         QRectF(700, 500, 100, 100)},
        {"past the left and top edges of an offset screen", second, {P(100, 100), R(-300, -300)}, 1, QRectF(800, -100, 100, 100)},
        {"escape, then a stray release", screen, {P(10, 10), C, R(100, 100)}, 1, std::nullopt},
        {"nothing after a completed drag", screen, {P(10, 10), R(100, 100), C, P(1, 1), R(300, 300)}, 1, QRectF(10, 10, 90, 90)},
        {"moves without a press are ignored", screen, {D(10, 10), R(100, 100)}, 0, std::nullopt},
        {"still dragging", screen, {P(10, 10), D(100, 100)}, 0, std::nullopt, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        RegionSelection selection(c.frame);
        std::vector<std::optional<QRectF>> answers;
        selection.onComplete = [&answers](std::optional<QRectF> r) { answers.push_back(r); };
        for (const Step &step : c.steps)
            step(selection);
        EXPECT_EQ(answers, (std::vector<std::optional<QRectF>>(c.completions, c.result)));
        EXPECT_EQ(std::pair(selection.isFinished(), selection.isDragging()), std::pair(c.completions > 0, c.dragging));
    }
}

} // namespace
