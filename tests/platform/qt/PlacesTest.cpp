#include "platform/qt/WindowPlaces.h"

#include "platform/qt/QtWindows.h"
#include "tests/platform/qt/OneOfEach.h"

#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace tavrel {
namespace {

/// Two screens, the images on one of them; screens_main.cpp has set them up.
class PlacesOnTwoScreens : public testing::Test {
protected:
    ~PlacesOnTwoScreens() override {
        windows_.Unload(form_);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // its lists are drawn from the form
    }

    void Show() {
        windows_.Show(form_);
        Window().Settle();
    }
    void Close() { windows_.Unload(form_); }
    void Again() {
        Close();
        Show();
    }
    void MoveTo(const QRect& place) {
        Window().resize(place.size());
        Window().move(place.topLeft());
    }
    FormWindow& Window() { return *windows_.WindowOf(form_); }
    QRect Place() { return Window().frameGeometry(); }
    bool OnScreen(int number) { return QApplication::screens()[number]->availableGeometry().contains(Place()); }
    void Write(const QByteArray& bytes) {
        QFile file(Path());
        ASSERT_TRUE(QDir().mkpath(folder_.filePath("tavrel")) && file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray Read() {
        QFile file(Path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QString Path() { return folder_.filePath("tavrel/windows"); }

    QTemporaryDir folder_;
    Layouts layouts_{{"frmOneOfEach", LayOutOneOfEach}};
    OneOfEach form_;
    OneOfEach other_;
    QRect images_ = QApplication::screens()[0]->geometry();
    QtWindows windows_{layouts_, WindowPlaces(Path(), [this] { return images_; })};
};

TEST_F(PlacesOnTwoScreens, AWindowOpensWhereTheImagesAreNot) {
    Show();
    EXPECT_TRUE(OnScreen(1));
    images_ = QApplication::screens()[1]->geometry();
    Again();
    EXPECT_TRUE(OnScreen(0));
}

TEST_F(PlacesOnTwoScreens, AWindowThatWasMovedOpensThereAgain) {
    Show();
    MoveTo({100, 80, 640, 480});
    const QRect moved = Place();
    Again();
    EXPECT_EQ(Place(), moved);
    Again();
    EXPECT_EQ(Place(), moved);
}

TEST_F(PlacesOnTwoScreens, AMovedWindowsPlaceIsKeptBeforeItGoes) {
    Show();
    QTest::qWait(700); // nobody is so fast that it were taken for the window manager's doing
    MoveTo({100, 80, 640, 480});
    EXPECT_TRUE(QTest::qWaitFor([&] { return Read().contains("frmOneOfEach\t100\t80\t"); }));
}

TEST_F(PlacesOnTwoScreens, AWindowThatNobodyMovedKeepsToTheImages) {
    Show();
    Close();
    EXPECT_EQ(Read(), "");
}

TEST_F(PlacesOnTwoScreens, AMaximisedWindowOpensMaximisedAndKnowsItsSmallerPlace) {
    Show();
    MoveTo({100, 80, 640, 480});
    Window().showMaximized();
    Again();
    EXPECT_TRUE(Window().isMaximized());
    EXPECT_TRUE(Read().contains("frmOneOfEach\t100\t80\t"));
}

TEST_F(PlacesOnTwoScreens, AWindowThatWasWithoutAFrameOpensInItsUsualPlace) {
    Show();
    MoveTo({100, 80, 640, 480});
    Again();
    const QRect place = Place();
    Window().showFullScreen();
    Again();
    EXPECT_EQ(Place(), place);
}

TEST_F(PlacesOnTwoScreens, AWindowThatDoesNotFoldKeepsItsSizeWhereThereIsNoRoom) {
    Show();
    const QSize usual = Window().size();
    images_ = QRect(300, 0, 2900, 1080); // all of both screens but a strip
    Again();
    EXPECT_EQ(Window().size(), usual);
}

TEST_F(PlacesOnTwoScreens, APlaceIsOfTheScreensAsTheyStood) {
    Show();
    MoveTo({100, 80, 640, 480});
    Close();
    Write(Read().replace("\toffscreen ", "\toffscreen Gone 0 0 640 480 1 "));
    Show();
    EXPECT_TRUE(OnScreen(1));
}

TEST_F(PlacesOnTwoScreens, APlaceThatLiesNowhereIsBroughtBack) {
    Show();
    MoveTo({100, 80, 640, 480});
    Close();
    Write(Read().replace("\t100\t80\t", "\t-32767\t32767\t"));
    Show();
    EXPECT_TRUE(OnScreen(0));
}

TEST_F(PlacesOnTwoScreens, AHugeWindowBecomesAsLargeAsItsScreen) {
    Show();
    MoveTo({100, 80, 640, 480});
    Close();
    const auto line = Read().split('\t');
    Write(Read().replace(line[3] + '\t' + line[4], "32767\t32767"));
    Show();
    EXPECT_TRUE(OnScreen(0));
}

TEST_F(PlacesOnTwoScreens, AWindowThatIsPartlyOffIsBroughtBack) {
    Show();
    MoveTo({QApplication::screens()[0]->geometry().right() - 50, 900, 640, 480});
    BringBack(Window());
    EXPECT_TRUE(OnScreen(0) || OnScreen(1));
}

TEST_F(PlacesOnTwoScreens, AWindowThatIsOffWhenTheScreensChangeComesBackAndIsNotTakenForMoved) {
    Show();
    MoveTo({QApplication::screens()[1]->geometry().right() - 50, 900, 640, 480});
    QApplication::processEvents();
    Q_EMIT QApplication::screens()[1]->geometryChanged({});
    EXPECT_TRUE(QTest::qWaitFor([&] { return OnScreen(1); }));
    QTest::qWait(600);
    EXPECT_EQ(Read(), "");
}

TEST_F(PlacesOnTwoScreens, AWindowIsBackInItsPlaceAsSoonAsItsScreensAre) {
    Show();
    MoveTo({100, 80, 640, 480});
    Again();
    const QRect place = Place();
    MoveTo({300, 90, 500, 480}); // as a window manager does when a screen is unplugged
    Q_EMIT QApplication::screens()[1]->geometryChanged({});
    EXPECT_TRUE(QTest::qWaitFor([&] { return Place() == place; }));
}

TEST_F(PlacesOnTwoScreens, AnotherWindowsPlaceStaysItsOwn) {
    Show();
    MoveTo({100, 80, 640, 480});
    Close();
    Write(Read().replace("frmOneOfEach", "frmAnother"));
    Show();
    EXPECT_TRUE(OnScreen(1));
    MoveTo({200, 90, 640, 480});
    Close();
    EXPECT_EQ(Read().count('\n'), 2);
}

TEST_F(PlacesOnTwoScreens, AFileOfManyArrangementsGrowsNoFurther) {
    QByteArray many;
    for (int i = 0; i < 1000; ++i)
        many += "frmOneOfEach\t1\t1\t640\t480\t0\t0\t\toffscreen " + QByteArray::number(i) + '\n';
    Write(many);
    Show();
    MoveTo({100, 80, 640, 480});
    Close();
    EXPECT_EQ(Read().count('\n'), 64);
    EXPECT_TRUE(Read().startsWith("frmOneOfEach\t100\t80\t"));
}

class WhatIsNoListOfPlaces : public PlacesOnTwoScreens, public testing::WithParamInterface<const char*> {};

TEST_P(WhatIsNoListOfPlaces, DoesNoHarm) {
    Write(GetParam());
    Show();
    EXPECT_TRUE(OnScreen(1));
    MoveTo({100, 80, 640, 480});
    Close();
    EXPECT_EQ(Read().count('\n'), 1);
}

INSTANTIATE_TEST_SUITE_P(Places, WhatIsNoListOfPlaces,
                         testing::Values("", "\xff\xfe\x01", "frmOneOfEach", "frmOneOfEach\t1\t2\t3\t4",
                                         "frmOneOfEach\t1\t2\tx\t4\t0\t0\t\toffscreen",
                                         "\t\t\t\t\t\t\t\t\n\t\t\t\t\t\t\t\t",
                                         "frmOneOfEach\t1\t2\t99999999999999\t4\t0\t0\t\toffscreen",
                                         "frmOneOfEach\t1\t2\t-640\t480\t0\t0\t\toffscreen",
                                         "frmOneOfEach\t1\t2\t640\t480\t0\t480\t\toffscreen"));

TEST_F(PlacesOnTwoScreens, AFolderInTheFilesPlaceDoesNoHarm) {
    ASSERT_TRUE(QDir().mkpath(Path()));
    Show();
    MoveTo({100, 80, 640, 480});
    Again();
    EXPECT_TRUE(OnScreen(1));
}

TEST_F(PlacesOnTwoScreens, AModalWindowStandsOnItsOwnersScreen) {
    Show();
    MoveTo({QApplication::screens()[1]->geometry().topLeft() + QPoint(10, 40), QSize(640, 480)});
    QRect place;
    QTimer::singleShot(0, [&] {
        place = windows_.WindowOf(other_)->frameGeometry();
        windows_.Unload(other_);
    });
    windows_.ShowModal(other_, &form_);
    EXPECT_TRUE(QApplication::screens()[1]->availableGeometry().contains(place));
}

TEST_F(PlacesOnTwoScreens, AMessageStandsOnItsWindowsScreen) {
    Show();
    MoveTo({QApplication::screens()[1]->geometry().topLeft() + QPoint(10, 40), QSize(640, 480)});
    QRect place;
    QTimer::singleShot(0, [&] {
        place = QApplication::activeModalWidget()->frameGeometry();
        QApplication::activeModalWidget()->close();
    });
    windows_.Ask({"No referenced Series", ""});
    EXPECT_TRUE(QApplication::screens()[1]->availableGeometry().contains(place));
}

} // namespace
} // namespace tavrel
