#include "platform/x11/X11WindowExitWatcher.h"

#include <QDeadlineTimer>
#include <QTimer>

namespace {
constexpr std::chrono::milliseconds pollInterval{4};
}

X11WindowExitWatcher::X11WindowExitWatcher(xcb_connection_t *connection) : m_connection(connection) {}

xcb_window_t X11WindowExitWatcher::topLevelOf(xcb_window_t window) const
{
    for (;;) {
        xcb_query_tree_reply_t *tree =
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr);
        if (!tree)
            return XCB_WINDOW_NONE;   // destroyed already
        const xcb_window_t parent = tree->parent;
        const xcb_window_t root = tree->root;
        free(tree);
        if (parent == root || parent == XCB_WINDOW_NONE)
            return window;
        window = parent;
    }
}

bool X11WindowExitWatcher::isViewable(xcb_window_t window) const
{
    xcb_get_window_attributes_reply_t *attributes = xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, window), nullptr);
    if (!attributes)
        return false;   // destroyed
    const bool viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    free(attributes);
    return viewable;
}

void X11WindowExitWatcher::leaving(WId window)
{
    // Once the manager has unframed the window, its frame is already off the screen.
    const xcb_window_t topLevel = topLevelOf(xcb_window_t(window));
    if (topLevel != XCB_WINDOW_NONE && isViewable(topLevel) && !m_leaving.contains(topLevel))
        m_leaving.append(topLevel);
}

bool X11WindowExitWatcher::settle()
{
    m_leaving.removeIf([this](xcb_window_t window) { return !isViewable(window); });
    return m_leaving.isEmpty();
}

void X11WindowExitWatcher::whenGone(std::chrono::milliseconds timeout, std::function<void()> done)
{
    if (settle()) {
        QTimer::singleShot(0, std::move(done));
        return;
    }
    auto *poll = new QTimer(&m_polls);
    poll->setInterval(pollInterval);
    const QDeadlineTimer deadline(timeout);
    QObject::connect(poll, &QTimer::timeout, poll, [this, poll, deadline, done = std::move(done)] {
        if (!settle() && !deadline.hasExpired())
            return;
        // A manager that never answers must not hold the capture up.
        m_leaving.clear();
        poll->stop();
        poll->deleteLater();
        done();
    });
    poll->start();
}
