#pragma once

#include <cstdint>

namespace tavrel {

/// What a character typed into the search box becomes: "a" to "z" their capitals, an apostrophe the
/// back-quote, so that typed text can stand between the quotes of a statement. All else passes.
std::int16_t FilterSearchKey(std::int16_t keyAscii);

} // namespace tavrel
