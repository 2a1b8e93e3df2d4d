#include "host/Text.h"
#include "tests/support/FakeClock.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

constexpr DateTime Morning{2026, 11, 5, 8, 5, 9};
constexpr DateTime Midnight{2026, 11, 5};
constexpr DateTime TimeAlone{.hour = 8, .minute = 5, .second = 9};

struct Written {
    std::string (*write)(const DateTime&);
    DateTime dateTime;
    std::string_view text;
};

class DatesAsText : public testing::TestWithParam<Written> {};

TEST_P(DatesAsText, HaveOneForm) {
    EXPECT_EQ(GetParam().write(GetParam().dateTime), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(, DatesAsText,
                         testing::Values(Written{DateText, Morning, "05/11/2026"},              //
                                         Written{DateText, {812, 1, 2}, "02/01/0812"},          //
                                         Written{DateText, {}, ""},                             //
                                         Written{DateText, TimeAlone, ""},                      //
                                         Written{TimeText, Morning, "08:05:09"},                //
                                         Written{TimeText, Midnight, "00:00:00"},               //
                                         Written{DateTimeText, Morning, "05/11/2026 08:05:09"}, //
                                         Written{DateTimeText, Midnight, "05/11/2026"},         //
                                         Written{DateTimeText, {2026, 11, 5, 0, 0, 1}, "05/11/2026 00:00:01"},
                                         Written{DateTimeText, TimeAlone, ""}, //
                                         Written{FullDateTimeText, Midnight, "05/11/2026 00:00:00"},
                                         Written{FullDateTimeText, {}, ""}));

TEST(DatesFromText, AreReadBackAsTheyWereWritten) {
    EXPECT_EQ(ParseDate(DateText(Morning)), Midnight);
    EXPECT_EQ(ParseDate(DateTimeText(Morning)), Morning);
    EXPECT_EQ(ParseDate("29/02/2024"), (DateTime{2024, 2, 29}));
}

TEST(DatesFromText, MayHaveTheYearFirst) {
    EXPECT_EQ(ParseDate("1960-05-20"), (DateTime{1960, 5, 20}));
    EXPECT_EQ(ParseDate("2026-11-05 08:05:09"), Morning);
}

class NoDates : public testing::TestWithParam<std::string_view> {};

TEST_P(NoDates, AreRefused) {
    EXPECT_EQ(ParseDate(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(, NoDates,
                         testing::Values("", "5/11/2026", "05-11-2026", "2026/11/05", "30/02/2026", "29/02/2026",
                                         "00/01/2026", "01/13/2026", "01/01/0000", "05/11/2026 ", "05/11/2026 24:00:00",
                                         "05/11/2026 08:60:00", "05/11/2026 08:05:60", "05/11/2026 08:05", "aa/bb/cccc",
                                         "+5/11/2026", "2026-11-5", "2026-02-30", "2026-11-05 ", "2026-11-05T08:05:09",
                                         "20-11-2026"));

TEST(Values, BecomeText) {
    EXPECT_EQ(TextOf({}), "");
    EXPECT_EQ(TextOf("ROSSI^MARIA"), "ROSSI^MARIA");
    EXPECT_EQ(TextOf(std::int16_t{-7}), "-7");
    EXPECT_EQ(TextOf(Morning), "05/11/2026 08:05:09");
}

TEST(Values, ThatAreNoDateTimeBecomeTheZeroDateTime) {
    EXPECT_EQ(DateTimeOf(Morning), Morning);
    EXPECT_EQ(DateTimeOf("05/11/2026"), DateTime{});
    EXPECT_EQ(DateTimeOf({}), DateTime{});
}

struct Folded {
    std::string_view typed;
    std::string_view plain;
};

class TypedText : public testing::TestWithParam<Folded> {};

TEST_P(TypedText, BecomesPlain) {
    EXPECT_EQ(PlainText(GetParam().typed), GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(, TypedText,
                         testing::Values(Folded{"", ""}, Folded{"‘left’ ‚low‛ 5′", "'left' 'low' 5'"},
                                         Folded{"“left” „low‟ 5″", "\"left\" \"low\" 5\""}, Folded{"‹a›", "<a>"},
                                         Folded{"‐ ‑ ‒ – — ―", "- - - - - -"}, Folded{"−5", "-5"},
                                         Folded{"wait…", "wait..."}, Folded{"a‥b․c", "a..b.c"},
                                         Folded{"• one ‣ two ◦ three ▪ four ● five",
                                                "- one - two - three - four - five"},
                                         Folded{"a\u2003b\u2009c\u202Fd\u3000e\u205Ff", "a b c d e f"},
                                         Folded{"a\u200Bb\uFEFFc\u200Ed\u2060e\u202Af", "abcdef"},
                                         Folded{"one\u2028two\u2029three", "one\r\ntwo\r\nthree"}, Folded{"1⁄2", "1/2"},
                                         Folded{"eﬃcient ﬁnding, ﬂow, oﬀ, ﬄ", "efficient finding, flow, off, ffl"}));

class StayingText : public testing::TestWithParam<std::string_view> {};

TEST_P(StayingText, IsLeftAsItIs) {
    EXPECT_EQ(PlainText(GetParam()), GetParam());
}

INSTANTIATE_TEST_SUITE_P(, StayingText,
                         testing::Values("plain 'text' \"here\" - ...", "àéîõü ÿ Ñ ß µ ± ½ ° · «a»", "a\u00A0b\u00ADc",
                                         "€ Œ ł", "漢字 Ω Ж", "𝛼 and 😀", "line\r\nline\tend", "cut \xE2\x80", "\xE2"));

TEST(Numbers, ArePaddedButNeverCut) {
    EXPECT_EQ(Padded(7, 2), "07");
    EXPECT_EQ(Padded(12345, 4), "12345");
}

struct Stamped {
    DateTime now;
    std::string_view stamp;
};

class TimeStamps : public testing::TestWithParam<Stamped> {};

TEST_P(TimeStamps, KeepTheirLeadingZeros) {
    test::FakeClock clock;
    clock.now = GetParam().now;

    EXPECT_EQ(TimeStamp(clock), GetParam().stamp);
}

INSTANTIATE_TEST_SUITE_P(, TimeStamps,
                         testing::Values(Stamped{{2026, 11, 15, 8, 5, 9}, "2026.11.15.08.05.09"},
                                         Stamped{{2026, 1, 2, 0, 0, 0}, "2026.01.02.00.00.00"},
                                         Stamped{{2026, 12, 31, 23, 59, 59}, "2026.12.31.23.59.59"}));

} // namespace
} // namespace tavrel
