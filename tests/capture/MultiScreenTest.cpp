#include "capture/CaptureTestDoubles.h"
#include "capture/selector/SelectorDriving.h"

#include "capture/selector/RegionSelectorController.h"
#include "capture/selector/RegionSelectorView.h"

#include <gtest/gtest.h>

namespace {

class MultiScreen : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Everything below relies on the layout of two-screens.json.
        ASSERT_EQ(screens.size(), 2);
        ASSERT_EQ(screens[0]->geometry(), QRect(0, 0, 800, 600));
        ASSERT_DOUBLE_EQ(screens[0]->devicePixelRatio(), 2.0);
        ASSERT_EQ(screens[1]->geometry(), QRect(800, 100, 640, 480));
        ASSERT_DOUBLE_EQ(screens[1]->devicePixelRatio(), 1.5);
    }
    const QList<QScreen *> screens = QGuiApplication::screens();
};

TEST_F(MultiScreen, PicksTheScreenUnderThePointer)
{
    FakeScreenEnvironment env;
    const struct {
        QPoint pointer;
        QScreen *expected;
    } cases[] = {
        {{799, 599}, screens[0]},
        {{800, 100}, screens[1]},
        {{1000, 50}, QGuiApplication::primaryScreen()},   // above the right screen
    };
    for (const auto &c : cases) {
        env.pointer = c.pointer;
        EXPECT_EQ(env.screenUnderCursor(), c.expected) << c.pointer.x() << "," << c.pointer.y();
    }
}

// The selector covers only the screen under the pointer, and the cut keeps that
// screen's density, widening fractional pixel edges outwards.
TEST_F(MultiScreen, CutsAtTheDensityOfTheScreenUnderThePointer)
{
    ScreenshotRig rig;
    const struct {
        const char *name;
        QScreen *screen;
        QPoint from, to;      // in the selector's own coordinates
        QRect pixels;         // expected cut, in the screen's device pixels
    } cases[] = {
        {"scale 2", screens[0], {100, 50}, {200, 100}, QRect(200, 100, 200, 100)},
        {"scale 1.5 widened", screens[1], {11, 11}, {111, 61}, QRect(16, 16, 151, 76)},
        {"scale 1.5 dragged past the edge", screens[1], {600, 400}, {900, 900}, QRect(900, 600, 60, 120)},
    };
    for (const auto &c : cases) {
        rig.screens.pointer = c.screen->geometry().center();
        rig.grabber.image = coordinateImage(c.screen->geometry().size() * c.screen->devicePixelRatio());
        QImage result;
        QScreen *resultScreen = nullptr;
        rig.flow.takeScreenshot([&](const ScreenshotOutcome &outcome) {
            result = outcome.image;
            resultScreen = outcome.screen;
        });
        ASSERT_NE(rig.selector.current(), nullptr) << c.name;
        RegionSelectorView *view = rig.selector.current()->view();
        EXPECT_EQ(view->geometry(), c.screen->geometry()) << c.name;
        dragOn(view, c.from, c.to);
        ASSERT_FALSE(result.isNull()) << c.name;
        EXPECT_EQ(resultScreen, c.screen) << c.name;
        EXPECT_EQ(result.convertToFormat(QImage::Format_RGB32), rig.grabber.image.copy(c.pixels)) << c.name;
        flushDeletions();
    }
}

} // namespace
