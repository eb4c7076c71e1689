#include "CaptureTestDoubles.h"
#include "SelectorDriving.h"

#include "capture/CaptureService.h"
#include "capture/RegionSelectorController.h"
#include "capture/RegionSelectorView.h"
#include "platform/fake/FakeScreenGrabber.h"
#include "storage/HistoryDatabase.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QImage pattern(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(x & 0xff, y & 0xff, ((x >> 8) << 4) | (y >> 8)));
    return image;
}

TEST(MultiScreen, TheScreenLayoutIsTheOneConfigured)
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    ASSERT_EQ(screens.size(), 2);
    EXPECT_EQ(screens[0]->geometry(), QRect(0, 0, 800, 600));
    EXPECT_DOUBLE_EQ(screens[0]->devicePixelRatio(), 2.0);
    EXPECT_EQ(screens[1]->geometry(), QRect(800, 100, 640, 480));
    EXPECT_DOUBLE_EQ(screens[1]->devicePixelRatio(), 1.5);
}

TEST(MultiScreen, PicksTheScreenUnderThePointer)
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    StagedScreens env;
    const struct {
        QPoint pointer;
        QScreen *expected;
    } cases[] = {
        {{10, 10}, screens[0]},
        {{799, 599}, screens[0]},
        {{800, 100}, screens[1]},
        {{1000, 300}, screens[1]},
        {{1000, 50}, QGuiApplication::primaryScreen()},   // above the right screen
        {{-5, -5}, QGuiApplication::primaryScreen()},
    };
    for (const auto &c : cases) {
        env.pointer = c.pointer;
        EXPECT_EQ(env.screenUnderCursor(), c.expected) << c.pointer.x() << "," << c.pointer.y();
    }
}

// The selector covers only the screen under the pointer, and the cut keeps that
// screen's density, widening fractional pixel edges outwards.
TEST(MultiScreen, CutsAtTheDensityOfTheScreenUnderThePointer)
{
    QTemporaryDir folder;
    HistoryDatabase database(folder.path());
    FakeScreenGrabber grabber;
    CaptureService service(database, folder.path(), grabber, folder.path());
    auto staged = std::make_unique<StagedScreens>();
    StagedScreens *env = staged.get();
    service.setScreenEnvironment(std::move(staged));

    const QList<QScreen *> screens = QGuiApplication::screens();
    const struct {
        const char *name;
        QScreen *screen;
        QPoint from, to;      // in the selector's own coordinates
        QRect pixels;         // expected cut, in the screen's device pixels
    } cases[] = {
        {"scale 2", screens[0], {100, 50}, {200, 100}, QRect(200, 100, 200, 100)},
        {"scale 1.5 whole pixels", screens[1], {10, 10}, {110, 60}, QRect(15, 15, 150, 75)},
        {"scale 1.5 widened", screens[1], {11, 11}, {111, 61}, QRect(16, 16, 151, 76)},
        {"scale 1.5 dragged past the edge", screens[1], {600, 400}, {900, 900}, QRect(900, 600, 60, 120)},
    };
    for (const auto &c : cases) {
        env->pointer = c.screen->geometry().center();
        grabber.image = pattern(c.screen->geometry().size() * c.screen->devicePixelRatio());
        QImage result;
        QScreen *resultScreen = nullptr;
        service.takeScreenshot([&](const QImage &image, QScreen *screen) {
            result = image;
            resultScreen = screen;
        });
        ASSERT_NE(service.regionSelector(), nullptr) << c.name;
        RegionSelectorView *view = service.regionSelector()->view();
        EXPECT_EQ(view->geometry(), c.screen->geometry()) << c.name;
        dragOn(view, c.from, c.to);
        ASSERT_FALSE(result.isNull()) << c.name;
        EXPECT_EQ(resultScreen, c.screen) << c.name;
        EXPECT_EQ(result.size(), c.pixels.size()) << c.name;
        EXPECT_EQ(result.convertToFormat(QImage::Format_RGB32), grabber.image.copy(c.pixels)) << c.name;
        flushDeletions();
    }
}

} // namespace
