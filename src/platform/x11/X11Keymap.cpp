#include "platform/x11/X11Keymap.h"

#include <X11/Xlib.h>

#include <cstdlib>
#include <memory>

X11Keymap::X11Keymap(quint8 minKeycode, int keysymsPerKeycode, std::vector<quint32> keysyms,
                     std::array<std::vector<quint8>, 8> modifierKeycodes)
    : m_minKeycode(minKeycode)
    , m_keysymsPerKeycode(keysymsPerKeycode)
    , m_keysyms(std::move(keysyms))
    , m_modifierKeycodes(std::move(modifierKeycodes))
{
}

X11Keymap X11Keymap::fetch(xcb_connection_t *connection)
{
    const xcb_setup_t *setup = xcb_get_setup(connection);
    const quint8 minKeycode = setup->min_keycode;
    const int count = setup->max_keycode - setup->min_keycode + 1;
    auto keyboardCookie = xcb_get_keyboard_mapping(connection, minKeycode, quint8(count));
    auto modifierCookie = xcb_get_modifier_mapping(connection);

    std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> keyboard(
        xcb_get_keyboard_mapping_reply(connection, keyboardCookie, nullptr), &std::free);
    std::unique_ptr<xcb_get_modifier_mapping_reply_t, decltype(&std::free)> modifiers(
        xcb_get_modifier_mapping_reply(connection, modifierCookie, nullptr), &std::free);

    std::vector<quint32> keysyms;
    int perKeycode = 0;
    if (keyboard) {
        const xcb_keysym_t *first = xcb_get_keyboard_mapping_keysyms(keyboard.get());
        keysyms.assign(first, first + xcb_get_keyboard_mapping_keysyms_length(keyboard.get()));
        perKeycode = keyboard->keysyms_per_keycode;
    }
    std::array<std::vector<quint8>, 8> modifierKeycodes;
    if (modifiers) {
        const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(modifiers.get());
        const int perModifier = modifiers->keycodes_per_modifier;
        for (int index = 0; index < 8; ++index)
            modifierKeycodes[index].assign(codes + index * perModifier,
                                           codes + (index + 1) * perModifier);
    }
    return X11Keymap(minKeycode, perKeycode, std::move(keysyms), std::move(modifierKeycodes));
}

X11Keymap X11Keymap::fetch(Display *display)
{
    int minKeycode = 0;
    int maxKeycode = 0;
    XDisplayKeycodes(display, &minKeycode, &maxKeycode);
    int perKeycode = 0;
    const int count = maxKeycode - minKeycode + 1;
    KeySym *mapping = XGetKeyboardMapping(display, KeyCode(minKeycode), count, &perKeycode);
    std::vector<quint32> keysyms;
    if (mapping) {
        keysyms.assign(mapping, mapping + std::size_t(count) * std::size_t(perKeycode));
        XFree(mapping);
    } else {
        perKeycode = 0;
    }
    std::array<std::vector<quint8>, 8> modifierKeycodes;
    if (XModifierKeymap *modifiers = XGetModifierMapping(display)) {
        const int perModifier = modifiers->max_keypermod;
        for (int index = 0; index < 8; ++index)
            modifierKeycodes[index].assign(modifiers->modifiermap + index * perModifier,
                                           modifiers->modifiermap + (index + 1) * perModifier);
        XFreeModifiermap(modifiers);
    }
    return X11Keymap(quint8(minKeycode), perKeycode, std::move(keysyms),
                     std::move(modifierKeycodes));
}

quint8 X11Keymap::keycodeFor(quint32 keysym) const
{
    if (keysym == 0 || m_keysymsPerKeycode <= 0)
        return 0;
    const std::size_t rows = m_keysyms.size() / std::size_t(m_keysymsPerKeycode);
    for (int level = 0; level < m_keysymsPerKeycode; ++level) {
        for (std::size_t row = 0; row < rows; ++row) {
            if (m_keysyms[row * std::size_t(m_keysymsPerKeycode) + std::size_t(level)] == keysym)
                return quint8(m_minKeycode + row);
        }
    }
    return 0;
}

quint16 X11Keymap::modifierMaskFor(quint32 keysym) const
{
    if (keysym == 0 || m_keysymsPerKeycode <= 0)
        return 0;
    const std::size_t rows = m_keysyms.size() / std::size_t(m_keysymsPerKeycode);
    for (int index = 0; index < 8; ++index) {
        for (const quint8 keycode : m_modifierKeycodes[std::size_t(index)]) {
            if (keycode < m_minKeycode || std::size_t(keycode - m_minKeycode) >= rows)
                continue;
            const std::size_t row = std::size_t(keycode - m_minKeycode);
            for (int level = 0; level < m_keysymsPerKeycode; ++level) {
                if (m_keysyms[row * std::size_t(m_keysymsPerKeycode) + std::size_t(level)] == keysym)
                    return quint16(1u << index);
            }
        }
    }
    return 0;
}
