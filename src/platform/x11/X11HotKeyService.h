#pragma once

#include "platform/HotKeyService.h"

#include <QAbstractNativeEventFilter>
#include <xcb/xcb.h>

#include <QObject>

#include <map>
#include <memory>
#include <vector>

class X11Keymap;

// Global hot keys as passive key grabs on the root window. Each combination is grabbed
// with every Lock/NumLock variant so it fires whatever the lock state. Presses come
// through Qt's xcb event stream; the service lives on the GUI thread.
class X11HotKeyService : public HotKeyService, private QAbstractNativeEventFilter {
public:
    X11HotKeyService(xcb_connection_t *connection, xcb_window_t root);
    ~X11HotKeyService() override;
    X11HotKeyService(const X11HotKeyService &) = delete;
    X11HotKeyService &operator=(const X11HotKeyService &) = delete;

    void setPressHandler(PressHandler handler) override;
    quint32 registerHotKey(quint32 virtualKey, quint32 modifiers, quint32 id) override;
    void unregisterHotKey(quint32 handle) override;

    // The X modifier state a hot-key mask stands for.
    static quint16 modifierState(quint32 modifiers);

private:
    struct Registration {
        quint32 virtualKey = 0;
        quint32 modifiers = 0;
        quint32 id = 0;
        xcb_keycode_t keycode = 0;   // 0 while the key is not grabbed
        quint16 state = 0;
        quint16 numLockMask = 0;     // the NumLock bit at the time of the grab
    };

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;
    // Grabs every lock variant; on any failure releases what it got and returns false.
    bool grab(Registration &registration, const X11Keymap &keymap);
    void ungrab(Registration &registration);
    // Follows a rewritten keymap: only combinations whose keycode or NumLock bit moved are
    // released and grabbed again, so the others never have a moment without their grab.
    void regrabMoved();
    void sync();

    xcb_connection_t *m_connection;
    xcb_window_t m_root;
    PressHandler m_pressHandler;
    std::map<quint32, Registration> m_registrations;   // by handle
    quint32 m_nextHandle = 1;
    // A keymap rewrite arrives as a burst of notifications; they are answered once, on the
    // next turn of the event loop. The context object cancels that turn if we are destroyed.
    std::unique_ptr<QObject> m_regrabContext = std::make_unique<QObject>();
    bool m_regrabPending = false;
};
