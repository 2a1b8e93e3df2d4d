#pragma once

#include <sys/types.h>

#include <filesystem>

namespace tavrel {

/// Who may use what is made below a folder: S_IRWXU, its owner alone, or S_IRWXU | S_IRWXG, its group too, where the
/// folder has the set-group bit and its group may write in it. Of a folder that is not there the nearest one above
/// that is there decides. A file gets it without the bits that let search or run.
mode_t AccessBelow(const std::filesystem::path& folder);

} // namespace tavrel
