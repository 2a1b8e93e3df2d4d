#include "SampleReport.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

constexpr Tag PatientName{0x0010, 0x0010};
constexpr Tag BirthDate{0x0010, 0x0030};
constexpr Tag StudyTime{0x0008, 0x0030};
constexpr Tag VerificationTime{0x0040, 0xA030};
constexpr Tag SeriesNumber{0x0020, 0x0011};
constexpr Tag CompletionFlag{0x0040, 0xA491};
constexpr Tag Observers{0x0040, 0xA073};
constexpr Tag Content{0x0040, 0xA730};
constexpr Tag TextValue{0x0040, 0xA160};

class DataSets : public testing::Test {
protected:
    DataSetHandle NewDataSet() { return library.dicom.NewDataSet(); }
    DateTime Moment(Tag tag) const { return std::get<DateTime>(dataSet->GetValue(tag, "DA")); }

    TestLibrary library;
    DataSetHandle dataSet = NewDataSet();
};

TEST_F(DataSets, AnAbsentElementHasNoValue) {
    EXPECT_EQ(dataSet->GetValue(PatientName, "PN"), Value{});
    EXPECT_EQ(dataSet->GetValue(BirthDate, "DA"), Value{});
}

TEST_F(DataSets, NothingIsWrittenAsAnEmptyElement) {
    dataSet->SetValue(PatientName, "PN", 0, Value{});
    dataSet->SetValue({0x0008, 0x0016}, "UI", 0, "1.2.840.10008.5.1.4.1.1.88.11");
    dataSet->SetValue({0x0008, 0x0018}, "UI", 0, "1.2.3");
    dataSet->SaveToFile(library.folder.File("empty.dcm"));
    const std::string emptyName{"\x10\x00\x10\x00PN\x00\x00", 8};
    EXPECT_NE(ReadBytes(library.folder.path / "empty.dcm").find(emptyName), std::string::npos);
    EXPECT_EQ(dataSet->GetValue(PatientName, "PN"), Value{});
}

TEST_F(DataSets, AWriteReplacesTheElement) {
    dataSet->SetValue(PatientName, "PN", 0, "Doe^Jane");
    dataSet->SetValue(PatientName, "PN", 0, "Roe^Mary");
    EXPECT_EQ(Text(*dataSet, PatientName), "Roe^Mary");
}

TEST_F(DataSets, ReadingTakesTheElementsOwnVrWhateverIsAskedFor) {
    dataSet->SetValue(CompletionFlag, "CS", 0, "COMPLETE");
    EXPECT_EQ(Text(dataSet->GetValue(CompletionFlag, "SC")), "COMPLETE");
}

TEST_F(DataSets, AnUnknownVrCannotBeWritten) {
    EXPECT_EQ(FailureOf([&] { dataSet->SetValue(CompletionFlag, "SC", 0, "COMPLETE"); }),
              "A value of VR \"SC\" cannot be written to Completion Flag (0040,A491).");
    EXPECT_EQ(dataSet->GetValue(CompletionFlag, "CS"), Value{});
}

TEST_F(DataSets, ANumberIsWrittenAsAnIntegerString) {
    dataSet->SetValue(SeriesNumber, "IS", 0, std::int16_t{8});
    EXPECT_EQ(Text(*dataSet, SeriesNumber), "8");
}

TEST_F(DataSets, WordsAreNoIntegerString) {
    EXPECT_THROW(dataSet->SetValue(SeriesNumber, "IS", 0, "eight"), Error);
    EXPECT_THROW(dataSet->SetValue(SeriesNumber, "IS", 0, "99999999999"), Error);
}

TEST_F(DataSets, WordsAreNoUid) {
    EXPECT_THROW(dataSet->SetValue({0x0020, 0x000D}, "UI", 0, "study 7"), Error);
}

TEST_F(DataSets, ADateKeepsItsDay) {
    dataSet->SetValue(BirthDate, "DA", 0, DateTime{1961, 2, 28});
    EXPECT_EQ(Moment(BirthDate), (DateTime{1961, 2, 28}));
}

TEST_F(DataSets, ATimeKeepsItsTimeOfDay) {
    dataSet->SetValue(StudyTime, "TM", 0, DateTime{2026, 11, 15, 8, 5, 12});
    EXPECT_EQ(Moment(StudyTime), (DateTime{0, 0, 0, 8, 5, 12}));
}

TEST_F(DataSets, MidnightIsATime) {
    dataSet->SetValue(StudyTime, "TM", 0, DateTime{});
    EXPECT_EQ(dataSet->GetValue(StudyTime, "TM"), Value{DateTime{}});
}

TEST_F(DataSets, ADateTimeWithoutOffsetIsLocalTime) {
    dataSet->SetValue(VerificationTime, "DT", 0, DateTime{2026, 11, 15, 8, 5, 12});
    EXPECT_EQ(Moment(VerificationTime), (DateTime{2026, 11, 15, 8, 5, 12}));
}

TEST_F(DataSets, ADateThatTheCalendarLacksCannotBeWritten) {
    EXPECT_THROW(dataSet->SetValue(BirthDate, "DA", 0, DateTime{2026, 2, 30}), Error);
    EXPECT_THROW(dataSet->SetValue(BirthDate, "DA", 0, "20260230"), Error);
}

TEST_F(DataSets, NoDateIsWrittenAsAnEmptyElement) {
    dataSet->SetValue(BirthDate, "DA", 0, DateTime{});
    EXPECT_EQ(dataSet->GetValue(BirthDate, "DA"), Value{});
}

TEST_F(DataSets, IndexZeroOfATextThatHoldsABackslashIsTheWholeText) {
    for (const char* vr : {"LO", "SH", "PN", "UT"}) {
        dataSet->SetValue(PatientName, vr, 0, R"(left\right)");
        EXPECT_EQ(Text(*dataSet, PatientName), R"(left\right)") << vr;
    }
}

TEST_F(DataSets, ALaterIndexIsOneValue) {
    dataSet->SetValue({0x0008, 0x0008}, "CS", 0, R"(ORIGINAL\PRIMARY)");
    EXPECT_EQ(Text(dataSet->GetValue({0x0008, 0x0008}, "CS", 0)), "ORIGINAL");
    EXPECT_EQ(Text(dataSet->GetValue({0x0008, 0x0008}, "CS", 1)), "PRIMARY");
    EXPECT_EQ(dataSet->GetValue({0x0008, 0x0008}, "CS", 2), Value{});
}

TEST_F(DataSets, LineEndsAreCrLfInMemory) {
    dataSet->SetValue(TextValue, "UT", 0, "one\ntwo\r\nthree\rfour");
    EXPECT_EQ(Text(*dataSet, TextValue), "one\r\ntwo\r\nthree\r\nfour");
}

TEST_F(DataSets, AnItemIsFoundAtItsIndex) {
    const auto report = MakeReport(library.dicom, 2);
    EXPECT_EQ(report->GetSequenceItemCount(Observers), 2);
    EXPECT_EQ(Text(*report->GetSequenceItem(Content, 0), TextValue), "Abdomen");
    EXPECT_EQ(report->GetSequenceItem(Content, 2), nullptr);
    EXPECT_EQ(report->GetSequenceItem(Content, -1), nullptr);
    EXPECT_EQ(report->GetSequenceItemCount({0x0040, 0xA375}), 0);
}

TEST_F(DataSets, AWriteToAnItemShowsInTheDataSetThatHoldsIt) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(Content, 0, item);
    item->SetValue(TextValue, "UT", 0, "later");
    EXPECT_EQ(Text(*dataSet->GetSequenceItem(Content, 0), TextValue), "later");
}

TEST_F(DataSets, AReplacedItemKeepsItsHandle) {
    const auto first = NewDataSet();
    first->SetValue(TextValue, "UT", 0, "first");
    dataSet->SetSequenceItem(Content, 0, first);
    dataSet->SetSequenceItem(Content, 0, NewDataSet());
    first->SetValue(PatientName, "PN", 0, "Doe^Jane");
    EXPECT_EQ(Text(*first, TextValue), "first");
    EXPECT_EQ(dataSet->GetSequenceItemCount(Content), 1);
    EXPECT_EQ(dataSet->GetSequenceItem(Content, 0)->GetValue(PatientName, "PN"), Value{});
}

TEST_F(DataSets, AReplacedItemCanBePutBack) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(Content, 0, item);
    dataSet->SetSequenceItem(Content, 0, NewDataSet());
    dataSet->SetSequenceItem(Content, 1, item);
    EXPECT_EQ(dataSet->GetSequenceItem(Content, 1), item);
}

TEST_F(DataSets, AnItemOutlivesTheDataSetThatHeldIt) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(Content, 0, item);
    dataSet.reset();
    item->SetValue(TextValue, "UT", 0, "alive");
    EXPECT_EQ(Text(*item, TextValue), "alive");
}

TEST_F(DataSets, AnItemOfAnotherSequenceIsCopiedIn) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(Content, 0, item);
    dataSet->SetSequenceItem(Observers, 0, item);
    item->SetValue(TextValue, "UT", 0, "content only");
    EXPECT_EQ(dataSet->GetSequenceItem(Observers, 0)->GetValue(TextValue, "UT"), Value{});
}

TEST_F(DataSets, ADataSetCanHoldACopyOfItself) {
    dataSet->SetValue(TextValue, "UT", 0, "self");
    dataSet->SetSequenceItem(Content, 0, dataSet);
    EXPECT_EQ(Text(*dataSet->GetSequenceItem(Content, 0), TextValue), "self");
    EXPECT_EQ(dataSet->GetSequenceItem(Content, 0)->GetSequenceItemCount(Content), 0);
}

TEST_F(DataSets, AnItemBeyondTheEndHasNoPlace) {
    EXPECT_THROW(dataSet->SetSequenceItem(Content, 1, NewDataSet()), Error);
    EXPECT_THROW(dataSet->SetSequenceItem(Content, -1, NewDataSet()), Error);
    EXPECT_THROW(dataSet->SetSequenceItem(Content, 0, nullptr), Error);
}

TEST_F(DataSets, MetaInformationIsKeptBesideTheDataSet) {
    const auto report = MakeReport(library.dicom);
    report->SaveToFile(library.folder.File("report.dcm"));
    const auto bytes = ReadBytes(library.folder.path / "report.dcm");
    const std::string transferSyntax{"\x02\x00\x10\x00UI", 6};
    EXPECT_EQ(Text(*report, {0x0002, 0x0010}), "1.2.840.10008.1.2.1");
    EXPECT_EQ(bytes.find(transferSyntax), bytes.rfind(transferSyntax));
}

TEST(DataSetLists, AnIndexWithoutDataSetIsNamed) {
    TestLibrary library;
    const auto list = library.dicom.NewDataSetList();
    EXPECT_EQ(FailureOf([&] { list->Item(-1); }), "No data set at index -1");
}

TEST(DataSetLists, ACopySharesNothingWithItsSource) {
    TestLibrary library;
    const auto list = library.dicom.NewDataSetList();
    list->AddDataSet(-1);
    list->Item(0)->SetSequenceItem(Content, 0, library.dicom.NewDataSet());
    list->AddDataSet(0);
    list->Item(1)->GetSequenceItem(Content, 0)->SetValue(TextValue, "UT", 0, "copy");
    list->SetElementString(1, PatientName, "PN", "Roe^Mary");
    EXPECT_EQ(list->Item(0)->GetSequenceItem(Content, 0)->GetValue(TextValue, "UT"), Value{});
    EXPECT_EQ(list->GetElementString(0, PatientName), "");
    EXPECT_EQ(list->ItemCount(), 2);
}

TEST(DataSetLists, AnItemIsALiveHandle) {
    TestLibrary library;
    const auto list = library.dicom.NewDataSetList();
    list->AddDataSet(-1);
    list->Item(0)->SetValue(PatientName, "PN", 0, "Doe^Jane");
    EXPECT_EQ(list->GetElementString(0, PatientName), "Doe^Jane");
}

} // namespace
} // namespace tavrel::test
