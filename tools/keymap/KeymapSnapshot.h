#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <array>
#include <optional>
#include <vector>

namespace keymap {

inline constexpr int kModifierCount = 8;   // Shift, Lock, Control, Mod1 .. Mod5
inline constexpr int kMaxGroups = 4;

// Everything the keyboard extension (XKB) holds for one key that decides what it produces:
// key types per group, keysyms, actions and the modifiers it belongs to. Copying whole
// entries keeps multi-level keys (F1's Ctrl+Alt level, keypad) intact, which rewriting
// core keysym rows does not.
struct KeyEntry {
    std::array<quint8, kMaxGroups> types{};   // key type index per group
    quint8 groupInfo = 0;                     // group count (low nibble) and out-of-range rule
    quint8 width = 0;                         // levels per group
    std::vector<quint32> keysyms;             // groupCount() * width, 0 = NoSymbol
    std::vector<quint64> actions;             // empty, or one 8-byte action per keysym
    quint8 explicitComponents = 0;
    quint16 virtualModifiers = 0;
    quint8 modifiers = 0;                     // real modifier mask, bit 0 = Shift

    int groupCount() const { return groupInfo & 0x0F; }
    bool isConsistent() const;
    // What a client sees: types of the groups in use, keysyms and modifiers. Actions and
    // virtual modifiers are left out because the server re-derives them from these.
    bool producesSameAs(const KeyEntry &other) const;
    friend bool operator==(const KeyEntry &, const KeyEntry &) = default;
};

// The keyboard mapping of an X server, keycode by keycode. Plain data, so it can be
// planned and compared without a server.
struct KeymapSnapshot {
    int minKeycode = 0;
    int maxKeycode = -1;
    std::vector<KeyEntry> keys;   // one per keycode from minKeycode

    bool contains(int keycode) const { return keycode >= minKeycode && keycode <= maxKeycode; }
    const KeyEntry &key(int keycode) const { return keys[std::size_t(keycode - minKeycode)]; }
    KeyEntry &key(int keycode) { return keys[std::size_t(keycode - minKeycode)]; }
    // The keycodes in each modifier, sorted: the shape the core modifier map takes.
    std::array<std::vector<int>, kModifierCount> modifierKeycodes() const;

    friend bool operator==(const KeymapSnapshot &, const KeymapSnapshot &) = default;
};

// Text form kept on the root window, readable with xprop.
QByteArray encodeSnapshot(const KeymapSnapshot &snapshot);
// Empty when the text is not a complete, consistent snapshot.
std::optional<KeymapSnapshot> decodeSnapshot(const QByteArray &text);

} // namespace keymap
