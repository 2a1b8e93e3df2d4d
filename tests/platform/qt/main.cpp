#include "platform/qt/Look.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!qEnvironmentVariableIsSet("CUPS_SERVER"))
        qputenv("CUPS_SERVER", "/nonexistent/no-print-service");
    QApplication application(argc, argv);
    tavrel::Dress(application, tavrel::Scheme::Light);
    return RUN_ALL_TESTS();
}
