#include "platform/x11/X11HotKeyService.h"

#include "platform/x11/X11Keymap.h"
#include "platform/x11/X11VirtualKeys.h"

#include <QCoreApplication>
#include <X11/keysym.h>

#include <cstdlib>

namespace {

// Modifiers that take part in matching; Lock, NumLock and the others are ignored.
constexpr quint16 matchedState = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1
                                 | XCB_MOD_MASK_4;

std::vector<quint16> lockVariants(quint16 numLockMask)
{
    std::vector<quint16> variants{0, XCB_MOD_MASK_LOCK};
    if (numLockMask != 0 && numLockMask != XCB_MOD_MASK_LOCK) {
        variants.push_back(numLockMask);
        variants.push_back(quint16(numLockMask | XCB_MOD_MASK_LOCK));
    }
    return variants;
}

} // namespace

X11HotKeyService::X11HotKeyService(xcb_connection_t *connection, xcb_window_t root)
    : m_connection(connection)
    , m_root(root)
{
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11HotKeyService::~X11HotKeyService()
{
    if (QCoreApplication *app = QCoreApplication::instance())
        app->removeNativeEventFilter(this);
    for (auto &[handle, registration] : m_registrations)
        ungrab(registration);
    xcb_flush(m_connection);
}

void X11HotKeyService::setPressHandler(PressHandler handler)
{
    m_pressHandler = std::move(handler);
}

quint16 X11HotKeyService::modifierState(quint32 modifiers)
{
    quint16 state = 0;
    if (modifiers & HotKeyModifier::command)
        state |= XCB_MOD_MASK_4;
    if (modifiers & HotKeyModifier::control)
        state |= XCB_MOD_MASK_CONTROL;
    if (modifiers & HotKeyModifier::shift)
        state |= XCB_MOD_MASK_SHIFT;
    if (modifiers & HotKeyModifier::option)
        state |= XCB_MOD_MASK_1;
    return state;
}

quint32 X11HotKeyService::registerHotKey(quint32 virtualKey, quint32 modifiers, quint32 id)
{
    Registration registration{virtualKey, modifiers, id};
    if (!grab(registration, X11Keymap::fetch(m_connection)))
        return 0;
    const quint32 handle = m_nextHandle++;
    m_registrations.emplace(handle, registration);
    return handle;
}

void X11HotKeyService::unregisterHotKey(quint32 handle)
{
    const auto found = m_registrations.find(handle);
    if (found == m_registrations.end())
        return;
    ungrab(found->second);
    m_registrations.erase(found);
    sync();
}

bool X11HotKeyService::grab(Registration &registration, const X11Keymap &keymap)
{
    const xcb_keycode_t keycode = keymap.keycodeFor(keysymForVirtualKey(registration.virtualKey));
    if (keycode == 0)
        return false;
    const quint16 state = modifierState(registration.modifiers);
    // The server would let us grab our own combination twice; a second owner is refused,
    // as it is for another client.
    for (const auto &[handle, other] : m_registrations) {
        if (&other != &registration && other.keycode == keycode && other.state == state)
            return false;
    }
    const quint16 numLockMask = keymap.modifierMaskFor(XK_Num_Lock);

    // Checked requests report a failed grab (BadAccess: another client holds it) for this
    // request alone, with no process-wide error handler to swap in and out. owner_events
    // off: the press always comes to the root window, even while one of ours has focus.
    std::vector<xcb_void_cookie_t> cookies;
    for (const quint16 variant : lockVariants(numLockMask)) {
        cookies.push_back(xcb_grab_key_checked(m_connection, 0, m_root, quint16(state | variant),
                                               keycode, XCB_GRAB_MODE_ASYNC,
                                               XCB_GRAB_MODE_ASYNC));
    }
    bool grabbed = true;
    for (const xcb_void_cookie_t cookie : cookies) {
        if (xcb_generic_error_t *error = xcb_request_check(m_connection, cookie)) {
            grabbed = false;
            std::free(error);
        }
    }
    registration.keycode = keycode;
    registration.state = state;
    registration.numLockMask = numLockMask;
    if (!grabbed) {
        // Releasing a variant that someone else holds is harmless: ungrab only drops ours.
        ungrab(registration);
        sync();
    }
    return grabbed;
}

void X11HotKeyService::ungrab(Registration &registration)
{
    if (registration.keycode == 0)
        return;
    for (const quint16 variant : lockVariants(registration.numLockMask))
        xcb_ungrab_key(m_connection, registration.keycode, m_root,
                       quint16(registration.state | variant));
    registration.keycode = 0;
}

void X11HotKeyService::sync()
{
    // A round trip: once it returns, the server has handled every request before it, so
    // a released combination is free for other clients.
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

void X11HotKeyService::regrabMoved()
{
    m_regrabPending = false;
    const X11Keymap keymap = X11Keymap::fetch(m_connection);
    const quint16 numLockMask = keymap.modifierMaskFor(XK_Num_Lock);
    std::vector<Registration *> moved;
    for (auto &[handle, registration] : m_registrations) {
        const xcb_keycode_t keycode = keymap.keycodeFor(keysymForVirtualKey(registration.virtualKey));
        if (registration.keycode == 0 || keycode != registration.keycode
            || numLockMask != registration.numLockMask) {
            ungrab(registration);
            moved.push_back(&registration);
        }
    }
    for (Registration *registration : moved)
        grab(*registration, keymap);
    xcb_flush(m_connection);
}

bool X11HotKeyService::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
    if (eventType != "xcb_generic_event_t" || message == nullptr)
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const quint8 type = event->response_type & 0x7f;

    if (type == XCB_MAPPING_NOTIFY) {
        // Another process rewrote the keymap: follow our keysyms to their new keycodes.
        const auto *mapping = static_cast<const xcb_mapping_notify_event_t *>(message);
        if (mapping->request != XCB_MAPPING_POINTER && !m_registrations.empty() && !m_regrabPending) {
            m_regrabPending = true;
            QMetaObject::invokeMethod(m_regrabContext.get(), [this] { regrabMoved(); }, Qt::QueuedConnection);
        }
        return false;   // Qt updates its own keymap from the same event
    }
    if (type != XCB_KEY_PRESS)
        return false;

    const auto *press = static_cast<const xcb_key_press_event_t *>(message);
    if (press->event != m_root)
        return false;
    const quint16 state = press->state & matchedState;
    for (const auto &[handle, registration] : m_registrations) {
        if (registration.keycode != 0 && registration.keycode == press->detail
            && registration.state == state) {
            const quint32 id = registration.id;
            if (m_pressHandler)
                m_pressHandler(id);
            return true;
        }
    }
    return false;
}
