#pragma once

#include "host/Global.h"

#include <string_view>

namespace tavrel {

/// Fills `list` with the rows of a code table, upper-cased and in the order of their meanings: text
/// the code value, tag the scheme, sub-item 0 the meaning. `filter`, upper-cased by the caller, asks
/// for the meanings that contain it; empty asks for all. It stands in the statement as it is: "%" and
/// "_" are wildcards and an apostrophe makes the statement fail. A failure is shown; the rows read
/// before it stay.
void FillCodeList(const Global& global, ListView& list, std::string_view table, std::string_view filter);

} // namespace tavrel
