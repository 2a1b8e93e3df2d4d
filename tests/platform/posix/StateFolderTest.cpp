#include "platform/posix/StateFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tavrel::test {
namespace {

TEST(StateFolderTest, FollowsTheUsersSetting) {
    setenv("XDG_STATE_HOME", "/state", 1);
    EXPECT_EQ(StateFolder(), "/state/tavrel");
}

TEST(StateFolderTest, IsInTheHomeFolderByDefault) {
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", "/home/mrossi", 1);
    EXPECT_EQ(StateFolder(), "/home/mrossi/.local/state/tavrel");
}

TEST(StateFolderTest, ARelativeSettingIsNone) {
    setenv("XDG_STATE_HOME", "state", 1);
    setenv("HOME", "/home/mrossi", 1);
    EXPECT_EQ(StateFolder(), "/home/mrossi/.local/state/tavrel");
}

} // namespace
} // namespace tavrel::test
