#pragma once

#include <QPoint>

// Moves the pointer and turns the wheel as if the user did. Points are global device
// pixels. Any thread, one at a time.
class PointerInput {
public:
    virtual ~PointerInput() = default;
    virtual bool warpCursor(const QPoint &point) = 0;
    // One wheel step that scrolls the page under point one line down (content moves up).
    virtual bool scrollLineDown(const QPoint &point) = 0;
};
