#include "CaptureTestDoubles.h"
#include "SelectorDriving.h"

#include "capture/CaptureHost.h"
#include "capture/CaptureService.h"
#include "capture/RegionSelectorController.h"
#include "capture/RegionSelectorView.h"
#include "capture/ScreenshotFlow.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "storage/HistoryDatabase.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

class FakeHost : public CaptureHost {
public:
    bool visible = true;
    QString statusText = "Sẵn sàng";
    int shows = 0;
    QScreen *centredOn = nullptr;
    struct Opened {
        QImage image;
        QScreen *screen;
        QString path;
    };
    std::vector<Opened> editors;

    bool isWindowVisible() const override { return visible; }
    void hideWindow() override { visible = false; }
    void showWindowCentredOn(QScreen *screen) override
    {
        visible = true;
        ++shows;
        centredOn = screen;
    }
    QString status() const override { return statusText; }
    void setStatus(const QString &text) override { statusText = text; }
    void openEditor(const QImage &image, QScreen *screen, const QString &path) override
    {
        editors.push_back({image, screen, path});
    }
};

QImage pattern(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x & 0xff, y & 0xff, (x ^ y) & 0xff));
    return image;
}

class ScreenshotFlowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        database = std::make_unique<HistoryDatabase>(support.path());
        service = std::make_unique<CaptureService>(*database, support.path(), grabber, desktop.path());
        service->setClipboardWriter(std::make_unique<RecordingClipboard>(clipboard));
        auto staged = std::make_unique<StagedScreens>();
        staged->pointer = screen->geometry().center();
        screens = staged.get();
        service->setScreenEnvironment(std::move(staged));
        service->onStatus = [this](const QString &text) { host.setStatus(text); };
        grabber.image = pattern(screen->geometry().size() * screen->devicePixelRatio());
        flow = std::make_unique<ScreenshotFlow>(host, *service);
    }

    // Starts a capture and lets the deferred step open the selector.
    RegionSelectorView *start()
    {
        RegionSelectorController *before = service->regionSelector();
        flow->captureScreenshot();
        EXPECT_FALSE(host.visible);
        EXPECT_EQ(host.statusText, "Đang chọn vùng chụp…");
        EXPECT_EQ(service->regionSelector(), before);   // the grab waits for the next turn
        QCoreApplication::processEvents();
        return service->regionSelector() ? service->regionSelector()->view() : nullptr;
    }

    QStringList desktopFiles() const { return QDir(desktop.path()).entryList(QDir::Files); }

    QScreen *screen = QGuiApplication::primaryScreen();
    QTemporaryDir support, desktop;
    FakeScreenGrabber grabber;
    std::unique_ptr<HistoryDatabase> database;
    std::unique_ptr<CaptureService> service;
    StagedScreens *screens = nullptr;
    std::vector<std::unique_ptr<QMimeData>> clipboard;
    FakeHost host;
    std::unique_ptr<ScreenshotFlow> flow;
};

TEST_F(ScreenshotFlowTest, ADragSavesTheRegionAndHandsItToTheEditor)
{
    RegionSelectorView *view = start();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->prompt(), "Kéo chuột để chọn vùng chụp  •  Esc để hủy");
    EXPECT_EQ(grabber.requests, QList<QScreen *>{screen});

    dragOn(view, {30, 40}, {130, 90});
    flushDeletions();
    EXPECT_EQ(service->regionSelector(), nullptr);
    ASSERT_EQ(host.editors.size(), 1u);
    const qreal ratio = screen->devicePixelRatio();
    const QImage expected = grabber.image.copy(QRectF(30 * ratio, 40 * ratio, 100 * ratio, 50 * ratio).toRect());
    EXPECT_EQ(host.editors[0].image.convertToFormat(QImage::Format_RGB32), expected);
    EXPECT_EQ(host.editors[0].screen, screen);
    EXPECT_EQ(desktopFiles(), QStringList{QFileInfo(host.editors[0].path).fileName()});
    EXPECT_EQ(host.statusText, "Đã lưu và sao chép: " + QFileInfo(host.editors[0].path).fileName());
    EXPECT_FALSE(host.visible);   // the editor comes to the front instead
    EXPECT_EQ(database->recent().size(), 1);
    EXPECT_EQ(clipboard.size(), 1u);
}

TEST_F(ScreenshotFlowTest, ACancelBringsTheWindowBackOnlyIfItWasVisible)
{
    for (const bool wasVisible : {true, false}) {
        host = FakeHost();
        host.visible = wasVisible;
        RegionSelectorView *view = start();
        ASSERT_NE(view, nullptr);
        QTest::keyClick(view, Qt::Key_Escape);
        EXPECT_EQ(host.statusText, "Đã hủy chụp màn hình");
        EXPECT_EQ(host.visible, wasVisible);
        EXPECT_EQ(host.shows, wasVisible ? 1 : 0);
        EXPECT_EQ(host.centredOn, wasVisible ? screen : nullptr);
        EXPECT_TRUE(host.editors.empty());
        EXPECT_TRUE(desktopFiles().isEmpty());
        EXPECT_TRUE(clipboard.empty());
    }
}

TEST_F(ScreenshotFlowTest, AFailureTextIsLeftStanding)
{
    grabber.image = QImage();
    start();
    EXPECT_EQ(host.statusText, "Không thể chụp màn hình. Hãy kiểm tra quyền Ghi màn hình.");
    EXPECT_TRUE(host.visible);
    EXPECT_EQ(host.centredOn, screen);

    screens->noScreens = true;
    start();
    EXPECT_EQ(host.statusText, "Không tìm thấy màn hình để chụp");
    EXPECT_TRUE(host.visible);
    EXPECT_EQ(host.centredOn, nullptr);
    EXPECT_TRUE(desktopFiles().isEmpty());
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
    EXPECT_EQ(host.statusText, "Đang chọn vùng chụp…");
    QTest::keyClick(second, Qt::Key_Escape);
    EXPECT_EQ(host.statusText, "Đã hủy chụp màn hình");
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

    QImage edited(40, 40, QImage::Format_RGB32);
    edited.fill(Qt::red);
    flow->editingFinished(edited, path);
    EXPECT_EQ(host.statusText, "Đã cập nhật và sao chép: " + QFileInfo(path).fileName());
    EXPECT_EQ(QImage(path).convertToFormat(QImage::Format_RGB32), edited);
    EXPECT_EQ(database->recent().size(), 1);

    flow->editingFinished(QImage(), path);   // closed without saving: nothing changes
    EXPECT_EQ(clipboard.size(), 2u);

    flow->editingFinished(edited, desktop.filePath("gone/x.png"));
    EXPECT_EQ(host.statusText, "Không thể lưu ảnh đã chỉnh sửa");
    ASSERT_EQ(clipboard.size(), 3u);   // the edit is still on the clipboard
    EXPECT_TRUE(clipboard.back()->hasFormat("image/png"));
}

} // namespace
