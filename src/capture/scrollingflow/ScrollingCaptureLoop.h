#pragma once

#include "capture/scrolling/ScrollFrame.h"
#include "platform/WindowList.h"

#include <QImage>
#include <QPoint>
#include <chrono>
#include <optional>

// What one run of the capture loop does to the world, so the loop's decisions can be run
// against a script. Called on the loop's thread.
class ScrollCaptureSteps {
public:
    virtual ~ScrollCaptureSteps() = default;
    // Brings the application under the region forward and puts the pointer on the centre.
    virtual void prepare() = 0;
    // A grab of the region; nothing when it failed.
    virtual std::optional<ScrollFrame> grabFrame() = 0;
    virtual void scrollLineDown() = 0;
    virtual bool isEscapeHeld() = 0;
    virtual bool isReturnHeld() = 0;
    virtual void sleep(std::chrono::milliseconds duration) = 0;
    // Holds the thread without yielding it, between the steps of a wheel burst.
    virtual void block(std::chrono::microseconds duration) = 0;
    // After every kept frame; returns once the report has been shown.
    virtual void frameKept(int count, bool manual) = 0;
    // True once the owner is going away: the run stops with nothing.
    virtual bool aborted() { return false; }
};

// The capture loop: grabs frames while the content scrolls (by itself in web mode, by the
// user's hand in manual mode), keeps those that moved and stitches them as it goes.
namespace ScrollingCaptureLoop {

inline constexpr int maxBursts = 200;
inline constexpr int maxPolls = 2400;
inline constexpr qint64 maxRows = 60000;
inline constexpr int stepsPerBurst = 8;
inline constexpr int stillGrabsToFinish = 3;
inline constexpr std::chrono::milliseconds settleBeforeFirstFrame{450};
inline constexpr std::chrono::microseconds gapBetweenSteps{22000};
inline constexpr std::chrono::milliseconds settleAfterBurst{650};
inline constexpr std::chrono::milliseconds pollInterval{220};
inline constexpr std::chrono::milliseconds pauseAfterKeptPoll{180};

// The stitched image, or nothing when cancelled or nothing could be grabbed.
std::optional<QImage> capture(ScrollCaptureSteps &steps, bool automaticWeb, double logicalWidth);

// The window whose application should take the wheel: the frontmost ordinary window of
// another process that contains the point (device pixels); nothing when there is none.
std::optional<OnScreenWindow> windowUnder(const QList<OnScreenWindow> &frontToBack, const QPoint &point,
                                          qint64 ownPid);

} // namespace ScrollingCaptureLoop
