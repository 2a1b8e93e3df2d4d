#include "platform/posix/WholeFile.h"

#include "platform/error.h"
#include "platform/posix/AccessBelow.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <tuple>

namespace tavrel {
namespace {

[[noreturn]] void Fail(const std::string& path, int number) {
    throw Error(number, "Files", "Cannot write the file \"" + path + "\": " + std::generic_category().message(number));
}

std::string FolderOf(const std::string& path) {
    const auto folder = std::filesystem::path{path}.parent_path().string();
    return folder.empty() ? "." : folder;
}

constexpr mode_t NoFileRuns = static_cast<mode_t>(~(S_IXUSR | S_IXGRP | S_IXOTH));

/// A file beside the place where it shall stand; what was not moved there is removed again.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target)
        : name_(FolderOf(target) + "/.tavrel-XXXXXX"), descriptor_(mkostemp(name_.data(), O_CLOEXEC)) { // OwnerOnly
        if (descriptor_ < 0)
            Fail(target, errno);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        close(descriptor_);
        if (!moved_)
            unlink(name_.c_str());
    }

    /// Where the file system has no permissions of its own, the file keeps those that it got.
    void LetIn(mode_t access) const {
        if (access != OwnerOnly)
            std::ignore = fchmod(descriptor_, access);
    }

    bool Write(std::string_view bytes) const { return WriteAll(descriptor_, bytes) && fsync(descriptor_) == 0; }

    bool Replace(const std::string& target) {
        moved_ = rename(name_.c_str(), target.c_str()) == 0;
        return moved_;
    }

private:
    std::string name_;
    int descriptor_;
    bool moved_ = false;
};

void Write(const std::string& path, std::string_view bytes, mode_t access) {
    TemporaryFile file{path};
    file.LetIn(access);
    if (!file.Write(bytes) || !file.Replace(path) || !SyncFolder(FolderOf(path)))
        Fail(path, errno);
}

} // namespace

void WriteWholeFile(const std::string& path, std::string_view bytes) {
    Write(path, bytes, AccessBelow(FolderOf(path)) & NoFileRuns);
}

void WriteSecretFile(const std::string& path, std::string_view bytes) {
    Write(path, bytes, OwnerOnly);
}

void MakeLastingFolder(const std::filesystem::path& folder) {
    if (folder.empty())
        return;
    std::error_code ignored;
    const bool there = std::filesystem::exists(folder, ignored);
    if (!there)
        MakeLastingFolder(folder.parent_path());
    const bool made = !there && mkdir(folder.c_str(), AccessBelow(folder.parent_path())) == 0;
    // Who made one that is there may have been killed before this.
    if (SyncFolder(FolderOf(folder)) || !made)
        return;
    const int reason = errno;
    rmdir(folder.c_str()); // or the next attempt would find it there
    throw Error(reason, "Files",
                "Cannot make the folder \"" + folder.string() + "\": " + std::generic_category().message(reason));
}

bool WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool SyncFolder(const std::string& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const int reason = fsync(descriptor) == 0 ? 0 : errno;
    close(descriptor);
    errno = reason;
    return reason == 0 || reason == EINVAL;
}

} // namespace tavrel
