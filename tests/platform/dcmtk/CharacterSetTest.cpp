#include "platform/dcmtk/CharacterSet.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

std::string Encoded(std::string_view declared, std::string_view text, TextKind kind = TextKind::Values) {
    std::string bytes;
    const auto lost = CharacterSet{declared}.Encode(text, kind, bytes);
    EXPECT_TRUE(lost.empty());
    return bytes;
}

/// The first character that does not fit, as "U position".
std::pair<char32_t, std::size_t> FirstLost(std::string_view declared, std::string_view text, TextKind kind) {
    std::string bytes;
    const auto lost = CharacterSet{declared}.Encode(text, kind, bytes);
    return lost.empty() ? std::pair<char32_t, std::size_t>{} : std::pair{lost[0].character, lost[0].position};
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

INSTANTIATE_TEST_SUITE_P(CharacterSets, EverySet,
                         testing::Values(Sample{"", "plain"}, Sample{"ISO_IR 100", "Äneas^Rüdiger"},
                                         Sample{"ISO_IR 101", "Łódź"}, Sample{"ISO_IR 109", "Ħamrun"},
                                         Sample{"ISO_IR 110", "Ģirts"}, Sample{"ISO_IR 144", "Люксембург"},
                                         Sample{"ISO_IR 127", "قباني^لنزار"}, Sample{"ISO_IR 126", "Διονυσιος"},
                                         Sample{"ISO_IR 138", "שרון^דבורה"}, Sample{"ISO_IR 148", "Çavuşoğlu"},
                                         Sample{"ISO_IR 203", "Œuvre 5 €"}, Sample{"ISO_IR 166", "นามสกุล"},
                                         Sample{"ISO_IR 192", "Wang^XiaoDong=王^小東"}, Sample{"GB18030", "王^小东𠀀"},
                                         Sample{"GBK", "王^小东"}));

struct Foreign {
    const char* declared;
    std::string_view bytes;
    const char* text;
};

class SetOfOthers : public testing::TestWithParam<Foreign> {};

TEST_P(SetOfOthers, IsRead) {
    const auto& [declared, bytes, text] = GetParam();
    EXPECT_EQ(CharacterSet{declared}.Decode(bytes, TextKind::PersonName), text);
}

TEST_P(SetOfOthers, IsNotWritten) {
    const auto& [declared, bytes, text] = GetParam();
    EXPECT_FALSE(CharacterSet{declared}.IsWritable());
    EXPECT_NE(FirstLost(declared, text, TextKind::PersonName).second, 0U);
}

// PS3.5, annexes H, I and K, and like them.
INSTANTIATE_TEST_SUITE_P(
    CharacterSets, SetOfOthers,
    testing::Values(Foreign{"ISO_IR 13", "\xD4\xCF\xC0\xDE^\xC0\xDB\xB3", "ﾔﾏﾀﾞ^ﾀﾛｳ"},
                    Foreign{"\\ISO 2022 IR 87", "Yamada^Tarou=\x1B$B;3ED\x1B(B^\x1B$BB@O:\x1B(B",
                            "Yamada^Tarou=山田^太郎"},
                    Foreign{"ISO 2022 IR 13\\ISO 2022 IR 87", "\xD4\xCF\xC0\xDE=\x1B$B;3ED\x1B(J", "ﾔﾏﾀﾞ=山田"},
                    Foreign{"\\ISO 2022 IR 87\\ISO 2022 IR 159", "\x1B$(D0!\x1B$B;3\x1B$(D0\"\x1B(Ba", "丂山丄a"},
                    Foreign{"\\ISO 2022 IR 149", "Hong=\x1B$)C\xFB\xF3^\x1B$)C\xD1\xCE\xD4\xD7", "Hong=洪^吉洞"},
                    Foreign{"\\ISO 2022 IR 58", "Zhang=\x1B$)A\xD5\xC5^\x1B$)A\xD0\xA1\xB6\xAB", "Zhang=张^小东"},
                    Foreign{"ISO 2022 IR 100\\ISO 2022 IR 144", "M\xFCller=\x1B-L\xBB\xEE\xDA", "Müller=Люк"}));

TEST(CharacterSets, NothingIsLeftOutOfANameForASetThatMightHoldIt) {
    EXPECT_EQ(FirstLost("\\ISO 2022 IR 87", "Yamada=山田", TextKind::PersonName),
              (std::pair<char32_t, std::size_t>{U'山', 8}));
}

TEST(CharacterSets, AsciiIsWrittenInAnySet) {
    EXPECT_EQ(Encoded("\\ISO 2022 IR 87", "Yamada^Tarou", TextKind::PersonName), "Yamada^Tarou");
}

TEST(CharacterSets, ATextIsComposedBeforeItIsEncoded) {
    EXPECT_EQ(Encoded("ISO_IR 100", "Mu\u0308ller"), "M\xFC"
                                                     "ller");
}

TEST(CharacterSets, AUnicodeTextIsWrittenAsItStands) {
    for (const char* text : {"Mu\u0308ller", "\uFA19=\uFA19", "\uFB2A", "\u212B"})
        EXPECT_EQ(Encoded("ISO_IR 192", text, TextKind::PersonName), text);
    EXPECT_EQ(Encoded("GB18030", "\u212A"), "K");
}

TEST(CharacterSets, TheFirstCharacterThatDoesNotFitIsNamed) {
    EXPECT_EQ(FirstLost("ISO_IR 100", "äb€c→", TextKind::Plain), (std::pair<char32_t, std::size_t>{U'€', 3}));
}

TEST(CharacterSets, WithoutADeclaredSetOnlyAsciiFits) {
    EXPECT_EQ(FirstLost("", "Müller", TextKind::Values), (std::pair<char32_t, std::size_t>{U'ü', 2}));
}

TEST(CharacterSets, MalformedTextDoesNotFitAnywhere) {
    for (const char* text : {"ab\xFF", "ab\uFFFD"})
        EXPECT_EQ(FirstLost("ISO_IR 192", text, TextKind::Plain), (std::pair<char32_t, std::size_t>{U'\uFFFD', 3}));
}

TEST(CharacterSets, IdeographsThatDoNotFitAreLeftOutOfAName) {
    EXPECT_EQ(Encoded("ISO_IR 100", "Müller^J=山田^太郎=やまだ", TextKind::PersonName), "M\xFCller^J");
    EXPECT_EQ(Encoded("ISO_IR 100", "A=山=B\\C=山", TextKind::PersonName), "A==B\\C");
}

TEST(CharacterSets, TheAlphabeticNameMustFit) {
    EXPECT_EQ(FirstLost("ISO_IR 100", "Müller\\山田=Yamada", TextKind::PersonName),
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

TEST(CharacterSets, AnEscapeThatDesignatesNothingIsMarkedAndChangesNothingBehindIt) {
    const CharacterSet latin1{"ISO_IR 100"};

    EXPECT_EQ(latin1.Decode("\x1BZM\xE4rz", TextKind::Plain), "\uFFFDZMärz");
    EXPECT_EQ(latin1.Decode("\x1B\x1B-b-H\xF5", TextKind::Plain), "\uFFFD-Hõ"); // a sequence amid another
}

TEST(CharacterSets, AnEscapeFitsNowhere) {
    for (const char* declared : {"", "ISO_IR 100", "ISO_IR 192"})
        EXPECT_EQ(FirstLost(declared, "a\x1B-Hb", TextKind::Plain), std::pair(U'\x1B', std::size_t{2})) << declared;
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
