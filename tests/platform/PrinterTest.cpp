#include "platform/printer.h"
#include "tests/support/Failure.h"

#include <gtest/gtest.h>

namespace tavrel {
namespace {

TEST(PrintLayouts, SayThatTheyHaveNoControlOfAName) {
    PrintLayout layout;
    layout.name = "Refert";

    const Error error = ErrorOf([&] { layout.Control("TextBox9"); });

    EXPECT_EQ(error.number, 424);
    EXPECT_EQ(error.description, "Refert has no control TextBox9");
}

const PrintedDocument ChestOfDoe{.patient = "Doe, Peter", .study = "CT chest", .date = {2026, 11, 22}};

TEST(PrintedDocuments, AreCalledByPatientStudyAndDate) {
    EXPECT_EQ(ChestOfDoe.Title(), "Doe, Peter - CT chest - 2026-11-22");
    EXPECT_EQ(ChestOfDoe.FileName(), "Doe, Peter - CT chest - 2026-11-22.pdf");
}

TEST(PrintedDocuments, AreCalledByWhatIsKnown) {
    EXPECT_EQ((PrintedDocument{.patient = "", .study = "CT chest"}).FileName(), "CT chest.pdf");
    EXPECT_EQ((PrintedDocument{}).FileName(), "Report.pdf");
}

TEST(PrintedDocuments, HaveATitleOfOneLine) {
    EXPECT_EQ((PrintedDocument{.patient = "Doe\r\nPeter", .study = "a/b"}).Title(), "Doe  Peter - a/b");
}

/// A patient's name, and what of it stands in the name of a file.
struct InAFile {
    std::string_view called;
    std::string patient, file;
    friend void PrintTo(const InAFile& name, std::ostream* out) { *out << name.called; }
};

class FileNames : public testing::TestWithParam<InAFile> {};

TEST_P(FileNames, AreWhatEveryFileSystemTakes) {
    EXPECT_EQ((PrintedDocument{.patient = GetParam().patient, .study = ""}).FileName(), GetParam().file + ".pdf");
}

INSTANTIATE_TEST_SUITE_P(, FileNames,
                         testing::Values(InAFile{"Separators", "../etc\\passwd", "etc-passwd"},
                                         InAFile{"Signs", "a:b*c?d\"e<f>g|h", "a-b-c-d-e-f-g-h"},
                                         InAFile{"Controls", "Doe\r\n\tPeter\x7F\x01", "Doe Peter"},
                                         InAFile{"Hidden", ".Doe", "Doe"}, InAFile{"AnOption", "-rf Doe", "rf Doe"},
                                         InAFile{"DotsBehind", "Doe...", "Doe"}, InAFile{"DotsAlone", "..", "Report"},
                                         InAFile{"TurnedAround", "Doe\u202Efdp.exe\u200B", "Doefdp.exe"},
                                         InAFile{"NoUtf8", "Doe\xFF\xFE", "Doe"},
                                         InAFile{"Ideographs", "山田 太郎", "山田 太郎"},
                                         InAFile{"Nul", std::string("a\0b", 3), "a b"}),
                         testing::PrintToStringParamName());

TEST(PrintedDocuments, OfTheLongestTextsHaveANameOfWholeCharactersWithTheDate) {
    std::string longest;
    for (int i = 0; i < 500; ++i)
        longest += "郎";
    const std::string name = PrintedDocument{longest, longest, {2026, 11, 22}, longest}.FileName();

    EXPECT_LE(name.size() + 7, 255U); // with what is added while it is written
    EXPECT_NE(name.find("郎 - 2026-11-22 - 郎"), std::string::npos) << name;
    EXPECT_EQ(name.size() % 3, (3 * 3 + 10 + 4) % 3U); // no character is cut
}

} // namespace
} // namespace tavrel
