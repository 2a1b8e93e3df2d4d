#include "suite/catalogue/EditorPlace.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

namespace tavrel {
namespace {

constexpr gid_t Daemon = 1;

/// A log that the account that asks may not write, were it root.
class EditorLog : public testing::Test {
protected:
    EditorLog() {
        const std::ofstream made(log);
        if (geteuid() == 0 && chown(log.c_str(), 0, Daemon) != 0)
            ADD_FAILURE() << "the log stays root's";
    }
    std::string Why(mode_t mode) {
        chmod(folder.Path().c_str(), 0555);
        chmod(log.c_str(), mode);
        setfsuid(geteuid() == 0 ? 65534 : geteuid());
        const auto why = WhyNothingIsLogged(log, "anna");
        setfsuid(geteuid());
        chmod(folder.Path().c_str(), 0755);
        return why.value_or("");
    }
    std::string NotWritten() const { return "the editor logs nothing for anna, who may not write " + log.string(); }

    TemporaryFolder folder;
    std::filesystem::path log = folder.Path() / "Tavrel.log";
};

TEST_F(EditorLog, ThatTheAccountWritesNeedsNoWord) {
    EXPECT_EQ(Why(0666), "");
    std::filesystem::remove(log);
    EXPECT_EQ(WhyNothingIsLogged(log, "anna"), std::nullopt);
}

TEST_F(EditorLog, OfAGroupNamesHowToJoinIt) {
    const std::string why = Why(0060);
    EXPECT_TRUE(why.starts_with(NotWritten() + "; \"sudo adduser anna ")) << why;
    EXPECT_TRUE(why.ends_with("\" lets it, from its next session on")) << why;
}

TEST_F(EditorLog, OfItsOwnerAloneNamesNoGroup) {
    EXPECT_EQ(Why(0040), NotWritten());
}

TEST_F(EditorLog, ThatCannotBeMadeNamesWhoMakesIt) {
    std::filesystem::remove(log);
    EXPECT_EQ(Why(0), NotWritten() + "; \"sudo install -m 660 -g GROUP /dev/null " + log.string() +
                          "\" makes it for the accounts of GROUP");
}

} // namespace
} // namespace tavrel
