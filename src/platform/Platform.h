#pragma once

#include "platform/ApplicationRegistry.h"
#include "platform/ClipboardWriter.h"
#include "platform/HotKeyService.h"
#include "platform/KeySynthesizer.h"
#include "platform/KeyStateReader.h"
#include "platform/PointerInput.h"
#include "platform/ProcessRunner.h"
#include "platform/RecordingBackend.h"
#include "platform/ScreenEnvironment.h"
#include "platform/ScreenGrabber.h"
#include "platform/VideoFrameDecoder.h"
#include "platform/WindowExitWatcher.h"
#include "platform/WindowList.h"

#include <QString>
#include <memory>

// Absolute paths of the external programs the app starts.
struct ToolPaths {
    QString keymapTool;                       // vistrel-keymap, installed beside the app
    QString sessionLock = "/usr/bin/loginctl";
    QString displayPower = "/usr/bin/xset";
    QString permissionReset;                  // none: X11 has no screen-recording permission
};

// Every platform facility the app reaches, chosen in one place (main) and handed down.
struct Platform {
    ToolPaths tools;
    std::unique_ptr<ProcessRunner> processes;
    std::unique_ptr<HotKeyService> hotKeys;
    std::unique_ptr<ApplicationRegistry> applications;
    std::unique_ptr<KeySynthesizer> keys;
    std::unique_ptr<ScreenGrabber> screenGrabber;
    std::unique_ptr<ScreenEnvironment> screens;
    std::unique_ptr<ClipboardWriter> clipboard;
    std::unique_ptr<WindowExitWatcher> windowExits;
    std::unique_ptr<RecordingBackend> recording;
    std::unique_ptr<VideoFrameDecoder> videoFrames;
    // Scrolling capture: the window under the region, the synthetic wheel, Esc and Return.
    std::unique_ptr<WindowList> windowList;
    std::unique_ptr<PointerInput> pointer;
    std::unique_ptr<KeyStateReader> keyState;
};
