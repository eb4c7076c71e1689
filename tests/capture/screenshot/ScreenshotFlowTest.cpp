#include "capture/CaptureTestDoubles.h"

#include "capture/screenshot/ScreenshotFlow.h"

#include <QFileInfo>

namespace {

using F = ScreenshotFlow;

class ScreenshotFlowTest : public ::testing::Test {
protected:
    ScreenshotFlowTest() { rig.watch(flow); }

    // Starts a capture; the grab and the selector wait for the next turn.
    RegionSelectorView *start()
    {
        RegionSelectorController *before = rig.selector.current();
        flow.captureScreenshot();
        EXPECT_EQ(std::tuple(rig.host.visible, rig.statuses.last(), rig.selector.current()), std::tuple(false, F::selectingText, before));
        QCoreApplication::processEvents();
        return rig.view();
    }

    CaptureRig rig;
    ScreenshotFlow flow{{rig.host, rig.service, rig.selector, rig.grabber, rig.screens, rig.windowExits, rig.editors}};
};

TEST_F(ScreenshotFlowTest, ADragSavesTheRegionAndTheEditorMayOverwriteIt)
{
    RegionSelectorView *view = start();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::pair(view->prompt(), rig.grabber.requests), std::pair(F::prompt, QList{rig.screen}));
    dragOn(view, {30, 40}, {130, 90});
    flushDeletions();
    const QString path = rig.onlyDesktopFile(), name = QFileInfo(path).fileName();
    ASSERT_FALSE(path.isEmpty());
    ASSERT_EQ(rig.editors.opened.size(), 1u);
    EXPECT_EQ(rig.editors.opened[0].image.convertToFormat(QImage::Format_RGB32), rig.grabbed({30, 40, 100, 50}));
    EXPECT_EQ(std::tuple(rig.editors.opened[0].screen, rig.selector.current(), rig.ended),
              std::tuple(rig.screen, nullptr, QStringList{path}));
    EXPECT_EQ(rig.statuses, (QStringList{F::selectingText, CaptureService::savedPrefix + name}));
    EXPECT_FALSE(rig.host.visible);   // the editor comes to the front instead

    // The edit replaces the file and its clipboard entry, not the history row.
    const EditorLauncher::Completion answer = rig.editors.opened[0].completion;
    QImage edited(40, 40, QImage::Format_RGB32);
    edited.fill(Qt::red);
    answer(edited);
    answer(std::nullopt);   // closed without saving: nothing changes
    EXPECT_EQ(QImage(path).convertToFormat(QImage::Format_RGB32), edited);
    EXPECT_EQ(std::tuple(rig.history().size(), rig.historyChanges, rig.clipboard.entries.size()), std::tuple(1, 2, 2u));
    EXPECT_EQ(rig.statuses.mid(2), QStringList{CaptureService::replacedPrefix + name});

    ASSERT_TRUE(QDir(rig.desktop()).removeRecursively());   // the overwrite cannot land
    answer(edited);
    EXPECT_EQ(std::pair(rig.statuses.last(), rig.historyChanges), std::pair(F::editSaveFailedText, 2));
    ASSERT_EQ(rig.clipboard.entries.size(), 3u);   // the edit is still on the clipboard
    EXPECT_TRUE(rig.clipboard.entries.back()->hasFormat("image/png"));
}

TEST_F(ScreenshotFlowTest, EndingWithoutAnImageLeavesItsTextAndBringsBackAVisibleWindow)
{
    const struct { const char *name; bool wasVisible, noScreens, grabFails; QString status; int shows; QScreen *centredOn; qsizetype grabs; } cases[] = {
        {"escape", true, false, false, F::cancelledText, 1, rig.screen, 1},
        {"escape with the window hidden", false, false, false, F::cancelledText, 0, nullptr, 1},
        {"grab fails", true, false, true, F::grabFailedText, 1, rig.screen, 1},
        {"no screen", true, true, true, F::noScreenText, 1, nullptr, 0},
    };
    const QImage image = rig.grabber.image;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        rig.host = FakeHost();
        rig.host.visible = c.wasVisible;
        rig.statuses.clear();
        rig.grabber.requests.clear();
        rig.screens.noScreens = c.noScreens;
        rig.grabber.image = c.grabFails ? QImage() : image;
        if (RegionSelectorView *view = start())
            QTest::keyClick(view, Qt::Key_Escape);
        EXPECT_EQ(rig.statuses, (QStringList{F::selectingText, c.status}));
        // The completion ran exactly once.
        EXPECT_EQ(std::tuple(rig.host.visible, rig.host.shows, rig.host.centredOn, rig.grabber.requests.size(), rig.selector.current()),
                  std::tuple(c.wasVisible, c.shows, c.centredOn, c.grabs, nullptr));
    }
    EXPECT_TRUE(rig.editors.opened.empty() && rig.desktopFiles().isEmpty());
    EXPECT_EQ(rig.ended, QStringList(4, QString()));
}

TEST_F(ScreenshotFlowTest, ASecondCaptureReplacesTheFirstSelectorSilently)
{
    const QPointer<RegionSelectorView> first = start();
    RegionSelectorView *second = start();
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(first != second && (!first || !first->isVisible()));
    QTest::keyClick(second, Qt::Key_Escape);
    EXPECT_EQ(rig.statuses, (QStringList{F::selectingText, F::selectingText, F::cancelledText}));
    EXPECT_EQ(rig.host.shows, 0);   // the second capture began with the window already hidden
}

} // namespace
