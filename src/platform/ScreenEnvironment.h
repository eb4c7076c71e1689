#pragma once

#include <QList>
#include <QPoint>
#include <QSize>
#include <optional>

class QScreen;

// The screens and the pointer as the app sees them. Qt's own answers by default; tests
// override them to play a missing screen or a pointer on another screen. GUI thread only.
class ScreenEnvironment {
public:
    virtual ~ScreenEnvironment() = default;
    virtual QList<QScreen *> screens() const;
    virtual QScreen *primaryScreen() const;
    virtual QPoint cursorPosition() const;

    // The first screen containing point; else the primary screen; else the first; else null.
    QScreen *screenContaining(const QPoint &point) const;
    QScreen *screenUnderCursor() const { return screenContaining(cursorPosition()); }

    // Where a window frame of frameSize goes to sit centred in the screen's available
    // area; the screen under the pointer when none is given; nothing without any screen.
    std::optional<QPoint> centredTopLeft(const QSize &frameSize, QScreen *screen = nullptr) const;
};
