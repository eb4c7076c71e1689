#pragma once

#include "platform/ApplicationRegistry.h"
#include "platform/HotKeyService.h"
#include "platform/KeySynthesizer.h"
#include "platform/KeyStateReader.h"
#include "platform/PointerInput.h"
#include "platform/WindowList.h"

// Inert stand-ins used when there is no X11 connection (offscreen or another Qt
// platform): nothing is grabbed, listed or posted, and every request reports failure.

class NullHotKeyService : public HotKeyService {
public:
    void setPressHandler(PressHandler) override {}
    quint32 registerHotKey(quint32, quint32, quint32) override { return 0; }
    void unregisterHotKey(quint32) override {}
};

class NullApplicationRegistry : public ApplicationRegistry {
public:
    QList<RunningApplication> runningApplications() override { return {}; }
    std::optional<qint64> frontmostPid() override { return std::nullopt; }
    bool activate(qint64) override { return false; }
};

class NullKeySynthesizer : public KeySynthesizer {
public:
    bool postKey(quint32, bool) override { return false; }
};

class NullWindowList : public WindowList {
public:
    QList<OnScreenWindow> onScreenWindows() override { return {}; }
};

class NullPointerInput : public PointerInput {
public:
    bool warpCursor(const QPoint &) override { return false; }
    bool scrollLineDown(const QPoint &) override { return false; }
};

class NullKeyStateReader : public KeyStateReader {
public:
    bool isKeyHeld(quint32) override { return false; }
};
