#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

#include <string>

/// What libFuzzer calls with each input. Answers 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace tavrel::test {

inline std::string_view AsText(const std::uint8_t* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

/// What must hold whatever the input is.
inline void Require(bool holds) {
    if (!holds)
        std::abort();
}

/// The input as a file without a place in a folder.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* bytes, std::size_t size) : handle_(::memfd_create("input", MFD_CLOEXEC)) {
        Require(handle_ >= 0 && ::write(handle_, bytes, size) == static_cast<ssize_t>(size));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(handle_); }

    std::string Path() const { return "/proc/self/fd/" + std::to_string(handle_); }

private:
    int handle_;
};

} // namespace tavrel::test
