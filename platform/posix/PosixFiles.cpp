#include "platform/posix/PosixFiles.h"

#include "platform/error.h"
#include "platform/paths.h"
#include "platform/posix/WholeFile.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace tavrel {

namespace {

[[noreturn]] void Fail(const char* what, const std::string& path, int number) {
    throw Error(number, "Files", std::string(what) + " \"" + path + "\": " + std::generic_category().message(number));
}

class OpenFile {
public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    ~OpenFile() {
        if (IsOpen())
            close(descriptor_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool IsOpen() const { return descriptor_ >= 0; }
    int Descriptor() const { return descriptor_; }

private:
    int descriptor_;
};

bool EndsWithIgnoringCase(const std::string& name, std::string_view extension) {
    return name.size() >= extension.size() &&
           strncasecmp(name.data() + name.size() - extension.size(), extension.data(), extension.size()) == 0;
}

} // namespace

bool PosixFiles::Exists(std::string_view path) const {
    std::error_code ignored;
    return std::filesystem::exists(NativePath(std::string(path)), ignored);
}

std::vector<std::string> PosixFiles::List(std::string_view folder, std::string_view extension) const {
    const auto path = NativePath(std::string(folder));
    std::vector<std::string> names;
    std::error_code failure;
    auto entry = std::filesystem::directory_iterator(path, failure);
    for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
        auto name = entry->path().filename().string();
        std::error_code ignored;
        if (EndsWithIgnoringCase(name, extension) && !entry->is_directory(ignored))
            names.push_back(std::move(name));
    }
    if (failure)
        Fail("Cannot read the folder", path, failure.value());
    std::sort(names.begin(), names.end());
    return names;
}

std::string PosixFiles::CreateNew(std::string_view folder, std::string_view name, std::string_view extension) {
    const auto native = NativePath(std::string(folder));
    MakeLastingFolder(native);
    for (int copy = 1;; ++copy) {
        auto path =
            native + "/" + std::string(name) + (copy > 1 ? "-" + std::to_string(copy) : "") + std::string(extension);
        const OpenFile file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, OwnerOnly));
        if (file.IsOpen())
            return InsidePath(std::move(path));
        if (errno != EEXIST)
            Fail("Cannot make the file", path, errno);
    }
}

void PosixFiles::Remove(std::string_view path) {
    unlink(NativePath(std::string(path)).c_str());
}

/// In bytes. Nothing that people or this program write as text comes near it; a damaged disk's file may.
constexpr off_t LongestText = off_t{64} * 1024 * 1024;

std::string PosixFiles::ReadText(std::string_view path) const {
    const auto native = NativePath(std::string(path));
    const OpenFile file(open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.IsOpen() || fstat(file.Descriptor(), &status) != 0)
        Fail("Cannot read the file", native, errno);
    // A pipe would be waited for without end.
    if (!S_ISREG(status.st_mode))
        Fail("Cannot read the file", native, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    if (status.st_size > LongestText)
        Fail("Cannot read the file", native, EFBIG);
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t length = 0;
    while (length < text.size()) {
        const auto got = read(file.Descriptor(), text.data() + length, text.size() - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            Fail("Cannot read the file", native, errno);
        if (got == 0)
            break;
        length += static_cast<std::size_t>(got);
    }
    text.resize(length);
    return text;
}

void PosixFiles::WriteText(std::string_view path, std::string_view text) {
    WriteWholeFile(NativePath(std::string(path)), text);
}

void PosixFiles::AppendText(std::string_view path, std::string_view text) {
    const auto native = NativePath(std::string(path));
    const OpenFile file(open(native.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, OwnerOnly));
    if (!file.IsOpen())
        Fail("Cannot append to the file", native, errno);
    ssize_t written = 0;
    do
        written = write(file.Descriptor(), text.data(), text.size());
    while (written < 0 && errno == EINTR);
    if (written < 0)
        Fail("Cannot append to the file", native, errno);
    if (static_cast<std::size_t>(written) != text.size())
        Fail("Cannot append the whole text to the file", native, ENOSPC);
}

} // namespace tavrel
