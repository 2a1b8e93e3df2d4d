#include "editor/DelimitedText.h"

#include "platform/error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

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

/// The error of reading or writing delimited text, in these words.
auto FailsWith(const std::string& words) {
    return testing::Throws<Error>(testing::AllOf(testing::Field(&Error::number, static_cast<int>(Fault::TypeMismatch)),
                                                 testing::Field(&Error::source, "DelimitedText"),
                                                 testing::Field(&Error::description, words)));
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
        EXPECT_THAT([&] { Written(value); }, FailsWith("A value is infinite or no number and cannot be written"));
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

template <typename Value> void ExpectRefused(std::string_view text, const std::string& reason) {
    EXPECT_THAT([&] { Read<Value>(text); }, FailsWith("SR.dat, line 1, field 1: " + reason));
}

TEST(DelimitedText, WhatIsNotOfTheTypeIsNamed) {
    ExpectRefused<std::string>("abc", "\"abc\" where a text in quotes is expected");
    ExpectRefused<bool>("TRUE", "\"TRUE\" where #TRUE# or #FALSE# is expected");
    ExpectRefused<std::int16_t>("32768", "\"32768\" where a whole number from -32768 to 32767 is expected");
    ExpectRefused<std::int32_t>("1.5", "\"1.5\" where a whole number of 32 bits is expected");
    ExpectRefused<std::int32_t>("1~", "\"1~\" where a whole number of 32 bits is expected");
    ExpectRefused<std::int32_t>("\"1\"", "a text where a whole number of 32 bits is expected");
    ExpectRefused<float>("", "\"\" where a number is expected");
    ExpectRefused<float>("1e99", "\"1e99\" where a number is expected");
    ExpectRefused<float>("inf", "infinite or no number");
    ExpectRefused<std::string>("\"abc", "the closing quote is missing");
    ExpectRefused<std::string>("\"abc\"d", "there is more after the closing quote");
}

TEST(DelimitedText, ACommaEndsAFieldAlsoInANumber) {
    EXPECT_EQ(Read<float>("1,5 mm"), 1.0F);
}

TEST(DelimitedText, AFieldThatIsMissingIsNamedWithItsLine) {
    DelimitedReader reader("1\n2\n", "SR.dat");
    std::int16_t value = 0;
    reader.Field(value);
    reader.EndLine();
    reader.Field(value);
    EXPECT_THAT([&] { reader.Field(value); }, FailsWith("SR.dat, line 2, field 2: the line ends before it"));
}

TEST(DelimitedText, AFieldTooManyIsAnError) {
    DelimitedReader reader("1,2\r\n", "SR.dat");
    std::int16_t value = 0;
    reader.Field(value);
    EXPECT_THAT([&] { reader.EndLine(); }, FailsWith("SR.dat, line 1, field 2: there is one field too many"));
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

TEST(DelimitedText, ALineMayEndInACarriageReturnOrALineFeedAlone) {
    for (const std::string_view text : {"1\r2", "1\n2"}) {
        DelimitedReader reader(text, "SR.dat");
        std::int16_t first = 0, second = 0;
        reader.Field(first);
        reader.EndLine();
        reader.Field(second);
        EXPECT_EQ(second, 2);
    }
}

TEST(DelimitedText, AnEmptyLineIsALine) {
    DelimitedReader reader("1\n\n", "SR.dat");
    std::int16_t value = 0;
    reader.Field(value);
    reader.EndLine();
    EXPECT_FALSE(reader.AtEnd());
    reader.EndLine();
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
