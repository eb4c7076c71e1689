#include "app/AppDelegate.h"
#include "capture/screenshot/ScreenshotFlow.h"
#include "platform/Platform.h"
#include "platform/fake/FakeApplicationRegistry.h"
#include "platform/fake/FakeClipboard.h"
#include "platform/fake/FakeKeySynthesizer.h"
#include "platform/fake/FakeRecording.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "platform/fake/FakeScrollInput.h"
#include "ui/MainWindowController.h"

#include "ui/UiTestSupport.h"

namespace {

struct Fixture {
    QTemporaryDir dir;
    FakeProcessRunner *processes = new FakeProcessRunner;
    FakeHotKeyService *hotKeys = new FakeHotKeyService;
    Platform platform{.tools = {.keymapTool = "/opt/vistrel/vistrel-keymap", .permissionReset = {}}, .processes = std::unique_ptr<ProcessRunner>(processes),
                      .hotKeys = std::unique_ptr<HotKeyService>(hotKeys), .applications = std::make_unique<FakeApplicationRegistry>(),
                      .keys = std::make_unique<FakeKeySynthesizer>(), .screenGrabber = std::make_unique<FakeScreenGrabber>(),
                      .screens = std::make_unique<FakeScreenEnvironment>(), .clipboard = std::make_unique<FakeClipboard>(),
                      .windowExits = std::make_unique<WindowExitWatcher>(), .recording = std::make_unique<FakeRecordingBackend>(),
                      .videoFrames = {}, .windowList = std::make_unique<FakeWindowList>(), .pointer = std::make_unique<FakePointerInput>(),
                      .keyState = std::make_unique<FakeKeyStateReader>()};
    AppPaths paths{dir.filePath("support"), dir.filePath("documents"), dir.filePath("Desktop")};
    std::unique_ptr<AppDelegate> delegate = std::make_unique<AppDelegate>(platform, paths);

    explicit Fixture(int toolExitCode = 0)
    {
        processes->defaultResult = FakeProcessRunner::exited(toolExitCode);
        delegate->applicationDidFinishLaunching();
        QCoreApplication::processEvents(); // the turn on which the remapper starts
    }
    ~Fixture() { delegate->mainWindow()->hideWindow(); }
    MainWindowController &main() { return *delegate->mainWindow(); }
    KeyRemapper &remapper() { return delegate->remapper(); }
};

TEST(AppDelegate, LaunchAppliesWindowsModeAndQuitRemovesTheMappingFirst)
{
    Fixture f;
    ASSERT_EQ(f.processes->runCount(), 1);
    EXPECT_TRUE(f.processes->runs().last().arguments.last().contains("30064771296"));
    EXPECT_EQ(f.remapper().hotKeyModifiers(), HotKeyModifier::control);
    EXPECT_TRUE(f.main().isWindowVisible());

    ASSERT_TRUE(f.hotKeys->press(VirtualKey::q, HotKeyModifier::control));
    QCoreApplication::processEvents();
    EXPECT_FALSE(f.remapper().isRunning());
    EXPECT_EQ(f.processes->runs().last().arguments.last(), R"({"UserKeyMapping":[]})");
    EXPECT_EQ(f.remapper().hotKeyModifiers(), HotKeyModifier::command);
    // A second quit (the platform's own, say) does not run the tool again.
    f.delegate->terminate();
    EXPECT_EQ(f.processes->runCount(), 2);
}

TEST(AppDelegate, AFailedLaunchIsRetriedEachTickUntilInForce)
{
    Fixture f(1);
    EXPECT_EQ(f.remapper().hotKeyModifiers(), HotKeyModifier::command);
    const auto runs = f.processes->runCount();
    f.delegate->retryTick();
    f.processes->defaultResult = FakeProcessRunner::exited(0);
    f.delegate->retryTick();
    f.delegate->retryTick(); // in force: nothing more to do
    EXPECT_EQ(f.processes->runCount(), runs + 2);
    EXPECT_TRUE(f.remapper().isRunning());
    EXPECT_EQ(f.remapper().hotKeyModifiers(), HotKeyModifier::control);
}

// The main window's button reaches the screenshot flow: the window steps aside, and on the
// next turn the grab (which fails here) is reported.
TEST(AppDelegate, ScreenshotButtonReachesTheCaptureFlow)
{
    Fixture f;
    QTest::mouseClick(f.main().window()->findChild<QPushButton *>("screenshotButton"), Qt::LeftButton);
    EXPECT_FALSE(f.main().isWindowVisible());
    EXPECT_EQ(f.main().status(), ScreenshotFlow::selectingText);
    QCoreApplication::processEvents();
    EXPECT_EQ(f.main().status(), ScreenshotFlow::grabFailedText);
    EXPECT_TRUE(f.main().isWindowVisible()); // it was visible before
}

} // namespace
