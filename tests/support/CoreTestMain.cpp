#include <QGuiApplication>
#include <gtest/gtest.h>

// Logic tests need no display, but painting text into a QImage needs the font database,
// so they run under a QGuiApplication on the offscreen platform.
int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
