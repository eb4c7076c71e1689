#pragma once

#include <QtGui/qwindowdefs.h>
#include <chrono>
#include <functional>

// Tells when windows the app hid or closed have really left the screen: hiding a window
// only asks for it, and a window manager unmaps the frame it put around the window later.
// A screen frozen before then still shows them. This base knows no window manager and
// counts a window as gone on the next turn of the event loop. GUI thread only.
class WindowExitWatcher {
public:
    virtual ~WindowExitWatcher() = default;
    // Call as the window is hidden or closed: notes what is still on screen of it.
    virtual void leaving(WId window);
    // Calls done on a later turn of the event loop, once every window passed to leaving()
    // is off the screen, or once timeout has passed, whichever comes first.
    virtual void whenGone(std::chrono::milliseconds timeout, std::function<void()> done);
};
