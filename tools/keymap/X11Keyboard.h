#pragma once

#include "keymap/KeymapSnapshot.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

typedef struct _XDisplay Display;

namespace keymap {

// The X calls of the tool: read and write key entries through the keyboard extension (XKB),
// the modifier map through the core protocol (which refuses while a changed modifier is
// held), and keep the original keymap in a property on the root window so any process can
// restore it. X errors do not abort the process; callers read the keymap back to see what took.
class X11Keyboard {
public:
    enum class ModifierResult { Done, Busy, Refused };

    // Empty when the display cannot be opened; an empty name means $DISPLAY.
    static std::unique_ptr<X11Keyboard> open(const QByteArray &displayName);
    ~X11Keyboard();
    X11Keyboard(const X11Keyboard &) = delete;
    X11Keyboard &operator=(const X11Keyboard &) = delete;

    // Empty when the server has no keyboard extension or does not answer.
    std::optional<KeymapSnapshot> read() const;

    std::optional<QByteArray> savedOriginal() const { return rootText(m_savedAtom); }
    void saveOriginal(const QByteArray &text) { setRootText(m_savedAtom, text); }
    void deleteSavedOriginal() { deleteRootText(m_savedAtom); }
    // The mapping in force, saved beside the original (see MappingRecord).
    std::optional<QByteArray> savedMapping() const { return rootText(m_mappingAtom); }
    void saveMapping(const QByteArray &text) { setRootText(m_mappingAtom, text); }
    void deleteSavedMapping() { deleteRootText(m_mappingAtom); }

    // Busy while a key of a changed modifier is down; nothing changes then.
    ModifierResult setModifiers(const KeymapSnapshot &target);
    // False when an entry does not fit this server's key types (a saved keymap from another layout).
    bool fits(const KeymapSnapshot &target, const std::vector<int> &keycodes) const;
    bool writeKeys(const KeymapSnapshot &target, const std::vector<int> &keycodes);

    void grabServer();
    void ungrabServer();

    // Watching: one watcher per display, marked by a selection that a newer watcher takes
    // over. Events arrive on connectionNumber(); takeEvents() reads what is queued.
    struct Events {
        bool keymapChanged = false;
        bool watchTakenOver = false;
    };
    bool claimWatch();
    int connectionNumber() const;
    Events takeEvents();

private:
    explicit X11Keyboard(Display *display);
    std::optional<QByteArray> rootText(unsigned long atom) const;
    void setRootText(unsigned long atom, const QByteArray &text);
    void deleteRootText(unsigned long atom);

    Display *m_display;
    unsigned long m_savedAtom;
    unsigned long m_mappingAtom;
    unsigned long m_watchWindow = 0;
    int m_xkbEventBase = -1;
};

// Holds other clients off between reading the keymap and writing it back.
class ServerGrab {
public:
    explicit ServerGrab(X11Keyboard &keyboard) : m_keyboard(keyboard) { m_keyboard.grabServer(); }
    ~ServerGrab() { m_keyboard.ungrabServer(); }
    ServerGrab(const ServerGrab &) = delete;
    ServerGrab &operator=(const ServerGrab &) = delete;

private:
    X11Keyboard &m_keyboard;
};

} // namespace keymap
