#include "app/AppDelegate.h"

#include "app/ApplicationSwitcher.h"
#include "app/CaptureCoordinator.h"
#include "app/StatusMenu.h"
#include "app/SystemActions.h"
#include "capture/library/CaptureService.h"
#include "keyboard/MacKeyMappingStore.h"
#include "platform/Platform.h"
#include "ui/AppIcon.h"
#include "ui/MainWindowController.h"

#include <QApplication>
#include <QDir>
#include <QPointer>
#include <QStandardPaths>

namespace {
constexpr int retryIntervalMs = 2000;
}

AppDelegate::AppDelegate(Platform &platform, AppPaths paths, QObject *parent)
    : QObject(parent),
      m_platform(platform),
      m_paths(std::move(paths)),
      m_database(m_paths.applicationSupport),
      m_remapper(*platform.processes, *platform.hotKeys, platform.tools.keymapTool),
      m_housekeeping(LaunchHousekeeping::standard(QCoreApplication::applicationFilePath(), QDir::homePath(),
                                                  QStandardPaths::writableLocation(QStandardPaths::DownloadLocation),
                                                  m_paths.applicationSupport),
                     *platform.processes, platform.tools.permissionReset, [this] { terminate(); })
{
}

AppDelegate::~AppDelegate()
{
    m_retryTimer.stop();
}

void AppDelegate::applicationDidFinishLaunching()
{
    // A copy that moved itself has started the moved one and ends; it creates nothing.
    if (m_housekeeping.relocateFromDiskImageIfNeeded())
        return;
    const bool migrated = m_housekeeping.migrateLegacyScreenCapturePermission();
    QApplication::setWindowIcon(AppIcon::icon());

    m_capture = std::make_unique<CaptureService>(m_database, *m_platform.clipboard, m_paths.documents,
                                                 m_paths.desktop);
    m_mainWindow = std::make_unique<MainWindowController>(m_database, *m_capture, m_remapper, *m_platform.screens,
                                                          *m_platform.windowExits,
                                                          MacKeyMappingStore::filePath(m_paths.applicationSupport));
    if (VideoFrameDecoder *frames = m_platform.videoFrames.get())
        m_mainWindow->setVideoFrameReader([frames](const QString &path, double seconds) {
            return frames->frameAt(path, seconds);
        });
    m_coordinator = std::make_unique<CaptureCoordinator>(CaptureCoordinator::Services{
        *m_mainWindow, *m_capture, *m_platform.screenGrabber, *m_platform.screens, *m_platform.clipboard,
        *m_platform.windowExits, *m_platform.recording, *m_platform.applications, *m_platform.windowList,
        *m_platform.pointer, *m_platform.keyState});
    connect(m_mainWindow.get(), &MainWindowController::screenshotRequested, m_coordinator.get(),
            &CaptureCoordinator::captureScreenshot);
    connect(m_mainWindow.get(), &MainWindowController::videoRequested, m_coordinator.get(),
            &CaptureCoordinator::toggleVideo);
    connect(m_mainWindow.get(), &MainWindowController::scrollingCaptureRequested, m_coordinator.get(),
            &CaptureCoordinator::captureScrollingScreenshot);
    connect(m_mainWindow.get(), &MainWindowController::editRequested, m_coordinator.get(),
            &CaptureCoordinator::editCapture);

    if (migrated)
        m_mainWindow->setStatus(LaunchHousekeeping::migratedText);

    m_switcher = std::make_unique<ApplicationSwitcher>(*m_platform.applications);
    m_systemActions = std::make_unique<SystemActions>(*m_platform.processes, *m_platform.keys, m_platform.tools);

    // Installed only now that the main window exists, so every command finds one.
    QPointer<AppDelegate> self(this);
    m_remapper.commandHandler = [self](BridgeCommand command) {
        if (self)
            self->route(command);
    };

    m_statusMenu = std::make_unique<StatusMenu>();
    connect(m_statusMenu.get(), &StatusMenu::openMain, this, &AppDelegate::openMain);
    connect(m_statusMenu.get(), &StatusMenu::screenshot, this, [this] { m_coordinator->captureScreenshot(); });
    connect(m_statusMenu.get(), &StatusMenu::scrollingScreenshot, this,
            [this] { m_coordinator->captureScrollingScreenshot(true); });
    connect(m_statusMenu.get(), &StatusMenu::scrollingApplication, this,
            [this] { m_coordinator->captureScrollingScreenshot(false); });
    connect(m_statusMenu.get(), &StatusMenu::scrollingHelp, this,
            [this] { m_mainWindow->showScrollingCaptureHelp(); });
    connect(m_statusMenu.get(), &StatusMenu::video, this, [this] { m_coordinator->toggleVideo(); });
    connect(m_statusMenu.get(), &StatusMenu::lock, this, [this] { m_systemActions->lockScreen(); });
    connect(m_statusMenu.get(), &StatusMenu::quit, this, &AppDelegate::terminate);

    m_mainWindow->showWindow();
    // One turn later, so the window's map request reaches the server (and the window
    // manager) before the keymap tool makes every client re-read the keymap.
    QTimer::singleShot(0, this, [this] { m_remapper.start(); });

    m_retryTimer.setInterval(retryIntervalMs);
    connect(&m_retryTimer, &QTimer::timeout, this, &AppDelegate::retryTick);
    m_retryTimer.start();
}

void AppDelegate::retryTick()
{
    m_remapper.start();
    m_mainWindow->refreshPermissionState();
}

void AppDelegate::applicationShouldHandleReopen()
{
    if (!m_mainWindow)
        return;
    openMain();
}

void AppDelegate::openMain()
{
    m_mainWindow->showWindow();
}

void AppDelegate::terminate()
{
    if (m_terminating)
        return;
    m_terminating = true;
    m_retryTimer.stop();
    // A launch that ended early (relocation) never started the remapper; leave the keyboard be.
    if (m_mainWindow)
        m_remapper.stop();
    if (!m_coordinator) {
        QCoreApplication::quit();
        return;
    }
    // A recording under way is finished and listed first. Past the bound the app quits
    // anyway and the next launch finishes it.
    QTimer::singleShot(recordingFinishBound, qApp, &QCoreApplication::quit);
    m_coordinator->finishRecording([] { QCoreApplication::quit(); });
}

void AppDelegate::route(const BridgeCommand &command)
{
    switch (command.kind) {
    case BridgeCommand::Kind::switchApplication:
        m_switcher->switchApplication(command.reverse);
        break;
    case BridgeCommand::Kind::screenshot:
        m_coordinator->captureScreenshot();
        break;
    case BridgeCommand::Kind::scrollingScreenshot:
        m_coordinator->captureScrollingScreenshot(true);
        break;
    case BridgeCommand::Kind::video:
        m_coordinator->toggleVideo();
        break;
    case BridgeCommand::Kind::lock:
        m_systemActions->lockScreen();
        break;
    case BridgeCommand::Kind::quit:
        terminate();
        break;
    }
}
