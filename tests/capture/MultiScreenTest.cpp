#include "capture/CaptureTestDoubles.h"
#include "capture/screenshot/ScreenshotFlow.h"

// Two offscreen screens side by side, at scale 2 and 1.5 (two-screens.json). The selector covers
// only the screen under the pointer, and the cut keeps that screen's density, widening
// fractional pixel edges outwards.
TEST(MultiScreen, CutsAtTheDensityOfTheScreenUnderThePointer)
{
    const QList<QScreen *> screens = QGuiApplication::screens();
    ASSERT_EQ(screens.size(), 2);
    ASSERT_EQ(std::tuple(screens[0]->geometry(), screens[1]->geometry(), screens[0]->devicePixelRatio(), screens[1]->devicePixelRatio()),
              std::tuple(QRect(0, 0, 800, 600), QRect(800, 100, 640, 480), 2.0, 1.5));
    // A point on the edge between two screens belongs to the one it starts; off every screen, the primary.
    FakeScreenEnvironment env;
    for (auto [pointer, expected] : {std::pair{QPoint(799, 599), screens[0]}, {QPoint(800, 100), screens[1]}, {QPoint(1000, 50), QGuiApplication::primaryScreen()}}) {
        env.pointer = pointer;
        EXPECT_EQ(env.screenUnderCursor(), expected) << pointer.x() << "," << pointer.y();
    }
    CaptureRig rig;
    ScreenshotFlow flow{{rig.host, rig.service, rig.selector, rig.grabber, rig.screens, rig.windowExits, rig.editors}};
    // Drags in the selector's own coordinates; cuts in the screen's device pixels.
    const struct { QScreen *screen; QPoint from, to; QRect pixels; } cases[] = {
        {screens[0], {100, 50}, {200, 100}, QRect(200, 100, 200, 100)},
        {screens[1], {600, 400}, {900, 900}, QRect(900, 600, 60, 120)},   // past the edge
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.screen->devicePixelRatio());
        rig.screens.pointer = c.screen->geometry().center();
        rig.grabber.image = coordinateImage(c.screen->geometry().size() * c.screen->devicePixelRatio());
        ScreenshotOutcome result;
        flow.takeScreenshot([&](const ScreenshotOutcome &outcome) { result = outcome; });
        ASSERT_NE(rig.view(), nullptr);
        EXPECT_EQ(rig.view()->geometry(), c.screen->geometry());
        dragOn(rig.view(), c.from, c.to);
        EXPECT_EQ(result.screen, c.screen);
        EXPECT_EQ(result.image.convertToFormat(QImage::Format_RGB32), rig.grabber.image.copy(c.pixels));
        flushDeletions();
    }
}
