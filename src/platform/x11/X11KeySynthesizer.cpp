#include "platform/x11/X11KeySynthesizer.h"

#include "platform/x11/X11Keymap.h"
#include "platform/x11/X11VirtualKeys.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

Display *X11KeySynthesizer::openWithXTest(const QByteArray &displayName)
{
    Display *display = XOpenDisplay(displayName.isEmpty() ? nullptr : displayName.constData());
    if (!display)
        return nullptr;
    int eventBase = 0, errorBase = 0, major = 0, minor = 0;
    if (!XTestQueryExtension(display, &eventBase, &errorBase, &major, &minor)) {
        XCloseDisplay(display);
        return nullptr;
    }
    return display;
}

std::unique_ptr<X11KeySynthesizer> X11KeySynthesizer::open(const QByteArray &displayName)
{
    Display *display = openWithXTest(displayName);
    return display ? std::unique_ptr<X11KeySynthesizer>(new X11KeySynthesizer(display)) : nullptr;
}

X11KeySynthesizer::X11KeySynthesizer(Display *display)
    : m_display(display)
{
}

X11KeySynthesizer::~X11KeySynthesizer()
{
    XCloseDisplay(m_display);
}

bool X11KeySynthesizer::postKey(quint32 virtualKey, bool down)
{
    const quint32 keysym = keysymForVirtualKey(virtualKey);
    if (keysym == 0)
        return false;
    std::lock_guard lock(m_mutex);
    // Looked up on every call: the keymap tool may have moved the keysym since last time.
    const quint8 keycode = X11Keymap::fetch(m_display).keycodeFor(keysym);
    if (keycode == 0)
        return false;
    const bool posted = XTestFakeKeyEvent(m_display, keycode, down ? True : False, CurrentTime);
    XFlush(m_display);
    return posted;
}
