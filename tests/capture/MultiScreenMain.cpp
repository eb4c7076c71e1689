#include <QApplication>
#include <gtest/gtest.h>

// Two offscreen screens side by side, at scale 2 and 1.5 (see two-screens.json).
int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" VISTREL_TWO_SCREENS_CONFIG);
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
