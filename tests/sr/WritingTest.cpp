#include "tests/sr/ReportFixture.h"

namespace tavrel::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

/// What `Send` writes into a version; nothing leaves the workstation.
class Writing : public ReportFixture {
protected:
    static std::vector<std::string> Concept(const DataSetHandle& dataSet) {
        EXPECT_EQ(dataSet->GetSequenceItemCount(attribute::ConceptNameCodeSequence), 1);
        ContentNode node;
        node.DicomObject(dataSet->GetSequenceItem(attribute::ConceptNameCodeSequence, 0));
        return {node.CodeScheme, node.Code, node.CodeMeaning};
    }
    int LastCount(Tag sequence) const { return LastVersion()->GetSequenceItemCount(sequence); }
};

TEST_F(Writing, MakesABasicTextDocument) {
    CreateReport();

    document.Send();

    EXPECT_EQ(LastText(attribute::SopClassUid), "1.2.840.10008.5.1.4.1.1.88.11");
    EXPECT_EQ(LastText(attribute::TransferSyntaxUid), "1.2.840.10008.1.2.1");
    EXPECT_EQ(LastText(attribute::Manufacturer), "Mervanti");
    EXPECT_EQ(LastText(attribute::SpecificCharacterSet), "ISO_IR 100");
    EXPECT_EQ(LastText(attribute::ValueType), "CONTAINER");
    EXPECT_EQ(LastText(attribute::ContinuityOfContent), "SEPARATE");
}

TEST_F(Writing, NamesTheInstanceByTheTimeStamp) {
    CreateReport();

    document.Send();

    EXPECT_EQ(LastText(attribute::SopInstanceUid), "1.2.999.1.2026.11.15.08.05.09");
}

TEST_F(Writing, TwiceInASecondGivesOneUid) {
    LoadReport({});

    document.Send();
    document.Send();

    EXPECT_EQ(document.NumVersions(), 3);
    EXPECT_EQ(Text(VersionAt(1), attribute::SopInstanceUid), Text(VersionAt(2), attribute::SopInstanceUid));
}

TEST_F(Writing, DatesTheContent) {
    CreateReport();

    document.Send();

    EXPECT_EQ(DateTimeOf(LastVersion()->GetValue(attribute::ContentDate)), (DateTime{2026, 11, 15}));
    EXPECT_EQ(TimeText(DateTimeOf(LastVersion()->GetValue(attribute::ContentTime))), "08:05:09");
}

TEST_F(Writing, NumbersEveryVersionWithOne) {
    LoadReport({.versions = 2});

    document.Send();

    EXPECT_EQ(LastText(attribute::InstanceNumber), "1");
}

TEST_F(Writing, DescribesTheSeriesByTheTitle) {
    CreateReport();
    document.SetTitle("99SS", "T1", "Radiograph", "Chest, two views");

    document.Send();

    EXPECT_EQ(LastText(attribute::SeriesDescription), "Chest, two views");
    EXPECT_THAT(Concept(LastVersion()), ElementsAre("99SS", "T1", "Radiograph"));
}

TEST_F(Writing, ReplacesTheInheritedHeading) {
    LoadReport({});
    document.SetTitle("99SS", "T2", "Ultrasound", "Abdomen");

    document.Send();

    EXPECT_THAT(Concept(LastVersion()), ElementsAre("99SS", "T2", "Ultrasound"));
    EXPECT_THAT(Concept(VersionAt(0)), ElementsAre("99SS", "T1", "Heading"));
}

TEST_F(Writing, PutsTitleAndReadingIntoTheContent) {
    CreateReport();
    document.SetTitle("99SS", "T1", "Radiograph", "Chest");
    document.Reading("Normal.\r\nNo effusion.");

    document.Send();

    ASSERT_EQ(LastCount(attribute::ContentSequence), 2);
    const DataSetHandle title = LastVersion()->GetSequenceItem(attribute::ContentSequence, 0);
    EXPECT_THAT(Concept(title), ElementsAre("99SS", "SR.TITLE", "Title"));
    EXPECT_EQ(Text(title, attribute::TextValue), "Chest");
    const DataSetHandle reading = LastVersion()->GetSequenceItem(attribute::ContentSequence, 1);
    EXPECT_THAT(Concept(reading), ElementsAre("DCM", "121073", "Impression"));
    EXPECT_EQ(Text(reading, attribute::TextValue), "Normal.\r\nNo effusion.");
    for (const DataSetHandle& item : {title, reading}) {
        EXPECT_EQ(Text(item, attribute::RelationshipType), "CONTAINS");
        EXPECT_EQ(Text(item, attribute::ValueType), "TEXT");
    }
}

TEST_F(Writing, ReplacesTheInheritedContent) {
    LoadReport({.reading = "first", .versions = 2});
    document.Reading("second");

    document.Send();

    ASSERT_EQ(LastCount(attribute::ContentSequence), 2);
    EXPECT_EQ(Text(LastVersion()->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue), "second");
    EXPECT_EQ(Text(VersionAt(1)->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue), "first");
}

TEST_F(Writing, WithoutHeadingAndTextsWritesThemEmpty) {
    CreateReport();

    document.Send();

    EXPECT_THAT(Shown(), IsEmpty());
    EXPECT_THAT(Concept(LastVersion()), ElementsAre("", "", ""));
    ASSERT_EQ(LastCount(attribute::ContentSequence), 2);
    EXPECT_EQ(Text(LastVersion()->GetSequenceItem(attribute::ContentSequence, 1), attribute::TextValue), "");
}

TEST_F(Writing, LeavesBodyPartFindingsAndDiagnosesOut) {
    CreateReport();
    document.SetBodyPart("99SS", "B1", "Chest");
    document.SetFinding(-1, "99SS", "F1", "Effusion", "");
    document.SetDiagnosis(-1, "99SS", "D1", "Pneumonia", "");

    document.Send();

    EXPECT_EQ(LastCount(attribute::ContentSequence), 2);
    EXPECT_EQ(document.GetFindingCount(), 1);
}

struct Flags {
    std::string_view name;
    int status;
    std::string_view completion;
    std::string_view verification;
    friend void PrintTo(const Flags& flags, std::ostream* out) { *out << flags.name; }
};

class StatusFlags : public Writing, public testing::WithParamInterface<Flags> {};

TEST_P(StatusFlags, SayWhetherTheReportIsApproved) {
    CreateReport();
    document.status(GetParam().status);

    document.Send();

    EXPECT_EQ(LastText(attribute::CompletionFlag), GetParam().completion);
    EXPECT_EQ(LastText(attribute::VerificationFlag), GetParam().verification);
}

INSTANTIATE_TEST_SUITE_P(, StatusFlags,
                         testing::Values(Flags{"Approved", 0, "COMPLETE", "VERIFIED"},
                                         Flags{"Pending", 1, "PARTIAL", "UNVERIFIED"},
                                         Flags{"BelowApproved", -1, "PARTIAL", "UNVERIFIED"},
                                         Flags{"AbovePending", 2, "PARTIAL", "UNVERIFIED"}),
                         testing::PrintToStringParamName());

TEST_F(Writing, RecordsWhoSavedWhereAndWhen) {
    CreateReport();

    document.Send();

    ASSERT_EQ(LastCount(attribute::VerifyingObserverSequence), 1);
    const DataSetHandle observer = LastVersion()->GetSequenceItem(attribute::VerifyingObserverSequence, 0);
    EXPECT_EQ(Text(observer, attribute::VerifyingObserverName), "Dr. Mario Rossi");
    EXPECT_EQ(Text(observer, attribute::VerifyingOrganization), "Orbenta General Hospital");
    EXPECT_EQ(Text(observer, attribute::VerificationDateTime), "15/11/2026 08:05:09");
}

TEST_F(Writing, AddsAnObserverToThoseOfTheFormerVersion) {
    LoadReport({.observer = "Dr. Anna Bianchi", .versions = 2});

    document.Send();

    ASSERT_EQ(LastCount(attribute::VerifyingObserverSequence), 3);
    EXPECT_EQ(
        Text(LastVersion()->GetSequenceItem(attribute::VerifyingObserverSequence, 0), attribute::VerifyingObserverName),
        "Dr. Anna Bianchi");
    EXPECT_EQ(VersionAt(1)->GetSequenceItemCount(attribute::VerifyingObserverSequence), 2);
    EXPECT_EQ(document.Observers().size(), 2U);
}

TEST_F(Writing, OfTheFirstVersionNamesNoPredecessor) {
    CreateReport();

    document.Send();

    EXPECT_EQ(LastCount(attribute::PredecessorDocumentsSequence), 0);
}

TEST_F(Writing, NamesAllEarlierVersionsAsPredecessorsUnderOneSeries) {
    LoadReport({.versions = 2});

    document.Send();

    ASSERT_EQ(LastCount(attribute::PredecessorDocumentsSequence), 1);
    const DataSetHandle study = LastVersion()->GetSequenceItem(attribute::PredecessorDocumentsSequence, 0);
    EXPECT_EQ(Text(study, attribute::StudyInstanceUid), "1.2.3");
    ASSERT_EQ(study->GetSequenceItemCount(attribute::ReferencedSeriesSequence), 1);
    const DataSetHandle series = study->GetSequenceItem(attribute::ReferencedSeriesSequence, 0);
    EXPECT_EQ(Text(series, attribute::SeriesInstanceUid), "1.2.3.2.1");
    ASSERT_EQ(series->GetSequenceItemCount(attribute::ReferencedSopSequence), 2);
    for (const int index : {0, 1}) {
        const DataSetHandle version = series->GetSequenceItem(attribute::ReferencedSopSequence, index);
        EXPECT_EQ(Text(version, attribute::ReferencedSopClassUid), "1.2.840.10008.5.1.4.1.1.88.11");
        EXPECT_EQ(Text(version, attribute::ReferencedSopInstanceUid),
                  Text(VersionAt(index), attribute::SopInstanceUid));
    }
}

TEST_F(Writing, NamesAPredecessorByTheClassThatItsFileHas) {
    LoadReport({});
    VersionAt(0)->SetValue(attribute::SopClassUid, 0, "1.2.840.10008.5.1.4.1.1.88.22");

    document.Send();

    DataSetHandle item = LastVersion();
    for (const Tag sequence : {Tag{attribute::PredecessorDocumentsSequence}, Tag{attribute::ReferencedSeriesSequence},
                               Tag{attribute::ReferencedSopSequence}})
        item = item->GetSequenceItem(sequence, 0);
    EXPECT_EQ(Text(item, attribute::ReferencedSopClassUid), "1.2.840.10008.5.1.4.1.1.88.22");
}

TEST_F(Writing, ReplacesTheInheritedPredecessors) {
    LoadReport({.versions = 3});

    document.Send();

    EXPECT_EQ(LastCount(attribute::PredecessorDocumentsSequence), 1);
}

TEST_F(Writing, KeepsTheSeriesAndTheStudy) {
    LoadReport({.versions = 2});

    document.Send();

    EXPECT_EQ(LastText(attribute::SeriesInstanceUid), "1.2.3.2.1");
    EXPECT_EQ(LastText(attribute::StudyInstanceUid), "1.2.3");
    EXPECT_EQ(LastText(attribute::PatientName), "ROSSI^MARIA");
}

TEST_F(Writing, ANewReportTwiceKeepsOneVersionWithANewUidAndTwoObservers) {
    CreateReport();
    document.Send();
    station.clock.now.second = 10;

    document.Send();

    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(LastText(attribute::SopInstanceUid), "1.2.999.1.2026.11.15.08.05.10");
    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 2);
    EXPECT_THAT(Labels(), ElementsAre("15/11/2026 08:05:10"));
}

TEST_F(Writing, ALoadedReportAppendsAVersionAndLabelsItButStaysWhereItIs) {
    LoadReport({.versions = 2});

    document.Send();

    EXPECT_EQ(document.NumVersions(), 3);
    EXPECT_EQ(document.VersionIndex(), 1);
    EXPECT_THAT(Labels(), ElementsAre("14/11/2026 08:00:00", "14/11/2026 08:01:00", "15/11/2026 08:05:09"));
}

TEST_F(Writing, FromAnOlderVersionStillCopiesTheLastOne) {
    LoadReport({.versions = 3});
    document.GotoVersion(0);

    document.Send();

    EXPECT_EQ(document.NumVersions(), 4);
    EXPECT_EQ(LastCount(attribute::VerifyingObserverSequence), 4);
}

TEST_F(Writing, ReadsTheClockOnceForContentAndObserver) {
    struct Ticking : Clock {
        mutable DateTime now{2026, 11, 15, 23, 59, 58};
        DateTime Now() const override {
            const DateTime answer = now;
            now = now.second == 58 ? DateTime{2026, 11, 15, 23, 59, 59} : DateTime{2026, 11, 16, 0, 0, 0};
            return answer;
        }
    } clock;
    Global ticking(Ports{station.store, *station.database, station.windows, *station.files, station.process,
                         std::ref(station.users), clock, station.letters});
    ticking.catalogue = std::move(global.catalogue);
    DcmSRDocument ticked(ticking);
    ticked.CreateFromDDO(*station.ImageSeries(), 0);

    ticked.Send();

    const DataSetHandle version = ticked.Series()->Item(0);
    EXPECT_EQ(DateTimeOf(version->GetValue(attribute::ContentDate)), (DateTime{2026, 11, 15}));
    EXPECT_EQ(TimeText(DateTimeOf(version->GetValue(attribute::ContentTime))), "23:59:59");
    EXPECT_EQ(Text(version->GetSequenceItem(attribute::VerifyingObserverSequence, 0), attribute::VerificationDateTime),
              "15/11/2026 23:59:59");
}

/// Writes down, or refuses, what is set on a version.
struct WatchedDataSet : ForwardingDataSet {
    WatchedDataSet(const DataSetHandle& target, std::vector<Tag>& tags, Tag refusedTag)
        : ForwardingDataSet(target), written(tags), refused(refusedTag) {}
    void Note(Tag tag) {
        if (tag == refused)
            throw Error(7, "DICOM", "Refused");
        written.push_back(tag);
    }
    void SetValue(const Attribute& attribute, int valueIndex, const Value& value) override {
        Note(attribute);
        ForwardingDataSet::SetValue(attribute, valueIndex, value);
    }
    void SetSequenceItem(Tag sequence, int index, const DataSetHandle& item) override {
        if (written.empty() || written.back() != sequence)
            Note(sequence);
        ForwardingDataSet::SetSequenceItem(sequence, index, item);
    }
    std::vector<Tag>& written;
    Tag refused;
};

struct WatchedList : ForwardingDataSetList {
    WatchedList(std::shared_ptr<DataSetList> target, std::vector<Tag>& tags, Tag refusedTag = {0, 0})
        : ForwardingDataSetList(std::move(target)), written(tags), refused(refusedTag) {}
    DataSetHandle Item(int index) const override {
        return std::make_shared<WatchedDataSet>(ForwardingDataSetList::Item(index), written, refused);
    }
    std::vector<Tag>& written;
    Tag refused;
};

TEST_F(Writing, WritesItsAttributesInOrder) {
    LoadReport({});
    std::vector<Tag> written;
    document.Series(std::make_shared<WatchedList>(document.Series(), written));

    document.Send();

    EXPECT_THAT(written, ElementsAre(attribute::TransferSyntaxUid, attribute::SopClassUid, attribute::SopInstanceUid,
                                     attribute::SeriesDescription, attribute::InstanceNumber, attribute::ContentDate,
                                     attribute::ContentTime, attribute::Manufacturer, attribute::SpecificCharacterSet,
                                     attribute::ValueType, attribute::ContinuityOfContent,
                                     attribute::ConceptNameCodeSequence, attribute::CompletionFlag,
                                     attribute::VerificationFlag, attribute::VerifyingObserverSequence,
                                     attribute::PredecessorDocumentsSequence, attribute::ContentSequence));
}

TEST_F(Writing, ThatFailsShowsWhyAndLeavesNoVersion) {
    LoadReport({});
    std::vector<Tag> written;
    document.SetTitle("99SS", "T2", "Ultrasound", "Abdomen");
    document.Series(std::make_shared<WatchedList>(document.Series(), written, attribute::CompletionFlag));

    document.Send();

    EXPECT_THAT(Shown(), ElementsAre("Refused"));
    EXPECT_EQ(document.NumVersions(), 1);
    EXPECT_EQ(document.VersionCount(), 1);
    EXPECT_TRUE(station.store.sent.empty());
}

TEST_F(Writing, WithoutAnyVersionShowsWhy) {
    document.Send();

    EXPECT_THAT(Shown(), ElementsAre("No data set at index -1"));
}

} // namespace
} // namespace tavrel::test
