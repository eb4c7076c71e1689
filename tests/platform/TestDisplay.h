#pragma once

#include "platform/x11/XcbProperties.h"

#include <QDeadlineTimer>
#include <xcb/xcb.h>

#include <cstdlib>
#include <functional>
#include <poll.h>

// A second client on the test display ($DISPLAY): it plays "another application" and
// watches the root window, so tests wait on property changes instead of sleeping.
class TestDisplay {
public:
    TestDisplay() : m_connection(xcb_connect(nullptr, nullptr)), m_properties(m_connection)
    {
        if (!isConnected())
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
    }
    ~TestDisplay() { xcb_disconnect(m_connection); }
    TestDisplay(const TestDisplay &) = delete;
    TestDisplay &operator=(const TestDisplay &) = delete;

    bool isConnected() const { return !xcb_connection_has_error(m_connection); }
    xcb_connection_t *connection() const { return m_connection; }
    xcb_window_t root() const { return m_root; }
    XcbProperties &properties() { return m_properties; }

    // Re-checks condition each time a root property changes, until it holds or time runs out.
    bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 5000)
    {
        for (QDeadlineTimer deadline(timeoutMs);;) {
            // Drain first: anything already queued is older than the check below.
            while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection))
                std::free(event);
            if (condition())
                return true;
            if (deadline.hasExpired())
                return false;
            pollfd descriptor{xcb_get_file_descriptor(m_connection), POLLIN, 0};
            poll(&descriptor, 1, int(qMax<qint64>(1, deadline.remainingTime())));
        }
    }

    // A window manager serves requests once it has announced itself and answers a
    // _NET_REQUEST_FRAME_EXTENTS, which it only does from its main loop.
    bool waitForWindowManager()
    {
        const xcb_atom_t check = m_properties.atom("_NET_SUPPORTING_WM_CHECK");
        // The check window names itself; a stale root property of a manager gone since does not.
        if (!waitUntil([&] {
                const auto child = m_properties.cardinals(m_root, check, XCB_ATOM_WINDOW);
                return !child.empty() && m_properties.cardinals(child.front(), check, XCB_ATOM_WINDOW) == child;
            }, 10000))
            return false;
        const xcb_window_t probe = xcb_generate_id(m_connection);
        const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, probe, m_root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
        xcb_client_message_event_t request{};
        request.response_type = XCB_CLIENT_MESSAGE;
        request.format = 32;
        request.window = probe;
        request.type = m_properties.atom("_NET_REQUEST_FRAME_EXTENTS");
        const xcb_atom_t extents = m_properties.atom("_NET_FRAME_EXTENTS");
        // A manager still starting may drop the request with the rest of its queue: repeat it.
        bool serving = false;
        for (QDeadlineTimer deadline(10000); !serving && !deadline.hasExpired();) {
            xcb_send_event(m_connection, 0, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                           reinterpret_cast<const char *>(&request));
            xcb_flush(m_connection);
            serving = waitUntil([&] { return !m_properties.cardinals(probe, extents, XCB_ATOM_CARDINAL).empty(); }, 100);
        }
        xcb_destroy_window(m_connection, probe);
        xcb_flush(m_connection);
        return serving;
    }

    // A grab by this client; false when the server refuses it.
    bool grabKey(xcb_keycode_t keycode, quint16 modifiers)
    {
        xcb_generic_error_t *error = xcb_request_check(
            m_connection, xcb_grab_key_checked(m_connection, 1, m_root, modifiers, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        std::free(error);
        return error == nullptr;
    }
    void ungrabKey(xcb_keycode_t keycode, quint16 modifiers)
    {
        xcb_ungrab_key(m_connection, keycode, m_root, modifiers);
        xcb_flush(m_connection);
    }

private:
    xcb_connection_t *m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    XcbProperties m_properties;
};
