#pragma once

#include <QtGlobal>

// Posts synthetic key events into the input stream as if typed on the keyboard.
class KeySynthesizer {
public:
    virtual ~KeySynthesizer() = default;
    // virtualKey is an ANSI virtual key code (see VirtualKey); false when the event
    // could not be created or posted.
    virtual bool postKey(quint32 virtualKey, bool down) = 0;
};
