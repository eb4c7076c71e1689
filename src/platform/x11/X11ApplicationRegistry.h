#pragma once

#include "platform/ApplicationRegistry.h"
#include "platform/x11/XcbProperties.h"

#include <xcb/xcb.h>

// Running applications as the window manager lists them (EWMH): one application per
// _NET_WM_PID among the managed windows. Used on the GUI thread.
class X11ApplicationRegistry : public ApplicationRegistry {
public:
    // ownPid/ownName: this process, which counts as a regular application even while
    // all its windows are hidden and the window manager does not list it.
    X11ApplicationRegistry(xcb_connection_t *connection, xcb_window_t root, qint64 ownPid,
                           QString ownName);

    QList<RunningApplication> runningApplications() override;
    std::optional<qint64> frontmostPid() override;
    bool activate(qint64 pid) override;

private:
    std::optional<qint64> pidOf(xcb_window_t window);
    QString nameOf(xcb_window_t window);
    xcb_atom_t typeOf(xcb_window_t window);
    bool isNormal(xcb_window_t window);
    bool isDesktopOrDock(xcb_window_t window);
    void requestActivation(xcb_window_t window, xcb_window_t currentlyActive);

    xcb_connection_t *m_connection;
    xcb_window_t m_root;
    qint64 m_ownPid;
    QString m_ownName;
    XcbProperties m_properties;
};
