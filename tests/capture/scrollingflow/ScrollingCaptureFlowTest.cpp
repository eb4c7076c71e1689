#include "capture/CaptureTestDoubles.h"
#include "capture/selector/SelectorDriving.h"

#include "capture/scrollingflow/ScrollingCaptureFlow.h"
#include "capture/scrollingflow/ScrollingCaptureHUDController.h"
#include "capture/selector/RegionSelectorController.h"
#include "capture/selector/RegionSelectorView.h"
#include "platform/fake/FakeApplicationRegistry.h"
#include "platform/fake/FakeScrollInput.h"

#include <QLabel>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

struct ScrollingRig : CaptureRig {
    FakeHost host;
    FakeEditorLauncher editors;
    RegionSelectorSlot selector{screens};
    FakeApplicationRegistry applications;
    FakeWindowList windows;
    FakePointerInput pointer;
    FakeKeyStateReader keys;
    ScrollingCaptureFlow flow{{host, service, selector, screens, editors,
                               {grabber, applications, windows, pointer, keys}}};
};

class ScrollingCaptureFlowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        rig.screens.pointer = screen->geometry().center();
        rig.grabber.image = coordinateImage(screen->geometry().size() * screen->devicePixelRatio());
        QObject::connect(&rig.flow, &ScrollingCaptureFlow::ended, [this](const QString &path) { ended << path; });
    }

    RegionSelectorView *start(bool automaticWeb)
    {
        rig.flow.captureScrollingScreenshot(automaticWeb);
        EXPECT_FALSE(rig.host.visible);
        QCoreApplication::processEvents();
        return rig.selector.current() ? rig.selector.current()->view() : nullptr;
    }

    bool waitForEnd() { return QTest::qWaitFor([this] { return !ended.isEmpty(); }, 15000); }

    QScreen *screen = QGuiApplication::primaryScreen();
    ScrollingRig rig;
    QStringList ended;
};

} // namespace

TEST(ScrollingCaptureHUD, StaysClearOfTheRegion)
{
    const QRect available(0, 0, 1920, 1040);
    struct Case {
        const char *name;
        QRectF region;
        std::optional<QPoint> position;
    } cases[] = {
        {"region elsewhere: top right", {100, 300, 800, 600}, QPoint(1576, 24)},
        {"region under the top right: top left", {1200, 0, 720, 500}, QPoint(24, 24)},
        {"top half covered: bottom right", {0, 0, 1920, 400}, QPoint(1576, 918)},
        {"touching the panel's edge counts", {1575, 0, 100, 100}, QPoint(24, 24)},
        {"whole screen: not shown", {0, 0, 1920, 1080}, std::nullopt},
    };
    for (const Case &c : cases)
        EXPECT_EQ(ScrollingCaptureHUDController::placement(available, c.region), c.position) << c.name;
}

TEST(ScrollingCaptureHUD, PanelTextsFollowTheRun)
{
    ScrollingCaptureHUDController hud(QGuiApplication::primaryScreen(), QRectF(0, 300, 100, 100));
    EXPECT_EQ(hud.titleField()->text(), "↧  ĐANG CHỤP CUỘN");
    EXPECT_EQ(hud.detailField()->text(), "Đang chụp ảnh 1…");
    hud.update(12, true);
    EXPECT_EQ(hud.detailField()->text(), "Đang chụp ảnh 12…");
    EXPECT_EQ(hud.hintField()->text(), "Tự cuộn ứng dụng • Enter hoàn tất • Esc hủy");
    hud.complete(7);
    EXPECT_EQ(hud.titleField()->text(), "✓  HOÀN TẤT");
    EXPECT_EQ(hud.detailField()->text(), "Đã ghép 7 ảnh");
    EXPECT_EQ(hud.hintField()->text(), "Đang mở trình chỉnh sửa…");
    // Never focused, never in the way of a click.
    const QWidget *panel = hud.panel();
    EXPECT_TRUE(panel->windowFlags() & Qt::WindowDoesNotAcceptFocus);
    EXPECT_TRUE(panel->windowFlags() & Qt::WindowTransparentForInput);
    EXPECT_TRUE(panel->testAttribute(Qt::WA_ShowWithoutActivating));
    // Title above detail above hint.
    EXPECT_LT(hud.titleField()->y(), hud.detailField()->y());
    EXPECT_LT(hud.detailField()->y(), hud.hintField()->y());
}

TEST_F(ScrollingCaptureFlowTest, ReturnHeldSavesOneFrameAndOpensTheEditor)
{
    rig.keys.enter = true;
    rig.windows.windows = {{4242, WindowList::normalLayer, QRect(QPoint(0, 0), screen->geometry().size() * 2)}};
    RegionSelectorView *view = start(false);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->prompt(), ScrollingCaptureFlow::manualPrompt);
    dragOn(view, {30, 40}, {130, 90});
    flushDeletions();
    ASSERT_TRUE(waitForEnd());

    ASSERT_EQ(rig.desktopFiles().size(), 1);
    const QString name = rig.desktopFiles().first();
    EXPECT_TRUE(name.startsWith("ScrollingCapture_")) << name.toStdString();
    EXPECT_EQ(ended, QStringList{QDir(rig.desktop()).filePath(name)});
    EXPECT_EQ(rig.statuses, (QStringList{ScrollingCaptureFlow::selectingText, ScrollingCaptureFlow::runningText,
                                         ScrollingCaptureFlow::doneText, CaptureService::savedPrefix + name}));
    ASSERT_EQ(rig.editors.opened.size(), 1u);
    const qreal ratio = screen->devicePixelRatio();
    const QImage expected = rig.grabber.image.copy(QRectF(30 * ratio, 40 * ratio, 100 * ratio, 50 * ratio).toRect());
    EXPECT_EQ(rig.editors.opened[0].image.convertToFormat(QImage::Format_RGB32), expected);
    EXPECT_EQ(rig.editors.opened[0].image.deviceIndependentSize(), QSizeF(100, 50));
    EXPECT_EQ(rig.applications.activated, QList<qint64>{4242});
    EXPECT_EQ(rig.pointer.warps, QList<QPoint>{(QPointF(80, 65) * ratio).toPoint()});
    EXPECT_EQ(rig.flow.hud(), nullptr);
}

TEST_F(ScrollingCaptureFlowTest, EscapeOrNoRegionSavesNothingAndBringsTheWindowBack)
{
    for (bool escapeDuringRun : {true, false}) {
        ended.clear();
        rig.statuses.clear();
        rig.host.visible = true;
        rig.keys.escape = escapeDuringRun;
        RegionSelectorView *view = start(true);
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(view->prompt(), ScrollingCaptureFlow::webPrompt);
        if (escapeDuringRun)
            dragOn(view, {30, 40}, {130, 90});
        else
            QTest::keyClick(view, Qt::Key_Escape);
        flushDeletions();
        ASSERT_TRUE(waitForEnd());
        EXPECT_EQ(ended, QStringList{QString()});
        EXPECT_EQ(rig.statuses.last(), ScrollingCaptureFlow::cancelledText);
        EXPECT_TRUE(rig.desktopFiles().isEmpty());
        EXPECT_TRUE(rig.host.visible);
        EXPECT_TRUE(rig.pointer.wheelSteps.isEmpty());
    }
}
