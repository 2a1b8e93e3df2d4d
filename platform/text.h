#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

/// What is asked of texts in many places. Letter case is ASCII's alone.
namespace tavrel {

inline bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

inline bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}

inline char ToLower(char c) {
    return IsUpper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

inline char ToUpper(char c) {
    return IsLower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}

/// Whether a byte of UTF-8 may belong to a word: a letter, a digit, or any character beyond ASCII.
inline bool OfWord(char c) {
    return IsDigit(c) || IsLower(c) || IsUpper(c) || static_cast<unsigned char>(c) >= 0x80;
}

/// A blank, a tab or what ends a line.
inline bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Whether two texts are one but for letter case.
inline bool SameInAnyCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, ToLower, ToLower);
}

/// Without the characters `blanks` at its end.
inline std::string_view TrimmedRight(std::string_view text, std::string_view blanks = " ") {
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// Without the characters `blanks` at either end.
inline std::string_view Trimmed(std::string_view text, std::string_view blanks = " ") {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return TrimmedRight(text, blanks);
}

/// Whether the byte of a UTF-8 text belongs to the character before it.
inline bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The length of the UTF-8 character at the beginning of `text`; 0 when there is none.
inline std::size_t CharacterLength(std::string_view text) {
    const auto lead = text.empty() ? 0xFFU : static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    const bool whole =
        length > 0 && length <= text.size() && std::ranges::all_of(text.substr(1, length - 1), IsContinuation);
    return whole ? length : 0;
}

/// The number of characters (code points) of a UTF-8 text.
inline std::size_t CountCharacters(std::string_view text) {
    std::size_t count = 0;
    for (const char byte : text)
        count += IsContinuation(byte) ? 0 : 1;
    return count;
}

/// The first `count` characters of a UTF-8 text.
inline std::string_view FirstCharacters(std::string_view text, std::size_t count) {
    for (std::size_t at = 0; at < text.size(); ++at)
        if (!IsContinuation(text[at]) && count-- == 0)
            return text.substr(0, at);
    return text;
}

} // namespace tavrel
