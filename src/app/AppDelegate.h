#pragma once

#include "app/LaunchHousekeeping.h"
#include "keyboard/BridgeCommand.h"
#include "keyboard/KeyRemapper.h"
#include "storage/AppPaths.h"
#include "storage/HistoryDatabase.h"

#include <QObject>
#include <QTimer>
#include <memory>

struct Platform;
class ApplicationSwitcher;
class CaptureCoordinator;
class CaptureService;
class MainWindowController;
class StatusMenu;
class SystemActions;

// Owns the long-lived objects, builds them in launch order, and routes every command.
// GUI thread only.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    AppDelegate(Platform &platform, AppPaths paths, QObject *parent = nullptr);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();
    // A later launch asked for the app: show the window if it is hidden, and bring it forward.
    void applicationShouldHandleReopen();
    // The one way out: removes the system-wide mapping, finishes a recording, then ends the
    // event loop.
    void terminate();

    void route(const BridgeCommand &command);
    // Every 2 s: re-attempt a wanted mapping and repaint the bridge state.
    void retryTick();

    MainWindowController *mainWindow() const { return m_mainWindow.get(); }
    CaptureCoordinator *capture() const { return m_coordinator.get(); }
    KeyRemapper &remapper() { return m_remapper; }

private:
    static constexpr int recordingFinishBound = 10000;   // ms

    void openMain();

    Platform &m_platform;
    AppPaths m_paths;
    HistoryDatabase m_database;
    KeyRemapper m_remapper;
    LaunchHousekeeping m_housekeeping;
    std::unique_ptr<CaptureService> m_capture;
    std::unique_ptr<MainWindowController> m_mainWindow;
    std::unique_ptr<CaptureCoordinator> m_coordinator;
    std::unique_ptr<StatusMenu> m_statusMenu;
    std::unique_ptr<ApplicationSwitcher> m_switcher;
    std::unique_ptr<SystemActions> m_systemActions;
    QTimer m_retryTimer;
    bool m_terminating = false;
};
