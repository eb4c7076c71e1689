#include "app/AppDelegate.h"
#include "capture/screenshot/ScreenshotFlow.h"
#include "platform/Platform.h"
#include "platform/fake/FakeApplicationRegistry.h"
#include "platform/fake/FakeClipboard.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeKeySynthesizer.h"
#include "platform/fake/FakeProcessRunner.h"
#include "platform/fake/FakeRecording.h"
#include "platform/fake/FakeScreenEnvironment.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "platform/fake/FakeScrollInput.h"
#include "ui/MainWindowController.h"

#include <QCoreApplication>
#include <QPushButton>
#include <QTest>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

namespace {

struct Fixture {
    QTemporaryDir dir;
    FakeProcessRunner *processes = new FakeProcessRunner;
    FakeHotKeyService *hotKeys = new FakeHotKeyService;
    FakeApplicationRegistry *applications = new FakeApplicationRegistry;
    Platform platform;
    std::unique_ptr<AppDelegate> delegate;

    Fixture()
    {
        platform.tools.keymapTool = "/opt/vistrel/vistrel-keymap";
        platform.processes.reset(processes);
        platform.hotKeys.reset(hotKeys);
        platform.applications.reset(applications);
        platform.keys = std::make_unique<FakeKeySynthesizer>();
        platform.screenGrabber = std::make_unique<FakeScreenGrabber>();
        platform.screens = std::make_unique<FakeScreenEnvironment>();
        platform.clipboard = std::make_unique<FakeClipboard>();
        platform.windowExits = std::make_unique<WindowExitWatcher>();
        platform.recording = std::make_unique<FakeRecordingBackend>();
        platform.windowList = std::make_unique<FakeWindowList>();
        platform.pointer = std::make_unique<FakePointerInput>();
        platform.keyState = std::make_unique<FakeKeyStateReader>();
        AppPaths paths{dir.filePath("support"), dir.filePath("documents"), dir.filePath("Desktop")};
        delegate = std::make_unique<AppDelegate>(platform, paths);
    }
    ~Fixture()
    {
        if (delegate && delegate->mainWindow())
            delegate->mainWindow()->hideWindow();
    }
    // Launch, then the turn of the event loop on which the remapper starts.
    void launch()
    {
        delegate->applicationDidFinishLaunching();
        QCoreApplication::processEvents();
    }
    QString lastProperty() const { return processes->runs().last().arguments.last(); }
    // A hot-key press as the X server would deliver it, then one turn of the event loop.
    void press(quint32 key, quint32 modifiers)
    {
        ASSERT_TRUE(hotKeys->press(key, modifiers));
        QCoreApplication::processEvents();
    }
};

} // namespace

TEST(AppDelegate, LaunchAppliesWindowsModeMovesHotKeysToControlAndReopenShowsTheWindow)
{
    Fixture f;
    f.launch();
    ASSERT_EQ(f.processes->runCount(), 1);
    EXPECT_TRUE(f.lastProperty().contains("30064771296"));
    EXPECT_EQ(f.delegate->remapper().hotKeyModifiers(), HotKeyModifier::control);
    EXPECT_TRUE(f.delegate->mainWindow()->isWindowVisible());

    f.delegate->mainWindow()->hideWindow();
    f.delegate->applicationShouldHandleReopen();
    EXPECT_TRUE(f.delegate->mainWindow()->isWindowVisible());
}

TEST(AppDelegate, FailedLaunchIsRetriedByTheTick)
{
    Fixture f;
    f.processes->defaultResult = FakeProcessRunner::exited(1);
    f.launch();
    EXPECT_FALSE(f.delegate->remapper().isRunning());
    EXPECT_EQ(f.delegate->remapper().hotKeyModifiers(), HotKeyModifier::command);
    for (int tick = 0; tick < 2; ++tick) {   // one attempt per tick while the tool fails
        const auto before = f.processes->runCount();
        f.delegate->retryTick();
        EXPECT_EQ(f.processes->runCount(), before + 1);
    }

    f.processes->defaultResult = FakeProcessRunner::exited(0);
    f.delegate->retryTick();
    EXPECT_TRUE(f.delegate->remapper().isRunning());
    EXPECT_EQ(f.delegate->remapper().hotKeyModifiers(), HotKeyModifier::control);
    const auto runs = f.processes->runCount();
    f.delegate->retryTick();   // in force: nothing more to do
    EXPECT_EQ(f.processes->runCount(), runs);
}

TEST(AppDelegate, SwitchHotKeysActivateApplicationsInPidOrder)
{
    Fixture f;
    f.applications->applications = {{300, "b"}, {120, "a"}, {450, "c"}};
    f.applications->frontmost = 120;
    f.launch();

    const quint32 control = HotKeyModifier::control;
    f.press(VirtualKey::tab, control);
    f.press(VirtualKey::tab, control | HotKeyModifier::shift);
    EXPECT_EQ(f.applications->activated, (QList<qint64>{300, 450}));
}

TEST(AppDelegate, QuitRemovesTheMappingFirst)
{
    Fixture f;
    f.launch();
    f.press(VirtualKey::q, HotKeyModifier::control);
    EXPECT_FALSE(f.delegate->remapper().isRunning());
    EXPECT_EQ(f.lastProperty(), R"({"UserKeyMapping":[]})");
    EXPECT_EQ(f.delegate->remapper().hotKeyModifiers(), HotKeyModifier::command);

    // A second quit (the platform's own, say) does not run the tool again.
    const auto runs = f.processes->runCount();
    f.delegate->terminate();
    EXPECT_EQ(f.processes->runCount(), runs);
}

// The hot key and the main window's button both reach the one screenshot flow: the window
// steps aside, and on the next turn the grab (which fails here) is reported.
TEST(AppDelegate, ScreenshotRequestsReachTheCaptureFlow)
{
    const struct {
        const char *name;
        std::function<void(Fixture &)> request;
    } cases[] = {
        {"hot key", [](Fixture &f) { f.press(VirtualKey::four, HotKeyModifier::control); }},
        {"button", [](Fixture &f) {
             auto *button = f.delegate->mainWindow()->window()->findChild<QPushButton *>("screenshotButton");
             ASSERT_TRUE(button);
             QTest::mouseClick(button, Qt::LeftButton);
         }},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Fixture f;
        f.launch();
        c.request(f);
        EXPECT_FALSE(f.delegate->mainWindow()->isWindowVisible());
        EXPECT_EQ(f.delegate->mainWindow()->status(), ScreenshotFlow::selectingText);
        QCoreApplication::processEvents();
        EXPECT_EQ(f.delegate->mainWindow()->status(), ScreenshotFlow::grabFailedText);
        EXPECT_TRUE(f.delegate->mainWindow()->isWindowVisible());   // it was visible before
    }
}
