#pragma once

#include <cstddef>
#include <string_view>

/// What the column `Kind` of the catalogue's table `TextBlock` holds.
namespace tavrel::text_block {

inline constexpr std::string_view Table = "TextBlock";
inline constexpr std::string_view Template = "template"; ///< `Name` is the meaning of a heading
inline constexpr std::string_view ShortForm = "short";   ///< `Name` is what is typed for it

} // namespace tavrel::text_block
