#include "editor/DelimitedText.h"

#include "platform/error.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace tavrel {
namespace {

template <typename Value> std::string Written(const Value& value) {
    DelimitedWriter writer;
    writer.Field(value);
    return writer.Text();
}

template <typename Value> Value Read(std::string_view text) {
    DelimitedReader reader(text, "SR.dat");
    Value value{};
    reader.Field(value);
    return value;
}

/// The words of the error that reading a field of this type gives.
template <typename Value> std::string ErrorOf(std::string_view text) {
    try {
        Read<Value>(text);
    } catch (const Error& error) {
        EXPECT_EQ(error.number, 13);
        return error.description;
    }
    return "no error";
}

TEST(DelimitedText, FieldsStandBetweenCommasAndLinesEndInCrLf) {
    DelimitedWriter writer;
    writer.Field(std::string("a"));
    writer.Field(true);
    writer.NullField();
    writer.EndLine();
    writer.Field(std::int16_t{-7});
    writer.EndLine();
    EXPECT_EQ(writer.Text(), "\"a\",#TRUE#,#NULL#\r\n-7\r\n");
}

TEST(DelimitedText, StringsAreReadBackAsTheyWere) {
    for (const std::string text :
         {"", "a", "a,b", "\"", "\"\"", "a\"b", "a\r\nb", " a ", "#NULL#", "C:\\x\\", "é€𝔘", "\t"})
        EXPECT_EQ(Read<std::string>(Written(text)), text);
    EXPECT_EQ(Read<std::string>(Written(std::string("nul\0inside", 10))), std::string("nul\0inside", 10));
}

TEST(DelimitedText, FloatsAreDecimalsThatReadBackToTheLastBit) {
    using Limits = std::numeric_limits<float>;
    for (const float value : {0.0F, -0.0F, 1.0F, 0.1F, -2.25F, 1.0F / 3, 16777216.0F, Limits::max(), Limits::lowest(),
                              Limits::min(), Limits::denorm_min()}) {
        const auto text = Written(value);
        EXPECT_EQ(text.find_first_not_of("-.0123456789"), std::string::npos) << text;
        EXPECT_EQ(Read<float>(text), value);
        EXPECT_EQ(std::signbit(Read<float>(text)), std::signbit(value));
    }
}

TEST(DelimitedText, ManyFloatsReadBackToTheLastBit) {
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (!std::isfinite(value))
            continue;
        ASSERT_EQ(std::bit_cast<std::uint32_t>(Read<float>(Written(value))), std::bit_cast<std::uint32_t>(value));
    }
}

TEST(DelimitedText, FloatsThatAreNoNumbersAreRefused) {
    for (const float value : {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()})
        EXPECT_THROW(Written(value), Error);
}

TEST(DelimitedText, IntegersReadBackToTheirLimits) {
    EXPECT_EQ(Read<std::int16_t>("-32768"), -32768);
    EXPECT_EQ(Read<std::int16_t>("32767"), 32767);
    EXPECT_EQ(Read<std::int32_t>("-2147483648"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(Written(std::numeric_limits<std::int32_t>::max()), "2147483647");
}

TEST(DelimitedText, BlanksAroundAFieldAreLetPass) {
    EXPECT_EQ(Read<std::string>("  \"a b\"\t"), "a b");
    EXPECT_EQ(Read<float>(" .5 "), 0.5F);
    EXPECT_TRUE(Read<bool>(" #TRUE# "));
}

TEST(DelimitedText, NumbersWithAnExponentAreRead) {
    EXPECT_EQ(Read<float>("1.5E-02"), 0.015F);
}

TEST(DelimitedText, WhatIsNotOfTheTypeIsNamed) {
    EXPECT_EQ(ErrorOf<std::string>("abc"), "SR.dat, line 1, field 1: \"abc\" where a text in quotes is expected");
    EXPECT_EQ(ErrorOf<bool>("TRUE"), "SR.dat, line 1, field 1: \"TRUE\" where #TRUE# or #FALSE# is expected");
    EXPECT_EQ(ErrorOf<std::int16_t>("32768"),
              "SR.dat, line 1, field 1: \"32768\" where a whole number from -32768 to 32767 is expected");
    EXPECT_EQ(ErrorOf<std::int32_t>("1.5"),
              "SR.dat, line 1, field 1: \"1.5\" where a whole number of 32 bits is expected");
    EXPECT_EQ(ErrorOf<std::int32_t>("\"1\""),
              "SR.dat, line 1, field 1: a text where a whole number of 32 bits is expected");
    EXPECT_EQ(ErrorOf<float>(""), "SR.dat, line 1, field 1: \"\" where a number is expected");
    EXPECT_EQ(ErrorOf<float>("1,5 mm").substr(0, 10), "no error"); // a comma ends the field
    EXPECT_EQ(ErrorOf<float>("1e99"), "SR.dat, line 1, field 1: \"1e99\" where a number is expected");
    EXPECT_EQ(ErrorOf<float>("inf"), "SR.dat, line 1, field 1: infinite or no number");
    EXPECT_EQ(ErrorOf<std::string>("\"abc"), "SR.dat, line 1, field 1: the closing quote is missing");
    EXPECT_EQ(ErrorOf<std::string>("\"abc\"d"), "SR.dat, line 1, field 1: there is more after the closing quote");
}

TEST(DelimitedText, AFieldThatIsMissingIsNamedWithItsLine) {
    DelimitedReader reader("1\n2\n", "SR.dat");
    std::int16_t value = 0;
    reader.Field(value);
    reader.EndLine();
    reader.Field(value);
    try {
        reader.Field(value);
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.description, "SR.dat, line 2, field 2: the line ends before it");
    }
}

TEST(DelimitedText, AFieldTooManyIsAnError) {
    DelimitedReader reader("1,2\r\n", "SR.dat");
    std::int16_t value = 0;
    reader.Field(value);
    EXPECT_THROW(reader.EndLine(), Error);
}

TEST(DelimitedText, AFieldCanBePassedOverWhateverItHolds) {
    DelimitedReader reader("\"a,b\",#NULL#,,7\n", "SR.dat");
    reader.NullField();
    reader.NullField();
    reader.NullField();
    std::int16_t value = 0;
    reader.Field(value);
    reader.EndLine();
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(reader.AtEnd());
}

TEST(DelimitedText, TheLastLineNeedsNoEnd) {
    DelimitedReader reader("7", "SR.dat");
    std::int16_t value = 0;
    reader.Field(value);
    reader.EndLine();
    EXPECT_TRUE(reader.AtEnd());
}

} // namespace
} // namespace tavrel
