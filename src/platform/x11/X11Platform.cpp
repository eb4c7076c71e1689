#include "platform/x11/X11Platform.h"

#include "platform/SystemClipboard.h"
#include "platform/x11/NullPlatformServices.h"
#include "platform/x11/QtProcessRunner.h"
#include "platform/x11/X11ApplicationRegistry.h"
#include "platform/x11/X11HotKeyService.h"
#include "platform/x11/X11KeySynthesizer.h"
#include "platform/x11/X11ScrollInput.h"
#include "platform/x11/X11WindowExitWatcher.h"
#include "platform/x11/XShmScreenGrabber.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <X11/Xlib.h>

std::unique_ptr<Platform> createX11Platform()
{
    auto platform = std::make_unique<Platform>();
    platform->tools.keymapTool = QCoreApplication::applicationDirPath()
                                 + QStringLiteral("/vistrel-keymap");
    platform->processes = std::make_unique<QtProcessRunner>();
    platform->screens = std::make_unique<ScreenEnvironment>();
    platform->clipboard = std::make_unique<SystemClipboard>();

    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    Display *display = x11 ? x11->display() : nullptr;
    xcb_connection_t *connection = x11 ? x11->connection() : nullptr;
    platform->screenGrabber = std::make_unique<XShmScreenGrabber>(display);
    if (!display || !connection) {
        platform->hotKeys = std::make_unique<NullHotKeyService>();
        platform->applications = std::make_unique<NullApplicationRegistry>();
        platform->keys = std::make_unique<NullKeySynthesizer>();
        platform->windowExits = std::make_unique<WindowExitWatcher>();
        platform->windowList = std::make_unique<NullWindowList>();
        platform->pointer = std::make_unique<NullPointerInput>();
        platform->keyState = std::make_unique<NullKeyStateReader>();
        return platform;
    }

    const xcb_window_t root = XDefaultRootWindow(display);
    platform->hotKeys = std::make_unique<X11HotKeyService>(connection, root);
    platform->windowExits = std::make_unique<X11WindowExitWatcher>(connection);
    platform->applications = std::make_unique<X11ApplicationRegistry>(
        connection, root, QCoreApplication::applicationPid(), QGuiApplication::applicationDisplayName());
    if (auto keys = X11KeySynthesizer::open(QByteArray(XDisplayString(display))))
        platform->keys = std::move(keys);
    else
        platform->keys = std::make_unique<NullKeySynthesizer>();
    const QByteArray name(XDisplayString(display));
    if (auto windows = X11WindowList::open(name))
        platform->windowList = std::move(windows);
    else
        platform->windowList = std::make_unique<NullWindowList>();
    if (auto pointer = X11PointerInput::open(name))
        platform->pointer = std::move(pointer);
    else
        platform->pointer = std::make_unique<NullPointerInput>();
    if (auto keyState = X11KeyStateReader::open(name))
        platform->keyState = std::move(keyState);
    else
        platform->keyState = std::make_unique<NullKeyStateReader>();
    return platform;
}
