#include "codes/UpperCase.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cwctype>
#include <locale.h>

namespace tavrel {
namespace {

std::string Utf8(unsigned codePoint) {
    return {static_cast<char>(0xC0 | codePoint >> 6), static_cast<char>(0x80 | (codePoint & 0x3F))};
}

/// Every letter of a range against the C library's own table.
void ExpectCapitals(unsigned first, unsigned last) {
    const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    ASSERT_NE(unicode, nullptr);
    for (unsigned letter = first; letter <= last; ++letter) {
        const auto capital = static_cast<unsigned>(towupper_l(static_cast<wint_t>(letter), unicode));
        EXPECT_EQ(UpperCase(Utf8(letter)), capital < 0x80 ? std::string(1, static_cast<char>(capital)) : Utf8(capital))
            << "U+" << std::hex << letter;
    }
    freelocale(unicode);
}

TEST(UpperCase, TurnsAsciiLettersOnly) {
    EXPECT_EQ(UpperCase("az AZ 09 `{'_%"), "AZ AZ 09 `{'_%");
}

TEST(UpperCase, TurnsLatinLetters) {
    ExpectCapitals(0x00C0, 0x017E);
    EXPECT_EQ(UpperCase("fémur, ÿ, œdème, łokieć"), "FÉMUR, Ÿ, ŒDÈME, ŁOKIEĆ");
}

TEST(UpperCase, TurnsGreekLetters) {
    ExpectCapitals(0x0386, 0x03CE);
}

TEST(UpperCase, TurnsCyrillicLetters) {
    ExpectCapitals(0x0400, 0x052F);
}

TEST(UpperCase, TheDotlessILosesAByte) {
    EXPECT_EQ(UpperCase("kırık"), "KIRIK");
}

TEST(UpperCase, SharpSAndMicroSignStay) {
    EXPECT_EQ(UpperCase("gefäß 5 µm"), "GEFÄß 5 µM");
}

TEST(UpperCase, LongerCharactersStay) {
    EXPECT_EQ(UpperCase("≥ 5 骨 🩻 é"), "≥ 5 骨 🩻 É");
}

TEST(UpperCase, BrokenTextKeepsItsBytes) {
    EXPECT_EQ(UpperCase("a\xC3"), "A\xC3");
    EXPECT_EQ(UpperCase("\xC3z\x80"), "\xC3Z\x80");
}

TEST(UpperCase, NothingStaysNothing) {
    EXPECT_EQ(UpperCase(""), "");
}

} // namespace
} // namespace tavrel
