#include "tests/support/ElementDump.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <stdexcept>

namespace tavrel::test {
namespace {

constexpr std::size_t Preamble = 128 + 4; ///< with "DICM"

std::uint32_t TakeNumber(std::string_view& bytes, std::size_t size) {
    if (bytes.size() < size)
        throw std::runtime_error("The file ends within an element");
    std::uint32_t number = 0;
    for (std::size_t index = 0; index < size; ++index)
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[index])) << (8 * index);
    bytes.remove_prefix(size);
    return number;
}

std::string_view Take(std::string_view& bytes, std::size_t size) {
    if (bytes.size() < size)
        throw std::runtime_error("The file ends within a value");
    const auto taken = bytes.substr(0, size);
    bytes.remove_prefix(size);
    return taken;
}

std::string Printable(std::string_view value) {
    std::string text;
    for (const char c : value) {
        const auto code = static_cast<unsigned char>(c);
        if (code >= 0x20 && code < 0x7F && c != '\\') {
            text += c;
            continue;
        }
        std::array<char, 5> escaped{};
        std::snprintf(escaped.data(), escaped.size(), "\\x%02X", code);
        text += escaped.data();
    }
    return text;
}

bool HasLongLength(std::string_view vr) {
    constexpr std::array<std::string_view, 8> longVrs{"OB", "OW", "OF", "SQ", "UC", "UR", "UT", "UN"};
    return std::ranges::find(longVrs, vr) != longVrs.end();
}

void Dump(std::string_view bytes, std::size_t depth, std::string& lines) {
    while (!bytes.empty()) {
        const auto group = TakeNumber(bytes, 2);
        const auto element = TakeNumber(bytes, 2);
        const bool item = group == 0xFFFE;
        const auto vr = item ? std::string_view{} : Take(bytes, 2);
        if (HasLongLength(vr))
            Take(bytes, 2); // reserved
        const auto value = Take(bytes, TakeNumber(bytes, item || HasLongLength(vr) ? 4 : 2));
        if (group == 0x0002)
            continue;
        std::array<char, 12> tag{};
        std::snprintf(tag.data(), tag.size(), "(%04X,%04X)", static_cast<unsigned>(group),
                      static_cast<unsigned>(element));
        lines += std::string(2 * depth, ' ') + (item ? "item" : tag.data() + (' ' + std::string(vr)));
        const bool nested = item || vr == "SQ";
        lines += nested ? "\n" : " \"" + Printable(value) + "\"\n";
        if (nested)
            Dump(value, depth + 1, lines);
    }
}

} // namespace

std::string DumpElements(std::string_view file) {
    std::string lines;
    Dump(file.substr(Preamble), 0, lines);
    return lines;
}

} // namespace tavrel::test
