#include "suite/lumaret/ViewerPlace.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTemporaryDir>
#include <QWidget>
#include <gtest/gtest.h>

#include <functional>

namespace tavrel {
namespace {

class ViewersPlace : public testing::Test {
protected:
    /// The window as it stands, closed again once `moved` has been.
    QRect Opened(const std::function<void(QWidget&)>& moved = {}) const {
        QWidget window;
        const ViewerPlace place(window, file_);
        window.show();
        const QRect stands = window.frameGeometry();
        if (moved)
            moved(window);
        window.close();
        return stands;
    }

    QTemporaryDir folder_;
    QString file_ = folder_.filePath("tavrel/viewer");
    QRect screen_ = QGuiApplication::primaryScreen()->availableGeometry();
};

TEST_F(ViewersPlace, LeavesRoomForTheEditorAtItsSide) {
    const QRect place = Opened();
    EXPECT_TRUE(screen_.contains(place));
    EXPECT_GE(screen_.right() - place.right(), 720);
}

TEST_F(ViewersPlace, IsWhereTheWindowWasClosed) {
    QRect left;
    Opened([&](QWidget& window) {
        window.setGeometry(40, 50, 300, 200);
        left = window.frameGeometry();
    });
    EXPECT_EQ(Opened(), left);
    EXPECT_EQ(Opened(), left);
}

TEST_F(ViewersPlace, IsOnTheScreenThoughTheWindowWasClosedPartlyOffIt) {
    Opened([&](QWidget& window) { window.move(screen_.bottomRight() - QPoint(20, 20)); });
    EXPECT_TRUE(screen_.contains(Opened()));
}

} // namespace
} // namespace tavrel
