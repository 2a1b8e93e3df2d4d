#include "platform/person_name.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

struct Written {
    std::string_view called, stored, drawn;
    friend void PrintTo(const Written& name, std::ostream* out) { *out << name.called; }
};

class Names : public testing::TestWithParam<Written> {};

TEST_P(Names, AreDrawnAsPeopleWriteThem) {
    EXPECT_EQ(WrittenName(GetParam().stored), GetParam().drawn);
}

// The values of Adams and Morrison are the standard's own examples.
INSTANTIATE_TEST_SUITE_P(
    , Names,
    testing::Values(Written{"Plain", "Doe^Peter", "Doe, Peter"},
                    Written{"AllComponents", "Adams^John^Robert Quincy^Rev.^B.A. M.Div.",
                            "Adams, Rev. John Robert Quincy, B.A. M.Div."},
                    Written{"SuffixAlone", "Morrison-Jones^Susan^^^Ph.D., Chief Executive Officer",
                            "Morrison-Jones, Susan, Ph.D., Chief Executive Officer"},
                    Written{"PrefixAlone", "Doe^^^Dr.", "Doe, Dr."}, Written{"FamilyAlone", "Doe^^^^", "Doe"},
                    Written{"GivenAlone", "^Peter", "Peter"}, Written{"NoCaret", "Doe Peter", "Doe Peter"},
                    Written{"ACommaOfItsOwn", "DOE, PETER", "DOE, PETER"}, Written{"Nothing", "", ""},
                    Written{"CaretsAlone", "^^^^", ""}, Written{"BlanksAlone", "  ^ = ^ ", ""},
                    Written{"BlanksAround", " Doe ^ Peter ", "Doe, Peter"},
                    Written{"MoreComponentsThanThereAre", "A^B^C^D^E^F^G", "A, D B C, E F G"},
                    Written{"Japanese", "Yamada^Tarou=山田^太郎=やまだ^たろう",
                            "Yamada, Tarou (山田 太郎, やまだ たろう)"},
                    Written{"HalfWidthKana", "ﾔﾏﾀﾞ^ﾀﾛｳ=山田^太郎=やまだ^たろう", "ﾔﾏﾀﾞ ﾀﾛｳ (山田 太郎, やまだ たろう)"},
                    Written{"Korean", "Hong^Gildong=洪^吉洞=홍^길동", "Hong, Gildong (洪 吉洞, 홍 길동)"},
                    Written{"IdeographsInTheFirstPlace", "山田^太郎", "山田 太郎"},
                    Written{"IdeographsAlone", "=山田^太郎", "山田 太郎"},
                    Written{"AnEmptyThirdWriting", "Wang^XiaoDong=王^小东=", "Wang, XiaoDong (王 小东)"},
                    Written{"LatinInTheThirdPlace", "=洪^吉洞=Hong^Gildong", "洪 吉洞 (Hong, Gildong)"},
                    Written{"TheSameWritingTwice", "Doe^Peter=Doe^Peter", "Doe, Peter"},
                    Written{"MoreWritingsThanThereAre", "A=B=C=D", "A (B, C, D)"},
                    Written{"BeyondTheBasicPlane", "𠮷田^太郎", "𠮷田 太郎"},
                    Written{"Hebrew", "שרון^דבורה", "שרון, דבורה"},
                    Written{"Greek", "Παπαδόπουλος^Διονύσιος", "Παπαδόπουλος, Διονύσιος"},
                    Written{"SeveralNames", R"(Doe^Peter\Roe^Jane)", "Doe, Peter; Roe, Jane"},
                    Written{"AnEmptyOneAmongThem", R"(\Roe^Jane\)", "Roe, Jane"},
                    Written{"LineEnds", "Doe\r\nPeter^\x1B[1m", "Doe  Peter,  [1m"},
                    Written{"NoUtf8", "\xFF\xFE^Peter", "\xFF\xFE, Peter"}),
    testing::PrintToStringParamName());

} // namespace
} // namespace tavrel::test
