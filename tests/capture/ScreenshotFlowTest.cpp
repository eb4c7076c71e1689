#include "CaptureTestDoubles.h"
#include "SelectorDriving.h"

#include "capture/CaptureHost.h"
#include "capture/RegionSelectorController.h"
#include "capture/RegionSelectorView.h"
#include "capture/ScreenshotFlow.h"

#include <QFileInfo>
#include <gtest/gtest.h>

namespace {

// The main window, as far as a capture flow sees it.
class FakeHost : public CaptureHost {
public:
    struct Opened { QImage image; QScreen *screen; QString path; };
    bool visible = true;
    QString statusText = "Sẵn sàng";
    int shows = 0;
    QScreen *centredOn = nullptr;
    std::vector<Opened> editors;

    bool isWindowVisible() const override { return visible; }
    void hideWindow() override { visible = false; }
    void showWindowCentredOn(QScreen *screen) override { visible = true; ++shows; centredOn = screen; }
    QString status() const override { return statusText; }
    void setStatus(const QString &text) override { statusText = text; }
    void openEditor(const QImage &image, QScreen *screen, const QString &path) override
    {
        editors.push_back({image, screen, path});
    }
};

class ScreenshotFlowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        rig.screens->pointer = screen->geometry().center();
        rig.service.onStatus = [this](const QString &text) {
            rig.statuses.append(text);
            host.setStatus(text);
        };
        rig.grabber.image = coordinateImage(screen->geometry().size() * screen->devicePixelRatio());
    }

    // Starts a capture and lets the deferred step open the selector.
    RegionSelectorView *start()
    {
        RegionSelectorController *before = rig.service.regionSelector();
        flow.captureScreenshot();
        EXPECT_FALSE(host.visible);
        EXPECT_EQ(host.statusText, CaptureService::selectingText);
        EXPECT_EQ(rig.service.regionSelector(), before);   // the grab waits for the next turn
        QCoreApplication::processEvents();
        return rig.service.regionSelector() ? rig.service.regionSelector()->view() : nullptr;
    }

    QScreen *screen = QGuiApplication::primaryScreen();
    CaptureRig rig;
    FakeHost host;
    ScreenshotFlow flow{host, rig.service};
};

TEST_F(ScreenshotFlowTest, ADragSavesTheRegionAndHandsItToTheEditor)
{
    RegionSelectorView *view = start();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->prompt(), CaptureService::screenshotPrompt);
    EXPECT_EQ(rig.grabber.requests, QList<QScreen *>{screen});

    dragOn(view, {30, 40}, {130, 90});
    flushDeletions();
    EXPECT_EQ(rig.service.regionSelector(), nullptr);
    ASSERT_EQ(host.editors.size(), 1u);
    const qreal ratio = screen->devicePixelRatio();
    const QImage expected = rig.grabber.image.copy(QRectF(30 * ratio, 40 * ratio, 100 * ratio, 50 * ratio).toRect());
    EXPECT_EQ(host.editors[0].image.convertToFormat(QImage::Format_RGB32), expected);
    EXPECT_EQ(host.editors[0].screen, screen);
    const QString name = QFileInfo(host.editors[0].path).fileName();
    EXPECT_EQ(rig.desktopFiles(), QStringList{name});
    EXPECT_EQ(rig.statuses, (QStringList{CaptureService::selectingText, CaptureService::savedPrefix + name}));
    EXPECT_FALSE(host.visible);   // the editor comes to the front instead
}

TEST_F(ScreenshotFlowTest, ACancelBringsTheWindowBackOnlyIfItWasVisible)
{
    for (const bool wasVisible : {true, false}) {
        host = FakeHost();
        host.visible = wasVisible;
        RegionSelectorView *view = start();
        ASSERT_NE(view, nullptr);
        QTest::keyClick(view, Qt::Key_Escape);
        EXPECT_EQ(host.statusText, CaptureService::cancelledText);
        EXPECT_EQ(host.visible, wasVisible);
        EXPECT_EQ(host.shows, wasVisible ? 1 : 0);
        EXPECT_EQ(host.centredOn, wasVisible ? screen : nullptr);
        EXPECT_TRUE(host.editors.empty());
        EXPECT_TRUE(rig.desktopFiles().isEmpty());
    }
}

TEST_F(ScreenshotFlowTest, AFailureTextIsLeftStanding)
{
    struct Case { const char *name; bool noScreens; QString status; QScreen *centredOn; qsizetype grabs; };
    const Case cases[] = {
        {"grab fails", false, CaptureService::grabFailedText, screen, 1},
        {"no screen", true, CaptureService::noScreenText, nullptr, 0},
    };
    rig.grabber.image = QImage();
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        host = FakeHost();
        rig.statuses.clear();
        rig.grabber.requests.clear();
        rig.screens->noScreens = c.noScreens;
        start();
        EXPECT_EQ(rig.statuses, (QStringList{CaptureService::selectingText, c.status}));
        EXPECT_EQ(host.statusText, c.status);
        EXPECT_EQ(host.shows, 1);   // the completion ran exactly once
        EXPECT_EQ(host.centredOn, c.centredOn);
        EXPECT_EQ(rig.grabber.requests.size(), c.grabs);
        EXPECT_EQ(rig.service.regionSelector(), nullptr);
        EXPECT_TRUE(rig.desktopFiles().isEmpty());
    }
}

TEST_F(ScreenshotFlowTest, ASecondCaptureReplacesTheFirstSelectorSilently)
{
    RegionSelectorView *first = start();
    ASSERT_NE(first, nullptr);
    QPointer<QWidget> firstView = first;
    RegionSelectorView *second = start();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_TRUE(!firstView || !firstView->isVisible());
    EXPECT_EQ(host.statusText, CaptureService::selectingText);
    QTest::keyClick(second, Qt::Key_Escape);
    EXPECT_EQ(host.statusText, CaptureService::cancelledText);
    // The second capture began with the window already hidden, so it stays hidden.
    EXPECT_EQ(host.shows, 0);
}

TEST_F(ScreenshotFlowTest, EditedImagesOverwriteTheCapture)
{
    RegionSelectorView *view = start();
    ASSERT_NE(view, nullptr);
    dragOn(view, {0, 0}, {40, 40});
    ASSERT_EQ(host.editors.size(), 1u);
    const QString path = host.editors[0].path;
    rig.statuses.clear();

    QImage edited(40, 40, QImage::Format_RGB32);
    edited.fill(Qt::red);
    flow.editingFinished(edited, path);
    EXPECT_EQ(rig.statuses, QStringList{CaptureService::replacedPrefix + QFileInfo(path).fileName()});
    EXPECT_EQ(QImage(path).convertToFormat(QImage::Format_RGB32), edited);
    EXPECT_EQ(rig.database.recent().size(), 1);   // no new row
    EXPECT_EQ(rig.historyChanges, 2);
    EXPECT_EQ(rig.clipboard.size(), 2u);

    flow.editingFinished(QImage(), path);   // closed without saving: nothing changes
    EXPECT_EQ(rig.clipboard.size(), 2u);
    EXPECT_EQ(host.statusText, rig.statuses.last());

    flow.editingFinished(edited, rig.desktop() + "/gone/x.png");
    EXPECT_EQ(host.statusText, ScreenshotFlow::editSaveFailedText);
    ASSERT_EQ(rig.clipboard.size(), 3u);   // the edit is still on the clipboard
    EXPECT_TRUE(rig.clipboard.back()->hasFormat("image/png"));
    EXPECT_EQ(rig.historyChanges, 2);
}

} // namespace
