#pragma once

#include <QtGlobal>

// Whether a key is held down right now, by its physical position: remapping the keymap
// (Windows Mode, the user's own mappings) does not change the answer. Any thread.
class KeyStateReader {
public:
    // ANSI virtual key codes of the keys asked about.
    static constexpr quint32 escapeKey = 53;
    static constexpr quint32 returnKey = 36;

    virtual ~KeyStateReader() = default;
    virtual bool isKeyHeld(quint32 virtualKey) = 0;
};
