#pragma once

#include "platform/ScreenEnvironment.h"

#include <QGuiApplication>

// Qt's screens, with a pointer placed by the test, or no screens at all.
class FakeScreenEnvironment : public ScreenEnvironment {
public:
    bool noScreens = false;
    QPoint pointer;

    QList<QScreen *> screens() const override
    {
        return noScreens ? QList<QScreen *>{} : QGuiApplication::screens();
    }
    QScreen *primaryScreen() const override
    {
        return noScreens ? nullptr : QGuiApplication::primaryScreen();
    }
    QPoint cursorPosition() const override { return pointer; }
};
