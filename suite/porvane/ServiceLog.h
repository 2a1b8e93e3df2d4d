#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// Writes one line with the local time to standard error, whole, from any thread. Whatever could end the line, or
/// make a terminal do something, is written as an escape; a long message is cut. Of a flood of lines most are
/// counted only.
void LogLine(std::string_view message);

/// A text that came from outside, between quotation marks.
std::string Quote(std::string_view text);

} // namespace tavrel
