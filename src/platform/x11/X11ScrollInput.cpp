#include "platform/x11/X11ScrollInput.h"

#include "platform/x11/X11KeySynthesizer.h"
#include "platform/x11/XcbProperties.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <xcb/xcb.h>

#include <algorithm>

std::unique_ptr<X11PointerInput> X11PointerInput::open(const QByteArray &displayName)
{
    Display *display = X11KeySynthesizer::openWithXTest(displayName);
    return display ? std::unique_ptr<X11PointerInput>(new X11PointerInput(display)) : nullptr;
}

X11PointerInput::~X11PointerInput()
{
    XCloseDisplay(m_display);
}

bool X11PointerInput::warpCursor(const QPoint &point)
{
    std::lock_guard lock(m_mutex);
    XWarpPointer(m_display, None, XDefaultRootWindow(m_display), 0, 0, 0, 0, point.x(), point.y());
    XFlush(m_display);
    return true;
}

bool X11PointerInput::scrollLineDown(const QPoint &point)
{
    std::lock_guard lock(m_mutex);
    // The wheel event goes to the window under the pointer, so the pointer goes there first.
    XTestFakeMotionEvent(m_display, -1, point.x(), point.y(), CurrentTime);
    // X has no finer wheel step than a notch, which X clients scroll as three lines
    // (Chromium: 120 pixels); lines are counted and a notch posted for every three.
    bool posted = true;
    if (++m_pendingLines >= linesPerNotch) {
        m_pendingLines -= linesPerNotch;
        posted = XTestFakeButtonEvent(m_display, 5, True, CurrentTime)
                 && XTestFakeButtonEvent(m_display, 5, False, CurrentTime);
    }
    XFlush(m_display);
    return posted;
}

std::unique_ptr<X11KeyStateReader> X11KeyStateReader::open(const QByteArray &displayName)
{
    Display *display = XOpenDisplay(displayName.isEmpty() ? nullptr : displayName.constData());
    if (!display)
        return nullptr;
    return std::unique_ptr<X11KeyStateReader>(new X11KeyStateReader(display));
}

X11KeyStateReader::~X11KeyStateReader()
{
    XCloseDisplay(m_display);
}

quint8 X11KeyStateReader::physicalKeycode(quint32 virtualKey)
{
    // evdev KEY_ESC (1) and KEY_ENTER (28), plus the X server's offset of 8. Keysyms would
    // follow the keymap, which Windows Mode and the user's mappings rewrite.
    switch (virtualKey) {
    case escapeKey: return 9;
    case returnKey: return 36;
    default: return 0;
    }
}

bool X11KeyStateReader::isKeyHeld(quint32 virtualKey)
{
    const quint8 keycode = physicalKeycode(virtualKey);
    if (keycode == 0)
        return false;
    std::lock_guard lock(m_mutex);
    char keys[32] = {};
    XQueryKeymap(m_display, keys);
    return (keys[keycode / 8] >> (keycode % 8)) & 1;
}

struct X11WindowList::Connection {
    xcb_connection_t *xcb = nullptr;
    xcb_window_t root = 0;
    XcbProperties properties;
    explicit Connection(xcb_connection_t *c, xcb_window_t r) : xcb(c), root(r), properties(c) {}
    ~Connection() { xcb_disconnect(xcb); }
};

std::unique_ptr<X11WindowList> X11WindowList::open(const QByteArray &displayName)
{
    int screenNumber = 0;
    xcb_connection_t *xcb = xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (!xcb || xcb_connection_has_error(xcb)) {
        if (xcb)
            xcb_disconnect(xcb);
        return nullptr;
    }
    auto it = xcb_setup_roots_iterator(xcb_get_setup(xcb));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    return std::unique_ptr<X11WindowList>(new X11WindowList(std::make_unique<Connection>(xcb, it.data->root)));
}

X11WindowList::X11WindowList(std::unique_ptr<Connection> connection)
    : m_connection(std::move(connection))
{
}

X11WindowList::~X11WindowList() = default;

QList<OnScreenWindow> X11WindowList::onScreenWindows()
{
    std::lock_guard lock(m_mutex);
    Connection &c = *m_connection;
    XcbProperties &p = c.properties;
    const auto stacking = p.cardinals(c.root, p.atom("_NET_CLIENT_LIST_STACKING"), XCB_ATOM_WINDOW);
    const xcb_atom_t typeAtom = p.atom("_NET_WM_WINDOW_TYPE");
    const xcb_atom_t stateAtom = p.atom("_NET_WM_STATE");
    const xcb_atom_t desktop = p.atom("_NET_WM_WINDOW_TYPE_DESKTOP");
    const xcb_atom_t dock = p.atom("_NET_WM_WINDOW_TYPE_DOCK");
    const xcb_atom_t hidden = p.atom("_NET_WM_STATE_HIDDEN");
    const xcb_atom_t above = p.atom("_NET_WM_STATE_ABOVE");

    QList<OnScreenWindow> windows;
    // The stacking list runs bottom to top.
    for (auto w = stacking.rbegin(); w != stacking.rend(); ++w) {
        const xcb_window_t window = *w;
        auto attributes = xcb_get_window_attributes_reply(c.xcb, xcb_get_window_attributes(c.xcb, window), nullptr);
        const bool viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        free(attributes);
        if (!viewable)
            continue;
        const auto types = p.cardinals(window, typeAtom, XCB_ATOM_ATOM);
        const auto states = p.cardinals(window, stateAtom, XCB_ATOM_ATOM);
        auto has = [](const std::vector<quint32> &list, xcb_atom_t atom) {
            return std::find(list.begin(), list.end(), atom) != list.end();
        };
        if (has(types, desktop) || has(states, hidden))
            continue;
        auto geometry = xcb_get_geometry_reply(c.xcb, xcb_get_geometry(c.xcb, window), nullptr);
        auto origin = xcb_translate_coordinates_reply(c.xcb, xcb_translate_coordinates(c.xcb, window, c.root, 0, 0), nullptr);
        if (!geometry || !origin) {
            free(geometry);
            free(origin);
            continue;
        }
        QRect bounds(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
        free(geometry);
        free(origin);
        // The frame around the client, as the window manager reports it.
        const auto extents = p.cardinals(window, p.atom("_NET_FRAME_EXTENTS"), XCB_ATOM_CARDINAL);
        if (extents.size() == 4)
            bounds.adjust(-int(extents[0]), -int(extents[2]), int(extents[1]), int(extents[3]));
        const auto pid = p.cardinals(window, p.atom("_NET_WM_PID"), XCB_ATOM_CARDINAL);
        const int layer = has(types, dock) ? dockLayer : has(states, above) ? floatingLayer : normalLayer;
        windows.append({pid.empty() ? 0 : qint64(pid.front()), layer, bounds});
    }
    return windows;
}
