#include "suite/catalogue/CsvReader.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

using Fields = std::vector<std::string>;

TEST(Csv, FieldsArePartedByCommas) {
    EXPECT_EQ(ReadCsv("a,b,c\n").at(0).fields, Fields({"a", "b", "c"}));
}

TEST(Csv, AQuotedFieldHoldsCommasAndQuotes) {
    EXPECT_EQ(ReadCsv("\"a,\"\"b\"\"\",c").at(0).fields, Fields({"a,\"b\"", "c"}));
}

TEST(Csv, AQuotedFieldHoldsLineEnds) {
    const auto rows = ReadCsv("\"a\r\nb\",c\r\nd,e\r\n");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].fields.at(0), "a\r\nb");
    EXPECT_EQ(rows[1].line, 3);
}

TEST(Csv, BothLineEndsAreRead) {
    EXPECT_EQ(ReadCsv("a\r\nb\nc").size(), 3U);
}

TEST(Csv, EmptyLinesAreLeftOutButCounted) {
    const auto rows = ReadCsv("a\n\n\nb\n");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[1].line, 4);
}

TEST(Csv, EmptyFieldsAreFields) {
    EXPECT_EQ(ReadCsv(",,").at(0).fields, Fields({"", "", ""}));
}

TEST(Csv, AByteOrderMarkIsNoData) {
    EXPECT_EQ(ReadCsv("\xEF\xBB\xBFx").at(0).fields, Fields({"x"}));
}

TEST(Csv, AnOpenQuoteIsAFault) {
    EXPECT_EQ(ReadCsv("a,\"b\nc\n").at(0).fault, "a quote that is not closed");
}

TEST(Csv, TextAfterAClosingQuoteIsAFault) {
    EXPECT_EQ(ReadCsv("\"a\"b,c\nd\n").at(0).fault, "text after a closing quote");
}

TEST(Csv, AQuoteWithinAPlainFieldIsAFault) {
    EXPECT_EQ(ReadCsv("a\"b,c").at(0).fault, "a quote within a field that does not start with one");
}

TEST(Csv, AnEmptyTextHasNoRows) {
    EXPECT_TRUE(ReadCsv("").empty());
}

} // namespace
} // namespace tavrel
