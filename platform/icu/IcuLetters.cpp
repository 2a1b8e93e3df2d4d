#include "platform/icu/IcuLetters.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <array>

namespace tavrel {
namespace {

constexpr UChar32 MicroSign = 0xB5; // Its capital would be a Greek letter: 5 µm are not 5 MM.

UChar32 Capital(UChar32 letter) {
    return letter == MicroSign ? letter : u_toupper(letter);
}

void Append(std::string& text, UChar32 letter) {
    std::array<char, U8_MAX_LENGTH> bytes{};
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, letter);
    text.append(bytes.data(), length);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion" // within ICU's macro
void RaiseLetters(std::string_view text, std::string& upper) {
    upper.clear();
    for (std::size_t next = 0; next < text.size();) {
        const std::size_t start = next;
        UChar32 letter = 0;
        U8_NEXT(text, next, text.size(), letter);
        if (const auto capital = Capital(letter); capital == letter) // broken bytes, too: each is no letter
            upper.append(text, start, next - start);
        else
            Append(upper, capital);
    }
}
#pragma GCC diagnostic pop

} // namespace

void IcuLetters::UpperCase(std::string_view text, std::string& upper) const {
    upper.assign(text);
    unsigned char seen = 0;
    // One pass without a branch, as nearly all texts are plain ASCII and long lists pass through here.
    for (char& c : upper) {
        seen |= static_cast<unsigned char>(c);
        c = static_cast<char>(c - ((c >= 'a') & (c <= 'z')) * ('a' - 'A'));
    }
    if (seen >= 0x80)
        RaiseLetters(text, upper);
}

} // namespace tavrel
