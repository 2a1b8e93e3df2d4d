#pragma once

#include "host/Global.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tavrel {

/// Writes one `History` row on what was done with a series. Values stand in the statement as they
/// are: one that holds an apostrophe makes it fail, and so does an empty table `DicomServer`.
void WriteHistory(Global& global, std::string_view seriesUid, std::string_view actionVal, std::string_view description);

/// Sets the status of a series; false on any failure, which is not reported.
bool SetSeriesStatus(Global& global, std::string_view seriesUid, std::string_view status);

/// The present local time as "yyyy.mm.dd.hh.MM.ss", leading zeros kept, from which UIDs are made.
std::string TimeStamp(const Clock& clock);

/// The folder part of a path with its last "\", or "." when there is none.
std::string FolderOf(std::string_view path);

/// Writes a coded concept (DICOM PS3.3, 8.8) into a code sequence. A negative `itemIndex` appends
/// and becomes the new item's index; an existing item at that index is replaced.
void AppendCodeItem(DicomLibrary& dicom, DicomDataSet& dataSet, Tag sequence, std::string_view codeScheme,
                    std::string_view codeValue, std::string_view codeMeaning, std::int16_t& itemIndex);

} // namespace tavrel
