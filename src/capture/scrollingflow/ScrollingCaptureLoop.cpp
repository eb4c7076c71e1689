#include "capture/scrollingflow/ScrollingCaptureLoop.h"

#include "capture/scrolling/ScrollMetrics.h"
#include "capture/scrolling/ScrollStitcher.h"
#include "capture/scrolling/ShiftEstimation.h"

namespace ScrollingCaptureLoop {
namespace {

using namespace ScrollingCapture;

std::optional<QImage> finished(ScrollStitcher &stitcher, double logicalWidth)
{
    QImage image = stitcher.finish(logicalWidth);
    if (image.isNull())
        return std::nullopt;
    return image;
}

std::optional<QImage> runWeb(ScrollCaptureSteps &steps, ScrollStitcher &stitcher, ScrollFrame last,
                             double logicalWidth)
{
    int lastShift = initialLastShift(last.height);
    int iterations = 0;
    int stillCount = 0;
    for (;;) {
        if (steps.aborted() || steps.isEscapeHeld())
            return std::nullopt;
        for (int i = 0; i < stepsPerBurst; ++i) {
            steps.scrollLineDown();
            steps.block(gapBetweenSteps);
        }
        steps.sleep(settleAfterBurst);
        const auto frame = steps.grabFrame();
        if (!frame || frame->width != last.width || frame->height != last.height)
            return finished(stitcher, logicalWidth);
        if (meanDifference(last, *frame) < 1.0) {
            if (++stillCount == stillGrabsToFinish || ++iterations == maxBursts)
                return finished(stitcher, logicalWidth);
            continue;
        }
        const int shift = estimateWebShift(last, *frame, lastShift);
        if (!stitcher.add(*frame, shift))
            return finished(stitcher, logicalWidth);
        last = *frame;
        steps.frameKept(stitcher.frameCount(), false);
        if (stitcher.totalHeight() >= maxRows)
            return finished(stitcher, logicalWidth);
        stillCount = 0;
        lastShift = shift;
        if (++iterations == maxBursts)
            return finished(stitcher, logicalWidth);
    }
}

std::optional<QImage> runManual(ScrollCaptureSteps &steps, ScrollStitcher &stitcher, ScrollFrame last,
                                double logicalWidth)
{
    if (steps.aborted() || steps.isEscapeHeld())
        return std::nullopt;
    if (steps.isReturnHeld())
        return finished(stitcher, logicalWidth);
    steps.sleep(pollInterval);
    for (int polls = 0;;) {
        const auto frame = steps.grabFrame();
        if (frame && frame->width == last.width && frame->height == last.height) {
            const auto shift = manualShift(last, *frame);
            if (shift && stitcher.add(*frame, *shift)) {
                last = *frame;
                steps.frameKept(stitcher.frameCount(), true);
                if (stitcher.totalHeight() >= maxRows)
                    return finished(stitcher, logicalWidth);
                steps.sleep(pauseAfterKeptPoll);
            }
        }
        if (++polls == maxPolls)
            return finished(stitcher, logicalWidth);
        if (steps.aborted() || steps.isEscapeHeld())
            return std::nullopt;
        if (steps.isReturnHeld())
            return finished(stitcher, logicalWidth);
        steps.sleep(pollInterval);
    }
}

} // namespace

std::optional<QImage> capture(ScrollCaptureSteps &steps, bool automaticWeb, double logicalWidth)
{
    steps.prepare();
    steps.sleep(settleBeforeFirstFrame);
    const auto first = steps.grabFrame();
    if (!first || steps.aborted())
        return std::nullopt;
    ScrollStitcher stitcher(automaticWeb ? ScrollStitcher::Mode::web : ScrollStitcher::Mode::manual);
    if (!stitcher.addFirst(*first))
        return std::nullopt;
    steps.frameKept(1, !automaticWeb);
    return automaticWeb ? runWeb(steps, stitcher, *first, logicalWidth)
                        : runManual(steps, stitcher, *first, logicalWidth);
}

std::optional<OnScreenWindow> windowUnder(const QList<OnScreenWindow> &frontToBack, const QPoint &point,
                                          qint64 ownPid)
{
    for (const OnScreenWindow &window : frontToBack) {
        if (window.layer == WindowList::normalLayer && window.pid != ownPid && window.bounds.contains(point))
            return window;
    }
    return std::nullopt;
}

} // namespace ScrollingCaptureLoop
