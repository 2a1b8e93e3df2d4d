#include "suite/porvane/VersionTurn.h"

#include "platform/attributes.h"
#include "platform/error.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/TreeFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <system_error>
#include <unordered_set>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Status = StoreRefusal::Status;

constexpr std::size_t MostReports = 64; ///< whose versions are remembered

/// 0 for a file that is no version of this suite's.
int NumberOf(const std::string& name) {
    constexpr std::string_view prefix = "img_";
    int number = 0;
    if (name.starts_with(prefix))
        std::from_chars(name.data() + prefix.size(), name.data() + name.size(), number);
    return number > 0 && name == VersionName(number) ? number : 0;
}

/// In their order.
std::vector<std::string> NamesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code ignored; // a folder that cannot be read cannot be written either
    for (auto file = fs::directory_iterator(folder, ignored); file != fs::directory_iterator();
         file.increment(ignored)) {
        const std::string name = file->path().filename().string();
        if (name.ends_with(".dcm") && !name.starts_with('.'))
            names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
}

bool IsOlder(const fs::path& file, std::chrono::seconds age) {
    struct stat state {};
    return stat(file.c_str(), &state) == 0 && std::time(nullptr) - state.st_ctim.tv_sec >= age.count();
}

/// Empty when the file is no version that can be read.
std::string UidIn(DicomLibrary& library, const fs::path& file) try {
    return library.OpenImageSeries(std::array{file.string()})->GetElementString(0, attribute::SopInstanceUid);
} catch (const Error&) {
    return {};
}

} // namespace

VersionTurn::VersionTurn(DicomLibrary& library, std::chrono::seconds settled) : library_(library), settled_(settled) {}

int VersionTurn::NumberFor(const fs::path& folder, const std::vector<std::string>& predecessors, From from,
                           const Rows& rows, int taken) {
    std::vector<std::string> names = NamesIn(folder);
    // The list of a shared folder may be older than the answer to a link.
    if (const std::string name = VersionName(taken); taken > 0 && !std::ranges::binary_search(names, name))
        names.insert(std::ranges::lower_bound(names, name), name);
    if (reports_.size() >= MostReports && !reports_.contains(folder))
        reports_.clear();
    Report& known = reports_[folder];
    Report recent = Meet(known, folder, names, rows);

    const std::unordered_set<std::string> followed(predecessors.begin(), predecessors.end());
    const std::string* other = nullptr;
    for (const std::string& name : names) {
        const auto settled = known.find(name);
        Met& met = settled == known.end() ? recent[name] : settled->second;
        const bool follows = met.uid.empty() || followed.contains(met.uid);
        if (!follows)
            other = &name;
        const bool judged = from == From::Elsewhere ? follows : !follows || name == names.back();
        if (judged && Approved(met, folder / name))
            throw StoreRefusal(Status::ReportApproved, "the report is approved: " + name);
    }
    if (from == From::Editor && other)
        throw StoreRefusal(Status::ReportHasOthers, "another version was stored first: " + *other);
    int last = 0; // of those that were judged, not of what has come since
    for (const std::string& name : names)
        last = std::max(last, NumberOf(name));
    return last + 1;
}

/// Learns what the settled versions are that it has not met, and answers those that are not settled yet.
VersionTurn::Report VersionTurn::Meet(Report& known, const fs::path& folder, const std::vector<std::string>& names,
                                      const Rows& rows) const {
    std::erase_if(known, [&](const auto& met) { return !std::ranges::binary_search(names, met.first); });
    const auto unmet = [&](const std::string& name) { return !known.contains(name); };
    const auto first = std::ranges::find_if(names, unmet);
    if (first == names.end())
        return {};
    Report recent;
    auto stored = rows(*first);
    for (auto name = first; name != names.end(); ++name)
        if (const auto row = stored.find(*name); !unmet(*name))
            continue;
        else if (row == stored.end())
            recent[*name] = {UidIn(library_, folder / *name)};
        else if (IsOlder(folder / *name, settled_))
            known[*name] = {row->second};
        else
            recent[*name] = {row->second};
    return recent;
}

bool VersionTurn::Approved(Met& met, const fs::path& file) const {
    if (!met.approved) {
        try {
            met.approved =
                library_.OpenImageSeries(std::array{file.string()})->GetElementString(0, attribute::VerificationFlag) ==
                "VERIFIED";
        } catch (const Error&) {
            return false; // asked again the next time
        }
    }
    return *met.approved;
}

} // namespace tavrel
