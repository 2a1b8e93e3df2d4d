#include "suite/paper/ReportVersions.h"

#include "host/Text.h"
#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/paths.h"
#include "sr/VersionOrder.h"
#include "sr/WrittenVersion.h"
#include "suite/paper/VersionPage.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace tavrel {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(const std::string& words) {
    throw Error(Fault::OfTheSuite, "Paper", words);
}

std::string SeriesOf(DicomLibrary& dicom, const std::string& file) {
    return dicom.OpenImageSeries(std::array{InsidePath(file)})->GetElementString(0, attribute::SeriesInstanceUid);
}

} // namespace

ReportVersions::ReportVersions(DicomLibrary& dicom, const std::vector<std::string>& files)
    : versions_(dicom.NewDataSetList()) {
    std::vector<std::string> readable;
    const auto load = [&](DataSetList& list, const std::string& file) {
        const int before = list.Count();
        try {
            list.LoadFile(InsidePath(file));
            // What orders the versions must be there.
            static_cast<void>(list.GetElementValue(before, attribute::ContentDate));
            return std::string();
        } catch (const Error& error) {
            if (list.Count() > before)
                list.RemoveDataSet(before);
            return error.description;
        }
    };
    const auto filed = dicom.NewDataSetList();
    for (const std::string& file : files)
        if (auto why = load(*filed, file); why.empty())
            readable.push_back(file);
        else
            unreadable_.push_back({file, std::move(why)});
    std::vector<std::string> inside(readable.size());
    std::ranges::transform(readable, inside.begin(), InsidePath);
    for (const int index : OrderOfVersions(dicom, *filed, inside)) {
        const std::string& file = readable[static_cast<std::size_t>(index)];
        if (auto why = load(*versions_, file); why.empty())
            files_.push_back(file);
        else
            unreadable_.push_back({file, std::move(why)});
    }
}

std::vector<std::string> ReportVersions::UnreadableFiles() const {
    std::vector<std::string> files(unreadable_.size());
    std::ranges::transform(unreadable_, files.begin(), &Unreadable::file);
    return files;
}

int ReportVersions::NumberOf(std::string_view file) const {
    if (const auto found = std::ranges::find(files_, file); found != files_.end())
        return static_cast<int>(found - files_.begin()) + 1;
    const auto unreadable = std::ranges::find(unreadable_, file, &Unreadable::file);
    Fail(unreadable == unreadable_.end() ? std::string(file) + " is no version of this report" : unreadable->why);
}

PrintLayout ReportVersions::Page(int number) const {
    if (Count() == 0)
        Fail(unreadable_.empty() ? "There is no version of this report" : unreadable_.front().why);
    if (number < 1 || number > Count())
        Fail("There is no version " + std::to_string(number) + " of this report, which has " + std::to_string(Count()) +
             (Count() == 1 ? " version" : " versions"));
    const DataSetHandle version = versions_->Item(number - 1);
    if (TextOf(*version, attribute::ValueType) != "CONTAINER")
        Fail(files_[static_cast<std::size_t>(number) - 1] + " is no structured report");
    // A file that was taken out of its report's folder still names the versions before it.
    const int known = static_cast<int>(PredecessorCount(*version)) + 1;
    VersionPlace place{.number = std::max(number, known),
                       .count = std::max(Count(), known),
                       .unreadable = static_cast<int>(unreadable_.size())};
    // Of other makers a series may hold documents that have nothing to do with each other.
    if (ReadVersion(*version).more && static_cast<int>(PredecessorCount(*versions_->Item(Count() - 1))) + 1 < Count())
        place = {};
    return VersionPage(*version, place);
}

std::vector<std::string> FilesOfItsSeries(DicomLibrary& dicom, const std::string& file) {
    std::vector<std::string> files = {file};
    std::string series;
    try {
        series = SeriesOf(dicom, file);
    } catch (const Error&) {
        return files; // whoever reads it says why
    }
    std::error_code unreadable;
    const fs::path folder = fs::absolute(file).parent_path();
    for (fs::directory_iterator entry(folder, unreadable), end; !unreadable && entry != end;
         entry.increment(unreadable)) {
        const std::string other = (fs::path(file).parent_path() / entry->path().filename()).string();
        std::error_code unknown;
        if (other == file || !entry->is_regular_file(unknown))
            continue;
        try {
            if (SeriesOf(dicom, other) == series)
                files.push_back(other);
        } catch (const Error&) { // it is of no series
        }
    }
    std::ranges::sort(files);
    return files;
}

} // namespace tavrel
