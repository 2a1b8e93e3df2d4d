#pragma once

#include <string>
#include <string_view>

namespace tavrel {

/// A person's name (DICOM VR PN, PS3.5, 6.2.1) as people write it, on one line: "Doe, Dr. Peter Paul, Jr.". What is
/// written in ideographs, Kana or Hangul keeps its own order, the family before the given name with a blank between.
/// Further writings of the same name follow the first in brackets, further names after a semicolon. Of a text that is
/// no such value every word is still there. It is for the eye alone: nothing is stored or looked up by it.
std::string WrittenName(std::string_view value);

} // namespace tavrel
