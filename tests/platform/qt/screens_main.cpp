#include "platform/qt/Look.h"
#include "tests/platform/qt/Screens.h"

#include <QApplication>
#include <gtest/gtest.h>

// The windows on a desk with two screens.

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const tavrel::test::Screens screens{{"DP-1", 0, 0, 1920, 1080}, {"DP-2", 1920, 0, 1280, 1024}};
    QApplication application(argc, argv);
    tavrel::Dress(tavrel::Scheme::Light);
    return RUN_ALL_TESTS();
}
