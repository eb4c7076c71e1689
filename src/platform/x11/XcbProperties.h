#pragma once

#include <QByteArray>
#include <QHash>
#include <xcb/xcb.h>

#include <vector>

// Reads window properties and interns atoms on one xcb connection. Atoms are cached:
// the server keeps them for its whole life.
class XcbProperties {
public:
    explicit XcbProperties(xcb_connection_t *connection);

    xcb_atom_t atom(const char *name);
    // 32-bit items of a property of the given type (XCB_ATOM_ANY for any); empty when absent.
    std::vector<quint32> cardinals(xcb_window_t window, xcb_atom_t property, xcb_atom_t type);
    // The raw bytes of an 8-bit property; empty when absent.
    QByteArray bytes(xcb_window_t window, xcb_atom_t property, xcb_atom_t type);

private:
    xcb_connection_t *m_connection;
    QHash<QByteArray, xcb_atom_t> m_atoms;
};
