#include "suite/porvane/UnsentVersions.h"

#include "suite/porvane/ServiceLog.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Status = StoreRefusal::Status;

[[noreturn]] void FailToRead(int number) {
    throw std::system_error(number, std::generic_category(), "cannot read the file");
}

/// Whether the same file would be refused each time.
bool IsFinal(const StoreRefusal& reason) {
    return reason.status == Status::CannotUnderstand || reason.status == Status::ReportApproved;
}

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {
        if (number_ < 0)
            FailToRead(errno);
    }
    ~Descriptor() { close(number_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Number() const { return number_; }

private:
    int number_;
};

} // namespace

UnsentVersions::UnsentVersions(fs::path folder, DicomLibrary& library, StudyTree& tree, Told told)
    : folder_(std::move(folder)), library_(library), tree_(tree), told_(std::move(told)) {}

UnsentVersions::~UnsentVersions() {
    if (heldFolder_ >= 0)
        close(heldFolder_);
}

UnsentVersions::Outcome UnsentVersions::TakeIn(const std::function<bool()>& ended) {
    Outcome outcome;
    std::set<std::string> blocked;
    std::vector<Version> waiting = Waiting();
    {
        const std::lock_guard guard(delivering_);
        if (!HoldFolder()) // before anything is in it, lest another service take this one's versions
            return {.progress = false, .left = true};
        std::stable_partition(waiting.begin(), waiting.end(), [this](const Version& version) {
            return !failedSeries_.contains(version.header.seriesUid);
        });
    }
    for (const Version& version : waiting) {
        const std::string& series = version.header.seriesUid;
        if (ended())
            return outcome;
        if (!series.empty() && blocked.contains(series))
            continue;
        const Reason reason = Deliver(version);
        if (!reason) {
            outcome.progress = true;
            continue;
        }
        blocked.insert(series);
        outcome.left = outcome.left || !IsFinal(*reason);
        if (reason->status == Status::ProcessingFailure)
            break; // the catalogue's failures take their time, and senders wait for it meanwhile
    }
    return outcome;
}

void UnsentVersions::TakeInBefore(const std::string& seriesUid) {
    for (const Version& version : Waiting())
        if (version.header.seriesUid == seriesUid)
            if (const Reason reason = Deliver(version))
                throw StoreRefusal(reason->status, std::string("an earlier version waits: ") + reason->what());
}

/// In the order of their making.
std::vector<UnsentVersions::Version> UnsentVersions::Waiting() {
    const std::lock_guard guard(listing_);
    std::map<fs::path, Version> known;
    std::vector<Version> waiting;
    try {
        for (const UnsentFile& file : ListUnsentFiles(folder_)) {
            const auto before = known_.find(file.path);
            const bool same = before != known_.end() && before->second.file.identity == file.identity &&
                              !before->second.header.seriesUid.empty(); // it may be readable now
            waiting.push_back({file, same ? before->second.header : ReadUnsentHeader(library_, file.path)});
            known[file.path] = waiting.back();
        }
        folderFault_.clear();
    } catch (const std::system_error& failure) {
        if (folderFault_ != failure.what())
            LogLine(folderFault_ = failure.what());
    }
    known_ = std::move(known);
    std::ranges::stable_sort(waiting, {}, [](const Version& version) { return version.header.made; });
    return waiting;
}

/// Answers why the version still waits; nothing when it is stored.
UnsentVersions::Reason UnsentVersions::Deliver(const Version& version) {
    const std::lock_guard guard(delivering_);
    if (!HoldFolder())
        return StoreRefusal(Status::OutOfResources, "another storage service has its folder");
    if (!IsThere(version))
        return std::nullopt; // somebody came first
    if (const auto settled = settled_.find(version.file.path);
        settled != settled_.end() && settled->second.first == version.file.identity)
        return settled->second.second;

    Reason reason = Store(version);
    if (reason && reason->status == Status::ProcessingFailure)
        failedSeries_.insert(version.header.seriesUid);
    else
        failedSeries_.erase(version.header.seriesUid);
    if (reason && IsFinal(*reason))
        settled_[version.file.path] = {version.file.identity, reason};
    if (reason)
        Say(version,
            std::string("cannot be stored") + (IsFinal(*reason) ? " and stays there: " : " now: ") + reason->what());
    return reason;
}

UnsentVersions::Reason UnsentVersions::Store(const Version& version) try {
    IncomingFile copy(tree_.Area());
    Copy(version, copy);
    const ObjectHeader header = tree_.Examine(copy, version.header.sopClassUid, version.header.sopInstanceUid);
    told_(tree_.Store(copy, header, VersionTurn::From::KeptFile));
    said_.erase(version.file.path);
    if (unlink(version.file.path.c_str()) != 0 && errno != ENOENT) {
        Say(version, "is stored; the file cannot be removed: " + std::generic_category().message(errno));
        settled_[version.file.path] = {version.file.identity, std::nullopt};
    }
    return std::nullopt;
} catch (const StoreRefusal& refusal) {
    return refusal;
} catch (const std::exception& failure) {
    return StoreRefusal(Status::OutOfResources, failure.what());
}

void UnsentVersions::Copy(const Version& version, IncomingFile& copy) const {
    const Descriptor file(open(version.file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    std::array<char, 65536> bytes;
    for (;;) {
        const auto got = read(file.Number(), bytes.data(), bytes.size());
        if (got < 0)
            FailToRead(errno);
        if (got == 0)
            return;
        copy.Write({bytes.data(), static_cast<std::size_t>(got)});
    }
}

/// Whether the file that was listed is still the one of its name.
bool UnsentVersions::IsThere(const Version& version) const {
    struct stat state {};
    const auto& [device, number, size, changed] = version.file.identity;
    return lstat(version.file.path.c_str(), &state) == 0 && state.st_dev == device && state.st_ino == number &&
           state.st_size == size;
}

/// A second service in the same folder would store everything again.
bool UnsentVersions::HoldFolder() {
    struct stat held {};
    struct stat present {};
    const bool there = stat(folder_.c_str(), &present) == 0;
    if (there && heldFolder_ >= 0 && fstat(heldFolder_, &held) == 0 && held.st_dev == present.st_dev &&
        held.st_ino == present.st_ino)
        return true;
    if (heldFolder_ >= 0)
        close(std::exchange(heldFolder_, -1)); // held, a folder that went would not tell its watch
    if (!there)
        return true; // nothing in it can be stored either
    heldFolder_ = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool elsewhere = flock(heldFolder_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; // not: knows no locks
    if (elsewhere) {
        close(std::exchange(heldFolder_, -1));
        if (!heldElsewhere_)
            LogLine("leaves the versions in " + folder_.string() + " to another storage service while that works");
    }
    heldElsewhere_ = elsewhere;
    return !elsewhere;
}

/// Once, until there is something else to say of the file.
void UnsentVersions::Say(const Version& version, const std::string& words) {
    std::string& said = said_[version.file.path];
    if (said == words)
        return;
    LogLine("the version in " + version.file.path.string() + " " + words);
    said = words;
}

} // namespace tavrel
