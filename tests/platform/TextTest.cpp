#include "platform/text.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

TEST(Text, BlanksAreTrimmedAtBothEnds) {
    EXPECT_EQ(Trimmed("  a b  "), "a b");
    EXPECT_EQ(TrimmedRight("  a b  "), "  a b");
}

TEST(Text, NothingIsLeftOfBlanks) {
    EXPECT_EQ(Trimmed("   "), "");
    EXPECT_EQ(TrimmedRight("   "), "");
    EXPECT_EQ(Trimmed(""), "");
}

TEST(Text, OtherCharactersAreTrimmedWhenTheyAreNamed) {
    EXPECT_EQ(Trimmed(" `a` ", " `"), "a");
}

TEST(Text, LetterCaseIsOverlooked) {
    EXPECT_TRUE(SameInAnyCase("CodeValue", "CODEVALUE"));
    EXPECT_FALSE(SameInAnyCase("CodeValue", "CodeValues"));
    EXPECT_FALSE(SameInAnyCase("[", "{")); // as far apart as "A" and "a"
}

TEST(Text, CharactersOfAnyWidthCountOnce) {
    EXPECT_EQ(CountCharacters("aé€😀"), 4U);
}

TEST(Text, ItsFirstCharactersAreWhole) {
    EXPECT_EQ(FirstCharacters("é€😀x", 2), "é€");
    EXPECT_EQ(FirstCharacters("é€", 3), "é€");
    EXPECT_EQ(FirstCharacters("é€", 0), "");
}

} // namespace
} // namespace tavrel
