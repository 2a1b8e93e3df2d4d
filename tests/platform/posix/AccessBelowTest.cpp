#include "platform/posix/AccessBelow.h"
#include "platform/posix/WholeFile.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <string>

namespace tavrel::test {
namespace {

constexpr mode_t OwnersAlone = 0700;
constexpr mode_t TheGroupsToo = 0770;

mode_t AccessOf(const std::filesystem::path& path) {
    struct stat state {};
    EXPECT_EQ(stat(path.c_str(), &state), 0) << path;
    return state.st_mode & 07777;
}

class WhatIsMadeBelow : public testing::Test {
protected:
    WhatIsMadeBelow() { umask(S_IWGRP | S_IRWXO); } // an editor's
    ~WhatIsMadeBelow() override { umask(before_); }

    void Have(mode_t access) const { ASSERT_EQ(chmod(folder.Path().c_str(), access), 0); }
    std::string File() const { return folder.Path() / "SR.dat"; }

    TemporaryFolder folder;

private:
    mode_t before_ = umask(0);
};

TEST_F(WhatIsMadeBelow, AFolderOfOneAccountIsItsOwnersAlone) {
    Have(0700);
    EXPECT_EQ(AccessBelow(folder.Path()), OwnersAlone);
}

TEST_F(WhatIsMadeBelow, AFolderThatTheGroupMayWriteWithoutTheSetGroupBitIsItsOwnersAlone) {
    Have(0770);
    EXPECT_EQ(AccessBelow(folder.Path()), OwnersAlone);
}

TEST_F(WhatIsMadeBelow, ASetGroupFolderThatTheGroupMayNotWriteIsItsOwnersAlone) {
    Have(02750);
    EXPECT_EQ(AccessBelow(folder.Path()), OwnersAlone);
}

TEST_F(WhatIsMadeBelow, ASetGroupFolderThatTheGroupMayWriteIsTheGroupsToo) {
    Have(02770);
    EXPECT_EQ(AccessBelow(folder.Path()), TheGroupsToo);
}

TEST_F(WhatIsMadeBelow, AFolderThatIsNotThereGoesByTheOneAboveIt) {
    Have(02770);
    EXPECT_EQ(AccessBelow(folder.Path() / "studies/2.999.1"), TheGroupsToo);
    Have(0700);
    EXPECT_EQ(AccessBelow(folder.Path() / "studies/2.999.1"), OwnersAlone);
}

TEST_F(WhatIsMadeBelow, AWholeFileIsTheGroupsWhateverTheProcessMasks) {
    Have(02770);
    for (int time = 0; time < 2; ++time) { // made, and replaced
        WriteWholeFile(File(), "text");
        EXPECT_EQ(AccessOf(File()), 0660U);
    }
}

TEST_F(WhatIsMadeBelow, AWholeFileElsewhereIsItsOwnersAlone) {
    Have(0770);
    WriteWholeFile(File(), "text");
    EXPECT_EQ(AccessOf(File()), 0600U);
}

TEST_F(WhatIsMadeBelow, ASecretIsItsOwnersAloneEverywhere) {
    Have(02770);
    WriteSecretFile(File(), "a password");
    EXPECT_EQ(AccessOf(File()), 0600U);
}

} // namespace
} // namespace tavrel::test
