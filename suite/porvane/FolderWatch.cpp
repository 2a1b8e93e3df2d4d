#include "suite/porvane/FolderWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t FileComes = IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR;
/// A folder that somebody holds open does not tell of its own end, so the one above it is asked.
constexpr std::uint32_t FolderComesOrGoes =
    IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

FolderWatch::FolderWatch(fs::path folder)
    : folder_(std::move(folder)), descriptor_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "cannot watch a folder");
}

FolderWatch::~FolderWatch() {
    close(descriptor_);
}

void FolderWatch::Renew() {
    Drain();
    // What came or went between the look and the watch is seen by the second look.
    const auto look = [this] {
        std::error_code ignored;
        return std::pair(NearestAbove(), fs::exists(folder_, ignored));
    };
    for (auto seen = std::pair(fs::path(), false); seen != look();) {
        seen = look();
        Watch(seen.first, FolderComesOrGoes, above_);
        Watch(folder_, FileComes, inside_);
    }
}

void FolderWatch::Watch(const fs::path& place, std::uint32_t events, int& watch) const {
    const int before = std::exchange(watch, inotify_add_watch(descriptor_, place.c_str(), events));
    if (before >= 0 && before != watch)
        inotify_rm_watch(descriptor_, before);
}

void FolderWatch::Drain() const {
    std::array<char, 4096> events;
    while (read(descriptor_, events.data(), events.size()) > 0)
        ;
}

/// The nearest folder above it that is there.
fs::path FolderWatch::NearestAbove() const {
    fs::path place = folder_.parent_path();
    for (std::error_code ignored; !fs::exists(place, ignored) && place.has_relative_path();)
        place = place.parent_path();
    return place;
}

} // namespace tavrel
