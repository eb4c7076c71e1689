#pragma once

#include "platform/KeyStateReader.h"
#include "platform/PointerInput.h"
#include "platform/WindowList.h"

#include <QByteArray>
#include <memory>
#include <mutex>

struct _XDisplay;

// The classes below each use a display connection of their own, so the capture loop can
// call them from its thread without touching Qt's connection. Calls are serialised.

// Pointer warps and wheel steps through XTest.
class X11PointerInput : public PointerInput {
public:
    // Connects to the named display; empty when that fails or XTest is missing.
    static std::unique_ptr<X11PointerInput> open(const QByteArray &displayName);
    ~X11PointerInput() override;
    X11PointerInput(const X11PointerInput &) = delete;
    X11PointerInput &operator=(const X11PointerInput &) = delete;

    bool warpCursor(const QPoint &point) override;
    bool scrollLineDown(const QPoint &point) override;

    // Wheel lines per notch of button 5, as X clients (GTK, Qt, Chromium) scroll it.
    static constexpr int linesPerNotch = 3;

private:
    explicit X11PointerInput(_XDisplay *display) : m_display(display) {}

    std::mutex m_mutex;
    _XDisplay *m_display;
    int m_pendingLines = 0;
};

// The keyboard's held keys through XQueryKeymap.
class X11KeyStateReader : public KeyStateReader {
public:
    static std::unique_ptr<X11KeyStateReader> open(const QByteArray &displayName);
    ~X11KeyStateReader() override;
    X11KeyStateReader(const X11KeyStateReader &) = delete;
    X11KeyStateReader &operator=(const X11KeyStateReader &) = delete;

    bool isKeyHeld(quint32 virtualKey) override;

    // The X keycode of a key's physical position (evdev code + 8); 0 when not known.
    static quint8 physicalKeycode(quint32 virtualKey);

private:
    explicit X11KeyStateReader(_XDisplay *display) : m_display(display) {}

    std::mutex m_mutex;
    _XDisplay *m_display;
};

// The EWMH client list in stacking order, front to back, with each window's owner, layer
// and frame.
class X11WindowList : public WindowList {
public:
    static std::unique_ptr<X11WindowList> open(const QByteArray &displayName);
    ~X11WindowList() override;
    X11WindowList(const X11WindowList &) = delete;
    X11WindowList &operator=(const X11WindowList &) = delete;

    QList<OnScreenWindow> onScreenWindows() override;

private:
    struct Connection;
    explicit X11WindowList(std::unique_ptr<Connection> connection);

    std::mutex m_mutex;
    std::unique_ptr<Connection> m_connection;
};
