#include "suite/porvane/IncomingArea.h"

#include "platform/posix/WholeFile.h"
#include "suite/porvane/StoreRefusal.h"
#include "suite/porvane/TreeFiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tavrel {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t NamesAtOnce = 64;
constexpr int MostAreas = 1000;
constexpr mode_t WhomTheMaskLetsIn = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP;

[[noreturn]] void CannotWrite(const fs::path& folder, int number) {
    throw std::runtime_error("Cannot write in the studies' folder \"" + folder.parent_path().string() +
                             "\": " + std::generic_category().message(number));
}

/// In the order of their making, and like no other.
std::string FreshName() {
    std::random_device random;
    const auto now =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch());
    std::array<char, 40> name{};
    std::snprintf(name.data(), name.size(), "%014llx%08x", static_cast<unsigned long long>(now.count()), random());
    return name.data();
}

} // namespace

IncomingArea::IncomingArea(fs::path folder, int lock) : folder_(std::move(folder)), lock_(lock) {}

IncomingArea::~IncomingArea() {
    for (const fs::path& name : names_)
        unlink(name.c_str());
    close(lock_);
}

std::unique_ptr<IncomingArea> IncomingArea::TakeOwn(const fs::path& incoming) {
    for (int number = 1; number <= MostAreas; ++number) {
        const fs::path folder = incoming / std::to_string(number);
        MakeLastingFolder(folder);
        if (auto area = Take(folder)) {
            area->ReadNumber();
            return area;
        }
        if (errno != EWOULDBLOCK)
            CannotWrite(incoming, errno);
    }
    throw std::runtime_error("Too many storage services work in the studies' folder \"" +
                             incoming.parent_path().string() + "\"");
}

std::vector<std::unique_ptr<IncomingArea>> IncomingArea::TakeAbandoned(const fs::path& incoming) {
    std::vector<fs::path> folders = {incoming};
    std::error_code failure;
    for (auto entry = fs::directory_iterator(incoming, failure); !failure && entry != fs::directory_iterator();
         entry.increment(failure))
        if (std::error_code gone; entry->is_directory(gone))
            folders.push_back(entry->path());
    std::vector<std::unique_ptr<IncomingArea>> areas;
    for (const fs::path& folder : folders) {
        auto area = Take(folder);
        if (area && !area->Remains().empty()) {
            area->ReadNumber();
            areas.push_back(std::move(area));
        }
    }
    return areas;
}

/// Nothing while another has it, or when it cannot be had, with the reason in errno.
std::unique_ptr<IncomingArea> IncomingArea::Take(const fs::path& folder) {
    const int lock = open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, WhomTheMaskLetsIn);
    if (lock < 0)
        return nullptr;
    if (flock(lock, LOCK_EX | LOCK_NB) == 0)
        return std::unique_ptr<IncomingArea>(new IncomingArea(folder, lock));
    const int reason = errno;
    close(lock);
    errno = reason;
    return nullptr;
}

/// Made by the first service that works here.
void IncomingArea::ReadNumber() {
    constexpr std::uint32_t largest = 0x7FFFFFFF; // the databases take it for any kind of integer
    std::array<char, 16> text{};
    if (pread(lock_, text.data(), text.size() - 1, 0) > 0)
        std::from_chars(text.data(), text.data() + text.size(), number_);
    if (number_ != 0)
        return;
    std::random_device random;
    number_ = std::uniform_int_distribution<std::uint32_t>(1, largest)(random);
    const std::string written = std::to_string(number_);
    if (pwrite(lock_, written.data(), written.size(), 0) != static_cast<ssize_t>(written.size()) || fsync(lock_) != 0)
        CannotWrite(folder_.parent_path(), errno);
}

fs::path IncomingArea::NewName() {
    for (;;) {
        {
            const std::lock_guard guard(mutex_);
            if (!names_.empty()) {
                fs::path name = names_.front();
                names_.pop_front();
                return name;
            }
        }
        MakeNames();
    }
}

bool IncomingArea::WantsNames() {
    const std::lock_guard guard(mutex_);
    return names_.size() < NamesAtOnce / 2;
}

void IncomingArea::MakeNames() {
    std::deque<fs::path> made;
    try {
        while (made.size() < NamesAtOnce) {
            const fs::path name = folder_ / (FreshName() + ObjectExtension);
            const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, WhomTheMaskLetsIn);
            if (file < 0)
                throw StoreRefusal(StoreRefusal::Status::OutOfResources,
                                   "cannot make the file: " + std::generic_category().message(errno));
            close(file);
            made.push_back(name);
        }
        KeepNames(folder_);
    } catch (const StoreRefusal&) {
        for (const fs::path& name : made)
            unlink(name.c_str());
        throw;
    }
    const std::lock_guard guard(mutex_);
    names_.insert(names_.end(), made.begin(), made.end());
}

std::vector<fs::path> IncomingArea::Remains() const {
    std::vector<fs::path> remains;
    std::error_code failure;
    for (auto entry = fs::directory_iterator(folder_, failure); !failure && entry != fs::directory_iterator();
         entry.increment(failure))
        if (entry->path().extension() == ObjectExtension || entry->path().extension() == NoteExtension)
            remains.push_back(entry->path());
    return remains;
}

} // namespace tavrel
