#include "platform/icu/IcuLetters.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cwctype>

namespace tavrel {
namespace {

class LettersTest : public testing::Test {
protected:
    static std::string Upper(std::string_view text) { return IcuLetters().UpperCase(text); }
};

std::string Utf8(unsigned codePoint) {
    if (codePoint < 0x80)
        return {static_cast<char>(codePoint)};
    return {static_cast<char>(0xC0 | codePoint >> 6), static_cast<char>(0x80 | (codePoint & 0x3F))};
}

struct Script {
    const char* name;
    unsigned first, last;
};

class ScriptTest : public LettersTest, public testing::WithParamInterface<Script> {};

/// Against the C library's own table.
TEST_P(ScriptTest, HasACapitalForEachSmallLetter) {
    const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    ASSERT_NE(unicode, nullptr);
    for (unsigned letter = GetParam().first; letter <= GetParam().last; ++letter)
        EXPECT_EQ(Upper(Utf8(letter)), Utf8(towupper_l(letter, unicode))) << "U+" << std::hex << letter;
    freelocale(unicode);
}

INSTANTIATE_TEST_SUITE_P(Scripts, ScriptTest,
                         testing::Values(Script{"Latin", 0xC0, 0x17E}, Script{"Greek", 0x386, 0x3CE},
                                         Script{"Cyrillic", 0x400, 0x52F}),
                         [](const auto& script) { return std::string(script.param.name); });

TEST_F(LettersTest, OfAsciiAreTurnedAndNothingElseOfIt) {
    EXPECT_EQ(Upper("az AZ 09 `{'_%"), "AZ AZ 09 `{'_%");
}

TEST_F(LettersTest, WithAccentsAreTurned) {
    EXPECT_EQ(Upper("fémur, ÿ, œdème, łokieć, phổi"), "FÉMUR, Ÿ, ŒDÈME, ŁOKIEĆ, PHỔI");
}

TEST_F(LettersTest, MayTakeFewerBytesAsCapitals) {
    EXPECT_EQ(Upper("kırık"), "KIRIK");
}

TEST_F(LettersTest, MayTakeMoreBytesAsCapitals) {
    EXPECT_EQ(Upper("ɐɐɐ"), "ⱯⱯⱯ");
}

TEST_F(LettersTest, StayWhenTheirCapitalIsNoSingleLetter) {
    EXPECT_EQ(Upper("gefäß"), "GEFÄß");
}

TEST_F(LettersTest, DoNotIncludeTheMicroSign) {
    EXPECT_EQ(Upper("5 µm"), "5 µM");
}

TEST_F(LettersTest, StandBesideSignsThatStay) {
    EXPECT_EQ(Upper("≥ 5 骨 🩻 é"), "≥ 5 骨 🩻 É");
}

TEST_F(LettersTest, StandBesideBrokenBytesThatStay) {
    EXPECT_EQ(Upper("a\xC3"), "A\xC3");
    EXPECT_EQ(Upper("\xC3z\x80"), "\xC3Z\x80");
}

TEST_F(LettersTest, MayBeNone) {
    EXPECT_EQ(Upper(""), "");
}

TEST_F(LettersTest, AreWrittenIntoMemoryThatIsThere) {
    std::string upper(100, 'x');
    const auto* memory = upper.data();

    IcuLetters().UpperCase("fracture of the fémur", upper);

    EXPECT_EQ(upper, "FRACTURE OF THE FÉMUR");
    EXPECT_EQ(upper.data(), memory);
}

} // namespace
} // namespace tavrel
