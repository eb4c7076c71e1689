#pragma once

#include <QList>
#include <QRect>

// A window on screen as the window system lists it.
struct OnScreenWindow {
    qint64 pid = 0;     // owner process; 0 when unknown
    int layer = 0;      // 0 for ordinary application windows; higher floats above them
    QRect bounds;       // frame, in global device pixels
};

// The windows on screen, front to back, without the desktop. Any thread, one at a time.
class WindowList {
public:
    // Window layers, as the loop compares them.
    static constexpr int normalLayer = 0;
    static constexpr int floatingLayer = 3;
    static constexpr int dockLayer = 20;

    virtual ~WindowList() = default;
    virtual QList<OnScreenWindow> onScreenWindows() = 0;
};
