#pragma once

#include <QtGlobal>
#include <functional>

// Modifier masks, in the values the keyboard layer speaks in.
namespace HotKeyModifier {
inline constexpr quint32 command = 0x100;   // Super (Mod4) on X11
inline constexpr quint32 shift = 0x200;
inline constexpr quint32 option = 0x800;    // Alt (Mod1) on X11
inline constexpr quint32 control = 0x1000;
}

// Key positions as ANSI virtual key codes; backends translate them to their own codes.
namespace VirtualKey {
inline constexpr quint32 q = 12;
inline constexpr quint32 four = 21;
inline constexpr quint32 six = 22;
inline constexpr quint32 five = 23;
inline constexpr quint32 l = 37;
inline constexpr quint32 tab = 48;
inline constexpr quint32 command = 55;
inline constexpr quint32 control = 59;
}

// System-wide hot keys. A press is consumed (no other application sees it).
class HotKeyService {
public:
    using PressHandler = std::function<void(quint32 id)>;

    virtual ~HotKeyService() = default;

    // Installs or removes (empty handler) the receiver of presses. Presses arrive on the
    // GUI thread, straight from the event dispatch, carrying the id given at registration.
    virtual void setPressHandler(PressHandler handler) = 0;
    // Registers one combination. Returns a non-zero handle, or 0 when it could not be grabbed.
    virtual quint32 registerHotKey(quint32 virtualKey, quint32 modifiers, quint32 id) = 0;
    virtual void unregisterHotKey(quint32 handle) = 0;
};
