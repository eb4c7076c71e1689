#include "platform/x11/XShmScreenGrabber.h"

#include <QGuiApplication>
#include <QScreen>
#include <gtest/gtest.h>

#include <memory>

// Last: Xlib's macros (None, Bool, ...) clash with names in the headers above.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

// A second client that paints the root window's background, as another program would:
// pixel (x, y) is a colour made of x, y and the seed.
class RootPainter {
public:
    ~RootPainter() { XCloseDisplay(m_display); }
    QSize size() const { return {DisplayWidth(m_display, m_screen), DisplayHeight(m_display, m_screen)}; }
    QImage pattern(int seed) const
    {
        QImage image(size(), QImage::Format_RGB32);
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                image.setPixel(x, y, qRgb((x + seed) & 0xff, (y * 3) & 0xff, ((x >> 8) << 4 | (y >> 8)) & 0xff));
        return image;
    }

    void paint(int seed)
    {
        QImage image = pattern(seed);
        const Window root = RootWindow(m_display, m_screen);
        const auto w = unsigned(image.width()), h = unsigned(image.height());
        XImage *ximage = XCreateImage(m_display, DefaultVisual(m_display, m_screen), 24, ZPixmap, 0,
                                      reinterpret_cast<char *>(image.bits()), w, h, 32, int(image.bytesPerLine()));
        const Pixmap pixmap = XCreatePixmap(m_display, root, w, h, 24);
        XPutImage(m_display, pixmap, DefaultGC(m_display, m_screen), ximage, 0, 0, 0, 0, w, h);
        ximage->data = nullptr;   // the QImage owns the pixels
        XDestroyImage(ximage);
        XSetWindowBackgroundPixmap(m_display, root, pixmap);
        XClearWindow(m_display, root);
        XFreePixmap(m_display, pixmap);
        XSync(m_display, False);
    }

private:
    Display *m_display = XOpenDisplay(nullptr);
    int m_screen = DefaultScreen(m_display);
};

TEST(XShmScreenGrabber, ReadsTheWholeScreenAtDevicePixelsIntoImagesThatKeepTheirPixels)
{
    RootPainter painter;
    QScreen *screen = QGuiApplication::primaryScreen();
    auto grabber = std::make_unique<XShmScreenGrabber>();
    painter.paint(1);
    QImage first = grabber->grabScreen(screen);
    ASSERT_FALSE(first.isNull());
    EXPECT_TRUE(grabber->sharedMemoryUsable());
    EXPECT_EQ(first.size(), painter.size());
    // At fractional scales Qt rounds the logical size; the grab keeps every device pixel.
    EXPECT_NEAR(first.width() / screen->devicePixelRatio(), screen->geometry().width(), 1.0);
    EXPECT_NEAR(first.height() / screen->devicePixelRatio(), screen->geometry().height(), 1.0);
    EXPECT_DOUBLE_EQ(first.devicePixelRatio(), screen->devicePixelRatio());
    painter.paint(2);
    QImage second = grabber->grabScreen(screen);
    EXPECT_EQ(grabber->segmentCount(), 2);
    EXPECT_EQ(first.convertToFormat(QImage::Format_RGB32), painter.pattern(1));
    EXPECT_EQ(second.convertToFormat(QImage::Format_RGB32), painter.pattern(2));

    // Once released, segments are reused rather than piling up; a held one outlives the grabber.
    first = second = QImage();
    QImage again;
    for (int seed = 3; seed < 6; ++seed) {
        painter.paint(seed);
        again = grabber->grabScreen(screen);
        EXPECT_EQ(again.convertToFormat(QImage::Format_RGB32), painter.pattern(seed));
        EXPECT_LE(grabber->segmentCount(), 2) << seed;
    }
    grabber.reset();
    EXPECT_EQ(again.convertToFormat(QImage::Format_RGB32), painter.pattern(5));
}

} // namespace
