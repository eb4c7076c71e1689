#include "capture/CaptureTestDoubles.h"

#include "capture/screenshot/ScreenshotFlow.h"

#include <QFileInfo>
#include <gtest/gtest.h>

namespace {

class ScreenshotFlowTest : public ::testing::Test {
protected:
    ScreenshotFlowTest() { rig.watch(flow); }

    // Starts a capture and lets the deferred step open the selector.
    RegionSelectorView *start()
    {
        RegionSelectorController *before = rig.selector.current();
        flow.captureScreenshot();
        EXPECT_FALSE(rig.host.visible);
        EXPECT_EQ(rig.statuses.last(), ScreenshotFlow::selectingText);
        EXPECT_EQ(rig.selector.current(), before);   // the grab waits for the next turn
        QCoreApplication::processEvents();
        return rig.view();
    }

    CaptureRig rig;
    FakeHost &host = rig.host;
    ScreenshotFlow flow{{rig.host, rig.service, rig.selector, rig.grabber, rig.screens, rig.windowExits, rig.editors}};
};

TEST_F(ScreenshotFlowTest, ADragSavesTheRegionAndHandsItToTheEditor)
{
    RegionSelectorView *view = start();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->prompt(), ScreenshotFlow::prompt);
    EXPECT_EQ(rig.grabber.requests, QList<QScreen *>{rig.screen});
    dragOn(view, {30, 40}, {130, 90});
    flushDeletions();
    EXPECT_EQ(rig.selector.current(), nullptr);
    ASSERT_EQ(rig.editors.opened.size(), 1u);
    EXPECT_EQ(rig.editors.opened[0].image.convertToFormat(QImage::Format_RGB32), rig.grabbed({30, 40, 100, 50}));
    EXPECT_EQ(rig.editors.opened[0].screen, rig.screen);
    ASSERT_EQ(rig.desktopFiles().size(), 1);
    const QString name = rig.desktopFiles().first();
    EXPECT_EQ(rig.statuses, (QStringList{ScreenshotFlow::selectingText, CaptureService::savedPrefix + name}));
    EXPECT_FALSE(host.visible);   // the editor comes to the front instead
    EXPECT_EQ(rig.ended, QStringList{QDir(rig.desktop()).filePath(name)});
}

TEST_F(ScreenshotFlowTest, ACancelBringsTheWindowBackOnlyIfItWasVisible)
{
    for (const bool wasVisible : {true, false}) {
        host = FakeHost();
        host.visible = wasVisible;
        RegionSelectorView *view = start();
        ASSERT_NE(view, nullptr);
        QTest::keyClick(view, Qt::Key_Escape);
        EXPECT_EQ(rig.statuses.last(), ScreenshotFlow::cancelledText);
        EXPECT_EQ(host.visible, wasVisible);
        EXPECT_EQ(host.shows, wasVisible ? 1 : 0);
        EXPECT_EQ(host.centredOn, wasVisible ? rig.screen : nullptr);
    }
    EXPECT_TRUE(rig.editors.opened.empty());
    EXPECT_TRUE(rig.desktopFiles().isEmpty());
    EXPECT_EQ(rig.ended, (QStringList{QString(), QString()}));
}

TEST_F(ScreenshotFlowTest, AFailureTextIsLeftStanding)
{
    const struct { const char *name; bool noScreens; QString status; QScreen *centredOn; qsizetype grabs; } cases[] = {
        {"grab fails", false, ScreenshotFlow::grabFailedText, rig.screen, 1},
        {"no screen", true, ScreenshotFlow::noScreenText, nullptr, 0},
    };
    rig.grabber.image = QImage();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        host = FakeHost();
        rig.statuses.clear();
        rig.grabber.requests.clear();
        rig.screens.noScreens = c.noScreens;
        start();
        EXPECT_EQ(rig.statuses, (QStringList{ScreenshotFlow::selectingText, c.status}));
        EXPECT_EQ(host.shows, 1);   // the completion ran exactly once
        EXPECT_EQ(host.centredOn, c.centredOn);
        EXPECT_EQ(rig.grabber.requests.size(), c.grabs);
        EXPECT_EQ(rig.selector.current(), nullptr);
    }
    EXPECT_TRUE(rig.editors.opened.empty());
    EXPECT_TRUE(rig.desktopFiles().isEmpty());
}

TEST_F(ScreenshotFlowTest, ASecondCaptureReplacesTheFirstSelectorSilently)
{
    const QPointer<RegionSelectorView> first = start();
    ASSERT_NE(first, nullptr);
    RegionSelectorView *second = start();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_TRUE(!first || !first->isVisible());
    QTest::keyClick(second, Qt::Key_Escape);
    EXPECT_EQ(rig.statuses, (QStringList{ScreenshotFlow::selectingText, ScreenshotFlow::selectingText,
                                         ScreenshotFlow::cancelledText}));
    EXPECT_EQ(host.shows, 0);   // the second capture began with the window already hidden
}

TEST_F(ScreenshotFlowTest, EditedImagesOverwriteTheCapture)
{
    RegionSelectorView *view = start();
    ASSERT_NE(view, nullptr);
    dragOn(view, {0, 0}, {40, 40});
    ASSERT_EQ(rig.editors.opened.size(), 1u);
    ASSERT_EQ(rig.desktopFiles().size(), 1);
    const QString path = QDir(rig.desktop()).filePath(rig.desktopFiles().first());
    const EditorLauncher::Completion answer = rig.editors.opened[0].completion;
    rig.statuses.clear();
    QImage edited(40, 40, QImage::Format_RGB32);
    edited.fill(Qt::red);
    answer(edited);
    EXPECT_EQ(QImage(path).convertToFormat(QImage::Format_RGB32), edited);
    EXPECT_EQ(rig.database.recent().size(), 1);   // no new row
    EXPECT_EQ(rig.historyChanges, 2);
    EXPECT_EQ(rig.clipboard.entries.size(), 2u);

    answer(std::nullopt);   // closed without saving: nothing changes
    EXPECT_EQ(rig.clipboard.entries.size(), 2u);
    EXPECT_EQ(rig.statuses, QStringList{CaptureService::replacedPrefix + QFileInfo(path).fileName()});

    ASSERT_TRUE(QDir(rig.desktop()).removeRecursively());   // the overwrite cannot land
    answer(edited);
    EXPECT_EQ(rig.statuses.last(), ScreenshotFlow::editSaveFailedText);
    ASSERT_EQ(rig.clipboard.entries.size(), 3u);   // the edit is still on the clipboard
    EXPECT_TRUE(rig.clipboard.entries.back()->hasFormat("image/png"));
    EXPECT_EQ(rig.historyChanges, 2);
}

} // namespace
