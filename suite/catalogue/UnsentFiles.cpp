#include "suite/catalogue/UnsentFiles.h"

#include "platform/attributes.h"
#include "platform/error.h"
#include "platform/posix/StateFolder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <system_error>

#include <sys/stat.h>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

std::int64_t Nanoseconds(const timespec& time) {
    constexpr std::int64_t inASecond = 1'000'000'000;
    return time.tv_sec * inASecond + time.tv_nsec;
}

std::string MomentOf(const DataSetList& version) {
    DateTime day;
    DateTime clock;
    if (const Value value = version.GetElementValue(0, attribute::ContentDate); std::holds_alternative<DateTime>(value))
        day = std::get<DateTime>(value);
    if (const Value value = version.GetElementValue(0, attribute::ContentTime); std::holds_alternative<DateTime>(value))
        clock = std::get<DateTime>(value);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d%02d%02d%02d%02d%02d", day.year, day.month, day.day, clock.hour,
                  clock.minute, clock.second);
    return text.data();
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
