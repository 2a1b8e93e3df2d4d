#include "codes/FilterSearchKey.h"

#include <gtest/gtest.h>

#include <limits>

namespace tavrel {
namespace {

TEST(FilterSearchKey, SmallLettersBecomeCapitals) {
    for (char letter = 'a'; letter <= 'z'; ++letter)
        EXPECT_EQ(FilterSearchKey(letter), letter - 'a' + 'A');
}

TEST(FilterSearchKey, TheApostropheBecomesTheBackQuote) {
    EXPECT_EQ(FilterSearchKey('\''), 96);
}

TEST(FilterSearchKey, EveryOtherCodePasses) {
    for (int code = std::numeric_limits<std::int16_t>::min(); code <= std::numeric_limits<std::int16_t>::max();
         ++code) {
        const bool changed = code == '\'' || (code >= 'a' && code <= 'z');
        EXPECT_EQ(FilterSearchKey(static_cast<std::int16_t>(code)) != code, changed) << code;
    }
}

} // namespace
} // namespace tavrel
