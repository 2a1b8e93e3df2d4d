#pragma once

#include <filesystem>

namespace tavrel {

/// Whether two DICOM files hold the same data set to the last byte; their meta information, which
/// tells who sent it, may differ. A file that cannot be read is like no other.
bool SameDataSet(const std::filesystem::path& one, const std::filesystem::path& other);

} // namespace tavrel
