#include "platform/person_name.h"

#include "platform/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace tavrel {
namespace {

constexpr std::string_view Blanks = " \t\r\n\v\f";

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const std::size_t end = text.find(separator);
        parts.push_back(Trimmed(text.substr(0, end), Blanks));
        if (end == std::string_view::npos)
            return parts;
        text.remove_prefix(end + 1);
    }
}

/// Those that are not empty.
template <typename Parts> std::string Joined(const Parts& parts, std::string_view between) {
    std::string text;
    for (const auto& part : parts)
        if (!part.empty())
            text.append(text.empty() ? "" : between).append(part);
    return text;
}

/// The first character; 0 when there is none.
char32_t FirstOf(std::string_view text) {
    const std::size_t length = CharacterLength(text);
    if (length < 2)
        return length == 0 ? U'\0' : static_cast<char32_t>(text.front());
    char32_t character = static_cast<unsigned char>(text.front()) & (0x7FU >> length);
    for (const char byte : text.substr(1, length - 1))
        character = (character << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    return character;
}

/// Whether people who write so put the family name first, without a comma.
bool BeginsInEastAsia(std::string_view text) {
    struct Range {
        char32_t first, last;
    };
    constexpr std::array ranges = {
        Range{0x1100, 0x11FF},   // Hangul Jamo
        Range{0x2E80, 0x9FFF},   // radicals, Kana, Bopomofo, Hangul of compatibility, ideographs
        Range{0xA960, 0xA97F},   // Hangul Jamo
        Range{0xAC00, 0xD7FF},   // Hangul
        Range{0xF900, 0xFAFF},   // ideographs of compatibility
        Range{0xFF66, 0xFFDC},   // Katakana and Hangul of half width
        Range{0x20000, 0x3FFFF}, // further ideographs
    };
    const char32_t character = FirstOf(text);
    return std::ranges::any_of(
        ranges, [character](const Range& range) { return character >= range.first && character <= range.last; });
}

/// One writing of a name: "family^given^middle^prefix^suffix".
std::string Writing(std::string_view group) {
    enum Component : std::uint8_t { Family, Given, Middle, Prefix, Suffix, Known };
    auto parts = Split(group, '^');
    parts.resize(std::max<std::size_t>(parts.size(), Known));
    const auto behind = std::vector(parts.begin() + Suffix, parts.end());
    const std::string suffix = Joined(behind, " ");
    if (BeginsInEastAsia(Joined(parts, "")))
        return Joined(
            std::array<std::string_view, 5>{parts[Prefix], parts[Family], parts[Given], parts[Middle], suffix}, " ");
    const std::string calling = Joined(std::array{parts[Prefix], parts[Given], parts[Middle]}, " ");
    return Joined(std::array<std::string_view, 3>{parts[Family], calling, suffix}, ", ");
}

std::string OfAllWritings(std::string_view name) {
    std::vector<std::string> writings;
    for (const std::string_view group : Split(name, '='))
        if (auto writing = Writing(group); !writing.empty() && std::ranges::find(writings, writing) == writings.end())
            writings.push_back(std::move(writing));
    if (writings.size() < 2)
        return writings.empty() ? std::string() : writings.front();
    return writings.front() + " (" + Joined(std::vector(writings.begin() + 1, writings.end()), ", ") + ")";
}

} // namespace

std::string WrittenName(std::string_view value) {
    std::vector<std::string> names;
    for (const std::string_view name : Split(value, '\\'))
        names.push_back(OfAllWritings(name));
    std::string text = Joined(names, "; ");
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
    return text;
}

} // namespace tavrel
