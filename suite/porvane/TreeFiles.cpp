#include "suite/porvane/TreeFiles.h"

#include "platform/paths.h"
#include "platform/posix/WholeFile.h"
#include "suite/porvane/StoreRefusal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <optional>
#include <system_error>

namespace tavrel {
namespace {

namespace fs = std::filesystem;
using Status = StoreRefusal::Status;

constexpr std::string_view FilePrefix = "img_";
constexpr const char* FileExtension = ".dcm";

std::optional<struct stat> StateOf(const fs::path& file) {
    struct stat state {};
    return stat(file.c_str(), &state) == 0 ? std::optional(state) : std::nullopt;
}

} // namespace

void Refuse(const std::string& what, int number) {
    throw StoreRefusal(Status::OutOfResources, what + ": " + std::generic_category().message(number));
}

fs::path NativeFolder(const ObjectPlace& place) {
    return NativePath(place.studyPath + "\\" + place.seriesDir);
}

fs::path NativeFile(const ObjectPlace& place) {
    return NativePath(place.Path());
}

std::string UniqueName(const fs::path& incoming) {
    return std::string(FilePrefix) + incoming.stem().string() + FileExtension;
}

std::string VersionName(int number) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "img_%06d.dcm", number);
    return name.data();
}

void MakeFolders(const ObjectPlace& place) {
    for (const fs::path& folder : {NativeFolder(place).parent_path(), NativeFolder(place)}) {
        std::error_code failure;
        fs::create_directory(folder, failure);
        if (failure)
            throw StoreRefusal(Status::OutOfResources,
                               "cannot make the folder " + folder.string() + ": " + failure.message());
    }
}

void SyncFolders(const fs::path& seriesFolder) {
    const fs::path study = seriesFolder.parent_path();
    for (const fs::path& folder : {seriesFolder, study, study.parent_path()})
        if (!SyncFolder(folder.string()) && errno != ENOENT)
            Refuse("cannot write the folder " + folder.string(), errno);
}

void RemoveEmptyFolders(const fs::path& seriesFolder) {
    rmdir(seriesFolder.c_str());
    rmdir(seriesFolder.parent_path().c_str());
}

void KeepNames(const fs::path& folder) {
    if (!SyncFolder(folder.string()))
        Refuse("cannot write the folder " + folder.string(), errno);
}

Linked Link(const fs::path& from, const fs::path& to) {
    if (link(from.c_str(), to.c_str()) == 0)
        return Linked::Done;
    switch (errno) {
    case EEXIST:
        return Linked::NameTaken;
    case ENOENT:
        return Linked::FolderGone;
    case EXDEV:
        return Linked::OtherDisk;
    default:
        Refuse("cannot file the object", errno);
    }
}

void Copy(const fs::path& from, const fs::path& to) {
    std::error_code failure;
    fs::copy_file(from, to, fs::copy_options::overwrite_existing, failure);
    if (failure)
        Refuse("cannot write the file", failure.value());
    const int file = open(to.c_str(), O_WRONLY | O_CLOEXEC);
    const int reason = file >= 0 && fsync(file) == 0 ? 0 : errno;
    if (file >= 0)
        close(file);
    if (reason != 0)
        Refuse("cannot write the file", reason);
}

bool AreOneFile(const fs::path& one, const fs::path& other) {
    const auto left = StateOf(one);
    const auto right = StateOf(other);
    return left && right && left->st_dev == right->st_dev && left->st_ino == right->st_ino;
}

bool AreOnOneDisk(const fs::path& one, const fs::path& other) {
    const auto left = StateOf(one);
    const auto right = StateOf(other);
    return left && right && left->st_dev == right->st_dev;
}

bool HasOneName(const fs::path& file) {
    const auto state = StateOf(file);
    return state && state->st_nlink == 1;
}

void LeaveNote(const fs::path& note, const ObjectPlace& place) {
    const std::string text = place.studyPath + "\n" + place.seriesDir + "\n" + place.imageFile;
    if (symlink(text.c_str(), note.c_str()) != 0)
        Refuse("cannot file the object", errno);
    KeepNames(note.parent_path());
}

ObjectPlace ReadNote(const fs::path& note) {
    const std::string text = fs::read_symlink(note).string();
    const auto first = text.find('\n');
    const auto second = text.find('\n', first + 1);
    return {text.substr(0, first), text.substr(first + 1, second - first - 1), text.substr(second + 1)};
}

} // namespace tavrel
