#include "suite/porvane/IncomingFile.h"

#include "platform/posix/WholeFile.h"
#include "suite/porvane/StoreRefusal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tavrel {
namespace {

[[noreturn]] void Refuse(const std::string& what, int number) {
    throw StoreRefusal(StoreRefusal::Status::OutOfResources, what + ": " + std::generic_category().message(number));
}

/// A copy in the target's folder, under a name that no reader of the folder takes for an object.
std::filesystem::path CopyBeside(const std::filesystem::path& file, const std::filesystem::path& target) {
    auto copy = target.parent_path() / ("." + target.filename().string() + ".part");
    std::error_code failure;
    std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing, failure);
    if (failure) {
        unlink(copy.c_str());
        Refuse("cannot write the file", failure.value());
    }
    return copy;
}

} // namespace

IncomingFile::IncomingFile(std::filesystem::path path, Start start)
    : path_(std::move(path)),
      descriptor_(open(path_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | (start == Start::Made ? O_CREAT | O_EXCL : 0),
                       S_IRUSR | S_IWUSR)) {
    if (descriptor_ < 0)
        failure_ = errno;
}

IncomingFile::~IncomingFile() {
    if (descriptor_ >= 0)
        close(descriptor_);
    unlink(path_.c_str());
}

void IncomingFile::Write(std::string_view bytes) {
    if (failure_ != 0)
        Refuse("cannot make the file", failure_);
    if (!WriteAll(descriptor_, bytes))
        Refuse("cannot write the file", errno);
}

void IncomingFile::Finish() {
    if (fsync(descriptor_) != 0)
        Refuse("cannot write the file", errno);
}

bool IncomingFile::FileAs(const std::filesystem::path& target) {
    // A link, unlike a rename, never replaces anything.
    if (link(path_.c_str(), target.c_str()) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    if (errno != EXDEV)
        Refuse("cannot file the object", errno);
    IncomingFile copy(CopyBeside(path_, target), Start::Begun); // an older study may lie on another disk
    copy.Finish();
    return copy.FileAs(target);
}

void KeepNames(const std::filesystem::path& folder) {
    if (!SyncFolder(folder.string()))
        Refuse("cannot write the folder " + folder.string(), errno);
}

} // namespace tavrel
