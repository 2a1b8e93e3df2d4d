#include "platform/qt/Look.h"

#include <QApplication>
#include <QTemporaryFile>
#include <gtest/gtest.h>

// The windows on a desk with two screens.

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QTemporaryFile screens;
    screens.open();
    screens.write(R"({"screens": [
        {"name": "DP-1", "x": 0, "y": 0, "width": 1920, "height": 1080},
        {"name": "DP-2", "x": 1920, "y": 0, "width": 1280, "height": 1024}
    ]})");
    screens.close();
    qputenv("QT_QPA_PLATFORM", ("offscreen:configfile=" + screens.fileName()).toLocal8Bit());
    QApplication application(argc, argv);
    tavrel::Dress(application, tavrel::Scheme::Light);
    return RUN_ALL_TESTS();
}
