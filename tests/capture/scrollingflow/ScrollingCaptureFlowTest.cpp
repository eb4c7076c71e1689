#include "capture/CaptureTestDoubles.h"

#include "capture/scrollingflow/ScrollingCaptureFlow.h"
#include "capture/scrollingflow/ScrollingCaptureHUDController.h"
#include "platform/fake/FakeApplicationRegistry.h"
#include "platform/fake/FakeScrollInput.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLabel>

namespace {

TEST(ScrollingCaptureHUD, StaysClearOfTheRegionAndShowsTheRun)
{
    const struct { const char *name; QRectF region; std::optional<QPoint> position; } cases[] = {
        {"region elsewhere: top right", {100, 300, 800, 600}, QPoint(1576, 24)},
        {"region under the top right: top left", {1200, 0, 720, 500}, QPoint(24, 24)},
        {"top half covered: bottom right", {0, 0, 1920, 400}, QPoint(1576, 918)},
        {"touching the panel's edge counts", {1575, 0, 100, 100}, QPoint(24, 24)},
        {"whole screen: not shown", {0, 0, 1920, 1080}, std::nullopt},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ScrollingCaptureHUDController::placement(QRect(0, 0, 1920, 1040), c.region), c.position) << c.name;

    ScrollingCaptureHUDController hud(QGuiApplication::primaryScreen(), QRectF(0, 300, 100, 100));
    const auto texts = [&] { return QStringList{hud.titleField()->text(), hud.detailField()->text(), hud.hintField()->text()}; };
    EXPECT_EQ(texts().mid(0, 2), (QStringList{"↧  ĐANG CHỤP CUỘN", "Đang chụp ảnh 1…"}));
    hud.update(12, true);
    EXPECT_EQ(texts().mid(1), (QStringList{"Đang chụp ảnh 12…", "Tự cuộn ứng dụng • Enter hoàn tất • Esc hủy"}));
    hud.complete(7);
    EXPECT_EQ(texts(), (QStringList{"✓  HOÀN TẤT", "Đã ghép 7 ảnh", "Đang mở trình chỉnh sửa…"}));
    // Never focused, never in the way of a click; title above detail above hint.
    EXPECT_TRUE(hud.panel()->windowFlags().testFlags(Qt::WindowDoesNotAcceptFocus | Qt::WindowTransparentForInput)
                && hud.panel()->testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_TRUE(hud.titleField()->y() < hud.detailField()->y() && hud.detailField()->y() < hud.hintField()->y());
}

class ScrollingCaptureFlowTest : public ::testing::Test {
protected:
    ScrollingCaptureFlowTest() { rig.watch(*flow); }

    RegionSelectorView *start(bool automaticWeb)
    {
        flow->captureScrollingScreenshot(automaticWeb);
        EXPECT_FALSE(rig.host.visible);
        QCoreApplication::processEvents();
        return rig.view();
    }

    CaptureRig rig;
    FakeApplicationRegistry applications;
    FakeWindowList windows;
    FakePointerInput pointer;
    FakeKeyStateReader keys;
    std::unique_ptr<ScrollingCaptureFlow> flow = std::make_unique<ScrollingCaptureFlow>(ScrollingCaptureFlow::Services{
        rig.host, rig.service, rig.selector, rig.screens, rig.editors, {rig.grabber, applications, windows, pointer, keys}});
};

TEST_F(ScrollingCaptureFlowTest, ReturnHeldSavesOneFrameAndOpensTheEditor)
{
    keys.enter = true;
    windows.windows = {{4242, WindowList::normalLayer, QRect(QPoint(0, 0), rig.screen->geometry().size() * 2)}};
    RegionSelectorView *view = start(false);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->prompt(), ScrollingCaptureFlow::manualPrompt);
    dragOn(view, {30, 40}, {130, 90});
    flushDeletions();
    ASSERT_TRUE(flow->hud() && flow->hud()->panel()->isVisible());
    // The panel says it is done before it closes.
    EXPECT_TRUE(QTest::qWaitFor([this] { return flow->hud() && flow->hud()->detailField()->text() == "Đã ghép 1 ảnh"; }, 15000));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !rig.ended.isEmpty(); }, 15000));

    const QString path = rig.onlyDesktopFile(), name = QFileInfo(path).fileName();
    EXPECT_TRUE(name.startsWith("ScrollingCapture_") && rig.ended == QStringList{path}) << name.toStdString();
    EXPECT_EQ(rig.statuses, (QStringList{ScrollingCaptureFlow::selectingText, ScrollingCaptureFlow::runningText,
                                         ScrollingCaptureFlow::doneText, CaptureService::savedPrefix + name}));
    ASSERT_EQ(rig.editors.opened.size(), 1u);
    const QImage opened = rig.editors.opened[0].image;
    EXPECT_EQ(std::pair(opened.convertToFormat(QImage::Format_RGB32), opened.deviceIndependentSize()),
              std::pair(rig.grabbed({30, 40, 100, 50}), QSizeF(100, 50)));
    EXPECT_EQ(applications.activated, QList<qint64>{4242});
    EXPECT_EQ(pointer.warps, QList<QPoint>{(QPointF(80, 65) * rig.screen->devicePixelRatio()).toPoint()});
    EXPECT_EQ(flow->hud(), nullptr);
}

TEST_F(ScrollingCaptureFlowTest, EscapeSavesNothingAndBringsTheWindowBack)
{
    using F = ScrollingCaptureFlow;
    for (bool duringRun : {true, false}) {
        SCOPED_TRACE(duringRun ? "escape during the run" : "escape in the selector");
        rig.ended.clear();
        rig.statuses.clear();
        keys.escape = duringRun;
        RegionSelectorView *view = start(true);
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(view->prompt(), F::webPrompt);
        if (duringRun)
            dragOn(view, {30, 40}, {130, 90});
        else
            QTest::keyClick(view, Qt::Key_Escape);
        flushDeletions();
        ASSERT_TRUE(QTest::qWaitFor([this] { return !rig.ended.isEmpty(); }, 15000));
        EXPECT_EQ(rig.ended, QStringList{QString()});
        EXPECT_EQ(rig.statuses, (duringRun ? QStringList{F::selectingText, F::runningText, F::cancelledText}
                                           : QStringList{F::selectingText, F::cancelledText}));
        EXPECT_TRUE(rig.desktopFiles().isEmpty() && rig.host.visible && pointer.wheelSteps.isEmpty());
    }
    // Going away mid-run stops the loop instead of waiting out its polls.
    keys.escape = false;
    dragOn(start(false), {30, 40}, {130, 90});
    QElapsedTimer clock;
    clock.start();
    flow.reset();
    EXPECT_LT(clock.elapsed(), 3000);
}

} // namespace
