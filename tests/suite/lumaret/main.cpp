#include "suite/lumaret/ImageFile.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    tavrel::ImageFile::RegisterDecoders();
    return RUN_ALL_TESTS();
}
