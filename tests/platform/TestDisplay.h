#pragma once

#include "platform/x11/XcbProperties.h"

#include <QDeadlineTimer>
#include <xcb/xcb.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <poll.h>

// A second client on the test display ($DISPLAY): it plays "another application" and
// watches the root window, so tests wait on property changes instead of sleeping.
class TestDisplay {
public:
    TestDisplay()
    {
        if (!isConnected())
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(connection())).data->root;
        const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection(), m_root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(connection());
    }

    bool isConnected() const { return !xcb_connection_has_error(connection()); }
    xcb_connection_t *connection() const { return m_connection.get(); }
    xcb_window_t root() const { return m_root; }
    XcbProperties &properties() { return m_properties; }

    // Re-checks condition each time a root property changes, until it holds or time runs out.
    bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 5000)
    {
        for (QDeadlineTimer deadline(timeoutMs);;) {
            // Drain first: anything already queued is older than the check below.
            while (xcb_generic_event_t *event = xcb_poll_for_event(connection()))
                std::free(event);
            if (condition())
                return true;
            if (deadline.hasExpired())
                return false;
            pollfd descriptor{xcb_get_file_descriptor(connection()), POLLIN, 0};
            poll(&descriptor, 1, int(qMax<qint64>(1, deadline.remainingTime())));
        }
    }

    // A grab by this client; false when the server refuses it.
    bool grabKey(xcb_keycode_t keycode, quint16 modifiers)
    {
        xcb_generic_error_t *error = xcb_request_check(
            connection(), xcb_grab_key_checked(connection(), 1, m_root, modifiers, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(error);
        return error == nullptr;
    }
    void ungrabKey(xcb_keycode_t keycode, quint16 modifiers)
    {
        xcb_ungrab_key(connection(), keycode, m_root, modifiers);
        xcb_flush(connection());
    }

private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection{xcb_connect(nullptr, nullptr), xcb_disconnect};
    xcb_window_t m_root = XCB_WINDOW_NONE;
    XcbProperties m_properties{connection()};
};
