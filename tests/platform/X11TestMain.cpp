#include "support/XvfbServer.h"

#include <QGuiApplication>
#include <gtest/gtest.h>

#include <cstdio>

// X11 tests need a real server: start a private one and point Qt's xcb platform at it
// before the application exists. Tests find it through DISPLAY.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    XvfbServer xvfb;
    if (!xvfb.isRunning())
        return std::fputs("could not start Xvfb\n", stderr), 1;
    qputenv("DISPLAY", xvfb.display().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
