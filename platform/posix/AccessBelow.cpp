#include "platform/posix/AccessBelow.h"

#include <sys/stat.h>

#include <cerrno>

namespace tavrel {

mode_t AccessBelow(const std::filesystem::path& folder) {
    constexpr mode_t shared = S_ISGID | S_IWGRP;
    struct stat state {};
    std::filesystem::path nearest = std::filesystem::absolute(folder);
    int outcome = 0;
    while ((outcome = stat(nearest.c_str(), &state)) != 0 && errno == ENOENT && nearest.has_relative_path())
        nearest = nearest.parent_path();
    return outcome == 0 && (state.st_mode & shared) == shared ? S_IRWXU | S_IRWXG : S_IRWXU;
}

} // namespace tavrel
