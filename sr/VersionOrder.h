#pragma once

#include "platform/dicom.h"

#include <span>
#include <string>
#include <vector>

namespace tavrel {

/// In which order a report's versions were written, as indexes into `versions`, oldest first. Each version names those
/// before it; among versions that do not name each other an approved one is the later, then the content date and time
/// count, then the files' order. A version that waited for the storage service may be filed after its successor.
/// `files` are the versions' own, in the same order.
///
/// As a rule the newest names all others: that one alone is parsed, and the cost is that of sorting. Otherwise each
/// file is read once more and let go again. What cannot be read names none.
std::vector<int> OrderOfVersions(DicomLibrary& dicom, const DataSetList& versions, std::span<const std::string> files);

/// How many versions before it a version names.
std::size_t PredecessorCount(const DicomDataSet& version);

} // namespace tavrel
