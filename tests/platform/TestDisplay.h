#pragma once

#include "platform/x11/XcbProperties.h"

#include <QString>
#include <xcb/xcb.h>

#include <functional>

// A second client on the test display: it plays "another application" and watches the
// root window, so tests wait on property changes instead of sleeping.
class TestDisplay {
public:
    explicit TestDisplay(const QString &display);
    ~TestDisplay();
    TestDisplay(const TestDisplay &) = delete;
    TestDisplay &operator=(const TestDisplay &) = delete;

    bool isConnected() const { return m_connection != nullptr; }
    xcb_connection_t *connection() const { return m_connection; }
    xcb_window_t root() const { return m_root; }
    XcbProperties &properties() { return m_properties; }

    // Re-checks condition each time a root property changes, until it holds or
    // timeoutMs runs out.
    bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 5000);

    // Waits until a window manager runs and serves requests: it has announced itself
    // (_NET_SUPPORTING_WM_CHECK) and answered a _NET_REQUEST_FRAME_EXTENTS, which it only
    // does from its main loop, after it has taken over the windows already there.
    bool waitForWindowManager(int timeoutMs = 10000);

    // A grab by this client; false when the server refuses it.
    bool grabKey(xcb_keycode_t keycode, quint16 modifiers);
    void ungrabKey(xcb_keycode_t keycode, quint16 modifiers);

private:
    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    XcbProperties m_properties;
};
