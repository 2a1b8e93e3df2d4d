#include "platform/icu/IcuLetters.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace tavrel {
namespace {

constexpr UChar32 MicroSign = 0xB5; // Its capital would be a Greek letter: 5 µm are not 5 MM.

UChar32 Capital(UChar32 letter) {
    return letter == MicroSign ? letter : u_toupper(letter);
}

char AsciiCapital(char c) {
    return static_cast<char>(c - ((c >= 'a') & (c <= 'z')) * ('a' - 'A'));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion" // within ICU's macros
void RaiseLetters(std::string_view text, std::string& upper) {
    upper.resize(text.size() + text.size() / 2); // a letter of two bytes may have a capital of three
    std::size_t length = 0;
    for (std::size_t next = 0; next < text.size();) {
        if (U8_IS_SINGLE(text[next])) {
            upper[length++] = AsciiCapital(text[next++]);
            continue;
        }
        const std::size_t start = next;
        UChar32 letter = 0;
        U8_NEXT(text, next, text.size(), letter);
        if (const auto capital = Capital(letter); capital != letter) // broken bytes are none
            U8_APPEND_UNSAFE(upper, length, capital);
        else
            length += text.copy(upper.data() + length, next - start, start);
    }
    upper.resize(length);
}
#pragma GCC diagnostic pop

} // namespace

void IcuLetters::UpperCase(std::string_view text, std::string& upper) const {
    upper.assign(text);
    unsigned char seen = 0;
    // One pass without a branch, as nearly all texts are plain ASCII and long lists pass through here.
    for (char& c : upper) {
        seen |= static_cast<unsigned char>(c);
        c = AsciiCapital(c);
    }
    if (seen >= 0x80)
        RaiseLetters(text, upper);
}

} // namespace tavrel
