#include "suite/catalogue/DepartmentCheck.h"

#include "platform/error.h"
#include "platform/limits.h"
#include "platform/paths.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Kind = CheckResult::Kind;

/// Versions are named by the second.
constexpr double MostSecondsApart = 2;

double Now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

} // namespace

std::string DepartmentCheck::Answer(const std::string& query) {
    const auto rows = catalogue_.OpenResultSet(query);
    return rows->AtEnd() ? "" : std::string(rows->Field(0).value_or(""));
}

std::optional<std::string> DepartmentCheck::Here() {
    const std::string account = Answer("SELECT " + CurrentAccount(department_.ItsEngine()));
    const auto names = department_.Names();
    return std::ranges::find(names, account) == names.end() ? std::nullopt : std::optional(account);
}

std::vector<CheckResult> DepartmentCheck::OfWorkstation(const std::string& name) {
    std::vector<CheckResult> results = {
        {Kind::Well, "this is " + name + ", of a department of " + std::to_string(department_.Names().size())}};
    if (const auto lacking = department_.LackingRights(); lacking.empty())
        results.push_back({Kind::Well, "its account may do what it must"});
    else
        results.push_back(
            {Kind::Missing, "its account lacks " + lacking +
                                R"(; "orbenta-catalogue init" by the owner gives it to all workstations)"});
    if (department_.ItsEngine() == Engine::MariaDb && Answer("SELECT @@tx_isolation") != "READ-COMMITTED")
        results.push_back({Kind::Warning,
                           "its ODBC entry does not ask for READ-COMMITTED, so it may wait for others that "
                           "print; \"orbenta-catalogue department join --new-password\" by the owner "
                           "writes another one"});
    results.push_back(Clock());
    return results;
}

CheckResult DepartmentCheck::Clock() {
    const bool mariaDb = department_.ItsEngine() == Engine::MariaDb;
    const double before = Now();
    const double server = std::atof(
        Answer(mariaDb ? "SELECT UNIX_TIMESTAMP(NOW(6))" : "SELECT EXTRACT(EPOCH FROM clock_timestamp())").c_str());
    const double after = Now();
    const double ahead = std::max(before - server, 0.0) - std::max(server - after, 0.0);
    if (std::abs(ahead) <= MostSecondsApart)
        return {Kind::Well, "the clocks of this machine and of the server agree"};
    return {Kind::Warning, "the clock of this machine is " + std::to_string(std::lround(std::abs(ahead))) +
                               " seconds " + (ahead > 0 ? "ahead of" : "behind") +
                               " the server's; versions are named and put in order by their seconds"};
}

std::vector<CheckResult> DepartmentCheck::OfAll(bool mending) {
    const auto workstations = department_.Workstations();
    std::vector<CheckResult> results;
    const auto missing = [&](const std::string& words, const std::string& name) {
        results.push_back(
            {Kind::Missing, words + "; \"orbenta-catalogue department join --name " + name + "\" makes it"});
    };
    for (auto each = workstations.begin(); each != workstations.end(); ++each) {
        if (!department_.HasAccount(each->name))
            missing(each->name + " has no account on the server", each->name);
        if (each->port == 0)
            missing(each->name + " has no port for its storage service", each->name);
        if (each->node.empty())
            missing(each->name + " has no node name for the audit trail", each->name);
        for (auto other = workstations.begin(); other != each; ++other)
            if (const std::string words = Department::Collision(*other, *each); !words.empty())
                results.push_back({Kind::Missing, words +
                                                      "; \"orbenta-catalogue port\" or \"site --node\" at one of them "
                                                      "changes it"});
    }
    if (results.empty())
        results.push_back({Kind::Well, "the department's " + std::to_string(workstations.size()) +
                                           " workstations have what they need of their own"});
    if (Answer("SELECT BaseUID FROM DepartmentSite").size() > longest::BaseUid - Department::LongestNumber)
        results.push_back({Kind::Missing,
                           "the department's BaseUID leaves no room for the numbers of its workstations; "
                           "\"orbenta-catalogue site --base-uid UID\" sets it"});
    if (mending) {
        department_.Renew();
        results.push_back({Kind::Mended, "every workstation's rights were given again"});
    }
    return results;
}

std::optional<std::string> DepartmentCheck::TreeFault() {
    const std::string study =
        Answer("SELECT Study.StudyPath FROM Image, Series, Study WHERE Series.SeriesInstanceUID=Image.SeriesInstanceUID"
               " AND Study.StudyInstanceUID=Series.StudyInstanceUID ORDER BY Image.ImageID DESC LIMIT 1");
    if (study.empty())
        return std::nullopt;
    const fs::path folder = NativePath(study);
    const std::string tree = folder.parent_path().string();
    std::error_code ignored;
    if (!fs::is_directory(tree, ignored))
        return "the department's studies are in " + tree + ", which is not there on this machine";
    if (!fs::is_directory(folder, ignored))
        return tree + " is another one than the department's: the newest study, " + folder.filename().string() +
               ", is not in it";
    if (access(tree.c_str(), R_OK | W_OK | X_OK) != 0 || access(folder.c_str(), R_OK | W_OK | X_OK) != 0)
        return "this account may not read and write the department's studies in " + tree;
    return std::nullopt;
}

} // namespace tavrel
