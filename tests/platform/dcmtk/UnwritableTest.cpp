#include "RawDicom.h"
#include "SampleReport.h"
#include "platform/dcmtk/DataSetEncoder.h"
#include "platform/dcmtk/DcmtkDataSet.h"

#include <dcmtk/config/osconfig.h>

#include <dcmtk/dcmdata/dcdatset.h>

#include <gtest/gtest.h>

#include <random>

namespace tavrel {

void PrintTo(const LostCharacter& lost, std::ostream* out) {
    *out << '"' << lost.text << "\" at " << lost.offset;
}

namespace test {
namespace {

using Lost = std::vector<LostCharacter>;

class Unwritables : public testing::Test {
protected:
    Lost InLatin1(std::string_view text) const { return library.dicom.FindUnwritable(text, "ISO_IR 100"); }

    /// The only element of the report that cannot be written.
    Unwritable Only() const {
        auto found = report->FindUnwritable();
        EXPECT_EQ(found.size(), 1U);
        return found.empty() ? Unwritable{} : found.front();
    }

    TestLibrary library;
    DataSetHandle report = MakeReport(library.dicom, 3);
    DataSetHandle reading = report->GetSequenceItem(attribute::ContentSequence, 1);
};

TEST_F(Unwritables, ASoundReportHasNone) {
    EXPECT_TRUE(report->FindUnwritable().empty());
}

TEST_F(Unwritables, EveryCharacterOfAnElementIsNamed) {
    reading->SetValue(attribute::TextValue, 0, "é: 3→4, ≥5");
    EXPECT_EQ(Only().lost, (Lost{{"→", 5}, {"≥", 11}}));
    EXPECT_EQ(Only().text, "é: 3→4, ≥5");
}

TEST_F(Unwritables, AnElementIsNamedByItsPathAndInWords) {
    reading->SetValue(attribute::TextValue, 0, "→");
    EXPECT_EQ(Only().path,
              (std::vector<Unwritable::Step>{{attribute::ContentSequence, 1}, {attribute::TextValue, -1}}));
    EXPECT_EQ(Only().name, "Content Sequence item 2, Text Value");
}

TEST_F(Unwritables, EveryElementIsTold) {
    report->SetValue(attribute::SeriesDescription, 0, "α");
    reading->SetValue(attribute::TextValue, 0, "→");
    EXPECT_EQ(report->FindUnwritable().size(), 2U);
}

TEST_F(Unwritables, ThePlaceIsThatInTheTextAsItWasTyped) {
    EXPECT_EQ(InLatin1("u\u0308 u\u0308 ≥"), (Lost{{"≥", 8}}));
}

TEST_F(Unwritables, ALetterIsToldWithItsMarks) {
    EXPECT_EQ(InLatin1("a q\u0308\u0301."), (Lost{{"q\u0308\u0301", 2}}));
}

TEST_F(Unwritables, AMarkAfterALineEndStandsAlone) {
    EXPECT_EQ(InLatin1("\n\u0308"), (Lost{{"\u0308", 1}}));
}

TEST_F(Unwritables, NeighboursAreToldOneByOne) {
    EXPECT_EQ(InLatin1("αβ"), (Lost{{"α", 0}, {"β", 2}}));
}

TEST_F(Unwritables, AControlCharacterIsOneAmongOthers) {
    EXPECT_EQ(InLatin1("α\a\tβ"), (Lost{{"α", 0}, {"\a", 2}, {"β", 4}}));
}

TEST_F(Unwritables, AMalformedByteIsOne) {
    EXPECT_EQ(InLatin1("é\xFFz"), (Lost{{"\xFF", 2}}));
}

TEST_F(Unwritables, TextsAreJudgedByTheSetThatIsDeclared) {
    EXPECT_TRUE(library.dicom.FindUnwritable("Łódź", "ISO_IR 101").empty());
    EXPECT_EQ(library.dicom.FindUnwritable("Łódź", "").size(), 3U);
}

TEST_F(Unwritables, ANameWhoseIdeographsAreLeftOutIsNone) {
    report->SetValue(attribute::PatientName, 0, "Yamada^Tarou=山田^太郎");
    EXPECT_TRUE(report->FindUnwritable().empty());
}

TEST_F(Unwritables, TheAlphabeticNamesOfSeveralAreJudged) {
    report->SetValue(attribute::PatientName, 0, "é=山\\山α=山");
    EXPECT_EQ(Only().lost, (Lost{{"山", 7}, {"α", 10}}));
}

TEST_F(Unwritables, AMissingUidIsTold) {
    report->SetValue(attribute::SeriesInstanceUid, 0, "");
    EXPECT_EQ(Only().reason, "The version cannot be sent: it has no Series Instance UID (0020,000E).");
    EXPECT_EQ(Only().name, "Series Instance UID");
}

TEST_F(Unwritables, ALongUidIsTold) {
    report->SetValue(attribute::SopInstanceUid, 0, "1." + std::string(63, '2'));
    EXPECT_NE(Only().reason.find("is longer than 64 characters."), std::string::npos);
    EXPECT_EQ(Only().text, "");
}

TEST_F(Unwritables, ALongTextIsTold) {
    report->SetValue(attribute::SeriesDescription, 0, std::string(65535, 'x'));
    EXPECT_EQ(Only().reason,
              "The text of Series Description (0008,103E) is too long: 65535 bytes, at most 65534 can be "
              "stored.");
}

TEST_F(Unwritables, CompressedImagesAreTold) {
    using namespace std::string_literals;
    RawDicom raw;
    for (const Attribute& uid :
         {attribute::SopClassUid, attribute::SopInstanceUid, attribute::StudyInstanceUid, attribute::SeriesInstanceUid})
        raw.Text(uid, "1.2.3");
    raw.Raw("\xE0\x7F\x10\0OB\0\0\xFF\xFF\xFF\xFF"s)
        .Raw("\xFE\xFF\0\xE0\0\0\0\0"s) // no offset table
        .Raw("\xFE\xFF\0\xE0\2\0\0\0ab\xFE\xFF\xDD\xE0\0\0\0\0"s);
    WriteBytes(library.File("image.dcm"), raw.File("1.2.840.10008.1.2.4.50"));
    report = library.Load(library.File("image.dcm"))->Item(0);
    EXPECT_EQ(Only().reason, FailureOf([&] { report->SaveToFile(library.File("copy.dcm")); }));
}

/// Texts of all that the encoder judges: letters with and without marks, delimiters, controls, malformed bytes.
std::string AnyText(std::mt19937& random) {
    static const std::vector<std::string> pieces{"a",          "Z9. ", "é",        "e\u0301", "q\u0308", "\u0308",
                                                 "=",          "\\",   "^",        "\r\n",    "\a",      "\x7F",
                                                 "\u0085",     "α",    "山",       "→",       "\u212B",  "\u0338",
                                                 "\U0001F9E0", "\xFF", "\xE2\x89", "\x80",    "\u0E4D",  ""};
    std::string text;
    for (auto left = random() % 6; left > 0; --left)
        text += pieces[random() % pieces.size()];
    return text;
}

DataSetHandle AnyDataSet(DicomLibrary& library, std::mt19937& random) {
    auto dataSet = MakeReport(library, static_cast<int>(random() % 3) + 1);
    for (const char* set : {"", "ISO_IR 192", "ISO_IR 126", "\\ISO 2022 IR 87"})
        if (random() % 8 == 0)
            dataSet->SetValue(attribute::SpecificCharacterSet, 0, set);
    const auto item = dataSet->GetSequenceItem(attribute::ContentSequence, 1);
    if (random() % 4 == 0)
        item->SetValue(attribute::SpecificCharacterSet, 0, "ISO_IR 144");
    for (const Attribute& attribute : {attribute::PatientName, attribute::SeriesDescription, attribute::ImageType})
        if (random() % 3 == 0)
            dataSet->SetValue(attribute, 0, AnyText(random));
    if (random() % 3 == 0)
        item->SetValue(attribute::TextValue, 0, AnyText(random));
    if (random() % 9 == 0)
        item->SetValue(attribute::ReferencedSopInstanceUid, 0, std::string(60 + random() % 10, '1'));
    return dataSet;
}

TEST_F(Unwritables, AreNoneExactlyWhenTheEncoderRefusesNothing) {
    std::mt19937 random{20261121};
    int refused = 0;
    for (int round = 0; round < 4000; ++round) {
        const auto dataSet = AnyDataSet(library.dicom, random);
        const auto failure = FailureOf([&] { EncodeDataSet(dynamic_cast<const DcmtkDataSet&>(*dataSet)); });
        ASSERT_EQ(dataSet->FindUnwritable().empty(), failure.empty()) << "round " << round << ": " << failure;
        refused += failure.empty() ? 0 : 1;
    }
    EXPECT_GT(refused, 1000);
    EXPECT_LT(refused, 3000);
}

TEST_F(Unwritables, WhatIsToldStandsInTheTextWhereItIsSaid) {
    std::mt19937 random{7};
    for (int round = 0; round < 4000; ++round) {
        const std::string text = AnyText(random);
        std::size_t end = 0;
        for (const auto& [lost, offset] : InLatin1(text)) {
            ASSERT_GE(offset, end) << "round " << round;
            ASSERT_EQ(text.substr(offset, lost.size()), lost) << "round " << round;
            ASSERT_FALSE(lost.empty()) << "round " << round;
            end = offset + lost.size();
        }
    }
}

TEST_F(Unwritables, ATextWithoutWhatIsToldCanBeWritten) {
    std::mt19937 random{11};
    for (int round = 0; round < 4000; ++round) {
        std::string text = AnyText(random);
        const auto lost = InLatin1(text);
        for (auto left = lost.size(); left > 0; --left)
            text.replace(lost[left - 1].offset, lost[left - 1].text.size(), "?");
        ASSERT_EQ(InLatin1(text), Lost{}) << "round " << round;
    }
}

} // namespace
} // namespace test
} // namespace tavrel
