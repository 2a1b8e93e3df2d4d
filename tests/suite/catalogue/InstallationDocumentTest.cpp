#include "platform/posix/PosixFiles.h"
#include "suite/catalogue/OdbcEntry.h"

#include <gtest/gtest.h>

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

INSTANTIATE_TEST_SUITE_P(Suite, InstallationDocument,
                         testing::Values(NamedEngine{"Sqlite", Engine::Sqlite},
                                         NamedEngine{"PostgreSql", Engine::PostgreSql},
                                         NamedEngine{"MariaDb", Engine::MariaDb}),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace tavrel
