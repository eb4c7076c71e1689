#include "support/XvfbServer.h"

#include <QGuiApplication>
#include <gtest/gtest.h>

#include <cstdio>

// Grabs need a real X server: start a private one before the application exists.
// VISTREL_TEST_SCALE runs the same tests at another device pixel ratio.
int main(int argc, char **argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();

    XvfbServer xvfb(QStringLiteral("1280x800x24"));
    if (!xvfb.isRunning()) {
        std::fprintf(stderr, "could not start Xvfb\n");
        return 1;
    }
    qputenv("DISPLAY", xvfb.display().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QByteArray scale = qgetenv("VISTREL_TEST_SCALE");
    if (!scale.isEmpty())
        qputenv("QT_SCALE_FACTOR", scale);
    QGuiApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
