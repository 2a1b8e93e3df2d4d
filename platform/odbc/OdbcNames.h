#pragma once

#include <algorithm>
#include <string_view>

namespace tavrel {

/// Whether two column or table names are one, in any letter case: engines fold case each in their
/// own way.
inline bool SameName(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(left, right, {}, lower, lower);
}

} // namespace tavrel
