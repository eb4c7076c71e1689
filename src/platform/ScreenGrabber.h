#pragma once

#include <QImage>

class QScreen;

// Freezes one screen: its whole image at device pixels (the screen's size in logical
// pixels times its device pixel ratio), rows top to bottom. GUI thread only.
class ScreenGrabber {
public:
    virtual ~ScreenGrabber() = default;
    // A null image when the screen cannot be read.
    virtual QImage grabScreen(QScreen *screen) = 0;
};
