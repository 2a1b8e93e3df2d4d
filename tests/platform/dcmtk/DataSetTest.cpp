#include "SampleReport.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

constexpr Tag patientName{0x0010, 0x0010};
constexpr Tag birthDate{0x0010, 0x0030};
constexpr Tag studyTime{0x0008, 0x0030};
constexpr Tag verificationTime{0x0040, 0xA030};
constexpr Tag seriesNumber{0x0020, 0x0011};
constexpr Tag completionFlag{0x0040, 0xA491};
constexpr Tag observers{0x0040, 0xA073};
constexpr Tag content{0x0040, 0xA730};
constexpr Tag textValue{0x0040, 0xA160};

class DataSets : public testing::Test {
protected:
    DataSetHandle NewDataSet() { return library.dicom.NewDataSet(); }
    DateTime Moment(Tag tag) const { return std::get<DateTime>(dataSet->GetValue(tag, "DA")); }

    TestLibrary library;
    DataSetHandle dataSet = NewDataSet();
};

TEST_F(DataSets, AnAbsentElementHasNoValue) {
    EXPECT_EQ(dataSet->GetValue(patientName, "PN"), Value{});
    EXPECT_EQ(dataSet->GetValue(birthDate, "DA"), Value{});
}

TEST_F(DataSets, NothingIsWrittenAsAnEmptyElement) {
    dataSet->SetValue(patientName, "PN", 0, Value{});
    dataSet->SetValue({0x0008, 0x0016}, "UI", 0, "1.2.840.10008.5.1.4.1.1.88.11");
    dataSet->SetValue({0x0008, 0x0018}, "UI", 0, "1.2.3");
    dataSet->SaveToFile(library.folder.File("empty.dcm"));
    const std::string emptyName{"\x10\x00\x10\x00PN\x00\x00", 8};
    EXPECT_NE(ReadBytes(library.folder.path / "empty.dcm").find(emptyName), std::string::npos);
    EXPECT_EQ(dataSet->GetValue(patientName, "PN"), Value{});
}

TEST_F(DataSets, AWriteReplacesTheElement) {
    dataSet->SetValue(patientName, "PN", 0, "Doe^Jane");
    dataSet->SetValue(patientName, "PN", 0, "Roe^Mary");
    EXPECT_EQ(Text(*dataSet, patientName), "Roe^Mary");
}

TEST_F(DataSets, ReadingTakesTheElementsOwnVrWhateverIsAskedFor) {
    dataSet->SetValue(completionFlag, "CS", 0, "COMPLETE");
    EXPECT_EQ(Text(dataSet->GetValue(completionFlag, "SC")), "COMPLETE");
}

TEST_F(DataSets, AnUnknownVrCannotBeWritten) {
    EXPECT_EQ(FailureOf([&] { dataSet->SetValue(completionFlag, "SC", 0, "COMPLETE"); }),
              "A value of VR \"SC\" cannot be written to Completion Flag (0040,A491).");
    EXPECT_EQ(dataSet->GetValue(completionFlag, "CS"), Value{});
}

TEST_F(DataSets, ANumberIsWrittenAsAnIntegerString) {
    dataSet->SetValue(seriesNumber, "IS", 0, std::int16_t{8});
    EXPECT_EQ(Text(*dataSet, seriesNumber), "8");
}

TEST_F(DataSets, WordsAreNoIntegerString) {
    EXPECT_THROW(dataSet->SetValue(seriesNumber, "IS", 0, "eight"), Error);
    EXPECT_THROW(dataSet->SetValue(seriesNumber, "IS", 0, "99999999999"), Error);
}

TEST_F(DataSets, WordsAreNoUid) {
    EXPECT_THROW(dataSet->SetValue({0x0020, 0x000D}, "UI", 0, "study 7"), Error);
}

TEST_F(DataSets, ADateKeepsItsDay) {
    dataSet->SetValue(birthDate, "DA", 0, DateTime{1961, 2, 28});
    EXPECT_EQ(Moment(birthDate), (DateTime{1961, 2, 28}));
}

TEST_F(DataSets, ATimeKeepsItsTimeOfDay) {
    dataSet->SetValue(studyTime, "TM", 0, DateTime{2026, 11, 15, 8, 5, 12});
    EXPECT_EQ(Moment(studyTime), (DateTime{0, 0, 0, 8, 5, 12}));
}

TEST_F(DataSets, MidnightIsATime) {
    dataSet->SetValue(studyTime, "TM", 0, DateTime{});
    EXPECT_EQ(dataSet->GetValue(studyTime, "TM"), Value{DateTime{}});
}

TEST_F(DataSets, ADateTimeWithoutOffsetIsLocalTime) {
    dataSet->SetValue(verificationTime, "DT", 0, DateTime{2026, 11, 15, 8, 5, 12});
    EXPECT_EQ(Moment(verificationTime), (DateTime{2026, 11, 15, 8, 5, 12}));
}

TEST_F(DataSets, ADateThatTheCalendarLacksCannotBeWritten) {
    EXPECT_THROW(dataSet->SetValue(birthDate, "DA", 0, DateTime{2026, 2, 30}), Error);
    EXPECT_THROW(dataSet->SetValue(birthDate, "DA", 0, "20260230"), Error);
}

TEST_F(DataSets, NoDateIsWrittenAsAnEmptyElement) {
    dataSet->SetValue(birthDate, "DA", 0, DateTime{});
    EXPECT_EQ(dataSet->GetValue(birthDate, "DA"), Value{});
}

TEST_F(DataSets, IndexZeroOfATextThatHoldsABackslashIsTheWholeText) {
    for (const char* vr : {"LO", "SH", "PN", "UT"}) {
        dataSet->SetValue(patientName, vr, 0, R"(left\right)");
        EXPECT_EQ(Text(*dataSet, patientName), R"(left\right)") << vr;
    }
}

TEST_F(DataSets, ALaterIndexIsOneValue) {
    dataSet->SetValue({0x0008, 0x0008}, "CS", 0, R"(ORIGINAL\PRIMARY)");
    EXPECT_EQ(Text(dataSet->GetValue({0x0008, 0x0008}, "CS", 0)), "ORIGINAL");
    EXPECT_EQ(Text(dataSet->GetValue({0x0008, 0x0008}, "CS", 1)), "PRIMARY");
    EXPECT_EQ(dataSet->GetValue({0x0008, 0x0008}, "CS", 2), Value{});
}

TEST_F(DataSets, LineEndsAreCrLfInMemory) {
    dataSet->SetValue(textValue, "UT", 0, "one\ntwo\r\nthree\rfour");
    EXPECT_EQ(Text(*dataSet, textValue), "one\r\ntwo\r\nthree\r\nfour");
}

TEST_F(DataSets, AnItemIsFoundAtItsIndex) {
    const auto report = MakeReport(library.dicom, 2);
    EXPECT_EQ(report->GetSequenceItemCount(observers), 2);
    EXPECT_EQ(Text(*report->GetSequenceItem(content, 0), textValue), "Abdomen");
    EXPECT_EQ(report->GetSequenceItem(content, 2), nullptr);
    EXPECT_EQ(report->GetSequenceItem(content, -1), nullptr);
    EXPECT_EQ(report->GetSequenceItemCount({0x0040, 0xA375}), 0);
}

TEST_F(DataSets, AWriteToAnItemShowsInTheDataSetThatHoldsIt) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(content, 0, item);
    item->SetValue(textValue, "UT", 0, "later");
    EXPECT_EQ(Text(*dataSet->GetSequenceItem(content, 0), textValue), "later");
}

TEST_F(DataSets, AReplacedItemKeepsItsHandle) {
    const auto first = NewDataSet();
    first->SetValue(textValue, "UT", 0, "first");
    dataSet->SetSequenceItem(content, 0, first);
    dataSet->SetSequenceItem(content, 0, NewDataSet());
    first->SetValue(patientName, "PN", 0, "Doe^Jane");
    EXPECT_EQ(Text(*first, textValue), "first");
    EXPECT_EQ(dataSet->GetSequenceItemCount(content), 1);
    EXPECT_EQ(dataSet->GetSequenceItem(content, 0)->GetValue(patientName, "PN"), Value{});
}

TEST_F(DataSets, AReplacedItemCanBePutBack) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(content, 0, item);
    dataSet->SetSequenceItem(content, 0, NewDataSet());
    dataSet->SetSequenceItem(content, 1, item);
    EXPECT_EQ(dataSet->GetSequenceItem(content, 1), item);
}

TEST_F(DataSets, AnItemOutlivesTheDataSetThatHeldIt) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(content, 0, item);
    dataSet.reset();
    item->SetValue(textValue, "UT", 0, "alive");
    EXPECT_EQ(Text(*item, textValue), "alive");
}

TEST_F(DataSets, AnItemOfAnotherSequenceIsCopiedIn) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(content, 0, item);
    dataSet->SetSequenceItem(observers, 0, item);
    item->SetValue(textValue, "UT", 0, "content only");
    EXPECT_EQ(dataSet->GetSequenceItem(observers, 0)->GetValue(textValue, "UT"), Value{});
}

TEST_F(DataSets, ADataSetCanHoldACopyOfItself) {
    dataSet->SetValue(textValue, "UT", 0, "self");
    dataSet->SetSequenceItem(content, 0, dataSet);
    EXPECT_EQ(Text(*dataSet->GetSequenceItem(content, 0), textValue), "self");
    EXPECT_EQ(dataSet->GetSequenceItem(content, 0)->GetSequenceItemCount(content), 0);
}

TEST_F(DataSets, AnItemBeyondTheEndHasNoPlace) {
    EXPECT_THROW(dataSet->SetSequenceItem(content, 1, NewDataSet()), Error);
    EXPECT_THROW(dataSet->SetSequenceItem(content, -1, NewDataSet()), Error);
    EXPECT_THROW(dataSet->SetSequenceItem(content, 0, nullptr), Error);
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
    list->Item(0)->SetSequenceItem(content, 0, library.dicom.NewDataSet());
    list->AddDataSet(0);
    list->Item(1)->GetSequenceItem(content, 0)->SetValue(textValue, "UT", 0, "copy");
    list->SetElementString(1, patientName, "PN", "Roe^Mary");
    EXPECT_EQ(list->Item(0)->GetSequenceItem(content, 0)->GetValue(textValue, "UT"), Value{});
    EXPECT_EQ(list->GetElementString(0, patientName), "");
    EXPECT_EQ(list->ItemCount(), 2);
}

TEST(DataSetLists, AnItemIsALiveHandle) {
    TestLibrary library;
    const auto list = library.dicom.NewDataSetList();
    list->AddDataSet(-1);
    list->Item(0)->SetValue(patientName, "PN", 0, "Doe^Jane");
    EXPECT_EQ(list->GetElementString(0, patientName), "Doe^Jane");
}

} // namespace
} // namespace tavrel::test
