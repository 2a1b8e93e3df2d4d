#include "platform/qt/Look.h"
#include "tests/platform/qt/Screens.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const tavrel::test::Screens screens{{"DP-1", 0, 0, 1920, 1080}};
    if (!qEnvironmentVariableIsSet("CUPS_SERVER"))
        qputenv("CUPS_SERVER", "/nonexistent/no-print-service");
    QApplication application(argc, argv);
    tavrel::Dress(tavrel::Scheme::Light);
    return RUN_ALL_TESTS();
}
