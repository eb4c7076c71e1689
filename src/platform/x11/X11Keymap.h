#pragma once

#include <QtGlobal>
#include <xcb/xcb.h>

#include <array>
#include <vector>

struct _XDisplay;

// A snapshot of the server's key and modifier mapping. Fetched anew whenever it is
// needed: the keymap tool rewrites the mapping while we run, so a copy kept around
// (like Xlib's own cache) would go stale.
class X11Keymap {
public:
    X11Keymap() = default;
    X11Keymap(quint8 minKeycode, int keysymsPerKeycode, std::vector<quint32> keysyms,
              std::array<std::vector<quint8>, 8> modifierKeycodes);

    static X11Keymap fetch(xcb_connection_t *connection);
    static X11Keymap fetch(_XDisplay *display);

    // A keycode that produces keysym, preferring the lowest shift level; 0 when none does.
    quint8 keycodeFor(quint32 keysym) const;
    // The modifier bit (1 << Shift..Mod5 index) that a key producing keysym is bound to;
    // 0 when no such key is a modifier.
    quint16 modifierMaskFor(quint32 keysym) const;

private:
    quint8 m_minKeycode = 0;
    int m_keysymsPerKeycode = 0;
    std::vector<quint32> m_keysyms;   // row per keycode from m_minKeycode
    std::array<std::vector<quint8>, 8> m_modifierKeycodes;
};
