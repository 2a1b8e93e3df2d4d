#include "SampleReport.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

class DataSets : public testing::Test {
protected:
    DataSetHandle NewDataSet() { return library.dicom.NewDataSet(); }
    DateTime Moment(const Attribute& attribute) const { return std::get<DateTime>(dataSet->GetValue(attribute)); }

    TestLibrary library;
    DataSetHandle dataSet = NewDataSet();
};

TEST_F(DataSets, AnAbsentElementHasNoValue) {
    EXPECT_EQ(dataSet->GetValue(attribute::PatientName), Value{});
    EXPECT_EQ(dataSet->GetValue(attribute::PatientBirthDate), Value{});
}

TEST_F(DataSets, NothingIsWrittenAsAnEmptyElement) {
    dataSet->SetValue(attribute::PatientName, 0, Value{});
    dataSet->SetValue(attribute::SopClassUid, 0, "1.2.840.10008.5.1.4.1.1.88.11");
    dataSet->SetValue(attribute::SopInstanceUid, 0, "1.2.3");
    dataSet->SaveToFile(library.File("empty.dcm"));
    const std::string emptyName{"\x10\x00\x10\x00PN\x00\x00", 8};
    EXPECT_NE(ReadBytes(library.folder.Path() / "empty.dcm").find(emptyName), std::string::npos);
    EXPECT_EQ(dataSet->GetValue(attribute::PatientName), Value{});
}

TEST_F(DataSets, AWriteReplacesTheElement) {
    dataSet->SetValue(attribute::PatientName, 0, "Doe^Jane");
    dataSet->SetValue(attribute::PatientName, 0, "Roe^Mary");
    EXPECT_EQ(Text(*dataSet, attribute::PatientName), "Roe^Mary");
}

TEST_F(DataSets, ReadingTakesTheElementsOwnVrWhateverIsAskedFor) {
    dataSet->SetValue(attribute::CompletionFlag, 0, "COMPLETE");
    EXPECT_EQ(Text(dataSet->GetValue(Attribute{attribute::CompletionFlag, "SC"})), "COMPLETE");
}

TEST_F(DataSets, AnUnknownVrCannotBeWritten) {
    EXPECT_EQ(FailureOf([&] {
                  dataSet->SetValue(Attribute{attribute::CompletionFlag, "SC"}, 0, "COMPLETE");
              }),
              "A value of VR \"SC\" cannot be written to Completion Flag (0040,A491).");
    EXPECT_EQ(dataSet->GetValue(attribute::CompletionFlag), Value{});
}

TEST_F(DataSets, WordsAreNoNumber) {
    for (const std::string words : {"12 px", "99999", "-1"})
        EXPECT_EQ(FailureOf([&] { dataSet->SetValue(attribute::Rows, 0, words); }),
                  "\"" + words + "\" is no value of VR US for Rows (0028,0010).");
}

TEST_F(DataSets, ANumberIsWrittenAsAnIntegerString) {
    dataSet->SetValue(attribute::SeriesNumber, 0, std::int16_t{8});
    EXPECT_EQ(Text(*dataSet, attribute::SeriesNumber), "8");
}

TEST_F(DataSets, WordsAreNoIntegerString) {
    EXPECT_THROW(dataSet->SetValue(attribute::SeriesNumber, 0, "eight"), Error);
    EXPECT_THROW(dataSet->SetValue(attribute::SeriesNumber, 0, "99999999999"), Error);
}

TEST_F(DataSets, WordsAreNoUid) {
    EXPECT_THROW(dataSet->SetValue(attribute::StudyInstanceUid, 0, "study 7"), Error);
}

TEST_F(DataSets, ADateKeepsItsDay) {
    dataSet->SetValue(attribute::PatientBirthDate, 0, DateTime{1961, 2, 28});
    EXPECT_EQ(Moment(attribute::PatientBirthDate), (DateTime{1961, 2, 28}));
}

TEST_F(DataSets, ATimeKeepsItsTimeOfDay) {
    dataSet->SetValue(attribute::StudyTime, 0, DateTime{2026, 11, 15, 8, 5, 12});
    EXPECT_EQ(Moment(attribute::StudyTime), (DateTime{0, 0, 0, 8, 5, 12}));
}

TEST_F(DataSets, MidnightIsATime) {
    dataSet->SetValue(attribute::StudyTime, 0, DateTime{});
    EXPECT_EQ(dataSet->GetValue(attribute::StudyTime), Value{DateTime{}});
}

TEST_F(DataSets, ADateTimeWithoutOffsetIsLocalTime) {
    dataSet->SetValue(attribute::VerificationDateTime, 0, DateTime{2026, 11, 15, 8, 5, 12});
    EXPECT_EQ(Moment(attribute::VerificationDateTime), (DateTime{2026, 11, 15, 8, 5, 12}));
}

TEST_F(DataSets, ADateThatTheCalendarLacksCannotBeWritten) {
    EXPECT_THROW(dataSet->SetValue(attribute::PatientBirthDate, 0, DateTime{2026, 2, 30}), Error);
    EXPECT_THROW(dataSet->SetValue(attribute::PatientBirthDate, 0, "20260230"), Error);
}

TEST_F(DataSets, NoDateIsWrittenAsAnEmptyElement) {
    dataSet->SetValue(attribute::PatientBirthDate, 0, DateTime{});
    EXPECT_EQ(dataSet->GetValue(attribute::PatientBirthDate), Value{});
}

TEST_F(DataSets, IndexZeroOfATextThatHoldsABackslashIsTheWholeText) {
    for (const char* vr : {"LO", "SH", "PN", "UT"}) {
        dataSet->SetValue({attribute::PatientName, vr}, 0, R"(left\right)");
        EXPECT_EQ(Text(*dataSet, attribute::PatientName), R"(left\right)") << vr;
    }
}

TEST_F(DataSets, ALaterIndexIsOneValue) {
    dataSet->SetValue(attribute::ImageType, 0, R"(ORIGINAL\PRIMARY)");
    EXPECT_EQ(Text(dataSet->GetValue(attribute::ImageType, 0)), "ORIGINAL");
    EXPECT_EQ(Text(dataSet->GetValue(attribute::ImageType, 1)), "PRIMARY");
    EXPECT_EQ(dataSet->GetValue(attribute::ImageType, 2), Value{});
}

TEST_F(DataSets, LineEndsAreCrLfInMemory) {
    dataSet->SetValue(attribute::TextValue, 0, "one\ntwo\r\nthree\rfour");
    EXPECT_EQ(Text(*dataSet, attribute::TextValue), "one\r\ntwo\r\nthree\r\nfour");
}

TEST_F(DataSets, AnItemIsFoundAtItsIndex) {
    const auto report = MakeReport(library.dicom, 2);
    EXPECT_EQ(report->GetSequenceItemCount(attribute::VerifyingObserverSequence), 2);
    EXPECT_EQ(Text(*report->GetSequenceItem(attribute::ContentSequence, 0), attribute::TextValue), "Abdomen");
    EXPECT_EQ(report->GetSequenceItem(attribute::ContentSequence, 2), nullptr);
    EXPECT_EQ(report->GetSequenceItem(attribute::ContentSequence, -1), nullptr);
    EXPECT_EQ(report->GetSequenceItemCount(attribute::ReferencedSopSequence), 0);
}

TEST_F(DataSets, AWriteToAnItemShowsInTheDataSetThatHoldsIt) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, item);
    item->SetValue(attribute::TextValue, 0, "later");
    EXPECT_EQ(Text(*dataSet->GetSequenceItem(attribute::ContentSequence, 0), attribute::TextValue), "later");
}

TEST_F(DataSets, AReplacedItemKeepsItsHandle) {
    const auto first = NewDataSet();
    first->SetValue(attribute::TextValue, 0, "first");
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, first);
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, NewDataSet());
    first->SetValue(attribute::PatientName, 0, "Doe^Jane");
    EXPECT_EQ(Text(*first, attribute::TextValue), "first");
    EXPECT_EQ(dataSet->GetSequenceItemCount(attribute::ContentSequence), 1);
    EXPECT_EQ(dataSet->GetSequenceItem(attribute::ContentSequence, 0)->GetValue(attribute::PatientName), Value{});
}

TEST_F(DataSets, AnEmptySequenceTakesThePlaceOfWhatStoodThereAndIsWritten) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, item);
    dataSet->SetEmptySequence(attribute::ContentSequence);
    EXPECT_EQ(dataSet->GetSequenceItemCount(attribute::ContentSequence), 0);
    dataSet->SetSequenceItem(attribute::ReferencedSopSequence, 0, item);
    EXPECT_EQ(dataSet->GetSequenceItem(attribute::ReferencedSopSequence, 0), item);
    dataSet->SaveToFile(library.File("empty.dcm"));
    const std::string sequence("\x40\0\x30\xA7SQ\0\0\0\0\0\0", 12);
    EXPECT_NE(ReadBytes(library.File("empty.dcm")).find(sequence), std::string::npos);
}

TEST_F(DataSets, AReplacedItemCanBePutBack) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, item);
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, NewDataSet());
    dataSet->SetSequenceItem(attribute::ContentSequence, 1, item);
    EXPECT_EQ(dataSet->GetSequenceItem(attribute::ContentSequence, 1), item);
}

TEST_F(DataSets, AnItemOutlivesTheDataSetThatHeldIt) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, item);
    dataSet.reset();
    item->SetValue(attribute::TextValue, 0, "alive");
    EXPECT_EQ(Text(*item, attribute::TextValue), "alive");
}

TEST_F(DataSets, AnItemOfAnotherSequenceIsCopiedIn) {
    const auto item = NewDataSet();
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, item);
    dataSet->SetSequenceItem(attribute::VerifyingObserverSequence, 0, item);
    item->SetValue(attribute::TextValue, 0, "content only");
    EXPECT_EQ(dataSet->GetSequenceItem(attribute::VerifyingObserverSequence, 0)->GetValue(attribute::TextValue),
              Value{});
}

TEST_F(DataSets, ADataSetCanHoldACopyOfItself) {
    dataSet->SetValue(attribute::TextValue, 0, "self");
    dataSet->SetSequenceItem(attribute::ContentSequence, 0, dataSet);
    EXPECT_EQ(Text(*dataSet->GetSequenceItem(attribute::ContentSequence, 0), attribute::TextValue), "self");
    EXPECT_EQ(dataSet->GetSequenceItem(attribute::ContentSequence, 0)->GetSequenceItemCount(attribute::ContentSequence),
              0);
}

TEST_F(DataSets, AnItemBeyondTheEndHasNoPlace) {
    EXPECT_THROW(dataSet->SetSequenceItem(attribute::ContentSequence, 1, NewDataSet()), Error);
    EXPECT_THROW(dataSet->SetSequenceItem(attribute::ContentSequence, -1, NewDataSet()), Error);
    EXPECT_THROW(dataSet->SetSequenceItem(attribute::ContentSequence, 0, nullptr), Error);
}

TEST_F(DataSets, MetaInformationIsKeptBesideTheDataSet) {
    const auto report = MakeReport(library.dicom);
    report->SaveToFile(library.File("report.dcm"));
    const auto bytes = ReadBytes(library.folder.Path() / "report.dcm");
    const std::string transferSyntax{"\x02\x00\x10\x00UI", 6};
    EXPECT_EQ(Text(*report, attribute::TransferSyntaxUid), "1.2.840.10008.1.2.1");
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
    list->Item(0)->SetSequenceItem(attribute::ContentSequence, 0, library.dicom.NewDataSet());
    list->AddDataSet(0);
    list->Item(1)->GetSequenceItem(attribute::ContentSequence, 0)->SetValue(attribute::TextValue, 0, "copy");
    list->SetElementString(1, attribute::PatientName, "Roe^Mary");
    EXPECT_EQ(list->Item(0)->GetSequenceItem(attribute::ContentSequence, 0)->GetValue(attribute::TextValue), Value{});
    EXPECT_EQ(list->GetElementString(0, attribute::PatientName), "");
    EXPECT_EQ(list->ItemCount(), 2);
}

TEST(DataSetLists, AnItemIsALiveHandle) {
    TestLibrary library;
    const auto list = library.dicom.NewDataSetList();
    list->AddDataSet(-1);
    list->Item(0)->SetValue(attribute::PatientName, 0, "Doe^Jane");
    EXPECT_EQ(list->GetElementString(0, attribute::PatientName), "Doe^Jane");
}

} // namespace
} // namespace tavrel::test
