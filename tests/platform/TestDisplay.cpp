#include "TestDisplay.h"

#include <QDeadlineTimer>

#include <cstdlib>
#include <poll.h>

TestDisplay::TestDisplay(const QString &display)
    : m_connection(xcb_connect(display.toLocal8Bit().constData(), nullptr))
    , m_properties(m_connection)
{
    if (xcb_connection_has_error(m_connection)) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
        return;
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_connection);
}

TestDisplay::~TestDisplay()
{
    if (m_connection)
        xcb_disconnect(m_connection);
}

bool TestDisplay::waitUntil(const std::function<bool()> &condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (true) {
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

bool TestDisplay::waitForWindowManager(int timeoutMs)
{
    const xcb_atom_t check = m_properties.atom("_NET_SUPPORTING_WM_CHECK");
    const bool announced = waitUntil([&] {
        // The check window names itself; a stale root property left by an earlier
        // manager, whose window is gone, does not count.
        const auto child = m_properties.cardinals(m_root, check, XCB_ATOM_WINDOW);
        return !child.empty() && m_properties.cardinals(child.front(), check, XCB_ATOM_WINDOW) == child;
    }, timeoutMs);
    if (!announced)
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
    // A manager still starting up may drop the request with the rest of its queue,
    // so it is repeated until answered.
    QDeadlineTimer deadline(timeoutMs);
    bool serving = false;
    while (!serving && !deadline.hasExpired()) {
        xcb_send_event(m_connection, 0, m_root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&request));
        xcb_flush(m_connection);
        serving = waitUntil([&] {
            return !m_properties.cardinals(probe, extents, XCB_ATOM_CARDINAL).empty();
        }, 100);
    }
    xcb_destroy_window(m_connection, probe);
    xcb_flush(m_connection);
    return serving;
}

bool TestDisplay::grabKey(xcb_keycode_t keycode, quint16 modifiers)
{
    const auto cookie = xcb_grab_key_checked(m_connection, 1, m_root, modifiers, keycode,
                                             XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_generic_error_t *error = xcb_request_check(m_connection, cookie);
    std::free(error);
    return error == nullptr;
}

void TestDisplay::ungrabKey(xcb_keycode_t keycode, quint16 modifiers)
{
    xcb_ungrab_key(m_connection, keycode, m_root, modifiers);
    xcb_flush(m_connection);
}
