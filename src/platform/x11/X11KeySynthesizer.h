#pragma once

#include "platform/KeySynthesizer.h"

#include <QByteArray>

#include <memory>
#include <mutex>

struct _XDisplay;

// Synthetic key events through XTest on a display connection of its own, so it can be
// used from a background thread without touching Qt's connection. Calls are serialised.
class X11KeySynthesizer : public KeySynthesizer {
public:
    // Connects to the named display; empty when that fails or XTest is missing.
    static std::unique_ptr<X11KeySynthesizer> open(const QByteArray &displayName);
    // A connection of its own to the named display, or null when that fails or XTest is missing.
    static _XDisplay *openWithXTest(const QByteArray &displayName);
    ~X11KeySynthesizer() override;
    X11KeySynthesizer(const X11KeySynthesizer &) = delete;
    X11KeySynthesizer &operator=(const X11KeySynthesizer &) = delete;

    bool postKey(quint32 virtualKey, bool down) override;

private:
    explicit X11KeySynthesizer(_XDisplay *display);

    std::mutex m_mutex;
    _XDisplay *m_display;
};
