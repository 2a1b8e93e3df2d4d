#include "sr/content/ContentNode.h"
#include "host/Text.h"
#include "platform/attributes.h"
#include "sr/content/ObservationContext.h"
#include "tests/support/Workstation.h"

#include <gtest/gtest.h>

namespace tavrel::test {
namespace {

class CodedContent : public testing::Test {
protected:
    Workstation station{Workstation::NotStarted};
    DicomLibrary& dicom = *station.dicom;
    ContentNode finding{"99SS", "F1", "Pleural effusion", "small, on the left"};
};

TEST_F(CodedContent, ReadsItsConceptFromACodeItemAndKeepsItsAnnotation) {
    const DataSetHandle item = dicom.NewDataSet();
    item->SetValue(attribute::CodeValue, 0, "121073");
    item->SetValue(attribute::CodingSchemeDesignator, 0, "DCM");
    item->SetValue(attribute::CodeMeaning, 0, "Impression");

    finding.DicomObject(item);

    EXPECT_EQ(finding, (ContentNode{"DCM", "121073", "Impression", "small, on the left"}));
}

TEST_F(CodedContent, OfNoObjectIsEmptyButKeepsItsAnnotation) {
    finding.DicomObject(DataSetHandle());

    EXPECT_EQ(finding, (ContentNode{"", "", "", "small, on the left"}));
}

TEST_F(CodedContent, OfAnEmptyItemIsEmpty) {
    finding.DicomObject(dicom.NewDataSet());

    EXPECT_EQ(finding, (ContentNode{"", "", "", "small, on the left"}));
}

TEST_F(CodedContent, BecomesATextItemWithOneConceptName) {
    const DataSetHandle item = std::as_const(finding).DicomObject(dicom);

    EXPECT_EQ(TextOf(*item, attribute::ValueType), "TEXT");
    EXPECT_EQ(TextOf(item->GetValue(Attribute{attribute::TextValue, "LO"})), "small, on the left");
    ASSERT_EQ(item->GetSequenceItemCount(attribute::ConceptNameCodeSequence), 1);
    ContentNode read;
    read.DicomObject(item->GetSequenceItem(attribute::ConceptNameCodeSequence, 0));
    EXPECT_EQ(read, (ContentNode{"99SS", "F1", "Pleural effusion", ""}));
}

TEST_F(CodedContent, WritesItsTextValueAsALongString) {
    struct Watching : ForwardingDataSet {
        Watching(const DataSetHandle& target, std::string& written) : ForwardingDataSet(target), vr(written) {}
        void SetValue(const Attribute& attribute, int valueIndex, const Value& value) override {
            if (attribute == attribute::TextValue)
                vr = attribute.vr;
            ForwardingDataSet::SetValue(attribute, valueIndex, value);
        }
        std::string& vr;
    };
    struct Library : ForwardingLibrary {
        using ForwardingLibrary::ForwardingLibrary;
        DataSetHandle NewDataSet() override { return std::make_shared<Watching>(ForwardingLibrary::NewDataSet(), vr); }
        std::string vr;
    } library(dicom);

    std::as_const(finding).DicomObject(library);

    EXPECT_EQ(library.vr, "LO");
}

TEST_F(CodedContent, IsAppendedToTheConceptNames) {
    const DataSetHandle dataSet = dicom.NewDataSet();
    std::int16_t first = -1;
    std::int16_t second = -1;

    finding.ConceptMacroAppend(dicom, *dataSet, first);
    finding.ConceptMacroAppend(dicom, *dataSet, second);

    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(dataSet->GetSequenceItemCount(attribute::ConceptNameCodeSequence), 2);
}

class Observers : public CodedContent {};

TEST_F(Observers, AreReadBackAsTheyWereWritten) {
    const ObservationContext observer{"Dr. Müller", "Orbenta General Hospital", {2026, 11, 15, 8, 5, 9}};

    ObservationContext read;
    read.DicomObject(observer.DicomObject(dicom));

    EXPECT_EQ(read.ObserverName, "Dr. Müller");
    EXPECT_EQ(read.ObserverOrganization, "Orbenta General Hospital");
    EXPECT_EQ(read.ObservationDateTime, (DateTime{2026, 11, 15, 8, 5, 9}));
}

TEST_F(Observers, OfAnEmptyItemAreEmpty) {
    ObservationContext read{"someone", "somewhere", {2026, 11, 15}};

    read.DicomObject(dicom.NewDataSet());

    EXPECT_EQ(read.ObserverName, "");
    EXPECT_EQ(read.ObserverOrganization, "");
    EXPECT_EQ(read.ObservationDateTime, DateTime{});
}

struct Appended {
    std::string_view name;
    int present;
    std::int16_t asked;
    std::int16_t answered;
    int after;
    friend void PrintTo(const Appended& appended, std::ostream* out) { *out << appended.name; }
};

class CodeItems : public testing::TestWithParam<Appended> {
protected:
    Workstation station{Workstation::NotStarted};
};

TEST_P(CodeItems, AreAppendedOrReplaced) {
    const DataSetHandle dataSet = station.dicom->NewDataSet();
    const Tag sequence = attribute::ConceptNameCodeSequence;
    for (int index = 0; index < GetParam().present; ++index)
        dataSet->SetSequenceItem(sequence, index, station.dicom->NewDataSet());
    std::int16_t itemIndex = GetParam().asked;

    AppendCodeItem(*station.dicom, *dataSet, sequence, "DCM", "121073", "Impression", itemIndex);

    EXPECT_EQ(itemIndex, GetParam().answered);
    EXPECT_EQ(dataSet->GetSequenceItemCount(sequence), GetParam().after);
    const DataSetHandle item = dataSet->GetSequenceItem(sequence, itemIndex);
    EXPECT_EQ(TextOf(*item, attribute::CodeValue), "121073");
    EXPECT_EQ(TextOf(*item, attribute::CodingSchemeDesignator), "DCM");
    EXPECT_EQ(TextOf(*item, attribute::CodeMeaning), "Impression");
}

INSTANTIATE_TEST_SUITE_P(, CodeItems,
                         testing::Values(Appended{"ToNone", 0, -1, 0, 1}, Appended{"ToTwo", 2, -1, 2, 3},
                                         Appended{"ByAnyNegativeIndex", 2, -300, 2, 3},
                                         Appended{"ByTheIndexOfTheEnd", 0, 0, 0, 1},
                                         Appended{"InPlaceOfTheOnlyOne", 1, 0, 0, 1},
                                         Appended{"InPlaceOfTheMiddle", 3, 1, 1, 3}),
                         testing::PrintToStringParamName());

} // namespace
} // namespace tavrel::test
