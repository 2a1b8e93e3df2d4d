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

struct Faulty {
    const char* name;
    const char* text;
    const char* fault;
};

class FaultyCsv : public testing::TestWithParam<Faulty> {};

TEST_P(FaultyCsv, SaysWhatIsWrong) {
    EXPECT_EQ(ReadCsv(GetParam().text).at(0).fault, GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(Csv, FaultyCsv,
                         testing::Values(Faulty{"AnOpenQuote", "a,\"b\nc\n", "a quote that is not closed"},
                                         Faulty{"TextAfterAQuote", "\"a\"b,c\nd\n", "text after a closing quote"},
                                         Faulty{"AQuoteWithinAField", "a\"b,c",
                                                "a quote within a field that does not start with one"}),
                         [](const auto& test) { return test.param.name; });

TEST(Csv, AnEmptyTextHasNoRows) {
    EXPECT_TRUE(ReadCsv("").empty());
}

} // namespace
} // namespace tavrel
