#include "platform/x11/XShmScreenGrabber.h"
#include "support/XvfbServer.h"

#include <QGuiApplication>
#include <QScreen>
#include <gtest/gtest.h>
#include <memory>

// Last: Xlib's macros (None, Bool, ...) clash with names in the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

using DisplayHandle = std::unique_ptr<Display, decltype(&XCloseDisplay)>;

// Pixel (x, y) is a colour made of x, y and the seed.
QImage pattern(QSize size, int seed)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb((x + seed) & 0xff, (y * 3) & 0xff, ((x >> 8) << 4 | (y >> 8)) & 0xff));
    return image;
}

// Paints the root window's background from a second client, as another program would.
QImage paintRoot(Display *display, int seed)
{
    const int screen = DefaultScreen(display);
    QImage image = pattern({DisplayWidth(display, screen), DisplayHeight(display, screen)}, seed);
    const Window root = RootWindow(display, screen);
    const auto w = unsigned(image.width()), h = unsigned(image.height());
    XImage *ximage = XCreateImage(display, DefaultVisual(display, screen), 24, ZPixmap, 0,
                                  reinterpret_cast<char *>(image.bits()), w, h, 32, int(image.bytesPerLine()));
    const Pixmap pixmap = XCreatePixmap(display, root, w, h, 24);
    XPutImage(display, pixmap, DefaultGC(display, screen), ximage, 0, 0, 0, 0, w, h);
    ximage->data = nullptr;   // the QImage owns the pixels
    XDestroyImage(ximage);
    XSetWindowBackgroundPixmap(display, root, pixmap);
    XClearWindow(display, root);
    XFreePixmap(display, pixmap);
    XSync(display, False);
    return image;
}

TEST(XShmScreenGrabber, ReadsTheWholeScreenAtDevicePixelsIntoImagesThatKeepTheirPixels)
{
    const DisplayHandle display(XOpenDisplay(nullptr), XCloseDisplay);
    QScreen *screen = QGuiApplication::primaryScreen();
    auto grabber = std::make_unique<XShmScreenGrabber>();
    const QImage painted = paintRoot(display.get(), 1);
    QImage first = grabber->grabScreen(screen);
    EXPECT_TRUE(grabber->sharedMemoryUsable());
    EXPECT_EQ(first.convertToFormat(QImage::Format_RGB32), painted);
    // At fractional scales Qt rounds the logical size; the grab keeps every device pixel.
    EXPECT_NEAR(first.width() / screen->devicePixelRatio(), screen->geometry().width(), 1.0);
    EXPECT_NEAR(first.height() / screen->devicePixelRatio(), screen->geometry().height(), 1.0);
    EXPECT_DOUBLE_EQ(first.devicePixelRatio(), screen->devicePixelRatio());

    // While an image is held its segment is not reused; once released, segments do not pile up,
    // and a held one outlives the grabber.
    QImage again;
    for (int seed = 2; seed < 6; ++seed) {
        const QImage expected = paintRoot(display.get(), seed);
        again = QImage();
        again = grabber->grabScreen(screen);
        EXPECT_EQ(again.convertToFormat(QImage::Format_RGB32), expected);
        EXPECT_EQ(first.convertToFormat(QImage::Format_RGB32), painted);
        EXPECT_EQ(grabber->segmentCount(), 2) << seed;
    }
    grabber.reset();
    EXPECT_EQ(first.convertToFormat(QImage::Format_RGB32), painted);
}

TEST(XShmScreenGrabber, WithoutTheExtensionGrabsThroughQtAtTheScreensScale)
{
    XvfbServer plain(QStringLiteral("64x64x24"), {"-extension", "MIT-SHM"});
    ASSERT_TRUE(plain.isRunning());
    const DisplayHandle noShm(XOpenDisplay(qPrintable(plain.display())), XCloseDisplay);
    const DisplayHandle display(XOpenDisplay(nullptr), XCloseDisplay);
    QScreen *screen = QGuiApplication::primaryScreen();
    const QImage painted = paintRoot(display.get(), 7);
    XShmScreenGrabber grabber(noShm.get());
    const QImage image = grabber.grabScreen(screen);
    EXPECT_FALSE(grabber.sharedMemoryUsable());
    EXPECT_EQ(image.convertToFormat(QImage::Format_RGB32), painted);
    EXPECT_DOUBLE_EQ(image.devicePixelRatio(), screen->devicePixelRatio());
}

} // namespace
