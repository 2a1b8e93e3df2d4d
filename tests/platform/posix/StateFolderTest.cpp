#include "platform/posix/StateFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tavrel::test {
namespace {

TEST(StateFolderTest, FollowsTheUsersSetting) {
    setenv("XDG_STATE_HOME", "/state", 1);
    EXPECT_EQ(StateFolder("unsent"), "/state/tavrel/unsent");
}

TEST(StateFolderTest, IsInTheHomeFolderByDefault) {
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", "/home/mrossi", 1);
    EXPECT_EQ(StateFolder("unsent"), "/home/mrossi/.local/state/tavrel/unsent");
}

TEST(StateFolderTest, ARelativeSettingIsNone) {
    setenv("XDG_STATE_HOME", "state", 1);
    setenv("HOME", "/home/mrossi", 1);
    EXPECT_EQ(StateFolder("unsent"), "/home/mrossi/.local/state/tavrel/unsent");
}

} // namespace
} // namespace tavrel::test
