#pragma once

#include <QList>
#include <QPoint>

class QScreen;

// The screens and the pointer as the capture flows see them. Qt's own answers by default;
// tests override them to play a missing screen or a pointer on another screen.
class ScreenEnvironment {
public:
    virtual ~ScreenEnvironment() = default;
    virtual QList<QScreen *> screens() const;
    virtual QScreen *primaryScreen() const;
    virtual QPoint cursorPosition() const;

    // The first screen containing point; else the primary screen; else the first; else null.
    QScreen *screenContaining(const QPoint &point) const;
    QScreen *screenUnderCursor() const { return screenContaining(cursorPosition()); }
};
