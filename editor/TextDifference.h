#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tavrel {

/// A piece of two texts: in both, in the later one alone, or in the earlier one alone.
struct TextPiece {
    enum class Kind { Same, Added, Removed };
    Kind kind;
    std::string text;

    bool operator==(const TextPiece&) const = default;
};

/// How one text became the other, by words, in the order of the text, what was removed before what was added. Where the
/// texts are so different that the words would take too long, by lines, or as a whole.
std::vector<TextPiece> Difference(std::string_view before, std::string_view after);

/// How many words a text has; punctuation is none.
std::size_t CountWords(std::string_view text);

} // namespace tavrel
