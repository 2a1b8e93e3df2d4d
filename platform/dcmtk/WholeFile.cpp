#include "platform/dcmtk/WholeFile.h"

#include "platform/dcmtk/DicomFailure.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tavrel {
namespace {

Error Unsaved(const std::string& path) {
    return DicomFailure(DicomFault::FileUnsaved,
                        "The file " + path + " cannot be written: " + std::strerror(errno) + ".");
}

std::string FolderOf(const std::string& path) {
    const auto folder = std::filesystem::path{path}.parent_path().string();
    return folder.empty() ? "." : folder;
}

/// A synced file beside the place where it shall stand; removed again unless it was moved there.
class TemporaryFile {
public:
    TemporaryFile(const std::string& target, std::string_view bytes)
        : target_(target), name_(FolderOf(target) + "/.tavrel-XXXXXX") {
        handle_ = ::mkostemp(name_.data(), O_CLOEXEC); // mode 0600
        if (handle_ < 0)
            throw Unsaved(target);
        Write(bytes);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        ::close(handle_);
        if (!moved_)
            ::unlink(name_.c_str());
    }

    void Replace() {
        if (::rename(name_.c_str(), target_.c_str()) != 0)
            throw Unsaved(target_);
        moved_ = true;
        SyncFolder();
    }

    /// False when `target` exists.
    bool MoveTo(const std::string& target) {
        if (::link(name_.c_str(), target.c_str()) != 0) {
            if (errno == EEXIST)
                return false;
            throw Unsaved(target);
        }
        SyncFolder();
        return true;
    }

private:
    void Write(std::string_view bytes) {
        while (!bytes.empty()) {
            const auto written = ::write(handle_, bytes.data(), bytes.size());
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                Fail();
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        if (::fsync(handle_) != 0)
            Fail();
    }

    [[noreturn]] void Fail() {
        const Error failure = Unsaved(target_);
        ::close(handle_);
        ::unlink(name_.c_str());
        throw failure;
    }

    void SyncFolder() const {
        const int folder = ::open(FolderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder < 0)
            return;
        ::fsync(folder);
        ::close(folder);
    }

    std::string target_;
    std::string name_;
    int handle_ = -1;
    bool moved_ = false;
};

} // namespace

void WriteWholeFile(const std::string& path, std::string_view bytes) {
    TemporaryFile{path, bytes}.Replace();
}

std::string WriteNewFile(const std::string& folder, const std::string& name, std::string_view bytes) {
    std::error_code failure;
    const bool made = std::filesystem::create_directories(folder, failure);
    if (made)
        ::chmod(folder.c_str(), S_IRWXU);
    const auto path = [&](int copy) {
        std::string result = folder + "/" + name;
        if (copy > 1)
            result.append("-").append(std::to_string(copy));
        return result + ".dcm";
    };
    TemporaryFile file{path(1), bytes};
    int copy = 1;
    while (!file.MoveTo(path(copy)))
        ++copy;
    return path(copy);
}

} // namespace tavrel
