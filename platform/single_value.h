#pragma once

#include "platform/text.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace tavrel {

/// Why a text cannot be one short value of a DICOM file (PS3.5, 6.2) of at most `longest` characters, in words that
/// follow its name; empty when it can. A backslash would make two values of it.
inline std::string ValueFault(std::string_view text, std::size_t longest) {
    if (std::ranges::any_of(text, [](unsigned char c) { return c < ' ' || c == 0x7F || c == '\\'; }))
        return "holds a control character or a backslash";
    if (CountCharacters(text) > longest)
        return "is longer than " + std::to_string(longest) + " characters";
    return {};
}

} // namespace tavrel
