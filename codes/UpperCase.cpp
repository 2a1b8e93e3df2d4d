#include "codes/UpperCase.h"

#include <array>
#include <cstddef>

namespace tavrel {
namespace {

/// Every `step`th code point of a range has its capital `toCapital` further on.
struct SmallLetters {
    int first;
    int last;
    int step;
    int toCapital;
};

/// The simple case mappings of Unicode below U+0530, in its order.
constexpr std::array smallLetters{
    SmallLetters{0x00E0, 0x00F6, 1, -0x20},                                        // Latin-1, without the division sign
    SmallLetters{0x00F8, 0x00FE, 1, -0x20}, SmallLetters{0x00FF, 0x00FF, 1, 0x79}, // y with diaeresis
    SmallLetters{0x0101, 0x012F, 2, -1},    // Latin Extended-A: capital and small side by side
    SmallLetters{0x0131, 0x0131, 1, -0xE8}, // dotless i
    SmallLetters{0x0133, 0x0137, 2, -1},    SmallLetters{0x013A, 0x0148, 2, -1},
    SmallLetters{0x014B, 0x0177, 2, -1},    SmallLetters{0x017A, 0x017E, 2, -1},
    SmallLetters{0x0219, 0x021B, 2, -1},                                            // Romanian s and t with comma
    SmallLetters{0x03AC, 0x03AC, 1, -0x26},                                         // Greek with accent
    SmallLetters{0x03AD, 0x03AF, 1, -0x25}, SmallLetters{0x03B1, 0x03C1, 1, -0x20}, // Greek
    SmallLetters{0x03C2, 0x03C2, 1, -0x1F},                                         // final sigma
    SmallLetters{0x03C3, 0x03CB, 1, -0x20}, SmallLetters{0x03CC, 0x03CC, 1, -0x40},
    SmallLetters{0x03CD, 0x03CE, 1, -0x3F}, SmallLetters{0x0430, 0x044F, 1, -0x20}, // Cyrillic
    SmallLetters{0x0450, 0x045F, 1, -0x50}, SmallLetters{0x0461, 0x0481, 2, -1},
    SmallLetters{0x048B, 0x04BF, 2, -1},    SmallLetters{0x04C2, 0x04CE, 2, -1},
    SmallLetters{0x04CF, 0x04CF, 1, -0xF},  SmallLetters{0x04D1, 0x052F, 2, -1},
};

int Capital(int letter) {
    for (const auto& run : smallLetters)
        if (letter <= run.last)
            return letter >= run.first && (letter - run.first) % run.step == 0 ? letter + run.toCapital : letter;
    return letter;
}

constexpr unsigned char Byte(char c) {
    return static_cast<unsigned char>(c);
}

/// The first of two bytes that are one code point from U+0080 to U+07FF.
constexpr bool StartsPair(unsigned char byte) {
    return byte >= 0xC2 && byte <= 0xDF;
}
constexpr bool Continues(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

/// Turns the letters outside ASCII in place: no capital takes more bytes than its small letter.
void RaisePairs(std::string& text) {
    std::size_t out = 0;
    for (std::size_t in = 0; in < text.size(); ++in) {
        const auto lead = Byte(text[in]);
        if (!StartsPair(lead) || in + 1 == text.size() || !Continues(Byte(text[in + 1]))) {
            text[out++] = text[in];
            continue;
        }
        const int capital = Capital((lead & 0x1F) << 6 | (Byte(text[++in]) & 0x3F));
        if (capital >= 0x80)
            text[out++] = static_cast<char>(0xC0 | capital >> 6);
        text[out++] = static_cast<char>(capital >= 0x80 ? 0x80 | (capital & 0x3F) : capital);
    }
    text.resize(out);
}

} // namespace

void UpperCase(std::string_view text, std::string& upper) {
    upper.assign(text);
    unsigned char seen = 0;
    // One pass without a branch, as nearly all texts are plain ASCII and long lists pass through here.
    for (char& c : upper) {
        seen |= Byte(c);
        c = static_cast<char>(c - ((c >= 'a') & (c <= 'z')) * ('a' - 'A'));
    }
    if (seen >= 0x80)
        RaisePairs(upper);
}

std::string UpperCase(std::string_view text) {
    std::string upper;
    UpperCase(text, upper);
    return upper;
}

} // namespace tavrel
