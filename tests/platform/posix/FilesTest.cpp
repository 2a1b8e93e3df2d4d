#include "platform/paths.h"
#include "platform/posix/PosixFiles.h"
#include "tests/support/Failure.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace tavrel::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class FilesTest : public testing::Test {
protected:
    /// The path of `name` as the program writes it.
    std::string Inside(const std::string& name) const { return InsidePath(folder / name); }
    void Make(const std::string& name, const std::string& text = "x") const { std::ofstream(folder / name) << text; }
    mode_t ModeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat((folder / name).c_str(), &status), 0);
        return status.st_mode & 0777;
    }

    TemporaryFolder room;
    const fs::path& folder = room.Path();
    PosixFiles files;
};

TEST_F(FilesTest, APathIsWrittenWithTheProgramsSeparator) {
    fs::create_directory(folder / "sub");
    files.WriteText(Inside("sub\\SR.dat"), "text");
    EXPECT_TRUE(fs::exists(folder / "sub" / "SR.dat"));
    EXPECT_TRUE(files.Exists(Inside("sub\\SR.dat")));
    EXPECT_EQ(files.ReadText(Inside("sub\\SR.dat")), "text");
}

TEST_F(FilesTest, AFileThatIsNotThereDoesNotExist) {
    EXPECT_FALSE(files.Exists(Inside("none")));
}

TEST_F(FilesTest, NamesComeInAscendingByteOrder) {
    for (const auto* name : {"b.dcm", "a10.dcm", "a2.dcm", "B.dcm", "é.dcm"})
        Make(name);
    EXPECT_EQ(files.List(Inside(""), ".dcm"), (Names{"B.dcm", "a10.dcm", "a2.dcm", "b.dcm", "é.dcm"}));
}

TEST_F(FilesTest, TheExtensionCountsInAnyLetterCase) {
    for (const auto* name : {"a.dcm", "b.DCM", "c.Dcm", "d.dcm.txt", "dcm", "e.xdcm"})
        Make(name);
    EXPECT_EQ(files.List(Inside(""), ".dcm"), (Names{"a.dcm", "b.DCM", "c.Dcm"}));
}

TEST_F(FilesTest, AFolderIsNoFileOfTheList) {
    fs::create_directory(folder / "a.dcm");
    EXPECT_TRUE(files.List(Inside(""), ".dcm").empty());
}

TEST_F(FilesTest, AFolderThatIsNotThereIsAnErrorThatNamesIt) {
    EXPECT_EQ(FailureOf([&] { files.List(Inside("none"), ".dcm"); }),
              "Cannot read the folder \"" + (folder / "none").string() + "\": No such file or directory");
}

TEST_F(FilesTest, ANewFileTakesANameThatNobodyHas) {
    fs::create_directory(folder / "unsent");
    Make("unsent/version.dcm", "before");
    EXPECT_EQ(files.CreateNew(Inside("unsent"), "version", ".dcm"), Inside("unsent\\version-2.dcm"));
    EXPECT_EQ(files.CreateNew(Inside("unsent"), "version", ".dcm"), Inside("unsent\\version-3.dcm"));
    EXPECT_EQ(files.ReadText(Inside("unsent\\version.dcm")), "before");
}

TEST_F(FilesTest, AFolderThatIsMissingIsMadeForItsOwnerOnly) {
    files.CreateNew(Inside("state\\unsent"), "version", ".dcm");
    EXPECT_EQ(ModeOf("state/unsent"), 0700U);
    EXPECT_EQ(ModeOf("state/unsent/version.dcm"), 0600U);
}

TEST_F(FilesTest, ANewFileInNoFolderIsAnErrorThatNamesIt) {
    Make("taken");
    EXPECT_EQ(FailureOf([&] { files.CreateNew(Inside("taken"), "version", ".dcm"); }),
              "Cannot make the file \"" + (folder / "taken/version.dcm").string() + "\": Not a directory");
}

TEST_F(FilesTest, ARemovedFileIsGone) {
    Make("version.dcm");
    files.Remove(Inside("version.dcm"));
    EXPECT_FALSE(files.Exists(Inside("version.dcm")));
}

TEST_F(FilesTest, AWrittenFileIsItsOwnersOnly) {
    files.WriteText(Inside("SR.dat"), "text");
    EXPECT_EQ(ModeOf("SR.dat"), 0600U);
}

TEST_F(FilesTest, WritingReplacesTheContents) {
    files.WriteText(Inside("SR.dat"), "a longer text");
    files.WriteText(Inside("SR.dat"), "short");
    EXPECT_EQ(files.ReadText(Inside("SR.dat")), "short");
}

TEST_F(FilesTest, AnEmptyTextIsWrittenAndRead) {
    files.WriteText(Inside("SR.dat"), "");
    EXPECT_EQ(files.ReadText(Inside("SR.dat")), "");
}

TEST_F(FilesTest, NothingElseIsLeftBeside) {
    files.WriteText(Inside("SR.dat"), "text");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(FilesTest, AFailedWriteLeavesNothingBeside) {
    fs::create_directories(folder / "SR.dat" / "full");
    const auto failure = FailureOf([&] { files.WriteText(Inside("SR.dat"), "text"); });
    EXPECT_TRUE(failure.starts_with("Cannot write the file \"" + (folder / "SR.dat").string() + "\": ")) << failure;
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(FilesTest, WritingIntoNoFolderIsAnErrorWithTheSystemsReason) {
    EXPECT_EQ(FailureOf([&] { files.WriteText(Inside("none\\SR.dat"), "text"); }),
              "Cannot write the file \"" + (folder / "none/SR.dat").string() + "\": No such file or directory");
}

TEST_F(FilesTest, ALargeFileIsWrittenAndReadWhole) {
    const std::string text(3'000'000, 'x');
    files.WriteText(Inside("SR.dat"), text);
    EXPECT_EQ(files.ReadText(Inside("SR.dat")), text);
}

TEST_F(FilesTest, AFileThatIsNoTextByItsSizeIsAnErrorAtOnce) {
    files.WriteText(Inside("SR.dat"), "text");
    fs::resize_file(folder / "SR.dat", std::uintmax_t{4} << 30);
    EXPECT_EQ(FailureOf([&] { files.ReadText(Inside("SR.dat")); }),
              "Cannot read the file \"" + (folder / "SR.dat").string() + "\": File too large");
}

TEST_F(FilesTest, ReadingNoFileIsAnError) {
    EXPECT_EQ(FailureOf([&] { files.ReadText(Inside("none")); }),
              "Cannot read the file \"" + (folder / "none").string() + "\": No such file or directory");
}

TEST_F(FilesTest, ReadingAFolderIsAnError) {
    EXPECT_EQ(FailureOf([&] { files.ReadText(Inside("")); }),
              "Cannot read the file \"" + (folder / "").string() + "\": Is a directory");
}

TEST_F(FilesTest, ReadingAPipeIsAnErrorAndNoWait) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_NE(FailureOf([&] { files.ReadText(Inside("pipe")); }), "");
}

TEST_F(FilesTest, AnAppendedFileIsMadeForItsOwnerOnly) {
    files.AppendText(Inside("Tavrel.log"), "a\r\n");
    EXPECT_EQ(ModeOf("Tavrel.log"), 0600U);
}

TEST_F(FilesTest, AppendingKeepsWhatIsThere) {
    files.AppendText(Inside("Tavrel.log"), "a\r\n");
    files.AppendText(Inside("Tavrel.log"), "b\r\n");
    EXPECT_EQ(files.ReadText(Inside("Tavrel.log")), "a\r\nb\r\n");
}

TEST_F(FilesTest, LinesOfSeveralWritersStayWhole) {
    const auto write = [&](char letter) {
        for (int i = 0; i < 200; ++i)
            files.AppendText(Inside("Tavrel.log"), std::string(99, letter) + "\n");
    };
    std::thread first(write, 'a');
    std::thread second(write, 'b');
    first.join();
    second.join();
    std::ifstream log(folder / "Tavrel.log");
    int lines = 0;
    for (std::string line; std::getline(log, line); ++lines)
        ASSERT_EQ(line, std::string(99, line.at(0)));
    EXPECT_EQ(lines, 400);
}

TEST_F(FilesTest, AppendingIntoNoFolderIsAnError) {
    EXPECT_EQ(FailureOf([&] { files.AppendText(Inside("none\\Tavrel.log"), "a"); }),
              "Cannot append to the file \"" + (folder / "none/Tavrel.log").string() + "\": No such file or directory");
}

TEST_F(FilesTest, AFullDiskIsAnError) {
    EXPECT_EQ(FailureOf([&] { files.AppendText("\\dev\\full", "a"); }),
              "Cannot append to the file \"/dev/full\": No space left on device");
}

} // namespace
} // namespace tavrel::test
