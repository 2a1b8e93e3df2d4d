#include "platform/paths.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

struct PathAndFolder {
    std::string_view name;
    std::string_view path;
    std::string_view folder;
    friend void PrintTo(const PathAndFolder& pathAndFolder, std::ostream* out) { *out << pathAndFolder.name; }
};

class Folders : public testing::TestWithParam<PathAndFolder> {};

TEST_P(Folders, EndAtTheLastSeparator) {
    EXPECT_EQ(FolderOf(GetParam().path), GetParam().folder);
}

INSTANTIATE_TEST_SUITE_P(, Folders,
                         testing::Values(PathAndFolder{"File", "C:\\a\\b.dcm", "C:\\a\\"},
                                         PathAndFolder{"BareName", "b.dcm", "."}, PathAndFolder{"Nothing", "", "."},
                                         PathAndFolder{"Blanks", "   ", "."},
                                         PathAndFolder{"BlanksAround", "  C:\\a\\b.dcm  ", "C:\\a\\"},
                                         PathAndFolder{"BlanksInside", "C:\\a b\\c d.dcm", "C:\\a b\\"},
                                         PathAndFolder{"FileOfTheRoot", "\\b.dcm", "\\"},
                                         PathAndFolder{"Folder", "C:\\a\\", "C:\\a\\"},
                                         PathAndFolder{"OtherSeparator", "a/b.dcm", "."}),
                         testing::PrintToStringParamName());

} // namespace
} // namespace tavrel
