#include "platform/qt/FreePlace.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tavrel {
namespace {

constexpr QSize Wanted(1240, 740), Least(720, 400);
constexpr QRect Small(0, 0, 1280, 800), Usual(0, 0, 1920, 1080), Wide(0, 0, 3840, 1600), Second(1920, 0, 1920, 1080);

QRect Place(const QList<QRect>& screens, const QRect& taken) {
    return FreePlace(screens, taken, Wanted, [] { return Least; });
}

TEST(AFreePlace, LiesBesideTheOtherWindow) {
    EXPECT_EQ(Place({Wide}, {0, 0, 2000, 1600}), QRect(2000, 430, 1240, 740));
    EXPECT_EQ(Place({Wide}, {1840, 0, 2000, 1600}), QRect(600, 430, 1240, 740));
}

TEST(AFreePlace, IsAsNarrowAsTheRoomBesideTheOtherWindowAndAsTallAsTheScreen) {
    EXPECT_EQ(Place({Usual}, {0, 0, 1100, 1080}), QRect(1100, 0, 820, 1080));
}

TEST(AFreePlace, LiesBelowTheOtherWindowOnAScreenThatStandsUpright) {
    EXPECT_EQ(Place({{0, 0, 1200, 1920}}, {0, 0, 1200, 1000}), QRect(0, 1000, 1200, 920));
}

TEST(AFreePlace, LiesOnTheOtherScreenWhenThereIsTooLittleRoomOnThisOne) {
    EXPECT_EQ(Place({Usual, Second}, {0, 0, 1300, 1080}), QRect(1920, 170, 1240, 740));
    EXPECT_EQ(Place({Usual, Second}, Second), QRect(680, 170, 1240, 740));
}

TEST(AFreePlace, LiesOnTheScreenThatHasMostRoomForIt) {
    EXPECT_EQ(Place({Usual, {1920, 0, 800, 600}, {2720, 0, 1920, 1080}}, Usual), QRect(2720, 170, 1240, 740));
}

TEST(AFreePlace, IsNotUnderAWindowThatLiesOnBothScreens) {
    EXPECT_EQ(Place({Usual, Second}, {0, 0, 2600, 1080}), QRect(2600, 170, 1240, 740));
}

TEST(AFreePlace, CoversHalfOfTheOnlyScreenWhereTheOtherWindowFillsIt) {
    EXPECT_EQ(Place({Usual}, Usual), QRect(960, 0, 960, 1080));
    EXPECT_EQ(Place({Wide}, Wide), QRect(2600, 430, 1240, 740));
}

TEST(AFreePlace, IsAsLargeAsAWindowThatCannotBeSmaller) {
    constexpr QSize size(720, 360);
    EXPECT_EQ(FreePlace({Small}, Small, size, [size] { return size; }), QRect(560, 220, 720, 360));
}

TEST(AFreePlace, IsFoundWithoutTryingHowSmallTheWindowBecomesWhereThereIsRoom) {
    const auto tried = []() -> QSize { throw std::logic_error("tried"); };
    EXPECT_EQ(FreePlace({Wide}, {0, 0, 2000, 1600}, Wanted, tried), QRect(2000, 430, 1240, 740));
}

TEST(AFreePlace, LeavesTheOtherWindowWhatASmallScreenHasBesides) {
    EXPECT_EQ(Place({Small}, Small), QRect(560, 0, 720, 800));
}

TEST(AFreePlace, IsTheWholeOfAScreenThatIsTooSmall) {
    EXPECT_EQ(Place({{10, 20, 640, 300}}, {10, 20, 640, 300}), QRect(10, 20, 640, 300));
}

TEST(AFreePlace, KeepsToWhatAPanelLeavesOfTheScreen) {
    EXPECT_EQ(Place({{60, 30, 1220, 770}}, Small), QRect(560, 30, 720, 770));
}

TEST(AWindowInside, IsMovedBeforeItIsMadeSmaller) {
    EXPECT_EQ(Inside(Small, {700, -50, 1240, 740}), QRect(40, 0, 1240, 740));
    EXPECT_EQ(Inside(Small, {-30000, 30000, 32767, 740}), QRect(0, 60, 1280, 740));
}

TEST(TheScreenOfAWindow, HoldsMostOfIt) {
    EXPECT_EQ(ScreenOf({1800, 0, 1240, 740}, {Usual, Second}), Second);
    EXPECT_EQ(ScreenOf({9000, 9000, 1240, 740}, {Usual, Second}), Usual);
}

} // namespace
} // namespace tavrel
