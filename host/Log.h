#pragma once

#include "host/Global.h"

#include <string_view>

namespace tavrel {

/// Appends "date time - message" and CR LF to Tavrel.log beside the executable. Never fails: a log
/// that cannot be written is silence.
void WriteLog(const Global& global, std::string_view message);

} // namespace tavrel
