#include "tests/suite/SuiteRoom.h"
#include "tests/suite/TestObject.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace tavrel {
namespace {

/// A tree of studies of two accounts, which have one group.
class SharedTree : public testing::Test {
protected:
    static constexpr int One = 20001;
    static constexpr int Other = 20002;
    static constexpr gid_t Group = 20000;

    void SetUp() override {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs the right to act as another account";
        if (Child(As(One, {"test", "-x", PORVANE_PROGRAM}), "/dev/null").Wait() != 0)
            GTEST_SKIP() << "other accounts may not run " PORVANE_PROGRAM;
        Share(room.Folder(), 02770);
        for (const auto& file : std::filesystem::directory_iterator(room.Folder()))
            Share(file.path(), 0660); // the catalogue and what leads to it
    }

    static void Share(const std::filesystem::path& path, mode_t access) {
        ASSERT_EQ(chown(path.c_str(), 0, Group), 0) << path;
        ASSERT_EQ(chmod(path.c_str(), access), 0) << path;
    }
    static std::vector<std::string> As(int account, std::vector<std::string> command) {
        const std::string number = std::to_string(account);
        command.insert(command.begin(), {"setpriv", "--reuid", number, "--regid", number, "--groups",
                                         std::to_string(Group), "--inh-caps=-all"});
        return command;
    }
    std::unique_ptr<Child> StartServiceOf(int account) {
        const std::string number = std::to_string(account);
        auto command = As(account, room.ServiceCommand());
        command.insert(command.end(), {"--unsent", (room.Folder() / ("unsent-" + number)).string()});
        const auto log = room.Folder() / ("porvane-" + number + ".log");
        auto child = std::make_unique<Child>(command, log.string());
        Eventually([&] { return Listens(room.Port()) || !child->IsRunning(); });
        EXPECT_TRUE(child->IsRunning()) << ReadBytes(log);
        return child;
    }
    static std::pair<mode_t, gid_t> AccessOf(const std::filesystem::path& path) {
        struct stat state {};
        EXPECT_EQ(stat(path.c_str(), &state), 0) << path;
        return {state.st_mode & 07777, state.st_gid};
    }

    SuiteRoom room;
};

TEST_F(SharedTree, TakesWhatEitherAccountsServiceStoresIntoOneSeries) {
    int number = 0;
    for (const int account : {One, Other, One}) {
        const auto service = StartServiceOf(account);
        EXPECT_EQ(TestObject().Numbered(++number).Send(room), 0) << account;
    }
    EXPECT_EQ(room.StoredFiles().size(), 3U);
    EXPECT_EQ(room.Count("Image"), "3");
}

TEST_F(SharedTree, IsTheGroupsToReadAndWrite) {
    {
        const auto service = StartServiceOf(One);
        EXPECT_EQ(TestObject().Send(room), 0);
    }
    const auto file = room.StoredFiles().at(0);
    EXPECT_EQ(AccessOf(file), std::make_pair(mode_t{0660}, Group));
    for (auto folder = file.parent_path(); folder != room.Folder(); folder = folder.parent_path())
        EXPECT_EQ(AccessOf(folder), std::make_pair(mode_t{02770}, Group)) << folder;
}

} // namespace
} // namespace tavrel
