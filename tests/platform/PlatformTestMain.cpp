#include "support/XvfbServer.h"

#include <QGuiApplication>
#include <gtest/gtest.h>

#include <cstdio>

// These tests need a real X server: start a private one and point Qt's xcb platform at it
// before the application object exists. Tests find the server through DISPLAY.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();

    XvfbServer xvfb;
    if (!xvfb.isRunning()) {
        std::fprintf(stderr, "could not start Xvfb\n");
        return 1;
    }
    qputenv("DISPLAY", xvfb.display().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
