#pragma once

#include "platform/KeyStateReader.h"
#include "platform/PointerInput.h"
#include "platform/WindowList.h"

#include <QList>
#include <QSet>
#include <atomic>
#include <functional>
#include <mutex>

// Scripted window list; records activations elsewhere (FakeApplicationRegistry).
class FakeWindowList : public WindowList {
public:
    QList<OnScreenWindow> windows;
    QList<OnScreenWindow> onScreenWindows() override { return windows; }
};

// Records every warp and wheel step; a callback lets a test move the content per step.
class FakePointerInput : public PointerInput {
public:
    std::mutex mutex;
    QList<QPoint> warps;
    QList<QPoint> wheelSteps;
    std::function<void()> onWheelStep;

    bool warpCursor(const QPoint &point) override
    {
        std::lock_guard lock(mutex);
        warps.append(point);
        return true;
    }
    bool scrollLineDown(const QPoint &point) override
    {
        {
            std::lock_guard lock(mutex);
            wheelSteps.append(point);
        }
        if (onWheelStep)
            onWheelStep();
        return true;
    }
};

// Keys held as a test says; the loop reads them from its own thread.
class FakeKeyStateReader : public KeyStateReader {
public:
    std::atomic<bool> escape{false};
    std::atomic<bool> enter{false};
    bool isKeyHeld(quint32 virtualKey) override
    {
        return virtualKey == escapeKey ? escape.load() : virtualKey == returnKey ? enter.load() : false;
    }
};
