#include "platform/posix/WholeFile.h"
#include "platform/paths.h"
#include "platform/posix/PosixFiles.h"
#include "tests/support/Failure.h"
#include "tests/support/ReadBytes.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// What the program has synced, and how syncing fails.
struct DiskState {
    std::vector<fs::path> synced;
    int fileFailure = 0;
    int folderFailure = 0;
} Disk;

} // namespace

/// Stands before the C library's fsync.
extern "C" int SyncSeen(int descriptor) asm("fsync");

int SyncSeen(int descriptor) {
    const auto path = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
    Disk.synced.push_back(path);
    errno = fs::is_directory(path) ? Disk.folderFailure : Disk.fileFailure;
    return errno == 0 ? static_cast<int>(syscall(SYS_fsync, descriptor)) : -1;
}

namespace tavrel::test {
namespace {

class WholeFiles : public testing::Test {
protected:
    WholeFiles() { Disk = {}; }

    std::string Path() const { return folder / "version.dcm"; }

    TemporaryFolder room;
    fs::path folder = room.Path();
};

TEST_F(WholeFiles, AFileIsSyncedBesideItsPlaceAndThenItsFolder) {
    WriteWholeFile(Path(), "text");
    ASSERT_EQ(Disk.synced.size(), 2U);
    EXPECT_EQ(Disk.synced[0].parent_path(), folder);
    EXPECT_NE(Disk.synced[0], Path());
    EXPECT_EQ(Disk.synced[1], folder);
}

TEST_F(WholeFiles, AFileThatDidNotReachTheDiskTakesNobodysPlace) {
    WriteWholeFile(Path(), "before");
    Disk.fileFailure = EIO;
    EXPECT_EQ(FailureOf([&] { WriteWholeFile(Path(), "after"); }),
              "Cannot write the file \"" + Path() + "\": Input/output error");
    EXPECT_EQ(ReadBytes(Path()), "before");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(WholeFiles, AFolderThatDidNotReachTheDiskIsAnError) {
    Disk.folderFailure = EIO;
    EXPECT_EQ(FailureOf([&] { WriteWholeFile(Path(), "text"); }),
              "Cannot write the file \"" + Path() + "\": Input/output error");
}

TEST_F(WholeFiles, AFileSystemThatSyncsNoFoldersIsGoodEnough) {
    Disk.folderFailure = EINVAL;
    EXPECT_EQ(FailureOf([&] { WriteWholeFile(Path(), "text"); }), "");
}

TEST_F(WholeFiles, AFolderMadeForAFileIsSyncedIntoTheOneAboveIt) {
    PosixFiles().CreateNew(InsidePath(folder / "state" / "unsent"), "version", ".dcm");
    EXPECT_EQ(Disk.synced, (std::vector{folder.parent_path(), folder, folder / "state"}));
}

TEST_F(WholeFiles, AFolderWhoseMakerMayHaveBeenKilledIsSyncedToo) {
    PosixFiles().CreateNew(InsidePath(folder), "version", ".dcm");
    EXPECT_EQ(Disk.synced, std::vector{folder.parent_path()});
}

TEST_F(WholeFiles, AFolderThatDidNotReachTheDiskIsMadeAgainNextTime) {
    const auto create = [&] { PosixFiles().CreateNew(InsidePath(folder / "unsent"), "version", ".dcm"); };
    Disk.folderFailure = EIO;
    EXPECT_EQ(FailureOf(create), "Cannot make the folder \"" + (folder / "unsent").string() + "\": Input/output error");
    Disk = {};
    create();
    EXPECT_EQ(Disk.synced.back(), folder);
}

} // namespace
} // namespace tavrel::test
