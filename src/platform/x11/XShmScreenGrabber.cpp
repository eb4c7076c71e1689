#include "platform/x11/XShmScreenGrabber.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

struct XShmScreenGrabber::Segment {
    XShmSegmentInfo info{};
    XImage *image = nullptr;
    QSize size;
    bool busy = false;       // an image on it is alive
    bool orphaned = false;   // the grabber is gone; the last image frees the segment
};

namespace {

// Idle segments kept for the next grab beyond the one in use.
constexpr qsizetype idleSegmentsKept = 1;

// Frees the memory on our side; the server lets go when it is detached or we disconnect.
void freeSegmentMemory(XShmScreenGrabber::Segment *segment)
{
    shmdt(segment->info.shmaddr);
    segment->image->data = nullptr;
    XDestroyImage(segment->image);
    delete segment;
}

void imageReleased(void *info)
{
    auto *segment = static_cast<XShmScreenGrabber::Segment *>(info);
    if (segment->orphaned)
        freeSegmentMemory(segment);
    else
        segment->busy = false;
}

// The rectangle of the screen in root-window pixels. Qt keeps a screen's top-left corner
// in native pixels and scales only its size.
QRect nativeRect(QScreen *screen)
{
    const QRect logical = screen->geometry();
    const qreal ratio = screen->devicePixelRatio();
    return QRect(logical.topLeft(),
                 QSize(qRound(logical.width() * ratio), qRound(logical.height() * ratio)));
}

QImage grabThroughQt(QScreen *screen)
{
    QImage image = screen->grabWindow(0).toImage();
    if (image.isNull())
        return {};
    image = image.convertToFormat(QImage::Format_RGB32);
    image.setDevicePixelRatio(screen->devicePixelRatio());
    return image;
}

} // namespace

XShmScreenGrabber::XShmScreenGrabber(Display *display) : m_display(display) {}

XShmScreenGrabber::~XShmScreenGrabber()
{
    for (Segment *segment : std::as_const(m_segments)) {
        if (segment->busy) {
            segment->orphaned = true;
            continue;
        }
        XShmDetach(m_display, &segment->info);
        freeSegmentMemory(segment);
    }
    if (m_display && !m_segments.isEmpty())
        XSync(m_display, False);
}

Display *XShmScreenGrabber::display()
{
    if (!m_display && qGuiApp) {
        if (auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
            m_display = x11->display();
    }
    return m_display;
}

QImage XShmScreenGrabber::grabScreen(QScreen *screen)
{
    if (!screen)
        return {};
    if (m_shmUsable) {
        QImage image = grabShared(screen);
        if (!image.isNull())
            return image;
    }
    return grabThroughQt(screen);
}

bool XShmScreenGrabber::checkSharedMemory()
{
    if (m_checked)
        return m_shmUsable;
    m_checked = true;
    Display *dpy = display();
    int depth = 0;
    Visual *visual = nullptr;
    if (dpy) {
        depth = DefaultDepth(dpy, DefaultScreen(dpy));
        visual = DefaultVisual(dpy, DefaultScreen(dpy));
    }
    // Only the layout that maps straight onto QImage::Format_RGB32 is read directly.
    m_shmUsable = dpy && XShmQueryExtension(dpy) && visual && (depth == 24 || depth == 32)
        && visual->red_mask == 0xff0000 && visual->green_mask == 0xff00
        && visual->blue_mask == 0xff && ImageByteOrder(dpy) == LSBFirst;
    return m_shmUsable;
}

QImage XShmScreenGrabber::grabShared(QScreen *screen)
{
    if (!checkSharedMemory())
        return {};
    const Window root = DefaultRootWindow(m_display);
    XWindowAttributes rootAttributes;
    if (!XGetWindowAttributes(m_display, root, &rootAttributes))
        return {};
    const QRect rect = nativeRect(screen).intersected(
        QRect(0, 0, rootAttributes.width, rootAttributes.height));
    if (rect.isEmpty())
        return {};
    Segment *segment = idleSegment(rect.size());
    if (!segment)
        return {};
    if (!XShmGetImage(m_display, root, segment->image, rect.x(), rect.y(), AllPlanes)) {
        m_shmUsable = false;
        return {};
    }
    segment->busy = true;
    QImage image(reinterpret_cast<uchar *>(segment->image->data), rect.width(), rect.height(),
                 segment->image->bytes_per_line, QImage::Format_RGB32, imageReleased, segment);
    image.setDevicePixelRatio(screen->devicePixelRatio());
    return image;
}

XShmScreenGrabber::Segment *XShmScreenGrabber::idleSegment(const QSize &size)
{
    Segment *found = nullptr;
    qsizetype idleKept = 0;
    for (qsizetype i = m_segments.size() - 1; i >= 0; --i) {
        Segment *segment = m_segments[i];
        if (segment->busy)
            continue;
        if (!found && segment->size == size) {
            found = segment;
        } else if (segment->size != size || ++idleKept > idleSegmentsKept) {
            XShmDetach(m_display, &segment->info);
            freeSegmentMemory(segment);
            m_segments.removeAt(i);
        }
    }
    return found ? found : createSegment(size);
}

XShmScreenGrabber::Segment *XShmScreenGrabber::createSegment(const QSize &size)
{
    const int screenNumber = DefaultScreen(m_display);
    auto *segment = new Segment;
    segment->size = size;
    segment->image = XShmCreateImage(m_display, DefaultVisual(m_display, screenNumber),
                                     unsigned(DefaultDepth(m_display, screenNumber)), ZPixmap,
                                     nullptr, &segment->info, unsigned(size.width()),
                                     unsigned(size.height()));
    if (!segment->image || segment->image->bits_per_pixel != 32) {
        if (segment->image)
            XDestroyImage(segment->image);
        delete segment;
        m_shmUsable = false;
        return nullptr;
    }
    const size_t bytes = size_t(segment->image->bytes_per_line) * size_t(size.height());
    segment->info.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    segment->info.shmaddr = segment->info.shmid < 0
        ? reinterpret_cast<char *>(-1)
        : static_cast<char *>(shmat(segment->info.shmid, nullptr, 0));
    const bool mapped = segment->info.shmaddr != reinterpret_cast<char *>(-1);
    segment->image->data = mapped ? segment->info.shmaddr : nullptr;
    segment->info.readOnly = False;
    const bool attached = mapped && XShmAttach(m_display, &segment->info);
    if (segment->info.shmid >= 0) {
        XSync(m_display, False);
        // Marked for removal now so the segment cannot outlive the process.
        shmctl(segment->info.shmid, IPC_RMID, nullptr);
    }
    if (!attached) {
        if (mapped)
            shmdt(segment->info.shmaddr);
        segment->image->data = nullptr;
        XDestroyImage(segment->image);
        delete segment;
        m_shmUsable = false;
        return nullptr;
    }
    m_segments.append(segment);
    return segment;
}
