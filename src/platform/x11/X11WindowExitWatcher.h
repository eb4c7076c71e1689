#pragma once

#include "platform/WindowExitWatcher.h"

#include <QList>
#include <QObject>
#include <xcb/xcb.h>

// Watches the frames the window manager put around our windows until it has unmapped
// (or destroyed) them; the server has then exposed what lay beneath. Polls on Qt's own
// connection, a round trip every few milliseconds while something is leaving.
class X11WindowExitWatcher : public WindowExitWatcher {
public:
    explicit X11WindowExitWatcher(xcb_connection_t *connection);

    void leaving(WId window) override;
    void whenGone(std::chrono::milliseconds timeout, std::function<void()> done) override;

private:
    // The window's top-level ancestor below the root: its frame, or itself when unframed.
    xcb_window_t topLevelOf(xcb_window_t window) const;
    bool isViewable(xcb_window_t window) const;
    // Drops the windows that are gone; true when none is left.
    bool settle();

    xcb_connection_t *m_connection;
    QList<xcb_window_t> m_leaving;
    QObject m_polls;   // parent of the running polls, so none outlives the watcher
};
