#pragma once

#include "app/EditorWindowLauncher.h"
#include "capture/recording/RecordingFlow.h"
#include "capture/screenshot/ScreenshotFlow.h"
#include "capture/scrollingflow/ScrollingCaptureFlow.h"
#include "capture/selector/RegionSelectorSlot.h"

#include <QObject>
#include <functional>

class ApplicationRegistry;
class CaptureHost;
class CaptureService;
class ClipboardWriter;
class KeyStateReader;
class PointerInput;
class RecordingBackend;
class ScreenEnvironment;
class ScreenGrabber;
class WindowExitWatcher;
class WindowList;

// Owns the capture flows, the one region selector they share and the editor they open.
// Commands from hot keys, the tray menu and the main window's buttons all end here.
// GUI thread only.
class CaptureCoordinator : public QObject {
    Q_OBJECT
public:
    struct Services {
        CaptureHost &host;
        CaptureService &service;
        ScreenGrabber &grabber;
        const ScreenEnvironment &screens;
        ClipboardWriter &clipboard;
        WindowExitWatcher &windowExits;
        RecordingBackend &recording;
        // Scrolling capture: the window under the region, the wheel, Esc and Return.
        ApplicationRegistry &applications;
        WindowList &windowList;
        PointerInput &pointer;
        KeyStateReader &keyState;
    };

    explicit CaptureCoordinator(Services services, QObject *parent = nullptr);
    ~CaptureCoordinator() override;

    void captureScreenshot();
    void captureScrollingScreenshot(bool automaticWeb);
    // Starts a recording, or stops the one running.
    void toggleVideo();
    // Stops a recording under way and calls `done` once its file is finished; at once when
    // nothing is recording.
    void finishRecording(std::function<void()> done);
    // An earlier capture into the editor; saving there overwrites its file.
    void editCapture(const QString &path, const QImage &image);

    // The flows a command can start and wait on.
    enum class Flow { screenshot, scrolling, recording };

    RegionSelectorController *regionSelector() const { return m_selector.current(); }
    ImageEditorController *editor() const { return m_editors.editor(); }
    ScrollingCaptureFlow &scrolling() { return m_scrolling; }
    RecordingFlow &recording() { return m_recording; }

signals:
    // A flow has run its course: the saved file, or an empty path when it saved nothing.
    void captureEnded(CaptureCoordinator::Flow flow, const QString &savedPath);

private:
    CaptureService &m_service;
    const ScreenEnvironment &m_screens;
    RegionSelectorSlot m_selector;
    EditorWindowLauncher m_editors;
    ScreenshotFlow m_screenshot;
    ScrollingCaptureFlow m_scrolling;
    RecordingFlow m_recording;
};
