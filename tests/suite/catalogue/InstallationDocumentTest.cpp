#include "platform/posix/PosixFiles.h"
#include "suite/catalogue/OdbcEntry.h"
#include "tests/support/Shell.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tavrel {
namespace {

struct NamedEngine {
    const char* name;
    Engine engine;
};

class InstallationDocument : public testing::TestWithParam<NamedEngine> {};

/// But for the driver, which the page names in words, and for what each site has of its own.
bool StandsForEverySite(const std::string& setting) {
    return !setting.ends_with('=') && !setting.ends_with("=0") && !setting.starts_with("Driver") &&
           !setting.starts_with("LoadExt");
}

TEST_P(InstallationDocument, NamesTheSettingsThatAreWritten) {
    const std::string page = PosixFiles().ReadText(INSTALLATION_DOCUMENT);
    OdbcEntry entry;
    entry.engine = GetParam().engine;
    std::istringstream settings(ConnectionText(entry));
    for (std::string setting; std::getline(settings, setting, ';');)
        EXPECT_TRUE(!StandsForEverySite(setting) || page.find("`" + setting + "`") != std::string::npos) << setting;
}

TEST(InstallationDocument, RemovesOldDraftsAndComplainsOfNoneThatWasNeverThere) {
    const std::string page = PosixFiles().ReadText(INSTALLATION_DOCUMENT);
    const auto begin = page.find("    find ~/.local/state/tavrel");
    const std::string command = page.substr(begin, page.find('\n', begin) - begin);
    const TemporaryFolder home;
    const auto state = home.Path() / ".local/state/tavrel", old = state / "drafts/new-1.2-3.draft";
    std::filesystem::create_directories(state / "unsent"); // by "setup"
    const auto remove = [&] { return RunShell("HOME='" + home.Path().string() + "'; " + command); };
    EXPECT_EQ(remove().err, "");
    std::filesystem::create_directories(old.parent_path());
    for (const auto& file : {old, state / "drafts/new-1.2-4.draft"})
        std::ofstream(file) << "text";
    std::filesystem::last_write_time(old, std::filesystem::file_time_type::clock::now() - std::chrono::hours(100 * 24));
    EXPECT_EQ(remove().err, "");
    EXPECT_FALSE(std::filesystem::exists(old));
    EXPECT_TRUE(std::filesystem::exists(state / "drafts/new-1.2-4.draft"));
}

INSTANTIATE_TEST_SUITE_P(Suite, InstallationDocument,
                         testing::Values(NamedEngine{"Sqlite", Engine::Sqlite},
                                         NamedEngine{"PostgreSql", Engine::PostgreSql},
                                         NamedEngine{"MariaDb", Engine::MariaDb}),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace tavrel
