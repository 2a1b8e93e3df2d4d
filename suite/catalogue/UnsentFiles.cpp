#include "suite/catalogue/UnsentFiles.h"

#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/posix/StateFolder.h"

#include <algorithm>
#include <array>
#include <system_error>

#include <sys/stat.h>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

std::int64_t Nanoseconds(const timespec& time) {
    constexpr std::int64_t inASecond = 1'000'000'000;
    return time.tv_sec * inASecond + time.tv_nsec;
}

DateTime MomentOf(const DataSetList& version) {
    DateTime moment;
    const Value date = version.GetElementValue(0, attribute::ContentDate);
    if (const auto* day = std::get_if<DateTime>(&date))
        moment = *day;
    const Value time = version.GetElementValue(0, attribute::ContentTime);
    if (const auto* clock = std::get_if<DateTime>(&time)) {
        moment.hour = clock->hour;
        moment.minute = clock->minute;
        moment.second = clock->second;
    }
    return moment;
}

} // namespace

fs::path DefaultUnsentFolder() {
    return fs::path(StateFolder()) / "unsent";
}

std::vector<UnsentFile> ListUnsentFiles(const fs::path& folder) {
    std::error_code failure;
    std::vector<UnsentFile> files;
    auto entry = fs::directory_iterator(folder, failure);
    for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
        struct stat state {};
        const bool complete = entry->path().extension() == ".dcm" && lstat(entry->path().c_str(), &state) == 0 &&
                              S_ISREG(state.st_mode) && state.st_size > 0;
        if (complete)
            files.push_back({entry->path(),
                             {state.st_dev, state.st_ino, state.st_size, Nanoseconds(state.st_ctim)},
                             Nanoseconds(state.st_mtim)});
    }
    if (failure && failure != std::errc::no_such_file_or_directory)
        throw std::system_error(failure, "cannot read the folder " + folder.string());
    std::ranges::sort(files, &UnsentFile::KeptBefore);
    return files;
}

UnsentHeader ReadUnsentHeader(DicomLibrary& library, const fs::path& file) {
    UnsentHeader header;
    try {
        const auto version = library.OpenImageSeries(std::array{file.string()});
        header.seriesUid = version->GetElementString(0, attribute::SeriesInstanceUid);
        header.sopClassUid = version->GetElementString(0, attribute::SopClassUid);
        header.sopInstanceUid = version->GetElementString(0, attribute::SopInstanceUid);
        header.made = MomentOf(*version);
        header.studyUid = version->GetElementString(0, attribute::StudyInstanceUid);
        header.patientId = version->GetElementString(0, attribute::PatientId);
        header.patientName = version->GetElementString(0, attribute::PatientName);
    } catch (const Error&) { // what was read before says as much as there is
    }
    return header;
}

} // namespace tavrel
