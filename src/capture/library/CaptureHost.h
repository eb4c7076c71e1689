#pragma once

class QScreen;

// What a capture flow needs of the main window: it steps aside while the screen is
// frozen or selected, and comes back when the capture came to nothing.
class CaptureHost {
public:
    virtual ~CaptureHost() = default;
    virtual bool isWindowVisible() const = 0;
    virtual void hideWindow() = 0;
    // Centres the window on screen (when given), shows it, brings it to front, activates.
    virtual void showWindowCentredOn(QScreen *screen) = 0;
};
