#pragma once

#include <algorithm>
#include <array>
#include <utility>

namespace tavrel {

/// Of a small letter with a stroke, or without its dot, the plain one: no accents to Unicode, but to who types a name
/// without them.
constexpr char32_t WithoutStroke(char32_t letter) {
    constexpr std::array strokes{std::pair(U'ø', U'o'), std::pair(U'ł', U'l'), std::pair(U'đ', U'd'),
                                 std::pair(U'ħ', U'h'), std::pair(U'ŧ', U't'), std::pair(U'ı', U'i')};
    const auto* stroke = std::ranges::find(strokes, letter, &std::pair<char32_t, char32_t>::first);
    return stroke == strokes.end() ? letter : stroke->second;
}

} // namespace tavrel
