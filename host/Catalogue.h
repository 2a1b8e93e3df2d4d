#pragma once

#include "host/Global.h"

#include <string>
#include <string_view>

namespace tavrel {

/// `value` as a statement that is built as text takes it between its quotes: as it is. One that would end them is an
/// `Error` that shows it, as the rest of it would be read as part of the statement.
std::string InQuotes(std::string_view value);

/// Writes one `History` row on what was done with a series. A value that holds an
/// apostrophe makes it fail, and so does an empty table `DicomServer`.
void WriteHistory(Global& global, std::string_view seriesUid, std::string_view actionVal, std::string_view description);

/// Sets the status of a series; false on any failure, which is not reported.
bool SetSeriesStatus(Global& global, std::string_view seriesUid, std::string_view status);

} // namespace tavrel
