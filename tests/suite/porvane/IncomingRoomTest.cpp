#include "suite/porvane/IncomingRoom.h"
#include "suite/porvane/StoreRefusal.h"

#include <gtest/gtest.h>

#include <memory>

namespace tavrel {
namespace {

constexpr auto Megabyte = IncomingRoom::Megabyte;
using Share = IncomingRoom::Share;

class IncomingRooms : public testing::Test {
protected:
    static bool Takes(Share& share, std::uint64_t megabytes) {
        try {
            share.Take(megabytes * Megabyte);
            return true;
        } catch (const StoreRefusal&) {
            return false;
        }
    }

    IncomingRoom::Disk disk{100'000 * Megabyte, 50'000 * Megabyte};
    IncomingRoom room{100 * Megabyte, [this] { return disk; }};
};

TEST_F(IncomingRooms, AnObjectHasALongestSize) {
    Share object(room, 1, Share::Of::Sender);
    EXPECT_TRUE(Takes(object, 60));
    EXPECT_FALSE(Takes(object, 41));
    EXPECT_TRUE(Takes(object, 40));
}

TEST_F(IncomingRooms, ASenderHasTwoObjectsOfThatSizeAtOnce) {
    Share first(room, 1, Share::Of::Sender);
    Share second(room, 1, Share::Of::Sender);
    Share third(room, 1, Share::Of::Sender);
    Share ofAnother(room, 2, Share::Of::Sender);
    EXPECT_TRUE(Takes(first, 100) && Takes(second, 100));
    EXPECT_FALSE(Takes(third, 1));
    EXPECT_TRUE(Takes(ofAnother, 1));
}

TEST_F(IncomingRooms, AnObjectThatIsDoneGivesItsRoomBack) {
    auto first = std::make_unique<Share>(room, 1, Share::Of::Sender);
    Share second(room, 1, Share::Of::Sender);
    Share third(room, 1, Share::Of::Sender);
    ASSERT_TRUE(Takes(*first, 100) && Takes(second, 100));
    first.reset();
    EXPECT_TRUE(Takes(third, 100));
}

TEST_F(IncomingRooms, TheLastPartOfTheDiskIsKeptForReports) {
    Share image(room, 1, Share::Of::Sender);
    Share report(room, 1, Share::Of::Workstation);
    disk.free = 66 * Megabyte;
    EXPECT_FALSE(Takes(image, 3));
    EXPECT_TRUE(Takes(image, 2));
    EXPECT_TRUE(Takes(report, 3));
}

TEST_F(IncomingRooms, OfASmallDiskTwoHundredthsAreKept) {
    Share image(room, 1, Share::Of::Sender);
    disk = {500 * Megabyte, 11 * Megabyte};
    EXPECT_FALSE(Takes(image, 2));
    EXPECT_TRUE(Takes(image, 1));
}

} // namespace
} // namespace tavrel
