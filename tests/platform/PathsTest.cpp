#include "platform/paths.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

struct PathAndFolder {
    std::string_view path;
    std::string_view folder;
};

class Folders : public testing::TestWithParam<PathAndFolder> {};

TEST_P(Folders, EndAtTheLastSeparator) {
    EXPECT_EQ(FolderOf(GetParam().path), GetParam().folder);
}

INSTANTIATE_TEST_SUITE_P(, Folders,
                         testing::Values(PathAndFolder{"C:\\a\\b.dcm", "C:\\a\\"},     //
                                         PathAndFolder{"b.dcm", "."},                  //
                                         PathAndFolder{"", "."},                       //
                                         PathAndFolder{"   ", "."},                    //
                                         PathAndFolder{"  C:\\a\\b.dcm  ", "C:\\a\\"}, //
                                         PathAndFolder{"C:\\a b\\c d.dcm", "C:\\a b\\"},
                                         PathAndFolder{"\\b.dcm", "\\"},      //
                                         PathAndFolder{"C:\\a\\", "C:\\a\\"}, //
                                         PathAndFolder{"a/b.dcm", "."}));

} // namespace
} // namespace tavrel
