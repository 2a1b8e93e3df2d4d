#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// `text` (UTF-8) with the small letters of the Latin, Greek and Cyrillic scripts as capitals; a
/// letter whose capital is no single letter (the German sharp s) and the micro sign of units stay.
/// Catalogues may do less: SQLite's own Upper() knows the letters of ASCII only, so there a meaning
/// is found by an accented letter only as it is stored in capitals.
std::string UpperCase(std::string_view text);

/// The same into a string whose memory is used again. `text` must not be part of it.
void UpperCase(std::string_view text, std::string& upper);

} // namespace tavrel
