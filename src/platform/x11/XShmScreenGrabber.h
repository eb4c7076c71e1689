#pragma once

#include "platform/ScreenGrabber.h"

#include <QList>
#include <QSize>

typedef struct _XDisplay Display;

// Reads the root window through the MIT shared-memory extension, the fastest way to
// freeze a screen on a local X server. Falls back to QScreen::grabWindow when the
// display is remote, has no XShm, or uses a pixel layout other than 32-bit xRGB.
//
// The image handed out is the shared segment itself, not a copy: copying a 4K frame
// costs more than reading it. A segment is reused once every copy of its image is gone;
// while one is still held (a selection in progress, the clipboard), the next grab gets
// a new one. It reads the screen as it is: waiting for windows that are leaving is the
// caller's (WindowExitWatcher). GUI thread only, images included.
class XShmScreenGrabber : public ScreenGrabber {
public:
    // display: the X connection to read from; null means Qt's own connection.
    explicit XShmScreenGrabber(Display *display = nullptr);
    ~XShmScreenGrabber() override;
    XShmScreenGrabber(const XShmScreenGrabber &) = delete;
    XShmScreenGrabber &operator=(const XShmScreenGrabber &) = delete;

    QImage grabScreen(QScreen *screen) override;

    // False once XShm has failed or was found unusable; grabs then go through Qt.
    bool sharedMemoryUsable() const { return m_shmUsable; }
    // Segments kept, busy or idle (for tests and benchmarks).
    qsizetype segmentCount() const { return m_segments.size(); }

    struct Segment;

private:
    QImage grabShared(QScreen *screen);
    Display *display();
    bool checkSharedMemory();
    Segment *idleSegment(const QSize &size);
    Segment *createSegment(const QSize &size);

    Display *m_display = nullptr;
    bool m_shmUsable = true;
    bool m_checked = false;
    QList<Segment *> m_segments;
};
