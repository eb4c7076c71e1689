#pragma once

#include "platform/ScreenGrabber.h"

#include <QList>

class QScreen;

// Hands out a prepared image (or a null one, to play a failed grab) and remembers which
// screens were asked for.
class FakeScreenGrabber : public ScreenGrabber {
public:
    QImage image;
    QList<QScreen *> requests;

    QImage grabScreen(QScreen *screen) override
    {
        requests.append(screen);
        return image;
    }
};
