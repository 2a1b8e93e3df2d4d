#include "platform/dcmtk/CharacterSet.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

std::string Encoded(std::string_view declared, std::string_view text, TextKind kind = TextKind::Values) {
    std::string bytes;
    const auto lost = CharacterSet{declared}.Encode(text, kind, bytes);
    EXPECT_FALSE(lost.has_value());
    return bytes;
}

/// The first character that does not fit, as "U position".
std::pair<char32_t, std::size_t> Lost(std::string_view declared, std::string_view text, TextKind kind) {
    std::string bytes;
    const auto lost = CharacterSet{declared}.Encode(text, kind, bytes);
    return lost ? std::pair{lost->character, lost->position} : std::pair<char32_t, std::size_t>{};
}

struct Sample {
    const char* declared;
    const char* text;
};

class EverySet : public testing::TestWithParam<Sample> {};

TEST_P(EverySet, GivesBackWhatItWasGiven) {
    const auto& [declared, text] = GetParam();
    for (const auto kind : {TextKind::Plain, TextKind::Values, TextKind::PersonName})
        EXPECT_EQ(CharacterSet{declared}.Decode(Encoded(declared, text, kind), kind), text);
}

INSTANTIATE_TEST_SUITE_P(
    CharacterSets, EverySet,
    testing::Values(Sample{"", "plain"}, Sample{"ISO_IR 100", "Äneas^Rüdiger"}, Sample{"ISO_IR 101", "Łódź"},
                    Sample{"ISO_IR 109", "Ħamrun"}, Sample{"ISO_IR 110", "Ģirts"}, Sample{"ISO_IR 144", "Люксембург"},
                    Sample{"ISO_IR 127", "قباني^لنزار"}, Sample{"ISO_IR 126", "Διονυσιος"},
                    Sample{"ISO_IR 138", "שרון^דבורה"}, Sample{"ISO_IR 148", "Çavuşoğlu"},
                    Sample{"ISO_IR 203", "Œuvre 5 €"}, Sample{"ISO_IR 166", "นามสกุล"}, Sample{"ISO_IR 13", "ﾔﾏﾀﾞ^ﾀﾛｳ"},
                    Sample{"ISO_IR 192", "Wang^XiaoDong=王^小東"}, Sample{"GB18030", "王^小东𠀀"},
                    Sample{"GBK", "王^小东"}, Sample{"\\ISO 2022 IR 87", "Yamada^Tarou=山田^太郎=やまだ^たろう"},
                    Sample{"ISO 2022 IR 13\\ISO 2022 IR 87", "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎"},
                    Sample{"\\ISO 2022 IR 87\\ISO 2022 IR 159", "丂山丄a丂"},
                    Sample{"\\ISO 2022 IR 149", "Hong^Gildong=洪^吉洞=홍^길동"},
                    Sample{"\\ISO 2022 IR 58", "Zhang^XiaoDong=张^小东"},
                    Sample{"ISO 2022 IR 100\\ISO 2022 IR 144\\ISO 2022 IR 126", "Müller\\Люк\\Διο"}));

TEST(CharacterSets, ATextIsComposedBeforeItIsEncoded) {
    EXPECT_EQ(Encoded("ISO_IR 100", "Mu\u0308ller"), "M\xFC"
                                                     "ller");
}

TEST(CharacterSets, TheFirstCharacterThatDoesNotFitIsNamed) {
    EXPECT_EQ(Lost("ISO_IR 100", "äb€c→", TextKind::Plain), (std::pair<char32_t, std::size_t>{U'€', 3}));
}

TEST(CharacterSets, WithoutADeclaredSetOnlyAsciiFits) {
    EXPECT_EQ(Lost("", "Müller", TextKind::Values), (std::pair<char32_t, std::size_t>{U'ü', 2}));
}

TEST(CharacterSets, MalformedTextDoesNotFitAnywhere) {
    EXPECT_EQ(Lost("ISO_IR 192", "ab\xFF", TextKind::Plain), (std::pair<char32_t, std::size_t>{U'\uFFFD', 3}));
}

TEST(CharacterSets, IdeographsThatDoNotFitAreLeftOutOfAName) {
    EXPECT_EQ(Encoded("ISO_IR 100", "Müller^J=山田^太郎=やまだ", TextKind::PersonName), "M\xFCller^J");
    EXPECT_EQ(Encoded("ISO_IR 100", "A=山=B\\C=山", TextKind::PersonName), "A==B\\C");
}

TEST(CharacterSets, TheAlphabeticNameMustFit) {
    EXPECT_EQ(Lost("ISO_IR 100", "Müller\\山田=Yamada", TextKind::PersonName),
              (std::pair<char32_t, std::size_t>{U'山', 8}));
}

TEST(CharacterSets, ABackslashInsideATwoByteCharacterDividesNothing) {
    const std::string bytes = "\x1B$B%\\\x1B(B\\b"; // U+30DC, whose second byte is "\"
    EXPECT_EQ(CharacterSet{"\\ISO 2022 IR 87"}.Decode(bytes, TextKind::Values), "ボ\\b");
}

TEST(CharacterSets, TheExtensionEndsAtADelimiter) {
    const std::string bytes = "\x1B$)C\xB1\xE8^\xB1\xE8";
    EXPECT_EQ(CharacterSet{"\\ISO 2022 IR 149"}.Decode(bytes, TextKind::PersonName), "김^\uFFFD\uFFFD");
}

TEST(CharacterSets, BytesWithoutMeaningAreMarked) {
    EXPECT_EQ(CharacterSet{"ISO_IR 192"}.Decode("a\xFF"
                                                "b",
                                                TextKind::Plain),
              "a\uFFFDb");
}

TEST(CharacterSets, BytesOfAnUndeclaredSetReadAsLatin1) {
    EXPECT_EQ(CharacterSet{""}.Decode("M\xFCller", TextKind::Values), "Müller");
    EXPECT_EQ(CharacterSet{"KLINGON"}.Decode("M\xFCller", TextKind::Values), "Müller");
}

TEST(CharacterSets, SloppySpellingsAreUnderstood) {
    for (const char* declared : {"ISO-IR 144", "ISO_IR144", "iso_ir 144 ", "ISO 2022 IR 144"})
        EXPECT_EQ(CharacterSet{declared}.Decode("\xBB", TextKind::Values), "Л") << declared;
}

} // namespace
} // namespace tavrel::test
