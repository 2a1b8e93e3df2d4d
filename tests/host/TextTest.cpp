#include "host/Text.h"
#include "tests/support/FakeClock.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

constexpr DateTime Morning{2026, 11, 5, 8, 5, 9};
constexpr DateTime Midnight{2026, 11, 5};
constexpr DateTime TimeAlone{.hour = 8, .minute = 5, .second = 9};

struct Written {
    std::string_view name;
    std::string (*write)(const DateTime&);
    DateTime dateTime;
    std::string_view text;
    friend void PrintTo(const Written& written, std::ostream* out) { *out << written.name; }
};

class DatesAsText : public testing::TestWithParam<Written> {};

TEST_P(DatesAsText, HaveOneForm) {
    EXPECT_EQ(GetParam().write(GetParam().dateTime), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    , DatesAsText,
    testing::Values(Written{"Date", DateText, Morning, "05/11/2026"},
                    Written{"EarlyDate", DateText, {812, 1, 2}, "02/01/0812"}, Written{"NoDate", DateText, {}, ""}, //
                    Written{"DateOfATimeAlone", DateText, TimeAlone, ""},
                    Written{"Time", TimeText, Morning, "08:05:09"},
                    Written{"TimeAtMidnight", TimeText, Midnight, "00:00:00"},
                    Written{"DateTime", DateTimeText, Morning, "05/11/2026 08:05:09"},
                    Written{"DateTimeAtMidnight", DateTimeText, Midnight, "05/11/2026"},
                    Written{"DateTimeAfterMidnight", DateTimeText, {2026, 11, 5, 0, 0, 1}, "05/11/2026 00:00:01"},
                    Written{"DateTimeOfATimeAlone", DateTimeText, TimeAlone, ""},
                    Written{"FullDateTimeAtMidnight", FullDateTimeText, Midnight, "05/11/2026 00:00:00"},
                    Written{"NoFullDateTime", FullDateTimeText, {}, ""}),
    testing::PrintToStringParamName());

TEST(DatesFromText, AreReadBackAsTheyWereWritten) {
    EXPECT_EQ(ParseDate(DateText(Morning)), Midnight);
    EXPECT_EQ(ParseDate(DateTimeText(Morning)), Morning);
    EXPECT_EQ(ParseDate("29/02/2024"), (DateTime{2024, 2, 29}));
}

TEST(DatesFromText, MayHaveTheYearFirst) {
    EXPECT_EQ(ParseDate("1960-05-20"), (DateTime{1960, 5, 20}));
    EXPECT_EQ(ParseDate("2026-11-05 08:05:09"), Morning);
}

struct NoDate {
    std::string_view name;
    std::string_view text;
    friend void PrintTo(const NoDate& noDate, std::ostream* out) { *out << noDate.name; }
};

class NoDates : public testing::TestWithParam<NoDate> {};

TEST_P(NoDates, AreRefused) {
    EXPECT_EQ(ParseDate(GetParam().text), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    , NoDates,
    testing::Values(NoDate{"Nothing", ""}, NoDate{"OneDigitOfADay", "5/11/2026"}, NoDate{"DayWithDashes", "05-11-2026"},
                    NoDate{"YearWithSlashes", "2026/11/05"}, NoDate{"DayOfNoMonth", "30/02/2026"},
                    NoDate{"LeapDayOfAnotherYear", "29/02/2026"}, NoDate{"DayZero", "00/01/2026"},
                    NoDate{"MonthThirteen", "01/13/2026"}, NoDate{"YearZero", "01/01/0000"},
                    NoDate{"BlankAfterTheDate", "05/11/2026 "}, NoDate{"HourTwentyFour", "05/11/2026 24:00:00"},
                    NoDate{"MinuteSixty", "05/11/2026 08:60:00"}, NoDate{"SecondSixty", "05/11/2026 08:05:60"},
                    NoDate{"NoSeconds", "05/11/2026 08:05"}, NoDate{"Letters", "aa/bb/cccc"},
                    NoDate{"SignBeforeTheDay", "+5/11/2026"}, NoDate{"CharacterBelowTheDigits", "2//05/1960"},
                    NoDate{"CharacterAboveTheDigits", "1:/05/1960"}, NoDate{"YearFirstWithOneDigit", "2026-11-5"},
                    NoDate{"YearFirstDayOfNoMonth", "2026-02-30"}, NoDate{"YearFirstAndABlank", "2026-11-05 "},
                    NoDate{"YearFirstWithALetter", "2026-11-05T08:05:09"}, NoDate{"TwoDigitsOfAYear", "20-11-2026"}),
    testing::PrintToStringParamName());

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
    std::string_view name;
    std::string_view typed;
    std::string_view plain;
    friend void PrintTo(const Folded& folded, std::ostream* out) { *out << folded.name; }
};

class TypedText : public testing::TestWithParam<Folded> {};

TEST_P(TypedText, BecomesPlain) {
    EXPECT_EQ(PlainText(GetParam().typed), GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(
    , TypedText,
    testing::Values(
        Folded{"Nothing", "", ""}, Folded{"SingleQuotes", "‘left’ ‚low‛ 5′", "'left' 'low' 5'"},
        Folded{"DoubleQuotes", "“left” „low‟ 5″", "\"left\" \"low\" 5\""}, Folded{"AngleQuotes", "‹a›", "<a>"}, //
        Folded{"Dashes", "‐ ‑ ‒ – — ―", "- - - - - -"}, Folded{"Minus", "−5", "-5"},
        Folded{"Ellipsis", "wait…", "wait..."}, Folded{"Leaders", "a‥b․c", "a..b.c"},
        Folded{"Bullets", "• one ‣ two ⁃ three ◦ four ▪ five ● six", "- one - two - three - four - five - six"},
        Folded{"Spaces", "a\u2000b\u2003c\u2009d\u200Ae\u202Ff\u3000g\u205Fh", "a b c d e f g h"},
        Folded{"Invisibles", "a\u200Bb\u200Fc\uFEFFd\u200Ee\u2060f\u202Ag\u202Eh", "abcdefgh"},
        Folded{"Separators", "one\u2028two\u2029three", "one\r\ntwo\r\nthree"}, Folded{"Fraction", "1⁄2", "1/2"},
        Folded{"Ligatures", "eﬃcient ﬁnding, ﬂow, oﬀ, ﬄ", "efficient finding, flow, off, ffl"}),
    testing::PrintToStringParamName());

struct Staying {
    std::string_view name;
    std::string_view text;
    friend void PrintTo(const Staying& staying, std::ostream* out) { *out << staying.name; }
};

class StayingText : public testing::TestWithParam<Staying> {};

TEST_P(StayingText, IsLeftAsItIs) {
    EXPECT_EQ(PlainText(GetParam().text), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    , StayingText,
    testing::Values(Staying{"Ascii", "plain 'text' \"here\" - ..."}, Staying{"LatinOne", "àéîõü ÿ Ñ ß µ ± ½ ° · «a»"},
                    Staying{"HardBlankAndSoftHyphen", "a\u00A0b\u00ADc"}, Staying{"EuroAndLatinTwo", "€ Œ ł"},
                    Staying{"OtherScripts", "漢字 Ω Ж"}, Staying{"FourBytes", "𝛼 and 😀"},
                    Staying{"LineEndsAndTabs", "line\r\nline\tend"}, Staying{"CutAfterTwoBytes", "cut \xE2\x80"},
                    Staying{"CutAfterOneByte", "\xE2"}),
    testing::PrintToStringParamName());

TEST(Numbers, ArePaddedButNeverCut) {
    EXPECT_EQ(Padded(7, 2), "07");
    EXPECT_EQ(Padded(12345, 4), "12345");
}

struct Stamped {
    std::string_view name;
    DateTime now;
    std::string_view stamp;
    friend void PrintTo(const Stamped& stamped, std::ostream* out) { *out << stamped.name; }
};

class TimeStamps : public testing::TestWithParam<Stamped> {};

TEST_P(TimeStamps, KeepTheirLeadingZeros) {
    test::FakeClock clock;
    clock.now = GetParam().now;

    EXPECT_EQ(TimeStamp(clock), GetParam().stamp);
}

INSTANTIATE_TEST_SUITE_P(, TimeStamps,
                         testing::Values(Stamped{"Morning", {2026, 11, 15, 8, 5, 9}, "2026.11.15.08.05.09"},
                                         Stamped{"Midnight", {2026, 1, 2, 0, 0, 0}, "2026.01.02.00.00.00"},
                                         Stamped{"EndOfTheYear", {2026, 12, 31, 23, 59, 59}, "2026.12.31.23.59.59"}),
                         testing::PrintToStringParamName());

} // namespace
} // namespace tavrel
