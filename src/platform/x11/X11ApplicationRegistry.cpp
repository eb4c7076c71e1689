#include "platform/x11/X11ApplicationRegistry.h"

#include <QByteArrayList>

#include <algorithm>

namespace {

// _NET_ACTIVE_WINDOW source indication: a pager or task switcher acting for the user,
// which window managers honour without focus-stealing checks.
constexpr quint32 sourcePager = 2;

} // namespace

X11ApplicationRegistry::X11ApplicationRegistry(xcb_connection_t *connection, xcb_window_t root,
                                               qint64 ownPid, QString ownName)
    : m_connection(connection)
    , m_root(root)
    , m_ownPid(ownPid)
    , m_ownName(std::move(ownName))
    , m_properties(connection)
{
}

QList<RunningApplication> X11ApplicationRegistry::runningApplications()
{
    QList<RunningApplication> applications;
    const auto clients = m_properties.cardinals(m_root, m_properties.atom("_NET_CLIENT_LIST"),
                                                XCB_ATOM_WINDOW);
    for (const xcb_window_t window : clients) {
        const std::optional<qint64> pid = pidOf(window);
        if (!pid)
            continue;
        const bool normal = isNormal(window);
        auto existing = std::find_if(applications.begin(), applications.end(),
                                     [&](const RunningApplication &app) { return app.pid == *pid; });
        if (existing == applications.end()) {
            applications.append({*pid, nameOf(window), false, normal});
        } else if (normal && !existing->regular) {
            existing->regular = true;
            existing->name = nameOf(window);
        }
    }
    auto own = std::find_if(applications.begin(), applications.end(),
                            [&](const RunningApplication &app) { return app.pid == m_ownPid; });
    if (own == applications.end())
        applications.append({m_ownPid, m_ownName, false, true});
    else
        own->regular = true;
    return applications;
}

std::optional<qint64> X11ApplicationRegistry::frontmostPid()
{
    const auto active = m_properties.cardinals(m_root, m_properties.atom("_NET_ACTIVE_WINDOW"),
                                               XCB_ATOM_WINDOW);
    if (active.empty() || active.front() == XCB_WINDOW_NONE)
        return std::nullopt;
    return pidOf(active.front());
}

bool X11ApplicationRegistry::activate(qint64 pid)
{
    auto windows = m_properties.cardinals(
        m_root, m_properties.atom("_NET_CLIENT_LIST_STACKING"), XCB_ATOM_WINDOW);
    if (windows.empty())
        windows = m_properties.cardinals(m_root, m_properties.atom("_NET_CLIENT_LIST"),
                                         XCB_ATOM_WINDOW);
    const auto active = m_properties.cardinals(m_root, m_properties.atom("_NET_ACTIVE_WINDOW"),
                                               XCB_ATOM_WINDOW);
    xcb_window_t currentlyActive = active.empty() ? xcb_window_t(XCB_WINDOW_NONE) : active.front();

    // Bottom to top, so every window comes forward in its own order and the topmost one
    // ends up in front with the focus.
    bool any = false;
    for (const xcb_window_t window : windows) {
        if (pidOf(window) != pid || isDesktopOrDock(window))
            continue;
        const quint32 above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(m_connection, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        requestActivation(window, currentlyActive);
        currentlyActive = window;
        any = true;
    }
    xcb_flush(m_connection);
    return any;
}

void X11ApplicationRegistry::requestActivation(xcb_window_t window, xcb_window_t currentlyActive)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = m_properties.atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = sourcePager;
    message.data.data32[1] = XCB_CURRENT_TIME;
    message.data.data32[2] = currentlyActive;
    xcb_send_event(m_connection, 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
}

std::optional<qint64> X11ApplicationRegistry::pidOf(xcb_window_t window)
{
    const auto pid = m_properties.cardinals(window, m_properties.atom("_NET_WM_PID"),
                                            XCB_ATOM_CARDINAL);
    if (pid.empty() || pid.front() == 0)
        return std::nullopt;
    return qint64(pid.front());
}

QString X11ApplicationRegistry::nameOf(xcb_window_t window)
{
    const QByteArray title = m_properties.bytes(window, m_properties.atom("_NET_WM_NAME"),
                                                m_properties.atom("UTF8_STRING"));
    if (!title.isEmpty())
        return QString::fromUtf8(title);
    // WM_CLASS holds "instance\0class\0"; the class names the application.
    const QByteArrayList parts =
        m_properties.bytes(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING).split('\0');
    return parts.size() > 1 ? QString::fromLocal8Bit(parts.at(1)) : QString();
}

xcb_atom_t X11ApplicationRegistry::typeOf(xcb_window_t window)
{
    // The list is in order of preference and may start with private types (Qt adds
    // NORMAL after UTILITY as a fallback): the first standard type decides.
    static constexpr const char *standardTypes[] = {
        "_NET_WM_WINDOW_TYPE_NORMAL",  "_NET_WM_WINDOW_TYPE_DIALOG",
        "_NET_WM_WINDOW_TYPE_UTILITY", "_NET_WM_WINDOW_TYPE_TOOLBAR",
        "_NET_WM_WINDOW_TYPE_MENU",    "_NET_WM_WINDOW_TYPE_SPLASH",
        "_NET_WM_WINDOW_TYPE_DOCK",    "_NET_WM_WINDOW_TYPE_DESKTOP",
        "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU", "_NET_WM_WINDOW_TYPE_POPUP_MENU",
        "_NET_WM_WINDOW_TYPE_TOOLTIP", "_NET_WM_WINDOW_TYPE_NOTIFICATION",
        "_NET_WM_WINDOW_TYPE_COMBO",   "_NET_WM_WINDOW_TYPE_DND",
    };
    const auto types = m_properties.cardinals(window, m_properties.atom("_NET_WM_WINDOW_TYPE"),
                                              XCB_ATOM_ATOM);
    for (const xcb_atom_t type : types) {
        for (const char *name : standardTypes) {
            if (m_properties.atom(name) == type)
                return type;
        }
    }
    return XCB_ATOM_NONE;
}

bool X11ApplicationRegistry::isNormal(xcb_window_t window)
{
    // A window without a type is a normal one.
    const xcb_atom_t type = typeOf(window);
    return type == XCB_ATOM_NONE || type == m_properties.atom("_NET_WM_WINDOW_TYPE_NORMAL");
}

bool X11ApplicationRegistry::isDesktopOrDock(xcb_window_t window)
{
    const xcb_atom_t type = typeOf(window);
    return type != XCB_ATOM_NONE
           && (type == m_properties.atom("_NET_WM_WINDOW_TYPE_DESKTOP")
               || type == m_properties.atom("_NET_WM_WINDOW_TYPE_DOCK"));
}
