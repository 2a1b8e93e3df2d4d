#pragma once

#include "host/Global.h"

#include <string_view>

namespace tavrel {

/// Writes one `History` row on what was done with a series. Values stand in the statement as they
/// are: one that holds an apostrophe makes it fail, and so does an empty table `DicomServer`.
void WriteHistory(Global& global, std::string_view seriesUid, std::string_view actionVal, std::string_view description);

/// Sets the status of a series; false on any failure, which is not reported.
bool SetSeriesStatus(Global& global, std::string_view seriesUid, std::string_view status);

} // namespace tavrel
