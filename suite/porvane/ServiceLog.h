#pragma once

#include <string_view>

namespace tavrel {

/// Writes one line with the local time to standard error, whole, from any thread.
void LogLine(std::string_view message);

} // namespace tavrel
