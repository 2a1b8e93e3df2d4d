#pragma once

#include <filesystem>

namespace tavrel {

/// Looks that a received file is a whole DICOM file to its last byte, and that what must be parsed of it takes no
/// more than some megabytes of memory: all of a report, of another object what tells its patient, study and
/// series. Throws a StoreRefusal.
void RequireWhole(const std::filesystem::path& path, bool report);

} // namespace tavrel
